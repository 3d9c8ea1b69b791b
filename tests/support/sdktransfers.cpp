#include "double.h"

#include <QDir>
#include <QFile>

#include <chrono>
#include <thread>

namespace {

constexpr std::chrono::seconds longestHang{30};

Double &script()
{
    return Double::instance();
}

QVariant text(const char *value)
{
    return value ? QVariant(QByteArray(value)) : QVariant();
}

void makeReport(BtsdkStatusCallback callback, const Report &report)
{
    if (!callback)
        return;
    // The name is the library's for the time of the call only: a receiver that keeps the pointer shall be found out.
    QByteArray name = report.name;
    callback(report.first, report.last, reinterpret_cast<unsigned char *>(name.data()), report.size, report.done);
    name.fill('#');
}

unsigned int hang(Double::State &state, std::unique_lock<std::mutex> &lock)
{
    const quint64 cancels = state.cancels;
    const quint64 releases = state.releases;
    ++state.hanging;
    const bool woken = state.changed.wait_for(lock, longestHang,
                                              [&] { return state.cancels != cancels || state.releases != releases; });
    --state.hanging;
    if (!woken)
        return BTSDK_ER_TIMED_OUT;
    return state.cancels != cancels ? BTSDK_ER_CANCELLED : BTSDK_OK;
}

void makeReports(BtsdkStatusCallback callback, const QList<Report> &reports)
{
    std::thread([&] {
        for (const Report &report : reports)
            makeReport(callback, report);
    }).join();
}

/** The part that a get and a put have in common. */
unsigned int transfer(const char *function, unsigned int connection, const char *first, const char *second,
                      const char *shownName)
{
    const auto scripted = script().enter(function, {connection, text(first), text(second)});
    Double::State &state = script().state();
    std::unique_lock<std::mutex> lock(state.mutex);
    const BtsdkStatusCallback callback = state.statusCallback;
    QList<Report> reports = state.reports;
    if (reports.isEmpty() && scripted.value_or(BTSDK_OK) == BTSDK_OK)
        reports = {{1, 0, shownName, 100, 0}, {0, 1, shownName, 100, 100}};
    if (state.dropAfterFirstReport)
        reports = reports.mid(0, 1);
    lock.unlock();
    makeReports(callback, reports);
    lock.lock();
    if (state.dropAfterFirstReport) {
        state.connected.clear();
        return BTSDK_ER_LINK_LOST;
    }
    if (state.transfersHang)
        if (const unsigned int result = hang(state, lock))
            return result;
    return scripted.value_or(BTSDK_OK);
}

void addEntry(const QByteArray &name, bool folder)
{
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    QList<RemoteEntry> &entries = state.folders[state.current];
    for (const RemoteEntry &entry : qAsConst(entries))
        if (entry.name == name)
            return;
    entries.append({name, folder, folder ? 0u : 100u});
    if (folder)
        state.folders.insert(state.below(name), {});
}

unsigned int removeEntry(const char *function, unsigned int connection, const char *name)
{
    if (const unsigned int result = script().enter(function, {connection, text(name)}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    QList<RemoteEntry> &entries = state.folders[state.current];
    for (int i = entries.size() - 1; i >= 0; --i)
        if (entries.at(i).name == name)
            entries.removeAt(i);
    return BTSDK_OK;
}

} // namespace

unsigned int Btsdk_FTPGetFile(unsigned int connection, const char *remoteName, const char *localPath)
{
    if (const unsigned int result = transfer("Btsdk_FTPGetFile", connection, remoteName, localPath, remoteName))
        return result;
    QFile file(QFile::decodeName(localPath));
    if (!file.open(QIODevice::WriteOnly))
        return BTSDK_ER_LOCAL_FILE;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    file.write(state.content);
    return BTSDK_OK;
}

unsigned int Btsdk_FTPGetDir(unsigned int connection, const char *remoteName, const char *localPath)
{
    if (const unsigned int result = transfer("Btsdk_FTPGetDir", connection, remoteName, localPath, remoteName))
        return result;
    return QDir().mkpath(QFile::decodeName(localPath)) ? BTSDK_OK : BTSDK_ER_LOCAL_FILE;
}

unsigned int Btsdk_FTPPutFile(unsigned int connection, const char *localPath, const char *remoteName)
{
    if (const unsigned int result = transfer("Btsdk_FTPPutFile", connection, localPath, remoteName, remoteName))
        return result;
    addEntry(remoteName, false);
    return BTSDK_OK;
}

unsigned int Btsdk_FTPPutDir(unsigned int connection, const char *localPath, const char *remoteName)
{
    if (const unsigned int result = transfer("Btsdk_FTPPutDir", connection, localPath, remoteName, remoteName))
        return result;
    addEntry(remoteName, true);
    return BTSDK_OK;
}

unsigned int Btsdk_FTPDeleteFile(unsigned int connection, const char *name)
{
    return removeEntry("Btsdk_FTPDeleteFile", connection, name);
}

unsigned int Btsdk_FTPDeleteDir(unsigned int connection, const char *name)
{
    return removeEntry("Btsdk_FTPDeleteDir", connection, name);
}

unsigned int Btsdk_FTPCreateDir(unsigned int connection, const char *name)
{
    if (const unsigned int result = script().enter("Btsdk_FTPCreateDir", {connection, text(name)}).value_or(BTSDK_OK))
        return result;
    addEntry(name, true);
    return BTSDK_OK;
}

unsigned int Btsdk_FTPCancelTransfer(unsigned int connection)
{
    if (const unsigned int result = script().enter("Btsdk_FTPCancelTransfer", {connection}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    ++state.cancels;
    state.changed.notify_all();
    return BTSDK_OK;
}

unsigned int Btsdk_FTPRegisterStatusCallback(unsigned int connection, BtsdkStatusCallback callback)
{
    if (const unsigned int result =
            script().enter("Btsdk_FTPRegisterStatusCallback", {connection, callback != nullptr}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.statusCallback = callback;
    return BTSDK_OK;
}
