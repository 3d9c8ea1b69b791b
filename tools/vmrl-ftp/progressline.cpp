#include "vmrl-ftp/progressline.h"

#include <cstdio>

namespace vmrlftp {

namespace {

constexpr std::size_t leastName = 8;

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Counts characters; those of double width are rare enough to let the line be a little longer.
std::string padded(const std::string &name, std::size_t columns)
{
    std::string result;
    std::size_t used = 0;
    for (const char byte : name) {
        if (!isContinuation(byte) && used++ == columns)
            return result;
        result += byte;
    }
    result.append(columns - used, ' ');
    return result;
}

} // namespace

std::string sizeText(std::uint64_t bytes)
{
    if (bytes < 1024)
        return std::to_string(bytes) + " B";
    const char *const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (value >= 1024 && unit < 5) {
        value /= 1024;
        ++unit;
    }
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}

std::string timeText(std::uint64_t seconds)
{
    char text[48];
    const unsigned long long hours = seconds / 3600;
    const unsigned long long minutes = seconds / 60 % 60;
    const unsigned long long rest = seconds % 60;
    if (hours > 0)
        (void)std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", hours, minutes, rest);
    else
        (void)std::snprintf(text, sizeof text, "%llu:%02llu", minutes, rest);
    return text;
}

std::string printable(const std::string &name)
{
    std::string result;
    for (std::size_t index = 0; index < name.size(); ++index) {
        const unsigned char byte = static_cast<unsigned char>(name[index]);
        // U+0080 to U+009F are controls as well: 0xC2 and the number itself in UTF-8.
        const bool highControl =
            byte == 0xC2 && index + 1 < name.size() && static_cast<unsigned char>(name[index + 1]) < 0xA0;
        if (highControl)
            ++index;
        result += byte < 0x20 || byte == 0x7F || highControl ? '?' : name[index];
    }
    return result;
}

std::string ProgressLine::update(bool first, bool last, const std::string &name, std::uint64_t size, std::uint64_t done,
                                 std::size_t width, Clock::time_point now)
{
    if (first)
        m_start = now;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    const double rate = seconds > 0.05 ? static_cast<double>(done) / seconds : 0;
    std::string facts;
    if (size > 0) {
        char percent[16];
        (void)std::snprintf(percent, sizeof percent, "%3d%%  ",
                            static_cast<int>(static_cast<double>(done) * 100 / static_cast<double>(size)));
        facts += percent;
    }
    facts += sizeText(done);
    if (rate > 0)
        facts += "  " + sizeText(static_cast<std::uint64_t>(rate)) + "/s";
    if (last)
        facts += "  " + timeText(static_cast<std::uint64_t>(seconds));
    else if (rate > 0 && size > done)
        facts += "  " + timeText(static_cast<std::uint64_t>(static_cast<double>(size - done) / rate)) + " left";
    const std::size_t room = width > facts.size() + 3 + leastName ? width - facts.size() - 3 : leastName;
    return padded(printable(name), room) + "  " + facts;
}

} // namespace vmrlftp
