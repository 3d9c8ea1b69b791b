#include "testmain.h"
#include "transfertest.h"

namespace {

const char *const createCall = "Btsdk_FTPCreateDir";

} // namespace

/** New folders on the device: a row that becomes one when its name is given. */
class TestRemoteFolder : public TransferTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void proposal_isAPlaceholderInPlace();
    void names_areTakenWithoutRegardToCase();
    void allFiftyNamesTaken_doesNothing();
    void committed_isCreatedAndListed_data();
    void committed_isCreatedAndListed();
    void refused_saysWhyAndTakesThePlaceholderOut_data();
    void refused_saysWhyAndTakesThePlaceholderOut();
    void longestName_goesWhole();
    void endedByAClickInTheOtherPane_createsNothing();
    void linkGoneMeanwhile_isSafe();
    void hostClosesTheWindowUnderTheBox_isSafe();

private:
    void proposeRemoteFolder()
    {
        QVERIFY(windows::giveFocus(remote));
        script().clearCalls();
        trigger("actionNew_Folder");
        QVERIFY(editorOf(remote));
    }
};

void TestRemoteFolder::proposal_isAPlaceholderInPlace()
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

void TestRemoteFolder::names_areTakenWithoutRegardToCase()
{
    script().setListing("/", {{"NEW folder", true}, {"new folder1"}});
    openConnected();
    proposeRemoteFolder();
    QCOMPARE(editorOf(remote)->text(), QStringLiteral("new folder2"));
    endEdit(remote, QStringLiteral("x"));
    QTRY_COMPARE(script().count(createCall), 1);
}

void TestRemoteFolder::allFiftyNamesTaken_doesNothing()
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

void TestRemoteFolder::committed_isCreatedAndListed_data()
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

void TestRemoteFolder::committed_isCreatedAndListed()
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

void TestRemoteFolder::refused_saysWhyAndTakesThePlaceholderOut_data()
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

void TestRemoteFolder::refused_saysWhyAndTakesThePlaceholderOut()
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

void TestRemoteFolder::longestName_goesWhole()
{
    openConnected();
    proposeRemoteFolder();
    const QString name = QStringLiteral("\u00e4").repeated(127) + QLatin1Char('x');
    endEdit(remote, name);
    QTRY_COMPARE(script().count(createCall), 1);
    QCOMPARE(script().last(createCall).text(1), name.toUtf8());
    QCOMPARE(name.toUtf8().size(), 255);
}

void TestRemoteFolder::endedByAClickInTheOtherPane_createsNothing()
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

void TestRemoteFolder::linkGoneMeanwhile_isSafe()
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

void TestRemoteFolder::hostClosesTheWindowUnderTheBox_isSafe()
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

BTFTP_TEST_MAIN(TestRemoteFolder)
#include "tst_remote_folder.moc"
