#include "recorder.h"

#include <QThread>

#include <chrono>

namespace {
constexpr std::chrono::seconds longestHold{30};
}

void Recorder::reset()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
    m_queued.clear();
    m_fixed.clear();
    m_hooks.clear();
    m_held.clear();
    m_released.notify_all();
}

QList<Call> Recorder::calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

QList<Call> Recorder::calls(const char *function) const
{
    QList<Call> found;
    const QList<Call> all = calls();
    for (const Call &call : all)
        if (call.function == function)
            found.append(call);
    return found;
}

Call Recorder::last(const char *function) const
{
    const QList<Call> found = calls(function);
    return found.isEmpty() ? Call() : found.last();
}

int Recorder::count(const char *function) const
{
    return calls(function).size();
}

QStringList Recorder::order(const QStringList &without) const
{
    QStringList names;
    const QList<Call> all = calls();
    for (const Call &call : all)
        if (const QString name = QString::fromLatin1(call.function); !without.contains(name))
            names.append(name);
    return names;
}

QStringList Recorder::orderOf(const QStringList &functions) const
{
    QStringList names;
    const QList<Call> all = calls();
    for (const Call &call : all)
        if (const QString name = QString::fromLatin1(call.function); functions.contains(name))
            names.append(name);
    return names;
}

void Recorder::clearCalls()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
}

void Recorder::queueResult(const char *function, unsigned int result)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_queued[function].append(result);
}

void Recorder::setResult(const char *function, unsigned int result)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_fixed.insert(function, result);
}

void Recorder::forgetResult(const char *function)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_fixed.remove(function);
    m_queued.remove(function);
}

void Recorder::onCall(const char *function, std::function<void(const Call &)> hook)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hooks.insert(function, std::move(hook));
}

void Recorder::hold(const char *function)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_held.insert(function, true);
}

void Recorder::release(const char *function)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_held.remove(function);
    m_released.notify_all();
}

int Recorder::held(const char *function) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_waiting.value(function);
}

std::optional<unsigned int> Recorder::enter(const char *function, const QVariantList &arguments)
{
    const QByteArray name(function);
    const Call call{name, arguments, reinterpret_cast<quintptr>(QThread::currentThreadId())};
    std::unique_lock<std::mutex> lock(m_mutex);
    m_calls.append(call);
    if (const auto hook = m_hooks.value(name)) {
        lock.unlock();
        hook(call);
        lock.lock();
    }
    if (m_held.contains(name)) {
        ++m_waiting[name];
        m_released.wait_for(lock, longestHold, [&] { return !m_held.contains(name); });
        --m_waiting[name];
    }
    if (auto queue = m_queued.find(name); queue != m_queued.end() && !queue->isEmpty())
        return queue->takeFirst();
    if (const auto fixed = m_fixed.constFind(name); fixed != m_fixed.constEnd())
        return *fixed;
    return std::nullopt;
}
