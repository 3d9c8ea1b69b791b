#ifndef OBEX_FOLDERSESSION_H
#define OBEX_FOLDERSESSION_H

#include "obex/localfile.h"
#include "obex/remotefolder.h"
#include "obex/requests.h"

#include <QHash>

namespace obex {

/** What walking a tree may cost. */
constexpr std::size_t MaxTreeDepth = 128; // one open local folder each
constexpr std::size_t MaxTreeEntries = 1'000'000;

/**
 * Files and folders over requests: where the peer stands, transfers with progress, and walks through trees. One
 * thread at a time; a ClientSession sees to that.
 */
class FolderSession
{
public:
    FolderSession(Requests &requests, const ClientOptions &options, const std::atomic<bool> &cancelled);

    Outcome setPath(const QByteArray &path);
    Outcome list(const std::function<void(const ListingEntry &)> &entry);
    Outcome getFile(const QByteArray &name, const QByteArray &localPath);
    Outcome getFolder(const QByteArray &name, const QByteArray &localPath);
    Outcome putFile(const QByteArray &localPath, const QByteArray &name);
    Outcome putFolder(const QByteArray &localPath, const QByteArray &name);
    Outcome deleteFile(const QByteArray &name);
    Outcome deleteFolder(const QByteArray &name);
    Outcome createFolder(const QByteArray &name);

    quint64 bytesReceived() const { return m_received; }
    quint64 bytesSent() const { return m_sent; }

private:
    class FileSink;
    class FileSource;
    struct Level;
    struct Walk;

    /** What a transfer goes from and to. */
    struct Ends
    {
        QString name; /**< the peer's */
        LocalFolder folder;
        QByteArray localName;
    };

    static Error findEnds(const QByteArray &name, const QByteArray &localPath, Ends &ends);
    void tidyOnce(const QByteArray &localPath, const LocalFolder &folder);
    /** Several peers that are read-only answer a put with Forbidden; to the user it is the same. */
    static Outcome asPut(Outcome outcome);

    Outcome goTo(const FolderPath &path);
    /** Goes there without trusting "up", or where the peer stands. */
    Outcome goFromRoot(const FolderPath &path);
    Outcome make(const QVector<FolderMove> &moves);
    Outcome createAndEnter(const FolderPath &parent, const QString &name);
    Outcome listHere(const std::function<void(const ListingEntry &)> &entry);
    Outcome listHere(Walk &walk, Level &level);
    /** @param listed  what a listing says of it, for what the peer leaves out when it sends it */
    Outcome getHere(const QString &name, const LocalFolder &folder, const QByteArray &localName,
                    const ListingEntry &listed);
    Outcome putHere(const LocalFolder &folder, const QByteArray &localName, const QString &name);

    using VisitChild = std::function<Outcome(const Level &parent, const QByteArray &child)>;
    Outcome visitAll(Walk &walk, const VisitChild &visit);
    Outcome getLevel(Walk &walk, Level &level);
    Outcome putLevel(Walk &walk, Level &level);
    Outcome deleteLevel(Walk &walk, Level &level);
    Outcome deleteTree(const FolderPath &path);

    void report(bool first, bool last, const QByteArray &name, quint64 size, quint64 done);

    Requests &m_requests;
    const ClientOptions &m_options;
    const std::atomic<bool> &m_cancelled;
    FolderPath m_wanted; // the caller's current folder
    FolderPath m_real;   // the peer's
    FolderPath m_listed; // the one that was listed last; its files whose size no Length header can hold
    QHash<QByteArray, quint64> m_listedSizes;
    std::optional<QByteArray> m_tidied; // path of the local folder that was tidied last
    std::atomic<quint64> m_received{0};
    std::atomic<quint64> m_sent{0};
    std::chrono::steady_clock::time_point m_lastReport;
};

} // namespace obex

#endif
