#ifndef CONTEXTMENU_H
#define CONTEXTMENU_H

#include <QList>

class QAction;
class QPoint;
class QWidget;

/**
 * Runs a menu of shared actions until one is chosen or it is dismissed. The parent may be gone afterwards.
 * @param actions  in order; null stands for a separator
 */
void runContextMenu(QWidget *parent, const QList<QAction *> &actions, const QPoint &globalPosition);

#endif
