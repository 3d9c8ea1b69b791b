#ifndef MANAGER_SDKEVENTS_H
#define MANAGER_SDKEVENTS_H

#include "btsdk_host.h"

#include <QObject>
#include <QString>

namespace manager {

/** The SDK's events, brought to the thread of this object as signals. One at a time. */
class SdkEvents : public QObject
{
    Q_OBJECT

public:
    explicit SdkEvents(QObject *parent = nullptr);
    ~SdkEvents() override;

    /** No signal is emitted from now on but for what is queued already. */
    void stop();

signals:
    void connected(unsigned int shortcut);
    /** @param result  why; 0: it was asked for */
    void disconnected(unsigned int shortcut, unsigned int result);
    void connectFailed(unsigned int shortcut, unsigned int result);
    /** After every event: what is shown of devices, shortcuts and servers may be out of date. */
    void changed();

private:
    static void receive(const BtSdkEventInfo *event, void *context);
    void handle(unsigned int event, unsigned int handle, unsigned int value);
};

/**
 * The function that profiles report through, and the way of a received file to the GUI thread. There is one, since the
 * function has no context.
 */
class ReceivedReports : public QObject
{
    Q_OBJECT

public:
    ReceivedReports();
    ~ReceivedReports() override;

    /** Matches manager::HostFunction; any thread. @return 0 */
    static unsigned int report(unsigned int kind, unsigned int event, unsigned int size, unsigned char *data);

signals:
    void received(const QString &folder, const QString &name);
};

} // namespace manager

#endif
