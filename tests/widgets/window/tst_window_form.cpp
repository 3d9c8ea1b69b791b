#include "skinimages.h"
#include "testmain.h"
#include "windowtest.h"

#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>

namespace {

/** Object names of a menu's or tool bar's entries; "-" for a separator, the name of a submenu for its entry. */
QStringList entries(const QWidget *widget)
{
    QStringList names;
    for (const QAction *action : widget->actions()) {
        if (action->isSeparator())
            names.append(QStringLiteral("-"));
        else
            names.append(action->menu() ? action->menu()->objectName() : action->objectName());
    }
    return names;
}

QImage picture(const QIcon &icon)
{
    return icon.isNull() ? QImage() : icon.pixmap(16, 16).toImage();
}

/** @param image  a skin image's number, a resource's path, or nothing */
QIcon wantedIcon(const QString &image)
{
    bool number = false;
    const int id = image.toInt(&number);
    if (number)
        return QIcon(skinImagePath(11, id, 0));
    return image.isEmpty() ? QIcon() : QIcon(image);
}

} // namespace

/** What the window is made of. */
class TestWindowForm : public WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { plugin().stop(); }

    void window_new_hasItsNameSizeTitleAndIcon();
    void window_parts_standWhereTheyBelong();
    void panes_fromLeftToRight_areLocalAndRemote();
    void panes_headers_holdLabelBoxAndButtons();
    void panes_trees_dragAndDropSelectSeveralAndStartNoEdits();
    void menus_hold_theirEntriesInOrder_data();
    void menus_hold_theirEntriesInOrder();
    void toolBar_holds_itsEntriesInOrder();
    void action_ofTheTable_looksAsItShould_data();
    void action_ofTheTable_looksAsItShould();
    void action_ofTheTable_isWiredAsItShould_data();
    void action_ofTheTable_isWiredAsItShould();
    void action_any_hasNoShortcutAndNoGroup();
    void action_names_areThoseOfTheForm();
    void upButtons_haveActionsOfTheirOwn_data();
    void upButtons_haveActionsOfTheirOwn();
    void skin_images_areAskedForByNumber();
    void formImages_load_atBothSizes_data();
    void formImages_load_atBothSizes();
    void metaObject_methods_areTheseInThisOrder();
    void metaObject_ofTheWindow_addsNothingElse();
    void metaObject_parameters_haveTheirNames_data();
    void metaObject_parameters_haveTheirNames();
    void metaObject_access_signalsProtectedSlotsPrivate();
    void wiring_ofPanesAndWorker_isComplete_data();
    void wiring_ofPanesAndWorker_isComplete();
};

void TestWindowForm::init()
{
    prepare();
    openIdle();
}

void TestWindowForm::window_new_hasItsNameSizeTitleAndIcon()
{
    QCOMPARE(QByteArray(window->metaObject()->className()), QByteArray("BtFtpClient"));
    QCOMPARE(window->objectName(), QStringLiteral("BtFtpClientClass"));
    QCOMPARE(window->size(), QSize(734, 532));
    QCOMPARE(window->windowTitle(), QStringLiteral("Bluetooth File Transfer"));
    QCOMPARE(script().last("VmCm_GetSvcDisplayName").number(0), 0x1106u);
    QCOMPARE(picture(window->windowIcon()), picture(wantedIcon(QStringLiteral("100"))));
}

void TestWindowForm::window_parts_standWhereTheyBelong()
{
    QCOMPARE(window->statusBar()->objectName(), QStringLiteral("statusbar"));
    QCOMPARE(window->menuBar()->objectName(), QStringLiteral("menubar"));
    auto *toolBar = window->findChild<QToolBar *>(QStringLiteral("toolBar"));
    QVERIFY(toolBar);
    QCOMPARE(window->toolBarArea(toolBar), Qt::TopToolBarArea);
    QCOMPARE(toolBar->windowTitle(), QString());
    auto *splitter = qobject_cast<QSplitter *>(window->centralWidget());
    QVERIFY2(splitter, "the splitter takes the place of the form's central widget");
    QCOMPARE(splitter->orientation(), Qt::Horizontal);
    QCOMPARE(splitter->count(), 2);
}

void TestWindowForm::panes_fromLeftToRight_areLocalAndRemote()
{
    auto *splitter = qobject_cast<QSplitter *>(window->centralWidget());
    QVERIFY(splitter->widget(0)->isAncestorOf(local));
    QVERIFY(splitter->widget(1)->isAncestorOf(remote));
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(QByteArray(splitter->widget(i)->metaObject()->className()), QByteArray("QWidget"));
        auto *layout = qobject_cast<QVBoxLayout *>(splitter->widget(i)->layout());
        QVERIFY(layout);
        QCOMPARE(layout->count(), 2);
        QCOMPARE(layout->contentsMargins(), QMargins());
        QCOMPARE(layout->spacing(), 0);
        QCOMPARE(layout->itemAt(1)->widget(), i == 0 ? local : remote);
    }
}

void TestWindowForm::panes_headers_holdLabelBoxAndButtons()
{
    auto *splitter = qobject_cast<QSplitter *>(window->centralWidget());
    const QList<QStringList> wanted{{"QLabel", "QComboBox", "QToolButton"},
                                    {"QLabel", "QComboBox", "QToolButton", "QToolButton"}};
    const QStringList labels{"Local:", "Remote:"};
    for (int i = 0; i < 2; ++i) {
        auto *layout = qobject_cast<QHBoxLayout *>(splitter->widget(i)->layout()->itemAt(0)->widget()->layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), QMargins());
        QCOMPARE(layout->spacing(), 0);
        QStringList classes;
        for (int j = 0; j < layout->count(); ++j) {
            classes.append(QString::fromLatin1(layout->itemAt(j)->widget()->metaObject()->className()));
            QCOMPARE(layout->stretch(j), j == 1 ? 1 : 0);
        }
        QCOMPARE(classes, wanted.at(i));
        auto *label = qobject_cast<QLabel *>(layout->itemAt(0)->widget());
        QCOMPARE(label->text(), labels.at(i));
        QCOMPARE(label->margin(), 0);
        QVERIFY(!qobject_cast<QComboBox *>(layout->itemAt(1)->widget())->isEditable());
    }
}

void TestWindowForm::panes_trees_dragAndDropSelectSeveralAndStartNoEdits()
{
    for (const QTreeWidget *tree : {local, remote}) {
        QCOMPARE(QByteArray(tree->metaObject()->className()), QByteArray("MyTreeWidget"));
        QCOMPARE(tree->dragDropMode(), QAbstractItemView::DragDrop);
        QCOMPARE(tree->selectionMode(), QAbstractItemView::ExtendedSelection);
        QCOMPARE(tree->editTriggers(), QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
        QCOMPARE(tree->columnCount(), 1);
    }
}

void TestWindowForm::menus_hold_theirEntriesInOrder_data()
{
    QTest::addColumn<QString>("menu");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QStringList>("wanted");
    QTest::newRow("File") << "menu_File"
                          << "&File"
                          << "menubar" << QStringList{"actionUpload",     "actionDownload", "-", "action_New_File",
                                                      "actionNew_Folder", "action_Delete",  "-", "action_Quit"};
    QTest::newRow("View") << "menu_View"
                          << "&View"
                          << "menubar" << QStringList{"actionInfoList", "actionDetailedList", "-",
                                                      "menu_Go_To",     "action_Refresh",     "menu_Devices"};
    QTest::newRow("Go To") << "menu_Go_To"
                           << "&Go To"
                           << "menu_View" << QStringList{"action_Up", "action_Home"};
    QTest::newRow("Devices") << "menu_Devices"
                             << "Devices"
                             << "menu_View" << QStringList{"actionHdd", "actionUsb"};
}

void TestWindowForm::menus_hold_theirEntriesInOrder()
{
    QFETCH(QString, menu);
    QFETCH(QString, title);
    QFETCH(QString, parent);
    QFETCH(QStringList, wanted);
    auto *found = window->findChild<QMenu *>(menu);
    QVERIFY(found);
    QCOMPARE(found->title(), title);
    QCOMPARE(found->parentWidget()->objectName(), parent);
    QCOMPARE(entries(found), wanted);
    QCOMPARE(entries(window->menuBar()), (QStringList{"menu_File", "menu_View"}));
}

void TestWindowForm::toolBar_holds_itsEntriesInOrder()
{
    QCOMPARE(entries(window->findChild<QToolBar *>(QStringLiteral("toolBar"))),
             (QStringList{"actionUpload", "actionDownload", "-", "actionInfoList", "actionDetailedList", "-",
                          "actionHdd", "actionUsb", "-"}));
}

void TestWindowForm::action_ofTheTable_looksAsItShould_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tip");
    QTest::addColumn<QString>("image");
    QTest::addColumn<bool>("checkable");
    const auto row = [](const char *name, const char *text, const char *tip, const char *image,
                        bool checkable = false) { QTest::newRow(name) << text << tip << image << checkable; };
    row("action_Quit", "&Quit", "", "");
    row("action_Create_Folder", "Create &Folder", "Create a folder in the current directory", "106");
    row("action_Copy", "&Copy", "", "107");
    row("action_Delete", "&Delete", "Delete the selected file.", "117");
    row("action_Paste", "&Paste", "", "108");
    row("action_Up", "&Up One Folder", "", "109");
    row("action_Home", "&Home", "", ":/images/win/fileopen.png");
    row("action_About", "&About", "", "");
    row("actionConnect", "Connect", "", "");
    row("actionInfoList", "List", "View in list.", "113", true);
    row("actionDetailedList", "Details", "View in details.", "114", true);
    row("action_Refresh", "&Refresh", "Refresh contents on the remote device.", "115");
    row("actionUpload", "Upload", "Upload the selected files.", "111");
    row("actionDownload", "Download", "Download the selected files.", "112");
    row("actionHDD", "HDD", "", "");
    row("actionUSB", "USB", "", "");
    row("actionHdd", "Hdd Device", "List files in hdd device.", "118", true);
    row("actionUsb", "Usb Device", "List files in usb device.", "119", true);
    row("action_New_File", "&New File", "Create new file.", "110");
    row("actionNew_Folder", "New &Folder", "Create new folder.", "106");
    row("Rename", "Rename", "Rename a file or folder.", "");
}

void TestWindowForm::action_ofTheTable_looksAsItShould()
{
    QFETCH(QString, text);
    QFETCH(QString, tip);
    QFETCH(QString, image);
    QFETCH(bool, checkable);
    const char *name = QTest::currentDataTag();
    const QAction *found = action(name);
    QVERIFY(found);
    QCOMPARE(found->parent(), window.data());
    QCOMPARE(found->text(), text);
    QCOMPARE(found->statusTip(), tip);
    QCOMPARE(found->isCheckable(), checkable);
    QCOMPARE(found->isChecked(), QByteArray(name) == "actionHdd");
    QVERIFY(found->icon().isNull() == image.isEmpty());
    QCOMPARE(picture(found->icon()), picture(wantedIcon(image)));
    const bool unseen = QByteArray(name) == "actionUSB";
    QCOMPARE(found->isVisible(), !unseen);
    QCOMPARE(found->autoRepeat(), !unseen && QByteArray(name) != "actionHDD");
    if (QByteArray(name) == "actionHDD")
        QVERIFY(found->isEnabled());
}

void TestWindowForm::action_ofTheTable_isWiredAsItShould_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<int>("times");
    const auto row = [](const char *name, const char *slot, int times = 1) {
        QTest::newRow(name) << QByteArray(slot) << times;
    };
    row("action_Quit", "close()");
    row("action_Create_Folder", "", 0);
    row("action_Copy", "", 0);
    row("action_Delete", "actionDelete(bool)");
    row("action_Paste", "", 0);
    row("action_Up", "action_Up()");
    row("action_Home", "action_Home()");
    row("action_About", "", 0);
    row("actionConnect", "", 0);
    row("actionInfoList", "actionListView()", 2);
    row("actionDetailedList", "actionDetailView()", 2);
    row("action_Refresh", "refreshRemote()");
    row("actionUpload", "actionUpload(bool)");
    row("actionDownload", "actionDownload(bool)");
    row("actionHDD", "", 0);
    row("actionUSB", "", 0);
    row("actionHdd", "actionHddDevice()");
    row("actionUsb", "actionUsbDevice()");
    row("action_New_File", "actionNewFile(bool)");
    row("actionNew_Folder", "actionNewFolder(bool)");
    row("Rename", "actionRename(bool)");
}

void TestWindowForm::action_ofTheTable_isWiredAsItShould()
{
    QFETCH(QByteArray, slot);
    QFETCH(int, times);
    QAction *found = action(QTest::currentDataTag());
    if (!slot.isEmpty()) {
        const QByteArray signal = slot.endsWith("(bool)") ? "2triggered(bool)" : "2triggered()";
        QCOMPARE(cutConnections(found, signal.constData(), window, ("1" + slot).constData()), times);
    }
    // Whatever else is connected is Qt's own: nothing of the window is left.
    const int before = connectionsOf(found, SIGNAL(triggered(bool)));
    QObject::disconnect(found, SIGNAL(triggered(bool)), window, nullptr);
    QCOMPARE(connectionsOf(found, SIGNAL(triggered(bool))), before);
}

void TestWindowForm::action_any_hasNoShortcutAndNoGroup()
{
    const auto actions = window->findChildren<QAction *>();
    for (const QAction *found : actions) {
        QVERIFY2(found->shortcut().isEmpty(), qPrintable(found->text()));
        QVERIFY2(!found->actionGroup(), qPrintable(found->text()));
    }
}

void TestWindowForm::action_names_areThoseOfTheForm()
{
    QStringList names;
    const auto actions = window->findChildren<QAction *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QAction *found : actions)
        names.append(found->objectName());
    QCOMPARE(names.mid(0, 20), (QStringList{"action_Quit",        "action_Create_Folder",
                                            "action_Copy",        "action_Delete",
                                            "action_Paste",       "action_Up",
                                            "action_Home",        "action_About",
                                            "actionConnect",      "actionInfoList",
                                            "actionDetailedList", "action_Refresh",
                                            "actionUpload",       "actionDownload",
                                            "actionHDD",          "actionUSB",
                                            "actionHdd",          "actionUsb",
                                            "action_New_File",    "actionNew_Folder"}));
    QCOMPARE(names.size(), 23);
}

void TestWindowForm::upButtons_haveActionsOfTheirOwn_data()
{
    QTest::addColumn<int>("pane");
    QTest::addColumn<QByteArray>("slot");
    QTest::newRow("local") << 0 << QByteArray("1cdUpLocal()");
    QTest::newRow("remote") << 1 << QByteArray("1cdUpRmt()");
}

void TestWindowForm::upButtons_haveActionsOfTheirOwn()
{
    QFETCH(int, pane);
    QFETCH(QByteArray, slot);
    const QWidget *header = pane == 0 ? localBox->parentWidget() : remoteBox->parentWidget();
    const QList<QToolButton *> buttons = header->findChildren<QToolButton *>();
    QCOMPARE(buttons.size(), 1 + pane);
    QAction *up = buttons.first()->defaultAction();
    QCOMPARE(up->text(), QStringLiteral("&Up Folder"));
    QCOMPARE(up->statusTip(), QStringLiteral("Enter upper folder."));
    QCOMPARE(up->parent(), window.data());
    QCOMPARE(picture(up->icon()), picture(wantedIcon(QStringLiteral("109"))));
    QCOMPARE(cutConnections(up, SIGNAL(triggered()), window, slot.constData()), 1);
    if (pane == 1)
        QCOMPARE(buttons.last()->defaultAction(), action("action_Refresh"));
}

void TestWindowForm::skin_images_areAskedForByNumber()
{
    QSet<int> ids;
    for (const Call &call : script().calls("CVmSkin::GetImgPath")) {
        QCOMPARE(call.argument(0).toInt() == 11 ? call.argument(2).toInt() : 0, 0);
        if (call.argument(0).toInt() == 11)
            ids.insert(call.argument(1).toInt());
    }
    QCOMPARE(ids, (QSet<int>{100, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 115, 117, 118, 119}));
}

void TestWindowForm::formImages_load_atBothSizes_data()
{
    QTest::addColumn<QString>("path");
    for (const char *path : {":/images/win/filenew.png", ":/images/win/fileopen.png", ":/images/mac/editcopy.png",
                             ":/images/mac/editcut.png", ":/images/mac/editpaste.png", ":/images/mac/editundo.png"})
        QTest::newRow(path) << QString::fromLatin1(path);
}

void TestWindowForm::formImages_load_atBothSizes()
{
    QFETCH(QString, path);
    const QImage plain(path);
    QCOMPARE(plain.size(), QSize(32, 32));
    QVERIFY(plain.hasAlphaChannel());
    QCOMPARE(QImage(QString(path).replace(QLatin1String(".png"), QLatin1String("@2x.png"))).size(), QSize(64, 64));
}

void TestWindowForm::metaObject_methods_areTheseInThisOrder()
{
    // Looked up by signature: where it prints one, Qt names the built-in types its own way (uint for quint32).
    const char *const wanted[] = {
        "BrowseFileFound(FTP_FIND_DATA*)",
        "FtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)",
        "UserCancelTrasfer()",
        "sgnTransStatus(quint8,quint8,quint8*,quint32,quint32)",
        "hideBtFtpClient(QWidget*)",
        "ShowBrowseFile(FTP_FIND_DATA*)",
        "cdUpLocal()",
        "UpdateLocCombox(QString)",
        "UpdateLocTree(QString)",
        "itemDoubleClickedLocal(QTreeWidgetItem*,int)",
        "cdUpRmt()",
        "UpdateRmtCombox(QString)",
        "UpdateRmtTree(QString)",
        "itemDoubleClickedRmt(QTreeWidgetItem*,int)",
        "itemClickedRmt(QTreeWidgetItem*,int)",
        "UpdateActionRmt()",
        "UpdateActionLocal()",
        "UploadRequest(QList<QUrl>)",
        "DownloadRequest(QList<QUrl>)",
        "DeleteRmtRequest(QList<QUrl>)",
        "action_Home()",
        "action_Up()",
        "action_Copy()",
        "OperationInd(quint32,quint32,quint32)",
        "procFtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)",
        "procUserAction(quint8)",
        "currentItemChanged(QTreeWidgetItem*,QTreeWidgetItem*)",
        "itemDoubleClicked(QTreeWidgetItem*,int)",
        "itemExpanded(QTreeWidgetItem*)",
        "onCancelFinished()",
        "itemClicked()",
        "procLocMousePressEvent(QMouseEvent*)",
        "procRmtMousePressEvent(QMouseEvent*)",
        "actionUpload(bool)",
        "actionDownload(bool)",
        "actionNewFile(bool)",
        "actionNewFolder(bool)",
        "actionRename(bool)",
        "refreshRemote()",
        "actionListView()",
        "actionDetailView()",
        "actionDelete(bool)",
        "actionHddDevice()",
        "actionUsbDevice()",
        "focusChanged(QWidget*,QWidget*)",
        "itemEditDone()",
    };
    const QMetaObject *meta = window->metaObject();
    int index = meta->methodOffset();
    for (const char *signature : wanted) {
        QVERIFY2(meta->indexOfMethod(signature) == index, signature);
        const bool signal = index < meta->methodOffset() + 5;
        QCOMPARE(meta->method(index).methodType(), signal ? QMetaMethod::Signal : QMetaMethod::Slot);
        ++index;
    }
    QCOMPARE(meta->methodCount(), index);
}

void TestWindowForm::metaObject_ofTheWindow_addsNothingElse()
{
    const QMetaObject *meta = window->metaObject();
    QCOMPARE(meta->methodCount() - meta->methodOffset(), 46);
    QCOMPARE(meta->propertyCount(), meta->propertyOffset());
    QCOMPARE(meta->enumeratorCount(), meta->enumeratorOffset());
    QCOMPARE(QByteArray(meta->superClass()->className()), QByteArray("QMainWindow"));
    QVERIFY(window->inherits("BtFtpClient"));
}

void TestWindowForm::metaObject_parameters_haveTheirNames_data()
{
    QTest::addColumn<QStringList>("names");
    const auto row = [](const char *signature, const QStringList &names) { QTest::newRow(signature) << names; };
    const QStringList report{"first", "last", "filename", "filesize", "cursize"};
    row("BrowseFileFound(FTP_FIND_DATA*)", {"pData"});
    row("FtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)", report);
    row("sgnTransStatus(quint8,quint8,quint8*,quint32,quint32)", report);
    row("hideBtFtpClient(QWidget*)", {"pWnd"});
    row("ShowBrowseFile(FTP_FIND_DATA*)", {"pData"});
    row("UpdateLocCombox(QString)", {"curr"});
    row("UpdateLocTree(QString)", {"curr"});
    row("itemDoubleClickedLocal(QTreeWidgetItem*,int)", {"item", "column"});
    row("UpdateRmtCombox(QString)", {"curr"});
    row("UpdateRmtTree(QString)", {"curr"});
    row("itemDoubleClickedRmt(QTreeWidgetItem*,int)", {"item", "column"});
    row("itemClickedRmt(QTreeWidgetItem*,int)", {"item", "column"});
    row("UploadRequest(QList<QUrl>)", {"urls"});
    row("DownloadRequest(QList<QUrl>)", {"urls"});
    row("DeleteRmtRequest(QList<QUrl>)", {"urls"});
    row("OperationInd(quint32,quint32,quint32)", {"opType", "wparam", "lparam"});
    row("procFtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)", report);
    row("procUserAction(quint8)", {"action"});
    row("currentItemChanged(QTreeWidgetItem*,QTreeWidgetItem*)", {"current", "previous"});
    row("itemDoubleClicked(QTreeWidgetItem*,int)", {"item", "column"});
    row("itemExpanded(QTreeWidgetItem*)", {"item"});
    row("procLocMousePressEvent(QMouseEvent*)", {"event"});
    row("procRmtMousePressEvent(QMouseEvent*)", {"event"});
    row("actionUpload(bool)", {""});
    row("actionDownload(bool)", {""});
    row("actionNewFile(bool)", {""});
    row("actionNewFolder(bool)", {""});
    row("actionRename(bool)", {""});
    row("actionDelete(bool)", {""});
    row("focusChanged(QWidget*,QWidget*)", {"old", "now"});
}

void TestWindowForm::metaObject_parameters_haveTheirNames()
{
    QFETCH(QStringList, names);
    QCOMPARE(windows::parameterNames(window, QTest::currentDataTag()), names);
}

void TestWindowForm::metaObject_access_signalsProtectedSlotsPrivate()
{
    const QMetaObject *meta = window->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const bool signal = meta->method(i).methodType() == QMetaMethod::Signal;
        QCOMPARE(meta->method(i).access(), signal ? QMetaMethod::Protected : QMetaMethod::Private);
    }
}

void TestWindowForm::wiring_ofPanesAndWorker_isComplete_data()
{
    QTest::addColumn<QByteArray>("sender");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QByteArray>("slot");
    const auto row = [](const char *sender, const char *signal, const char *slot) {
        QTest::addRow("%s %s", sender, signal) << QByteArray(sender) << QByteArray(signal) << QByteArray(slot);
    };
    row("application", "focusChanged(QWidget*,QWidget*)", "focusChanged(QWidget*,QWidget*)");
    row("window", "BrowseFileFound(FTP_FIND_DATA*)", "ShowBrowseFile(FTP_FIND_DATA*)");
    row("window", "FtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)",
        "procFtpStatusCallback(quint8,quint8,quint8*,quint32,quint32)");
    row("local tree", "SignalMousePressEvent(QMouseEvent*)", "procLocMousePressEvent(QMouseEvent*)");
    row("local tree", "itemDoubleClicked(QTreeWidgetItem*,int)", "itemDoubleClickedLocal(QTreeWidgetItem*,int)");
    row("local tree", "DownloadRequest(QList<QUrl>)", "DownloadRequest(QList<QUrl>)");
    row("local tree", "itemSelectionChanged()", "UpdateActionLocal()");
    row("local delegate", "closeEditor(QWidget*,QAbstractItemDelegate::EndEditHint)", "itemEditDone()");
    row("remote tree", "SignalMousePressEvent(QMouseEvent*)", "procRmtMousePressEvent(QMouseEvent*)");
    row("remote tree", "itemDoubleClicked(QTreeWidgetItem*,int)", "itemDoubleClickedRmt(QTreeWidgetItem*,int)");
    row("remote tree", "UploadRequest(QList<QUrl>)", "UploadRequest(QList<QUrl>)");
    row("remote tree", "itemSelectionChanged()", "UpdateActionRmt()");
    row("remote delegate", "closeEditor(QWidget*,QAbstractItemDelegate::EndEditHint)", "itemEditDone()");
    row("local box", "currentIndexChanged(QString)", "UpdateLocTree(QString)");
    row("remote box", "currentIndexChanged(QString)", "UpdateRmtTree(QString)");
    row("local tree", "UploadRequest(QList<QUrl>)", "");
    row("remote tree", "DownloadRequest(QList<QUrl>)", "");
    row("window", "UserCancelTrasfer()", "");
    row("window", "sgnTransStatus(quint8,quint8,quint8*,quint32,quint32)", "");
}

void TestWindowForm::wiring_ofPanesAndWorker_isComplete()
{
    QFETCH(QByteArray, sender);
    QFETCH(QByteArray, signal);
    QFETCH(QByteArray, slot);
    const QHash<QByteArray, QObject *> senders{{"application", qApp},
                                               {"window", window},
                                               {"local tree", local},
                                               {"remote tree", remote},
                                               {"local box", localBox},
                                               {"remote box", remoteBox},
                                               {"local delegate", local->itemDelegate()},
                                               {"remote delegate", remote->itemDelegate()}};
    QObject *object = senders.value(sender);
    QVERIFY(object);
    const QByteArray code = "2" + signal;
    if (slot.isEmpty())
        QCOMPARE(connectionsOf(object, code.constData()), 0);
    else
        QCOMPARE(cutConnections(object, code.constData(), window, ("1" + slot).constData()), 1);
}

BTFTP_TEST_MAIN(TestWindowForm)
#include "tst_window_form.moc"
