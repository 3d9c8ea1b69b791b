#include "world.h"

#include <QProcess>

#include <sys/socket.h>
#include <vector>

namespace world {

namespace {

constexpr int patience = 120000;
constexpr int l2cap = 0; // protocol numbers of <bluetooth/bluetooth.h>
constexpr int rfcomm = 3;

QString environment(const char *name)
{
    return qEnvironmentVariable(name);
}

int runProgram(const QString &program, const QStringList &arguments, QByteArray *output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(patience);
    const QByteArray text = process.readAll();
    if (output)
        *output = text;
    if (!ended || process.exitStatus() != QProcess::NormalExit)
        return -1;
    if (process.exitCode() != 0)
        qInfo("%s %s: %s", qPrintable(program), qPrintable(arguments.join(u' ')), text.constData());
    return process.exitCode();
}

} // namespace

QString ours()
{
    return environment("OURS");
}

QString theirs()
{
    return environment("THEIRS");
}

int run(const QStringList &command, QByteArray *output)
{
    return runProgram(QStringLiteral("/given/here"), command, output);
}

int runThere(const QStringList &command, QByteArray *output)
{
    return runProgram(QStringLiteral("/given/there"), command, output);
}

int bluez(const QStringList &arguments, QByteArray *output)
{
    return run(QStringList{QStringLiteral("python3"), QStringLiteral("/given/bluez.py")} + arguments, output);
}

int bluezThere(const QStringList &arguments, QByteArray *output)
{
    return runThere(QStringList{QStringLiteral("python3"), QStringLiteral("/given/bluez.py")} + arguments, output);
}

unsigned int theirDevice(BtSdkDeviceInfo *record)
{
    std::vector<BtSdkDeviceInfo> devices(Btsdk_HostListDevices(nullptr, 0));
    const unsigned int count = Btsdk_HostListDevices(devices.data(), static_cast<unsigned int>(devices.size()));
    devices.resize(qMin<std::size_t>(devices.size(), count));
    for (const BtSdkDeviceInfo &device : devices) {
        if (device.kind != BTSDK_DEVICE_BLUETOOTH || theirs() != QString::fromUtf8(device.address))
            continue;
        if (record)
            *record = device;
        return device.device;
    }
    return 0;
}

unsigned int theirShortcut()
{
    const unsigned int device = theirDevice();
    BtSdkShortcutInfo shortcut{};
    return device != 0 && Btsdk_HostListShortcuts(device, &shortcut, 1) == 1 ? shortcut.shortcut : 0;
}

QByteArray link()
{
    for (int fd = 3; fd < 256; ++fd) {
        int domain = 0;
        int protocol = 0;
        socklen_t size = sizeof domain;
        if (::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 || domain != AF_BLUETOOTH)
            continue;
        size = sizeof protocol;
        (void)::getsockopt(fd, SOL_SOCKET, SO_PROTOCOL, &protocol, &size);
        sockaddr_storage peer{};
        size = sizeof peer;
        if (::getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size) != 0)
            continue;
        if (protocol == rfcomm)
            return "rfcomm";
        if (protocol == l2cap)
            return "l2cap";
    }
    return {};
}

void set(const char *section, const char *key, const char *value)
{
    (void)Btsdk_WritePrivateProfileString(section, key, value, qgetenv("VELMARO_SETTINGS").constData());
}

} // namespace world
