#ifndef TEST_MODALS_H
#define TEST_MODALS_H

#include <QElapsedTimer>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QTimer>

#include <functional>

/** A menu or a modal window that came up, as it stood then. */
struct ModalSeen
{
    QString className;
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    Qt::TextFormat textFormat = Qt::AutoText;
    QStringList buttons;   ///< texts of a message box's buttons, without "&", in the order shown
    QString defaultButton; ///< empty when none was set
    QStringList entries;   ///< texts of a menu's entries without "&"; "-" for a separator
    QStringList enabledEntries;
    QPointer<QWidget> parent;
};

/**
 * Answers menus and modal windows that a test's next action brings up. Make one, queue the answers in the order in
 * which they will be asked for, then act; the action returns when the last one is answered.
 *
 *     Modals modals;
 *     modals.press(QMessageBox::No);
 *     action->trigger();
 *     QCOMPARE(modals.seen().size(), 1);
 *
 * What comes up unasked for is closed, and so is everything when an answer does not help within 10 s; both fail the
 * test when the helper goes. So does an answer that was never asked for.
 */
class Modals : public QObject
{
    Q_OBJECT

public:
    Modals();
    ~Modals() override;

    Modals &press(QMessageBox::StandardButton button);
    /** Escape, whatever stands open. */
    Modals &escape();
    /** Chooses an entry of a menu by its text, without "&", with the mouse. */
    Modals &choose(const QString &entry);
    /** Accepts a folder dialog with this folder. */
    Modals &pickFolder(const QString &path);
    Modals &accept();
    Modals &reject();
    /** Whatever the test wants to do with it; it has to end it. */
    Modals &handle(std::function<void(QWidget *)> answer);

    QList<ModalSeen> seen() const { return m_seen; }
    /** The newest one; empty when there was none. */
    ModalSeen last() const { return m_seen.isEmpty() ? ModalSeen() : m_seen.last(); }
    /** Nothing that was queued is left. */
    bool allAnswered() const { return m_answers.isEmpty(); }

private:
    void poll();
    void forgetClosed();
    void begin(QWidget *widget);
    void giveUp(const QString &why);

    QTimer m_timer;
    QElapsedTimer m_sinceAnswer;
    QQueue<std::function<void(QWidget *)>> m_answers;
    QList<QPointer<QWidget>> m_open; // from the first one opened to the newest
    QList<ModalSeen> m_seen;
    QString m_failure;
};

#endif
