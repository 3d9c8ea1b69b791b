#ifndef OPENEDURLS_H
#define OPENEDURLS_H

#include <QDesktopServices>
#include <QUrl>

/** Stands in for the desktop: files and folders that are to be opened are noted, and not opened. One at a time. */
class OpenedUrls : public QObject
{
    Q_OBJECT

public:
    OpenedUrls() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "note"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    QList<QUrl> urls;

public slots:
    void note(const QUrl &url) { urls.append(url); }
};

#endif
