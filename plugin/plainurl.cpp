#include "plainurl.h"

#include <QSysInfo>

namespace {

bool isThisMachine(const QString &host)
{
    return host.isEmpty() || host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

QUrl plainUrl(const QString &path)
{
    QUrl url;
    url.setPath(path, QUrl::DecodedMode);
    return url;
}

QString plainPath(const QUrl &url)
{
    return url.path(QUrl::FullyDecoded);
}

std::optional<QString> localPath(const QUrl &url)
{
    if (url.scheme().isEmpty())
        return plainPath(url);
    if (!url.isLocalFile() || !isThisMachine(url.host()))
        return std::nullopt;
    QString path = plainPath(url);
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}
