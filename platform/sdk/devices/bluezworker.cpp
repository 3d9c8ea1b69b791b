#include "devices/bluezworker.h"

#include <BluezQt/InitManagerJob>
#include <BluezQt/PendingCall>

#include <algorithm>

namespace devices {

namespace {

const QString fileTransferUuid = QStringLiteral("00001106-0000-1000-8000-00805f9b34fb");

/**
 * Lends the record of our server to BlueZ. The UUID is our own: BlueZ gives each UUID to one owner, and that of file
 * transfer belongs to the OBEX daemon that most desktops run. Clients go by the class in the record.
 * No channel is named, so that BlueZ opens no sockets: the server has its own, and finds out if one cannot be had.
 */
class RecordProfile : public BluezQt::Profile
{
public:
    explicit RecordProfile(const QString &record)
    {
        setName(QStringLiteral("File Transfer"));
        setLocalRole(ServerRole);
        setServiceRecord(record);
    }

    QDBusObjectPath objectPath() const override
    {
        return QDBusObjectPath(QStringLiteral("/velmaro/filetransfer_%1").arg(quintptr(this), 0, 16));
    }
    QString uuid() const override { return QStringLiteral("6e3c6f1a-31c1-4a53-9a28-5a2e5a0a4a01"); }
};

std::string text(const QString &string)
{
    return string.toStdString();
}

BluetoothDevice describe(const BluezQt::AdapterPtr &adapter, const BluezQt::DevicePtr &device)
{
    BluetoothDevice result;
    result.adapter = text(adapter->address());
    result.address = text(device->address());
    result.name = text(device->name());
    if (result.name.empty())
        result.name = result.address;
    result.paired = device->isPaired();
    result.trusted = device->isTrusted();
    result.powered = adapter->isPowered();
    result.offersFileTransfer = device->uuids().contains(fileTransferUuid, Qt::CaseInsensitive);
    return result;
}

} // namespace

BluezWorker::BluezWorker(std::function<void(BluezSnapshot)> changed) : m_changed(std::move(changed)) {}

BluezWorker::~BluezWorker()
{
    if (m_profile && m_manager.isOperational())
        m_manager.unregisterProfile(m_profile.get()); // BlueZ drops it in any case when the connection ends
}

void BluezWorker::start()
{
    follow();
    BluezQt::InitManagerJob *job = m_manager.init();
    connect(job, &BluezQt::InitManagerJob::result, this, [this] {
        m_complete = true;
        refresh();
        registerProfile();
    });
    job->start();
}

void BluezWorker::follow()
{
    using BluezQt::Manager;
    const auto again = [this] { refresh(); };
    connect(&m_manager, &Manager::adapterAdded, this, again);
    connect(&m_manager, &Manager::adapterRemoved, this, again);
    connect(&m_manager, &Manager::adapterChanged, this, again);
    connect(&m_manager, &Manager::deviceAdded, this, again);
    connect(&m_manager, &Manager::deviceRemoved, this, again);
    connect(&m_manager, &Manager::deviceChanged, this, again);
    connect(&m_manager, &Manager::usableAdapterChanged, this, again);
    connect(&m_manager, &Manager::operationalChanged, this, [this](bool operational) {
        refresh();
        if (operational)
            registerProfile();
    });
}

BluezSnapshot BluezWorker::look() const
{
    BluezSnapshot seen;
    if (!m_manager.isOperational()) {
        seen.state = BluetoothState::NoService;
        return seen;
    }
    const QList<BluezQt::AdapterPtr> adapters = m_manager.adapters();
    seen.state = adapters.isEmpty() ? BluetoothState::NoAdapter : BluetoothState::Off;
    for (const BluezQt::AdapterPtr &adapter : adapters) {
        if (adapter->isPowered() && seen.state != BluetoothState::Ready) {
            seen.state = BluetoothState::Ready;
            seen.localName = text(adapter->name());
        }
        for (const BluezQt::DevicePtr &device : adapter->devices()) {
            if (seen.all.size() < Bluez::maxDevices)
                seen.all.push_back(describe(adapter, device));
        }
    }
    const auto before = [](const BluetoothDevice &a, const BluetoothDevice &b) {
        return std::tie(a.address, a.adapter) < std::tie(b.address, b.adapter);
    };
    std::sort(seen.all.begin(), seen.all.end(), before);
    return seen;
}

void BluezWorker::refresh()
{
    if (m_complete) // half of what there is would look like a device that is gone, or an adapter that is off
        m_changed(look());
}

void BluezWorker::publish(const QString &record)
{
    if (m_profile && m_manager.isOperational())
        m_manager.unregisterProfile(m_profile.get());
    m_profile.reset();
    m_record = record;
    if (m_manager.isOperational())
        registerProfile();
}

void BluezWorker::registerProfile()
{
    if (m_record.isEmpty() || !m_manager.isOperational())
        return;
    m_profile = std::make_unique<RecordProfile>(m_record);
    m_manager.registerProfile(m_profile.get());
}

void BluezWorker::stopDiscovery(const std::function<void()> &done)
{
    const auto waiting = std::make_shared<int>(1);
    const auto answered = [waiting, done] {
        if (--*waiting == 0)
            done();
    };
    for (const BluezQt::AdapterPtr &adapter : m_manager.adapters()) {
        if (!adapter->isDiscovering())
            continue;
        ++*waiting;
        // A search that another program has begun goes on: BlueZ refuses, and that is as it should be.
        connect(adapter->stopDiscovery(), &BluezQt::PendingCall::finished, this, answered);
    }
    answered();
}

} // namespace devices
