#include "testmain.h"
#include "transfertest.h"

#include <QDateTime>
#include <QTextDocument>

/** The local pane: listings, the history in its box, moving about, the two devices. */
class TestLocalPane : public TransferTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void listing_fileAndFolder_fillTheirColumns();
    void listing_folderOfDotsAlone_isEmpty();
    void listing_foldersFirst_eachGroupSortedCaseSensitively();
    void listing_unreadableOrMissingFolder_isEmptyWithoutAWord_data();
    void listing_unreadableOrMissingFolder_isEmptyWithoutAWord();
    void listing_links_areWhatTheyPointAtAndDanglingOnesAreLeftOut();
    void listing_hugeFile_showsItsSizeModulo32Bits();
    void listing_hostileNames_areShownLiterally_data();
    void listing_hostileNames_areShownLiterally();
    void listing_anew_disablesUploadAndDeleteAndForgetsTheCurrentRow();
    void listing_dotFiles_areShownOnTheHardDiskAndHiddenOnTheUsbDevice();
    void listing_dotFilesBelowTheUsbDevice_areHiddenInEveryFolder();

    void history_startsWithRootHomeAndDefault_andListsEach();
    void history_rootChosenTwice_listsTwiceAndStaysLast();
    void history_rootWhileAnotherIsCurrent_movesToTheEnd();
    void history_currentEntryChosenAgain_doesNotList();
    void history_knownFolder_isSelectedNotAdded();
    void history_comparesCaseSensitively();
    void history_entryPickedFromTheBox_isListed();
    void history_entries_haveTheFolderIconAndNoData();

    void up_atTheRoot_doesNothing();
    void up_oneLevelBelowTheRoot_leadsToTheRoot();
    void up_fromAVanishedFolder_followsItsParent();
    void upControls_followTheFolder();
    void upAction_withTheFocusElsewhere_isLeftAlone();
    void doubleClick_folder_isEntered();
    void doubleClick_folderInTheRoot_givesASingleSlash();
    void doubleClick_file_uploadsExactlyThatOne();
    void home_localFocus_leadsToTheDevicesHome();

    void devices_start_onTheHardDisk();
    void devices_chosen_areExclusiveAndLeadHome();
    void contextMenu_local_upload_startsAPut();
    void contextMenu_hostClosesTheWindowMeanwhile_isSafe();
    void mousePress_anyButton_remembersTheRow();

private:
    QTreeWidgetItem *row(const QString &name) const { return windows::item(local, name); }
    void go(const QString &folder) { QVERIFY(windows::call(window, "UpdateLocCombox", Q_ARG(QString, folder))); }
    QStringList history() const
    {
        QStringList texts;
        for (int i = 0; i < localBox->count(); ++i)
            texts.append(localBox->itemText(i));
        return texts;
    }
    /** Puts a row in whose going tells of a new listing. */
    void mark() { addRow(local, QStringLiteral("mark")); }
    bool isMarked() const { return row(QStringLiteral("mark")) != nullptr; }
    QToolButton *upButton() const { return window->findChild<QToolButton *>(QStringLiteral("m_pLocalUpButton")); }
};

void TestLocalPane::listing_fileAndFolder_fillTheirColumns()
{
    makeFile(QStringLiteral("report.tar.gz"), QByteArray(1536, 'x'));
    makeFile(QStringLiteral("README"), QByteArray());
    QVERIFY(QDir(localFolder()).mkdir(QStringLiteral("folder.d")));
    QFile file(path(QStringLiteral("report.tar.gz")));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime(QDate(2008, 3, 14), QTime(9, 5, 59)), QFileDevice::FileModificationTime));
    file.close();
    openIdle();
    QCOMPARE(windows::names(local), (QStringList{"folder.d", "README", "report.tar.gz"}));

    const QTreeWidgetItem *shown = row(QStringLiteral("report.tar.gz"));
    QCOMPARE(shown->text(1), QStringLiteral("1.5 KB"));
    QCOMPARE(shown->text(2), QStringLiteral("gz"));
    QCOMPARE(shown->text(3), QStringLiteral("2008-03-14 09:05"));
    QCOMPARE(shown->toolTip(0),
             QStringLiteral("Name:\treport.tar.gz\nSize:\t1.5 KB\nType:\tgz\nModified:\t2008-03-14 09:05"));
    QVERIFY(!shown->data(0, Qt::UserRole).isValid());
    QVERIFY(!shown->icon(0).isNull());
    QCOMPARE(row(QStringLiteral("README"))->text(1), QStringLiteral("0 B"));
    QCOMPARE(row(QStringLiteral("README"))->text(2), QString());

    const QTreeWidgetItem *folder = row(QStringLiteral("folder.d"));
    QCOMPARE(folder->text(1), QString());
    QCOMPARE(folder->text(2), QStringLiteral("Folder"));
    QCOMPARE(folder->data(0, Qt::UserRole).toInt(), 1);
    QVERIFY(folder->toolTip(0).startsWith(QLatin1String("Name:\tfolder.d\nSize:\t\nType:\tFolder\nModified:\t")));
    QVERIFY(!folder->icon(0).isNull());
    QVERIFY(folder->icon(0).cacheKey() != shown->icon(0).cacheKey());
    for (const QTreeWidgetItem *item : {folder, shown})
        QCOMPARE(item->textAlignment(1), int(Qt::AlignRight));
    QCOMPARE(folder->childCount(), 0);
}

void TestLocalPane::listing_folderOfDotsAlone_isEmpty()
{
    openIdle();
    QCOMPARE(windows::names(local), QStringList());
}

void TestLocalPane::listing_foldersFirst_eachGroupSortedCaseSensitively()
{
    for (const char *name : {"b.txt", "C.txt", "a.txt", "10", "9"})
        makeFile(QLatin1String(name));
    for (const char *name : {"zoo", "Attic", "bath"})
        QVERIFY(QDir(localFolder()).mkdir(QLatin1String(name)));
    openIdle();
    QCOMPARE(windows::names(local), (QStringList{"Attic", "bath", "zoo", "10", "9", "C.txt", "a.txt", "b.txt"}));
}

void TestLocalPane::listing_unreadableOrMissingFolder_isEmptyWithoutAWord_data()
{
    QTest::addColumn<bool>("missing");
    QTest::newRow("a folder without the right to read it") << false;
    QTest::newRow("a folder that is gone") << true;
}

void TestLocalPane::listing_unreadableOrMissingFolder_isEmptyWithoutAWord()
{
    QFETCH(bool, missing);
    makeFile(QStringLiteral("closed/file.txt"));
    const QString folder = path(missing ? QStringLiteral("gone") : QStringLiteral("closed"));
    openIdle();
    QVERIFY(QFile::setPermissions(path(QStringLiteral("closed")), QFileDevice::Permissions()));
    const OrdinaryUser user(localFolder());
    const Modals modals;
    mark();
    go(folder);
    QCOMPARE(windows::names(local), QStringList());
    QCOMPARE(localBox->currentText(), folder);
    QVERIFY(modals.seen().isEmpty());
}

void TestLocalPane::listing_links_areWhatTheyPointAtAndDanglingOnesAreLeftOut()
{
    QVERIFY(QDir(localFolder()).mkdir(QStringLiteral("folder")));
    makeFile(QStringLiteral("file.txt"), "12345");
    QVERIFY(QFile::link(path(QStringLiteral("folder")), path(QStringLiteral("to a folder"))));
    QVERIFY(QFile::link(path(QStringLiteral("file.txt")), path(QStringLiteral("to a file.lnk"))));
    QVERIFY(QFile::link(path(QStringLiteral("nothing")), path(QStringLiteral("to nothing"))));
    openIdle();
    QCOMPARE(windows::names(local), (QStringList{"folder", "to a folder", "file.txt", "to a file.lnk"}));
    QCOMPARE(row(QStringLiteral("to a folder"))->data(0, Qt::UserRole).toInt(), 1);
    QCOMPARE(row(QStringLiteral("to a folder"))->text(2), QStringLiteral("Folder"));
    QCOMPARE(row(QStringLiteral("to a file.lnk"))->text(1), QStringLiteral("5 B"));
    QCOMPARE(row(QStringLiteral("to a file.lnk"))->text(2), QStringLiteral("lnk"));
}

void TestLocalPane::listing_hugeFile_showsItsSizeModulo32Bits()
{
    makeFile(QStringLiteral("huge.img"));
    QVERIFY(QFile::resize(path(QStringLiteral("huge.img")), 5000000000LL));
    makeFile(QStringLiteral("small.img"));
    QVERIFY(QFile::resize(path(QStringLiteral("small.img")), 705032704));
    openIdle();
    QCOMPARE(row(QStringLiteral("huge.img"))->text(1), row(QStringLiteral("small.img"))->text(1));
    QCOMPARE(row(QStringLiteral("huge.img"))->text(1), QStringLiteral("672.4 MB"));
}

void TestLocalPane::listing_hostileNames_areShownLiterally_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"<b>bold<b>", "50%", "%1 %2", "a%20b", " both ends ", "line\nbreak", "&amp; & co", "#1"})
        QTest::newRow(name) << QString::fromUtf8(name);
}

void TestLocalPane::listing_hostileNames_areShownLiterally()
{
    QFETCH(QString, name);
    makeFile(name);
    openIdle();
    QCOMPARE(windows::names(local), QStringList(name));
    const QString tip = local->topLevelItem(0)->toolTip(0);
    if (Qt::mightBeRichText(tip))
        QVERIFY(tip.contains(name.toHtmlEscaped()));
    else
        QVERIFY(tip.startsWith(QLatin1String("Name:\t") + name + QLatin1String("\nSize:\t1 B\n")));
}

void TestLocalPane::listing_anew_disablesUploadAndDeleteAndForgetsTheCurrentRow()
{
    makeFile(QStringLiteral("file.txt"));
    openIdle();
    QVERIFY(windows::giveFocus(local));
    windows::click(local, row(QStringLiteral("file.txt")));
    QVERIFY(isEnabled("actionUpload") && isEnabled("action_Delete") && isEnabled("Rename"));
    listLocal();
    QVERIFY(!isEnabled("actionUpload"));
    QVERIFY(!isEnabled("action_Delete"));
    QVERIFY(windows::call(window, "actionRename", Q_ARG(bool, false)));
    QVERIFY2(!editorOf(local), "no row is current any more");
}

void TestLocalPane::listing_dotFiles_areShownOnTheHardDiskAndHiddenOnTheUsbDevice()
{
    makeFile(QStringLiteral(".hidden"));
    makeFile(QStringLiteral(".folder/inner"));
    makeFile(QStringLiteral("seen"));
    openIdle();
    QCOMPARE(windows::names(local), (QStringList{".folder", ".hidden", "seen"}));
    action("actionUsb")->trigger();
    listLocal();
    QCOMPARE(windows::names(local), QStringList("seen"));
    action("actionHdd")->trigger();
    QCOMPARE(windows::names(local), (QStringList{".folder", ".hidden", "seen"}));
}

void TestLocalPane::listing_dotFilesBelowTheUsbDevice_areHiddenInEveryFolder()
{
    makeFile(QStringLiteral("sub/deeper/.hidden"));
    makeFile(QStringLiteral("sub/deeper/..odd"));
    makeFile(QStringLiteral("sub/deeper/seen"));
    openIdle();
    action("actionUsb")->trigger();
    go(path(QStringLiteral("sub")));
    go(path(QStringLiteral("sub/deeper")));
    QCOMPARE(windows::names(local), QStringList("seen"));
    action("actionHdd")->trigger();
    go(path(QStringLiteral("sub/deeper")));
    QCOMPARE(windows::names(local), (QStringList{"..odd", ".hidden", "seen"}));
}

void TestLocalPane::history_startsWithRootHomeAndDefault_andListsEach()
{
    makeFile(QStringLiteral("mine"));
    openIdle();
    QCOMPARE(history(), (QStringList{QStringLiteral("/"), QDir::homePath(), localFolder()}));
    QCOMPARE(windows::names(local), QStringList("mine")); // the last listing is the one that stays
    QVERIFY(isChecked("actionHdd"));
    QVERIFY(!isChecked("actionUsb"));
}

void TestLocalPane::history_rootChosenTwice_listsTwiceAndStaysLast()
{
    openIdle();
    go(QStringLiteral("/"));
    QCOMPARE(history(), (QStringList{QDir::homePath(), localFolder(), QStringLiteral("/")}));
    QVERIFY(row(QStringLiteral("usr")));
    mark();
    go(QStringLiteral("/"));
    QVERIFY2(!isMarked(), "the root is listed again");
    QCOMPARE(history(), (QStringList{QDir::homePath(), localFolder(), QStringLiteral("/")}));
    QCOMPARE(localBox->currentText(), QStringLiteral("/"));
}

void TestLocalPane::history_rootWhileAnotherIsCurrent_movesToTheEnd()
{
    openIdle();
    QCOMPARE(localBox->itemText(0), QStringLiteral("/"));
    go(QStringLiteral("/"));
    QCOMPARE(localBox->currentIndex(), 2);
    QCOMPARE(localBox->count(), 3);
    go(QStringLiteral("/usr"));
    QCOMPARE(history().last(), QStringLiteral("/usr"));
    go(QStringLiteral("/"));
    QCOMPARE(history().mid(2), (QStringList{QStringLiteral("/usr"), QStringLiteral("/")}));
}

void TestLocalPane::history_currentEntryChosenAgain_doesNotList()
{
    openIdle();
    mark();
    go(localFolder());
    QVERIFY(isMarked());
    QCOMPARE(localBox->count(), 3);
}

void TestLocalPane::history_knownFolder_isSelectedNotAdded()
{
    makeFile(QStringLiteral("sub/inner"));
    openIdle();
    go(path(QStringLiteral("sub")));
    QCOMPARE(windows::names(local), QStringList("inner"));
    go(localFolder());
    QCOMPARE(windows::names(local), QStringList("sub"));
    go(path(QStringLiteral("sub")));
    QCOMPARE(localBox->count(), 4);
}

void TestLocalPane::history_comparesCaseSensitively()
{
    openIdle();
    go(path(QStringLiteral("Sub")));
    go(path(QStringLiteral("sub")));
    QCOMPARE(localBox->count(), 5);
    QCOMPARE(localBox->currentText(), path(QStringLiteral("sub")));
}

void TestLocalPane::history_entryPickedFromTheBox_isListed()
{
    makeFile(QStringLiteral("mine"));
    openIdle();
    localBox->setCurrentIndex(0);
    QVERIFY(row(QStringLiteral("usr")));
    QVERIFY(!upButton()->isEnabled());
    localBox->setCurrentIndex(2);
    QCOMPARE(windows::names(local), QStringList("mine"));
    QVERIFY(upButton()->isEnabled());
    QCOMPARE(history().first(), QStringLiteral("/")); // picked by hand the root stays where it is
}

void TestLocalPane::history_entries_haveTheFolderIconAndNoData()
{
    QVERIFY(QDir(localFolder()).mkdir(QStringLiteral("sub")));
    openIdle();
    for (int i = 0; i < localBox->count(); ++i) {
        QVERIFY(!localBox->itemData(i).isValid());
        QCOMPARE(localBox->itemIcon(i).pixmap(16).toImage(), row(QStringLiteral("sub"))->icon(0).pixmap(16).toImage());
    }
}

void TestLocalPane::up_atTheRoot_doesNothing()
{
    openIdle();
    go(QStringLiteral("/"));
    mark();
    QVERIFY(windows::call(window, "cdUpLocal"));
    QVERIFY(isMarked());
    QCOMPARE(localBox->currentText(), QStringLiteral("/"));
}

void TestLocalPane::up_oneLevelBelowTheRoot_leadsToTheRoot()
{
    openIdle();
    go(QStringLiteral("/usr"));
    QVERIFY(windows::call(window, "cdUpLocal"));
    QCOMPARE(localBox->currentText(), QStringLiteral("/"));
    QVERIFY(row(QStringLiteral("usr")));
}

void TestLocalPane::up_fromAVanishedFolder_followsItsParent()
{
    makeFile(QStringLiteral("a/b/file"));
    openIdle();
    go(path(QStringLiteral("a/b")));
    QVERIFY(QDir(path(QStringLiteral("a/b"))).removeRecursively());
    QVERIFY(windows::call(window, "cdUpLocal"));
    QCOMPARE(localBox->currentText(), path(QStringLiteral("a")));
    go(path(QStringLiteral("a/b")));
    QVERIFY(QDir(path(QStringLiteral("a"))).removeRecursively());
    QVERIFY(windows::call(window, "cdUpLocal"));
    QCOMPARE(localBox->currentText(), path(QStringLiteral("a/b"))); // its parent cannot be entered
}

void TestLocalPane::upControls_followTheFolder()
{
    openIdle();
    QVERIFY(windows::giveFocus(local));
    go(QStringLiteral("/"));
    QVERIFY(!upButton()->isEnabled());
    QVERIFY(!isEnabled("action_Up"));
    go(QStringLiteral("/usr"));
    QVERIFY(upButton()->isEnabled());
    QVERIFY(isEnabled("action_Up"));
}

void TestLocalPane::upAction_withTheFocusElsewhere_isLeftAlone()
{
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(!isEnabled("action_Up")); // the remote root
    QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, QStringLiteral("/usr"))));
    QVERIFY(!isEnabled("action_Up"));
    QVERIFY(upButton()->isEnabled());
    QVERIFY(windows::giveFocus(localBox));
    QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, QStringLiteral("/"))));
    QVERIFY(!isEnabled("action_Up"));
    QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, QStringLiteral("/usr"))));
    QVERIFY(isEnabled("action_Up"));
}

void TestLocalPane::doubleClick_folder_isEntered()
{
    makeFile(QStringLiteral("a folder/inner.txt"));
    openIdle();
    QVERIFY(windows::giveFocus(local));
    windows::doubleClick(local, row(QStringLiteral("a folder")));
    QCOMPARE(localBox->currentText(), path(QStringLiteral("a folder")));
    QCOMPARE(windows::names(local), QStringList("inner.txt"));
}

void TestLocalPane::doubleClick_folderInTheRoot_givesASingleSlash()
{
    openIdle();
    go(QStringLiteral("/"));
    windows::doubleClick(local, row(QStringLiteral("usr")));
    QCOMPARE(localBox->currentText(), QStringLiteral("/usr"));
}

void TestLocalPane::doubleClick_file_uploadsExactlyThatOne()
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        makeFile(QLatin1String(name));
    openConnected();
    QVERIFY(windows::giveFocus(local));
    windows::doubleClick(local, row(QStringLiteral("b.txt")));
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
    QCOMPARE(script().count("Btsdk_FTPPutFile"), 1);
    QCOMPARE(script().last("Btsdk_FTPPutFile").text(1), path(QStringLiteral("b.txt")).toUtf8());
    QCOMPARE(script().last("Btsdk_FTPPutFile").text(2), QByteArray("b.txt"));
}

void TestLocalPane::home_localFocus_leadsToTheDevicesHome()
{
    openIdle();
    QVERIFY(windows::giveFocus(local));
    go(QStringLiteral("/usr"));
    action("action_Home")->trigger();
    QCOMPARE(localBox->currentText(), localFolder());
    action("actionUsb")->trigger();
    go(QStringLiteral("/usr"));
    QVERIFY(windows::giveFocus(localBox));
    action("action_Home")->trigger();
    QCOMPARE(localBox->currentText(), QStringLiteral("/media"));
}

void TestLocalPane::devices_start_onTheHardDisk()
{
    openIdle();
    QVERIFY(isChecked("actionHdd"));
    QVERIFY(!isChecked("actionUsb"));
}

void TestLocalPane::devices_chosen_areExclusiveAndLeadHome()
{
    openIdle();
    action("actionUsb")->trigger();
    QCOMPARE(localBox->currentText(), QStringLiteral("/media"));
    QVERIFY(isChecked("actionUsb"));
    QVERIFY(!isChecked("actionHdd"));
    action("actionUsb")->trigger(); // again: it stays checked
    QVERIFY(isChecked("actionUsb"));
    action("actionHdd")->trigger();
    QCOMPARE(localBox->currentText(), localFolder());
    QVERIFY(isChecked("actionHdd"));
    QVERIFY(!isChecked("actionUsb"));
    QCOMPARE(history(), (QStringList{QStringLiteral("/"), QDir::homePath(), localFolder(), QStringLiteral("/media")}));
}

void TestLocalPane::contextMenu_local_upload_startsAPut()
{
    makeFile(QStringLiteral("a.txt"));
    openConnected();
    QVERIFY(windows::giveFocus(local));
    Modals modals;
    modals.choose(QStringLiteral("Upload"));
    windows::click(local, row(QStringLiteral("a.txt")), Qt::RightButton);
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
    QCOMPARE(modals.last().entries.size(), 11);
}

void TestLocalPane::contextMenu_hostClosesTheWindowMeanwhile_isSafe()
{
    makeFile(QStringLiteral("a.txt"));
    openConnected();
    QVERIFY(windows::giveFocus(local));
    Modals modals;
    modals.handle([](QWidget *menu) {
        plugin().PerformPostDisc();
        QTest::qWait(50); // in the menu's own loop
        if (QApplication::activePopupWidget() == menu)
            menu->close();
    });
    // A press alone: its release would go to a window that is no more.
    QTest::mousePress(local->viewport(), Qt::RightButton, Qt::NoModifier,
                      local->visualItemRect(row(QStringLiteral("a.txt"))).center());
    QTRY_VERIFY(!window);
}

void TestLocalPane::mousePress_anyButton_remembersTheRow()
{
    makeFile(QStringLiteral("a.txt"));
    openIdle();
    QVERIFY(windows::giveFocus(local));
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::MiddleButton}) {
        windows::click(local, nullptr);
        QTest::keyClick(local, Qt::Key_F2);
        QVERIFY2(!editorOf(local), "empty space");
        windows::click(local, row(QStringLiteral("a.txt")), button);
        QTest::keyClick(local, Qt::Key_F2);
        QVERIFY(editorOf(local));
        endEdit(local, QStringLiteral("ignored"), Qt::Key_Escape);
    }
}

BTFTP_TEST_MAIN(TestLocalPane)
#include "tst_local_pane.moc"
