#include "rowtexts.h"

#include <QCoreApplication>
#include <QTextDocument>

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("BtFtpClient", text);
}

// Powers of two, exact in single precision, so that the product below is exact too.
constexpr float s_perKilobyte = 1.0F / 1024;
constexpr float s_perMegabyte = 1.0F / 1048576;
constexpr float s_perGigabyte = 1.0F / 1073741824;

QString inUnit(const char *unit, quint32 bytes, float perUnit)
{
    return translated(unit).arg(double(bytes) * double(perUnit), 0, 'f', 1);
}

} // namespace

QString rowtexts::size(quint32 bytes)
{
    if (bytes < 1024)
        return translated(QT_TRANSLATE_NOOP("BtFtpClient", "%1 B")).arg(bytes);
    if (bytes <= 1048576)
        return inUnit(QT_TRANSLATE_NOOP("BtFtpClient", "%1 KB"), bytes, s_perKilobyte);
    if (bytes <= 1073741824)
        return inUnit(QT_TRANSLATE_NOOP("BtFtpClient", "%1 MB"), bytes, s_perMegabyte);
    return inUnit(QT_TRANSLATE_NOOP("BtFtpClient", "%1 GB"), bytes, s_perGigabyte);
}

QString rowtexts::fileType(const QString &name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1);
}

QString rowtexts::folderType()
{
    return translated(QT_TRANSLATE_NOOP("BtFtpClient", "Folder"));
}

QString rowtexts::toolTip(const QString &name, const QString &size, const QString &type, const QString &modified)
{
    const QString text = translated(QT_TRANSLATE_NOOP("BtFtpClient", "Name:\t%1\nSize:\t%2\nType:\t%3\nModified:\t%4"))
                             .arg(name, size, type, modified);
    if (!Qt::mightBeRichText(text))
        return text;
    return QLatin1String("<p style='white-space:pre'>") + text.toHtmlEscaped() + QLatin1String("</p>");
}
