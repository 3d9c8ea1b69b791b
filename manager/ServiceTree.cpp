#include "ServiceTree.h"

#include "CVmSkin.h"
#include "PlainText.h"
#include "vmcommon.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QIcon>
#include <QToolTip>

namespace manager {

namespace {

enum Role { KindRole = Qt::UserRole, HandleRole, ClassRole };

QIcon deviceIcon(const BtSdkDeviceInfo &device)
{
    return QIcon::fromTheme(device.kind == BTSDK_DEVICE_BLUETOOTH ? QStringLiteral("network-bluetooth")
                                                                  : QStringLiteral("network-server"),
                            QIcon::fromTheme(QStringLiteral("computer")));
}

QIcon serviceIcon(unsigned short serviceClass)
{
    return QIcon(CVmSkin::GetImgPath(2, serviceClass, 0));
}

QString serviceName(unsigned short serviceClass)
{
    QString name;
    return VmCm_GetSvcDisplayName(serviceClass, &name) == 0 ? name : ServiceTree::tr("Unknown service");
}

} // namespace

ServiceTree::ServiceTree(QWidget *parent) : QTreeWidget(parent)
{
    setObjectName(QStringLiteral("services"));
    setAccessibleName(tr("Devices and local services"));
    setColumnCount(2);
    setHeaderLabels({tr("Name"), tr("State")});
    header()->setStretchLastSection(true);
    header()->setSectionsMovable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setIconSize(QSize(22, 22));
    m_devices = addGroup(tr("Devices"), QIcon::fromTheme(QStringLiteral("network-workgroup")));
    m_servers = addGroup(tr("Local services"), QIcon::fromTheme(QStringLiteral("computer")));
    connect(this, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem *item) {
        if (target(item).kind != RowTarget::None)
            emit defaultRequested(target(item));
    });
}

QTreeWidgetItem *ServiceTree::addGroup(const QString &title, const QIcon &icon)
{
    auto *group = new QTreeWidgetItem(this, {title});
    group->setIcon(0, icon);
    QFont bold = font();
    bold.setBold(true);
    group->setFont(0, bold);
    group->setFirstColumnSpanned(true);
    group->setExpanded(true);
    return group;
}

RowTarget ServiceTree::target(const QTreeWidgetItem *item)
{
    if (!item)
        return {};
    return {static_cast<RowTarget::Kind>(item->data(0, KindRole).toInt()), item->data(0, HandleRole).toUInt(),
            static_cast<unsigned short>(item->data(0, ClassRole).toUInt())};
}

RowTarget ServiceTree::currentTarget() const
{
    return target(currentItem());
}

/** The row of a target under a parent, made or moved to where it belongs. */
QTreeWidgetItem *ServiceTree::row(QTreeWidgetItem *parent, int index, const RowTarget &wanted)
{
    for (int i = index; i < parent->childCount(); ++i) {
        const RowTarget present = target(parent->child(i));
        if (present.kind == wanted.kind && present.handle == wanted.handle) {
            // Rows before it are gone, or stand elsewhere now and are made anew.
            while (i-- > index)
                delete parent->child(index);
            return parent->child(index);
        }
    }
    auto *item = new QTreeWidgetItem;
    item->setData(0, KindRole, wanted.kind);
    item->setData(0, HandleRole, wanted.handle);
    item->setData(0, ClassRole, wanted.serviceClass);
    parent->insertChild(index, item);
    return item;
}

void ServiceTree::trim(QTreeWidgetItem *parent, int count)
{
    while (parent->childCount() > count)
        delete parent->child(parent->childCount() - 1);
}

void ServiceTree::showCatalogue(const Catalogue &catalogue)
{
    const bool nothingChosen = currentTarget().kind == RowTarget::None;
    int index = 0;
    for (const BtSdkDeviceInfo &device : catalogue.devices)
        showDevice(index++, device, catalogue);
    trim(m_devices, index);
    if (index == 0)
        showEmpty(m_devices, tr("No device is known. Choose File > Add Network Device."));

    index = 0;
    for (const BtSdkServerInfo &server : catalogue.servers)
        showServer(index++, server);
    trim(m_servers, index);
    if (index == 0)
        showEmpty(m_servers, tr("No service is offered."));

    if (nothingChosen && !catalogue.devices.empty()) {
        QTreeWidgetItem *device = m_devices->child(0);
        setCurrentItem(device->childCount() > 0 ? device->child(0) : device);
    }
    makeRoomForNames(catalogue.devices.size() + catalogue.servers.size());
}

/** Only when rows have come: at other times the width is the user's. */
void ServiceTree::makeRoomForNames(std::size_t rows)
{
    if (rows > m_rows)
        setColumnWidth(0, qMax(columnWidth(0), sizeHintForColumn(0) + fontMetrics().averageCharWidth() * 3));
    m_rows = rows;
}

void ServiceTree::showDevice(int index, const BtSdkDeviceInfo &device, const Catalogue &catalogue)
{
    const auto shortcuts = catalogue.shortcutsOf(device.device);
    const unsigned short serviceClass = shortcuts.empty() ? static_cast<unsigned short>(0) : shortcuts[0]->serviceClass;
    QTreeWidgetItem *item = row(m_devices, index, {RowTarget::Device, device.device, serviceClass});
    const bool isNew = item->text(0).isEmpty();
    item->setText(0, shownName(QString::fromUtf8(device.name)));
    item->setText(1, stateText(device));
    item->setIcon(0, deviceIcon(device));
    int child = 0;
    for (const BtSdkShortcutInfo *shortcut : shortcuts) {
        QTreeWidgetItem *service =
            row(item, child++, {RowTarget::Shortcut, shortcut->shortcut, shortcut->serviceClass});
        service->setText(0, serviceName(shortcut->serviceClass));
        service->setText(1, stateText(*shortcut));
        service->setIcon(0, serviceIcon(shortcut->serviceClass));
    }
    trim(item, child);
    if (isNew)
        item->setExpanded(true);
}

void ServiceTree::showServer(int index, const BtSdkServerInfo &server)
{
    QTreeWidgetItem *item = row(m_servers, index, {RowTarget::Server, server.server, server.serviceClass});
    item->setText(0, serviceName(server.serviceClass));
    item->setText(1, stateText(server));
    item->setIcon(0, serviceIcon(server.serviceClass));
}

void ServiceTree::showEmpty(QTreeWidgetItem *group, const QString &sentence)
{
    QTreeWidgetItem *item = row(group, 0, {});
    item->setText(0, sentence);
    item->setFlags(Qt::ItemIsEnabled);
    item->setForeground(0, palette().brush(QPalette::Disabled, QPalette::Text));
    item->setFirstColumnSpanned(true);
}

bool ServiceTree::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QTreeWidget::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const RowTarget under = target(itemAt(help->pos()));
    const QString tip = under.kind != RowTarget::None && m_tipSource ? m_tipSource(under) : QString();
    QToolTip::showText(help->globalPos(), shownTip(tip), viewport());
    return true;
}

void ServiceTree::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && event->modifiers() == Qt::NoModifier && currentTarget().kind != RowTarget::None)
        emit defaultRequested(currentTarget());
    else
        QTreeWidget::keyPressEvent(event);
}

void ServiceTree::contextMenuEvent(QContextMenuEvent *event)
{
    QTreeWidgetItem *item = currentItem();
    QPoint where = event->globalPos();
    if (event->reason() == QContextMenuEvent::Mouse)
        item = itemAt(viewport()->mapFromGlobal(event->globalPos()));
    else if (item)
        where = viewport()->mapToGlobal(visualItemRect(item).bottomLeft());
    if (target(item).kind != RowTarget::None)
        emit menuRequested(target(item), where);
}

} // namespace manager
