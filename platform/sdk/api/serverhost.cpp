#include "api/serverhost.h"

#include "api/connection.h"
#include "api/handles.h"
#include "settings/settingsfile.h"
#include "settings/utf8.h"
#include "transport/tcp.h"

#include <cstring>
#include <filesystem>
#include <random>

namespace api {

namespace {

constexpr std::size_t maxFolder = sizeof(BtSdkFtpServerParameters::folder) - 1;
constexpr std::size_t maxFileName = sizeof(_BtSdkFileTransferReqStru::fileName) - 1;

std::string randomPasskey()
{
    std::random_device device;
    std::uniform_int_distribution<int> digit('0', '9');
    std::string passkey;
    for (int count = 0; count < 6; ++count)
        passkey += static_cast<char>(digit(device));
    return passkey;
}

std::string passkeyFrom(const settings::SettingsFile &file)
{
    const std::string kept = file.value("FTPSERVER", "Passkey");
    return kept.empty() ? randomPasskey() : kept;
}

bool isFolder(const std::string &path)
{
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

bool isFolderPath(const std::string &path)
{
    return !path.empty() && path.front() == '/' && path.size() <= maxFolder;
}

unsigned short knownAccess(unsigned short access)
{
    return access == BTSDK_ACCESS_WRITABLE ? BTSDK_ACCESS_WRITABLE : BTSDK_ACCESS_READ_ONLY;
}

} // namespace

ServerHost::ServerHost(ServerHostObserver &observer, const settings::SettingsFile &file, devices::Bluez &bluez)
    : m_observer(observer),
      m_file(file),
      m_passkey(passkeyFrom(file)),
      m_server(obex::ServerConfig(), this),
      m_bluetooth(bluez, file,
                  // One that is too many is hung up on.
                  [this](std::unique_ptr<transport::Stream> client) { (void)m_server.serve(std::move(client)); })
{
}

ServerHost::~ServerHost()
{
    shutDown();
}

std::uint32_t ServerHost::handle() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_handle;
}

std::uint32_t ServerHost::registerService(unsigned short access, const std::string &folder)
{
    if (!isFolderPath(folder))
        return 0;
    const std::lock_guard<std::mutex> control(m_controlMutex);
    Wishes wishes;
    bool running = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_shutDown)
            return 0;
        wishes = m_wishes;
        running = m_running;
        if (m_handle == 0) {
            m_handle = newHandle(HandleKind::Server);
            // A passkey that the user asked for once is asked for until he says otherwise.
            wishes.security = m_file.intValue("FTPSERVER", "Security", 0) != 0 ? BTSDK_SECURE_CONNECTION : 0;
        }
    }
    if (running && !isFolder(folder))
        return 0;
    wishes.access = knownAccess(access);
    wishes.folder = folder;
    (void)apply(wishes); // the folder was looked at above; a stopped server takes any
    return handle();
}

unsigned int ServerHost::start(std::uint32_t server)
{
    const std::lock_guard<std::mutex> control(m_controlMutex);
    Wishes wishes;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (server == 0 || server != m_handle)
            return BTSDK_ER_INVALID_HANDLE;
        if (m_running)
            return BTSDK_OK;
        if (m_shutDown)
            return BTSDK_ER_CANCELLED;
        wishes = m_wishes;
    }
    if (!isFolder(wishes.folder))
        return BTSDK_ER_LOCAL_FILE;
    std::vector<std::unique_ptr<transport::Listener>> listeners;
    if (m_file.intValue("NETWORK", "Enabled", 1) != 0) {
        const Limits limits = Limits::read(m_file);
        listeners.push_back(transport::TcpListener::listen(limits.serverAddress, limits.serverPort));
        if (!listeners.back())
            return BTSDK_ER_NO_TRANSPORT;
    }
    const bool overNetwork = !listeners.empty();
    m_server.configure(configFor(wishes));
    setRunning(true); // before the first client can come
    m_server.start(std::move(listeners));
    if (m_bluetooth.start(wishes.security != 0) || overNetwork)
        return BTSDK_OK;
    m_server.stop();
    setRunning(false);
    return BTSDK_ER_NO_TRANSPORT;
}

unsigned int ServerHost::stop(std::uint32_t server)
{
    const std::lock_guard<std::mutex> control(m_controlMutex);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (server == 0 || server != m_handle)
            return BTSDK_ER_INVALID_HANDLE;
        if (!m_running)
            return BTSDK_OK;
    }
    m_bluetooth.stop();
    m_server.stop();
    setRunning(false);
    return BTSDK_OK;
}

void ServerHost::setRunning(bool running)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running = running;
    m_since = running ? currentTime() : 0;
    m_observer.serverStatus(m_handle, statusNow());
}

BtsdkServerStatus ServerHost::statusNow() const
{
    if (!m_running)
        return BTSDK_SERVER_STOPPED;
    return m_clients.empty() ? BTSDK_SERVER_STARTED : BTSDK_SERVER_CONNECTED;
}

unsigned int ServerHost::status(std::uint32_t server, unsigned short *status) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (server == 0 || server != m_handle)
        return BTSDK_ER_INVALID_HANDLE;
    *status = static_cast<unsigned short>(statusNow());
    return BTSDK_OK;
}

unsigned int ServerHost::attributes(std::uint32_t server, BtSdkServerAttributes &record) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (server == 0 || server != m_handle)
        return BTSDK_ER_INVALID_HANDLE;
    record.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    if ((record.mask & BTSDK_ATTRIBUTE_SECURITY) != 0)
        record.security = m_wishes.security;
    if ((record.mask & BTSDK_ATTRIBUTE_APPLICATION) != 0 && record.application) {
        BtSdkFtpServerParameters &application = *record.application;
        application.size = sizeof application;
        application.mask = 3;
        application.access = m_wishes.access;
        settings::copyUtf8(application.folder, sizeof application.folder, m_wishes.folder);
    }
    return BTSDK_OK;
}

unsigned int ServerHost::update(std::uint32_t server, const BtSdkServerAttributes &record)
{
    const std::lock_guard<std::mutex> control(m_controlMutex);
    Wishes wishes;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (server == 0 || server != m_handle)
            return BTSDK_ER_INVALID_HANDLE;
        wishes = m_wishes;
    }
    if ((record.mask & BTSDK_ATTRIBUTE_APPLICATION) != 0) {
        if (!record.application)
            return BTSDK_ER_INVALID_PARAMETER;
        const char *folder = record.application->folder;
        wishes.folder.assign(folder, ::strnlen(folder, maxFolder + 1));
        wishes.access = knownAccess(record.application->access);
        if (!isFolderPath(wishes.folder))
            return BTSDK_ER_INVALID_PARAMETER;
        if (!isFolder(wishes.folder))
            return BTSDK_ER_LOCAL_FILE;
    }
    if ((record.mask & BTSDK_ATTRIBUTE_SECURITY) != 0) {
        wishes.security = (record.security & BTSDK_SECURE_CONNECTION) != 0 ? BTSDK_SECURE_CONNECTION : 0;
        // Kept, so that a restart does not open the folder to everybody; where it cannot be kept it holds until then.
        (void)settings::SettingsFile(m_file).write("FTPSERVER", "Security", std::to_string(wishes.security));
    }
    return apply(wishes);
}

unsigned int ServerHost::apply(const Wishes &wishes)
{
    bool running = false;
    bool securityChanges = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        securityChanges = m_wishes.security != wishes.security;
        m_wishes = wishes;
        running = m_running;
    }
    if (!running)
        return BTSDK_OK;
    if (securityChanges)
        m_bluetooth.stop();
    m_server.configure(configFor(wishes));
    if (securityChanges)
        (void)m_bluetooth.start(wishes.security != 0); // as at the start, other ways in may be open
    return BTSDK_OK;
}

obex::ServerConfig ServerHost::configFor(const Wishes &wishes) const
{
    obex::ServerConfig config;
    Limits::read(m_file).apply(config);
    config.folder = wishes.folder;
    config.access = wishes.access == BTSDK_ACCESS_WRITABLE ? share::Access::Writable : share::Access::ReadOnly;
    config.passkey = wishes.security != 0 ? m_passkey : std::string();
    return config;
}

unsigned int ServerHost::describe(std::uint32_t server, BtSdkServerInfo &record) const
{
    const obex::ServerStatus status = m_server.status();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (server == 0 || server != m_handle)
        return BTSDK_ER_INVALID_HANDLE;
    std::memset(&record, 0, sizeof record);
    record.server = m_handle;
    record.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    record.status = static_cast<std::uint16_t>(statusNow());
    record.access = m_wishes.access;
    record.clients = static_cast<std::uint32_t>(m_clients.size());
    record.security = m_wishes.security;
    record.startedSince = m_since;
    record.bytesReceived = status.received;
    record.bytesSent = status.sent;
    settings::copyUtf8(record.folder, sizeof record.folder, m_wishes.folder);
    std::string listening;
    for (const std::string &address : status.listening)
        listening += (listening.empty() ? "" : ", ") + address;
    for (const std::string &address : m_bluetooth.listening())
        listening += (listening.empty() ? "" : ", ") + address;
    settings::copyUtf8(record.listening, sizeof record.listening, m_running ? listening : std::string());
    if (!m_clients.empty())
        settings::copyUtf8(record.client, sizeof record.client, m_clients.rbegin()->second);
    return BTSDK_OK;
}

void ServerHost::clientConnected(std::uint32_t client, const std::string &peer)
{
    std::string name = m_bluetooth.nameOf(peer);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clients[client] = std::move(name);
    if (m_clients.size() == 1)
        m_observer.serverStatus(m_handle, statusNow());
}

void ServerHost::clientLeft(std::uint32_t client)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_clients.erase(client) != 0 && m_clients.empty())
        m_observer.serverStatus(m_handle, statusNow());
}

void ServerHost::fileReceived(std::uint32_t client, const std::string &folder, const std::string &name)
{
    const std::string path = folder.empty() ? name : folder + '/' + name;
    m_observer.fileReceived(handle(), path);
    if (m_receive.isSet())
        m_receiveQueue.post([this, client, name = path.size() <= maxFileName ? path : name] { handOver(client, name); },
                            true);
}

void ServerHost::handOver(std::uint32_t client, const std::string &name)
{
    _BtSdkFileTransferReqStru request{};
    request.connection = client;
    request.event = BTSDK_EVENT_FILE_RECEIVED;
    settings::copyUtf8(request.fileName, sizeof request.fileName, name);
    m_receive.call([&](BtsdkReceiveFileCallback callback) { (void)callback(&request); }); // the host's own answer
}

void ServerHost::shutDown()
{
    {
        const std::lock_guard<std::mutex> control(m_controlMutex);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_shutDown = true;
        }
        m_bluetooth.stop();
        m_server.stop();
        if (m_running)
            setRunning(false);
    }
    m_bluetooth.shutDown();
    m_receiveQueue.stop();
}

} // namespace api
