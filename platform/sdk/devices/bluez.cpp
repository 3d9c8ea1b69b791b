#include "devices/bluez.h"

#include "devices/bluezworker.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QThread>

#include <condition_variable>
#include <future>
#include <set>

namespace devices {

/** The thread, and what it shares with the rest. */
class Bluez::Private : public QThread
{
public:
    ~Private() override { stop(); }

    void begin();
    void stop();
    bool post(std::function<void(BluezWorker &)> job);
    BluezSnapshot snapshot() const;
    void setListener(std::function<void()> listener);

protected:
    void run() override;

private:
    void take(BluezSnapshot snapshot);

    std::mutex m_listenerMutex; // held while the listener runs, so that unsetting it waits
    std::function<void()> m_listener;
    mutable std::mutex m_mutex; // guards what follows
    BluezSnapshot m_snapshot;
    std::vector<std::function<void(BluezWorker &)>> m_early; // jobs from before the worker
    BluezWorker *m_worker = nullptr;
    bool m_ended = false;

    friend class Bluez;
};

namespace {

// The threads to end when the application object goes: what Qt has for the bus goes soon after it.
std::mutex &threadsMutex()
{
    static auto *const mutex = new std::mutex;
    return *mutex;
}

std::set<QThread *> &threads()
{
    static auto *const set = new std::set<QThread *>;
    return *set;
}

void endThreads()
{
    const std::lock_guard<std::mutex> lock(threadsMutex());
    for (QThread *thread : threads()) {
        thread->quit();
        thread->wait();
    }
}

} // namespace

void Bluez::Private::begin()
{
    if (!QCoreApplication::instance()) {
        m_snapshot.state = BluetoothState::NoHost;
        m_ended = true;
        return;
    }
    static std::once_flag once;
    std::call_once(once, [] { qAddPostRoutine(endThreads); });
    {
        const std::lock_guard<std::mutex> lock(threadsMutex());
        threads().insert(this);
    }
    setObjectName(QStringLiteral("bluez"));
    start();
}

void Bluez::Private::stop()
{
    {
        const std::lock_guard<std::mutex> lock(threadsMutex());
        threads().erase(this);
    }
    quit();
    wait();
}

void Bluez::Private::run()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        BluezSnapshot none;
        none.state = BluetoothState::NoBus;
        take(none);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ended = true;
        m_early.clear();
        return;
    }
    BluezWorker worker([this](BluezSnapshot seen) { take(std::move(seen)); });
    std::vector<std::function<void(BluezWorker &)>> early;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_worker = &worker;
        early.swap(m_early);
    }
    worker.start();
    for (const auto &job : early)
        job(worker);
    (void)exec();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_worker = nullptr;
    m_ended = true;
}

void Bluez::Private::take(BluezSnapshot snapshot)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_snapshot == snapshot)
            return;
        m_snapshot = std::move(snapshot);
    }
    const std::lock_guard<std::mutex> lock(m_listenerMutex);
    if (m_listener)
        m_listener();
}

bool Bluez::Private::post(std::function<void(BluezWorker &)> job)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ended)
        return false;
    if (!m_worker) {
        m_early.push_back(std::move(job));
        return true;
    }
    BluezWorker *worker = m_worker;
    return QMetaObject::invokeMethod(
        worker, [worker, job = std::move(job)] { job(*worker); }, Qt::QueuedConnection);
}

BluezSnapshot Bluez::Private::snapshot() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_snapshot;
}

void Bluez::Private::setListener(std::function<void()> listener)
{
    const std::lock_guard<std::mutex> lock(m_listenerMutex);
    m_listener = std::move(listener);
}

Bluez::Bluez() : d(std::make_shared<Private>())
{
    d->begin();
}

Bluez::~Bluez()
{
    d->setListener({});
    d->stop();
}

void Bluez::setListener(std::function<void()> changed)
{
    d->setListener(std::move(changed));
}

BluetoothState Bluez::state() const
{
    return d->snapshot().state;
}

std::vector<BluetoothDevice> Bluez::devices() const
{
    std::vector<BluetoothDevice> shown;
    for (BluetoothDevice &device : d->snapshot().all) {
        if (device.paired || device.offersFileTransfer)
            shown.push_back(std::move(device));
    }
    return shown;
}

std::string Bluez::localName() const
{
    return d->snapshot().localName;
}

std::optional<BluetoothDevice> Bluez::find(const std::string &address) const
{
    std::optional<BluetoothDevice> found;
    for (BluetoothDevice &device : d->snapshot().all) {
        if (device.address == address && (!found || device.paired))
            found = std::move(device);
    }
    return found;
}

void Bluez::stopDiscovery(std::chrono::milliseconds patience)
{
    auto stopped = std::make_shared<std::promise<void>>();
    const std::future<void> done = stopped->get_future();
    // The job alone holds the promise: when it is dropped, nobody waits for it any longer.
    if (d->post([stopped = std::move(stopped)](BluezWorker &worker) {
            worker.stopDiscovery([stopped] { stopped->set_value(); });
        }))
        (void)done.wait_for(patience); // a search that goes on only makes the connection slower
}

void Bluez::publish(const std::string &record)
{
    (void)d->post([record = QString::fromStdString(record)](BluezWorker &worker) { worker.publish(record); });
}

} // namespace devices
