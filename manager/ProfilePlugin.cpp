#include "ProfilePlugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QObject>
#include <QSet>

#include <dlfcn.h>

namespace manager {

namespace {

constexpr int entryPointCount = 15;

QString text(const char *source)
{
    return QCoreApplication::translate("ProfilePlugin", source);
}

/** What the system's loader says of a file, without the file's path, which it repeats. */
QString loaderSays(const QString &error, const QString &path)
{
    const QString before = path + QStringLiteral(": ");
    const int found = error.lastIndexOf(before);
    if (found < 0)
        return error;
    QString words = error.mid(found + before.size());
    if (words.endsWith(u')'))
        words.chop(1);
    return text("The system says: %1.").arg(words);
}

} // namespace

ProfilePlugin::~ProfilePlugin()
{
    m_library.unload();
}

std::unique_ptr<ProfilePlugin> ProfilePlugin::load(const QString &path, QString *reason)
{
    reason->clear();
    std::unique_ptr<ProfilePlugin> plugin(new ProfilePlugin(path));
    // Everything is resolved at once: a profile that lacks a function of its libraries fails here, not in mid-use.
    plugin->m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!plugin->m_library.load()) {
        *reason = loaderSays(plugin->m_library.errorString(), path);
        return nullptr;
    }
    const QStringList missing = plugin->resolve();
    if (missing.isEmpty())
        return plugin;
    if (missing.size() < entryPointCount)
        *reason = text("It lacks the entry points %1.").arg(missing.join(QStringLiteral(", ")));
    return nullptr;
}

QStringList ProfilePlugin::resolve()
{
    QStringList missing;
    const auto find = [&](auto &function, const char *name) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(m_library.resolve(name));
        if (!function)
            missing << QString::fromLatin1(name);
    };
    find(m_api.initProfile, "InitProfile");
    find(m_api.uninitProfile, "UninitProfile");
    find(m_api.getPlugProfileCls, "GetPlugProfileCls");
    find(m_api.isSupportedServiceClass, "IsSupportedServiceClass");
    find(m_api.setVmCommFunc, "setVmCommFunc");
    find(m_api.startProfileServer, "StartProfileServer");
    find(m_api.stopProfileServer, "StopProfileServer");
    find(m_api.showSvrPropertyDlg, "ShowSvrPropertyDlg");
    find(m_api.performPostDisc, "PerformPostDisc");
    find(m_api.getActionListByShortcut, "GetActionListByShortcut");
    find(m_api.getRemoteActionListByShortcut, "GetRemoteActionListByShortcut");
    find(m_api.getLocalSvrActionList, "GetLocalSvrActionList");
    find(m_api.getProfileTipByShortcut, "getProfileTipByShortcut");
    find(m_api.performDefaultActionByShortcut, "performDefaultActionByShortcut");
    find(m_api.performLocalSvrDefaultAction, "performLocalSvrDefaultAction");
    return missing;
}

bool ProfilePlugin::isHomeOf(const QObject &object) const
{
    Dl_info ofObject{};
    Dl_info ofLibrary{};
    return dladdr(object.metaObject(), &ofObject) != 0 &&
           dladdr(reinterpret_cast<void *>(m_api.initProfile), &ofLibrary) != 0 &&
           ofObject.dli_fbase == ofLibrary.dli_fbase;
}

LoadedPlugins loadPlugins(const QString &folder)
{
    LoadedPlugins result;
    const QDir dir(folder);
    if (!dir.exists()) {
        result.failures << LoadFailure{folder, text("The folder of the profiles does not exist.")};
        return result;
    }
    QSet<QString> seen;
    const QFileInfoList files = dir.entryInfoList(QDir::Files | QDir::System, QDir::Name);
    for (const QFileInfo &file : files) {
        if (!QLibrary::isLibrary(file.fileName()))
            continue;
        const QString path = file.canonicalFilePath().isEmpty() ? file.absoluteFilePath() : file.canonicalFilePath();
        if (seen.contains(path))
            continue;
        seen << path;
        QString reason;
        if (auto plugin = ProfilePlugin::load(path, &reason))
            result.plugins.push_back(std::move(plugin));
        else if (!reason.isEmpty())
            result.failures << LoadFailure{file.fileName(), reason};
    }
    return result;
}

} // namespace manager
