#ifndef MYTREEWIDGET_H
#define MYTREEWIDGET_H

#include <QList>
#include <QString>
#include <QTreeWidget>
#include <QUrl>

enum TreeViewMode : int { TREE_VIEW_LIST = 0, TREE_VIEW_DETAIL = 1 };

/** Which pane a tree is; every other value refuses all drops. */
enum TreePaneType : int { TREE_PANE_LOCAL = 0, TREE_PANE_REMOTE = 1 };

/**
 * The list of one pane: a flat tree of names that turns drags between the panes into transfer requests.
 *
 * Fill all four columns of a row before it is inserted: in list mode the tree has one column, and setting another one
 * on a row that is in the tree already would bring that column back.
 */
class MyTreeWidget : public QTreeWidget
{
    Q_OBJECT

public:
    explicit MyTreeWidget(QWidget *parent);

    /** List mode shows the names alone, detail mode all columns; any other value is stored and changes nothing. */
    void setViewMode(TreeViewMode mode);

    /** The folder that the pane lists, set by the pane's listing; the URLs of drags are built from it. */
    QString m_strCurPath;
    /** A TreePaneType, set by the window before the tree can receive a drag. */
    qint32 m_nPaneType = -1;
    TreeViewMode m_viewMode = TREE_VIEW_LIST;

signals:
    /** URLs were dropped onto the remote pane: plain paths of the local pane, or another application's. */
    void UploadRequest(const QList<QUrl> &urls);
    /** Entries of a remote pane were dropped onto the local pane. */
    void DownloadRequest(const QList<QUrl> &urls);
    /** A button was pressed, after the view has handled it. */
    void SignalMousePressEvent(QMouseEvent *event);

protected:
    Qt::DropActions supportedDropActions() const override;
    void mousePressEvent(QMouseEvent *event) override;
    QStringList mimeTypes() const override;
    void dropEvent(QDropEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    QMimeData *mimeData(const QList<QTreeWidgetItem *> items) const override;

private:
    void fitFixedColumns();
    bool acceptOrIgnore(QDropEvent *event) const;
};

#endif
