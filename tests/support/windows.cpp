#include "windows.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMetaMethod>
#include <QMimeData>
#include <QStatusBar>
#include <QTest>

namespace windows {

namespace {

QTreeWidget *tree(const QWidget *window, int index)
{
    QList<QTreeWidget *> trees;
    for (QTreeWidget *candidate : window->findChildren<QTreeWidget *>())
        if (candidate->metaObject()->className() == QByteArray("MyTreeWidget"))
            trees.append(candidate);
    // From left to right: the local pane stands left of the remote one.
    std::sort(trees.begin(), trees.end(), [window](const QWidget *left, const QWidget *right) {
        return left->mapTo(window, QPoint()).x() < right->mapTo(window, QPoint()).x();
    });
    return trees.value(index);
}

QComboBox *comboAbove(const QTreeWidget *below)
{
    return below ? below->parentWidget()->findChild<QComboBox *>() : nullptr;
}

QStringList signatures(const QObject *object, QMetaMethod::MethodType type)
{
    QStringList found;
    const QMetaObject *const meta = object->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        if (meta->method(i).methodType() == type)
            found.append(QString::fromLatin1(meta->method(i).methodSignature()));
    return found;
}

QPoint pointOf(QTreeWidget *tree, QTreeWidgetItem *row)
{
    if (!row)
        return {tree->viewport()->width() - 4, tree->viewport()->height() - 4};
    tree->scrollToItem(row);
    const QRect area = tree->visualItemRect(row);
    return {area.left() + 30, area.center().y()};
}

} // namespace

QList<QWidget *> all(const char *className)
{
    QList<QWidget *> found;
    const QWidgetList candidates = QApplication::topLevelWidgets();
    for (QWidget *widget : candidates)
        if (widget->metaObject()->className() == QByteArray(className))
            found.append(widget);
    return found;
}

QWidget *first(const char *className)
{
    return all(className).value(0);
}

QTreeWidget *localTree(const QWidget *window)
{
    return tree(window, 0);
}

QTreeWidget *remoteTree(const QWidget *window)
{
    return tree(window, 1);
}

QComboBox *localCombo(const QWidget *window)
{
    return comboAbove(localTree(window));
}

QComboBox *remoteCombo(const QWidget *window)
{
    return comboAbove(remoteTree(window));
}

QString statusText(const QWidget *window)
{
    return qobject_cast<const QMainWindow *>(window)->statusBar()->currentMessage();
}

QAction *action(const QWidget *window, const char *nameOrText)
{
    const QString wanted = QString::fromUtf8(nameOrText);
    if (QAction *const named = window->findChild<QAction *>(wanted))
        return named;
    for (QAction *candidate : window->findChildren<QAction *>())
        if (candidate->text() == wanted)
            return candidate;
    return nullptr;
}

QStringList names(const QTreeWidget *tree)
{
    QStringList texts;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        texts.append(tree->topLevelItem(i)->text(0));
    return texts;
}

QTreeWidgetItem *item(const QTreeWidget *tree, const QString &name)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        if (tree->topLevelItem(i)->text(0) == name)
            return tree->topLevelItem(i);
    return nullptr;
}

bool select(QTreeWidget *tree, const QStringList &names)
{
    tree->clearSelection();
    for (const QString &name : names) {
        QTreeWidgetItem *const row = item(tree, name);
        if (!row)
            return false;
        row->setSelected(true);
    }
    return true;
}

bool activate(QWidget *window)
{
    window->show();
    window->raise();
    window->activateWindow();
    (void)QTest::qWaitForWindowExposed(window, 2000);
    // The offscreen platform does not always make a window active again, and says that it did.
    if (!QTest::qWaitFor([window] { return window->isActiveWindow(); }, 200))
        QApplication::setActiveWindow(window);
    return QTest::qWaitFor([window] { return window->isActiveWindow(); }, 2000);
}

bool giveFocus(QWidget *widget)
{
    if (!activate(widget->window()))
        return false;
    widget->setFocus(Qt::OtherFocusReason);
    return QTest::qWaitFor([widget] { return widget->hasFocus(); }, 2000);
}

void click(QTreeWidget *tree, QTreeWidgetItem *row, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(tree->viewport(), button, modifiers, pointOf(tree, row));
}

void doubleClick(QTreeWidget *tree, QTreeWidgetItem *row)
{
    const QPoint point = pointOf(tree, row);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, point);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, point);
}

namespace {

template <typename Event>
bool send(QTreeWidget *tree, Event &event)
{
    QApplication::sendEvent(tree->viewport(), &event);
    return event.isAccepted();
}

} // namespace

DropAnswer drop(QTreeWidget *tree, QMimeData *payload, QTreeWidgetItem *row)
{
    constexpr Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
    const QPoint point = pointOf(tree, row);
    DropAnswer answer;
    QDragEnterEvent enter(point, actions, payload, Qt::LeftButton, Qt::NoModifier);
    answer.entered = send(tree, enter);
    QDragMoveEvent move(point, actions, payload, Qt::LeftButton, Qt::NoModifier);
    answer.moved = send(tree, move);
    if (answer.moved) {
        QDropEvent drop(point, actions, payload, Qt::LeftButton, Qt::NoModifier);
        answer.dropped = send(tree, drop);
    } else {
        QDragLeaveEvent leave;
        QApplication::sendEvent(tree->viewport(), &leave);
    }
    return answer;
}

QStringList slotSignatures(const QObject *object)
{
    return signatures(object, QMetaMethod::Slot);
}

QStringList signalSignatures(const QObject *object)
{
    return signatures(object, QMetaMethod::Signal);
}

int slotIndex(const QObject *object, const QString &signature)
{
    const QMetaObject *const meta = object->metaObject();
    const int index = meta->indexOfSlot(QMetaObject::normalizedSignature(signature.toLatin1().constData()).constData());
    if (index < meta->methodOffset())
        return -1;
    int place = 0;
    for (int i = meta->methodOffset(); i < index; ++i)
        place += meta->method(i).methodType() == QMetaMethod::Slot;
    return place;
}

QStringList parameterNames(const QObject *object, const char *signature)
{
    const int index = object->metaObject()->indexOfMethod(signature);
    QStringList texts;
    if (index >= 0)
        for (const QByteArray &name : object->metaObject()->method(index).parameterNames())
            texts.append(QString::fromLatin1(name));
    return texts;
}

} // namespace windows
