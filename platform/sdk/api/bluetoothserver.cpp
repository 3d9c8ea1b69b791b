#include "api/bluetoothserver.h"

#include "devices/bluez.h"
#include "settings/settingsfile.h"

#include <cstdio>

namespace api {

namespace {

constexpr char section[] = "FTPSERVER";
constexpr unsigned int maxWaiting = 8;
constexpr std::chrono::milliseconds acceptPause{100};

std::string keyFor(const std::string &address)
{
    return "Allow " + address;
}

std::string number(const char *format, unsigned int value)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string sequence(const std::string &content)
{
    return "<sequence>" + content + "</sequence>";
}

std::string uuid(unsigned int value)
{
    return number("<uuid value=\"0x%04x\"/>", value);
}

std::string attribute(unsigned int id, const std::string &content)
{
    return number("<attribute id=\"0x%04x\">", id) + content + "</attribute>";
}

} // namespace

std::string fileTransferRecord(unsigned int channel, unsigned int psm)
{
    // Attributes of the file transfer profile's record (FTP 1.3, 7.1.1).
    constexpr unsigned int fileTransfer = BTSDK_CLS_OBEX_FILE_TRANS;
    std::string protocols = sequence(uuid(0x0100));
    if (channel != 0)
        protocols += sequence(uuid(0x0003) + number("<uint8 value=\"0x%02x\"/>", channel));
    protocols += sequence(uuid(0x0008));
    std::string record = attribute(0x0001, sequence(uuid(fileTransfer))) + attribute(0x0004, sequence(protocols)) +
                         attribute(0x0005, sequence(uuid(0x1002))) +
                         attribute(0x0009, sequence(sequence(uuid(fileTransfer) + "<uint16 value=\"0x0103\"/>"))) +
                         attribute(0x0100, "<text value=\"File Transfer\"/>");
    if (psm != 0)
        record += attribute(0x0200, number("<uint16 value=\"0x%04x\"/>", psm));
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record>" + record + "</record>";
}

BluetoothServer::BluetoothServer(devices::Bluez &bluez, const settings::SettingsFile &file, Serve serve)
    : m_bluez(bluez), m_file(file), m_serve(std::move(serve))
{
}

BluetoothServer::~BluetoothServer()
{
    stop();
    shutDown();
}

bool BluetoothServer::start(bool secure)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    unsigned int channel = 0;
    unsigned int psm = 0;
    if (auto listener = transport::BluetoothListener::listenRfcomm(secure)) {
        channel = listener->port();
        m_listeners.push_back(std::move(listener));
    }
    if (auto listener = transport::BluetoothListener::listenL2cap(secure)) {
        psm = listener->port();
        m_listeners.push_back(std::move(listener));
    }
    if (m_listeners.empty())
        return false;
    m_round |= 1U;
    for (const auto &listener : m_listeners) {
        transport::BluetoothListener *caller = listener.get();
        m_threads.emplace_back([this, caller, secure] { accept(*caller, secure); });
    }
    m_bluez.publish(fileTransferRecord(channel, psm));
    return true;
}

void BluetoothServer::stop()
{
    std::vector<std::unique_ptr<transport::BluetoothListener>> listeners;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_listeners.empty())
            return;
        ++m_round;
        listeners.swap(m_listeners);
    }
    m_bluez.publish({});
    for (const auto &listener : listeners)
        listener->close();
    for (std::thread &thread : m_threads)
        thread.join();
    m_threads.clear();
}

std::vector<std::string> BluetoothServer::listening() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> addresses;
    for (const auto &listener : m_listeners)
        addresses.push_back(listener->address());
    return addresses;
}

void BluetoothServer::accept(transport::BluetoothListener &listener, bool secure)
{
    const unsigned int round = m_round;
    transport::Wakeup nobody;
    for (;;) {
        transport::Dialled dialled = listener.accept(transport::Deadline::never());
        if (dialled.status == transport::IoStatus::Closed)
            return;
        if (!dialled.stream)
            (void)transport::waitFor(-1, 0, nobody, transport::Deadline::after(acceptPause));
        else if (!secure)
            m_serve(std::move(dialled.stream));
        else
            admit(std::make_shared<std::unique_ptr<transport::Stream>>(std::move(dialled.stream)), round);
    }
}

BluetoothServer::Verdict BluetoothServer::verdictOn(const std::string &address) const
{
    const std::string kept = m_file.value(section, keyFor(address));
    if (!kept.empty())
        return kept == "1" ? Verdict::Allow : Verdict::Refuse;
    const std::optional<devices::BluetoothDevice> device = m_bluez.find(address);
    return device && device->trusted ? Verdict::Allow : Verdict::Ask;
}

void BluetoothServer::admit(std::shared_ptr<std::unique_ptr<transport::Stream>> client, unsigned int round)
{
    const std::string address = (*client)->peer();
    const Verdict verdict = verdictOn(address);
    if (verdict == Verdict::Allow)
        m_serve(std::move(*client));
    if (verdict != Verdict::Ask || m_waiting >= maxWaiting)
        return;
    ++m_waiting;
    // Others are served while the user thinks it over.
    m_questions.post([this, client = std::move(client), address, round] {
        const bool allowed = round == m_round && ask(address);
        --m_waiting;
        if (allowed && round == m_round)
            m_serve(std::move(*client));
        client->reset();
    });
}

bool BluetoothServer::ask(const std::string &address)
{
    const Verdict before = verdictOn(address); // another question on it may have been answered meanwhile
    if (before != Verdict::Ask)
        return before == Verdict::Allow;
    int answer = BTSDK_AUTHORIZE_REFUSE;
    const std::string name = nameOf(address);
    m_authorize.call(
        [&](const Asked &asked) { answer = asked.callback(name.c_str(), address.c_str(), asked.context); });
    if (answer == BTSDK_AUTHORIZE_ALWAYS || answer == BTSDK_AUTHORIZE_NEVER) {
        // Where it cannot be kept the user is asked again next time.
        (void)settings::SettingsFile(m_file).write(section, keyFor(address),
                                                   answer == BTSDK_AUTHORIZE_ALWAYS ? "1" : "0");
    }
    return answer == BTSDK_AUTHORIZE_ONCE || answer == BTSDK_AUTHORIZE_ALWAYS;
}

std::string BluetoothServer::nameOf(const std::string &peer) const
{
    if (!transport::isBluetoothAddress(peer))
        return peer;
    const std::optional<devices::BluetoothDevice> device = m_bluez.find(peer);
    return device ? device->name : peer;
}

bool BluetoothServer::setAuthorizeCallback(BtsdkAuthorizeCallback callback, void *context)
{
    return m_authorize.set({callback, context});
}

void BluetoothServer::shutDown()
{
    ++m_round;
    (void)m_authorize.set({});
    m_questions.stop();
}

} // namespace api
