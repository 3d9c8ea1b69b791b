#include "SdkEvents.h"

#include <QList>

#include <mutex>

namespace manager {

namespace {

std::mutex receiverMutex;
ReceivedReports *receiver = nullptr; // guarded by receiverMutex

} // namespace

SdkEvents::SdkEvents(QObject *parent) : QObject(parent)
{
    Btsdk_HostSetEventCallback(&SdkEvents::receive, this);
}

SdkEvents::~SdkEvents()
{
    stop();
}

void SdkEvents::stop()
{
    Btsdk_HostSetEventCallback(nullptr, nullptr);
}

void SdkEvents::receive(const BtSdkEventInfo *event, void *context)
{
    auto *self = static_cast<SdkEvents *>(context);
    const BtSdkEventInfo copy = *event;
    QMetaObject::invokeMethod(
        self, [self, copy] { self->handle(copy.event, copy.handle, copy.value); }, Qt::QueuedConnection);
}

void SdkEvents::handle(unsigned int event, unsigned int handle, unsigned int value)
{
    emit changed();
    if (event == BTSDK_EVENT_CONNECTED)
        emit connected(handle);
    else if (event == BTSDK_EVENT_DISCONNECTED)
        emit disconnected(handle, value);
    else if (event == BTSDK_EVENT_CONNECT_FAILED)
        emit connectFailed(handle, value);
}

ReceivedReports::ReceivedReports()
{
    const std::lock_guard<std::mutex> lock(receiverMutex);
    receiver = this;
}

ReceivedReports::~ReceivedReports()
{
    const std::lock_guard<std::mutex> lock(receiverMutex);
    receiver = nullptr;
}

unsigned int ReceivedReports::report(unsigned int kind, unsigned int event, unsigned int size, unsigned char *data)
{
    if (kind != 1 || event != 7 || size != 260 || !data)
        return 0;
    const auto *texts = reinterpret_cast<const QList<QString> *>(data);
    if (texts->size() != 2)
        return 0;
    // The list is the caller's and stays valid during the call only; the strings are shared copies.
    const QString folder = texts->at(0);
    const QString name = texts->at(1);
    const std::lock_guard<std::mutex> lock(receiverMutex);
    if (ReceivedReports *self = receiver) {
        QMetaObject::invokeMethod(
            self, [self, folder, name] { emit self->received(folder, name); }, Qt::QueuedConnection);
    }
    return 0;
}

} // namespace manager
