#include "testmain.h"
#include "transfertest.h"

#include <QMimeData>

namespace {

const char *const createCall = "Btsdk_FTPCreateDir";

} // namespace

/** New files and folders in the local pane, and new names. */
class TestFileOperations : public TransferTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void newFile_takesTheFirstFreeNameAndEditsIt_data();
    void newFile_takesTheFirstFreeNameAndEditsIt();
    void newFolder_takesTheFirstFreeNameAndEditsIt_data();
    void newFolder_takesTheFirstFreeNameAndEditsIt();
    void newEntry_allFiftyNamesTaken_doesNothing_data();
    void newEntry_allFiftyNamesTaken_doesNothing();
    void newEntry_focusElsewhere_doesNothing_data();
    void newEntry_focusElsewhere_doesNothing();
    void newEntry_folderNotWritable_saysSo_data();
    void newEntry_folderNotWritable_saysSo();
    void newFolder_fileOfTheName_saysItCannotBeCreated();
    void newEntry_named_isRenamedOnDisk_data();
    void newEntry_named_isRenamedOnDisk();
    void newEntry_escape_keepsTheDefaultName_data();
    void newEntry_escape_keepsTheDefaultName();
    void newEntry_listing_keepsTheSlashBehindItsFolder();

    void rename_accepted_changesDiskAndNameAlone_data();
    void rename_accepted_changesDiskAndNameAlone();
    void rename_inListMode_keepsTheColumnsThatWereNeverShown();
    void rename_twice_startsFromTheNewName();
    void rename_refused_saysWhyAndRestoresTheName_data();
    void rename_refused_saysWhyAndRestoresTheName();
    void rename_notPermitted_saysSoAndRestoresTheName();
    void rename_escape_changesNothing();
    void rename_unchanged_changesNothing();
    void rename_entryGoneMeanwhile_stopsSilently();
    void rename_refusedAfterAClickOnAnotherRow_restoresTheEditedRow();
    void rename_endedByAClickInTheOtherPane_isNotCommittedThere();
    void rename_noCurrentRow_doesNothing();
    void rename_remotePane_isNotOffered();
    void rename_hostClosesTheWindowUnderTheBox_isSafe_data();
    void rename_hostClosesTheWindowUnderTheBox_isSafe();

private:
    void openLocal()
    {
        openConnected();
        QVERIFY(windows::giveFocus(local));
    }
    QTreeWidgetItem *row(const QString &name) const { return windows::item(local, name); }
    /** Opens the editor of a row as a user does, with F2. */
    void editRow(const QString &name)
    {
        QVERIFY(windows::giveFocus(local));
        windows::click(local, row(name));
        QTest::keyClick(local, Qt::Key_F2);
        QVERIFY(editorOf(local));
    }
    static void actions()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::newRow("file") << QByteArray("action_New_File");
        QTest::newRow("folder") << QByteArray("actionNew_Folder");
    }
};

void TestFileOperations::newFile_takesTheFirstFreeNameAndEditsIt_data()
{
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("made");
    QTest::newRow("nothing there") << QStringList() << "new file";
    QTest::newRow("new file and new file1 there") << QStringList{"new file", "new file1"} << "new file2";
    QTest::newRow("a gap") << QStringList{"new file", "new file2"} << "new file1";
    QTest::newRow("a folder of the name") << QStringList{"new file/"} << "new file1";
    QStringList many{"new file"};
    for (int i = 1; i < 49; ++i)
        many.append(QStringLiteral("new file%1").arg(i));
    QTest::newRow("one name left") << many << "new file49";
}

void TestFileOperations::newFile_takesTheFirstFreeNameAndEditsIt()
{
    QFETCH(QStringList, present);
    QFETCH(QString, made);
    for (const QString &name : present)
        makeFile(name.endsWith(QLatin1Char('/')) ? name + QStringLiteral("inner") : name, "content");
    openLocal();
    trigger("action_New_File");
    QCOMPARE(QFileInfo(path(made)).size(), 0);
    QVERIFY(QFileInfo(path(made)).isFile());
    for (const QString &name : present)
        if (!name.endsWith(QLatin1Char('/')))
            QCOMPARE(contentOf(path(name)), QByteArray("content"));
    QVERIFY(editorOf(local));
    QCOMPARE(editorOf(local)->text(), made);
    QVERIFY(row(made)->flags() & Qt::ItemIsEditable);
    endEdit(local, made, Qt::Key_Escape);
}

void TestFileOperations::newFolder_takesTheFirstFreeNameAndEditsIt_data()
{
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("made");
    QTest::newRow("nothing there") << QStringList() << "new folder";
    QTest::newRow("new folder there") << QStringList{"new folder"} << "new folder1";
    QTest::newRow("two there") << QStringList{"new folder", "new folder1"} << "new folder2";
}

void TestFileOperations::newFolder_takesTheFirstFreeNameAndEditsIt()
{
    QFETCH(QStringList, present);
    QFETCH(QString, made);
    for (const QString &name : present)
        QVERIFY(QDir(localFolder()).mkdir(name));
    openLocal();
    trigger("actionNew_Folder");
    QVERIFY(QFileInfo(path(made)).isDir());
    QVERIFY(editorOf(local));
    QCOMPARE(editorOf(local)->text(), made);
    endEdit(local, made, Qt::Key_Escape);
}

void TestFileOperations::newEntry_allFiftyNamesTaken_doesNothing_data()
{
    actions();
}

void TestFileOperations::newEntry_allFiftyNamesTaken_doesNothing()
{
    QFETCH(QByteArray, action);
    const bool file = action == "action_New_File";
    for (int i = 0; i < 50; ++i) {
        const QString name = QLatin1String(file ? "new file" : "new folder") + (i ? QString::number(i) : QString());
        if (file)
            makeFile(name);
        else
            QVERIFY(QDir(localFolder()).mkdir(name));
    }
    openLocal();
    setStatus(QStringLiteral("before"));
    const Modals modals;
    trigger(action.constData());
    QCOMPARE(QDir(localFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 50);
    QVERIFY(!editorOf(local));
    QVERIFY(modals.seen().isEmpty());
    QCOMPARE(status(), QStringLiteral("before"));
}

void TestFileOperations::newEntry_focusElsewhere_doesNothing_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QByteArray>("focus");
    QTest::newRow("file, local box") << QByteArray("action_New_File") << QByteArray("m_pLocalCombo");
    QTest::newRow("file, remote pane") << QByteArray("action_New_File") << QByteArray("m_pRemoteTree");
    QTest::newRow("folder, local box") << QByteArray("actionNew_Folder") << QByteArray("m_pLocalCombo");
    QTest::newRow("folder, remote box") << QByteArray("actionNew_Folder") << QByteArray("m_pRemoteCombo");
}

void TestFileOperations::newEntry_focusElsewhere_doesNothing()
{
    QFETCH(QByteArray, action);
    QFETCH(QByteArray, focus);
    openConnected();
    QVERIFY(windows::giveFocus(window->findChild<QWidget *>(QString::fromLatin1(focus))));
    const QStringList before = windows::names(remote);
    trigger(action.constData());
    QVERIFY(QDir(localFolder()).isEmpty());
    QCOMPARE(windows::names(remote), before);
    QVERIFY(!editorOf(local) && !editorOf(remote));
}

void TestFileOperations::newEntry_folderNotWritable_saysSo_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("file") << QByteArray("action_New_File") << QByteArray("Create file failed")
                          << "can't create the file:new file,without permission to create it.";
    QTest::newRow("folder") << QByteArray("actionNew_Folder") << QByteArray("Create folder failed")
                            << "can't create the folder:new folder,without permission to create it.";
}

void TestFileOperations::newEntry_folderNotWritable_saysSo()
{
    QFETCH(QByteArray, action);
    QFETCH(QByteArray, title);
    QFETCH(QString, text);
    openLocal();
    const OrdinaryUser user(localFolder());
    QVERIFY(QFile::setPermissions(localFolder(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    Modals modals;
    modals.press(QMessageBox::Ok);
    trigger(action.constData());
    checkBox(modals, title.constData(), text, window);
    QVERIFY(QDir(localFolder()).isEmpty());
    QVERIFY(!editorOf(local));
    QVERIFY(
        QFile::setPermissions(localFolder(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
}

void TestFileOperations::newFolder_fileOfTheName_saysItCannotBeCreated()
{
    makeFile(QStringLiteral("new folder"), "kept");
    openLocal();
    Modals modals;
    modals.press(QMessageBox::Ok);
    trigger("actionNew_Folder");
    checkBox(modals, "Create folder failed",
             QStringLiteral("can't create the folder:new folder,without permission to create it."), window);
    QCOMPARE(contentOf(path(QStringLiteral("new folder"))), QByteArray("kept"));
    QVERIFY(!QFile::exists(path(QStringLiteral("new folder1"))));
}

void TestFileOperations::newEntry_named_isRenamedOnDisk_data()
{
    actions();
}

void TestFileOperations::newEntry_named_isRenamedOnDisk()
{
    QFETCH(QByteArray, action);
    const bool file = action == "action_New_File";
    openLocal();
    trigger(action.constData());
    const QString name = QStringLiteral(" 50% <b>a%20b\u00e9");
    endEdit(local, name);
    QTRY_VERIFY(QFile::exists(path(name)));
    QCOMPARE(QFileInfo(path(name)).isDir(), !file);
    QVERIFY(!QFile::exists(path(file ? QStringLiteral("new file") : QStringLiteral("new folder"))));
    QCOMPARE(windows::names(local), QStringList(name));
}

void TestFileOperations::newEntry_escape_keepsTheDefaultName_data()
{
    actions();
}

void TestFileOperations::newEntry_escape_keepsTheDefaultName()
{
    QFETCH(QByteArray, action);
    openLocal();
    trigger(action.constData());
    endEdit(local, QStringLiteral("typed"), Qt::Key_Escape);
    QVERIFY(
        QFile::exists(path(action == "action_New_File" ? QStringLiteral("new file") : QStringLiteral("new folder"))));
    QVERIFY(!QFile::exists(path(QStringLiteral("typed"))));
}

void TestFileOperations::newEntry_listing_keepsTheSlashBehindItsFolder()
{
    openLocal();
    trigger("action_New_File");
    endEdit(local, QString(), Qt::Key_Escape);
    // What is dragged after that has a doubled slash, which every file system takes for one.
    QVERIFY(windows::select(local, {"new file"}));
    const std::unique_ptr<QMimeData> payload(local->model()->mimeData(local->selectionModel()->selectedRows()));
    QCOMPARE(payload->urls().value(0).path(QUrl::FullyDecoded), localFolder() + QStringLiteral("//new file"));
    QCOMPARE(localBox->currentText(), localFolder());
}

void TestFileOperations::rename_accepted_changesDiskAndNameAlone_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::newRow("a file") << "old.txt"
                            << "new.dat";
    QTest::newRow("a folder") << "folder/"
                              << "other";
    QTest::newRow("another case") << "readme"
                                  << "README";
    QTest::newRow("a name with a percent sign") << "50%1.txt"
                                                << "%20 %1";
    QTest::newRow("spaces at both ends") << "old"
                                         << " old ";
    QTest::newRow("a name that begins with a dash") << "old"
                                                    << "-rf";
    QTest::newRow("a name beyond ASCII") << "old" << QStringLiteral("\u00e9 e\u0301 \u05d0");
}

void TestFileOperations::rename_accepted_changesDiskAndNameAlone()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    const bool folder = from.endsWith(QLatin1Char('/'));
    if (folder)
        makeFile(from + QStringLiteral("inner"), "kept");
    else
        makeFile(from, "kept");
    from.remove(QLatin1Char('/'));
    openLocal();
    action("actionDetailedList")->trigger();
    const QStringList shown{row(from)->text(1), row(from)->text(2), row(from)->text(3), row(from)->toolTip(0)};
    editRow(from);
    endEdit(local, to);
    QTRY_VERIFY(QFile::exists(path(to)));
    QVERIFY(!QFile::exists(path(from)));
    QCOMPARE(contentOf(folder ? path(to) + QStringLiteral("/inner") : path(to)), QByteArray("kept"));
    QVERIFY(row(to));
    // Nothing is listed anew: the other columns and the tip tell what they told.
    QCOMPARE((QStringList{row(to)->text(1), row(to)->text(2), row(to)->text(3), row(to)->toolTip(0)}), shown);
    QVERIFY(row(to)->flags() & Qt::ItemIsEditable);
}

void TestFileOperations::rename_inListMode_keepsTheColumnsThatWereNeverShown()
{
    makeFile(QStringLiteral("old.txt"), "12345");
    openLocal();
    editRow(QStringLiteral("old.txt"));
    endEdit(local, QStringLiteral("new.dat"));
    QTRY_VERIFY(QFile::exists(path(QStringLiteral("new.dat"))));
    QCOMPARE(row(QStringLiteral("new.dat"))->text(1), QStringLiteral("5 B"));
    QCOMPARE(row(QStringLiteral("new.dat"))->text(2), QStringLiteral("txt"));
    QCOMPARE(row(QStringLiteral("new.dat"))->text(3).size(), 16);
    QVERIFY(row(QStringLiteral("new.dat"))->toolTip(0).startsWith(QLatin1String("Name:\told.txt\nSize:\t5 B\n")));
}

void TestFileOperations::rename_twice_startsFromTheNewName()
{
    makeFile(QStringLiteral("one"), "kept");
    openLocal();
    editRow(QStringLiteral("one"));
    endEdit(local, QStringLiteral("two"));
    editRow(QStringLiteral("two"));
    endEdit(local, QStringLiteral("three"));
    QTRY_COMPARE(contentOf(path(QStringLiteral("three"))), QByteArray("kept"));
    QCOMPARE(QDir(localFolder()).entryList(QDir::Files), QStringList("three"));
}

void TestFileOperations::rename_refused_saysWhyAndRestoresTheName_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("text");
    QTest::newRow("blank") << ""
                           << "Can't leave the file name blank:old%1.txt!\n";
    QTest::newRow("a file's name") << "taken%1"
                                   << "Can't rename the file:old%1.txt!\nFile with the name 'taken%1' already exists.";
    QTest::newRow("a folder's name") << "folder"
                                     << "Can't rename the file:old%1.txt!\nFile with the name 'folder' already exists.";
    QTest::newRow("a folder that is not there") << "missing/name"
                                                << "Can't rename the file:old%1.txt!";
    QTest::newRow("too long for the disk") << QString(300, 'x') << "Can't rename the file:old%1.txt!";
}

void TestFileOperations::rename_refused_saysWhyAndRestoresTheName()
{
    QFETCH(QString, typed);
    QFETCH(QString, text);
    makeFile(QStringLiteral("old%1.txt"), "kept");
    makeFile(QStringLiteral("taken%1"), "other");
    makeFile(QStringLiteral("folder/inner"));
    openLocal();
    editRow(QStringLiteral("old%1.txt"));
    Modals modals;
    modals.press(QMessageBox::Ok);
    endEdit(local, typed);
    QTRY_VERIFY(modals.allAnswered());
    QTRY_VERIFY(row(QStringLiteral("old%1.txt")));
    checkBox(modals, "Rename Fail", text, window);
    QCOMPARE(contentOf(path(QStringLiteral("old%1.txt"))), QByteArray("kept"));
    QCOMPARE(contentOf(path(QStringLiteral("taken%1"))), QByteArray("other"));
    QCOMPARE(local->topLevelItemCount(), 3);
}

void TestFileOperations::rename_notPermitted_saysSoAndRestoresTheName()
{
    makeFile(QStringLiteral("old.txt"), "kept");
    openLocal();
    editRow(QStringLiteral("old.txt"));
    const OrdinaryUser user(localFolder());
    QVERIFY(QFile::setPermissions(localFolder(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    Modals modals;
    modals.press(QMessageBox::Ok);
    endEdit(local, QStringLiteral("new.txt"));
    QTRY_VERIFY(modals.allAnswered());
    QTRY_VERIFY(row(QStringLiteral("old.txt")));
    checkBox(modals, "Rename Fail", QStringLiteral("Can't rename the file:old.txt!"), window);
    QCOMPARE(contentOf(path(QStringLiteral("old.txt"))), QByteArray("kept"));
    QVERIFY(
        QFile::setPermissions(localFolder(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
}

void TestFileOperations::rename_escape_changesNothing()
{
    makeFile(QStringLiteral("old.txt"), "kept");
    openLocal();
    editRow(QStringLiteral("old.txt"));
    const Modals modals;
    endEdit(local, QStringLiteral("typed"), Qt::Key_Escape);
    QTest::qWait(20);
    QCOMPARE(windows::names(local), QStringList("old.txt"));
    QCOMPARE(QDir(localFolder()).entryList(QDir::Files), QStringList("old.txt"));
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::rename_unchanged_changesNothing()
{
    makeFile(QStringLiteral("old.txt"), "kept");
    openLocal();
    editRow(QStringLiteral("old.txt"));
    const Modals modals;
    endEdit(local, QStringLiteral("old.txt"));
    QTest::qWait(20);
    QCOMPARE(QDir(localFolder()).entryList(QDir::Files), QStringList("old.txt"));
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::rename_entryGoneMeanwhile_stopsSilently()
{
    makeFile(QStringLiteral("old.txt"));
    openLocal();
    editRow(QStringLiteral("old.txt"));
    QVERIFY(QFile::remove(path(QStringLiteral("old.txt"))));
    const Modals modals;
    endEdit(local, QStringLiteral("typed"));
    QTest::qWait(20);
    QCOMPARE(windows::names(local), QStringList("typed")); // the row keeps the typed text
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::rename_refusedAfterAClickOnAnotherRow_restoresTheEditedRow()
{
    makeFile(QStringLiteral("old.txt"), "kept");
    makeFile(QStringLiteral("other.txt"));
    openLocal();
    editRow(QStringLiteral("old.txt"));
    editorOf(local)->setText(QString());
    Modals modals;
    modals.press(QMessageBox::Ok);
    windows::click(local, row(QStringLiteral("other.txt")));
    QTRY_VERIFY(row(QStringLiteral("old.txt")));
    checkBox(modals, "Rename Fail", QStringLiteral("Can't leave the file name blank:old.txt!\n"), window);
    QCOMPARE(windows::names(local), (QStringList{"old.txt", "other.txt"}));
}

void TestFileOperations::rename_endedByAClickInTheOtherPane_isNotCommittedThere()
{
    makeFile(QStringLiteral("old.txt"), "kept");
    openLocal();
    editRow(QStringLiteral("old.txt"));
    QPointer<QLineEdit> editor = editorOf(local);
    editor->setText(QStringLiteral("typed"));
    const Modals modals;
    script().clearCalls();
    remote->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(!editor);
    QTest::qWait(20);
    QCOMPARE(script().count(createCall), 0);
    QCOMPARE(QDir(localFolder()).entryList(QDir::Files), QStringList("old.txt"));
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::rename_noCurrentRow_doesNothing()
{
    makeFile(QStringLiteral("old.txt"));
    openLocal();
    windows::click(local, nullptr);
    trigger("m_pActRename");
    QVERIFY(!editorOf(local));
}

void TestFileOperations::rename_remotePane_isNotOffered()
{
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    QTreeWidgetItem *const entry = windows::item(remote, QStringLiteral("hello.txt"));
    windows::click(remote, entry);
    trigger("m_pActRename");
    QVERIFY(!editorOf(remote));
    QVERIFY(entry->flags() & Qt::ItemIsEditable);
    // Left editable, the row is still not edited by a key or a double-click with an old name remembered.
    QTest::keyClick(remote, Qt::Key_F2);
    QVERIFY(!editorOf(remote));
}

void TestFileOperations::rename_hostClosesTheWindowUnderTheBox_isSafe_data()
{
    QTest::addColumn<bool>("byEnter");
    QTest::newRow("edit ended with Enter") << true;
    QTest::newRow("edit ended by a click on another row") << false;
}

void TestFileOperations::rename_hostClosesTheWindowUnderTheBox_isSafe()
{
    QFETCH(bool, byEnter);
    makeFile(QStringLiteral("old.txt"));
    makeFile(QStringLiteral("other.txt"));
    openLocal();
    editRow(QStringLiteral("old.txt"));
    Modals modals;
    modals.handle([this](QWidget *box) {
        plugin().PerformPostDisc();
        QVERIFY(QTest::qWaitFor([this] { return !window; }));
        Q_UNUSED(box)
    });
    QLineEdit *const editor = editorOf(local);
    editor->setText(QString());
    if (byEnter)
        QTest::keyClick(editor, Qt::Key_Return);
    else
        QTest::mouseClick(local->viewport(), Qt::LeftButton, Qt::NoModifier,
                          local->visualItemRect(row(QStringLiteral("other.txt"))).center());
    QTRY_VERIFY(!window);
    QVERIFY(QFile::exists(path(QStringLiteral("old.txt"))));
}

BTFTP_TEST_MAIN(TestFileOperations)
#include "tst_file_operations.moc"
