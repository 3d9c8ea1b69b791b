#include "texts.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>
#include <QTextDocument>

namespace texts {
namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Dialogs", text);
}

QString duration(qint64 seconds)
{
    const qint64 minutes = seconds / 60;
    const qint64 hours = minutes / 60;
    if (minutes == 0)
        return QCoreApplication::translate("Dialogs", "%1 s").arg(seconds);
    if (hours == 0)
        return QCoreApplication::translate("Dialogs", "%1 min").arg(minutes);
    return QCoreApplication::translate("Dialogs", "%1 h %2 min").arg(hours).arg(minutes % 60);
}

bool isUnfit(QChar c)
{
    const ushort code = c.unicode();
    return c.category() == QChar::Other_Control || code == 0x2028 || code == 0x2029 || code == 0x200E ||
           code == 0x200F || (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

} // namespace

QString size(quint64 bytes)
{
    static const char *const units[] = {QT_TRANSLATE_NOOP("Dialogs", "%1 B"), QT_TRANSLATE_NOOP("Dialogs", "%1 KB"),
                                        QT_TRANSLATE_NOOP("Dialogs", "%1 MB"), QT_TRANSLATE_NOOP("Dialogs", "%1 GB")};
    if (bytes < 1024)
        return tr(units[0]).arg(bytes);
    double value = static_cast<double>(bytes) / 1024;
    size_t unit = 1;
    // 1023.95 is where one decimal would round up to "1024.0".
    while (value >= 1023.95 && unit < 3) {
        value /= 1024;
        ++unit;
    }
    return tr(units[unit]).arg(QLocale().toString(value, 'f', 1));
}

QString rate(double bytesPerSecond)
{
    return QCoreApplication::translate("Dialogs", "%1/s").arg(size(static_cast<quint64>(qMax(0.0, bytesPerSecond))));
}

QString timeLeft(qint64 seconds)
{
    if (seconds < 5)
        return QCoreApplication::translate("Dialogs", "A few seconds left");
    if (seconds > 24 * 3600)
        return QCoreApplication::translate("Dialogs", "More than a day left");
    if (seconds < 60)
        seconds = (seconds + 4) / 5 * 5;
    else
        seconds = (seconds + 59) / 60 * 60;
    return QCoreApplication::translate("Dialogs", "About %1 left").arg(duration(seconds));
}

QString since(qint64 since, qint64 now)
{
    const QString moment = QLocale().toString(QDateTime::fromMSecsSinceEpoch(since), QLocale::ShortFormat);
    return QCoreApplication::translate("Dialogs", "%1 (%2)").arg(moment, duration(qMax<qint64>(0, now - since) / 1000));
}

QString oneLine(QString name)
{
    for (QChar &c : name) {
        if (isUnfit(c))
            c = QChar(QChar::ReplacementCharacter);
    }
    return name;
}

QString toolTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped()) : text;
}

} // namespace texts
