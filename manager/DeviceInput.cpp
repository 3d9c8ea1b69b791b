#include "DeviceInput.h"

#include <QCoreApplication>
#include <QUrl>

#include <algorithm>
#include <arpa/inet.h>

namespace manager {

namespace {

constexpr int textLimit = 255; // bytes that the SDK stores of a name or address

QString tr(const char *source)
{
    return QCoreApplication::translate("DeviceInput", source);
}

bool isNumeric(const QString &text)
{
    in6_addr address{};
    const QByteArray bare = text.section(u'%', 0, 0).toUtf8(); // without the interface of a link-local address
    return inet_pton(AF_INET, text.toUtf8().constData(), &address) == 1 ||
           inet_pton(AF_INET6, bare.constData(), &address) == 1;
}

bool isHostName(const QString &text)
{
    if (isNumeric(text))
        return true;
    const QByteArray ascii = QUrl::toAce(text);
    const bool digitsAndDots = std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit() || c == u'.'; });
    return !ascii.isEmpty() && !digitsAndDots && !text.startsWith(u'.');
}

QString nameError(const QString &name)
{
    if (name.isEmpty())
        return tr("Give the device a name.");
    if (name.toUtf8().size() > textLimit)
        return tr("The name is longer than %1 bytes.").arg(textLimit);
    if (std::any_of(name.begin(), name.end(), [](QChar c) { return c.category() == QChar::Other_Control; }))
        return tr("The name holds a character that cannot be shown.");
    return {};
}

QString addressError(const QString &address)
{
    if (address.isEmpty())
        return tr("Give the device's host name or address.");
    if (address.toUtf8().size() > textLimit)
        return tr("The address is longer than %1 bytes.").arg(textLimit);
    if (isHostName(address))
        return {};
    if (address.count(u':') == 1 && isHostName(address.section(u':', 0, 0)))
        return tr("The port has a field of its own, below.");
    return tr("This is neither a host name nor an IP address.");
}

QString portError(const QString &port)
{
    bool isNumber = false;
    const int value = port.toInt(&isNumber);
    return isNumber && value >= 1 && value <= 65535 ? QString() : tr("The port is a number from 1 to 65535.");
}

} // namespace

DeviceInput tidied(const DeviceInput &input)
{
    QString address = input.address.trimmed();
    if (address.startsWith(u'[') && address.endsWith(u']'))
        address = address.mid(1, address.size() - 2);
    return {input.name.trimmed(), address, input.port.trimmed()};
}

InputError checkDeviceInput(const DeviceInput &input, const QVector<KnownDevice> &known)
{
    const DeviceInput device = tidied(input);
    if (const QString error = nameError(device.name); !error.isEmpty())
        return {InputError::Name, error};
    if (const QString error = addressError(device.address); !error.isEmpty())
        return {InputError::Address, error};
    if (const QString error = portError(device.port); !error.isEmpty())
        return {InputError::Port, error};
    for (const KnownDevice &other : known) {
        if (other.address.compare(device.address, Qt::CaseInsensitive) == 0 && other.port == device.port.toUInt())
            return {InputError::Address,
                    tr("This device is already in the list, as \342\200\234%1\342\200\235.").arg(other.name)};
    }
    return {};
}

} // namespace manager
