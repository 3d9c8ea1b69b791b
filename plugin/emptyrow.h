#ifndef EMPTYROW_H
#define EMPTYROW_H

class QTreeWidgetItem;

/** What the rows of both panes are copied from: that they have four columns, and the alignment of sizes. A copy of it
 *  allocates nothing. */
const QTreeWidgetItem &emptyRow();

#endif
