#include "serverdialog.h"

#include "windows.h"

#include <QTest>

void ServerDialogTest::initTestCase()
{
    m_plugin = &Plugin::load();
}

void ServerDialogTest::init()
{
    m_folder.reset(new QTemporaryDir);
    m_plugin->startAfresh();
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "SHAREFOLDER", m_folder->path().toUtf8());
    script.setSetting("FTPSERVER", "DESIRED_ACCESS", "1");
    script.setServerStatus(1);
}

void ServerDialogTest::cleanup()
{
    // A dialog without a parent is not deleted by the plug-in.
    qDeleteAll(windows::all("FtppropertyClass"));
    m_plugin->stop();
}

void ServerDialogTest::show(const Action &action, const std::function<void(Modals &)> &more, int tab,
                            unsigned int server)
{
    QWidget host;
    Modals modals;
    modals.handle([&](QWidget *dialog) {
        QCOMPARE(QByteArray(dialog->metaObject()->className()), QByteArray("FtppropertyClass"));
        const QPointer<QWidget> guard = dialog;
        if (action)
            action(dialog);
        if (guard && guard->isVisible())
            press(dialog, QDialogButtonBox::Ok);
    });
    if (more)
        more(modals);
    m_plugin->ShowSvrPropertyDlg(server, &host, tab);
    QVERIFY(modals.allAnswered());
}

QStringList ServerDialogTest::writes()
{
    return Double::instance().orderOf(
        {"Btsdk_WritePrivateProfileString", "Btsdk_WritePrivateProfileInt", "Btsdk_UpdateServerAttributes"});
}
