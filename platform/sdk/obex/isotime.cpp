#include "obex/isotime.h"

#include <ctime>

namespace obex {

namespace {

constexpr int PlainSize = 15; // yyyyMMddTHHmmss

bool readNumber(QStringView text, int from, int digits, int &value)
{
    value = 0;
    for (int i = from; i < from + digits; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return false;
        value = value * 10 + (c - u'0');
    }
    return true;
}

int daysInMonth(int year, int month)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

bool readFields(QStringView text, std::tm &time)
{
    int year = 0;
    int month = 0;
    if (!readNumber(text, 0, 4, year) || !readNumber(text, 4, 2, month) || !readNumber(text, 6, 2, time.tm_mday) ||
        !readNumber(text, 9, 2, time.tm_hour) || !readNumber(text, 11, 2, time.tm_min) ||
        !readNumber(text, 13, 2, time.tm_sec))
        return false;
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_isdst = -1;
    return year >= 1601 && month >= 1 && month <= 12 && time.tm_mday >= 1 && time.tm_mday <= daysInMonth(year, month) &&
           time.tm_hour <= 23 && time.tm_min <= 59 && time.tm_sec <= 60;
}

} // namespace

Seconds parseTime(QStringView text)
{
    const bool utc = text.size() == PlainSize + 1 && text[PlainSize] == QLatin1Char('Z');
    if ((!utc && text.size() != PlainSize) || text[8] != QLatin1Char('T'))
        return NoTime;
    std::tm time{};
    if (!readFields(text, time))
        return NoTime;
    return utc ? ::timegm(&time) : ::mktime(&time);
}

QByteArray formatTime(Seconds time)
{
    std::tm fields{};
    const auto seconds = static_cast<std::time_t>(time);
    if (time == NoTime || ::gmtime_r(&seconds, &fields) == nullptr || fields.tm_year < 0 || fields.tm_year > 8099)
        return {};
    char text[PlainSize + 2];
    const std::size_t size = std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &fields);
    return QByteArray(text, static_cast<int>(size));
}

} // namespace obex
