#include "obex/foldertree.h"

#include <algorithm>

namespace obex {

namespace {

/** A failure that the next entry would meet as well. */
bool endsWalk(const Outcome &outcome)
{
    switch (outcome.error) {
    case Error::Refused:
        return outcome.is(ResponseCode::Unauthorized) || outcome.is(ResponseCode::NotImplemented) ||
               outcome.is(ResponseCode::DatabaseFull) || outcome.is(ResponseCode::DatabaseLocked) ||
               outcome.is(ResponseCode::ServiceUnavailable);
    case Error::InvalidParameter:
    case Error::NameTooLong:
    case Error::LocalFile:
        return false;
    default:
        return true;
    }
}

/** A refusal to delete a folder that may be because it is not empty; peers put it in many ways. */
bool mayBeFull(const Outcome &outcome)
{
    return outcome.error == Error::Refused && !outcome.is(ResponseCode::NotFound) &&
           !outcome.is(ResponseCode::Unauthorized) && !outcome.is(ResponseCode::NotImplemented);
}

std::vector<ListingEntry> entriesOf(const std::vector<QByteArray> &names)
{
    std::vector<ListingEntry> entries(names.size());
    std::transform(names.begin(), names.end(), entries.begin(), [](const QByteArray &name) {
        ListingEntry entry;
        entry.name = name;
        return entry;
    });
    return entries;
}

} // namespace

bool FolderSession::Walk::survives(const Outcome &outcome)
{
    if (outcome.ok())
        return true;
    if (firstFailure.ok())
        firstFailure = outcome;
    return !endsWalk(outcome);
}

Outcome FolderSession::Walk::push(Level level)
{
    entries += level.files.size() + level.folders.size();
    if (levels.size() >= MaxTreeDepth || entries > MaxTreeEntries)
        return Error::TooMuch;
    levels.push_back(std::move(level));
    return {};
}

Outcome FolderSession::listHere(Walk &walk, Level &level)
{
    bool tooMuch = false;
    const Outcome outcome = listHere([&](const ListingEntry &entry) {
        auto &entries = entry.folder ? level.folders : level.files;
        tooMuch = tooMuch || walk.entries + level.files.size() + level.folders.size() >= MaxTreeEntries;
        if (!tooMuch)
            entries.push_back(entry);
    });
    if (outcome.ok() && tooMuch)
        return Error::TooMuch;
    return outcome;
}

/** Each folder that a walk has still to enter, deepest first; visit adds what it finds to the walk. */
Outcome FolderSession::visitAll(Walk &walk, const VisitChild &visit)
{
    Outcome outcome;
    while (outcome.ok() && !walk.levels.empty()) {
        Level &level = walk.levels.back();
        if (level.folders.empty()) {
            walk.levels.pop_back();
            continue;
        }
        const QByteArray child = level.folders.back().name;
        level.folders.pop_back();
        outcome = visit(level, child);
        if (walk.survives(outcome))
            outcome = {};
    }
    return outcome.ok() ? walk.firstFailure : outcome;
}

Outcome FolderSession::getLevel(Walk &walk, Level &level)
{
    Outcome outcome = listHere(walk, level);
    if (!outcome.ok())
        return outcome;
    for (const ListingEntry &file : level.files) {
        if (m_cancelled)
            return Error::Cancelled;
        outcome = getHere(QString::fromUtf8(file.name), level.local, file.name, file);
        if (!walk.survives(outcome))
            return outcome;
    }
    return walk.push(std::move(level));
}

Outcome FolderSession::getFolder(const QByteArray &name, const QByteArray &localPath)
{
    Ends ends;
    const Error error = findEnds(name, localPath, ends);
    if (error != Error::None)
        return error;
    Walk walk;
    const auto enter = [&](const FolderPath &path, const LocalFolder &folder, const QByteArray &localName) {
        Level level;
        level.path = path;
        Outcome outcome = goTo(path);
        if (outcome.ok())
            outcome = folder.enter(localName, true, level.local);
        if (outcome.ok())
            level.local.tidy();
        return outcome.ok() ? getLevel(walk, level) : outcome;
    };
    const Outcome outcome = enter(m_wanted + FolderPath{ends.name}, ends.folder, ends.localName);
    if (!outcome.ok())
        return outcome;
    return visitAll(walk, [&](const Level &parent, const QByteArray &child) {
        return enter(parent.path + FolderPath{QString::fromUtf8(child)}, parent.local, child);
    });
}

Outcome FolderSession::putLevel(Walk &walk, Level &level)
{
    std::vector<QByteArray> files;
    std::vector<QByteArray> folders;
    const Error error = level.local.list(files, folders);
    if (error != Error::None)
        return error;
    for (const QByteArray &file : files) {
        if (m_cancelled)
            return Error::Cancelled;
        const QString name = entryName(file);
        const Outcome outcome = name.isNull() ? Error::InvalidParameter : putHere(level.local, file, name);
        if (!walk.survives(outcome))
            return outcome;
    }
    walk.entries += files.size();
    std::reverse(folders.begin(), folders.end());
    level.folders = entriesOf(folders);
    return walk.push(std::move(level));
}

Outcome FolderSession::putFolder(const QByteArray &localPath, const QByteArray &name)
{
    Ends ends;
    const Error error = findEnds(name, localPath, ends);
    if (error != Error::None)
        return error;
    Walk walk;
    const auto enter = [&](const LocalFolder &folder, const QByteArray &localName, const FolderPath &parent,
                           const QString &remoteName) {
        Level level;
        level.path = parent + FolderPath{remoteName};
        Outcome outcome = folder.enter(localName, false, level.local);
        if (outcome.ok())
            outcome = asPut(createAndEnter(parent, remoteName));
        return outcome.ok() ? putLevel(walk, level) : outcome;
    };
    const Outcome outcome = enter(ends.folder, ends.localName, m_wanted, ends.name);
    if (!outcome.ok())
        return outcome;
    return visitAll(walk, [&](const Level &parent, const QByteArray &child) {
        const QString childName = entryName(child);
        return childName.isNull() ? Error::InvalidParameter : enter(parent.local, child, parent.path, childName);
    });
}

Outcome FolderSession::deleteLevel(Walk &walk, Level &level)
{
    Outcome outcome = goTo(level.path);
    if (outcome.ok())
        outcome = listHere(walk, level);
    for (const ListingEntry &file : level.files) {
        if (outcome.ok())
            outcome = m_cancelled ? Outcome(Error::Cancelled) : m_requests.remove(QString::fromUtf8(file.name));
        if (!outcome.ok())
            return outcome;
    }
    return outcome.ok() ? walk.push(std::move(level)) : outcome;
}

/**
 * Peers present links to folders as folders, and from behind one "up" may lead above what the link points at. Deleting
 * there would leave the folder that was asked for, so that this walk goes down, and back by way of the root alone.
 */
Outcome FolderSession::deleteTree(const FolderPath &path)
{
    // A level whose list of folders is at its end goes itself; the topmost is a level with that one folder to go.
    Walk walk;
    Level above;
    above.path = path.mid(0, path.size() - 1);
    above.folders.resize(1);
    above.folders.back().name = path.last().toUtf8();
    Outcome outcome = walk.push(std::move(above));
    bool entered = false; // the folder that is next has been emptied just now
    while (outcome.ok() && !walk.levels.empty()) {
        Level &level = walk.levels.back();
        if (level.folders.empty()) {
            walk.levels.pop_back();
            entered = true;
            continue;
        }
        const QString name = QString::fromUtf8(level.folders.back().name);
        const bool isTopmost = walk.levels.size() == 1;
        outcome = m_real == level.path ? Outcome() : goFromRoot(level.path);
        if (outcome.ok())
            outcome = m_requests.remove(name);
        if (outcome.ok()) {
            level.folders.pop_back();
        } else if (mayBeFull(outcome) && !entered) {
            Level inner;
            inner.path = level.path + FolderPath{name};
            outcome = isTopmost ? goFromRoot(level.path) : Outcome();
            if (outcome.ok())
                outcome = deleteLevel(walk, inner);
        }
        entered = false;
    }
    return outcome;
}

} // namespace obex
