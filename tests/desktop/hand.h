#ifndef DESKTOP_HAND_H
#define DESKTOP_HAND_H

#include <QPoint>
#include <QStringList>

class QAction;
class QMenu;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

/**
 * A mouse and a keyboard, through the X server. Every function sends its input and returns when it has been sent; what
 * comes of it shows later. Input that opens a modal box must bring the box's answer with it, since a box turns an event
 * loop of its own above the test's.
 */
namespace hand {

/** Runs xdotool with these words. @return false when it failed */
bool send(const QStringList &words);

/** Where things are on the screen. */
QPoint centre(const QWidget *widget);
QPoint rowOf(QTreeWidget *tree, QTreeWidgetItem *item);
QPoint entryOf(QMenu *menu, QAction *action);

bool moveTo(const QPoint &where);
bool click(const QPoint &where, int button = 1);
bool doubleClick(const QPoint &where);
bool drag(const QPoint &from, const QPoint &to);
bool key(const QString &name);
bool type(const QString &text);

/** Brings a window to the front, as a click on its title bar would, and waits until it has the focus. */
bool raise(QWidget *window);

} // namespace hand

#endif
