#ifndef DEMO_DEMOSERVER_H
#define DEMO_DEMOSERVER_H

#include "options.h"

/** The file transfer server of libVmrlClient, run by settings of its own. One at a time; ends with the object. */
class DemoServer
{
public:
    ~DemoServer();

    /**
     * Starts serving.
     * @param settings  where the settings file is written; the user's own is never read
     * @param folder    what is served
     * @param port      0: any free one
     * @return false with a reason
     */
    bool start(const QString &settings, const QString &folder, quint16 port, const Options &options, QString *error);

    quint16 port() const { return m_port; }

private:
    unsigned int m_server = 0;
    quint16 m_port = 0;
    bool m_started = false;
};

#endif
