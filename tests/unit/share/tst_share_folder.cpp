#include "sharefixture.h"

#include <QDeadlineTimer>

#include <atomic>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <thread>

using share::Access;
using share::Path;
using share::Status;

namespace {

void makeSocket(const QByteArray &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    QVERIFY(path.size() < static_cast<int>(sizeof address.sun_path));
    std::copy(path.begin(), path.end(), address.sun_path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QCOMPARE(::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ::close(fd);
}

} // namespace

class TestShareFolder : public QObject
{
    Q_OBJECT

private slots:
    void open_missingFolder_isNull();
    void open_file_isNull();
    void open_emptyPath_isTheCurrentFolder();
    void names_hostile_areRefusedEverywhere_data();
    void names_hostile_areRefusedEverywhere();
    void names_unusualButLegal_areStoredAsGiven_data();
    void names_unusualButLegal_areStoredAsGiven();
    void links_leavingTheShare_areRefused_data();
    void links_leavingTheShare_areRefused();
    void links_stayingInTheShare_areFollowedForReading();
    void links_toAFolderOnTheWay_areLeftOutOfListings();
    void specialFiles_areRefusedWithoutBlocking_data();
    void specialFiles_areRefusedWithoutBlocking();
    void put_onALink_isRefusedAndTheTargetUnharmed();
    void put_overAFolder_isRefused();
    void remove_aLink_removesTheLinkAlone();
    void remove_aFolder_removesAllItHoldsAndFollowsNoLink();
    void remove_aDeepFolder_needsNoDescriptorPerLevel();
    void remove_aMissingName_isNotFound();
    void createFolder_existing_isOkUnlessAFile();
    void readOnly_everyChange_isRefused();
    void swappedFolder_duringUse_neverLeadsOutside();
    void enter_pathTooLongForTheSystem_isRefused();
    void list_manyEntries_givesEachOnce();
    void list_permissions_tellWhatMayBeChanged();
};

void TestShareFolder::open_missingFolder_isNull()
{
    QVERIFY(!share::Folder::open("/nonexistent/folder", Access::Writable));
}

void TestShareFolder::open_file_isNull()
{
    ShareFixture fixture;
    QVERIFY(!share::Folder::open(fixture.path("share/file.txt").toStdString(), Access::Writable));
}

void TestShareFolder::open_emptyPath_isTheCurrentFolder()
{
    ShareFixture fixture;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(fixture.path("share")));
    const auto folder = share::Folder::open("", Access::ReadOnly);
    QDir::setCurrent(before);
    QVERIFY(folder);
    QCOMPARE(folder->enter({"sub"}), Status::Ok);
}

void TestShareFolder::names_hostile_areRefusedEverywhere_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("the folder itself") << QByteArray(".");
    QTest::newRow("the folder above") << QByteArray("..");
    QTest::newRow("a path upwards") << QByteArray("../outside/secret.txt");
    QTest::newRow("a path down and up") << QByteArray("sub/../../outside/secret.txt");
    QTest::newRow("an absolute path") << QByteArray("/etc/passwd");
    QTest::newRow("a path within") << QByteArray("sub/inner.txt");
    QTest::newRow("a trailing slash") << QByteArray("sub/");
    QTest::newRow("a NUL in it") << QByteArray("file.txt\0.png", 13);
    QTest::newRow("256 bytes") << QByteArray(256, 'n');
    QTest::newRow("64 KiB") << QByteArray(65536, 'n');
    QTest::newRow("the name of an unfinished upload") << QByteArray(".btftp-part-0123456789abcdef");
}

void TestShareFolder::names_hostile_areRefusedEverywhere()
{
    QFETCH(QByteArray, name);
    ShareFixture fixture;
    const std::string text = name.toStdString();
    const QStringList before = fixture.everything("");
    std::unique_ptr<share::DirectoryReader> reader;
    QVERIFY(!share::isStorableName(text));
    QCOMPARE(fixture.folder().enter({text}), Status::BadName);
    QCOMPARE(fixture.folder().enter({"sub", text}), Status::BadName);
    QCOMPARE(fixture.folder().list({text}, &reader), Status::BadName);
    QCOMPARE(fixture.get({}, text), Status::BadName);
    QCOMPARE(fixture.get({text}, "secret.txt"), Status::BadName);
    QCOMPARE(fixture.put({}, text, "x"), Status::BadName);
    QCOMPARE(fixture.put({text}, "new", "x"), Status::BadName);
    QCOMPARE(fixture.folder().createFolder({}, text), Status::BadName);
    QCOMPARE(fixture.folder().remove({}, text), Status::BadName);
    QCOMPARE(fixture.folder().remove({text}, "file.txt"), Status::BadName);
    QCOMPARE(fixture.everything(""), before);
}

void TestShareFolder::names_unusualButLegal_areStoredAsGiven_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("three dots") << QByteArray("...");
    QTest::newRow("blanks") << QByteArray("  a  ");
    QTest::newRow("percent and hash") << QByteArray("50%20#1");
    QTest::newRow("backslashes") << QByteArray("..\\..\\x");
    QTest::newRow("a newline") << QByteArray("a\nb");
    QTest::newRow("markup") << QByteArray("<b>&amp;");
    QTest::newRow("bidirectional marks") << QByteArray("\xE2\x80\xAE"
                                                       "gpj.exe");
    QTest::newRow("255 bytes") << QByteArray(255, 'n');
    QTest::newRow("not UTF-8") << QByteArray("\xFF\xFE");
}

void TestShareFolder::names_unusualButLegal_areStoredAsGiven()
{
    QFETCH(QByteArray, name);
    ShareFixture fixture;
    const std::string text = name.toStdString();
    QCOMPARE(fixture.put({}, text, "body"), Status::Ok);
    QByteArray content;
    QCOMPARE(fixture.get({}, text, &content), Status::Ok);
    QCOMPARE(content, QByteArray("body"));
    struct stat status = {};
    QCOMPARE(::lstat((fixture.local("share/") + name).constData(), &status), 0);
    QCOMPARE(fixture.folder().remove({}, text), Status::Ok);
    QCOMPARE(fixture.folder().createFolder({}, text), Status::Ok);
    QCOMPARE(fixture.folder().enter({text}), Status::Ok);
    QCOMPARE(fixture.folder().remove({}, text), Status::Ok); // Qt's own tidying up knows no names without UTF-8
}

void TestShareFolder::links_leavingTheShare_areRefused_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<bool>("toFolder");
    QTest::newRow("relative, to a file") << QByteArray("../outside/secret.txt") << false;
    QTest::newRow("relative, to a folder") << QByteArray("../outside") << true;
    QTest::newRow("absolute, to a file") << QByteArray("/etc/passwd") << false;
    QTest::newRow("absolute, to a folder") << QByteArray("/etc") << true;
    QTest::newRow("to the folder above") << QByteArray("..") << true;
    QTest::newRow("to a sibling whose name begins like the share's") << QByteArray("../share-private") << true;
    QTest::newRow("out and in again") << QByteArray("../share/sub") << true;
    QTest::newRow("through another link") << QByteArray("hop/secret.txt") << false;
    QTest::newRow("dangling, outside") << QByteArray("../outside/missing") << false;
    QTest::newRow("by way of a process' root") << QByteArray("/proc/self/root/etc/passwd") << false;
}

void TestShareFolder::links_leavingTheShare_areRefused()
{
    QFETCH(QByteArray, target);
    QFETCH(bool, toFolder);
    ShareFixture fixture;
    fixture.link("../outside", "share/hop");
    fixture.link(target.constData(), "share/link");
    const QStringList outside = fixture.everything("outside");
    const QStringList siblings = fixture.everything("share-private");
    const QStringList inside = fixture.everything("share");
    QCOMPARE(fixture.get({}, "link"), Status::Refused);
    if (toFolder) {
        QCOMPARE(fixture.folder().enter({"link"}), Status::Refused);
        QCOMPARE(fixture.list({"link"}), QStringList{QStringLiteral("!3")});
        QCOMPARE(fixture.get({"link"}, "secret.txt"), Status::Refused);
        QCOMPARE(fixture.put({"link"}, "new.txt", "x"), Status::Refused);
        QCOMPARE(fixture.folder().remove({"link"}, "secret.txt"), Status::Refused);
        QCOMPARE(fixture.folder().createFolder({"link"}, "new"), Status::Refused);
    }
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QCOMPARE(fixture.everything("outside"), outside);
    QCOMPARE(fixture.everything("share-private"), siblings);
    QCOMPARE(fixture.everything("share"), inside);
}

void TestShareFolder::links_stayingInTheShare_areFollowedForReading()
{
    ShareFixture fixture;
    QDir(fixture.path("share")).mkpath(QStringLiteral("other"));
    fixture.link("sub/inner.txt", "share/tofile");
    fixture.link("../sub", "share/other/tofolder");
    QByteArray content;
    QCOMPARE(fixture.get({}, "tofile", &content), Status::Ok);
    QCOMPARE(content, QByteArray("inner"));
    QCOMPARE(fixture.list({"other", "tofolder"}), QStringList{QStringLiteral("inner.txt")});
    QCOMPARE(fixture.list({"other"}), QStringList{QStringLiteral("tofolder/")});
}

void TestShareFolder::links_toAFolderOnTheWay_areLeftOutOfListings()
{
    ShareFixture fixture;
    QDir(fixture.path("share")).mkpath(QStringLiteral("sub/a"));
    QDir(fixture.path("share")).mkpath(QStringLiteral("sub/b"));
    fixture.link(".", "share/itself");
    fixture.link("..", "share/sub/above");
    fixture.link("../b", "share/sub/a/tob");
    fixture.link("../a", "share/sub/b/toa");
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QVERIFY(!fixture.list({"sub"}).contains(QStringLiteral("above/")));
    QCOMPARE(fixture.list({"sub", "a"}), QStringList{QStringLiteral("tob/")});
    // a, then over to b, whose link would lead back to a
    QCOMPARE(fixture.list({"sub", "a", "tob"}), QStringList());
}

void TestShareFolder::specialFiles_areRefusedWithoutBlocking_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("FIFO") << QByteArray("fifo");
    QTest::newRow("socket") << QByteArray("socket");
    QTest::newRow("device") << QByteArray("device");
    QTest::newRow("link to a device") << QByteArray("link");
}

void TestShareFolder::specialFiles_areRefusedWithoutBlocking()
{
    QFETCH(QByteArray, kind);
    ShareFixture fixture;
    const QByteArray path = fixture.local("share/special");
    if (kind == "fifo")
        QCOMPARE(::mkfifo(path.constData(), 0666), 0);
    else if (kind == "socket")
        makeSocket(path);
    else if (kind == "link")
        fixture.link("/dev/zero", "share/special");
    else if (::mknod(path.constData(), S_IFCHR | 0666, makedev(1, 5)) != 0)
        QSKIP("this user may not make devices");
    QCOMPARE(fixture.get({}, "special"), Status::Refused);
    QCOMPARE(fixture.put({}, "special", "x"), Status::Refused);
    const Status entered = fixture.folder().enter({"special"});
    QVERIFY(entered == Status::WrongKind || entered == Status::Refused);
    QVERIFY(!fixture.list().join(QLatin1Char(' ')).contains(QLatin1String("special")));
    QVERIFY(fixture.exists("share/special"));
    QCOMPARE(fixture.folder().remove({}, "special"), Status::Ok);
    QVERIFY(!fixture.exists("share/special"));
}

void TestShareFolder::put_onALink_isRefusedAndTheTargetUnharmed()
{
    ShareFixture fixture;
    fixture.link("../outside/secret.txt", "share/out");
    fixture.link("../outside/new.txt", "share/dangling");
    fixture.link("file.txt", "share/in");
    QCOMPARE(fixture.put({}, "out", "x"), Status::Refused);
    QCOMPARE(fixture.put({}, "dangling", "x"), Status::Refused);
    QCOMPARE(fixture.put({}, "in", "x"), Status::Refused);
    QCOMPARE(fixture.read("outside/secret.txt"), QByteArray("secret"));
    QCOMPARE(fixture.read("share/file.txt"), QByteArray("content"));
    QVERIFY(!fixture.exists("outside/new.txt"));
}

void TestShareFolder::put_overAFolder_isRefused()
{
    ShareFixture fixture;
    QCOMPARE(fixture.put({}, "sub", "x"), Status::WrongKind);
    QCOMPARE(fixture.read("share/sub/inner.txt"), QByteArray("inner"));
}

void TestShareFolder::remove_aLink_removesTheLinkAlone()
{
    ShareFixture fixture;
    fixture.link("../outside", "share/link");
    fixture.link("sub", "share/inside");
    QCOMPARE(fixture.folder().remove({}, "link"), Status::Ok);
    QCOMPARE(fixture.folder().remove({}, "inside"), Status::Ok);
    QVERIFY(!fixture.exists("share/link"));
    QVERIFY(fixture.exists("outside/secret.txt"));
    QVERIFY(fixture.exists("share/sub/inner.txt"));
}

void TestShareFolder::remove_aFolder_removesAllItHoldsAndFollowsNoLink()
{
    ShareFixture fixture;
    QDir(fixture.path("share/sub")).mkpath(QStringLiteral(".hidden/deeper"));
    fixture.write("share/sub/.hidden/deeper/x", "x");
    fixture.write("share/sub/.btftp-part-0123456789abcdef", "x");
    fixture.link("../../outside", "share/sub/link");
    fixture.link("nowhere", "share/sub/dangling");
    QCOMPARE(::mkfifo(fixture.local("share/sub/fifo").constData(), 0666), 0);
    QCOMPARE(fixture.folder().remove({}, "sub"), Status::Ok);
    QVERIFY(!fixture.exists("share/sub"));
    QVERIFY(fixture.exists("outside/secret.txt"));
    QVERIFY(fixture.exists("outside/folder"));
    QVERIFY(fixture.exists("share/file.txt"));
}

void TestShareFolder::remove_aDeepFolder_needsNoDescriptorPerLevel()
{
    ShareFixture fixture;
    Path path;
    for (int i = 0; i < 1500; ++i) {
        QCOMPARE(fixture.folder().createFolder(path, "d"), Status::Ok);
        path.emplace_back("d");
    }
    QCOMPARE(fixture.put(path, "bottom", "x"), Status::Ok);
    QCOMPARE(fixture.folder().remove({}, "d"), Status::Ok);
    QVERIFY(!fixture.exists("share/d"));
}

void TestShareFolder::remove_aMissingName_isNotFound()
{
    ShareFixture fixture;
    QCOMPARE(fixture.folder().remove({}, "missing"), Status::NotFound);
    QCOMPARE(fixture.folder().remove({"missing"}, "file.txt"), Status::NotFound);
}

void TestShareFolder::createFolder_existing_isOkUnlessAFile()
{
    ShareFixture fixture;
    QCOMPARE(fixture.folder().createFolder({}, "sub"), Status::Ok);
    QCOMPARE(fixture.folder().createFolder({}, "file.txt"), Status::WrongKind);
    QCOMPARE(fixture.folder().createFolder({"missing"}, "x"), Status::NotFound);
    QCOMPARE(fixture.read("share/file.txt"), QByteArray("content"));
}

void TestShareFolder::readOnly_everyChange_isRefused()
{
    ShareFixture fixture;
    fixture.open(Access::ReadOnly);
    const QStringList before = fixture.everything("share");
    QCOMPARE(fixture.put({}, "new.txt", "x"), Status::ReadOnly);
    QCOMPARE(fixture.put({}, "file.txt", "x"), Status::ReadOnly);
    QCOMPARE(fixture.folder().remove({}, "file.txt"), Status::ReadOnly);
    QCOMPARE(fixture.folder().remove({}, "sub"), Status::ReadOnly);
    QCOMPARE(fixture.folder().createFolder({}, "new"), Status::ReadOnly);
    QCOMPARE(fixture.everything("share"), before);
    QCOMPARE(fixture.get({}, "file.txt"), Status::Ok);
    QCOMPARE(fixture.list().size(), 2);
}

/** A folder of the share is swapped for a link to the outside and back, as fast as possible, while it is used. */
void TestShareFolder::swappedFolder_duringUse_neverLeadsOutside()
{
    ShareFixture fixture;
    fixture.write("share/sub/secret.txt", "harmless");
    fixture.link("../outside", "share/evil");
    const QStringList outside = fixture.everything("outside");
    const QByteArray folder = fixture.local("share/sub");
    const QByteArray evil = fixture.local("share/evil");
    std::atomic<bool> done{false};
    std::thread swapper([&] {
        while (!done)
            ::renameat2(AT_FDCWD, folder.constData(), AT_FDCWD, evil.constData(), RENAME_EXCHANGE);
    });
    int reads = 0;
    bool leaked = false;
    // Few get through to a folder that never stands still: enough must, or this shows nothing.
    const QDeadlineTimer deadline(60000);
    for (int i = 0; reads < 100 && !deadline.hasExpired(); ++i) {
        QByteArray content;
        if (fixture.get({"sub"}, "secret.txt", &content) == Status::Ok) {
            ++reads;
            leaked |= content == "secret";
        }
        (void)fixture.put({"sub"}, "secret.txt", "harmless");
        (void)fixture.folder().createFolder({"sub"}, "folder2");
        (void)fixture.folder().remove({"sub"}, "folder2");
        if (i % 100 == 99 && fixture.folder().remove({}, "sub") == Status::Ok) {
            // Either the folder or the link has gone, and nothing is swapped until both are there again.
            if (QFileInfo(fixture.path("share/evil")).isSymLink())
                QDir(fixture.path("share")).mkdir(QStringLiteral("sub"));
            else
                fixture.link("../outside", "share/sub");
        }
    }
    done = true;
    swapper.join();
    QVERIFY(!leaked);
    QCOMPARE(reads, 100);
    QCOMPARE(fixture.everything("outside"), outside);
}

void TestShareFolder::enter_pathTooLongForTheSystem_isRefused()
{
    ShareFixture fixture;
    const Path path(17, std::string(255, 'x'));
    QCOMPARE(fixture.folder().enter(path), Status::BadName);
}

void TestShareFolder::list_manyEntries_givesEachOnce()
{
    ShareFixture fixture;
    QStringList expected;
    for (int i = 0; i < 5000; ++i) {
        const QByteArray name = "share/sub/file" + QByteArray::number(i);
        fixture.write(name.constData(), "");
        expected.append(QString::fromLatin1(name.mid(10)));
    }
    expected.append(QStringLiteral("inner.txt"));
    expected.sort();
    QCOMPARE(fixture.list({"sub"}), expected);
}

void TestShareFolder::list_permissions_tellWhatMayBeChanged()
{
    ShareFixture fixture;
    std::unique_ptr<share::DirectoryReader> reader;
    share::Entry entry;
    QCOMPARE(fixture.folder().list({"sub"}, &reader), Status::Ok);
    QVERIFY(reader->next(&entry));
    QCOMPARE(QByteArray::fromStdString(entry.name), QByteArray("inner.txt"));
    QCOMPARE(entry.size, std::uint64_t(5));
    QVERIFY(entry.isWritable);
    QVERIFY(!reader->next(&entry));
    fixture.open(Access::ReadOnly);
    QCOMPARE(fixture.folder().list({"sub"}, &reader), Status::Ok);
    QVERIFY(reader->next(&entry));
    QVERIFY(!entry.isWritable);
}

QTEST_APPLESS_MAIN(TestShareFolder)
#include "tst_share_folder.moc"
