#ifndef TEST_WINDOWS_H
#define TEST_WINDOWS_H

#include <QAction>
#include <QComboBox>
#include <QList>
#include <QMainWindow>
#include <QString>
#include <QTreeWidget>
#include <QUrl>
#include <QWidget>

/** Finds and drives the plug-in's windows from outside. */
namespace windows {

/** The top-level widgets of a class, by name. */
QList<QWidget *> all(const char *className);
/** The only (or the first) one; null when there is none. */
QWidget *first(const char *className);

/** The panes of a client window, left and right. */
QTreeWidget *localTree(const QWidget *window);
QTreeWidget *remoteTree(const QWidget *window);
QComboBox *localCombo(const QWidget *window);
QComboBox *remoteCombo(const QWidget *window);
QString statusText(const QWidget *window);
/** An action by object name ("actionUpload"), or by text for the window's own ("Rename"). */
QAction *action(const QWidget *window, const char *nameOrText);

/** Column 0 of the top-level rows, from top to bottom. */
QStringList names(const QTreeWidget *tree);
QTreeWidgetItem *item(const QTreeWidget *tree, const QString &name);
/** Makes exactly these rows selected, in this order. @return false when one is missing */
bool select(QTreeWidget *tree, const QStringList &names);

/** Shows the window and makes it the active one, whatever the platform says of itself. */
bool activate(QWidget *window);
/** As activate, with the focus on the widget. */
bool giveFocus(QWidget *widget);

/** Mouse in a tree's viewport, at the row; the row is scrolled to first. A null row: empty space. */
void click(QTreeWidget *tree, QTreeWidgetItem *row, Qt::MouseButton button = Qt::LeftButton,
           Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void doubleClick(QTreeWidget *tree, QTreeWidgetItem *row);

/** What a tree answered to a drag that ends in it. */
struct DropAnswer
{
    bool entered = false;
    bool moved = false;
    bool dropped = false;
};

/** Hand-made drag events for a payload, over the row (null: empty space). The drop is sent only when the move was
 *  accepted. */
DropAnswer drop(QTreeWidget *tree, QMimeData *payload, QTreeWidgetItem *row = nullptr);

/** Calls a slot or a signal by name, whatever its access. @return false when there is none */
template <typename... Arguments>
bool call(QObject *object, const char *member, Arguments... arguments)
{
    return QMetaObject::invokeMethod(object, member, Qt::DirectConnection, arguments...);
}

/** Signatures of the own slots or signals of an object's class, in the order of its meta-object; Qt's own number types
 *  appear under their plain names there ("uint" for quint32). */
QStringList slotSignatures(const QObject *object);
QStringList signalSignatures(const QObject *object);
/** Place of a slot among the own slots of an object's class, from 0; Qt's number types may be given under either name.
 *  -1 when there is none. */
int slotIndex(const QObject *object, const QString &signature);
/** Parameter names of a method, by signature. */
QStringList parameterNames(const QObject *object, const char *signature);

} // namespace windows

#endif
