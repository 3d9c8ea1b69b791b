#ifndef MANAGER_PROFILEPLUGIN_H
#define MANAGER_PROFILEPLUGIN_H

#include "ProfileApi.h"

#include <QLibrary>
#include <QStringList>
#include <QVector>

#include <memory>
#include <vector>

namespace manager {

/** One loaded profile library. It is unloaded with this object, so nothing of it may be left by then. */
class ProfilePlugin
{
public:
    ~ProfilePlugin();
    ProfilePlugin(const ProfilePlugin &) = delete;
    ProfilePlugin &operator=(const ProfilePlugin &) = delete;

    /**
     * Loads a library and finds its entry points.
     * @param reason  receives why it could not be used; empty when the file is a library of some other kind
     * @return null when it could not be loaded, or is no profile
     */
    static std::unique_ptr<ProfilePlugin> load(const QString &path, QString *reason);

    const ProfileApi &api() const { return m_api; }
    QString path() const { return m_library.fileName(); }
    bool supports(unsigned short serviceClass) const { return m_api.isSupportedServiceClass(serviceClass) != 0; }

    /** Whether the class of the object is code of this library, so that the object must not outlive it. */
    bool isHomeOf(const QObject &object) const;

private:
    explicit ProfilePlugin(const QString &path) : m_library(path) {}
    QStringList resolve();

    QLibrary m_library;
    ProfileApi m_api;
};

/** A library that could not be used, and why. */
struct LoadFailure
{
    QString file;
    QString reason;
};

struct LoadedPlugins
{
    std::vector<std::unique_ptr<ProfilePlugin>> plugins;
    QVector<LoadFailure> failures;
};

/** Loads every profile of a folder, in the order of the file names; several names of one file count once. */
LoadedPlugins loadPlugins(const QString &folder);

} // namespace manager

#endif
