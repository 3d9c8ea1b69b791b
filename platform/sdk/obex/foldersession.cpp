#include "obex/foldersession.h"

#include "obex/listingparser.h"

#include <algorithm>
#include <limits>

namespace obex {

namespace {

constexpr std::chrono::milliseconds ReportInterval{50};
constexpr int MaxListedSizes = 10'000;

/** Why a name was refused before it was sent. */
Error badName(const QByteArray &name)
{
    return name.size() > MaxEntryName ? Error::NameTooLong : Error::InvalidParameter;
}

class ListingSink : public ObjectSink
{
public:
    explicit ListingSink(const ListingParser::EntryFunction &entry) : m_parser(entry) {}

    Error begin(const ObjectInfo &) override { return Error::None; }
    Error write(Bytes bytes) override { return m_parser.feed(bytes); }
    Error finish() const { return m_parser.finish(); }

private:
    ListingParser m_parser;
};

} // namespace

class FolderSession::FileSink : public ObjectSink
{
public:
    FileSink(FolderSession &session, Download &file, const QByteArray &name, const ListingEntry &listed)
        : m_session(session), m_file(file), m_name(name), m_listed(listed)
    {
    }

    Error begin(const ObjectInfo &info) override
    {
        m_info = info;
        m_session.report(true, false, m_name, size(), 0);
        return m_file.start(info.length);
    }

    Error write(Bytes bytes) override
    {
        const Error error = m_file.write(bytes);
        if (error != Error::None)
            return error;
        m_done += bytes.size;
        m_session.m_received += bytes.size;
        m_session.report(false, false, m_name, size(), m_done);
        return Error::None;
    }

    Outcome finish()
    {
        if (m_done < m_info.length.value_or(0)) // the peer says that it is all, and it is not
            return Error::Protocol;
        const Error error = m_file.commit(m_info.modified != NoTime ? m_info.modified : m_listed.modified);
        if (error == Error::None)
            m_session.report(false, true, m_name, m_done, m_done);
        return error;
    }

private:
    /** A file that grows while it is sent is longer than was said. */
    quint64 size() const
    {
        const quint64 said = m_info.length.value_or(m_listed.size);
        return said > 0 ? std::max(said, m_done) : 0;
    }

    FolderSession &m_session;
    Download &m_file;
    const QByteArray m_name;
    const ListingEntry m_listed;
    ObjectInfo m_info;
    quint64 m_done = 0;
};

class FolderSession::FileSource : public ObjectSource
{
public:
    FileSource(FolderSession &session, Upload &file, const QByteArray &name)
        : m_session(session), m_file(file), m_name(name)
    {
        m_session.report(true, false, m_name, m_file.size(), 0);
    }

    quint64 remaining() const override { return m_file.remaining(); }

    Error read(std::uint8_t *data, std::size_t size) override
    {
        m_session.report(false, false, m_name, m_file.size(), m_file.size() - m_file.remaining());
        const Error error = m_file.read(data, size);
        if (error == Error::None)
            m_session.m_sent += size;
        return error;
    }

    void finish() { m_session.report(false, true, m_name, m_file.size(), m_file.size()); }

private:
    FolderSession &m_session;
    Upload &m_file;
    const QByteArray m_name;
};

FolderSession::FolderSession(Requests &requests, const ClientOptions &options, const std::atomic<bool> &cancelled)
    : m_requests(requests), m_options(options), m_cancelled(cancelled)
{
}

void FolderSession::report(bool first, bool last, const QByteArray &name, quint64 size, quint64 done)
{
    if (!m_options.progress)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (!first && !last && now - m_lastReport < ReportInterval)
        return;
    m_lastReport = now;
    Progress progress;
    progress.first = first;
    progress.last = last;
    progress.name = name.constData();
    progress.size = size;
    progress.done = done;
    m_options.progress(progress);
}

Outcome FolderSession::make(const QVector<FolderMove> &moves)
{
    for (const FolderMove &move : moves) {
        if (m_cancelled)
            return Error::Cancelled;
        const std::uint8_t flags = move.kind == FolderMove::Up ? SetPathBackup | SetPathNoCreate : SetPathNoCreate;
        const Outcome outcome = m_requests.setPath(flags, move.name);
        if (!outcome.ok())
            return outcome;
        m_real = after(m_real, move);
    }
    return m_cancelled ? Error::Cancelled : Error::None;
}

Outcome FolderSession::goTo(const FolderPath &path)
{
    return make(movesBetween(m_real, path));
}

Outcome FolderSession::goFromRoot(const FolderPath &path)
{
    QVector<FolderMove> moves{{FolderMove::Root, {}}};
    for (const QString &name : path)
        moves.append({FolderMove::Down, name});
    return make(moves);
}

Outcome FolderSession::setPath(const QByteArray &path)
{
    FolderPath target;
    if (!splitPath(path, target))
        return badName(path);
    if (target.isEmpty()) {
        m_wanted = target;
        return {};
    }
    const QVector<FolderMove> moves = movesBetween(m_real, target);
    const Outcome outcome = make(moves.isEmpty() ? movesToRefresh(target) : moves);
    if (outcome.ok())
        m_wanted = target;
    return outcome;
}

Outcome FolderSession::list(const std::function<void(const ListingEntry &)> &entry)
{
    const Outcome outcome = goTo(m_wanted);
    if (!outcome.ok())
        return outcome;
    m_listed = m_wanted;
    m_listedSizes.clear();
    return listHere([&](const ListingEntry &found) {
        if (!found.folder && found.size > std::numeric_limits<std::uint32_t>::max() &&
            m_listedSizes.size() < MaxListedSizes)
            m_listedSizes.insert(found.name, found.size);
        entry(found);
    });
}

Outcome FolderSession::listHere(const std::function<void(const ListingEntry &)> &entry)
{
    ListingSink sink(entry);
    GetRequest request;
    request.type = ListingType;
    const Outcome outcome = m_requests.get(request, sink);
    return outcome.ok() ? Outcome(sink.finish()) : outcome;
}

Error FolderSession::findEnds(const QByteArray &name, const QByteArray &localPath, Ends &ends)
{
    ends.name = entryName(name);
    return ends.name.isNull() ? badName(name) : LocalFolder::openParent(localPath, ends.folder, ends.localName);
}

Outcome FolderSession::asPut(Outcome outcome)
{
    return outcome.is(ResponseCode::Forbidden) ? Outcome::refused(ResponseCode::Unauthorized) : outcome;
}

Outcome FolderSession::getFile(const QByteArray &name, const QByteArray &localPath)
{
    Ends ends;
    const Error error = findEnds(name, localPath, ends);
    if (error != Error::None)
        return error;
    tidyOnce(localPath, ends.folder);
    const Outcome outcome = goTo(m_wanted);
    ListingEntry listed;
    if (m_listed == m_wanted)
        listed.size = m_listedSizes.value(name);
    return outcome.ok() ? getHere(ends.name, ends.folder, ends.localName, listed) : outcome;
}

/** Fetching many files into one folder, one call each, must not read that folder each time. */
void FolderSession::tidyOnce(const QByteArray &localPath, const LocalFolder &folder)
{
    const QByteArray parent = localPath.left(localPath.lastIndexOf('/') + 1);
    if (m_tidied != parent)
        folder.tidy();
    m_tidied = parent;
}

Outcome FolderSession::getHere(const QString &name, const LocalFolder &folder, const QByteArray &localName,
                               const ListingEntry &listed)
{
    Download file;
    const Error error = file.open(folder, localName);
    if (error != Error::None)
        return error;
    FileSink sink(*this, file, name.toUtf8(), listed);
    GetRequest request;
    request.name = name;
    const Outcome outcome = m_requests.get(request, sink);
    return outcome.ok() ? sink.finish() : outcome;
}

Outcome FolderSession::putFile(const QByteArray &localPath, const QByteArray &name)
{
    Ends ends;
    const Error error = findEnds(name, localPath, ends);
    if (error != Error::None)
        return error;
    const Outcome outcome = goTo(m_wanted);
    return outcome.ok() ? putHere(ends.folder, ends.localName, ends.name) : outcome;
}

Outcome FolderSession::putHere(const LocalFolder &folder, const QByteArray &localName, const QString &name)
{
    Upload file;
    const Error error = file.open(folder, localName);
    if (error != Error::None)
        return error;
    FileSource source(*this, file, name.toUtf8());
    PutRequest request;
    request.name = name;
    request.modified = file.modified();
    const Outcome outcome = m_requests.put(request, source);
    if (outcome.ok())
        source.finish();
    return asPut(outcome);
}

Outcome FolderSession::createAndEnter(const FolderPath &parent, const QString &name)
{
    Outcome outcome = goTo(parent);
    if (outcome.ok())
        outcome = m_requests.setPath(0, name);
    if (outcome.ok())
        m_real.append(name);
    return outcome;
}

Outcome FolderSession::createFolder(const QByteArray &name)
{
    const QString text = entryName(name);
    return text.isNull() ? badName(name) : createAndEnter(m_wanted, text);
}

Outcome FolderSession::deleteFile(const QByteArray &name)
{
    const QString text = entryName(name);
    if (text.isNull())
        return badName(name);
    const Outcome outcome = goTo(m_wanted);
    return outcome.ok() ? m_requests.remove(text) : outcome;
}

Outcome FolderSession::deleteFolder(const QByteArray &name)
{
    const QString text = entryName(name);
    return text.isNull() ? badName(name) : deleteTree(m_wanted + FolderPath{text});
}

} // namespace obex
