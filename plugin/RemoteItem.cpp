#include "RemoteItem.h"

#include "emptyrow.h"
#include "remoteentry.h"

RemoteItem::RemoteItem(std::unique_ptr<FTP_FIND_DATA> entry, const QIcon &icon)
    : QTreeWidgetItem(emptyRow()),
      m_entry(std::move(entry)),
      m_icon(icon),
      m_userData(static_cast<qulonglong>(reinterpret_cast<quintptr>(m_entry.get())))
{
}

void RemoteItem::setData(int column, int role, const QVariant &value)
{
    if (column == 0 && role == Qt::UserRole)
        m_userData = value;
    QTreeWidgetItem::setData(column, role, value);
}

QVariant RemoteItem::data(int column, int role) const
{
    if (column == 0 && role == Qt::UserRole)
        return m_userData;
    QVariant stored = QTreeWidgetItem::data(column, role);
    if (stored.isValid())
        return stored;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return columnText(column);
    case Qt::DecorationRole:
        return column == 0 ? QVariant(m_icon) : QVariant();
    case Qt::ToolTipRole:
        return column == 0 ? QVariant(remoteentry::toolTip(*m_entry)) : QVariant();
    default:
        return stored;
    }
}

QString RemoteItem::columnText(int column) const
{
    switch (column) {
    case 0:
        if (m_name.isNull())
            m_name = remoteentry::name(*m_entry);
        return m_name;
    case 1:
        return remoteentry::size(*m_entry);
    case 2:
        return remoteentry::type(*m_entry);
    case 3:
        return remoteentry::modified(*m_entry);
    default:
        return QString();
    }
}

const FTP_FIND_DATA *RemoteItem::entryOf(const QTreeWidgetItem *item)
{
    if (!item)
        return nullptr;
    const auto address = static_cast<quintptr>(item->data(0, Qt::UserRole).toULongLong());
    return reinterpret_cast<const FTP_FIND_DATA *>(address);
}
