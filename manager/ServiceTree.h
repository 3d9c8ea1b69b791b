#ifndef MANAGER_SERVICETREE_H
#define MANAGER_SERVICETREE_H

#include "Catalogue.h"

#include <QTreeWidget>

#include <functional>

namespace manager {

/** What a row stands for. */
struct RowTarget
{
    enum Kind { None, Device, Shortcut, Server };
    Kind kind = None;
    unsigned int handle = 0;
    unsigned short serviceClass = 0;
};

/** Devices with their services, and the local services, as a tree of two groups. */
class ServiceTree : public QTreeWidget
{
    Q_OBJECT

public:
    explicit ServiceTree(QWidget *parent = nullptr);

    /** Shows what is known now; rows that stay keep their selection and whether they are open. */
    void showCatalogue(const Catalogue &catalogue);

    /** Where tool tips come from, asked when one is about to be shown. */
    void setTipSource(std::function<QString(const RowTarget &)> source) { m_tipSource = std::move(source); }

    RowTarget currentTarget() const;
    static RowTarget target(const QTreeWidgetItem *item);

signals:
    /** Double-click or Enter on a row. */
    void defaultRequested(const manager::RowTarget &target);
    /** @param where  on the screen */
    void menuRequested(const manager::RowTarget &target, const QPoint &where);

protected:
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    QTreeWidgetItem *addGroup(const QString &title, const QIcon &icon);
    QTreeWidgetItem *row(QTreeWidgetItem *parent, int index, const RowTarget &target);
    void trim(QTreeWidgetItem *parent, int count);
    void showDevice(int index, const BtSdkDeviceInfo &device, const Catalogue &catalogue);
    void showServer(int index, const BtSdkServerInfo &server);
    void showEmpty(QTreeWidgetItem *group, const QString &sentence);
    void makeRoomForNames(std::size_t rows);

    QTreeWidgetItem *m_devices;
    QTreeWidgetItem *m_servers;
    std::size_t m_rows = 0; ///< devices and servers
    std::function<QString(const RowTarget &)> m_tipSource;
};

} // namespace manager

#endif
