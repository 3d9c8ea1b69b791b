#ifndef OBEX_REMOTEFOLDER_H
#define OBEX_REMOTEFOLDER_H

#include <QString>
#include <QVector>

namespace obex {

/** The components of a folder below the root; empty: the root itself. */
using FolderPath = QVector<QString>;

/** One SETPATH. */
struct FolderMove
{
    enum Kind { Root, Up, Down };

    Kind kind;
    QString name; /**< of the folder to enter, for Down */

    bool operator==(const FolderMove &other) const { return kind == other.kind && name == other.name; }
};

/** The fewest moves that lead from one folder to another; none when they are the same. */
QVector<FolderMove> movesBetween(const FolderPath &from, const FolderPath &to);

/** The moves that find out whether the folder one stands in is still there: up and down again; none in the root. */
QVector<FolderMove> movesToRefresh(const FolderPath &path);

/** Where a move leads that the peer has granted. */
FolderPath after(FolderPath from, const FolderMove &move);

/** Splits an absolute path at its slashes, empty components left out. @return false for a path that is not absolute
 *  or that holds "." or ".." or an unusable name */
bool splitPath(const QByteArray &path, FolderPath &components);

/** The text of a name that can stand for an entry; null for any other, ill-formed UTF-8 included. */
QString entryName(const QByteArray &name);

} // namespace obex

#endif
