#ifndef DOUBLE_H
#define DOUBLE_H

#include "btsdk.h"
#include "recorder.h"

#include <QMap>
#include <QPair>
#include <QSet>
#include <QVector>

#include <atomic>

/** An entry of a remote folder as a test writes it. */
struct Q_DECL_EXPORT RemoteEntry
{
    QByteArray name;
    bool folder = false;
    quint32 size = 0;
    QByteArray modified = "20080314T093000Z";

    FTP_FIND_DATA record() const;
};

/** A status report of a transfer. */
struct Report
{
    quint8 first = 0;
    quint8 last = 0;
    QByteArray name;
    quint32 size = 0;
    quint32 done = 0;
};

/** How the remote side behaves; each is set by Double::play. */
enum class Scenario {
    Connects,          ///< everything succeeds, a small tree of folders and files
    Refuses,           ///< Btsdk_ConnectEx fails
    ConnectsLate,      ///< Btsdk_ConnectEx succeeds after 300 ms
    Hangs,             ///< Btsdk_ConnectEx waits until it is released
    DropsTheLink,      ///< connects; a get or put fails after its first report and the link is gone then
    SendsHostileNames, ///< connects; the root holds names that mean harm
    TransfersHang,     ///< connects; a get or put waits until it is cancelled or released
    ReadOnly           ///< connects; put, delete and create folder are refused as Unauthorized (1729)
};

/**
 * The three platform libraries as a test sees them: what they were asked (the Recorder) and what they answer.
 *
 * Conventions: the device of shortcut S is S + deviceOffset; a connect to it marks S as connected and gives the next
 * connection handle, beginning with firstConnection. Settings live in memory under whatever file name is used. All
 * members may be called from any thread; set the script before the plug-in is asked to act.
 */
class Q_DECL_EXPORT Double : public Recorder
{
public:
    static constexpr unsigned int deviceOffset = 1000;
    static constexpr unsigned int firstConnection = 501;
    static constexpr unsigned int serverHandle = 77;

    static Double &instance();

    /** Everything as at the start of the process: no calls, empty settings, nothing connected, Scenario::Connects. */
    void reset();
    void play(Scenario scenario);

    // Remote device
    void setListing(const QByteArray &folder, const QList<RemoteEntry> &entries);
    QList<RemoteEntry> listing(const QByteArray &folder) const;
    QByteArray remoteFolder() const;
    void setShortcutConnected(unsigned int shortcut, bool connected);
    bool isShortcutConnected(unsigned int shortcut) const;
    /** Listings end with a null entry, as a library may do. */
    void setBrowseSendsNull(bool on);
    /** Listings run their callback on a thread of the library's. */
    void setBrowseOnOwnThread(bool on);
    /** (handle, service class) of the connections that Btsdk_GetAllOutgoingConnections tells of. */
    void setOutgoing(const QList<QPair<unsigned int, unsigned short>> &connections);

    // Transfers
    /** The reports of every get and put, made on a thread of the library's before the call returns. Without any,
     *  a file is reported once as begun and once as ended. */
    void setReports(const QList<Report> &reports);
    /** Gets and puts wait after their reports until they are cancelled, released or 30 s have passed. */
    void setTransfersHang(bool on);
    void releaseTransfers();
    /** How many gets and puts are waiting. */
    int hangingTransfers() const;
    /** What a fetched file holds. */
    void setContent(const QByteArray &content);
    /** Calls the registered status callback on a thread of the library's, and waits for it. */
    void report(const Report &report);

    // Local server
    void setServerStatus(unsigned short status);
    unsigned short serverStatus() const;
    /** What Btsdk_GetServerAttributes fills in. */
    void setServerAttributes(unsigned short serviceClass, unsigned short security);
    /** The newest update: mask, security, size, field, access and folder as they were during the call. */
    struct Update
    {
        quint16 mask = 0;
        quint16 security = 0;
        quint32 size = 0;
        quint16 field = 0;
        quint16 access = 0;
        QByteArray folder;
        bool hasParameters = false;
    };
    QList<Update> updates() const;
    /** Runs the registered receive-file callback on a thread of the library's. @return its result */
    unsigned int receiveFile(quint32 event, const QByteArray &name);
    bool hasReceiveCallback() const;
    void setBluetoothReady(bool ready);
    void setLocalName(const QByteArray &name);

    // Host
    void setSetting(const char *section, const char *key, const QByteArray &value);
    /** An empty array when there is no such key. */
    QByteArray setting(const char *section, const char *key) const;
    bool hasSetting(const char *section, const char *key) const;
    void setSettingsPath(const QByteArray &path);
    void setWorkingDir(const QByteArray &path);
    void setDisplayName(unsigned short serviceClass, const QString &name);
    void setDescription(unsigned short serviceClass, const QString &description);

    struct State;
    /** For the doubles. */
    State &state() { return *m_state; }

private:
    Double();
    ~Double();

    State *const m_state;
};

/** What the script says; guarded by its mutex. */
struct Double::State
{
    mutable std::mutex mutex;
    std::condition_variable changed;

    QMap<QByteArray, QList<RemoteEntry>> folders;
    QByteArray current = "/";
    QSet<unsigned int> connected;
    unsigned int nextConnection = firstConnection;
    int connectDelay = 0;
    bool browseSendsNull = false;
    bool browseOnOwnThread = false;
    QList<QPair<unsigned int, unsigned short>> outgoing;

    BtsdkStatusCallback statusCallback = nullptr;
    QList<Report> reports;
    QByteArray content;
    bool dropAfterFirstReport = false;
    bool transfersHang = false;
    quint64 cancels = 0;
    quint64 releases = 0;
    int hanging = 0;

    BtsdkReceiveFileCallback receiveCallback = nullptr;
    unsigned short serverStatus = BTSDK_SERVER_STOPPED;
    unsigned short serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    unsigned short security = 0;
    QList<Update> updates;
    bool ready = true;
    QByteArray localName;

    QMap<QByteArray, QByteArray> settings;
    QByteArray settingsPath;
    QByteArray workingDir;
    QMap<unsigned short, QString> names;
    QMap<unsigned short, QString> descriptions;

    /** The listing's key of an entry below the current folder. */
    QByteArray below(const QByteArray &name) const
    {
        return current.endsWith('/') ? current + name : current + '/' + name;
    }
    static QByteArray settingKey(const char *section, const char *key);
    void restore();
};

#endif
