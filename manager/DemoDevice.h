#ifndef MANAGER_DEMODEVICE_H
#define MANAGER_DEMODEVICE_H

#include <QObject>
#include <QProcess>
#include <QTimer>

#include <optional>

namespace manager {

/** Where the demo device listens. */
struct Endpoint
{
    QString address;
    unsigned int port = 0;
};

/** Reads the demo program's line "listening ADDRESS:PORT"; nothing for any other line. */
std::optional<Endpoint> parseListening(const QByteArray &line);

/**
 * The demo device: a process of its own, which serves a sample folder on the loopback address. It ends with this
 * object, and by itself when this process dies.
 */
class DemoDevice : public QObject
{
    Q_OBJECT

public:
    explicit DemoDevice(QString program, QObject *parent = nullptr);
    ~DemoDevice() override;

    /** Starts the program; listening() or failed() follows. @param patience  milliseconds for the first answer */
    void start(int patience = 30000);

    /** Ends the program; no signal follows. Waits 3 s for it, then kills it. */
    void stop();

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }

signals:
    void listening(const manager::Endpoint &where);
    /** It could not be started, or it ended by itself. */
    void failed(const QString &reason);

private:
    class Process : public QProcess
    {
    protected:
        void setupChildProcess() override;
    };

    void readOutput();
    void fail(const QString &reason);
    QString lastWords();

    QString m_program;
    Process m_process;
    QTimer m_patience;
    bool m_announced = false;
};

} // namespace manager

#endif
