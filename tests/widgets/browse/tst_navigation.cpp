#include "browsing.h"
#include "modals.h"
#include "skinimages.h"
#include "testmain.h"

#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>

/** How the user moves through the remote folders. */
class NavigationTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_browsing.start(); }
    void cleanup() { m_browsing.stop(); }

    void doubleClick_folders_goDownAndAreRemembered();
    void doubleClick_fileAtTheRoot_downloadsIt();
    void doubleClick_fileInAFolder_downloadsItFromThere();
    void doubleClick_dotDot_takesTheLocalPaneUp();
    void doubleClick_rowWithoutAnEntry_isIgnored();
    void doubleClick_folderOfATroublesomeName_keepsTheName_data();
    void doubleClick_folderOfATroublesomeName_keepsTheName();
    void combo_entryChosen_listsIt();
    void combo_sameEntryAgain_doesNotList();
    void combo_newPath_isAppendedWithTheFolderIcon();
    void combo_pathThatDiffersInCase_isAnotherEntry();
    void up_fromAFolder_goesToItsParent();
    void up_fromTheRoot_refreshesIt();
    void up_threeLevels_walksThemAll();
    void upButton_atTheRootAndBelow_isDisabledAndEnabled();
    void upAction_folderRefused_followsThePathOfTheBox();
    void upAction_listingWithTheFocusElsewhere_isLeftAlone();
    void home_focusOnTheRemotePane_goesToTheRoot();
    void home_alreadyAtTheRoot_doesNotRefresh();
    void home_focusOnTheLocalPane_leavesTheRemotePaneAlone();
    void homeAndUp_focusElsewhere_doNothing();
    void menuUp_focusOnTheRemoteBox_goesUp();
    void refresh_currentFolder_isListedAgain();
    void refused_folder_leavesAnEmptyTreeAndThePath();
    void refused_thenRefreshed_triesTheSamePath();
    void refused_rootAndFolderBothAsked_lastResultCounts();
    void contextMenu_overARow_offersItsActions();
    void contextMenu_overEmptySpace_disablesWhatNeedsARow();
    void contextMenu_download_actsOnTheRow();
    void contextMenu_windowClosedByTheHost_isSurvived();
    void press_withAnotherButton_opensNoMenu();
    void selection_remoteRow_enablesItsActions();
    void itemDoubleClicked_unconnectedSlot_goesHomeForALeaf();
    void currentPath_ofTheTree_isTheListedFolder();

private:
    void enter(const char *path) { QVERIFY(m_browsing.update("UpdateRmtCombox", QString::fromUtf8(path))); }
    bool enabled(const char *name) const { return m_browsing.action(name)->isEnabled(); }
    void rightPress(QTreeWidgetItem *row) { windows::click(m_browsing.tree(), row, Qt::RightButton); }

    Browsing m_browsing;
};

void NavigationTest::doubleClick_folders_goDownAndAreRemembered()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    windows::doubleClick(m_browsing.tree(), m_browsing.row("Photos"));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QCOMPARE(m_browsing.names(), QStringList({"2008", "cat.jpg"}));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /Photos", "list Photos"}));
    m_browsing.script.clearCalls();
    windows::doubleClick(m_browsing.tree(), m_browsing.row("2008"));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos/2008"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /Photos/2008", "list 2008"}));
    QCOMPARE(m_browsing.history(), QStringList({"/", "/Photos", "/Photos/2008"}));
}

void NavigationTest::doubleClick_fileAtTheRoot_downloadsIt()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    windows::doubleClick(m_browsing.tree(), m_browsing.row("hello.txt"));
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Download succeeded."));
    const Call get = m_browsing.script.last("Btsdk_FTPGetFile");
    QCOMPARE(get.text(1), QByteArray("hello.txt"));
    QCOMPARE(get.text(2), QFile::encodeName(m_browsing.local->filePath(QStringLiteral("hello.txt"))));
}

void NavigationTest::doubleClick_fileInAFolder_downloadsItFromThere()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    enter("/Docs");
    windows::doubleClick(m_browsing.tree(), m_browsing.row("a.txt"));
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Download succeeded."));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPGetFile").text(1), QByteArray("a.txt"));
    QCOMPARE(m_browsing.script.last("ComProgressDlg::ComProgressDlg").argument(0).toString(), QStringLiteral("/Docs"));
}

void NavigationTest::doubleClick_dotDot_takesTheLocalPaneUp()
{
    m_browsing.script.setListing("/", {{"..", true}});
    m_browsing.open();
    windows::activate(m_browsing.window);
    const QString before = windows::localCombo(m_browsing.window)->currentText();
    windows::doubleClick(m_browsing.tree(), m_browsing.row(".."));
    QCOMPARE(windows::localCombo(m_browsing.window)->currentText(), QFileInfo(before).path());
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
}

void NavigationTest::doubleClick_rowWithoutAnEntry_isIgnored()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    auto *const plain = new QTreeWidgetItem(QStringList("plain"));
    m_browsing.tree()->addTopLevelItem(plain);
    m_browsing.script.clearCalls();
    windows::doubleClick(m_browsing.tree(), plain);
    QVERIFY(windows::call(m_browsing.window, "itemDoubleClickedRmt", Q_ARG(QTreeWidgetItem *, nullptr), Q_ARG(int, 0)));
    QCOMPARE(m_browsing.script.order(), QStringList());
    QCOMPARE(m_browsing.history(), QStringList("/"));
}

void NavigationTest::doubleClick_folderOfATroublesomeName_keepsTheName_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("percent signs") << QByteArray("50% of a%20b");
    QTest::newRow("markup") << QByteArray("<b>&amp;<i>");
    QTest::newRow("placeholder") << QByteArray("%1 %2");
    QTest::newRow("umlauts") << QByteArray("Gr\xC3\xB6\xC3\x9F"
                                           "e");
    QTest::newRow("backslash") << QByteArray("back\\slash");
    QTest::newRow("line break") << QByteArray("two\nlines");
    QTest::newRow("leading and trailing blanks") << QByteArray("  blank  ");
    QTest::newRow("hash and question mark") << QByteArray("#1?");
}

void NavigationTest::doubleClick_folderOfATroublesomeName_keepsTheName()
{
    QFETCH(QByteArray, name);
    m_browsing.script.setListing("/", {{name, true}});
    m_browsing.script.setListing("/" + name, {{"inside"}});
    m_browsing.open();
    windows::activate(m_browsing.window);
    windows::doubleClick(m_browsing.tree(), m_browsing.tree()->topLevelItem(0));
    QCOMPARE(m_browsing.currentFolder().toUtf8(), "/" + name);
    QCOMPARE(m_browsing.script.last("Btsdk_FTPSetRmtDir").text(1), "/" + name);
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").text(1), name);
    QCOMPARE(m_browsing.names(), QStringList("inside"));
}

void NavigationTest::combo_entryChosen_listsIt()
{
    m_browsing.open();
    enter("/Photos");
    enter("/Docs");
    m_browsing.script.clearCalls();
    m_browsing.combo()->setCurrentIndex(1);
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /Photos", "list Photos"}));
    QCOMPARE(m_browsing.names(), QStringList({"2008", "cat.jpg"}));
    QVERIFY(m_browsing.upButton()->isEnabled());
    m_browsing.combo()->setCurrentIndex(0);
    QVERIFY(!m_browsing.upButton()->isEnabled());
    QCOMPARE(m_browsing.history(), QStringList({"/", "/Photos", "/Docs"}));
}

void NavigationTest::combo_sameEntryAgain_doesNotList()
{
    m_browsing.open();
    enter("/Photos");
    m_browsing.script.clearCalls();
    enter("/Photos");
    m_browsing.combo()->setCurrentIndex(1);
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
    QCOMPARE(m_browsing.history(), QStringList({"/", "/Photos"}));
}

void NavigationTest::combo_newPath_isAppendedWithTheFolderIcon()
{
    m_browsing.open();
    enter("/Photos/2008");
    enter("/Docs");
    enter("/Photos/2008");
    QCOMPARE(m_browsing.history(), QStringList({"/", "/Photos/2008", "/Docs"}));
    const QImage folder = QIcon(skinImagePath(11, 105, 0)).pixmap(16).toImage();
    for (int i = 0; i < 3; ++i)
        QCOMPARE(m_browsing.combo()->itemIcon(i).pixmap(16).toImage(), folder);
}

void NavigationTest::combo_pathThatDiffersInCase_isAnotherEntry()
{
    m_browsing.open();
    enter("/docs");
    enter("/Docs");
    QCOMPARE(m_browsing.history(), QStringList({"/", "/docs", "/Docs"}));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Docs"));
}

void NavigationTest::up_fromAFolder_goesToItsParent()
{
    m_browsing.open();
    enter("/Photos");
    m_browsing.script.clearCalls();
    m_browsing.upButton()->click();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "list /"}));
    QCOMPARE(m_browsing.history(), QStringList({"/", "/Photos"}));
}

void NavigationTest::up_fromTheRoot_refreshesIt()
{
    m_browsing.open();
    QVERIFY(m_browsing.call("cdUpRmt"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "list /"}));
    QCOMPARE(m_browsing.history(), QStringList("/"));
}

void NavigationTest::up_threeLevels_walksThemAll()
{
    m_browsing.script.setListing("/a/b/c", {});
    m_browsing.script.setListing("/a/b", {{"c", true}});
    m_browsing.script.setListing("/a", {{"b", true}});
    m_browsing.open();
    enter("/a/b/c");
    m_browsing.script.clearCalls();
    for (int i = 0; i < 3; ++i)
        QVERIFY(m_browsing.call("cdUpRmt"));
    QCOMPARE(m_browsing.remoteCalls(),
             QStringList({"dir /", "dir /a/b", "list b", "dir /", "dir /a", "list a", "dir /", "list /"}));
    QCOMPARE(m_browsing.history(), QStringList({"/", "/a/b/c", "/a/b", "/a"}));
}

void NavigationTest::upButton_atTheRootAndBelow_isDisabledAndEnabled()
{
    m_browsing.open();
    QVERIFY(!m_browsing.upButton()->isEnabled());
    enter("/Photos");
    QVERIFY(m_browsing.upButton()->isEnabled());
    QVERIFY(enabled("action_Up"));
    enter("/");
    QVERIFY(!m_browsing.upButton()->isEnabled());
    QVERIFY(!enabled("action_Up"));
}

void NavigationTest::upAction_folderRefused_followsThePathOfTheBox()
{
    m_browsing.open();
    enter("/nowhere");
    QVERIFY(m_browsing.upButton()->isEnabled());
    QVERIFY(enabled("action_Up"));
    m_browsing.upButton()->click();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/"));
    QCOMPARE(m_browsing.names().size(), 4);
}

void NavigationTest::upAction_listingWithTheFocusElsewhere_isLeftAlone()
{
    m_browsing.open();
    enter("/Photos");
    QVERIFY(windows::giveFocus(windows::localTree(m_browsing.window)));
    m_browsing.action("action_Up")->setEnabled(false);
    QVERIFY(m_browsing.call("refreshRemote"));
    QVERIFY(!enabled("action_Up"));
    QVERIFY(m_browsing.upButton()->isEnabled());
    QVERIFY(windows::giveFocus(m_browsing.combo()));
    m_browsing.action("action_Up")->setEnabled(false);
    QVERIFY(m_browsing.call("refreshRemote"));
    QVERIFY(enabled("action_Up"));
    QVERIFY(m_browsing.update("UpdateRmtTree", QStringLiteral("/")));
    QVERIFY(!enabled("action_Up"));
    QVERIFY(!m_browsing.upButton()->isEnabled());
}

void NavigationTest::home_focusOnTheRemotePane_goesToTheRoot()
{
    m_browsing.open();
    enter("/Photos/2008");
    QVERIFY(windows::giveFocus(m_browsing.tree()));
    m_browsing.script.clearCalls();
    m_browsing.action("action_Home")->trigger();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "list /"}));
}

void NavigationTest::home_alreadyAtTheRoot_doesNotRefresh()
{
    m_browsing.open();
    QVERIFY(windows::giveFocus(m_browsing.tree()));
    const QStringList before = m_browsing.names();
    m_browsing.script.clearCalls();
    m_browsing.action("action_Home")->trigger();
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
    QCOMPARE(m_browsing.names(), before);
}

void NavigationTest::home_focusOnTheLocalPane_leavesTheRemotePaneAlone()
{
    m_browsing.open();
    enter("/Photos");
    QVERIFY(windows::giveFocus(windows::localTree(m_browsing.window)));
    QVERIFY(windows::call(m_browsing.window, "UpdateLocCombox", Q_ARG(QString, QStringLiteral("/"))));
    m_browsing.script.clearCalls();
    m_browsing.action("action_Home")->trigger();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QCOMPARE(windows::localCombo(m_browsing.window)->currentText(), m_browsing.local->path());
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
}

void NavigationTest::homeAndUp_focusElsewhere_doNothing()
{
    m_browsing.open();
    enter("/Photos");
    m_browsing.upButton()->setFocusPolicy(Qt::StrongFocus);
    QVERIFY(windows::giveFocus(m_browsing.upButton()));
    const QString local = windows::localCombo(m_browsing.window)->currentText();
    m_browsing.script.clearCalls();
    QVERIFY(m_browsing.call("action_Home"));
    QVERIFY(m_browsing.call("action_Up"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QCOMPARE(windows::localCombo(m_browsing.window)->currentText(), local);
}

void NavigationTest::menuUp_focusOnTheRemoteBox_goesUp()
{
    m_browsing.open();
    enter("/Photos/2008");
    QVERIFY(windows::giveFocus(m_browsing.combo()));
    m_browsing.action("action_Up")->trigger();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QVERIFY(windows::giveFocus(windows::localTree(m_browsing.window)));
    const QString local = windows::localCombo(m_browsing.window)->currentText();
    m_browsing.action("action_Up")->trigger();
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QCOMPARE(windows::localCombo(m_browsing.window)->currentText(), QFileInfo(local).path());
}

void NavigationTest::refresh_currentFolder_isListedAgain()
{
    m_browsing.open();
    enter("/Photos");
    m_browsing.script.setListing("/Photos", {{"new.jpg"}});
    m_browsing.script.clearCalls();
    m_browsing.action("action_Refresh")->trigger();
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /Photos", "list Photos"}));
    QCOMPARE(m_browsing.names(), QStringList("new.jpg"));
}

void NavigationTest::refused_folder_leavesAnEmptyTreeAndThePath()
{
    m_browsing.open();
    Modals modals;
    enter("/nowhere");
    QCOMPARE(m_browsing.names(), QStringList());
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/nowhere"));
    QCOMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /nowhere"}));
    QVERIFY(modals.seen().isEmpty());
}

void NavigationTest::refused_thenRefreshed_triesTheSamePath()
{
    m_browsing.open();
    enter("/later");
    m_browsing.script.setListing("/later", {{"here"}});
    m_browsing.action("action_Refresh")->trigger();
    QCOMPARE(m_browsing.names(), QStringList("here"));
}

void NavigationTest::refused_rootAndFolderBothAsked_lastResultCounts()
{
    m_browsing.open();
    // The root is refused, the folder is not: what counts is the folder.
    m_browsing.script.queueResult("Btsdk_FTPSetRmtDir", BTSDK_ER_TIMED_OUT);
    enter("/Photos");
    QCOMPARE(m_browsing.names(), QStringList({"2008", "cat.jpg"}));
    m_browsing.script.queueResult("Btsdk_FTPSetRmtDir", BTSDK_ER_TIMED_OUT);
    enter("/");
    QCOMPARE(m_browsing.names(), QStringList());
}

void NavigationTest::contextMenu_overARow_offersItsActions()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        m_browsing.action(name)->setEnabled(false);
    Modals modals;
    modals.escape();
    rightPress(m_browsing.row("hello.txt"));
    const ModalSeen menu = modals.last();
    QCOMPARE(menu.className, QStringLiteral("QMenu"));
    QCOMPARE(menu.entries, QStringList({"Download", "New Folder", "Delete", "-", "Refresh", "-", "List", "Details"}));
    QCOMPARE(menu.enabledEntries, QStringList({"Download", "New Folder", "Delete", "Refresh", "List", "Details"}));
    QVERIFY(enabled("Rename"));
    QVERIFY(m_browsing.window->findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly).isEmpty());
}

void NavigationTest::contextMenu_overEmptySpace_disablesWhatNeedsARow()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        m_browsing.action(name)->setEnabled(true);
    Modals modals;
    modals.escape();
    rightPress(nullptr);
    QCOMPARE(modals.last().enabledEntries, QStringList({"New Folder", "Refresh", "List", "Details"}));
    QVERIFY(!enabled("Rename"));
}

void NavigationTest::contextMenu_download_actsOnTheRow()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    Modals modals;
    modals.choose(QStringLiteral("Download"));
    rightPress(m_browsing.row("hello.txt"));
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Download succeeded."));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPGetFile").text(1), QByteArray("hello.txt"));
}

void NavigationTest::contextMenu_windowClosedByTheHost_isSurvived()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    Modals modals;
    modals.handle([&](QWidget *) { m_browsing.window->close(); });
    QTreeWidget *const tree = m_browsing.tree();
    const QRect area = tree->visualItemRect(m_browsing.row("hello.txt"));
    auto *const press =
        new QMouseEvent(QEvent::MouseButtonPress, area.center(), tree->viewport()->mapToGlobal(area.center()),
                        Qt::RightButton, Qt::RightButton, Qt::NoModifier);
    QCoreApplication::postEvent(tree->viewport(), press);
    QTRY_VERIFY(windows::all("BtFtpClient").isEmpty());
    QCOMPARE(modals.seen().size(), 1);
}

void NavigationTest::press_withAnotherButton_opensNoMenu()
{
    m_browsing.open();
    windows::activate(m_browsing.window);
    Modals modals;
    windows::click(m_browsing.tree(), m_browsing.row("hello.txt"));
    windows::click(m_browsing.tree(), m_browsing.row("hello.txt"), Qt::MiddleButton);
    QVERIFY(modals.seen().isEmpty());
    // F2 and Delete act on the row that the press took.
    QVERIFY(windows::call(m_browsing.window, "actionRename", Q_ARG(bool, true)));
    QVERIFY(m_browsing.row("hello.txt")->flags() & Qt::ItemIsEditable);
    QVERIFY(!(m_browsing.row("archive.tar.gz")->flags() & Qt::ItemIsEditable));
}

void NavigationTest::selection_remoteRow_enablesItsActions()
{
    m_browsing.open();
    QVERIFY(windows::giveFocus(windows::localTree(m_browsing.window)));
    QVERIFY(windows::giveFocus(m_browsing.tree()));
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY(!enabled(name));
    windows::click(m_browsing.tree(), m_browsing.row("hello.txt"));
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY(enabled(name));
    m_browsing.tree()->clearSelection();
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY(!enabled(name));
}

void NavigationTest::itemDoubleClicked_unconnectedSlot_goesHomeForALeaf()
{
    m_browsing.open();
    enter("/Photos");
    QVERIFY(windows::giveFocus(m_browsing.tree()));
    const auto invoke = [&](QTreeWidgetItem *item) {
        return windows::call(m_browsing.window, "itemDoubleClicked", Q_ARG(QTreeWidgetItem *, item), Q_ARG(int, 0));
    };
    auto *const parent = new QTreeWidgetItem(m_browsing.tree(), QStringList("parent"));
    new QTreeWidgetItem(parent, QStringList("child"));
    QVERIFY(invoke(parent));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    auto *const indicated = new QTreeWidgetItem(m_browsing.tree(), QStringList("indicated"));
    indicated->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    QVERIFY(invoke(indicated));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
    QVERIFY(invoke(m_browsing.row("cat.jpg")));
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/"));
}

void NavigationTest::currentPath_ofTheTree_isTheListedFolder()
{
    m_browsing.open();
    enter("/Photos");
    // What a drag takes along tells it.
    const auto dragged = [&] {
        const QAbstractItemModel *const model = m_browsing.tree()->model();
        return std::unique_ptr<QMimeData>(model->mimeData({model->index(0, 0)}))->urls();
    };
    QCOMPARE(dragged().value(0).path(), QStringLiteral("/Photos/2008"));
    enter("/nowhere");
    m_browsing.tree()->addTopLevelItem(new QTreeWidgetItem(QStringList("x")));
    QCOMPARE(dragged().value(0).path(), QStringLiteral("/Photos/x"));
}

BTFTP_TEST_MAIN(NavigationTest)
#include "tst_navigation.moc"
