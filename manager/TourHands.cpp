#include "TourHands.h"

#include "Tour.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPointer>
#include <QTimer>
#include <QTreeWidget>

namespace manager::hands {

namespace {

constexpr int timeToDraw = 300; // milliseconds before a box is looked at

void mouse(QWidget *widget, QEvent::Type type, const QPoint &where)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QCoreApplication::postEvent(
        widget, new QMouseEvent(type, where, widget->mapToGlobal(where), Qt::LeftButton, held, Qt::NoModifier));
}

void key(QWidget *widget, Qt::Key code, const QString &text = {})
{
    QCoreApplication::postEvent(widget, new QKeyEvent(QEvent::KeyPress, code, Qt::NoModifier, text));
    QCoreApplication::postEvent(widget, new QKeyEvent(QEvent::KeyRelease, code, Qt::NoModifier, text));
}

} // namespace

QWidget *waitForWindow(const char *className)
{
    QWidget *found = nullptr;
    TourContext::waitUntil(
        [&] {
            const QWidgetList all = QApplication::topLevelWidgets();
            for (QWidget *widget : all) {
                if (widget->isVisible() && qstrcmp(widget->metaObject()->className(), className) == 0)
                    found = widget;
            }
            return found != nullptr;
        },
        QStringLiteral("no %1 appears").arg(QString::fromLatin1(className)));
    return found;
}

QTreeWidget *tree(QWidget *window, const char *name)
{
    auto *found = window->findChild<QTreeWidget *>(QString::fromLatin1(name));
    TourContext::require(found, QStringLiteral("there is no pane %1").arg(QString::fromLatin1(name)));
    return found;
}

QTreeWidgetItem *waitForRow(QTreeWidget *tree, const QString &name)
{
    QTreeWidgetItem *found = nullptr;
    TourContext::waitUntil(
        [&] {
            found = tree->findItems(name, Qt::MatchExactly, 0).value(0);
            return found != nullptr;
        },
        QStringLiteral("the pane does not show %1").arg(name));
    return found;
}

void select(QTreeWidget *tree, QTreeWidgetItem *row)
{
    tree->scrollToItem(row);
    const QPoint where = tree->visualItemRect(row).center();
    mouse(tree->viewport(), QEvent::MouseButtonPress, where);
    mouse(tree->viewport(), QEvent::MouseButtonRelease, where);
    tree->setFocus(Qt::MouseFocusReason); // no event of ours moves it
    TourContext::waitUntil([&] { return row->isSelected(); }, QStringLiteral("the row cannot be selected"));
}

void choose(QWidget *window, const char *action)
{
    const QPointer<QAction> found = window->findChild<QAction *>(QString::fromLatin1(action));
    TourContext::require(found, QStringLiteral("there is no entry %1").arg(QString::fromLatin1(action)));
    TourContext::require(found->isEnabled(), QStringLiteral("%1 is disabled").arg(found->text()));
    QMetaObject::invokeMethod(found.data(), "trigger", Qt::QueuedConnection);
}

void doubleClick(QTreeWidget *tree, QTreeWidgetItem *row)
{
    tree->scrollToItem(row);
    const QPoint where = tree->visualItemRect(row).center();
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonDblClick,
                                    QEvent::MouseButtonRelease})
        mouse(tree->viewport(), type, where);
}

void typeIntoCell(QTreeWidget *tree, const QString &text)
{
    QLineEdit *edit = nullptr;
    TourContext::waitUntil(
        [&] {
            edit = tree->viewport()->findChild<QLineEdit *>();
            return edit != nullptr;
        },
        QStringLiteral("no name can be typed"));
    edit->selectAll();
    for (const QChar c : text)
        key(edit, Qt::Key_unknown, c);
    key(edit, Qt::Key_Return);
}

std::shared_ptr<bool> sayYesWhenAsked(const std::function<void()> &look)
{
    const auto answered = std::make_shared<bool>(false);
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, qApp, [timer, answered, look] {
        const auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QAbstractButton *yes = box && box->isVisible() ? box->button(QMessageBox::Yes) : nullptr;
        if (!yes)
            return;
        timer->stop();
        timer->deleteLater();
        look();
        *answered = true;
        QMetaObject::invokeMethod(yes, "click", Qt::QueuedConnection);
    });
    timer->start(timeToDraw);
    return answered;
}

} // namespace manager::hands
