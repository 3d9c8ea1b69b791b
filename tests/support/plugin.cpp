#include "plugin.h"

#include "double.h"
#include "windows.h"

#include <QApplication>
#include <QTest>

#include <dlfcn.h>

namespace {

void *open(const QString &path)
{
    void *const handle = dlopen(path.toLocal8Bit().constData(), RTLD_NOW | RTLD_GLOBAL);
    if (!handle)
        qFatal("%s", dlerror());
    return handle;
}

template <typename Function>
void find(void *library, const char *name, Function &function)
{
    void *const symbol = dlsym(library, name);
    if (!symbol)
        qFatal("the plug-in does not export %s", name);
    function = reinterpret_cast<Function>(symbol);
}

} // namespace

Plugin &Plugin::load(Platform platform)
{
    static Plugin *const only = new Plugin(platform);
    return *only;
}

Plugin::Plugin(Platform platform) : m_path(QStringLiteral(BTFTP_LIBRARY_FOLDER "/libBtFtp.so.1"))
{
    // A library that is loaded already serves every later one that needs its soname, wherever that one would look.
    const QString folder =
        platform == Platform::Doubles ? QStringLiteral(BTFTP_DOUBLES_FOLDER) : QStringLiteral(BTFTP_LIBRARY_FOLDER);
    for (const char *library : {"libVmrlClient.so.1", "libVmCommon.so.1", "libProfileComm.so.1"})
        open(folder + QLatin1Char('/') + QLatin1String(library));
    m_handle = open(m_path);
#define BTFTP_FIND(name) find(m_handle, #name, name)
    BTFTP_FIND(InitProfile);
    BTFTP_FIND(UninitProfile);
    BTFTP_FIND(GetPlugProfileCls);
    BTFTP_FIND(IsSupportedServiceClass);
    BTFTP_FIND(setVmCommFunc);
    BTFTP_FIND(StartProfileServer);
    BTFTP_FIND(StopProfileServer);
    BTFTP_FIND(ShowSvrPropertyDlg);
    BTFTP_FIND(PerformPostDisc);
    BTFTP_FIND(GetActionListByShortcut);
    BTFTP_FIND(GetRemoteActionListByShortcut);
    BTFTP_FIND(GetLocalSvrActionList);
    BTFTP_FIND(getProfileTipByShortcut);
    BTFTP_FIND(performDefaultActionByShortcut);
    BTFTP_FIND(performLocalSvrDefaultAction);
#undef BTFTP_FIND
}

QObject *Plugin::profile(unsigned int shortcut) const
{
    const QList<QAction *> actions = GetActionListByShortcut(shortcut);
    return actions.isEmpty() ? nullptr : actions.first()->parent();
}

QAction *Plugin::action(unsigned int shortcut, int index) const
{
    const QObject *const object = profile(shortcut);
    return object ? object->findChildren<QAction *>(QString(), Qt::FindDirectChildrenOnly).value(index) : nullptr;
}

void Plugin::startAfresh(QWidget *parent)
{
    stop();
    Double::instance().reset();
    InitProfile(parent);
}

void Plugin::stop()
{
    // What a test left waiting must not keep the windows from going.
    Double::instance().Recorder::reset();
    Double::instance().releaseTransfers();
    for (QWidget *window : windows::all("BtFtpClient"))
        window->close();
    QTRY_VERIFY2_WITH_TIMEOUT(windows::all("BtFtpClient").isEmpty(), "a client window does not go", 20000);
    UninitProfile();
}

QWidget *Plugin::openWindow(unsigned int shortcut)
{
    // Not the double-click, which shows the status when the shortcut is connected.
    QObject *const object = profile(shortcut);
    const QList<QWidget *> before = windows::all("BtFtpClient");
    QMetaObject::invokeMethod(object, "actionExploer");
    for (QWidget *window : windows::all("BtFtpClient"))
        if (!before.contains(window))
            return window;
    return nullptr;
}

QWidget *Plugin::openConnectedWindow(unsigned int shortcut)
{
    const int listings = Double::instance().count("Btsdk_FTPBrowseFolder");
    QWidget *const window = openWindow(shortcut);
    (void)QTest::qWaitFor([&] { return Double::instance().count("Btsdk_FTPBrowseFolder") > listings; }, 10000);
    return window;
}
