#include "PasskeyBroker.h"

#include <QElapsedTimer>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace manager {

namespace {

constexpr auto beat = std::chrono::milliseconds(100);

} // namespace

/** Shared by the two threads: either may leave first. */
struct PasskeyBroker::Pending
{
    std::mutex mutex;
    std::condition_variable changed;
    bool answered = false;
    std::optional<QString> answer;
    std::atomic<bool> abandoned{false};
    std::atomic<bool> alive{false}; // set by the GUI thread each time it turns its event loop
};

PasskeyBroker::PasskeyBroker(Question question, QObject *parent) : QObject(parent), m_question(std::move(question)) {}

PasskeyBroker::~PasskeyBroker()
{
    close();
}

void PasskeyBroker::close()
{
    m_closed = true;
}

std::optional<QString> PasskeyBroker::ask(unsigned int device)
{
    return ask([this, device] { return m_question(device); });
}

std::optional<QString> PasskeyBroker::ask(const std::function<std::optional<QString>()> &question)
{
    if (m_closed)
        return std::nullopt;
    if (QThread::currentThread() == thread())
        return question();

    const auto pending = std::make_shared<Pending>();
    QMetaObject::invokeMethod(
        this,
        [this, pending, question] {
            if (m_closed || pending->abandoned)
                return;
            std::optional<QString> answer = question();
            const std::lock_guard<std::mutex> lock(pending->mutex);
            pending->answer = std::move(answer);
            pending->answered = true;
            pending->changed.notify_all();
        },
        Qt::QueuedConnection);

    QElapsedTimer stillness;
    stillness.start();
    std::unique_lock<std::mutex> lock(pending->mutex);
    while (!pending->answered && !m_closed && stillness.elapsed() < patience) {
        QMetaObject::invokeMethod(
            this, [pending] { pending->alive = true; }, Qt::QueuedConnection);
        pending->changed.wait_for(lock, beat, [&] { return pending->answered; });
        if (pending->alive.exchange(false))
            stillness.restart();
    }
    pending->abandoned = true;
    return pending->answer;
}

} // namespace manager
