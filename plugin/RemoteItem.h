#ifndef REMOTEITEM_H
#define REMOTEITEM_H

#include "btsdk.h"

#include <QIcon>
#include <QTreeWidget>

#include <memory>

/**
 * A row of the remote pane. It owns the copy of the entry that it shows and frees it when the row goes, whichever way
 * it goes: `delete item`, `tree->clear()`, the end of the tree. Nobody else frees the copy.
 *
 * The copy's address stands in the user role of column 0 as an unsigned integer (qulonglong). Read it with entryOf();
 * a row without an entry, such as the placeholder of a new folder, is a plain QTreeWidgetItem or has no user data.
 *
 * Texts, icon and tool tip are made when the view asks for them, which it does for the rows in sight: a listing of
 * 100,000 entries costs no more than their copies. What setData() stores goes before what the entry says.
 */
class RemoteItem : public QTreeWidgetItem
{
public:
    /**
     * @param entry  not null; allocated with plain new
     * @param icon   the window's one icon for entries of this kind
     */
    RemoteItem(std::unique_ptr<FTP_FIND_DATA> entry, const QIcon &icon);

    QVariant data(int column, int role) const override;
    void setData(int column, int role, const QVariant &value) override;

    /** The entry of any row, null for a row without one; valid while the row lives. */
    static const FTP_FIND_DATA *entryOf(const QTreeWidgetItem *item);

private:
    QString columnText(int column) const;

    const std::unique_ptr<FTP_FIND_DATA> m_entry;
    const QIcon m_icon;
    QVariant m_userData;    // of column 0; here and not in the base class, which would allocate twice for it
    mutable QString m_name; // decoded once: sorting and searching ask for it again and again
};

#endif
