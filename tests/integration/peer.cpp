#include "peer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTcpSocket>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstring>

bool DeviceProcess::start(const QString &folder, const QStringList &options)
{
    m_process.setProgram(qEnvironmentVariable("BTFTP_BUILD_DIR") + QStringLiteral("/bin/velmaro-demo-device"));
    m_process.setArguments(QStringList{QStringLiteral("--folder"), folder} + options);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start();
    QElapsedTimer timer;
    timer.start();
    while (!m_process.canReadLine()) {
        if (timer.elapsed() > 20000 || !m_process.waitForReadyRead(20000))
            return false;
    }
    const QByteArray line = m_process.readLine().trimmed();
    m_port = line.mid(line.lastIndexOf(':') + 1).toUInt();
    return m_port != 0;
}

void DeviceProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool DeviceProcess::freeze()
{
    const auto device = static_cast<pid_t>(processId());
    if (device <= 0 || ::kill(device, SIGSTOP) != 0) // 0, when it does not run, would stop this very test
        return false;
    // The signal reaches the threads one by one; one that still runs answers one more request.
    const QDir threads(QStringLiteral("/proc/%1/task").arg(processId()));
    const auto rests = [&threads](const QString &thread) {
        const QByteArray status = readFile(threads.filePath(thread + QStringLiteral("/stat")));
        return status.mid(status.lastIndexOf(')') + 2, 1) == "T"; // proc(5): the state follows the name
    };
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 10000) {
        const QStringList all = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (!all.isEmpty() && std::all_of(all.begin(), all.end(), rests))
            return true;
        QThread::msleep(1);
    }
    return false;
}

void DeviceProcess::thaw()
{
    const auto device = static_cast<pid_t>(processId());
    if (device > 0)
        ::kill(device, SIGCONT);
}

DeviceProcess::~DeviceProcess()
{
    thaw();
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        kill();
}

SilentPeer::SilentPeer()
{
    if (m_server.listen(QHostAddress::LocalHost))
        m_port = m_server.serverPort();
}

Client::Client(unsigned int port, const char *name)
{
    if (Btsdk_HostAddTransientDevice(name, "127.0.0.1", port, &device) != BTSDK_OK)
        return;
    BtSdkShortcutInfo info{};
    if (Btsdk_HostListShortcuts(device, &info, 1) == 1)
        shortcut = info.shortcut;
}

Client::~Client()
{
    if (device != 0)
        (void)Btsdk_HostRemoveDevice(device);
}

unsigned int Client::connect()
{
    return Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection);
}

namespace {

thread_local std::vector<Listed> *target = nullptr;

void takeEntry(unsigned char *data)
{
    FTP_FIND_DATA record;
    std::memcpy(&record, data, sizeof record);
    target->push_back({record.name, record.modified, record.size, (record.attributes & BTSDK_FTP_FOLDER) != 0});
}

std::mutex statusMutex;
std::vector<StatusLog::Report> statusReports;

QByteArray settingsFile()
{
    return qgetenv("VELMARO_SETTINGS");
}

} // namespace

std::vector<Listed> listed(unsigned int connection, unsigned int *result)
{
    std::vector<Listed> entries;
    target = &entries;
    const unsigned int outcome = Btsdk_FTPBrowseFolder(connection, "test", takeEntry, 0);
    if (result)
        *result = outcome;
    std::sort(entries.begin(), entries.end(), [](const Listed &a, const Listed &b) { return a.name < b.name; });
    return entries;
}

std::function<void(const StatusLog::Report &)> StatusLog::during;

void StatusLog::clear()
{
    const std::lock_guard<std::mutex> lock(statusMutex);
    statusReports.clear();
}

std::vector<StatusLog::Report> StatusLog::reports()
{
    const std::lock_guard<std::mutex> lock(statusMutex);
    return statusReports;
}

void StatusLog::callback(unsigned char first, unsigned char last, unsigned char *name, unsigned long size,
                         unsigned long done)
{
    const Report report{first != 0, last != 0, reinterpret_cast<const char *>(name),
                        size,       done,      std::this_thread::get_id()};
    {
        const std::lock_guard<std::mutex> lock(statusMutex);
        statusReports.push_back(report);
    }
    if (during)
        during(report);
}

EventLog::EventLog()
{
    (void)Btsdk_HostSetEventCallback(&EventLog::take, this);
}

EventLog::~EventLog()
{
    (void)Btsdk_HostSetEventCallback(nullptr, nullptr);
}

void EventLog::take(const BtSdkEventInfo *event, void *context)
{
    auto *self = static_cast<EventLog *>(context);
    const std::lock_guard<std::mutex> lock(self->m_mutex);
    self->m_events.push_back({event->event, event->handle, event->other, event->value, event->text});
}

std::vector<EventLog::Event> EventLog::events() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

bool EventLog::has(BtsdkEvent event, unsigned int handle) const
{
    const std::vector<Event> all = events();
    return std::any_of(all.begin(), all.end(),
                       [&](const Event &each) { return each.event == event && each.handle == handle; });
}

void EventLog::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_events.clear();
}

bool writeFile(const QString &path, qint64 size, quint32 seed)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QRandomGenerator random(seed);
    std::vector<quint32> block(16 * 1024);
    for (quint32 &number : block)
        number = random.generate();
    const char *bytes = reinterpret_cast<const char *>(block.data());
    const qint64 blockSize = static_cast<qint64>(block.size() * sizeof(quint32));
    for (qint64 done = 0; done < size; done += blockSize) {
        const qint64 count = std::min(blockSize, size - done);
        ++block[0]; // no two blocks are alike, so that none can be lost or change places unseen
        if (file.write(bytes, count) != count)
            return false;
    }
    return true;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

ObexSetting::ObexSetting(const char *key, int value)
    : m_file(settingsFile()), m_old(readFile(QString::fromUtf8(m_file)))
{
    m_existed = QFile::exists(QString::fromUtf8(m_file));
    (void)Btsdk_WritePrivateProfileInt("OBEX", key, value, m_file.constData());
}

ObexSetting::~ObexSetting()
{
    QFile file(QString::fromUtf8(m_file));
    if (!m_existed)
        file.remove();
    else if (file.open(QIODevice::WriteOnly))
        file.write(m_old);
}
