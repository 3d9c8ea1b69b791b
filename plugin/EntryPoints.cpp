/**
 * @file
 * What the library exports: plain functions under unmangled names. Each forwards to the profile object and does nothing
 * where there is none. All run on the host's GUI thread.
 */
#include "BtFtp.h"
#include "LocalFtppropertyDlg.h"
#include "btsdk.h"

#include <array>

// Lists and strings cross this boundary by value: that is the interface that hosts are built for.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif

namespace {

constexpr unsigned int maxConnections = 32;

/** The dialog that ShowSvrPropertyDlg has open. */
FtppropertyClass *s_pFtpProperty = nullptr;

bool hasOutgoingFtpConnection()
{
    std::array<unsigned int, maxConnections> handles{};
    const unsigned int count = Btsdk_GetAllOutgoingConnections(handles.data(), maxConnections);
    BtSdkConnectionProperty property{};
    bool found = false;
    for (unsigned int i = 0; i < count && i < maxConnections; ++i) {
        (void)Btsdk_GetConnectionProperty(handles[i], &property);
        if (property.serviceClass == BTSDK_CLS_OBEX_FILE_TRANS)
            found = true;
    }
    return found;
}

} // namespace

extern "C" {

Q_DECL_EXPORT void InitProfile(QWidget *parent)
{
    if (!s_pThis)
        s_pThis = new BtFtp(parent);
}

Q_DECL_EXPORT void UninitProfile()
{
    // Out of sight first: a callback of the SDK may be looking.
    delete s_pThis.exchange(nullptr);
}

Q_DECL_EXPORT unsigned int GetPlugProfileCls()
{
    return BTSDK_CLS_OBEX_FILE_TRANS;
}

Q_DECL_EXPORT int IsSupportedServiceClass(unsigned short serviceClass)
{
    return serviceClass == BTSDK_CLS_OBEX_FILE_TRANS ? 1 : 0;
}

Q_DECL_EXPORT void setVmCommFunc(BtFtp::InvokeVmFunction function)
{
    if (BtFtp *const profile = s_pThis)
        profile->SetInvokeVmFunction(function);
}

Q_DECL_EXPORT void StartProfileServer()
{
    if (BtFtp *const profile = s_pThis)
        profile->StartProfileServer();
}

Q_DECL_EXPORT void StopProfileServer()
{
    if (BtFtp *const profile = s_pThis)
        profile->StopProfileServer();
}

Q_DECL_EXPORT void ShowSvrPropertyDlg(unsigned int server, QWidget *parent, int tab)
{
    if (s_pFtpProperty)
        return;
    // It is not deleted afterwards: it goes with its parent, and stays where it has none.
    s_pFtpProperty = new FtppropertyClass(server, parent, tab);
    s_pFtpProperty->exec();
    s_pFtpProperty = nullptr;
}

Q_DECL_EXPORT void PerformPostDisc()
{
    BtFtp *const profile = s_pThis;
    if (profile && !hasOutgoingFtpConnection())
        profile->closeClientDlg();
}

Q_DECL_EXPORT QList<QAction *> GetActionListByShortcut(unsigned int shortcut)
{
    BtFtp *const profile = s_pThis;
    if (!profile)
        return {};
    profile->SetShortcutHanlde(shortcut);
    return profile->GetActionList();
}

Q_DECL_EXPORT QList<QAction *> GetRemoteActionListByShortcut(unsigned int shortcut)
{
    BtFtp *const profile = s_pThis;
    if (!profile)
        return {};
    profile->SetShortcutHanlde(shortcut);
    return profile->GetRemoteActionList();
}

Q_DECL_EXPORT QList<QAction *> GetLocalSvrActionList(unsigned int server)
{
    BtFtp *const profile = s_pThis;
    return profile ? profile->GetLocalSvrActionList(server) : QList<QAction *>();
}

Q_DECL_EXPORT QString getProfileTipByShortcut(unsigned int shortcut, unsigned int server)
{
    BtFtp *const profile = s_pThis;
    return profile ? profile->getProfileTipByShortcut(shortcut, server) : QString();
}

Q_DECL_EXPORT void performDefaultActionByShortcut(unsigned int shortcut)
{
    if (BtFtp *const profile = s_pThis)
        profile->performDefaultActionByShortcut(shortcut);
}

Q_DECL_EXPORT int performLocalSvrDefaultAction(unsigned int server)
{
    BtFtp *const profile = s_pThis;
    return profile ? profile->performLocalSvrDefaultAction(server) : 0;
}

} // extern "C"
