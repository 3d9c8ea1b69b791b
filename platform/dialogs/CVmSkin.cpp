#include "CVmSkin.h"

#include <QGuiApplication>
#include <QPalette>
#include <QStandardPaths>

namespace {

constexpr int kServiceIcons = 2;
constexpr int kClientImages = 11;
constexpr int kFileTransferClass = 0x1106;

/** An image of the theme and the one of our own that stands in where the theme is not installed. */
struct Image
{
    int id;
    const char *themed;  ///< below the theme's folder; of several sizes the one that is used the most
    const char *builtIn; ///< name of the resource
};

constexpr Image kClientTable[] = {
    {100, "preferences/32/preferences-system-bluetooth.svg", "window"},
    {105, "places/64/folder.svg", "folder"},
    {106, "actions/22/folder-new.svg", "new-folder"},
    {107, "actions/22/edit-copy.svg", "copy"},
    {108, "actions/22/edit-paste.svg", "paste"},
    {109, "actions/22/go-up.svg", "up"},
    {110, "mimetypes/32/text-plain.svg", "file"},
    {111, "actions/22/cloud-upload.svg", "upload"},
    {112, "actions/22/download.svg", "download"},
    {113, "actions/22/view-list-text.svg", "list"},
    {114, "actions/22/view-list-details.svg", "details"},
    {115, "actions/22/view-refresh.svg", "refresh"},
    {116, "actions/22/document-new.svg", "new-file"},
    {117, "actions/22/edit-delete.svg", "delete"},
    {118, "devices/22/drive-harddisk.svg", "disk"},
    {119, "devices/22/drive-removable-media-usb.svg", "usb"},
};

/** The service's icon by variant: 16, 22, 32, 48 and 64 pixels, for QPixmap takes an image's own size. */
constexpr Image kServiceTable[] = {
    {0, "places/16/folder-network.svg", "service"}, {1, "places/22/folder-network.svg", "service"},
    {2, "places/32/folder-network.svg", "service"}, {3, "places/48/folder-network.svg", "service"},
    {4, "places/64/folder-network.svg", "service"},
};

constexpr Image kNeutral = {0, "mimetypes/64/unknown.svg", "neutral"};

template <size_t N>
const Image &find(const Image (&table)[N], int id)
{
    for (const Image &image : table) {
        if (image.id == id)
            return image;
    }
    return kNeutral;
}

const Image &imageFor(int group, int id, int variant)
{
    if (group == kClientImages)
        return find(kClientTable, id);
    if (group == kServiceIcons && id == kFileTransferClass)
        return find(kServiceTable, qBound(0, variant, 4));
    return kNeutral;
}

bool paletteIsDark()
{
    // Called without a GUI by mistake, the palette would bring the process down.
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr &&
           QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

QString themedPath(const char *theme, const char *image)
{
    return QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                  QStringLiteral("icons/%1/%2").arg(QLatin1String(theme), QLatin1String(image)));
}

} // namespace

QString CVmSkin::GetImgPath(int group, int id, int variant)
{
    const Image &image = imageFor(group, id, variant);
    QString path = themedPath(paletteIsDark() ? "breeze-dark" : "breeze", image.themed);
    if (path.isEmpty())
        path = QStringLiteral(":/profilecomm/images/%1.svg").arg(QLatin1String(image.builtIn));
    return path;
}
