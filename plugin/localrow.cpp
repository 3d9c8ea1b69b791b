#include "localrow.h"

#include "emptyrow.h"
#include "rowtexts.h"

#include <QDateTime>
#include <QIcon>

namespace localrow {

namespace {

constexpr int folderMark = 1; // value of the user role in column 0

/**
 * Asks the disk for size and time, and makes texts and tool tip, when the view asks for them, which it does for the
 * rows in sight; a folder of 100,000 entries costs little more than reading their names. What setData() stores goes
 * before what the entry says.
 */
class Row : public QTreeWidgetItem
{
public:
    Row(const QFileInfo &entry, const QIcon &folderIcon, const QIcon &fileIcon)
        : QTreeWidgetItem(emptyRow()),
          m_entry(entry),
          m_kind(entry.isDir() ? Folder : (entry.isFile() ? File : Other)),
          m_icon(m_kind == Folder ? folderIcon : (m_kind == File ? fileIcon : QIcon()))
    {
    }

    QVariant data(int column, int role) const override;
    void setData(int column, int role, const QVariant &value) override;

private:
    enum Kind { Folder, File, Other };

    QString text(int column) const;
    QString toolTip() const { return rowtexts::toolTip(text(0), text(1), text(2), text(3)); }
    // The low 32 bits, as the size text takes them.
    QString size() const { return rowtexts::size(static_cast<quint32>(m_entry.size())); }

    const QFileInfo m_entry;
    const Kind m_kind;
    const QIcon m_icon;
};

QVariant Row::data(int column, int role) const
{
    QVariant stored = QTreeWidgetItem::data(column, role);
    if (stored.isValid())
        return stored;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return text(column);
    case Qt::DecorationRole:
        return column == 0 && m_kind != Other ? QVariant(m_icon) : QVariant();
    case Qt::ToolTipRole:
        return column == 0 ? QVariant(toolTip()) : QVariant();
    case Qt::UserRole:
        return column == 0 && m_kind == Folder ? QVariant(folderMark) : QVariant();
    default:
        return stored;
    }
}

void Row::setData(int column, int role, const QVariant &value)
{
    // A new name for the row is followed by one on the disk, under which the entry would not be found any more.
    (void)m_entry.lastModified();
    QTreeWidgetItem::setData(column, role, value);
}

QString Row::text(int column) const
{
    switch (column) {
    case 0:
        return m_entry.fileName();
    case 1:
        return m_kind == File ? size() : QString();
    case 2:
        return m_kind == Folder ? rowtexts::folderType() : (m_kind == File ? m_entry.suffix() : QString());
    case 3:
        return m_entry.lastModified().toString(QStringLiteral("yyyy-MM-dd hh:mm"));
    default:
        return QString();
    }
}

} // namespace

QTreeWidgetItem *create(const QFileInfo &entry, const QIcon &folderIcon, const QIcon &fileIcon)
{
    return new Row(entry, folderIcon, fileIcon);
}

bool isFolder(const QTreeWidgetItem &row)
{
    return row.data(0, Qt::UserRole).toInt() == folderMark;
}

QString withSlash(const QString &folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

} // namespace localrow
