#ifndef BROWSING_H
#define BROWSING_H

#include "double.h"
#include "plugin.h"
#include "windows.h"

#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

/** A client window on the doubles, with an empty local folder of its own. */
class Browsing
{
public:
    static constexpr unsigned int shortcut = 7;

    Browsing() : plugin(Plugin::load()), script(Double::instance()) {}

    /** A fresh profile object; the script is as at the start. */
    void start()
    {
        plugin.startAfresh();
        local = std::make_unique<QTemporaryDir>();
        script.setSetting("FtpClient", "DefaultLocalFolder", QFile::encodeName(local->path()));
        window = nullptr;
    }

    void stop()
    {
        plugin.stop();
        local.reset();
    }

    /** Opens the window, connects it, waits until its root is listed, forgets the calls so far. */
    void open()
    {
        window = plugin.openConnectedWindow(shortcut);
        QVERIFY(window);
        QTRY_COMPARE(status(), QStringLiteral("Connected."));
        script.clearCalls();
    }

    QTreeWidget *tree() const { return windows::remoteTree(window); }
    QComboBox *combo() const { return windows::remoteCombo(window); }
    QStringList names() const { return windows::names(tree()); }
    QTreeWidgetItem *row(const char *name) const { return windows::item(tree(), QString::fromUtf8(name)); }
    QString status() const { return windows::statusText(window); }
    QAction *action(const char *name) const { return windows::action(window, name); }
    QString currentFolder() const { return combo()->currentText(); }
    bool call(const char *slot) const { return windows::call(window, slot); }
    bool update(const char *slot, const QString &path) const
    {
        return windows::call(window, slot, Q_ARG(QString, path));
    }
    bool report(quint32 operation, quint32 result, quint32 parameter) const
    {
        return windows::call(window, "OperationInd", Q_ARG(quint32, operation), Q_ARG(quint32, result),
                             Q_ARG(quint32, parameter));
    }
    /** The tool button above the remote tree whose default action has that slot's text. */
    QToolButton *upButton() const { return tree()->parentWidget()->findChildren<QToolButton *>().value(0); }

    /** The remote folder changes and listings so far, "dir /", "list Photos". */
    QStringList remoteCalls() const
    {
        QStringList texts;
        for (const Call &made : script.calls()) {
            if (made.function == "Btsdk_FTPSetRmtDir")
                texts.append(QStringLiteral("dir ") + QString::fromUtf8(made.text(1)));
            else if (made.function == "Btsdk_FTPBrowseFolder")
                texts.append(QStringLiteral("list ") + QString::fromUtf8(made.text(1)));
        }
        return texts;
    }

    QStringList history() const
    {
        QStringList texts;
        for (int i = 0; i < combo()->count(); ++i)
            texts.append(combo()->itemText(i));
        return texts;
    }

    Plugin &plugin;
    Double &script;
    std::unique_ptr<QTemporaryDir> local;
    QWidget *window = nullptr;
};

#endif
