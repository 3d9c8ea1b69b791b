#include "MyMime.h"
#include "MyTreeWidget.h"
#include "RemoteItem.h"
#include "plainurl.h"
#include "windows.h"

#include <QHeaderView>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(Qt::MouseButton)

namespace {

/** Opens what the window and Qt call. */
struct OpenTree : MyTreeWidget
{
    OpenTree() : MyTreeWidget(nullptr) {}
    using MyTreeWidget::mimeData;
    using MyTreeWidget::mimeTypes;
    using MyTreeWidget::sizeHintForColumn;
    using MyTreeWidget::supportedDropActions;
};

struct OpenBase : QTreeWidget
{
    using QTreeWidget::mimeTypes;
};

QTreeWidgetItem *addRow(QTreeWidget &tree, const QString &name)
{
    return new QTreeWidgetItem(
        &tree, {name, QStringLiteral("1.0 KB"), QStringLiteral("txt"), QStringLiteral("2008-03-14 09:30")});
}

QStringList headerTexts(const QTreeWidget &tree)
{
    QStringList texts;
    for (int column = 0; column < tree.columnCount(); ++column)
        texts.append(tree.headerItem()->text(column));
    return texts;
}

/** @param kind  what a drag carries: "local pane", "remote pane", "file manager", "text", "remote mark without URLs" */
QMimeData *payload(const QByteArray &kind)
{
    auto *data = new QMimeData;
    if (kind.startsWith("remote"))
        data->setData(QStringLiteral("application/x-Velmaro"), "1");
    if (kind == "local pane" || kind == "remote pane")
        data->setUrls({plainUrl(QStringLiteral("/docs/a")), plainUrl(QStringLiteral("/docs/b"))});
    if (kind == "file manager")
        data->setUrls({QUrl(QStringLiteral("file:///tmp/a")), QUrl(QStringLiteral("file:///tmp/b"))});
    if (kind == "text")
        data->setText(QStringLiteral("hello"));
    return data;
}

} // namespace

/** The tree of a pane: view modes, what it drags, what it lets drop. */
class TestMyTreeWidget : public QObject
{
    Q_OBJECT

private slots:
    void tree_new_isAnEmptyFlatListThatRefusesDrops();
    void setViewMode_detail_showsFourColumnsWithTheNameFitted();
    void setViewMode_listAfterDetail_showsTheNamesAlone();
    void setViewMode_unknownMode_isStoredAndChangesNothing();
    void setViewMode_thereAndBack_keepsTheRowsTexts();
    void mousePress_anyButton_isToldAfterTheSelectionChanged_data();
    void mousePress_anyButton_isToldAfterTheSelectionChanged();
    void mimeData_ofRows_namesThemBelowTheFolder_data();
    void mimeData_ofRows_namesThemBelowTheFolder();
    void mimeData_ofHostileNames_keepsThem();
    void mimeData_ofAPane_hasATypeOfItsOwn();
    void mimeTypes_areThoseOfTheBase();
    void supportedDropActions_isCopyAlone();
    void drop_ofAPayload_isAcceptedByTheOtherPaneAlone_data();
    void drop_ofAPayload_isAcceptedByTheOtherPaneAlone();
    void drop_accepted_takesTheProposedActionAndLeavesTheRows();
    void metaObject_hasThreeSignalsInOrder();
    void remoteItem_entry_isReadByItsAddress();
    void remoteItem_plainRow_hasNoEntry();
};

void TestMyTreeWidget::tree_new_isAnEmptyFlatListThatRefusesDrops()
{
    OpenTree tree;
    QCOMPARE(tree.m_strCurPath, QString());
    QVERIFY(!tree.rootIsDecorated());
    QCOMPARE(tree.m_viewMode, TREE_VIEW_LIST);
    QCOMPARE(headerTexts(tree), QStringList{"Name"});
    QVERIFY(tree.m_nPaneType != TREE_PANE_LOCAL && tree.m_nPaneType != TREE_PANE_REMOTE);
}

void TestMyTreeWidget::setViewMode_detail_showsFourColumnsWithTheNameFitted()
{
    OpenTree tree;
    addRow(tree, QStringLiteral("a name that is much longer than the column is wide at first.txt"));
    tree.show();
    tree.setViewMode(TREE_VIEW_DETAIL);
    QCOMPARE(tree.m_viewMode, TREE_VIEW_DETAIL);
    QCOMPARE(headerTexts(tree), (QStringList{"Name", "Size", "Type", "Modified"}));
    const int text = tree.fontMetrics().horizontalAdvance(tree.topLevelItem(0)->text(0));
    QVERIFY2(tree.columnWidth(0) >= text, "the longest name must be readable");
    QVERIFY(tree.columnWidth(0) < text + 60);
    for (int column = 1; column < 4; ++column)
        QVERIFY2(tree.columnWidth(column) >= tree.sizeHintForColumn(column), "nothing is cut");
}

void TestMyTreeWidget::setViewMode_listAfterDetail_showsTheNamesAlone()
{
    OpenTree tree;
    tree.setViewMode(TREE_VIEW_DETAIL);
    tree.setViewMode(TREE_VIEW_LIST);
    QCOMPARE(headerTexts(tree), QStringList{"Name"});
}

void TestMyTreeWidget::setViewMode_unknownMode_isStoredAndChangesNothing()
{
    OpenTree tree;
    tree.setViewMode(TREE_VIEW_DETAIL);
    tree.setViewMode(static_cast<TreeViewMode>(7));
    QCOMPARE(static_cast<int>(tree.m_viewMode), 7);
    QCOMPARE(tree.columnCount(), 4);
}

void TestMyTreeWidget::setViewMode_thereAndBack_keepsTheRowsTexts()
{
    OpenTree tree;
    addRow(tree, QStringLiteral("a.txt"));
    tree.setViewMode(TREE_VIEW_DETAIL);
    tree.setViewMode(TREE_VIEW_LIST);
    tree.setViewMode(TREE_VIEW_DETAIL);
    QCOMPARE(tree.topLevelItem(0)->text(1), QStringLiteral("1.0 KB"));
    QCOMPARE(tree.topLevelItem(0)->text(3), QStringLiteral("2008-03-14 09:30"));
}

void TestMyTreeWidget::mousePress_anyButton_isToldAfterTheSelectionChanged_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("left") << Qt::LeftButton;
    QTest::newRow("right") << Qt::RightButton;
    QTest::newRow("middle") << Qt::MiddleButton;
    QTest::newRow("back") << Qt::BackButton;
}

void TestMyTreeWidget::mousePress_anyButton_isToldAfterTheSelectionChanged()
{
    QFETCH(Qt::MouseButton, button);
    OpenTree tree;
    QTreeWidgetItem *row = addRow(tree, QStringLiteral("a.txt"));
    tree.show();
    int told = 0;
    bool selectedThen = false;
    Qt::MouseButton buttonThen = Qt::NoButton;
    connect(&tree, &MyTreeWidget::SignalMousePressEvent, this, [&](QMouseEvent *event) {
        ++told;
        selectedThen = row->isSelected();
        buttonThen = event->button();
    });
    windows::click(&tree, row, button);
    QCOMPARE(told, 1);
    QCOMPARE(buttonThen, button);
    QVERIFY(selectedThen);
}

void TestMyTreeWidget::mimeData_ofRows_namesThemBelowTheFolder_data()
{
    QTest::addColumn<int>("pane");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<bool>("marked");
    QTest::newRow("remote root") << int(TREE_PANE_REMOTE) << "/" << QStringList{"/a", "/b"} << true;
    QTest::newRow("remote folder") << int(TREE_PANE_REMOTE) << "/docs" << QStringList{"/docs/a", "/docs/b"} << true;
    QTest::newRow("local root") << int(TREE_PANE_LOCAL) << "/" << QStringList{"/a", "/b"} << false;
    QTest::newRow("local folder") << int(TREE_PANE_LOCAL) << "/home/me" << QStringList{"/home/me/a", "/home/me/b"}
                                  << false;
    QTest::newRow("folder that ends in a slash")
        << int(TREE_PANE_LOCAL) << "/home/me/" << QStringList{"/home/me//a", "/home/me//b"} << false;
}

void TestMyTreeWidget::mimeData_ofRows_namesThemBelowTheFolder()
{
    QFETCH(int, pane);
    QFETCH(QString, folder);
    QFETCH(QStringList, paths);
    QFETCH(bool, marked);
    OpenTree tree;
    tree.m_nPaneType = pane;
    tree.m_strCurPath = folder;
    QTreeWidgetItem *a = addRow(tree, QStringLiteral("a"));
    QTreeWidgetItem *b = addRow(tree, QStringLiteral("b"));
    const std::unique_ptr<QMimeData> data(tree.mimeData({a, b}));
    QStringList found;
    for (const QUrl &url : data->urls()) {
        QVERIFY(url.scheme().isEmpty());
        found.append(plainPath(url));
    }
    QCOMPARE(found, paths);
    QCOMPARE(data->hasFormat(QStringLiteral("application/x-Velmaro")), marked);
    QCOMPARE(data->data(QStringLiteral("application/x-Velmaro")), marked ? QByteArray("1") : QByteArray());
    const std::unique_ptr<QMimeData> reversed(tree.mimeData({b, a}));
    QCOMPARE(plainPath(reversed->urls().constFirst()), paths.last());
}

void TestMyTreeWidget::mimeData_ofHostileNames_keepsThem()
{
    OpenTree tree;
    tree.m_nPaneType = TREE_PANE_REMOTE;
    tree.m_strCurPath = QStringLiteral("/");
    const QStringList names{"a%20b", "50%", "<b>", "back\\slash", "what?", "#1", "a\nb", "c:d"};
    QList<QTreeWidgetItem *> rows;
    for (const QString &name : names)
        rows.append(addRow(tree, name));
    const std::unique_ptr<QMimeData> data(tree.mimeData(rows));
    const QList<QUrl> urls = data->urls();
    QCOMPARE(urls.size(), names.size());
    for (int i = 0; i < names.size(); ++i)
        QCOMPARE(plainPath(urls.at(i)), QString(QLatin1Char('/') + names.at(i)));
}

void TestMyTreeWidget::mimeData_ofAPane_hasATypeOfItsOwn()
{
    OpenTree tree;
    const std::unique_ptr<QMimeData> data(tree.mimeData({addRow(tree, QStringLiteral("a"))}));
    QVERIFY(qobject_cast<MyMimeData *>(data.get()));
    QMimeData base;
    base.setUrls(data->urls());
    QCOMPARE(data->formats(), base.formats());
    QVERIFY(data->hasFormat(QStringLiteral("text/uri-list")));
    QVERIFY(!data->hasFormat(QStringLiteral("text/plain")));
    QCOMPARE(data->data(QStringLiteral("text/uri-list")), base.data(QStringLiteral("text/uri-list")));
}

void TestMyTreeWidget::mimeTypes_areThoseOfTheBase()
{
    QCOMPARE(OpenTree().mimeTypes(), OpenBase().mimeTypes());
}

void TestMyTreeWidget::supportedDropActions_isCopyAlone()
{
    OpenTree tree;
    QCOMPARE(tree.supportedDropActions(), Qt::DropActions(Qt::CopyAction));
    QCOMPARE(tree.model()->supportedDragActions(), Qt::DropActions(Qt::CopyAction));
}

void TestMyTreeWidget::drop_ofAPayload_isAcceptedByTheOtherPaneAlone_data()
{
    QTest::addColumn<int>("pane");
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("uploads");
    QTest::addColumn<int>("downloads");
    for (const int pane : {0, 1, 2, -1}) {
        for (const char *kind :
             {"local pane", "remote pane", "file manager", "text", "remote mark without URLs", "nothing"}) {
            const QByteArray what(kind);
            const bool upload = pane == 1 && (what == "local pane" || what == "file manager");
            const bool download = pane == 0 && what == "remote pane";
            const QByteArray name = what + " onto pane type " + QByteArray::number(pane);
            QTest::newRow(name.constData()) << pane << what << int(upload) << int(download);
        }
    }
}

void TestMyTreeWidget::drop_ofAPayload_isAcceptedByTheOtherPaneAlone()
{
    QFETCH(int, pane);
    QFETCH(QByteArray, kind);
    QFETCH(int, uploads);
    QFETCH(int, downloads);
    OpenTree tree;
    tree.setDragDropMode(QAbstractItemView::DragDrop);
    tree.m_nPaneType = pane;
    QTreeWidgetItem *row = addRow(tree, QStringLiteral("a folder"));
    tree.show();
    const QSignalSpy upload(&tree, SIGNAL(UploadRequest(QList<QUrl>)));
    const QSignalSpy download(&tree, SIGNAL(DownloadRequest(QList<QUrl>)));
    const std::unique_ptr<QMimeData> data(payload(kind));

    // Wherever it is dropped: on empty space or on a row.
    for (QTreeWidgetItem *target : {static_cast<QTreeWidgetItem *>(nullptr), row}) {
        const windows::DropAnswer answer = windows::drop(&tree, data.get(), target);
        const bool accepted = uploads + downloads > 0;
        QCOMPARE(answer.entered, accepted);
        QCOMPARE(answer.moved, accepted);
        QCOMPARE(answer.dropped, accepted);
    }
    QCOMPARE(upload.size(), 2 * uploads);
    QCOMPARE(download.size(), 2 * downloads);
    for (const QSignalSpy *spy : {&upload, &download})
        for (const QVariantList &arguments : *spy)
            QCOMPARE(arguments.constFirst().value<QList<QUrl>>(), data->urls());
}

void TestMyTreeWidget::drop_accepted_takesTheProposedActionAndLeavesTheRows()
{
    OpenTree tree;
    tree.m_nPaneType = TREE_PANE_REMOTE;
    addRow(tree, QStringLiteral("a"));
    tree.setDragDropMode(QAbstractItemView::DragDrop);
    tree.show();
    const std::unique_ptr<QMimeData> data(payload("local pane"));
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(tree.viewport(), &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(tree.viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(drop.dropAction(), Qt::CopyAction);
    QCOMPARE(windows::names(&tree), QStringList{"a"});
}

void TestMyTreeWidget::metaObject_hasThreeSignalsInOrder()
{
    const MyTreeWidget tree(nullptr);
    QCOMPARE(QByteArray(tree.metaObject()->className()), QByteArray("MyTreeWidget"));
    QCOMPARE(windows::signalSignatures(&tree),
             (QStringList{"UploadRequest(QList<QUrl>)", "DownloadRequest(QList<QUrl>)",
                          "SignalMousePressEvent(QMouseEvent*)"}));
    QCOMPARE(windows::slotSignatures(&tree), QStringList());
}

void TestMyTreeWidget::remoteItem_entry_isReadByItsAddress()
{
    auto entry = std::make_unique<FTP_FIND_DATA>();
    entry->attributes = BTSDK_FTP_FOLDER;
    const FTP_FIND_DATA *address = entry.get();
    const RemoteItem row(std::move(entry), QIcon());
    QCOMPARE(RemoteItem::entryOf(&row), address);
    QCOMPARE(row.data(0, Qt::UserRole).toULongLong(), static_cast<qulonglong>(reinterpret_cast<quintptr>(address)));
}

void TestMyTreeWidget::remoteItem_plainRow_hasNoEntry()
{
    const QTreeWidgetItem row(QStringList{"new folder"});
    QVERIFY(!RemoteItem::entryOf(&row));
    QVERIFY(!RemoteItem::entryOf(nullptr));
}

QTEST_MAIN(TestMyTreeWidget)
#include "tst_mytreewidget.moc"
