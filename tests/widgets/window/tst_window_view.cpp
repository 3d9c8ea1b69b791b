#include "modals.h"
#include "testmain.h"
#include "windowtest.h"

#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>

namespace {

/** What a menu's entries are called, "-" for a separator, and which of them can be chosen. */
struct MenuSeen
{
    QStringList entries;
    QStringList enabled;
};

} // namespace

/** How the window follows focus, selection, keys and drags. */
class TestWindowView : public WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { plugin().stop(); }

    void focus_onLocalTree_offersNewFileAndNothingThatNeedsARow();
    void focus_onRemoteTree_disablesNewFileUntilItReturns();
    void focus_onATree_clearsTheOthersSelection_data();
    void focus_onATree_clearsTheOthersSelection();
    void focus_onATree_checksItsViewMode_data();
    void focus_onATree_checksItsViewMode();
    void focus_onAPane_enablesUpByItsFolder_data();
    void focus_onAPane_enablesUpByItsFolder();
    void focus_onABox_changesUpAlone();

    void selection_inLocalTree_enablesItsActions();
    void selection_inRemoteTree_enablesItsActions();
    void selection_withShiftAndCtrl_isExtended();

    void viewMode_chosen_changesTheFocusedTreeAlone_data();
    void viewMode_chosen_changesTheFocusedTreeAlone();
    void viewMode_chosenWithFocusOnNeitherTree_changesTheChecksAlone();
    void viewMode_trigger_runsItsSlotTwice_data();
    void viewMode_trigger_runsItsSlotTwice();
    void viewMode_details_showsReadableColumns();

    void key_delete_asksForTheSelection();
    void key_deleteWithNothingSelected_asksNothing();
    void key_f2_editsTheRowUnderTheLastPress();
    void key_any_goesOnToTheBase();
    void key_deleteAndTheHostClosesTheWindowUnderTheQuestion_isSafe();
    void menu_deleteAndTheHostClosesTheWindowUnderTheQuestion_outlivesIt_data();
    void menu_deleteAndTheHostClosesTheWindowUnderTheQuestion_outlivesIt();

    void contextMenu_local_holdsItsEntries_data();
    void contextMenu_local_holdsItsEntries();
    void contextMenu_remote_holdsItsEntries_data();
    void contextMenu_remote_holdsItsEntries();

    void currentItem_whoseRowIsGone_isForgotten_data();
    void currentItem_whoseRowIsGone_isForgotten();
    void currentItem_ofAnotherRow_staysWhenRowsGo();
    void currentItemChanged_slot_remembersTheRow();

    void row_leftEditable_startsNoEditByItself();

    void drop_onThePanes_isAcceptedAsTheTableSays_data();
    void drop_onThePanes_isAcceptedAsTheTableSays();
    void drag_ofRemoteRows_namesTheirPaths_data();
    void drag_ofRemoteRows_namesTheirPaths();

private:
    void postRightPress(QTreeWidget *tree, QTreeWidgetItem *row);
    void startEdit();
    MenuSeen menuOf(QTreeWidget *tree, QTreeWidgetItem *row);
};

void TestWindowView::init()
{
    prepare();
    for (const char *name : {"one.txt", "two.txt", "three.txt"}) {
        QFile file(localFolder() + QLatin1Char('/') + QLatin1String(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    openConnected();
    QVERIFY(windows::giveFocus(local));
}

void TestWindowView::focus_onLocalTree_offersNewFileAndNothingThatNeedsARow()
{
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {"hello.txt"}));
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY2(isEnabled(name), name);
    QVERIFY(windows::giveFocus(local));
    QVERIFY(isEnabled("action_New_File"));
    for (const char *name : {"actionUpload", "actionDownload", "action_Delete", "Rename"})
        QVERIFY2(!isEnabled(name), name);
}

void TestWindowView::focus_onRemoteTree_disablesNewFileUntilItReturns()
{
    QVERIFY(isEnabled("action_New_File"));
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(!isEnabled("action_New_File"));
    QVERIFY(windows::giveFocus(remoteBox));
    QVERIFY(!isEnabled("action_New_File"));
    QVERIFY(windows::giveFocus(local));
    QVERIFY(isEnabled("action_New_File"));
}

void TestWindowView::focus_onATree_clearsTheOthersSelection_data()
{
    QTest::addColumn<bool>("toRemote");
    QTest::newRow("from the local to the remote tree") << true;
    QTest::newRow("from the remote to the local tree") << false;
}

void TestWindowView::focus_onATree_clearsTheOthersSelection()
{
    QFETCH(bool, toRemote);
    QTreeWidget *const from = toRemote ? local : remote;
    QTreeWidget *const to = toRemote ? remote : local;
    QVERIFY(windows::giveFocus(from));
    from->topLevelItem(0)->setSelected(true);
    QVERIFY(windows::giveFocus(to));
    QVERIFY(from->selectedItems().isEmpty());
    for (const char *name : {"actionUpload", "actionDownload", "action_Delete", "Rename"})
        QVERIFY2(!isEnabled(name), name);
}

void TestWindowView::focus_onATree_checksItsViewMode_data()
{
    QTest::addColumn<bool>("details");
    QTest::newRow("remote tree in list mode, local one in details mode") << false;
    QTest::newRow("remote tree in details mode, local one in list mode") << true;
}

void TestWindowView::focus_onATree_checksItsViewMode()
{
    QFETCH(bool, details);
    QVERIFY(windows::giveFocus(details ? remote : local));
    action("actionDetailedList")->trigger();
    QVERIFY(windows::giveFocus(local));
    QCOMPARE(isChecked("actionDetailedList"), !details);
    QCOMPARE(isChecked("actionInfoList"), details);
    QVERIFY(windows::giveFocus(remote));
    QCOMPARE(isChecked("actionDetailedList"), details);
    QCOMPARE(isChecked("actionInfoList"), !details);
}

void TestWindowView::focus_onAPane_enablesUpByItsFolder_data()
{
    QTest::addColumn<bool>("localAtRoot");
    QTest::addColumn<bool>("remoteAtRoot");
    QTest::newRow("both at their roots") << true << true;
    QTest::newRow("local below its root") << false << true;
    QTest::newRow("remote below its root") << true << false;
    QTest::newRow("both below their roots") << false << false;
}

void TestWindowView::focus_onAPane_enablesUpByItsFolder()
{
    QFETCH(bool, localAtRoot);
    QFETCH(bool, remoteAtRoot);
    const QString localPath = localAtRoot ? QStringLiteral("/") : localFolder();
    const QString remotePath = remoteAtRoot ? QStringLiteral("/") : QStringLiteral("/Photos");
    QVERIFY(windows::call(window, "UpdateLocCombox", Q_ARG(QString, localPath)));
    QVERIFY(windows::call(window, "UpdateRmtCombox", Q_ARG(QString, remotePath)));
    QVERIFY(windows::giveFocus(remote));
    QCOMPARE(isEnabled("action_Up"), !remoteAtRoot);
    QVERIFY(windows::giveFocus(localBox));
    QCOMPARE(isEnabled("action_Up"), !localAtRoot);
    QVERIFY(windows::giveFocus(remoteBox));
    QCOMPARE(isEnabled("action_Up"), !remoteAtRoot);
    QVERIFY(windows::giveFocus(local));
    QCOMPARE(isEnabled("action_Up"), !localAtRoot);
}

void TestWindowView::focus_onABox_changesUpAlone()
{
    local->topLevelItem(0)->setSelected(true);
    QVERIFY(windows::giveFocus(remoteBox));
    QCOMPARE(local->selectedItems().size(), 1);
    for (const char *name : {"actionUpload", "action_Delete", "Rename", "action_New_File"})
        QVERIFY2(isEnabled(name), name);
}

void TestWindowView::selection_inLocalTree_enablesItsActions()
{
    action("actionDownload")->setEnabled(false);
    QVERIFY(windows::select(local, {"one.txt", "two.txt"}));
    for (const char *name : {"actionUpload", "action_Delete", "Rename"})
        QVERIFY2(isEnabled(name), name);
    QVERIFY(!isEnabled("actionDownload"));
    local->topLevelItem(0)->setSelected(false);
    local->clearSelection();
    for (const char *name : {"actionUpload", "action_Delete", "Rename"})
        QVERIFY2(!isEnabled(name), name);
}

void TestWindowView::selection_inRemoteTree_enablesItsActions()
{
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {"Photos", "hello.txt"}));
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY2(isEnabled(name), name);
    QVERIFY(!isEnabled("actionUpload"));
    remote->clearSelection();
    for (const char *name : {"actionDownload", "action_Delete", "Rename"})
        QVERIFY2(!isEnabled(name), name);
}

void TestWindowView::selection_withShiftAndCtrl_isExtended()
{
    QCOMPARE(local->topLevelItemCount(), 3);
    windows::click(local, local->topLevelItem(0));
    windows::click(local, local->topLevelItem(2), Qt::LeftButton, Qt::ShiftModifier);
    QCOMPARE(local->selectedItems().size(), 3);
    windows::click(local, local->topLevelItem(1), Qt::LeftButton, Qt::ControlModifier);
    QCOMPARE(local->selectedItems().size(), 2);
}

void TestWindowView::viewMode_chosen_changesTheFocusedTreeAlone_data()
{
    QTest::addColumn<bool>("onRemote");
    QTest::newRow("focus on the local tree") << false;
    QTest::newRow("focus on the remote tree") << true;
}

void TestWindowView::viewMode_chosen_changesTheFocusedTreeAlone()
{
    QFETCH(bool, onRemote);
    QTreeWidget *const focused = onRemote ? remote : local;
    QTreeWidget *const other = onRemote ? local : remote;
    QVERIFY(windows::giveFocus(focused));
    action("actionDetailedList")->trigger();
    QCOMPARE(focused->columnCount(), 4);
    QCOMPARE(other->columnCount(), 1);
    QVERIFY(isChecked("actionDetailedList") && !isChecked("actionInfoList"));
    action("actionInfoList")->trigger();
    QCOMPARE(focused->columnCount(), 1);
    QVERIFY(!isChecked("actionDetailedList") && isChecked("actionInfoList"));
    action("actionInfoList")->trigger();
    QVERIFY2(isChecked("actionInfoList"), "choosing the mode that holds already does not take its check mark away");
}

void TestWindowView::viewMode_chosenWithFocusOnNeitherTree_changesTheChecksAlone()
{
    QVERIFY(windows::giveFocus(localBox));
    action("actionDetailedList")->trigger();
    QCOMPARE(local->columnCount(), 1);
    QCOMPARE(remote->columnCount(), 1);
    QVERIFY(isChecked("actionDetailedList") && !isChecked("actionInfoList"));
    action("actionInfoList")->trigger();
    QVERIFY(!isChecked("actionDetailedList") && isChecked("actionInfoList"));
}

void TestWindowView::viewMode_trigger_runsItsSlotTwice_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("slot");
    QTest::newRow("list") << QByteArray("actionInfoList") << QByteArray("1actionListView()");
    QTest::newRow("details") << QByteArray("actionDetailedList") << QByteArray("1actionDetailView()");
}

void TestWindowView::viewMode_trigger_runsItsSlotTwice()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, slot);
    QCOMPARE(cutConnections(action(name.constData()), SIGNAL(triggered()), window, slot.constData()), 2);
}

void TestWindowView::viewMode_details_showsReadableColumns()
{
    action("actionDetailedList")->trigger();
    QStringList labels;
    for (int column = 0; column < local->columnCount(); ++column)
        labels.append(local->headerItem()->text(column));
    QCOMPARE(labels, (QStringList{"Name", "Size", "Type", "Modified"}));
    const int widest = local->fontMetrics().horizontalAdvance(QStringLiteral("three.txt"));
    QVERIFY(local->columnWidth(0) > widest);
}

void TestWindowView::key_delete_asksForTheSelection()
{
    QVERIFY(windows::select(local, {"one.txt"}));
    Modals modals;
    modals.press(QMessageBox::No);
    QTest::keyClick(local, Qt::Key_Delete);
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.last().title, QStringLiteral("Confirm File Delete"));
}

void TestWindowView::key_deleteWithNothingSelected_asksNothing()
{
    local->clearSelection();
    const Modals modals;
    QTest::keyClick(local, Qt::Key_Delete);
    QVERIFY(modals.seen().isEmpty());
    QVERIFY(windows::item(local, QStringLiteral("one.txt")));
}

void TestWindowView::startEdit()
{
    QTest::keyClick(local, Qt::Key_F2);
}

void TestWindowView::key_f2_editsTheRowUnderTheLastPress()
{
    windows::click(local, windows::item(local, QStringLiteral("two.txt")));
    startEdit();
    auto *editor = local->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QCOMPARE(editor->text(), QStringLiteral("two.txt"));
    QTest::keyClick(editor, Qt::Key_Escape);
}

void TestWindowView::key_any_goesOnToTheBase()
{
    local->clearSelection();
    for (const int key : {Qt::Key_Delete, Qt::Key_F2, Qt::Key_A}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        event.accept();
        QApplication::sendEvent(window, &event);
        QVERIFY2(!event.isAccepted(), "the base class ignores a key that it has no use for");
    }
}

void TestWindowView::key_deleteAndTheHostClosesTheWindowUnderTheQuestion_isSafe()
{
    QVERIFY(windows::select(local, {"one.txt"}));
    Modals modals;
    modals.handle([](QWidget *) { plugin().PerformPostDisc(); });
    QTest::keyClick(local, Qt::Key_Delete);
    QTRY_VERIFY(!window);
    QVERIFY(QFile::exists(localFolder() + QStringLiteral("/one.txt")));
}

/** From the event loop: a click by QTest would go on with a release on a widget that is no more. */
void TestWindowView::postRightPress(QTreeWidget *tree, QTreeWidgetItem *row)
{
    const QPoint place = tree->visualItemRect(row).center();
    QCoreApplication::postEvent(tree->viewport(),
                                new QMouseEvent(QEvent::MouseButtonPress, place, tree->viewport()->mapToGlobal(place),
                                                Qt::RightButton, Qt::RightButton, Qt::NoModifier));
}

void TestWindowView::menu_deleteAndTheHostClosesTheWindowUnderTheQuestion_outlivesIt_data()
{
    QTest::addColumn<bool>("inContextMenu");
    QTest::newRow("menu bar") << false;
    QTest::newRow("context menu") << true;
}

void TestWindowView::menu_deleteAndTheHostClosesTheWindowUnderTheQuestion_outlivesIt()
{
    QFETCH(bool, inContextMenu);
    QVERIFY(windows::select(local, {"one.txt"}));
    bool questionOpen = false;
    QStringList order;
    connect(window, &QObject::destroyed, [&] { order << QStringLiteral("window"); });
    const auto watch = [&](QWidget *menu) {
        connect(menu, &QObject::destroyed,
                [&] { order << (questionOpen ? QStringLiteral("menu too early") : QStringLiteral("menu")); });
    };
    Modals modals;
    const auto chooseDelete = [&](QWidget *menu) {
        watch(menu);
        const QPoint place =
            qobject_cast<QMenu *>(menu)->actionGeometry(windows::action(window, "action_Delete")).center();
        QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, place);
        questionOpen = false;
    };
    modals.handle(chooseDelete);
    modals.handle([&](QWidget *) {
        questionOpen = true;
        plugin().PerformPostDisc();
    });
    if (inContextMenu)
        postRightPress(local, windows::item(local, QStringLiteral("one.txt")));
    else
        window->findChild<QMenu *>(QStringLiteral("menu_File"))->popup(window->mapToGlobal(QPoint(20, 20)));
    QTRY_COMPARE(order, QStringList({"window", "menu"}));
    QVERIFY(QFile::exists(localFolder() + QStringLiteral("/one.txt")));
}

MenuSeen TestWindowView::menuOf(QTreeWidget *tree, QTreeWidgetItem *row)
{
    Modals modals;
    modals.escape();
    windows::click(tree, row, Qt::RightButton);
    return {modals.last().entries, modals.last().enabledEntries};
}

void TestWindowView::contextMenu_local_holdsItsEntries_data()
{
    QTest::addColumn<bool>("onRow");
    QTest::newRow("on a row") << true;
    QTest::newRow("on empty space") << false;
}

void TestWindowView::contextMenu_local_holdsItsEntries()
{
    QFETCH(bool, onRow);
    const MenuSeen menu = menuOf(local, onRow ? local->topLevelItem(0) : nullptr);
    QCOMPARE(menu.entries, (QStringList{"Upload", "New File", "New Folder", "Rename", "Delete", "-", "List", "Details",
                                        "-", "Hdd Device", "Usb Device"}));
    for (const char *entry : {"Upload", "Rename", "Delete"})
        QCOMPARE(menu.enabled.contains(QLatin1String(entry)), onRow);
    for (const char *entry : {"New File", "New Folder", "List", "Details", "Hdd Device", "Usb Device"})
        QVERIFY2(menu.enabled.contains(QLatin1String(entry)), entry);
}

void TestWindowView::contextMenu_remote_holdsItsEntries_data()
{
    contextMenu_local_holdsItsEntries_data();
}

void TestWindowView::contextMenu_remote_holdsItsEntries()
{
    QFETCH(bool, onRow);
    const MenuSeen menu = menuOf(remote, onRow ? remote->topLevelItem(0) : nullptr);
    QCOMPARE(menu.entries, (QStringList{"Download", "New Folder", "Delete", "-", "Refresh", "-", "List", "Details"}));
    for (const char *entry : {"Download", "Delete"})
        QCOMPARE(menu.enabled.contains(QLatin1String(entry)), onRow);
    QCOMPARE(isEnabled("Rename"), onRow);
    for (const char *entry : {"New Folder", "Refresh", "List", "Details"})
        QVERIFY2(menu.enabled.contains(QLatin1String(entry)), entry);
}

void TestWindowView::currentItem_whoseRowIsGone_isForgotten_data()
{
    QTest::addColumn<QByteArray>("how");
    for (const char *how : {"listed anew", "deleted", "taken out", "tree cleared", "model rows removed"})
        QTest::newRow(how) << QByteArray(how);
}

void TestWindowView::currentItem_whoseRowIsGone_isForgotten()
{
    QFETCH(QByteArray, how);
    QTreeWidgetItem *const row = windows::item(local, QStringLiteral("two.txt"));
    windows::click(local, row);
    std::unique_ptr<QTreeWidgetItem> taken;
    if (how == "listed anew")
        QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, localFolder())));
    else if (how == "deleted")
        delete row;
    else if (how == "taken out")
        taken.reset(local->takeTopLevelItem(local->indexOfTopLevelItem(row)));
    else if (how == "tree cleared")
        local->clear();
    else
        local->model()->removeRows(0, local->topLevelItemCount());
    QTest::keyClick(local, Qt::Key_F2);
    QVERIFY2(!local->viewport()->findChild<QLineEdit *>(), "there is nothing to rename");
    if (taken)
        QVERIFY(!(taken->flags() & Qt::ItemIsEditable));
}

void TestWindowView::currentItem_ofAnotherRow_staysWhenRowsGo()
{
    windows::click(local, windows::item(local, QStringLiteral("two.txt")));
    delete windows::item(local, QStringLiteral("one.txt"));
    delete windows::item(local, QStringLiteral("three.txt"));
    QVERIFY(windows::call(window, "refreshRemote"));
    startEdit();
    auto *editor = local->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QTest::keyClick(editor, Qt::Key_Escape);
}

void TestWindowView::currentItemChanged_slot_remembersTheRow()
{
    QTreeWidgetItem *const row = windows::item(local, QStringLiteral("three.txt"));
    QVERIFY(
        windows::call(window, "currentItemChanged", Q_ARG(QTreeWidgetItem *, row), Q_ARG(QTreeWidgetItem *, nullptr)));
    startEdit();
    auto *editor = local->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QCOMPARE(editor->text(), QStringLiteral("three.txt"));
    QTest::keyClick(editor, Qt::Key_Escape);
}

void TestWindowView::row_leftEditable_startsNoEditByItself()
{
    QTreeWidgetItem *const row = windows::item(local, QStringLiteral("two.txt"));
    row->setFlags(row->flags() | Qt::ItemIsEditable);
    local->setCurrentItem(row);
    QTest::keyClick(local, Qt::Key_X);
    windows::click(local, row);
    QTest::qWait(QApplication::doubleClickInterval() + 50); // an edit by a second click would begin after it
    windows::click(local, row);
    QVERIFY(!local->viewport()->findChild<QLineEdit *>());
    QCOMPARE(local->editTriggers(), QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
}

void TestWindowView::drop_onThePanes_isAcceptedAsTheTableSays_data()
{
    QTest::addColumn<bool>("ontoRemote");
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("local rows onto the remote pane") << true << QByteArray("local") << true;
    QTest::newRow("remote rows onto the local pane") << false << QByteArray("remote") << true;
    QTest::newRow("local rows onto the local pane") << false << QByteArray("local") << false;
    QTest::newRow("remote rows onto the remote pane") << true << QByteArray("remote") << false;
    QTest::newRow("files of another application onto the remote pane") << true << QByteArray("files") << true;
    QTest::newRow("files of another application onto the local pane") << false << QByteArray("files") << false;
    QTest::newRow("text onto the remote pane") << true << QByteArray("text") << false;
    QTest::newRow("text onto the local pane") << false << QByteArray("text") << false;
    QTest::newRow("remote mark without URLs onto the remote pane") << true << QByteArray("mark") << false;
    QTest::newRow("remote mark without URLs onto the local pane") << false << QByteArray("mark") << false;
}

void TestWindowView::drop_onThePanes_isAcceptedAsTheTableSays()
{
    QFETCH(bool, ontoRemote);
    QFETCH(QByteArray, from);
    QFETCH(bool, accepted);
    std::unique_ptr<QMimeData> payload;
    if (from == "local" || from == "remote") {
        QTreeWidget *const source = from == "local" ? local : remote;
        const QString name = from == "local" ? QStringLiteral("one.txt") : QStringLiteral("hello.txt");
        QVERIFY(windows::giveFocus(source));
        QVERIFY(windows::select(source, {name}));
        payload.reset(source->model()->mimeData(source->selectionModel()->selectedRows()));
        QVERIFY(payload);
    } else {
        payload = std::make_unique<QMimeData>();
        if (from == "files")
            payload->setUrls({QUrl::fromLocalFile(localFolder() + QStringLiteral("/two.txt"))});
        else if (from == "text")
            payload->setText(QStringLiteral("hello"));
        else
            payload->setData(QStringLiteral("application/x-Velmaro"), "1");
    }
    const Modals modals; // no question is due
    const windows::DropAnswer answer = windows::drop(ontoRemote ? remote : local, payload.get());
    QCOMPARE(answer.entered, accepted);
    QCOMPARE(answer.moved, accepted);
    QCOMPARE(answer.dropped, accepted);
    const int puts = accepted && ontoRemote;
    const int gets = accepted && !ontoRemote;
    QTRY_COMPARE(script().count("Btsdk_FTPPutFile"), puts);
    QTRY_COMPARE(script().count("Btsdk_FTPGetFile"), gets);
}

void TestWindowView::drag_ofRemoteRows_namesTheirPaths_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("paths");
    QTest::newRow("from the root") << "/" << QStringList{"Photos", "hello.txt"} << QStringList{"/Photos", "/hello.txt"};
    QTest::newRow("from a folder") << "/Photos" << QStringList{"2008", "cat.jpg"}
                                   << QStringList{"/Photos/2008", "/Photos/cat.jpg"};
}

void TestWindowView::drag_ofRemoteRows_namesTheirPaths()
{
    QFETCH(QString, folder);
    QFETCH(QStringList, names);
    QFETCH(QStringList, paths);
    QVERIFY(windows::call(window, "UpdateRmtCombox", Q_ARG(QString, folder)));
    QVERIFY(windows::select(remote, names));
    const std::unique_ptr<QMimeData> payload(remote->model()->mimeData(remote->selectionModel()->selectedRows()));
    QStringList found;
    for (const QUrl &url : payload->urls())
        found.append(url.path(QUrl::FullyDecoded));
    found.sort();
    paths.sort();
    QCOMPARE(found, paths);
    QCOMPARE(payload->data(QStringLiteral("application/x-Velmaro")), QByteArray("1"));
}

BTFTP_TEST_MAIN(TestWindowView)
#include "tst_window_view.moc"
