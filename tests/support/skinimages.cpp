#include "skinimages.h"

#include <QColor>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

QString skinImagePath(int group, int id, int variant)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("%1-%2-%3.png").arg(group).arg(id).arg(variant));
    if (!QFileInfo::exists(path)) {
        QImage image(16, 16, QImage::Format_RGB32);
        image.fill(QColor::fromHsv((id * 37) % 360, 200, 200 - group));
        image.save(path);
    }
    return path;
}
