/**
 * @file
 * What a profile library exports, under unmangled names. The host finds the functions by name in the loaded library
 * and knows nothing else of it. All of them run on the GUI thread.
 */
#ifndef MANAGER_PROFILEAPI_H
#define MANAGER_PROFILEAPI_H

#include <QList>
#include <QString>

class QAction;
class QWidget;

namespace manager {

/**
 * What the host hands to a profile so that it can report events; may be called on any thread.
 *
 * Of the arguments only (1, 7, 260, a QList<QString> *) is known: the local service has received a file, and the list,
 * valid during the call alone, holds the shared folder and the file's name.
 */
using HostFunction = unsigned int (*)(unsigned int, unsigned int, unsigned int, unsigned char *);

struct ProfileApi
{
    /** Creates the profile object; windows that it opens later are children of parent. */
    void (*initProfile)(QWidget *parent) = nullptr;
    /** Destroys the profile object; open windows stay, so the host destroys them first. */
    void (*uninitProfile)() = nullptr;
    unsigned int (*getPlugProfileCls)() = nullptr;
    int (*isSupportedServiceClass)(unsigned short serviceClass) = nullptr;
    void (*setVmCommFunc)(HostFunction function) = nullptr;
    void (*startProfileServer)() = nullptr;
    void (*stopProfileServer)() = nullptr;
    void (*showSvrPropertyDlg)(unsigned int server, QWidget *parent, int flags) = nullptr;
    /** Closes the window of the shortcut that the profile was last given, when no connection of its class is left. */
    void (*performPostDisc)() = nullptr;
    /** The actions stay the profile's, are shared between the lists, and each request labels them anew. */
    QList<QAction *> (*getActionListByShortcut)(unsigned int shortcut) = nullptr;
    QList<QAction *> (*getRemoteActionListByShortcut)(unsigned int shortcut) = nullptr;
    QList<QAction *> (*getLocalSvrActionList)(unsigned int server) = nullptr;
    QString (*getProfileTipByShortcut)(unsigned int shortcut, unsigned int server) = nullptr;
    void (*performDefaultActionByShortcut)(unsigned int shortcut) = nullptr;
    int (*performLocalSvrDefaultAction)(unsigned int server) = nullptr;
};

} // namespace manager

#endif
