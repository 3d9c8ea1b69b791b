#include "double.h"
#include "vmcommon.h"

#include <QString>

#include <cstring>

namespace {

Double &script()
{
    return Double::instance();
}

QVariant text(const char *value)
{
    return value ? QVariant(QByteArray(value)) : QVariant();
}

unsigned int copy(const QByteArray &value, char *buffer, unsigned int size)
{
    if (!buffer || size == 0)
        return 0;
    const QByteArray cut = value.left(static_cast<int>(size) - 1);
    std::memcpy(buffer, cut.constData(), static_cast<size_t>(cut.size()) + 1);
    return static_cast<unsigned int>(cut.size());
}

} // namespace

int VmCm_GetCommonSettingFilePath(char *buffer, int size)
{
    if (const unsigned int result = script().enter("VmCm_GetCommonSettingFilePath", {size}).value_or(0))
        return static_cast<int>(result);
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    copy(state.settingsPath, buffer, static_cast<unsigned int>(size));
    return 0;
}

int VmCm_GetWorkingDir(char *buffer, int size)
{
    if (const unsigned int result = script().enter("VmCm_GetWorkingDir", {size}).value_or(0))
        return static_cast<int>(result);
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    copy(state.workingDir, buffer, static_cast<unsigned int>(size));
    return 0;
}

int VmCm_GetSvcDisplayName(unsigned short serviceClass, QString *name)
{
    script().note("VmCm_GetSvcDisplayName", {uint(serviceClass)});
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    *name = state.names.value(serviceClass);
    return state.names.contains(serviceClass) ? 0 : 1;
}

int VmCm_GetLocSvcDesc(unsigned short serviceClass, QString *description)
{
    script().note("VmCm_GetLocSvcDesc", {uint(serviceClass)});
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    *description = state.descriptions.value(serviceClass);
    return state.descriptions.contains(serviceClass) ? 0 : 1;
}

int VmCm_IsShortcutConnected(unsigned int shortcut)
{
    if (const auto result = script().enter("VmCm_IsShortcutConnected", {shortcut}))
        return static_cast<int>(*result);
    return script().isShortcutConnected(shortcut) ? 1 : 0;
}

unsigned int GetPrivateProfileString(const char *section, const char *key, const char *defaultValue, char *buffer,
                                     unsigned int size, const char *file)
{
    script().note("GetPrivateProfileString", {text(section), text(key), text(defaultValue), size, text(file)});
    if (!script().hasSetting(section, key))
        return copy(defaultValue, buffer, size);
    return copy(script().setting(section, key), buffer, size);
}

int GetPrivateProfileInt(const char *section, const char *key, int defaultValue, const char *file)
{
    script().note("GetPrivateProfileInt", {text(section), text(key), defaultValue, text(file)});
    bool ok = false;
    const int value = script().setting(section, key).toInt(&ok);
    return ok ? value : defaultValue;
}
