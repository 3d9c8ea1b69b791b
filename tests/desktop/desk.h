#ifndef DESKTOP_DESK_H
#define DESKTOP_DESK_H

#include "Manager.h"

#include <QDir>
#include <QPointer>

#include <functional>
#include <memory>

class QMenu;
class QProcess;

/**
 * A user's desk: a home folder of its own, the manager on the screen, a picture of whatever was seen. The test programs
 * derive from it; their steps run on the GUI thread of the manager that they drive.
 */
class Desk : public QObject
{
protected:
    using Target = manager::RowTarget;

    /** Makes the folders device, local and shared in the home folder. @param name  of the folder for pictures */
    bool setUp(const QString &name);
    /** Starts the manager; it waits for what start() of an earlier one left. @param profiles  empty: the project's own
     */
    bool startManager(const QString &profiles = {});
    /** Ends the manager. @return what of its windows is left */
    QStringList endManager();

    manager::MainWindow &window() { return m_manager->window(); }
    manager::ServiceTree *tree() { return window().tree(); }
    QString home(const char *path) const { return m_home.filePath(QString::fromLatin1(path)); }
    /** A program of the build, as a path. */
    static QString built(const char *path);

    /** The row of this kind and place among its kind, or null. */
    QTreeWidgetItem *row(Target::Kind kind, int number);
    QTreeWidgetItem *deviceRow(const QString &name);
    QString sentences() { return window().notices()->texts().join(u'\n'); }

    QList<QPointer<QWidget>> clients() const;
    /** Puts the newest client window where pictures show it. */
    bool takeClient();
    QTreeWidget *pane(const char *name) const;
    QTreeWidgetItem *remoteRow(const char *name) const;

    /** What the menu of a row holds: texts, "-" for a separator, " (bold)" behind the default entry. */
    QStringList readMenu(QTreeWidgetItem *item);
    /** The tool tip that comes when the mouse rests on a row; empty when none does. */
    QString readTip(QTreeWidgetItem *item);
    bool chooseFromMenu(QTreeWidgetItem *item, const QString &text);
    /** Adds a device through the dialog, by keys alone. @param wrongPort  typed first, for the dialog to refuse */
    bool addDevice(const QString &name, const QString &port, const QString &wrongPort = {});
    /** Sends keys to the next modal box, from within the box's own event loop, after a look at it. */
    void answerBoxWith(const QString &keys, const std::function<void(QWidget *)> &look = {});
    void takePicture(const QString &name);

    /** Puts a program in the place of the desktop's opener, which writes down what it is asked to open. */
    bool recordOpenedFiles();
    /** What was opened, as URLs. */
    QStringList openedFiles() const;
    void forgetOpenedFiles() { QFile::remove(home("opened")); }

    /** Starts a demo device and reads where it listens. @return the port, empty when it does not start */
    static QString startDevice(QProcess *process, const QStringList &options);
    /** Sends a file to the local service, as another device would. */
    static void sendToLocalService(const QString &path);
    /** The local service's "address:port". */
    static QString listening();

    QDir m_home;
    QDir m_pictures;
    std::unique_ptr<manager::Manager> m_manager;
    QPointer<QWidget> m_client;

private:
    QMenu *openMenu(QTreeWidgetItem *item);
    /** Runs a command for the next modal box, as soon as that is in front and ready for it. */
    void answerBox(const std::function<bool(QWidget *)> &ready, const QStringList &command);

    int m_count = 0;
};

#endif
