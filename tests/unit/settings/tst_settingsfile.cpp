#include "settings/location.h"
#include "settings/settingsfile.h"

#include <QtTest>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using settings::Document;
using settings::Outcome;
using settings::SettingsFile;

namespace {

// The body runs in a process of its own; its answer is the exit code.
pid_t inChild(const std::function<bool()> &body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body() ? 0 : 1);
    return child;
}

bool endsWell(pid_t child)
{
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

/** The settings' file: missing, shared, on a full disk. */
class TestSettingsFile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void value_missingFileSectionOrKey_fallback();
    void value_changedByAnother_isSeen();
    void write_newFile_foldersAreMade();
    void write_existingFile_modeAndLinkStay();
    void write_twoProcesses_nothingLost();
    void write_manyThreads_nothingLost();
    void write_fullDisk_oldFileStays();
    void write_unreadableContent_oldFileStays();
    void write_folderInPlace_fails();
    void write_noLitter();
    void write_afterAKilledWriter_leavesNoLitter();
    void defaultPath_environment_decides();

private:
    QByteArray content() const;
    void fill(const QByteArray &text) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::string m_path;
};

void TestSettingsFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath("settings.ini").toStdString();
}

QByteArray TestSettingsFile::content() const
{
    QFile file(QString::fromStdString(m_path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestSettingsFile::fill(const QByteArray &text) const
{
    QFile file(QString::fromStdString(m_path));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
}

void TestSettingsFile::value_missingFileSectionOrKey_fallback()
{
    const SettingsFile file(m_path);
    QCOMPARE(file.value("a", "key", "fallback"), std::string("fallback"));
    fill("[a]\nkey = x\nnumber = 12\n");
    QCOMPARE(file.value("b", "key", "fallback"), std::string("fallback"));
    QCOMPARE(file.value("a", "other", "fallback"), std::string("fallback"));
    QCOMPARE(file.value("a", "key", "fallback"), std::string("x"));
    QCOMPARE(file.intValue("a", "number", 5), 12);
    QCOMPARE(file.intValue("a", "key", 5), 5);
}

void TestSettingsFile::value_changedByAnother_isSeen()
{
    const SettingsFile file(m_path);
    fill("[a]\nkey = 1\n");
    QCOMPARE(file.value("a", "key"), std::string("1"));
    fill("[a]\nkey = 2\n");
    QCOMPARE(file.value("a", "key"), std::string("2"));
}

void TestSettingsFile::write_newFile_foldersAreMade()
{
    m_path = m_folder->filePath("deep/er/settings.ini").toStdString();
    QVERIFY(SettingsFile(m_path).write("a", "key", "x") == Outcome::Done);
    QCOMPARE(content(), QByteArray("[a]\nkey = x\n"));
    QCOMPARE(QFile::permissions(QString::fromStdString(m_path)) & (QFile::ReadGroup | QFile::ReadOther),
             QFile::Permissions());
}

void TestSettingsFile::write_existingFile_modeAndLinkStay()
{
    const QString real = m_folder->filePath("real.ini");
    m_path = real.toStdString();
    fill("[a]\nkey = 1\n");
    QVERIFY(QFile::setPermissions(real, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
    const auto before = QFile::permissions(real);
    const QString link = m_folder->filePath("link.ini");
    QVERIFY(QFile::link("real.ini", link));

    QVERIFY(SettingsFile(link.toStdString()).write("a", "key", "2") == Outcome::Done);
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(content(), QByteArray("[a]\nkey = 2\n"));
    QCOMPARE(QFile::permissions(real), before);
}

void TestSettingsFile::write_twoProcesses_nothingLost()
{
    constexpr int writes = 40;
    const auto writer = [this](const std::string &section) {
        return inChild([this, section] {
            SettingsFile file(m_path);
            for (int number = 0; number < writes; ++number) {
                if (file.write(section, "key" + std::to_string(number), std::to_string(number)) != Outcome::Done)
                    return false;
            }
            return true;
        });
    };
    const pid_t one = writer("one");
    const pid_t two = writer("two");
    QVERIFY(endsWell(one));
    QVERIFY(endsWell(two));
    const SettingsFile file(m_path);
    for (const char *section : {"one", "two"}) {
        for (int number = 0; number < writes; ++number)
            QCOMPARE(file.intValue(section, "key" + std::to_string(number), -1), number);
    }
}

void TestSettingsFile::write_manyThreads_nothingLost()
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread] {
            for (int number = 0; number < 10; ++number)
                (void)SettingsFile(m_path).write("t" + std::to_string(thread), "k" + std::to_string(number), "v");
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(content().count(" = v\n"), 40);
}

void TestSettingsFile::write_fullDisk_oldFileStays()
{
    const QByteArray old = "[a]\n; kept\nkey = old\n";
    fill(old);
    const bool asked = endsWell(inChild([this] {
        // A limit on the size of files stands in for the full disk: the write ends short in the same way.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{8, 8};
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
               SettingsFile(m_path).write("a", "key", "a longer text") == Outcome::Full;
    }));
    QVERIFY(asked);
    QCOMPARE(content(), old);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), (QStringList{"settings.ini", "settings.ini.lock"}));
}

void TestSettingsFile::write_unreadableContent_oldFileStays()
{
    const QByteArray old("[a]\nkey = x\n\0[b]\nkey = y\n", 25);
    fill(old);
    QVERIFY(SettingsFile(m_path).write("a", "key", "new") == Outcome::Failed);
    QCOMPARE(content(), old);
}

void TestSettingsFile::write_folderInPlace_fails()
{
    QVERIFY(QDir(m_folder->path()).mkdir("settings.ini"));
    QVERIFY(SettingsFile(m_path).write("a", "key", "new") == Outcome::Failed);
    QCOMPARE(SettingsFile(m_path).value("a", "key", "fallback"), std::string("fallback"));
    QVERIFY(SettingsFile("").write("a", "key", "new") == Outcome::Failed);
}

void TestSettingsFile::write_noLitter()
{
    SettingsFile file(m_path);
    QVERIFY(file.write("a", "key", "1") == Outcome::Done);
    QVERIFY(file.write("a", "key", "2") == Outcome::Done);
    QVERIFY(file.write("a", "k=y", "2") == Outcome::Refused);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), (QStringList{"settings.ini", "settings.ini.lock"}));
}

void TestSettingsFile::write_afterAKilledWriter_leavesNoLitter()
{
    fill("[a]\nkey = old\n");
    const pid_t child = inChild([this] {
        const rlimit noCore{0, 0};
        const rlimit limit{8, 8}; // the write goes over it, and the signal for that kills the process
        return ::setrlimit(RLIMIT_CORE, &noCore) == 0 && ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
               SettingsFile(m_path).write("a", "key", "a longer text") == Outcome::Done;
    });
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files).size(), 3); // the unfinished one among them

    QVERIFY(SettingsFile(m_path).write("a", "key", "new") == Outcome::Done);
    QCOMPARE(content(), QByteArray("[a]\nkey = new\n"));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), (QStringList{"settings.ini", "settings.ini.lock"}));
}

void TestSettingsFile::defaultPath_environment_decides()
{
    const QByteArray named = qgetenv("VELMARO_SETTINGS");
    const QByteArray config = qgetenv("XDG_CONFIG_HOME");
    const QByteArray home = qgetenv("HOME");
    qputenv("VELMARO_SETTINGS", "/named.ini");
    QCOMPARE(settings::defaultPath(), std::string("/named.ini"));
    qunsetenv("VELMARO_SETTINGS");
    qputenv("XDG_CONFIG_HOME", "/config");
    QCOMPARE(settings::defaultPath(), std::string("/config/velmaro/settings.ini"));
    qputenv("XDG_CONFIG_HOME", "relative");
    qputenv("HOME", "/home/me");
    QCOMPARE(settings::defaultPath(), std::string("/home/me/.config/velmaro/settings.ini"));
    qputenv("VELMARO_SETTINGS", named);
    qputenv("XDG_CONFIG_HOME", config);
    qputenv("HOME", home);
}

QTEST_APPLESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
