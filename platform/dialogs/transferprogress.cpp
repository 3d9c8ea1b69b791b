#include "transferprogress.h"

#include <cmath>

namespace {

constexpr qint64 kSampleInterval = 500; ///< shorter ones measure the packets' rhythm rather than the rate
constexpr double kSmoothing = 3000;     ///< milliseconds after which a change of rate shows to 63 %
constexpr qint64 kStallTime = 5000;
constexpr double kSlowestRate = 1; ///< bytes a second under which a guess at the time left is worth nothing

} // namespace

void TransferProgress::report(bool first, bool last, const QString &name, quint32 size, quint32 moved, qint64 now)
{
    // A first report can get lost on its way (an empty one is dropped); another name tells as well.
    if (first || m_fileNumber == 0 || (!name.isNull() && !m_name.isNull() && name != m_name))
        startFile(now, size);
    if (!name.isNull())
        m_name = name;
    if (size != 0)
        m_size = size;
    if (moved != m_moved)
        m_lastMove = now;
    m_moved = moved;
    m_ended = last;
    sample(now);
}

void TransferProgress::startFile(qint64 now, quint32 size)
{
    const bool restart = m_fileNumber == 0 || isScaled() != (size >= ScaledSize);
    m_finished += m_moved;
    m_moved = 0;
    m_size = 0;
    m_name = QString();
    ++m_fileNumber;
    m_lastMove = now;
    if (restart) {
        m_rate = -1;
        m_sampleTime = now;
        m_sampleTotal = total();
    }
}

void TransferProgress::tick(qint64 now)
{
    if (m_fileNumber > 0)
        sample(now);
}

void TransferProgress::sample(qint64 now)
{
    const qint64 passed = now - m_sampleTime;
    if (passed < kSampleInterval)
        return;
    const quint64 moved = total() > m_sampleTotal ? total() - m_sampleTotal : 0;
    const double rate = static_cast<double>(moved) * 1000 / static_cast<double>(passed);
    if (m_rate < 0)
        m_rate = rate;
    else
        m_rate += (rate - m_rate) * (1 - std::exp(-static_cast<double>(passed) / kSmoothing));
    m_sampleTime = now;
    m_sampleTotal = total();
}

int TransferProgress::permille() const
{
    if (m_ended || (m_size > 0 && m_moved >= m_size))
        return 1000;
    return m_size == 0 ? 0 : static_cast<int>(m_moved * 1000 / m_size);
}

qint64 TransferProgress::secondsLeft() const
{
    if (m_size == 0 || m_ended || m_rate < kSlowestRate)
        return -1;
    const quint64 remaining = m_moved < m_size ? m_size - m_moved : 0;
    return static_cast<qint64>(std::ceil(static_cast<double>(remaining) / m_rate));
}

bool TransferProgress::isStalled(qint64 now) const
{
    // Past 4 GiB without a size the count stands still, whatever moves.
    return m_fileNumber > 0 && !m_ended && m_moved < ScaledSize && now - m_lastMove >= kStallTime;
}
