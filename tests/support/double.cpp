#include "double.h"

#include <cstring>
#include <thread>

FTP_FIND_DATA RemoteEntry::record() const
{
    FTP_FIND_DATA data{};
    data.size = size;
    std::memcpy(data.name, name.constData(), std::min<size_t>(static_cast<size_t>(name.size()), sizeof data.name - 1));
    std::memcpy(data.modified, modified.constData(),
                std::min<size_t>(static_cast<size_t>(modified.size()), sizeof data.modified - 1));
    data.attributes = folder ? BTSDK_FTP_FOLDER : 0;
    return data;
}

Double &Double::instance()
{
    // Never destroyed: threads of the plug-in may outlive main.
    static Double *const only = new Double;
    return *only;
}

Double::Double() : m_state(new State)
{
    reset();
}

Double::~Double() = default;

void Double::State::restore()
{
    folders.clear();
    current = "/";
    connected.clear();
    nextConnection = firstConnection;
    connectDelay = 0;
    browseSendsNull = browseOnOwnThread = false;
    outgoing.clear();
    statusCallback = nullptr;
    reports.clear();
    content = "from the device";
    dropAfterFirstReport = transfersHang = false;
    receiveCallback = nullptr;
    serverStatus = BTSDK_SERVER_STOPPED;
    serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    security = 0;
    updates.clear();
    ready = true;
    localName = "Test computer";
    settings.clear();
    settingsPath = "/double/settings.ini";
    workingDir = "/double/working";
    names = {{BTSDK_CLS_OBEX_FILE_TRANS, QStringLiteral("Bluetooth File Transfer")}};
    descriptions = {{BTSDK_CLS_OBEX_FILE_TRANS, QStringLiteral("Lets other devices use a folder of this computer.")}};
}

void Double::reset()
{
    Recorder::reset();
    releaseTransfers();
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->restore();
    }
    play(Scenario::Connects);
}

QByteArray Double::State::settingKey(const char *section, const char *key)
{
    return QByteArray(section).toLower() + '\n' + QByteArray(key).toLower();
}

void Double::setListing(const QByteArray &folder, const QList<RemoteEntry> &entries)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->folders.insert(folder, entries);
}

QList<RemoteEntry> Double::listing(const QByteArray &folder) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->folders.value(folder);
}

QByteArray Double::remoteFolder() const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->current;
}

void Double::setShortcutConnected(unsigned int shortcut, bool connected)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    if (connected)
        m_state->connected.insert(shortcut);
    else
        m_state->connected.remove(shortcut);
}

bool Double::isShortcutConnected(unsigned int shortcut) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->connected.contains(shortcut);
}

void Double::setBrowseSendsNull(bool on)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->browseSendsNull = on;
}

void Double::setBrowseOnOwnThread(bool on)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->browseOnOwnThread = on;
}

void Double::setOutgoing(const QList<QPair<unsigned int, unsigned short>> &connections)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->outgoing = connections;
}

void Double::setReports(const QList<Report> &reports)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->reports = reports;
}

void Double::setTransfersHang(bool on)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->transfersHang = on;
}

void Double::releaseTransfers()
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    ++m_state->releases;
    m_state->changed.notify_all();
}

int Double::hangingTransfers() const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->hanging;
}

void Double::setContent(const QByteArray &content)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->content = content;
}

void Double::report(const Report &report)
{
    std::thread([this, report] {
        BtsdkStatusCallback callback = nullptr;
        {
            const std::lock_guard<std::mutex> lock(m_state->mutex);
            callback = m_state->statusCallback;
        }
        QByteArray name = report.name;
        if (callback)
            callback(report.first, report.last, reinterpret_cast<unsigned char *>(name.data()), report.size,
                     report.done);
    }).join();
}

void Double::setServerStatus(unsigned short status)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->serverStatus = status;
}

unsigned short Double::serverStatus() const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->serverStatus;
}

void Double::setServerAttributes(unsigned short serviceClass, unsigned short security)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->serviceClass = serviceClass;
    m_state->security = security;
}

QList<Double::Update> Double::updates() const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->updates;
}

unsigned int Double::receiveFile(quint32 event, const QByteArray &name)
{
    BtsdkReceiveFileCallback callback = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        callback = m_state->receiveCallback;
    }
    if (!callback)
        return 0;
    // As long as the name asks for, so that names longer than the project's own record holds can be sent.
    const int nameOffset = static_cast<int>(offsetof(_BtSdkFileTransferReqStru, fileName));
    QByteArray bytes(std::max(nameOffset + name.size() + 1, static_cast<int>(sizeof(_BtSdkFileTransferReqStru))), '\0');
    std::memcpy(bytes.data() + offsetof(_BtSdkFileTransferReqStru, event), &event, sizeof event);
    std::memcpy(bytes.data() + nameOffset, name.constData(), static_cast<size_t>(name.size()));
    unsigned int result = 0;
    std::thread([&] { result = callback(reinterpret_cast<_BtSdkFileTransferReqStru *>(bytes.data())); }).join();
    return result;
}

bool Double::hasReceiveCallback() const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->receiveCallback != nullptr;
}

void Double::setBluetoothReady(bool ready)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->ready = ready;
}

void Double::setLocalName(const QByteArray &name)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->localName = name;
}

void Double::setSetting(const char *section, const char *key, const QByteArray &value)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->settings.insert(State::settingKey(section, key), value);
}

QByteArray Double::setting(const char *section, const char *key) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->settings.value(State::settingKey(section, key));
}

bool Double::hasSetting(const char *section, const char *key) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->settings.contains(State::settingKey(section, key));
}

void Double::setSettingsPath(const QByteArray &path)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->settingsPath = path;
}

void Double::setWorkingDir(const QByteArray &path)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->workingDir = path;
}

void Double::setDisplayName(unsigned short serviceClass, const QString &name)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->names.insert(serviceClass, name);
}

void Double::setDescription(unsigned short serviceClass, const QString &description)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->descriptions.insert(serviceClass, description);
}
