#ifndef TESTS_PEER_H
#define TESTS_PEER_H

#include "btsdk_host.h"

#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/** A device in a process of its own that serves a folder: the real thing, over TCP. */
class DeviceProcess
{
public:
    ~DeviceProcess();

    /** @param options  of velmaro-demo-device, further to the folder. @return whether it listens */
    bool start(const QString &folder, const QStringList &options = {});
    void kill();
    /** Stops the process as it stands. @return whether every thread of it has come to rest */
    bool freeze();
    void thaw();
    unsigned int port() const { return m_port; }
    qint64 processId() const { return m_process.processId(); }

private:
    QProcess m_process;
    unsigned int m_port = 0;
};

/** A peer that takes connections and never says a word. */
class SilentPeer
{
public:
    SilentPeer();
    unsigned int port() const { return m_port; }

private:
    QTcpServer m_server; // the system's queue takes the connections; nobody accepts them
    unsigned int m_port = 0;
};

/** One device of the library's with a connection, both ended with it. */
class Client
{
public:
    explicit Client(unsigned int port, const char *name = "Test device");
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    unsigned int connect();

    unsigned int device = 0;
    unsigned int shortcut = 0;
    unsigned int connection = 0;
};

struct Listed
{
    QByteArray name;
    QByteArray modified;
    unsigned int size = 0;
    bool folder = false;
};

/** Lists the current remote folder, by name. */
std::vector<Listed> listed(unsigned int connection, unsigned int *result = nullptr);

/** What the status callback was told. It is one callback for all connections, so one test looks at one of them. */
struct StatusLog
{
    struct Report
    {
        bool first = false;
        bool last = false;
        QByteArray name;
        unsigned long size = 0;
        unsigned long done = 0;
        std::thread::id thread;
    };

    static void clear();
    static std::vector<Report> reports();
    static void callback(unsigned char first, unsigned char last, unsigned char *name, unsigned long size,
                         unsigned long done);
    /** Run within the callback, when set. Set it while no transfer runs. */
    static std::function<void(const Report &)> during;
};

/** The events of the library, while it lives. */
class EventLog
{
public:
    struct Event
    {
        unsigned int event = 0;
        unsigned int handle = 0;
        unsigned int other = 0;
        unsigned int value = 0;
        QByteArray text;
    };

    EventLog();
    ~EventLog();
    std::vector<Event> events() const;
    bool has(BtsdkEvent event, unsigned int handle) const;
    void clear();

private:
    static void take(const BtSdkEventInfo *event, void *context);

    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

/** Writes a file of size bytes; equal seeds give equal bytes. */
bool writeFile(const QString &path, qint64 size, quint32 seed = 1);
QByteArray readFile(const QString &path);

/** Sets a key of the section OBEX for as long as it lives. */
class ObexSetting
{
public:
    ObexSetting(const char *key, int value);
    ~ObexSetting();

private:
    const QByteArray m_file;
    const QByteArray m_old;
    bool m_existed = false;
};

#endif
