#ifndef MANAGER_PASSKEYBROKER_H
#define MANAGER_PASSKEYBROKER_H

#include <QObject>

#include <atomic>
#include <functional>
#include <optional>

namespace manager {

/**
 * Lets a thread of the SDK's ask a question on the GUI thread and wait for the answer.
 *
 * The GUI thread may at that moment be waiting for the very call that asks: a window that is being closed waits for
 * its connect to end. So the asking thread gives up, as if the user had declined, once the GUI thread has not turned
 * its event loop for a while, and at once after close().
 */
class PasskeyBroker : public QObject
{
    Q_OBJECT

public:
    /** Runs on the GUI thread, shows its dialog, returns the passkey or nothing. */
    using Question = std::function<std::optional<QString>(unsigned int device)>;

    explicit PasskeyBroker(Question question, QObject *parent = nullptr);
    ~PasskeyBroker() override;

    /** Any thread. @return nothing when the user declined, or nobody could be asked */
    std::optional<QString> ask(unsigned int device);

    /** As the other, with a question of its own. */
    std::optional<QString> ask(const std::function<std::optional<QString>()> &question);

    /** Declines every question, those that wait included. */
    void close();

    /** How long the GUI thread may stand still, in milliseconds. */
    static constexpr int patience = 3000;

private:
    struct Pending;

    Question m_question;
    std::atomic<bool> m_closed{false};
};

} // namespace manager

#endif
