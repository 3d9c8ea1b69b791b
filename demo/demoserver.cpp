#include "demoserver.h"

#include "btsdk_host.h"

#include <QFile>

namespace {

/** @return false with a reason. The passkey was checked to fit into one. */
bool writeSettings(const QString &path, quint16 port, const Options &options, QString *error)
{
    QFile file(path);
    const QByteArray text = "[OBEX]\nServerAddress = 127.0.0.1\nServerPort = " + QByteArray::number(port) +
                            "\n\n[NETWORK]\nEnabled = 1"
                            "\n\n[BLUETOOTH]\nEnabled = 0\n\n[FTPSERVER]\nPasskey = " +
                            options.passkey.toUtf8() + "\n";
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush())
        return true;
    *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
    return false;
}

QString reason(const char *what, unsigned int result)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromUtf8(Btsdk_HostResultText(result)));
}

} // namespace

DemoServer::~DemoServer()
{
    if (!m_started)
        return;
    Btsdk_StopServer(m_server);
    Btsdk_HostShutdown();
}

bool DemoServer::start(const QString &settings, const QString &folder, quint16 port, const Options &options,
                       QString *error)
{
    if (!writeSettings(settings, port, options, error))
        return false;
    qputenv("VELMARO_SETTINGS", QFile::encodeName(settings));
    m_started = true;
    m_server = Btsdk_RegisterFTPService(options.readOnly ? BTSDK_ACCESS_READ_ONLY : BTSDK_ACCESS_WRITABLE,
                                        QFile::encodeName(folder).constData());
    if (m_server == 0) {
        *error = QStringLiteral("cannot serve %1").arg(folder);
        return false;
    }
    if (!options.passkey.isEmpty()) {
        BtSdkServerAttributes attributes = {};
        attributes.mask = BTSDK_ATTRIBUTE_SECURITY;
        attributes.security = BTSDK_SECURE_CONNECTION;
        const unsigned int result = Btsdk_UpdateServerAttributes(m_server, &attributes);
        if (result != BTSDK_OK) {
            *error = reason("cannot ask for a passkey", result);
            return false;
        }
    }
    BtSdkServerInfo info = {};
    unsigned int result = Btsdk_StartServer(m_server);
    if (result == BTSDK_OK)
        result = Btsdk_HostGetServer(m_server, &info);
    if (result != BTSDK_OK) {
        *error = reason("cannot listen", result);
        return false;
    }
    const QString listening = QString::fromUtf8(info.listening);
    m_port = listening.section(QLatin1Char(':'), -1).toUShort();
    if (m_port == 0)
        *error = QStringLiteral("the server does not say where it listens (\"%1\")").arg(listening);
    return m_port != 0;
}
