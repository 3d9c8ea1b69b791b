#include "modals.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>

namespace {

constexpr int pollInterval = 10;
constexpr qint64 patience = 10000;

QString plain(QString text)
{
    return text.remove(QLatin1Char('&'));
}

void describe(const QMessageBox *box, ModalSeen &seen)
{
    seen.text = box->text();
    seen.icon = box->icon();
    seen.textFormat = box->textFormat();
    const QList<QAbstractButton *> buttons = box->buttons();
    for (const QAbstractButton *button : buttons)
        seen.buttons.append(plain(button->text()));
    if (const QPushButton *button = box->defaultButton())
        seen.defaultButton = plain(button->text());
}

void describe(const QMenu *menu, ModalSeen &seen)
{
    const QList<QAction *> actions = menu->actions();
    for (const QAction *action : actions) {
        seen.entries.append(action->isSeparator() ? QStringLiteral("-") : plain(action->text()));
        if (!action->isSeparator() && action->isEnabled())
            seen.enabledEntries.append(seen.entries.last());
    }
}

ModalSeen describe(QWidget *widget)
{
    ModalSeen seen;
    seen.className = QString::fromLatin1(widget->metaObject()->className());
    seen.title = widget->windowTitle();
    seen.parent = widget->parentWidget();
    if (const auto *box = qobject_cast<QMessageBox *>(widget))
        describe(box, seen);
    if (const auto *menu = qobject_cast<QMenu *>(widget))
        describe(menu, seen);
    return seen;
}

QWidget *openNow()
{
    QWidget *const popup = QApplication::activePopupWidget();
    return popup ? popup : QApplication::activeModalWidget();
}

} // namespace

Modals::Modals()
{
    connect(&m_timer, &QTimer::timeout, this, &Modals::poll);
    m_timer.start(pollInterval);
}

Modals::~Modals()
{
    m_timer.stop();
    if (m_failure.isEmpty() && !m_answers.isEmpty())
        m_failure = QStringLiteral("%1 answer(s) were never asked for").arg(m_answers.size());
    if (!m_failure.isEmpty() && !QTest::currentTestFailed())
        QTest::qFail(m_failure.toLocal8Bit().constData(), __FILE__, __LINE__);
}

Modals &Modals::handle(std::function<void(QWidget *)> answer)
{
    m_answers.enqueue(std::move(answer));
    return *this;
}

Modals &Modals::press(QMessageBox::StandardButton button)
{
    return handle([this, button](QWidget *widget) {
        auto *const box = qobject_cast<QMessageBox *>(widget);
        QAbstractButton *const found = box ? box->button(button) : nullptr;
        if (found)
            found->click();
        else
            giveUp(QStringLiteral("no such button in a %1").arg(QLatin1String(widget->metaObject()->className())));
    });
}

Modals &Modals::escape()
{
    return handle([](QWidget *widget) { QTest::keyClick(widget, Qt::Key_Escape); });
}

Modals &Modals::choose(const QString &entry)
{
    return handle([this, entry](QWidget *widget) {
        auto *const menu = qobject_cast<QMenu *>(widget);
        if (!menu)
            return giveUp(QStringLiteral("no menu, but a %1").arg(QLatin1String(widget->metaObject()->className())));
        const QList<QAction *> actions = menu->actions();
        for (QAction *action : actions)
            if (plain(action->text()) == entry)
                return QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(action).center());
        giveUp(QStringLiteral("the menu has no entry \"%1\"").arg(entry));
    });
}

Modals &Modals::pickFolder(const QString &path)
{
    return handle([this, path](QWidget *widget) {
        auto *const dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog)
            return giveUp(QStringLiteral("no file dialog"));
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(dialog, "accept");
    });
}

Modals &Modals::accept()
{
    return handle([](QWidget *widget) { QMetaObject::invokeMethod(widget, "accept"); });
}

Modals &Modals::reject()
{
    return handle([](QWidget *widget) { QMetaObject::invokeMethod(widget, "reject"); });
}

void Modals::forgetClosed()
{
    while (!m_open.isEmpty() && (!m_open.last() || !m_open.last()->isVisible())) {
        m_open.removeLast();
        // What stood behind it has the floor again.
        m_sinceAnswer.start();
    }
}

void Modals::poll()
{
    forgetClosed();
    QWidget *const widget = openNow();
    if (widget && !m_open.contains(widget))
        begin(widget);
    else if (widget && m_sinceAnswer.elapsed() > patience)
        giveUp(QStringLiteral("a %1 stays open").arg(QLatin1String(widget->metaObject()->className())));
}

void Modals::begin(QWidget *widget)
{
    m_open.append(widget);
    m_sinceAnswer.start();
    m_seen.append(describe(widget));
    if (m_answers.isEmpty())
        return giveUp(QStringLiteral("an unexpected %1: %2 %3")
                          .arg(m_seen.last().className, m_seen.last().title, m_seen.last().text));
    // From a timer of its own: the answer may open the next box, and this slot has to be free to see it.
    QTimer::singleShot(0, this, [answer = m_answers.dequeue(), pointer = QPointer<QWidget>(widget)] {
        if (pointer)
            answer(pointer);
    });
}

void Modals::giveUp(const QString &why)
{
    if (m_failure.isEmpty())
        m_failure = why;
    m_sinceAnswer.start();
    QTimer::singleShot(0, this, [] {
        for (int i = 0; i < 10; ++i) {
            QWidget *const widget = openNow();
            if (!widget)
                break;
            if (!QMetaObject::invokeMethod(widget, "reject"))
                widget->close();
        }
    });
}
