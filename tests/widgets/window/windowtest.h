#ifndef WINDOWTEST_H
#define WINDOWTEST_H

#include "double.h"
#include "plugin.h"
#include "windows.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <memory>

/** One client window of the loaded plug-in, with a local folder of its own, opened for each test and gone after it. */
class WindowTest : public QObject
{
    Q_OBJECT

protected:
    static constexpr unsigned int shortcut = 5;

    /** The profile afresh, the local folder empty; no window yet. */
    void prepare()
    {
        plugin().startAfresh();
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
        script().setSetting("FtpClient", "DefaultLocalFolder", localFolder().toUtf8());
    }

    /** A window that is connected and shows the remote root. */
    void openConnected()
    {
        window = qobject_cast<QMainWindow *>(plugin().openConnectedWindow(shortcut));
        QVERIFY(window);
        QTRY_COMPARE(windows::statusText(window), QStringLiteral("Connected."));
        takeWidgets();
    }

    /** A window whose shortcut cannot be looked up: nothing is connected, nothing listed. */
    void openIdle()
    {
        script().setResult("Btsdk_GetShortCutProperty", BTSDK_ER_INVALID_HANDLE);
        window = qobject_cast<QMainWindow *>(plugin().openWindow(shortcut));
        QVERIFY(window);
        takeWidgets();
    }

    static Plugin &plugin() { return Plugin::load(); }
    static Double &script() { return Double::instance(); }
    QString localFolder() const { return m_folder->path(); }

    QAction *action(const char *nameOrText) const { return windows::action(window, nameOrText); }
    bool isEnabled(const char *name) const { return action(name)->isEnabled(); }
    bool isChecked(const char *name) const { return action(name)->isChecked(); }

    /** A row of the test's own, with the texts of a file. */
    static QTreeWidgetItem *addRow(QTreeWidget *tree, const QString &name)
    {
        auto *row = new QTreeWidgetItem(QStringList{name, "1 B", "txt", "2008-03-14 09:30"});
        tree->addTopLevelItem(row);
        return row;
    }

    QPointer<QMainWindow> window;
    QTreeWidget *local = nullptr;
    QTreeWidget *remote = nullptr;
    QComboBox *localBox = nullptr;
    QComboBox *remoteBox = nullptr;

private:
    void takeWidgets()
    {
        local = windows::localTree(window);
        remote = windows::remoteTree(window);
        localBox = windows::localCombo(window);
        remoteBox = windows::remoteCombo(window);
        QVERIFY(local && remote && localBox && remoteBox);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

/** How many connections a signal of an object has. */
inline int connectionsOf(const QObject *object, const char *signal)
{
    struct Open : QObject
    {
        using QObject::receivers;
    };
    return (object->*(&Open::receivers))(signal);
}

/** How many of them end in this slot; they are cut for that. */
inline int cutConnections(QObject *sender, const char *signal, QObject *receiver, const char *slot)
{
    const int before = connectionsOf(sender, signal);
    QObject::disconnect(sender, signal, receiver, slot);
    return before - connectionsOf(sender, signal);
}

#endif
