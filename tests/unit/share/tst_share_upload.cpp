#include "sharefixture.h"

#include <csignal>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>

using share::Access;
using share::Status;

namespace {

const char Abandoned[] = "share/.btftp-part-00112233445566aa";

/** A file system of 256 KiB at a path, gone with the object. */
class SmallDisk
{
public:
    explicit SmallDisk(const QByteArray &path) : m_path(path)
    {
        m_mounted = ::mount("none", path.constData(), "tmpfs", 0, "size=256k") == 0;
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(m_path.constData(), MNT_DETACH);
    }
    bool isMounted() const { return m_mounted; }

private:
    QByteArray m_path;
    bool m_mounted = false;
};

} // namespace

class TestShareUpload : public QObject
{
    Q_OBJECT

private slots:
    void commit_newFile_isThereWhole();
    void commit_existingFile_isReplacedAndKeepsItsMode();
    void commit_modifiedTime_isSet();
    void destroyed_beforeCommit_leavesEverythingAsItWas();
    void started_butUnfinished_showsNothing();
    void commit_targetBecameAFolder_isRefusedAndNothingLeft();
    void commit_targetBecameALink_isRefused();
    void commit_folderMovedOutOfTheShare_isRefused();
    void commit_folderGone_isRefused();
    void killedProcess_inTheMiddle_leavesNothing();
    void diskFull_whileWriting_isFullAndTheOldFileUnharmed();
    void diskFull_knownBeforehand_isFullAtOnce();
    void fileSizeLimit_whileWriting_isFull();
    void abandonedFile_listed_isRemovedAndNotShown();
    void abandonedFile_stillLocked_isLeftAlone();
    void abandonedFile_readOnlyShare_isHiddenButKept();
    void unwritableFile_put_isReadOnly();
};

void TestShareUpload::commit_newFile_isThereWhole()
{
    ShareFixture fixture;
    QByteArray content(300000, 'x');
    content[1000] = 'y';
    QCOMPARE(fixture.put({"sub"}, "new.bin", content), Status::Ok);
    QCOMPARE(fixture.read("share/sub/new.bin"), content);
    QCOMPARE(fixture.put({}, "empty", ""), Status::Ok);
    QVERIFY(fixture.exists("share/empty"));
}

void TestShareUpload::commit_existingFile_isReplacedAndKeepsItsMode()
{
    ShareFixture fixture;
    QCOMPARE(::chmod(fixture.local("share/file.txt").constData(), 0600), 0);
    QCOMPARE(fixture.put({}, "file.txt", "other"), Status::Ok);
    QCOMPARE(fixture.read("share/file.txt"), QByteArray("other"));
    struct stat status = {};
    QCOMPARE(::stat(fixture.local("share/file.txt").constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777, mode_t(0600));
    QCOMPARE(fixture.everything("share").size(), 3); // no litter
}

void TestShareUpload::commit_modifiedTime_isSet()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({}, "old.txt", {}, &upload), Status::Ok);
    QCOMPARE(upload->write("x", 1), Status::Ok);
    upload->setModified(1000000000);
    QCOMPARE(upload->commit(), Status::Ok);
    struct stat status = {};
    QCOMPARE(::stat(fixture.local("share/old.txt").constData(), &status), 0);
    QCOMPARE(status.st_mtim.tv_sec, time_t(1000000000));
}

void TestShareUpload::destroyed_beforeCommit_leavesEverythingAsItWas()
{
    ShareFixture fixture;
    const QStringList before = fixture.everything("");
    for (const char *name : {"file.txt", "new.txt"}) {
        std::unique_ptr<share::Upload> upload;
        QCOMPARE(fixture.folder().startUpload({}, name, {}, &upload), Status::Ok);
        QCOMPARE(upload->write("half", 4), Status::Ok);
    }
    QCOMPARE(fixture.everything(""), before);
}

void TestShareUpload::started_butUnfinished_showsNothing()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({}, "new.txt", {}, &upload), Status::Ok);
    QCOMPARE(upload->write("half", 4), Status::Ok);
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QCOMPARE(fixture.get({}, "new.txt"), Status::NotFound);
}

void TestShareUpload::commit_targetBecameAFolder_isRefusedAndNothingLeft()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({}, "new.txt", {}, &upload), Status::Ok);
    QVERIFY(QDir(fixture.path("share")).mkdir(QStringLiteral("new.txt")));
    const QStringList before = fixture.everything("");
    QCOMPARE(upload->commit(), Status::WrongKind);
    upload.reset();
    QCOMPARE(fixture.everything(""), before);
}

void TestShareUpload::commit_targetBecameALink_isRefused()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({}, "file.txt", {}, &upload), Status::Ok);
    QCOMPARE(upload->write("evil", 4), Status::Ok);
    QVERIFY(QFile::remove(fixture.path("share/file.txt")));
    fixture.link("../outside/secret.txt", "share/file.txt");
    QCOMPARE(upload->commit(), Status::Refused);
    QCOMPARE(fixture.read("outside/secret.txt"), QByteArray("secret"));
}

void TestShareUpload::commit_folderMovedOutOfTheShare_isRefused()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({"sub"}, "new.txt", {}, &upload), Status::Ok);
    QVERIFY(QDir().rename(fixture.path("share/sub"), fixture.path("outside/sub")));
    fixture.link("../outside/sub", "share/sub");
    QCOMPARE(upload->commit(), Status::NotFound);
    upload.reset();
    QVERIFY(!fixture.exists("outside/sub/new.txt"));
}

void TestShareUpload::commit_folderGone_isRefused()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({"sub"}, "new.txt", {}, &upload), Status::Ok);
    QCOMPARE(fixture.folder().remove({}, "sub"), Status::Ok);
    QCOMPARE(upload->commit(), Status::NotFound);
}

void TestShareUpload::killedProcess_inTheMiddle_leavesNothing()
{
    ShareFixture fixture;
    const QStringList before = fixture.everything("");
    const pid_t child = ::fork();
    if (child == 0) {
        std::unique_ptr<share::Upload> upload;
        if (fixture.folder().startUpload({}, "file.txt", {}, &upload) == Status::Ok)
            (void)upload->write("half", 4);
        ::kill(::getpid(), SIGKILL);
    }
    int result = 0;
    QCOMPARE(::waitpid(child, &result, 0), child);
    QVERIFY(WIFSIGNALED(result));
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QCOMPARE(fixture.everything(""), before);
}

void TestShareUpload::diskFull_whileWriting_isFullAndTheOldFileUnharmed()
{
    ShareFixture fixture;
    const SmallDisk disk(fixture.local("share/sub"));
    if (!disk.isMounted())
        QSKIP("this user may not mount a file system");
    fixture.write("share/sub/old.txt", "old");
    QCOMPARE(fixture.put({"sub"}, "old.txt", QByteArray(1 << 20, 'x')), Status::Full);
    QCOMPARE(fixture.read("share/sub/old.txt"), QByteArray("old"));
    QCOMPARE(fixture.list({"sub"}), QStringList{QStringLiteral("old.txt")});
    QCOMPARE(fixture.put({"sub"}, "fits.txt", QByteArray(100000, 'x')), Status::Ok); // the space is free again
}

void TestShareUpload::diskFull_knownBeforehand_isFullAtOnce()
{
    ShareFixture fixture;
    std::unique_ptr<share::Upload> upload;
    QCOMPARE(fixture.folder().startUpload({}, "huge", UINT64_MAX, &upload), Status::Full);
    QVERIFY(!upload);
}

void TestShareUpload::fileSizeLimit_whileWriting_isFull()
{
    ShareFixture fixture;
    rlimit old = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {65536, old.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const Status status = fixture.put({}, "file.txt", QByteArray(100000, 'x'));
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, handler);
    QCOMPARE(status, Status::Full);
    QCOMPARE(fixture.read("share/file.txt"), QByteArray("content"));
}

void TestShareUpload::abandonedFile_listed_isRemovedAndNotShown()
{
    ShareFixture fixture;
    fixture.write(Abandoned, "half");
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QVERIFY(!fixture.exists(Abandoned));
}

void TestShareUpload::abandonedFile_stillLocked_isLeftAlone()
{
    ShareFixture fixture;
    fixture.write(Abandoned, "half");
    QFile file(fixture.path(Abandoned));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QCOMPARE(::flock(file.handle(), LOCK_EX), 0);
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QVERIFY(fixture.exists(Abandoned));
}

void TestShareUpload::abandonedFile_readOnlyShare_isHiddenButKept()
{
    ShareFixture fixture;
    fixture.open(Access::ReadOnly);
    fixture.write(Abandoned, "half");
    QCOMPARE(fixture.list(), (QStringList{QStringLiteral("file.txt"), QStringLiteral("sub/")}));
    QVERIFY(fixture.exists(Abandoned));
}

void TestShareUpload::unwritableFile_put_isReadOnly()
{
    if (::geteuid() == 0)
        QSKIP("the superuser may write everything");
    ShareFixture fixture;
    QCOMPARE(::chmod(fixture.local("share/file.txt").constData(), 0444), 0);
    QCOMPARE(fixture.put({}, "file.txt", "x"), Status::ReadOnly);
    QCOMPARE(fixture.read("share/file.txt"), QByteArray("content"));
}

QTEST_APPLESS_MAIN(TestShareUpload)
#include "tst_share_upload.moc"
