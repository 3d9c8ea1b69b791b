#include "Opener.h"

#include "PlainText.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace manager {

namespace {

constexpr int fileManagerPatience = 5000;

} // namespace

void Opener::open(const ReceivedFile &file)
{
    const QString path = receivedPath(file);
    const QString name = shownName(file.name);
    if (path.isEmpty() || !QFileInfo::exists(path))
        emit failed(tr("%1 is no longer in the shared folder.").arg(name));
    else if (isProgram(path))
        emit failed(tr("%1 is a program and came from another device, so it is not opened from here. "
                       "Show it in its folder to decide about it.")
                        .arg(name));
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        emit failed(tr("No program was found that opens %1.").arg(name));
}

void Opener::showInFolder(const ReceivedFile &file)
{
    const QString path = receivedPath(file);
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        openFolder(file.folder);
        return;
    }
    const QString folder = QFileInfo(path).path();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    const QDBusPendingCall answer = QDBusConnection::sessionBus().asyncCall(call, fileManagerPatience);
    if (answer.isError()) { // without a bus no watcher would ever say so
        openFolder(folder);
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(answer, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, folder](QDBusPendingCallWatcher *finished) {
        if (finished->isError())
            openFolder(folder);
        finished->deleteLater();
    });
}

void Opener::openFolder(const QString &folder)
{
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        emit failed(tr("No program was found that shows the folder %1.").arg(shownName(folder)));
}

} // namespace manager
