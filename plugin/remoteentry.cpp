#include "remoteentry.h"

#include "rowtexts.h"

#include <QDate>
#include <QTime>

#include <cstring>
#include <ctime>

namespace {

// "yyyyMMddThhmmssZ"
constexpr size_t s_timeLength = 16;

// Reads count digits; -1 when there is anything else among them.
int number(const char *text, int count)
{
    int value = 0;
    for (int i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// Seconds since 1970, UTC; false when the text is no valid time.
bool parseTime(const char *text, time_t *seconds)
{
    if (text[8] != 'T' || text[15] != 'Z')
        return false;
    const QDate date(number(text, 4), number(text + 4, 2), number(text + 6, 2));
    const QTime time(number(text + 9, 2), number(text + 11, 2), number(text + 13, 2));
    // QDate knows years before Christ; a text has none, and -1 stands for "no number" here.
    if (date.year() < 1 || !date.isValid() || !time.isValid())
        return false;
    constexpr qint64 unixEpoch = 2440588; // Julian day of 1970-01-01
    *seconds = time_t((date.toJulianDay() - unixEpoch) * 86400 + time.msecsSinceStartOfDay() / 1000);
    return true;
}

void writeNumber(QChar *text, int value, int count)
{
    for (int i = count; i-- > 0; value /= 10)
        text[i] = QLatin1Char(char('0' + value % 10));
}

QString formatTime(const tm &local)
{
    QString text = QStringLiteral("0000-00-00 00:00");
    QChar *const chars = text.data();
    writeNumber(chars, local.tm_year + 1900, 4);
    writeNumber(chars + 5, local.tm_mon + 1, 2);
    writeNumber(chars + 8, local.tm_mday, 2);
    writeNumber(chars + 11, local.tm_hour, 2);
    writeNumber(chars + 14, local.tm_min, 2);
    return text;
}

} // namespace

QString remoteentry::name(const FTP_FIND_DATA &entry)
{
    return QString::fromUtf8(entry.name, int(strnlen(entry.name, sizeof entry.name)));
}

bool remoteentry::isFolder(const FTP_FIND_DATA &entry)
{
    return (entry.attributes & BTSDK_FTP_FOLDER) != 0;
}

QString remoteentry::size(const FTP_FIND_DATA &entry)
{
    return isFolder(entry) ? QString() : rowtexts::size(entry.size);
}

QString remoteentry::type(const FTP_FIND_DATA &entry)
{
    return isFolder(entry) ? rowtexts::folderType() : rowtexts::fileType(name(entry));
}

QString remoteentry::modified(const FTP_FIND_DATA &entry)
{
    time_t seconds = 0;
    tm local{};
    if (strnlen(entry.modified, sizeof entry.modified) != s_timeLength || !parseTime(entry.modified, &seconds))
        return QString();
    // By hand and by localtime_r: parsing and converting by QDateTime take ten times as long. The zone may have changed
    // since the last row, which localtime_r alone does not look for.
    tzset();
    if (!localtime_r(&seconds, &local))
        return QString();
    return formatTime(local);
}

QString remoteentry::toolTip(const FTP_FIND_DATA &entry)
{
    return rowtexts::toolTip(name(entry), size(entry), type(entry), modified(entry));
}
