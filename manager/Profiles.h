#ifndef MANAGER_PROFILES_H
#define MANAGER_PROFILES_H

#include "ProfilePlugin.h"

#include <QMenu>
#include <QObject>
#include <QSet>

#include <functional>

namespace manager {

/**
 * The loaded profiles as the window uses them, on the GUI thread.
 *
 * A profile labels its actions anew at each request and works on the handle of the last one, so nothing is asked of
 * it while a menu with its actions is open: what has to wait runs when the menu has closed and the chosen entry has
 * done its work.
 */
class Profiles : public QObject
{
    Q_OBJECT

public:
    /** The views of a device's service: its own menu, or its share of the device's. */
    enum class View { Shortcut, Device };

    /** @param inUse  whether a shortcut is connected or connecting */
    explicit Profiles(LoadedPlugins loaded, std::function<bool(unsigned int shortcut)> inUse);
    ~Profiles() override;

    void start(QWidget *window, HostFunction function);

    /** Destroys the profiles' windows. @param window  the one that start() was given */
    void destroyWindows(QWidget *window);
    /** Destroys the profile objects; every later request gives an empty answer. */
    void end();
    /** Unloads the libraries; after end() and when the SDK can no longer call them. */
    void unload();

    const QVector<LoadFailure> &failures() const { return m_loaded.failures; }
    bool isEmpty() const { return m_loaded.plugins.empty(); }
    bool menuIsOpen() const { return m_openMenus > 0; }

    /** Fills a menu with the actions of a shortcut or server; tells Profiles of its opening and closing. */
    void addShortcutActions(QMenu *menu, unsigned int shortcut, unsigned short serviceClass, View view);
    void addServerActions(QMenu *menu, unsigned int server, unsigned short serviceClass);
    /** To be called once for each menu that add...Actions() may fill, before it opens. */
    void watch(QMenu *menu);

    QString tip(unsigned int shortcut, unsigned int server, unsigned short serviceClass) const;
    void performShortcutDefault(unsigned int shortcut, unsigned short serviceClass);
    void performServerDefault(unsigned int server, unsigned short serviceClass);

    /** A connection of the shortcut has ended: its window is closed unless the shortcut is in use again. */
    void connectionEnded(unsigned int shortcut, unsigned short serviceClass);

signals:
    /** No menu is open any more, and the entry that was chosen has been carried out or waits for its user. */
    void menusClosed();

private:
    struct Ended
    {
        unsigned int shortcut;
        unsigned short serviceClass;
    };

    ProfilePlugin *find(unsigned short serviceClass) const;
    void cleanUpAfter(const Ended &ended);
    void menuOpened();
    void menuClosed();
    void runWaiting();

    LoadedPlugins m_loaded;
    std::function<bool(unsigned int)> m_inUse;
    QVector<Ended> m_waiting;
    int m_openMenus = 0;
    bool m_running = false;
};

} // namespace manager

#endif
