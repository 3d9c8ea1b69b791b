#ifndef SERVERDIALOG_H
#define SERVERDIALOG_H

#include "double.h"
#include "modals.h"
#include "plugin.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QObject>
#include <QPushButton>
#include <QScopedPointer>
#include <QTemporaryDir>

#include <functional>

/** Where the doubles say that the settings are. */
inline const QByteArray file = "/double/settings.ini";

/** A part of the dialog by its object name. */
template <typename Widget>
Widget *part(QWidget *dialog, const char *name)
{
    auto *const found = dialog->findChild<Widget *>(QLatin1String(name));
    if (!found)
        qFatal("the dialog has no %s", name);
    return found;
}

inline void press(QWidget *dialog, QDialogButtonBox::StandardButton button)
{
    part<QDialogButtonBox>(dialog, "buttonBox")->button(button)->click();
}

/** What the tests of the server's property dialog begin with: a started server that shares a folder, writable. */
class ServerDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    using Action = std::function<void(QWidget *)>;
    /** Shows the dialog, lets `action` do something in it, and ends it with OK unless `action` did; `more` queues the
     *  answers for what comes up within. */
    void show(const Action &action, const std::function<void(Modals &)> &more = {}, int tab = 0,
              unsigned int server = Double::serverHandle);
    static QStringList writes();

    Plugin *m_plugin = nullptr;
    QScopedPointer<QTemporaryDir> m_folder;
};

#endif
