#include "hand.h"

#include <QEventLoop>
#include <QMenu>
#include <QProcess>
#include <QTest>
#include <QTreeWidget>

namespace hand {

namespace {

constexpr int patience = 20000;

QStringList move(const QPoint &where)
{
    return {QStringLiteral("mousemove"), QString::number(where.x()), QString::number(where.y())};
}

QStringList rest(double seconds)
{
    return {QStringLiteral("sleep"), QString::number(seconds)};
}

} // namespace

bool send(const QStringList &words)
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    tool.start(QStringLiteral("xdotool"), words);
    return QTest::qWaitFor([&tool] { return tool.state() == QProcess::NotRunning; }, patience) && tool.exitCode() == 0;
}

QPoint centre(const QWidget *widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

QPoint rowOf(QTreeWidget *tree, QTreeWidgetItem *item)
{
    tree->scrollToItem(item);
    const QRect row = tree->visualItemRect(item);
    return tree->viewport()->mapToGlobal(QPoint(qMin(row.left() + 40, row.right()), row.center().y()));
}

QPoint entryOf(QMenu *menu, QAction *action)
{
    return menu->mapToGlobal(menu->actionGeometry(action).center());
}

bool moveTo(const QPoint &where)
{
    return send(move(where));
}

bool click(const QPoint &where, int button)
{
    return send(move(where) + rest(0.05) + QStringList{QStringLiteral("click"), QString::number(button)});
}

bool doubleClick(const QPoint &where)
{
    return send(move(where) + rest(0.05) +
                QStringList{QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("2"),
                            QStringLiteral("--delay"), QStringLiteral("60"), QStringLiteral("1")});
}

bool drag(const QPoint &from, const QPoint &to)
{
    constexpr int moves = 10;
    QStringList words = move(from) + QStringList{QStringLiteral("mousedown"), QStringLiteral("1")} + rest(0.05);
    for (int i = 1; i <= moves; ++i)
        words += move(from + (to - from) * i / moves) + rest(0.02);
    words += move(to) + rest(0.1) + QStringList{QStringLiteral("mouseup"), QStringLiteral("1")};
    return send(words);
}

bool key(const QString &name)
{
    return send({QStringLiteral("key"), name});
}

bool type(const QString &text)
{
    return send({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("15"), text});
}

bool raise(QWidget *window)
{
    window->raise();
    if (window->isActiveWindow())
        return true; // a second click on the title bar would be a double-click
    const QPoint title(window->frameGeometry().left() + 60, window->frameGeometry().top() + 8);
    return click(title) && QTest::qWaitForWindowActive(window, patience);
}

} // namespace hand
