#include "PlainText.h"
#include "ReceivedFiles.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace manager;

namespace {

ReceivedFile file(const QString &name)
{
    return {QStringLiteral("/home/ann/Public"), name, QDateTime::currentDateTimeUtc()};
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile out(path);
    QVERIFY(out.open(QIODevice::WriteOnly));
    QCOMPARE(out.write(bytes), qint64(bytes.size()));
}

} // namespace

class ManagerReceived : public QObject
{
    Q_OBJECT

private slots:
    void list_afterARestart_isTheSame();
    void list_ofMoreThanItHolds_forgetsTheOldest();
    void list_ofABurst_isSavedByItself();
    void list_aFileReceivedAgain_movesToTheTop();
    void list_whoseStorageIsDamaged_startsEmptyAndKeepsTheDamagedFile();
    void list_thatCannotBeSaved_saysSo();
    void path_data();
    void path();
    void shownName_data();
    void shownName();
    void isProgram_knowsWhatRunsWhenItIsOpened();

private:
    QTemporaryDir m_dir;
    QString storage(const char *name)
    {
        return m_dir.filePath(QString::fromLatin1(name) + QStringLiteral("/list.json"));
    }
};

void ManagerReceived::list_afterARestart_isTheSame()
{
    const QStringList names{QStringLiteral("a.txt"), QStringLiteral("<b>bold</b>"), QStringLiteral("50% #1 &.png"),
                            QStringLiteral("日本\u202Egpj.exe"), QStringLiteral("line\nbreak")};
    {
        ReceivedFiles files(storage("restart"));
        for (const QString &name : names)
            files.add(file(name));
    }
    const ReceivedFiles again(storage("restart"));
    QCOMPARE(again.rowCount(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        QCOMPARE(again.at(names.size() - 1 - i).name, names[i]);
        QVERIFY(again.at(i).time.isValid());
    }
}

void ManagerReceived::list_ofMoreThanItHolds_forgetsTheOldest()
{
    ReceivedFiles files(storage("many"));
    for (int i = 0; i < ReceivedFiles::most + 3; ++i)
        files.add(file(QString::number(i)));
    QCOMPARE(files.rowCount(), ReceivedFiles::most);
    QCOMPARE(files.at(0).name, QString::number(ReceivedFiles::most + 2));
    QCOMPARE(files.at(ReceivedFiles::most - 1).name, QStringLiteral("3"));
}

void ManagerReceived::list_ofABurst_isSavedByItself()
{
    ReceivedFiles files(storage("burst"));
    for (int i = 0; i < 10; ++i)
        files.add(file(QString::number(i)));
    QVERIFY(!QFile::exists(storage("burst"))); // not once a file
    QTRY_COMPARE(ReceivedFiles(storage("burst")).rowCount(), 10);
}

void ManagerReceived::list_aFileReceivedAgain_movesToTheTop()
{
    ReceivedFiles files(storage("again"));
    files.add(file(QStringLiteral("a")));
    files.add(file(QStringLiteral("b")));
    files.add(file(QStringLiteral("a")));
    QCOMPARE(files.rowCount(), 2);
    QCOMPARE(files.at(0).name, QStringLiteral("a"));
}

void ManagerReceived::list_whoseStorageIsDamaged_startsEmptyAndKeepsTheDamagedFile()
{
    const QString path = storage("damaged");
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    writeFile(path, "[{\"name\": \"cut of");
    ReceivedFiles files(path);
    QVERIFY(files.isEmpty());
    files.add(file(QStringLiteral("new")));
    QVERIFY(QFile::exists(path + QStringLiteral(".unreadable")));
    QTRY_COMPARE(ReceivedFiles(path).rowCount(), 1);
}

void ManagerReceived::list_thatCannotBeSaved_saysSo()
{
    const QString blocker = m_dir.filePath(QStringLiteral("blocker"));
    writeFile(blocker, "a file where a folder should be");
    ReceivedFiles files(blocker + QStringLiteral("/list.json"));
    QSignalSpy failures(&files, &ReceivedFiles::saveFailed);
    files.add(file(QStringLiteral("a")));
    QTRY_COMPARE(failures.size(), 1);
    QCOMPARE(files.rowCount(), 1);
}

void ManagerReceived::path_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    const QString share = QStringLiteral("/srv/share");
    QTest::newRow("a plain name") << share << "a.txt"
                                  << "/srv/share/a.txt";
    QTest::newRow("a name with escapes is literal") << share << "50%25 #1.txt"
                                                    << "/srv/share/50%25 #1.txt";
    QTest::newRow("a file in a folder of the share") << share << "sub/a.txt"
                                                     << "/srv/share/sub/a.txt";
    QTest::newRow("a share with a slash at its end") << "/srv/share/"
                                                     << "a.txt"
                                                     << "/srv/share/a.txt";
    QTest::newRow("a share that is the root") << "/"
                                              << "a.txt"
                                              << "/a.txt";
    QTest::newRow("up and out") << share << "../a.txt"
                                << "";
    QTest::newRow("up and into a sibling whose name begins alike") << share << "../share2/a.txt"
                                                                   << "";
    QTest::newRow("the share itself") << share << "."
                                      << "";
    QTest::newRow("no name") << share << ""
                             << "";
    QTest::newRow("no folder") << ""
                               << "a.txt"
                               << "";
}

void ManagerReceived::path()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QTEST(receivedPath({folder, name, {}}), "expected");
}

void ManagerReceived::shownName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a plain name") << "a b.txt"
                                  << "a b.txt";
    QTest::newRow("mark-up stays as it is") << "<img src=x>&amp;"
                                            << "<img src=x>&amp;";
    QTest::newRow("a line break") << "a\nb" << QStringLiteral("a\uFFFDb");
    QTest::newRow("a turned reading direction") << QStringLiteral("a\u202Egpj.exe") << QStringLiteral("a\uFFFDgpj.exe");
    QTest::newRow("accents and other scripts") << QStringLiteral("é 日本 ع") << QStringLiteral("é 日本 ع");
}

void ManagerReceived::shownName()
{
    QFETCH(QString, name);
    QTEST(manager::shownName(name), "expected");
}

void ManagerReceived::isProgram_knowsWhatRunsWhenItIsOpened()
{
    const auto made = [this](const char *name, const QByteArray &bytes, bool executable) {
        const QString path = m_dir.filePath(QString::fromLatin1(name));
        writeFile(path, bytes);
        if (executable)
            QFile(path).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    };
    QVERIFY(!isProgram(made("text.txt", "hello", false)));
    QVERIFY(!isProgram(made("picture.png", "\x89PNG\r\n\x1a\n", false)));
    QVERIFY(isProgram(made("marked.txt", "hello", true)));
    QVERIFY(isProgram(made("start.desktop", "[Desktop Entry]\nType=Application\n", false)));
    QVERIFY(isProgram(made("script.sh", "#!/bin/sh\n", false)));
    QVERIFY(isProgram(made("hidden",
                           QByteArray("\x7f"
                                      "ELF\x02\x01\x01\0\0\0\0\0\0\0\0\0\x03\0\x3e\0",
                                      20),
                           false)));
}

QTEST_MAIN(ManagerReceived)
#include "tst_manager_received.moc"
