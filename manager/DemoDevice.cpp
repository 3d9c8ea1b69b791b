#include "DemoDevice.h"

#include <QFileInfo>

#include <csignal>
#include <sys/prctl.h>

namespace manager {

namespace {

constexpr int longestLine = 4096; // a program that never ends its line must not fill our memory
constexpr int stopPatience = 3000;

} // namespace

std::optional<Endpoint> parseListening(const QByteArray &line)
{
    const QByteArray keyword = QByteArrayLiteral("listening ");
    const QByteArray where = line.trimmed().mid(keyword.size());
    const int colon = where.lastIndexOf(':');
    bool isNumber = false;
    const unsigned int port = where.mid(colon + 1).toUInt(&isNumber);
    if (!line.startsWith(keyword) || colon < 1 || !isNumber || port < 1 || port > 65535)
        return std::nullopt;
    return Endpoint{QString::fromUtf8(where.left(colon)), port};
}

void DemoDevice::Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

DemoDevice::DemoDevice(QString program, QObject *parent) : QObject(parent), m_program(std::move(program))
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] { fail(tr("It did not say where it listens.")); });
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &DemoDevice::readOutput);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(m_process.errorString());
    });
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this] { fail(lastWords()); });
}

DemoDevice::~DemoDevice()
{
    stop();
}

void DemoDevice::start(int patience)
{
    m_announced = false;
    m_patience.start(patience);
    m_process.start(m_program, {}, QIODevice::ReadOnly);
}

void DemoDevice::stop()
{
    m_patience.stop();
    m_process.disconnect(this);
    if (!isRunning())
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(stopPatience)) {
        m_process.kill();
        m_process.waitForFinished(stopPatience);
    }
}

void DemoDevice::readOutput()
{
    while (m_process.canReadLine()) {
        const std::optional<Endpoint> where = parseListening(m_process.readLine(longestLine));
        if (where && !m_announced) {
            m_announced = true;
            m_patience.stop();
            emit listening(*where);
        }
    }
    if (m_process.bytesAvailable() > longestLine)
        (void)m_process.readAll(); // no line of this program is so long
}

QString DemoDevice::lastWords()
{
    const QString words = QString::fromUtf8(m_process.readAllStandardError().right(longestLine)).trimmed();
    return words.isEmpty() ? tr("It ended unexpectedly.") : words.section(u'\n', -1);
}

void DemoDevice::fail(const QString &reason)
{
    stop();
    emit failed(reason);
}

} // namespace manager
