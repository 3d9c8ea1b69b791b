#ifndef DEVICES_BLUEZWORKER_H
#define DEVICES_BLUEZWORKER_H

#include "devices/bluez.h"

#include <BluezQt/Adapter>
#include <BluezQt/Device>
#include <BluezQt/Manager>
#include <BluezQt/Profile>
#include <QObject>

#include <mutex>

namespace devices {

/** What the worker finds out, and everybody else reads. */
struct BluezSnapshot
{
    BluetoothState state = BluetoothState::Starting;
    std::string localName;
    std::vector<BluetoothDevice> all;

    bool operator==(const BluezSnapshot &other) const
    {
        return state == other.state && localName == other.localName && all == other.all;
    }
};

/** Takes part in BlueZ's life, on the thread that made it. */
class BluezWorker : public QObject
{
public:
    /** @param changed  takes each new snapshot */
    explicit BluezWorker(std::function<void(BluezSnapshot)> changed);
    ~BluezWorker() override;

    void start();
    void publish(const QString &record);

    /** @param done  runs when BlueZ has answered for each adapter */
    void stopDiscovery(const std::function<void()> &done);

private:
    void follow();
    void refresh();
    void registerProfile();
    BluezSnapshot look() const;

    const std::function<void(BluezSnapshot)> m_changed;
    BluezQt::Manager m_manager;
    std::unique_ptr<BluezQt::Profile> m_profile;
    QString m_record;
    bool m_complete = false; // what was there at the start is known
};

} // namespace devices

#endif
