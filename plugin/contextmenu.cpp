#include "contextmenu.h"

#include <QMenu>
#include <QPointer>

void runContextMenu(QWidget *parent, const QList<QAction *> &actions, const QPoint &globalPosition)
{
    const QPointer<QMenu> menu(new QMenu(parent));
    for (QAction *action : actions) {
        if (action)
            menu->addAction(action);
        else
            menu->addSeparator();
    }
    menu->exec(globalPosition);
    delete menu.data();
}
