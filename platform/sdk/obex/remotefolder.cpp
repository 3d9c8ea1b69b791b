#include "obex/remotefolder.h"

#include "obex/listingparser.h"

#include <algorithm>

namespace obex {

namespace {

void appendDown(QVector<FolderMove> &moves, const FolderPath &path, int from)
{
    for (int i = from; i < path.size(); ++i)
        moves.append(FolderMove{FolderMove::Down, path[i]});
}

} // namespace

QVector<FolderMove> movesBetween(const FolderPath &from, const FolderPath &to)
{
    const auto parting = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    const int common = static_cast<int>(parting.first - from.begin());
    const int ups = from.size() - common;
    QVector<FolderMove> moves;
    // Through the root is one move up, whatever the depth, but has to come down all the way.
    if (ups > 1 + common) {
        moves.append(FolderMove{FolderMove::Root, {}});
        appendDown(moves, to, 0);
    } else {
        moves.fill({FolderMove::Up, {}}, ups);
        appendDown(moves, to, common);
    }
    return moves;
}

QVector<FolderMove> movesToRefresh(const FolderPath &path)
{
    if (path.isEmpty())
        return {};
    return {{FolderMove::Up, {}}, {FolderMove::Down, path.last()}};
}

FolderPath after(FolderPath from, const FolderMove &move)
{
    switch (move.kind) {
    case FolderMove::Root:
        from.clear();
        break;
    case FolderMove::Up:
        from.removeLast();
        break;
    case FolderMove::Down:
        from.append(move.name);
        break;
    }
    return from;
}

bool splitPath(const QByteArray &path, FolderPath &components)
{
    components.clear();
    if (!path.startsWith('/'))
        return false;
    for (const QByteArray &component : path.split('/')) {
        if (component.isEmpty())
            continue;
        const QString name = entryName(component);
        if (name.isNull())
            return false;
        components.append(name);
    }
    return true;
}

QString entryName(const QByteArray &name)
{
    if (!isEntryName(name))
        return {};
    const QString text = QString::fromUtf8(name);
    return text.toUtf8() == name ? text : QString();
}

} // namespace obex
