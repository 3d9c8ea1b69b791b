#include "MyTreeWidget.h"

#include "MyMime.h"
#include "plainurl.h"

#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMouseEvent>
#include <QStyle>

namespace {

/** Whether a pane takes a payload: the remote pane what is not its own kind, the local pane only what is remote. */
bool paneAccepts(qint32 paneType, const QMimeData &payload)
{
    const bool remote = payload.hasFormat(MyMimeData::remoteFormat());
    switch (paneType) {
    case TREE_PANE_REMOTE:
        return !remote && payload.hasUrls();
    case TREE_PANE_LOCAL:
        return remote && payload.hasUrls();
    default:
        return false;
    }
}

} // namespace

MyTreeWidget::MyTreeWidget(QWidget *parent) : QTreeWidget(parent)
{
    setRootIsDecorated(false);
    // All rows have one icon and one line of text, and a listing of 100,000 of them must not measure each.
    setUniformRowHeights(true);
    setViewMode(TREE_VIEW_LIST);
}

void MyTreeWidget::setViewMode(TreeViewMode mode)
{
    m_viewMode = mode;
    // Columns that a tree drops forget their labels, so the labels are given with every change.
    const QStringList labels{tr("Name"), tr("Size"), tr("Type"), tr("Modified")};
    if (mode == TREE_VIEW_LIST) {
        setColumnCount(1);
        setHeaderLabels(labels.mid(0, 1));
    } else if (mode == TREE_VIEW_DETAIL) {
        setColumnCount(labels.size());
        setHeaderLabels(labels);
        fitFixedColumns();
        resizeColumnToContents(0);
    }
}

/** Sizes, types and times are about as wide in every row; their columns are wide enough whatever the font. */
void MyTreeWidget::fitFixedColumns()
{
    const QString samples[] = {QString(), QStringLiteral("1024.0 MB"), QStringLiteral("Folder"),
                               QStringLiteral("2008-08-08 08:08")};
    const QFontMetrics metrics(fontMetrics());
    // What the delegate leaves free on both sides of a text, and a little air.
    const int margins =
        2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1) + metrics.averageCharWidth();
    for (int column = 1; column < columnCount(); ++column) {
        const int text =
            qMax(metrics.horizontalAdvance(samples[column]), metrics.horizontalAdvance(headerItem()->text(column)));
        setColumnWidth(column, text + margins);
    }
}

Qt::DropActions MyTreeWidget::supportedDropActions() const
{
    return Qt::CopyAction;
}

void MyTreeWidget::mousePressEvent(QMouseEvent *event)
{
    QTreeView::mousePressEvent(event);
    emit SignalMousePressEvent(event);
}

QStringList MyTreeWidget::mimeTypes() const
{
    return QTreeWidget::mimeTypes();
}

QMimeData *MyTreeWidget::mimeData(const QList<QTreeWidgetItem *> items) const
{
    const QString root = QStringLiteral("/");
    const QString folder = m_strCurPath == root ? root : m_strCurPath + root;
    QList<QUrl> urls;
    urls.reserve(items.size());
    for (const QTreeWidgetItem *item : items)
        urls.append(plainUrl(folder + item->text(0)));

    auto *payload = new MyMimeData;
    payload->setUrls(urls);
    if (m_nPaneType == TREE_PANE_REMOTE)
        payload->setData(MyMimeData::remoteFormat(), QByteArrayLiteral("1"));
    return payload;
}

bool MyTreeWidget::acceptOrIgnore(QDropEvent *event) const
{
    const bool accepted = paneAccepts(m_nPaneType, *event->mimeData());
    if (accepted)
        event->acceptProposedAction();
    else
        event->ignore();
    return accepted;
}

void MyTreeWidget::dragEnterEvent(QDragEnterEvent *event)
{
    acceptOrIgnore(event);
}

void MyTreeWidget::dragMoveEvent(QDragMoveEvent *event)
{
    acceptOrIgnore(event);
}

void MyTreeWidget::dropEvent(QDropEvent *event)
{
    if (!acceptOrIgnore(event))
        return;
    const QList<QUrl> urls = event->mimeData()->urls();
    if (m_nPaneType == TREE_PANE_REMOTE)
        emit UploadRequest(urls);
    else
        emit DownloadRequest(urls);
}
