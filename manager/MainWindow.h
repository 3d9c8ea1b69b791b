#ifndef MANAGER_MAINWINDOW_H
#define MANAGER_MAINWINDOW_H

#include "NoticeArea.h"
#include "Profiles.h"
#include "ReceivedPane.h"
#include "ServiceTree.h"

#include <QMainWindow>

class QLabel;
class QSplitter;

namespace manager {

/** The window: notices, the tree of devices and services, a hint, the received files. It composes and asks; the work
 *  is Manager's. */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(Profiles *profiles, ReceivedFiles *files);

    ServiceTree *tree() const { return m_tree; }
    NoticeArea *notices() const { return m_notices; }

    void showCatalogue(const Catalogue &catalogue);
    /** A line below the tree that stays; empty hides it. */
    void setHint(const QString &text);
    /** How Bluetooth stands, at the right of the status bar; empty hides it. */
    void setBluetooth(const QString &text);

signals:
    void addDeviceRequested();
    void removeDeviceRequested(unsigned int device);
    void openRequested(const manager::ReceivedFile &file);
    void showRequested(const manager::ReceivedFile &file);
    void closing();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void makeMenus();
    QWidget *makeHint();
    void fillMenu(QMenu *menu, const RowTarget &target);
    void fillDeviceMenu(QMenu *menu, const RowTarget &target);
    void openContextMenu(const RowTarget &target, const QPoint &where);
    void performDefault(const RowTarget &target);
    QString tip(const RowTarget &target) const;
    void about();

    Profiles *m_profiles;
    NoticeArea *m_notices;
    ServiceTree *m_tree;
    QMenu *m_contextMenu;
    QWidget *m_hint = nullptr;
    QLabel *m_hintText = nullptr;
    QLabel *m_bluetooth = nullptr;
    QAction *m_addDevice = nullptr;
};

} // namespace manager

#endif
