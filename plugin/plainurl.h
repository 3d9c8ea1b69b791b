#ifndef PLAINURL_H
#define PLAINURL_H

#include <QString>
#include <QUrl>

#include <optional>

/**
 * The URLs that travel between the panes and into the request slots: a plain path, no scheme, no host.
 *
 * A name is any text that a file system or a peer gives ("50%", "a%20b", "<&>"). It comes out of a URL as it went in
 * only when both directions are told that the path is not encoded, so every pane and slot goes through these functions
 * and never through QUrl(QString) and toString().
 */

/** The URL of a path; "" gives the empty URL. */
QUrl plainUrl(const QString &path);

/** The path of such a URL; "" for the empty one. */
QString plainPath(const QUrl &url);

/**
 * The local path that a URL names: of this program's plain URLs, and of file URLs that another application dropped
 * (without a trailing slash, so that the last component is the name).
 * @return nothing for a URL of any other scheme, or of another machine
 */
std::optional<QString> localPath(const QUrl &url);

#endif
