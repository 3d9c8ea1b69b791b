#ifndef TEST_PLUGIN_H
#define TEST_PLUGIN_H

#include <QAction>
#include <QByteArray>
#include <QList>
#include <QString>
#include <QWidget>

/** Which platform libraries the plug-in finds. One choice per process. */
enum class Platform { Doubles, Real };

/** The plug-in as the host sees it: a library whose exported functions are found by name. */
class Plugin
{
public:
    using HostCallback = unsigned int (*)(unsigned int, unsigned int, unsigned int, unsigned char *);

    /** Loads platform libraries and plug-in on the first call, never to unload them; ends the program when it cannot.
     */
    static Plugin &load(Platform platform = Platform::Doubles);

    void (*InitProfile)(QWidget *) = nullptr;
    void (*UninitProfile)() = nullptr;
    unsigned int (*GetPlugProfileCls)() = nullptr;
    int (*IsSupportedServiceClass)(unsigned short) = nullptr;
    void (*setVmCommFunc)(HostCallback) = nullptr;
    void (*StartProfileServer)() = nullptr;
    void (*StopProfileServer)() = nullptr;
    void (*ShowSvrPropertyDlg)(unsigned int, QWidget *, int) = nullptr;
    void (*PerformPostDisc)() = nullptr;
    QList<QAction *> (*GetActionListByShortcut)(unsigned int) = nullptr;
    QList<QAction *> (*GetRemoteActionListByShortcut)(unsigned int) = nullptr;
    QList<QAction *> (*GetLocalSvrActionList)(unsigned int) = nullptr;
    QString (*getProfileTipByShortcut)(unsigned int, unsigned int) = nullptr;
    void (*performDefaultActionByShortcut)(unsigned int) = nullptr;
    int (*performLocalSvrDefaultAction)(unsigned int) = nullptr;

    /** The profile object, as the parent of its actions; null when there is none. Asks for the list of `shortcut`,
     * which becomes the profile object's shortcut. */
    QObject *profile(unsigned int shortcut) const;
    /** The profile object's action of that slot ("actionDisconnect()", say), however it is labelled now. */
    QAction *action(unsigned int shortcut, int index) const;

    /** A new profile object with the windows of earlier tests closed and gone. The doubles are reset first. */
    void startAfresh(QWidget *parent = nullptr);
    /** Closes all windows and waits until they are gone, then deletes the profile object. */
    void stop();

    /** Opens the client window of a shortcut as a double-click does, and gives it. */
    QWidget *openWindow(unsigned int shortcut);
    /** As openWindow, and waits until the double has connected it and its root is listed. */
    QWidget *openConnectedWindow(unsigned int shortcut);

    QString path() const { return m_path; }

private:
    explicit Plugin(Platform platform);

    QString m_path;
    void *m_handle = nullptr;
};

#endif
