#ifndef RECORDER_H
#define RECORDER_H

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QVariant>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

/** One call into one of the three libraries. */
struct Call
{
    QByteArray function;
    /** Numbers as uint, texts as QByteArray (an invalid value for null), QStrings as QString, widgets as quintptr. */
    QVariantList arguments;
    quintptr thread = 0;

    QVariant argument(int index) const { return arguments.value(index); }
    uint number(int index) const { return arguments.value(index).toUInt(); }
    QByteArray text(int index) const { return arguments.value(index).toByteArray(); }
};

/**
 * Every call into the three libraries in the order in which it was made, and what a test wants each function to answer.
 * All members may be called from any thread.
 */
class Q_DECL_EXPORT Recorder
{
public:
    /** Forgets calls, results, hooks; lets everything go that is held. */
    void reset();

    QList<Call> calls() const;
    QList<Call> calls(const char *function) const;
    /** The newest call of a function; an empty one when there was none. */
    Call last(const char *function) const;
    int count(const char *function) const;
    /** Names of the calls so far, in order; those given are left out. */
    QStringList order(const QStringList &without = {}) const;
    /** Names of the calls of these functions alone, in order. */
    QStringList orderOf(const QStringList &functions) const;
    void clearCalls();

    /** The next call that has no older queued result returns this; without success nothing else happens in it. */
    void queueResult(const char *function, unsigned int result);
    /** Every call returns this once the queue is empty, until forgetResult. */
    void setResult(const char *function, unsigned int result);
    void forgetResult(const char *function);

    /** Runs on the calling thread after the call was recorded and before it is answered. */
    void onCall(const char *function, std::function<void(const Call &)> hook);

    /** Calls of the function wait until release (30 s at the most). */
    void hold(const char *function);
    void release(const char *function);
    /** How many calls of the function are waiting. */
    int held(const char *function) const;

    /** For the doubles: records, runs the hook, waits while held. @return the scripted result, if there is one */
    std::optional<unsigned int> enter(const char *function, const QVariantList &arguments);
    /** As enter, for what returns nothing that could be scripted. */
    void note(const char *function, const QVariantList &arguments) { (void)enter(function, arguments); }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    QList<Call> m_calls;
    QHash<QByteArray, QList<unsigned int>> m_queued;
    QHash<QByteArray, unsigned int> m_fixed;
    QHash<QByteArray, std::function<void(const Call &)>> m_hooks;
    QHash<QByteArray, bool> m_held;
    QHash<QByteArray, int> m_waiting;
};

#endif
