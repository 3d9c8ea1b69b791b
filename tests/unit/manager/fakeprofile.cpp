// A profile that writes down what the host asks of it, in the order of the calls.
#include "ProfileApi.h"

#include <QAction>
#include <QApplication>
#include <QStringList>
#include <QWidget>

#define PROFILE_EXPORT extern "C" __attribute__((visibility("default")))

// Qt's classes by value through C names is what the interface of profiles is.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif

namespace {

QStringList calls;
QObject *profile = nullptr;
QAction *action = nullptr;
[[maybe_unused]] QWidget *host = nullptr;

[[maybe_unused]] QList<QAction *> list(const QString &call)
{
    calls << call;
    if (!profile || qEnvironmentVariableIsSet("FAKE_EMPTY_LISTS"))
        return {};
    if (!action) {
        action = new QAction(profile);
        QObject::connect(action, &QAction::triggered, profile, [] { calls << QStringLiteral("triggered"); });
    }
    action->setText(call);
    return {action};
}

} // namespace

PROFILE_EXPORT QStringList *fakeCalls()
{
    return &calls;
}

#ifndef FAKE_STRANGER

PROFILE_EXPORT void InitProfile(QWidget *parent)
{
    calls << QStringLiteral("init");
    host = parent;
    profile = new QObject;
}

PROFILE_EXPORT void UninitProfile()
{
    calls << QStringLiteral("uninit");
    delete profile;
    profile = nullptr;
    action = nullptr;
}

PROFILE_EXPORT unsigned int GetPlugProfileCls()
{
    return 4358;
}

PROFILE_EXPORT int IsSupportedServiceClass(unsigned short serviceClass)
{
    return serviceClass == 4358;
}

PROFILE_EXPORT void setVmCommFunc(manager::HostFunction function)
{
    calls << (function ? QStringLiteral("function") : QStringLiteral("no function"));
}

PROFILE_EXPORT void StartProfileServer()
{
    calls << QStringLiteral("start server");
}

PROFILE_EXPORT void StopProfileServer()
{
    calls << QStringLiteral("stop server");
}

#ifndef FAKE_PARTIAL

PROFILE_EXPORT void ShowSvrPropertyDlg(unsigned int, QWidget *, int) {}

PROFILE_EXPORT void PerformPostDisc()
{
    calls << QStringLiteral("post");
}

PROFILE_EXPORT QList<QAction *> GetActionListByShortcut(unsigned int shortcut)
{
    return list(QStringLiteral("list %1").arg(shortcut));
}

PROFILE_EXPORT QList<QAction *> GetRemoteActionListByShortcut(unsigned int shortcut)
{
    return list(QStringLiteral("remote list %1").arg(shortcut));
}

PROFILE_EXPORT QList<QAction *> GetLocalSvrActionList(unsigned int server)
{
    return list(QStringLiteral("server list %1").arg(server));
}

PROFILE_EXPORT QString getProfileTipByShortcut(unsigned int shortcut, unsigned int server)
{
    return QStringLiteral("tip %1 %2").arg(shortcut).arg(server);
}

PROFILE_EXPORT void performDefaultActionByShortcut(unsigned int shortcut)
{
    calls << QStringLiteral("default %1").arg(shortcut);
    auto *window = new QWidget(host, Qt::Window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(window, &QObject::destroyed, qApp, [] { calls << QStringLiteral("window gone"); });
    window->show();
}

PROFILE_EXPORT int performLocalSvrDefaultAction(unsigned int server)
{
    calls << QStringLiteral("server default %1").arg(server);
    return 0;
}

#endif
#endif
