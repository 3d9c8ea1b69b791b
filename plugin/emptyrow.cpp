#include "emptyrow.h"

#include <QTreeWidgetItem>

const QTreeWidgetItem &emptyRow()
{
    static const QTreeWidgetItem row = [] {
        QTreeWidgetItem item;
        item.setTextAlignment(1, Qt::AlignRight);
        item.setData(3, Qt::UserRole, QVariant());
        return item;
    }();
    return row;
}
