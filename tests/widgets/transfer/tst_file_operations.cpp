#include "testmain.h"
#include "transfertest.h"

#include <QMimeData>

namespace {

const char *const createCall = "Btsdk_FTPCreateDir";

} // namespace

/** New files, new folders and new names. */
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

    void remoteFolder_proposal_isAPlaceholderInPlace();
    void remoteFolder_names_areTakenWithoutRegardToCase();
    void remoteFolder_allFiftyNamesTaken_doesNothing();
    void remoteFolder_committed_isCreatedAndListed_data();
    void remoteFolder_committed_isCreatedAndListed();
    void remoteFolder_refused_saysWhyAndTakesThePlaceholderOut_data();
    void remoteFolder_refused_saysWhyAndTakesThePlaceholderOut();
    void remoteFolder_longestName_goesWhole();
    void remoteFolder_endedByAClickInTheOtherPane_createsNothing();
    void remoteFolder_linkGoneMeanwhile_isSafe();
    void remoteFolder_hostClosesTheWindowUnderTheBox_isSafe();

private:
    void openLocal()
    {
        openConnected();
        QVERIFY(windows::giveFocus(local));
    }
    void trigger(const char *name)
    {
        action(name)->setEnabled(true);
        action(name)->trigger();
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
    void proposeRemoteFolder()
    {
        QVERIFY(windows::giveFocus(remote));
        script().clearCalls();
        trigger("actionNew_Folder");
        QVERIFY(editorOf(remote));
    }
    static void checkBox(const Modals &modals, const char *title, const QString &text, const QWidget *window)
    {
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.last().icon, QMessageBox::Critical);
        QCOMPARE(modals.last().title, QString::fromLatin1(title));
        QCOMPARE(modals.last().text, text);
        QCOMPARE(modals.last().textFormat, Qt::PlainText);
        QCOMPARE(modals.last().buttons, QStringList("OK"));
        QCOMPARE(modals.last().parent.data(), window);
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

void TestFileOperations::remoteFolder_proposal_isAPlaceholderInPlace()
{
    script().setListing("/", {{"zebra", true}, {"apple.txt"}, {"Mango.txt"}});
    openConnected();
    proposeRemoteFolder();
    // The tree is sorted by its sort column, which is the name until another one is chosen: capitals first.
    QCOMPARE(windows::names(remote), (QStringList{"Mango.txt", "apple.txt", "new folder", "zebra"}));
    const QTreeWidgetItem *const placeholder = windows::item(remote, QStringLiteral("new folder"));
    QCOMPARE(placeholder->text(2), QStringLiteral("Folder"));
    QCOMPARE(placeholder->textAlignment(1), int(Qt::AlignRight));
    QVERIFY(!placeholder->icon(0).isNull());
    QVERIFY(placeholder->flags() & Qt::ItemIsEditable);
    QVERIFY(!placeholder->data(0, Qt::UserRole).isValid());
    QCOMPARE(editorOf(remote)->text(), QStringLiteral("new folder"));
    QCOMPARE(script().count(createCall), 0);               // not yet
    QVERIFY(script().count("Btsdk_FTPBrowseFolder") >= 1); // listed anew before
    endEdit(remote, QStringLiteral("x"));
    QTRY_COMPARE(script().count(createCall), 1);
}

void TestFileOperations::remoteFolder_names_areTakenWithoutRegardToCase()
{
    script().setListing("/", {{"NEW folder", true}, {"new folder1"}});
    openConnected();
    proposeRemoteFolder();
    QCOMPARE(editorOf(remote)->text(), QStringLiteral("new folder2"));
    endEdit(remote, QStringLiteral("x"));
    QTRY_COMPARE(script().count(createCall), 1);
}

void TestFileOperations::remoteFolder_allFiftyNamesTaken_doesNothing()
{
    QList<RemoteEntry> entries{{"new folder", true}};
    for (int i = 1; i < 50; ++i)
        entries.append({"new folder" + QByteArray::number(i), true});
    script().setListing("/", entries);
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    script().clearCalls();
    const Modals modals;
    trigger("actionNew_Folder");
    QVERIFY(!editorOf(remote));
    QCOMPARE(remote->topLevelItemCount(), 50);
    QCOMPARE(script().count("Btsdk_FTPBrowseFolder"), 0);
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::remoteFolder_committed_isCreatedAndListed_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("created");
    QTest::newRow("a name typed") << "Holiday" << int(Qt::Key_Return) << "Holiday";
    QTest::newRow("the default name taken over") << "new folder" << int(Qt::Key_Return) << "new folder";
    QTest::newRow("Escape creates the default name") << "typed" << int(Qt::Key_Escape) << "new folder";
    QTest::newRow("a name with a percent sign") << " 50%1 " << int(Qt::Key_Return) << " 50%1 ";
    QTest::newRow("a name in another case") << "PHOTOS" << int(Qt::Key_Return) << "PHOTOS";
}

void TestFileOperations::remoteFolder_committed_isCreatedAndListed()
{
    QFETCH(QString, typed);
    QFETCH(int, key);
    QFETCH(QString, created);
    openConnected();
    proposeRemoteFolder();
    script().clearCalls();
    const Modals modals;
    endEdit(remote, typed, Qt::Key(key));
    QTRY_COMPARE(script().count(createCall), 1);
    QCOMPARE(script().last(createCall).number(0), Double::firstConnection);
    QCOMPARE(script().last(createCall).text(1), created.toUtf8());
    QCOMPARE(script().count("Btsdk_FTPBrowseFolder"), 1);
    QVERIFY(modals.seen().isEmpty());
    const QTreeWidgetItem *const real = windows::item(remote, created);
    QVERIFY(real);
    QVERIFY(real->data(0, Qt::UserRole).isValid());
    QCOMPARE(remote->topLevelItemCount(), 5);
}

void TestFileOperations::remoteFolder_refused_saysWhyAndTakesThePlaceholderOut_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<uint>("result");
    QTest::addColumn<QString>("text");
    QTest::newRow("a file's name") << "hello.txt" << 0u
                                   << "Can't create the folder!\nFile or folder with the name 'hello.txt' already "
                                      "exists.";
    QTest::newRow("a folder's name") << "Photos" << 0u
                                     << "Can't create the folder!\nFile or folder with the name 'Photos' already "
                                        "exists.";
    QTest::newRow("the device refuses") << "Holiday" << uint(BTSDK_ER_READ_ONLY)
                                        << "Can't create the folder:new folder!\nWithout permission.";
    QTest::newRow("the link is gone") << "%1" << uint(BTSDK_ER_LINK_LOST)
                                      << "Can't create the folder:new folder!\nWithout permission.";
    const QString tooLong(256, 'x');
    QTest::newRow("a byte too long")
        << tooLong << 0u << QStringLiteral("The name '%1' is too long: 255 bytes are the limit.").arg(tooLong);
}

void TestFileOperations::remoteFolder_refused_saysWhyAndTakesThePlaceholderOut()
{
    QFETCH(QString, typed);
    QFETCH(uint, result);
    QFETCH(QString, text);
    openConnected();
    proposeRemoteFolder();
    if (result)
        script().setResult(createCall, result);
    script().clearCalls();
    Modals modals;
    modals.press(QMessageBox::Ok);
    endEdit(remote, typed);
    QTRY_VERIFY(modals.allAnswered());
    QTRY_COMPARE(remote->topLevelItemCount(), 4);
    checkBox(modals, "Create Folder Failed", text, window);
    QCOMPARE(script().count(createCall), result ? 1 : 0);
    QCOMPARE(script().count("Btsdk_FTPBrowseFolder"), 0); // no new listing
    QStringList left = windows::names(remote);
    left.sort();
    QCOMPARE(left, (QStringList{"Docs", "Photos", "archive.tar.gz", "hello.txt"}));
}

void TestFileOperations::remoteFolder_longestName_goesWhole()
{
    openConnected();
    proposeRemoteFolder();
    const QString name = QStringLiteral("\u00e4").repeated(127) + QLatin1Char('x');
    endEdit(remote, name);
    QTRY_COMPARE(script().count(createCall), 1);
    QCOMPARE(script().last(createCall).text(1), name.toUtf8());
    QCOMPARE(name.toUtf8().size(), 255);
}

void TestFileOperations::remoteFolder_endedByAClickInTheOtherPane_createsNothing()
{
    makeFile(QStringLiteral("new folder"), "kept");
    openConnected();
    proposeRemoteFolder();
    QPointer<QLineEdit> editor = editorOf(remote);
    editor->setText(QStringLiteral("typed"));
    const Modals modals;
    local->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(!editor);
    QTest::qWait(20);
    // Least of all may it be taken for a rename in the local pane, whose folder has an entry of that name.
    QCOMPARE(QDir(localFolder()).entryList(QDir::Files), QStringList("new folder"));
    QCOMPARE(script().count(createCall), 0);
    QVERIFY(modals.seen().isEmpty());
}

void TestFileOperations::remoteFolder_linkGoneMeanwhile_isSafe()
{
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    script().setShortcutConnected(shortcut, false);
    trigger("actionNew_Folder"); // connects anew; what that brings clears the tree under the editor
    QTRY_COMPARE(status(), QStringLiteral("Connected."));
    QTRY_COMPARE(windows::names(remote).size(), 4);
    QVERIFY(!editorOf(remote));
    QCOMPARE(script().count(createCall), 0);
    proposeRemoteFolder();
    endEdit(remote, QStringLiteral("x"));
    QTRY_COMPARE(script().count(createCall), 1);
}

void TestFileOperations::remoteFolder_hostClosesTheWindowUnderTheBox_isSafe()
{
    openConnected();
    proposeRemoteFolder();
    script().setResult(createCall, BTSDK_ER_READ_ONLY);
    Modals modals;
    modals.handle([](QWidget *) { plugin().PerformPostDisc(); });
    QLineEdit *const editor = editorOf(remote);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!window);
}

BTFTP_TEST_MAIN(TestFileOperations)
#include "tst_file_operations.moc"
