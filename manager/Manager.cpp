#include "Manager.h"

#include "Catalogue.h"
#include "DeviceDialog.h"
#include "HostSettings.h"
#include "PlainText.h"

#include <QCoreApplication>
#include <QDir>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QStatusBar>

#include <cstring>

namespace manager {

namespace {

constexpr int refreshPause = 50; // milliseconds; events come in bursts
constexpr int receivedSeconds = 60;

int passkeyCallback(unsigned int device, char *buffer, unsigned int size, void *context)
{
    const std::optional<QString> passkey = static_cast<PasskeyBroker *>(context)->ask(device);
    if (!passkey)
        return 0;
    const QByteArray bytes = passkey->toUtf8();
    if (bytes.isEmpty() || static_cast<unsigned int>(bytes.size()) >= size)
        return 0;
    std::memcpy(buffer, bytes.constData(), static_cast<size_t>(bytes.size()) + 1);
    return 1;
}

/** What to add to "the connection was lost": its own sentence where it says more than that. */
QString whyLost(unsigned int result)
{
    const bool saysNoMore = result == BTSDK_ER_LINK_LOST || result == BTSDK_ER_NOT_CONNECTED;
    return saysNoMore ? QString::fromUtf8(Btsdk_HostResultAdvice(result)) : resultSentence(result);
}

QString firstExisting(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (QFileInfo::exists(path))
            return QDir::cleanPath(path);
    }
    return QDir::cleanPath(paths.first());
}

} // namespace

Places Places::ofProgram()
{
    const QDir bin(QCoreApplication::applicationDirPath());
    Places places;
    places.profiles = qEnvironmentVariable("VELMARO_PROFILES");
    if (places.profiles.isEmpty()) {
        places.profiles = firstExisting({bin.filePath(QStringLiteral(VELMARO_PROFILES_FROM_BIN)),
                                         bin.filePath(QStringLiteral("../lib/velmaro/profiles"))});
    }
    places.demo = bin.filePath(QStringLiteral("velmaro-demo-device"));
    places.data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/velmaro");
    return places;
}

Manager::Manager(const Places &places)
    : m_places(places),
      m_profiles(loadPlugins(places.profiles), &isInUse),
      m_received(places.data + QStringLiteral("/received.json")),
      m_passkeys([this](unsigned int device) { return askPasskey(device); }),
      m_demo(places.demo),
      m_window(std::make_unique<MainWindow>(&m_profiles, &m_received))
{
    connectParts();
    Btsdk_HostSetPasskeyCallback(&passkeyCallback, &m_passkeys);
    Btsdk_HostSetAuthorizeCallback(&Manager::authorize, this);
}

Manager::~Manager()
{
    settings::setWindowGeometry(m_window->saveGeometry());
    m_tray.reset();
    m_window->hide();
    // From here on no thread may wait for an answer of ours, since destroying a window waits for its threads.
    m_passkeys.close();
    m_events.disconnect(this);
    m_profiles.destroyWindows(m_window.get());

    Btsdk_FTPRegisterDealReceiveFileCB(nullptr);
    Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
    Btsdk_HostSetAuthorizeCallback(nullptr, nullptr);
    m_events.stop();
    m_profiles.end();
    Btsdk_HostShutdown();
    m_profiles.unload();
    m_demo.stop();
}

void Manager::connectParts()
{
    connect(&m_events, &SdkEvents::changed, this, &Manager::refresh);
    connect(&m_events, &SdkEvents::connected, this, [this](unsigned int shortcut) {
        m_connectedTo[shortcut] = deviceNameOfShortcut(shortcut);
        m_window->notices()->remove(m_troubles.take(shortcut));
        m_window->statusBar()->showMessage(tr("Connected to %1.").arg(m_connectedTo[shortcut]));
    });
    connect(&m_events, &SdkEvents::disconnected, this, &Manager::connectionEnded);
    connect(&m_events, &SdkEvents::connectFailed, this, &Manager::connectFailed);
    connect(&m_reports, &ReceivedReports::received, this, &Manager::fileReceived);
    connect(&m_received, &ReceivedFiles::saveFailed, this, [this](const QString &reason) {
        warn(tr("The list of received files could not be saved: %1").arg(reason));
    });
    connect(&m_opener, &Opener::failed, this, &Manager::warn);
    connect(&m_demo, &DemoDevice::listening, this, &Manager::demoListens);
    connect(&m_demo, &DemoDevice::failed, this, &Manager::demoFailed);
    connect(m_window.get(), &MainWindow::addDeviceRequested, this, &Manager::addDevice);
    connect(m_window.get(), &MainWindow::removeDeviceRequested, this, &Manager::removeDevice);
    connect(m_window.get(), &MainWindow::openRequested, &m_opener, &Opener::open);
    connect(m_window.get(), &MainWindow::showRequested, &m_opener, &Opener::showInFolder);
    connect(m_window.get(), &MainWindow::closing, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

void Manager::start()
{
    settings::setMissingFolders();
    m_window->restoreGeometry(settings::windowGeometry());
    m_window->show();
    makeTray();
    m_profiles.start(m_window.get(), &ReceivedReports::report);
    for (const LoadFailure &failure : m_profiles.failures())
        warn(tr("The profile %1 could not be loaded. %2").arg(shownName(failure.file), shownName(failure.reason)));
    startServers();
    startDemoIfAlone();
    refresh();
}

void Manager::startServers()
{
    if (!settings::serverWanted())
        return;
    for (const BtSdkServerInfo &server : Catalogue::read().servers) {
        if (server.status != BTSDK_SERVER_STOPPED)
            continue;
        if (const unsigned int result = Btsdk_StartServer(server.server); result != BTSDK_OK)
            warn(tr("The local service could not be started. %1").arg(resultSentence(result)));
    }
}

void Manager::startDemoIfAlone()
{
    if (Catalogue::read().devices.empty())
        m_demo.start();
}

void Manager::demoListens(const Endpoint &where)
{
    const unsigned int result = Btsdk_HostAddTransientDevice(
        tr("Demo device").toUtf8().constData(), where.address.toUtf8().constData(), where.port, &m_demoHandle);
    if (result != BTSDK_OK) {
        warn(tr("The demo device could not be added. %1").arg(resultSentence(result)));
        return;
    }
    m_window->setHint(tr("The demo device is a sample folder that this computer offers to itself, so that you can try "
                         "things out. Add a device of your own by its address."));
    refresh();
}

void Manager::demoFailed(const QString &reason)
{
    m_window->setHint({});
    if (m_demoHandle != 0) {
        const Catalogue catalogue = Catalogue::read();
        for (const BtSdkShortcutInfo *shortcut : catalogue.shortcutsOf(m_demoHandle)) {
            if (shortcut->state != BTSDK_SHORTCUT_IDLE)
                m_dead.insert(shortcut->shortcut);
        }
        Btsdk_HostRemoveDevice(std::exchange(m_demoHandle, 0));
    }
    warn(tr("The demo device is not available. %1").arg(shownName(reason)));
}

void Manager::makeTray()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_tray = std::make_unique<QSystemTrayIcon>(m_window->windowIcon());
    m_tray->setToolTip(m_window->windowTitle());
    const auto raise = [this] {
        m_window->showNormal();
        m_window->raise();
        m_window->activateWindow();
    };
    auto *menu = new QMenu(m_window.get());
    menu->addAction(tr("&Show"), this, raise);
    menu->addSeparator();
    menu->addAction(tr("&Quit"), m_window.get(), &QWidget::close);
    m_tray->setContextMenu(menu);
    connect(m_tray.get(), &QSystemTrayIcon::messageClicked, this, raise);
    connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this, raise](QSystemTrayIcon::ActivationReason reason) {
        if (reason != QSystemTrayIcon::Trigger)
            return;
        if (m_window->isActiveWindow())
            m_window->hide();
        else
            raise();
    });
    m_tray->show();
}

void Manager::refresh()
{
    if (std::exchange(m_refreshQueued, true))
        return;
    QTimer::singleShot(refreshPause, this, [this] {
        m_refreshQueued = false;
        m_window->showCatalogue(Catalogue::read());
        m_window->setBluetooth(bluetoothText(Btsdk_HostGetBluetoothState()));
    });
}

void Manager::fileReceived(const QString &folder, const QString &name)
{
    const ReceivedFile file{folder, name, QDateTime::currentDateTime()};
    m_received.add(file);
    const QString sentence = tr("Received %1.").arg(shownName(name));
    m_window->notices()->add(NoticeArea::Kind::Information, sentence,
                             {{tr("Open"), [this, file] { m_opener.open(file); }},
                              {tr("Show in Folder"), [this, file] { m_opener.showInFolder(file); }}},
                             receivedSeconds);
    // The name stands in the title: some desktops read mark-up in the message, none does in the title.
    if (m_tray)
        m_tray->showMessage(sentence, tr("It is in the shared folder."), QSystemTrayIcon::Information);
}

void Manager::connectionEnded(unsigned int shortcut, unsigned int result)
{
    // The demo device is gone from the list already when its process died with the connection open.
    const QString device = m_connectedTo.value(shortcut, deviceNameOfShortcut(shortcut));
    // Removing the dead demo device ends its connection as if somebody had asked for that.
    if (m_dead.remove(shortcut) && result == BTSDK_OK)
        result = BTSDK_ER_LINK_LOST;
    if (result == BTSDK_OK)
        m_window->statusBar()->showMessage(tr("Disconnected from %1.").arg(device));
    else
        warnOfShortcut(shortcut, tr("The connection to %1 was lost. %2").arg(device, whyLost(result)));
    m_profiles.connectionEnded(shortcut, serviceClassOf(shortcut));
}

void Manager::connectFailed(unsigned int shortcut, unsigned int result)
{
    if (result == BTSDK_ER_CANCELLED)
        return;
    const QString device = deviceNameOfShortcut(shortcut);
    warnOfShortcut(shortcut, tr("Connecting to %1 failed. %2").arg(device, resultSentence(result)));
}

void Manager::warnOfShortcut(unsigned int shortcut, const QString &sentence)
{
    m_window->notices()->remove(m_troubles.value(shortcut));
    m_troubles[shortcut] = sentence;
    warn(sentence);
}

void Manager::warn(const QString &sentence)
{
    m_window->statusBar()->clearMessage(); // it may say the opposite
    m_window->notices()->add(NoticeArea::Kind::Warning, sentence);
}

void Manager::addDevice()
{
    DeviceDialog dialog(Catalogue::read().knownDevices(), m_window.get());
    while (dialog.exec() == QDialog::Accepted) {
        const DeviceInput input = dialog.input();
        const unsigned int result = Btsdk_HostAddNetworkDevice(
            input.name.toUtf8().constData(), input.address.toUtf8().constData(), input.port.toUInt(), nullptr);
        if (result == BTSDK_OK)
            break;
        dialog.showError(resultSentence(result));
    }
    refresh();
}

void Manager::removeDevice(unsigned int device)
{
    QMessageBox question(QMessageBox::Question, tr("Remove Device"),
                         tr("Remove %1 from the list?").arg(deviceName(device)), QMessageBox::Cancel, m_window.get());
    question.setTextFormat(Qt::PlainText);
    question.setInformativeText(tr("Its connection, if there is one, is ended. Its files stay as they are."));
    const QPushButton *remove = question.addButton(tr("&Remove"), QMessageBox::DestructiveRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    if (question.clickedButton() != remove)
        return;
    if (const unsigned int result = Btsdk_HostRemoveDevice(device); result != BTSDK_OK) {
        warn(tr("The device could not be removed. %1").arg(resultSentence(result)));
    } else if (device == m_demoHandle) {
        m_demoHandle = 0;
        m_demo.stop();
        m_window->setHint({});
    }
    refresh();
}

std::optional<QString> Manager::askPasskey(unsigned int device)
{
    QInputDialog dialog(m_window.get());
    dialog.setObjectName(QStringLiteral("passkeyDialog"));
    dialog.setWindowTitle(tr("Passkey"));
    dialog.setLabelText(
        tr("%1 asks for its passkey. It is shown on that device.").arg(deviceName(device)).toHtmlEscaped());
    dialog.setWindowModality(Qt::ApplicationModal);
    if (dialog.exec() != QDialog::Accepted || dialog.textValue().trimmed().isEmpty())
        return std::nullopt;
    return dialog.textValue().trimmed();
}

std::optional<QString> Manager::askPermission(const QString &name, const QString &address)
{
    QMessageBox question(m_window.get());
    question.setObjectName(QStringLiteral("permissionBox"));
    question.setIcon(QMessageBox::Question);
    question.setWindowTitle(tr("Shared Folder"));
    question.setTextFormat(Qt::PlainText);
    question.setText(tr("Allow \"%1\" to see this folder?").arg(shownName(name)));
    QString folder;
    for (const BtSdkServerInfo &server : Catalogue::read().servers)
        folder = QString::fromUtf8(server.folder);
    question.setInformativeText(tr("Folder: %1\nBluetooth address of the device: %2").arg(folder, address));
    const QPushButton *once = question.addButton(tr("Allow &Once"), QMessageBox::AcceptRole);
    const QPushButton *always = question.addButton(tr("&Always Allow"), QMessageBox::YesRole);
    const QPushButton *never = question.addButton(tr("&Never Allow"), QMessageBox::NoRole);
    QPushButton *notNow = question.addButton(tr("Not N&ow"), QMessageBox::RejectRole);
    question.setDefaultButton(notNow);
    question.setEscapeButton(notNow);
    question.exec();
    if (question.clickedButton() == once)
        return QStringLiteral("once");
    if (question.clickedButton() == always)
        return QStringLiteral("always");
    if (question.clickedButton() == never)
        return QStringLiteral("never");
    return std::nullopt;
}

int Manager::authorize(const char *name, const char *address, void *context)
{
    auto *const self = static_cast<Manager *>(context);
    const std::optional<QString> answer =
        self->m_passkeys.ask([self, name = QString::fromUtf8(name), address = QString::fromUtf8(address)] {
            return self->askPermission(name, address);
        });
    if (answer == QStringLiteral("once"))
        return BTSDK_AUTHORIZE_ONCE;
    if (answer == QStringLiteral("always"))
        return BTSDK_AUTHORIZE_ALWAYS;
    return answer == QStringLiteral("never") ? BTSDK_AUTHORIZE_NEVER : BTSDK_AUTHORIZE_REFUSE;
}

} // namespace manager
