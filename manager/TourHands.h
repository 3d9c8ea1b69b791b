#ifndef MANAGER_TOURHANDS_H
#define MANAGER_TOURHANDS_H

#include <QString>

#include <functional>
#include <memory>

class QAction;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

namespace manager {

/** What a user's hands do, on widgets that are found by their object names. Each throws TourError when the widget is
 *  not there, or not ready for it. */
namespace hands {

/** The window of this class, once it is shown. */
QWidget *waitForWindow(const char *className);

QTreeWidget *tree(QWidget *window, const char *name);
/** The row of this name, once it is there. */
QTreeWidgetItem *waitForRow(QTreeWidget *tree, const QString &name);

/** Gives the pane the focus and selects one row. */
void select(QTreeWidget *tree, QTreeWidgetItem *row);
/** As a click on a menu or tool bar entry: it must be enabled. Queued, since an entry may open a modal box. */
void choose(QWidget *window, const char *action);
void doubleClick(QTreeWidget *tree, QTreeWidgetItem *row);
/** Types into the cell that is being edited, and confirms. */
void typeIntoCell(QTreeWidget *tree, const QString &text);
/**
 * Presses Yes in the next box that asks. To be called before what makes it ask: the box runs an event loop of its own,
 * above that of the tour, which goes on only when the box has closed.
 * @param look  called when the box is there
 * @return becomes true when it has been answered
 */
std::shared_ptr<bool> sayYesWhenAsked(const std::function<void()> &look);

} // namespace hands

} // namespace manager

#endif
