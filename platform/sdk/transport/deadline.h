#ifndef TRANSPORT_DEADLINE_H
#define TRANSPORT_DEADLINE_H

#include <algorithm>
#include <chrono>
#include <climits>

namespace transport {

/** The moment by which a call must have ended; a value, on the monotonic clock. */
class Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    static Deadline after(std::chrono::milliseconds time) { return Deadline(Clock::now() + time); }
    static Deadline never() { return Deadline(Clock::time_point::max()); }
    static Deadline earlier(Deadline a, Deadline b) { return Deadline(std::min(a.m_when, b.m_when)); }

    /** The same deadline, put off. */
    Deadline laterBy(Clock::duration time) const
    {
        return m_when == Clock::time_point::max() ? *this : Deadline(m_when + time);
    }

    bool passed() const { return m_when != Clock::time_point::max() && Clock::now() >= m_when; }

    /** What is left, for poll(): milliseconds rounded up, so that a wait never ends early; -1 for never. */
    int pollTime() const
    {
        if (m_when == Clock::time_point::max())
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_when - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }

private:
    explicit Deadline(Clock::time_point when) : m_when(when) {}

    Clock::time_point m_when;
};

} // namespace transport

#endif
