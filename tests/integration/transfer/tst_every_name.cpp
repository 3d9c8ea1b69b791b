#include "transferdesk.h"

#include <QLineEdit>
#include <QMimeData>

/** Every name that a disk can hold goes both ways, by every way there is, and arrives as that very name. */
class TestEveryName : public TransferDesk
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        load();
        open();
    }
    void cleanup() { emptyFolders(); }
    void cleanupTestCase()
    {
        close();
        Btsdk_HostShutdown();
    }

    void name_anyLegalOne_arrivesUnchanged_data();
    void name_anyLegalOne_arrivesUnchanged();
    void folder_anyLegalName_arrivesUnchanged_data();
    void folder_anyLegalName_arrivesUnchanged();
    void name_longestWhosePathFits_arrivesUnchanged_data();
    void name_longestWhosePathFits_arrivesUnchanged();
    void name_oneByteMore_isRefusedBeforeAnythingStarts_data();
    void name_oneByteMore_isRefusedBeforeAnythingStarts();
    void remoteFolder_anyLegalName_isCreatedUnderIt_data();
    void remoteFolder_anyLegalName_isCreatedUnderIt();

private:
    static void names();
    QString localFolder() const { return QFileInfo(localPath(QString())).path(); }
    QString remoteFolder() const { return QFileInfo(remotePath(QString())).path(); }
    /** The transfer has succeeded and both sides hold exactly this. */
    void arrived(const char *how, const QString &name);
    void removeLocal(const QString &name);
    void removeRemote(const QString &name);
    static std::unique_ptr<QMimeData> drag(const QTreeWidget *tree)
    {
        return std::unique_ptr<QMimeData>(tree->model()->mimeData(tree->selectionModel()->selectedRows()));
    }

    const QByteArray m_content = contentFor(7, 3000);
};

void TestEveryName::names()
{
    QTest::addColumn<QString>("name");
    const struct
    {
        const char *what;
        const char *name;
    } rows[] = {
        {"spaces at both ends", "  both ends  "},
        {"spaces alone", "   "},
        {"percent", "50%"},
        {"percent twenty", "a%20b"},
        {"percent forty-one", "%41"},
        {"percent in every form", "%1 %2 %n %% %00"},
        {"hash", "a#b"},
        {"question mark", "a?b=c"},
        {"ampersand", "a&b &amp; c"},
        {"angle brackets", "<b>bold<b>"},
        {"semicolon", "a;b"},
        {"colon", "c:d"},
        {"scheme", "file:a"},
        {"backslash", "a\\b\\"},
        {"single quote", "it's"},
        {"double quote", "\"quoted\""},
        {"newline", "line\nbreak"},
        {"tabulator", "tab\there"},
        {"star and dollar", "*$HOME`id`|"},
        {"accents composed", "\xC3\xA9t\xC3\xA9"},
        {"accents decomposed", "e\xCC\x81te\xCC\x81"},
        {"emoji", "\xF0\x9F\x98\x80\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xA7"},
        {"right to left", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.txt"},
        {"right-to-left mark", "\xE2\x80\xAEgpj.exe"},
        {"dash first", "-rf"},
        {"tilde first", "~root"},
        {"dot first", ".hidden"},
        {"three dots", "..."},
        {"dot last", "ends."},
        {"one letter", "a"},
        {"brackets", "[1]{2}(3)"},
    };
    for (const auto &row : rows)
        QTest::newRow(row.what) << QString::fromUtf8(row.name);
}

void TestEveryName::arrived(const char *how, const QString &name)
{
    QTRY_VERIFY2_WITH_TIMEOUT(status().endsWith(QLatin1String("succeeded.")), how, patience);
    QVERIFY2(entriesOf(localFolder()) == QStringList(name), how);
    QVERIFY2(entriesOf(remoteFolder()) == QStringList(name), how);
    QVERIFY2(contentOf(localPath(name)) == m_content, how);
    QVERIFY2(contentOf(remotePath(name)) == m_content, how);
    QVERIFY2(windows::names(local) == QStringList(name) && windows::names(remote) == QStringList(name), how);
}

void TestEveryName::removeLocal(const QString &name)
{
    QVERIFY(QFile::remove(localPath(name)));
    listBoth();
}

void TestEveryName::removeRemote(const QString &name)
{
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {name}));
    Modals modals;
    modals.press(QMessageBox::Yes);
    QTest::keyClick(remote, Qt::Key_Delete);
    QCOMPARE(modals.last().text, QStringLiteral("Are you sure delete the file:") + name + QLatin1Char('?'));
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Delete succeeded."), patience);
    QCOMPARE(entriesOf(remoteFolder()), QStringList());
    QCOMPARE(windows::names(remote), QStringList());
}

void TestEveryName::name_anyLegalOne_arrivesUnchanged_data()
{
    names();
}

void TestEveryName::name_anyLegalOne_arrivesUnchanged()
{
    QFETCH(QString, name);
    writeFile(localPath(name), m_content);
    listBoth();
    startUpload(name);
    arrived("upload", name);
    removeRemote(name);

    QVERIFY(windows::giveFocus(local));
    windows::doubleClick(local, local->topLevelItem(0));
    arrived("double-click on the local file", name);
    removeRemote(name);

    local->topLevelItem(0)->setSelected(true);
    QVERIFY(windows::drop(remote, drag(local).get()).dropped);
    arrived("drop on the remote pane", name);
    removeRemote(name);

    QMimeData foreign; // as a file manager drops it
    foreign.setUrls({QUrl::fromLocalFile(localPath(name))});
    QVERIFY(windows::drop(remote, &foreign).dropped);
    arrived("drop from another application", name);

    removeLocal(name);
    startDownload(name);
    arrived("download", name);

    removeLocal(name);
    QVERIFY(windows::giveFocus(remote));
    windows::doubleClick(remote, remote->topLevelItem(0));
    arrived("double-click on the remote file", name);

    removeLocal(name);
    remote->topLevelItem(0)->setSelected(true);
    QVERIFY(windows::drop(local, drag(remote).get()).dropped);
    arrived("drop on the local pane", name);
}

void TestEveryName::folder_anyLegalName_arrivesUnchanged_data()
{
    names();
}

void TestEveryName::folder_anyLegalName_arrivesUnchanged()
{
    QFETCH(QString, name);
    QVERIFY(QDir(localFolder()).mkdir(name));
    writeFile(localPath(name) + QLatin1Char('/') + name, m_content);
    listBoth();
    startUpload(name);
    finish(QStringLiteral("Upload succeeded."));
    QCOMPARE(entriesOf(remotePath(name)), QStringList(name));
    QCOMPARE(contentOf(remotePath(name) + QLatin1Char('/') + name), m_content);
    QVERIFY(QDir(localPath(name)).removeRecursively());
    listBoth();
    startDownload(name);
    finish(QStringLiteral("Download succeeded."));
    QCOMPARE(entriesOf(localFolder()), QStringList(name));
    QCOMPARE(contentOf(localPath(name) + QLatin1Char('/') + name), m_content);
    // Into the folder and back: its name is a path by then.
    windows::doubleClick(remote, remote->topLevelItem(0));
    QCOMPARE(windows::remoteCombo(window)->currentText(), QLatin1Char('/') + name);
    QCOMPARE(windows::names(remote), QStringList(name));
    QVERIFY(windows::call(window, "cdUpRmt"));
}

void TestEveryName::name_longestWhosePathFits_arrivesUnchanged_data()
{
    QTest::addColumn<QString>("letter");
    QTest::newRow("one byte a letter") << "x";
    QTest::newRow("two bytes a letter") << QStringLiteral("\u00e4");
    QTest::newRow("four bytes a letter") << QString::fromUtf8("\xF0\x9F\x98\x80");
}

void TestEveryName::name_longestWhosePathFits_arrivesUnchanged()
{
    QFETCH(QString, letter);
    const int room = 255 - localPath(QString()).toUtf8().size();
    const int size = letter.toUtf8().size();
    const QString name = QString(room % size, QLatin1Char('x')) + letter.repeated(room / size);
    QCOMPARE(localPath(name).toUtf8().size(), 255);
    writeFile(localPath(name), m_content);
    listBoth();
    startUpload(name);
    arrived("upload", name);
    removeLocal(name);
    startDownload(name);
    arrived("download", name);
    removeRemote(name);
}

void TestEveryName::name_oneByteMore_isRefusedBeforeAnythingStarts_data()
{
    QTest::addColumn<bool>("upload");
    QTest::newRow("upload") << true;
    QTest::newRow("download") << false;
}

void TestEveryName::name_oneByteMore_isRefusedBeforeAnythingStarts()
{
    QFETCH(bool, upload);
    const QString name(256 - localPath(QString()).toUtf8().size(), QLatin1Char('x'));
    writeFile(upload ? localPath(name) : remotePath(name), m_content);
    listBoth();
    const QString before = status();
    Modals modals;
    modals.press(QMessageBox::Ok);
    QVERIFY(windows::select(upload ? local : remote, {name}));
    QVERIFY(windows::call(window, upload ? "actionUpload" : "actionDownload", Q_ARG(bool, false)));
    QCOMPARE(modals.last().title, QStringLiteral("Name too long"));
    QCOMPARE(modals.last().text, QStringLiteral("The path of '%1' is too long: 255 bytes are the limit.").arg(name));
    QVERIFY(!progress());
    QCOMPARE(status(), before);
    QCOMPARE(entriesOf(upload ? remoteFolder() : localFolder()), QStringList());
}

void TestEveryName::remoteFolder_anyLegalName_isCreatedUnderIt_data()
{
    names();
}

void TestEveryName::remoteFolder_anyLegalName_isCreatedUnderIt()
{
    QFETCH(QString, name);
    if (name.contains(QLatin1Char('\n')) || name.contains(QLatin1Char('\t')))
        return; // a line edit takes a single line of text
    listBoth();
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::call(window, "actionNewFolder", Q_ARG(bool, false)));
    QPointer<QLineEdit> editor = remote->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    editor->setText(name);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!editor);
    QCOMPARE(entriesOf(remoteFolder()), QStringList(name));
    QCOMPARE(windows::names(remote), QStringList(name));
}

BTFTP_TEST_MAIN(TestEveryName)
#include "tst_every_name.moc"
