#include "MyMime.h"

QString MyMimeData::remoteFormat()
{
    return QStringLiteral("application/x-Velmaro");
}

QStringList MyMimeData::formats() const
{
    return QMimeData::formats();
}

bool MyMimeData::hasFormat(const QString &mimeType) const
{
    return QMimeData::hasFormat(mimeType);
}

QVariant MyMimeData::retrieveData(const QString &mimeType, QVariant::Type type) const
{
    return QMimeData::retrieveData(mimeType, type);
}
