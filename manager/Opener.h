#ifndef MANAGER_OPENER_H
#define MANAGER_OPENER_H

#include "ReceivedFiles.h"

#include <QObject>

namespace manager {

/** Opens received files with the desktop's programs. What goes wrong is told in a sentence. */
class Opener : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** Programs and scripts are not opened: they come from somebody else. */
    void open(const ReceivedFile &file);
    /** Selects the file in the desktop's file manager, or opens its folder. */
    void showInFolder(const ReceivedFile &file);

signals:
    void failed(const QString &sentence);

private:
    void openFolder(const QString &folder);
};

} // namespace manager

#endif
