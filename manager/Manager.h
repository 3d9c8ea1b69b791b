#ifndef MANAGER_MANAGER_H
#define MANAGER_MANAGER_H

#include "DemoDevice.h"
#include "MainWindow.h"
#include "Opener.h"
#include "PasskeyBroker.h"
#include "Profiles.h"
#include "ReceivedFiles.h"
#include "SdkEvents.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QSystemTrayIcon>

#include <memory>

namespace manager {

/** Where the manager finds its parts. */
struct Places
{
    QString profiles; ///< folder of the profile libraries
    QString demo;     ///< the demo device's program
    QString data;     ///< folder for the list of received files

    /** Those that belong to the running program, installed or in its build folder. */
    static Places ofProgram();
};

/** The host program: starts and ends everything in the right order and carries news between the parts. GUI thread. */
class Manager : public QObject
{
    Q_OBJECT

public:
    explicit Manager(const Places &places);
    /** Destroys the profiles' windows, unregisters the callbacks, ends the profiles, then the SDK, then unloads. */
    ~Manager() override;

    void start();

    MainWindow &window() { return *m_window; }
    Profiles &profiles() { return m_profiles; }
    DemoDevice &demo() { return m_demo; }
    /** Handle of the demo device, 0 while there is none. */
    unsigned int demoDevice() const { return m_demoHandle; }
    const ReceivedFiles &received() const { return m_received; }
    /** Null where the desktop has no place for it. */
    const QSystemTrayIcon *tray() const { return m_tray.get(); }

    void addDevice();
    void removeDevice(unsigned int device);

private:
    void connectParts();
    void startServers();
    void startDemoIfAlone();
    void demoListens(const Endpoint &where);
    void demoFailed(const QString &reason);
    void makeTray();
    void refresh();
    void fileReceived(const QString &folder, const QString &name);
    void connectionEnded(unsigned int shortcut, unsigned int result);
    void connectFailed(unsigned int shortcut, unsigned int result);
    /** Says what became of a connection; the sentence goes when the shortcut is connected again. */
    void warnOfShortcut(unsigned int shortcut, const QString &sentence);
    void warn(const QString &sentence);
    std::optional<QString> askPasskey(unsigned int device);
    /** @return "once", "always" or "never"; nothing: not this time */
    std::optional<QString> askPermission(const QString &name, const QString &address);
    static int authorize(const char *name, const char *address, void *context);

    Places m_places;
    Profiles m_profiles;
    ReceivedFiles m_received;
    ReceivedReports m_reports;
    PasskeyBroker m_passkeys;
    Opener m_opener;
    SdkEvents m_events;
    DemoDevice m_demo;
    std::unique_ptr<MainWindow> m_window;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    QHash<unsigned int, QString> m_connectedTo; ///< by shortcut: names that outlive their devices
    QHash<unsigned int, QString> m_troubles;    ///< by shortcut: the last sentence about its connection
    QSet<unsigned int> m_dead;                  ///< shortcuts whose device died before its connection was missed
    unsigned int m_demoHandle = 0;
    bool m_refreshQueued = false;
};

} // namespace manager

#endif
