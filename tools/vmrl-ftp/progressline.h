#ifndef VMRLFTP_PROGRESSLINE_H
#define VMRLFTP_PROGRESSLINE_H

#include <chrono>
#include <cstdint>
#include <string>

namespace vmrlftp {

/** "512 B", "1.5 KB", "2.0 GB": 1024-based, with one decimal above bytes. */
std::string sizeText(std::uint64_t bytes);

/** "0:07", "12:30", "1:02:03". */
std::string timeText(std::uint64_t seconds);

/** A name as a terminal may be given it: control characters, which could drive it, become "?". */
std::string printable(const std::string &name);

/** The progress of one file after another, as one line that is drawn over itself. */
class ProgressLine
{
public:
    using Clock = std::chrono::steady_clock;

    /**
     * @param width  of the terminal, in columns
     * @return the line, without a line end, at most width - 1 columns
     */
    std::string update(bool first, bool last, const std::string &name, std::uint64_t size, std::uint64_t done,
                       std::size_t width, Clock::time_point now);

private:
    Clock::time_point m_start;
};

} // namespace vmrlftp

#endif
