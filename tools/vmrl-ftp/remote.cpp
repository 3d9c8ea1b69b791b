#include "vmrl-ftp/remote.h"

#include "btsdk_host.h"
#include "vmrl-ftp/interrupt.h"
#include "vmrl-ftp/progressline.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace vmrlftp {

namespace {

// The listing callback has no argument of its own; listings are made on one thread.
std::vector<RemoteEntry> *listing = nullptr;

void takeEntry(unsigned char *data)
{
    FTP_FIND_DATA record;
    std::memcpy(&record, data, sizeof record);
    listing->push_back({record.name, record.modified, record.size, (record.attributes & BTSDK_FTP_FOLDER) != 0});
}

void showProgress(unsigned char first, unsigned char last, unsigned char *name, unsigned long size, unsigned long done)
{
    static ProgressLine line; // the library reports one transfer at a time, on one thread
    winsize window{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
    const std::string text = line.update(first != 0, last != 0, reinterpret_cast<const char *>(name), size, done,
                                         known ? window.ws_col : 80, ProgressLine::Clock::now());
    (void)std::fprintf(stderr, "\r%s\x1b[K%s", text.c_str(), last ? "\n" : "");
}

std::string askOnTerminal()
{
    std::string answer;
    const std::unique_ptr<FILE, int (*)(FILE *)> terminal(std::fopen("/dev/tty", "r+"), &std::fclose);
    if (!terminal)
        return answer;
    const int fd = ::fileno(terminal.get());
    termios shown{};
    const bool hide = ::tcgetattr(fd, &shown) == 0;
    if (hide) {
        termios hidden = shown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        (void)::tcsetattr(fd, TCSAFLUSH, &hidden);
    }
    (void)std::fputs("Passkey of the device: ", terminal.get());
    (void)std::fflush(terminal.get());
    char line[256] = "";
    if (std::fgets(line, sizeof line, terminal.get()))
        answer.assign(line, std::strcspn(line, "\r\n"));
    if (hide)
        (void)::tcsetattr(fd, TCSAFLUSH, &shown);
    (void)std::fputs("\n", terminal.get());
    return answer;
}

int givePasskey(unsigned int /*device*/, char *buffer, unsigned int size, void *context)
{
    const Options &options = *static_cast<const Options *>(context);
    const std::string passkey = options.passkey ? *options.passkey : askOnTerminal();
    if (passkey.empty() || passkey.size() >= size)
        return 0;
    std::memcpy(buffer, passkey.c_str(), passkey.size() + 1);
    return 1;
}

constexpr std::chrono::seconds bluetoothPatience{5};

/** Devices come from BlueZ a moment after the library has started. */
unsigned int findBluetoothDevice(const std::string &address, const Interrupt &interrupt)
{
    const auto end = std::chrono::steady_clock::now() + bluetoothPatience;
    for (;;) {
        std::vector<BtSdkDeviceInfo> devices(Btsdk_HostListDevices(nullptr, 0));
        const unsigned int count = Btsdk_HostListDevices(devices.data(), static_cast<unsigned int>(devices.size()));
        devices.resize(std::min<std::size_t>(devices.size(), count));
        // Of two adapters that know the device, one that is switched off is of no use.
        const BtSdkDeviceInfo *found = nullptr;
        for (const BtSdkDeviceInfo &device : devices) {
            if (device.kind == BTSDK_DEVICE_BLUETOOTH && address == device.address && (!found || device.reachable))
                found = &device;
        }
        if (found)
            return found->device;
        const unsigned int state = Btsdk_HostGetBluetoothState();
        const bool mayCome = state == BTSDK_BLUETOOTH_STARTING || state == BTSDK_BLUETOOTH_READY;
        if (!mayCome || interrupt.happened() || std::chrono::steady_clock::now() > end)
            return 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

Remote::Remote(const Options &options, Interrupt &interrupt) : m_options(options), m_interrupt(interrupt) {}

Remote::~Remote()
{
    m_interrupt.setConnection(0);
    if (m_connection != 0)
        (void)Btsdk_Disconnect(m_connection); // the link may be gone already
    Btsdk_HostShutdown();
}

unsigned int Remote::findDevice(unsigned int *device) const
{
    if (m_options.port != 0) {
        const std::string name = m_options.host + ':' + std::to_string(m_options.port);
        return Btsdk_HostAddTransientDevice(name.c_str(), m_options.host.c_str(), m_options.port, device);
    }
    *device = findBluetoothDevice(m_options.host, m_interrupt);
    if (*device != 0)
        return BTSDK_OK;
    return Btsdk_HostGetBluetoothState() == BTSDK_BLUETOOTH_READY ? BTSDK_ER_INVALID_HANDLE : BTSDK_ER_NO_TRANSPORT;
}

unsigned int Remote::connect()
{
    unsigned int device = 0;
    unsigned int result = findDevice(&device);
    if (result != BTSDK_OK)
        return result;
    (void)Btsdk_HostSetPasskeyCallback(givePasskey, const_cast<Options *>(&m_options)); // only read there
    BtSdkShortcutInfo shortcut{};
    if (Btsdk_HostListShortcuts(device, &shortcut, 1) != 0)
        m_interrupt.setShortcut(shortcut.shortcut);
    if (m_interrupt.happened())
        return BTSDK_ER_CANCELLED;
    result = Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &m_connection);
    if (result != BTSDK_OK)
        return result;
    m_interrupt.setConnection(m_connection);
    if (!m_options.quiet && ::isatty(STDERR_FILENO) == 1)
        (void)Btsdk_FTPRegisterStatusCallback(m_connection, showProgress); // without it, no progress is shown
    return BTSDK_OK;
}

unsigned int Remote::enter(const std::string &folder) const
{
    return Btsdk_FTPSetRmtDir(m_connection, folder.c_str());
}

unsigned int Remote::list(const std::string &folder, std::vector<RemoteEntry> *entries) const
{
    entries->clear();
    unsigned int result = enter(folder);
    if (result != BTSDK_OK)
        return result;
    listing = entries;
    result = Btsdk_FTPBrowseFolder(m_connection, folder.c_str(), takeEntry, 0);
    std::sort(entries->begin(), entries->end(),
              [](const RemoteEntry &a, const RemoteEntry &b) { return a.name < b.name; });
    return result;
}

unsigned int Remote::find(const std::string &name, RemoteEntry *entry, bool *found) const
{
    std::vector<RemoteEntry> entries;
    listing = &entries;
    const unsigned int result = Btsdk_FTPBrowseFolder(m_connection, name.c_str(), takeEntry, 0);
    const auto match =
        std::find_if(entries.begin(), entries.end(), [&](const RemoteEntry &other) { return other.name == name; });
    *found = match != entries.end();
    if (*found)
        *entry = *match;
    return *found ? static_cast<unsigned int>(BTSDK_OK) : result;
}

} // namespace vmrlftp
