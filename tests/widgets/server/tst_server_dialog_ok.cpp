#include "serverdialog.h"
#include "testmain.h"
#include "windows.h"

#include <QLineEdit>
#include <QToolButton>

/** The server's property dialog: what OK writes, asks and sends, in which order. */
class TestServerDialogOk : public ServerDialogTest
{
    Q_OBJECT

private slots:
    void ok_nothingChanged_touchesNothing_data();
    void ok_nothingChanged_touchesNothing();
    void ok_secureBoxAlone_updatesAtOnceAndAsksNothing_data();
    void ok_secureBoxAlone_updatesAtOnceAndAsksNothing();
    void ok_accessChangedWhileConnected_writesThenAsks_data();
    void ok_accessChangedWhileConnected_writesThenAsks();
    void ok_everythingChangedWhileConnected_goesInOrder();
    void ok_changedWithoutClient_updatesWithoutAQuestion_data();
    void ok_changedWithoutClient_updatesWithoutAQuestion();
    void ok_statusUnknown_writesButLeavesTheServer_data();
    void ok_statusUnknown_writesButLeavesTheServer();
    void ok_otherAccessValue_staysAsItIs_data();
    void ok_otherAccessValue_staysAsItIs();
    void ok_folderOfAnyLength_isCutToItsBuffers_data();
    void ok_folderOfAnyLength_isCutToItsBuffers();
    void cancel_afterChanges_writesNothing_data();
    void cancel_afterChanges_writesNothing();
    void question_whileTheHostDeletesTheDialog_updatesNothing();
};

namespace {

const QString question = QStringLiteral(
    "WARNING: A remote device has connected to this service. If you continue to change the settings, the connection "
    "will be disconnected. \n\nAre you sure you want to change the settings?");

} // namespace

void TestServerDialogOk::ok_nothingChanged_touchesNothing_data()
{
    QTest::addColumn<quint16>("status");
    QTest::addColumn<quint16>("security");
    QTest::newRow("no client") << quint16(1) << quint16(0);
    QTest::newRow("client connected") << quint16(3) << quint16(0);
    QTest::newRow("secure by one bit") << quint16(3) << quint16(2);
}

void TestServerDialogOk::ok_nothingChanged_touchesNothing()
{
    QFETCH(quint16, status);
    QFETCH(quint16, security);
    Double &script = Double::instance();
    script.setServerStatus(status);
    script.setServerAttributes(4358, security);
    show([&](QWidget *) { script.clearCalls(); });
    QCOMPARE(script.order(), QStringList());
}

void TestServerDialogOk::ok_secureBoxAlone_updatesAtOnceAndAsksNothing_data()
{
    QTest::addColumn<quint16>("before");
    QTest::addColumn<quint16>("after");
    QTest::newRow("checked") << quint16(0) << quint16(7);
    QTest::newRow("checked beside another bit") << quint16(8) << quint16(7);
    QTest::newRow("unchecked") << quint16(7) << quint16(0);
    QTest::newRow("unchecked from one bit") << quint16(1) << quint16(0);
}

void TestServerDialogOk::ok_secureBoxAlone_updatesAtOnceAndAsksNothing()
{
    QFETCH(quint16, before);
    QFETCH(quint16, after);
    Double &script = Double::instance();
    script.setServerStatus(3);
    script.setServerAttributes(4358, before);
    show([&](QWidget *dialog) {
        script.clearCalls();
        part<QCheckBox>(dialog, "checkBox_SecureConnection")->click();
    });
    QCOMPARE(script.order(), (QStringList{"Btsdk_GetServerAttributes", "Btsdk_UpdateServerAttributes"}));
    QCOMPARE(script.last("Btsdk_GetServerAttributes").arguments, (QVariantList{Double::serverHandle, 2u}));
    const Double::Update update = script.updates().value(0);
    QCOMPARE(update.mask, quint16(2));
    QCOMPARE(update.security, after);
    QVERIFY(!update.hasParameters);
}

void TestServerDialogOk::ok_accessChangedWhileConnected_writesThenAsks_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<int>("after");
    QTest::addColumn<int>("answer");
    QTest::newRow("to read-only, No") << QByteArray("1") << 2 << int(QMessageBox::No);
    QTest::newRow("to read-only, Yes") << QByteArray("1") << 2 << int(QMessageBox::Yes);
    QTest::newRow("to writable, No") << QByteArray("2") << 1 << int(QMessageBox::No);
    QTest::newRow("to writable, Yes") << QByteArray("2") << 1 << int(QMessageBox::Yes);
    QTest::newRow("Escape is No") << QByteArray("1") << 2 << int(QMessageBox::NoButton);
}

void TestServerDialogOk::ok_accessChangedWhileConnected_writesThenAsks()
{
    QFETCH(QByteArray, before);
    QFETCH(int, after);
    QFETCH(int, answer);
    Double &script = Double::instance();
    script.setServerStatus(3);
    script.setSetting("FTPSERVER", "DESIRED_ACCESS", before);
    QStringList writtenAtTheQuestion;
    ModalSeen seen;
    QPointer<QWidget> dialog;
    show(
        [&](QWidget *shown) {
            dialog = shown;
            part<QCheckBox>(shown, "checkBox_FtpWritable")->click();
        },
        [&](Modals &modals) {
            modals.handle([&](QWidget *box) {
                writtenAtTheQuestion = writes();
                seen = modals.last();
                if (answer == QMessageBox::NoButton)
                    QTest::keyClick(box, Qt::Key_Escape);
                else
                    qobject_cast<QMessageBox *>(box)->button(QMessageBox::StandardButton(answer))->click();
            });
        });
    QCOMPARE(seen.className, QStringLiteral("QMessageBox"));
    QCOMPARE(seen.title, QStringLiteral("Confirm Settings Warning"));
    QCOMPARE(seen.text, question);
    QCOMPARE(seen.icon, QMessageBox::Warning);
    QCOMPARE(seen.textFormat, Qt::PlainText);
    QCOMPARE(QSet<QString>(seen.buttons.begin(), seen.buttons.end()), (QSet<QString>{"Yes", "No"}));
    QCOMPARE(seen.defaultButton, QString());
    QCOMPARE(seen.parent, dialog);
    QCOMPARE(writtenAtTheQuestion, QStringList{"Btsdk_WritePrivateProfileInt"});
    QCOMPARE(script.last("Btsdk_WritePrivateProfileInt").arguments,
             (QVariantList{QByteArray("FTPSERVER"), QByteArray("DESIRED_ACCESS"), after, file}));
    QCOMPARE(script.setting("FTPSERVER", "DESIRED_ACCESS"), QByteArray::number(after));
    QCOMPARE(script.updates().size(), answer == QMessageBox::Yes ? 1 : 0);
    if (answer == QMessageBox::Yes) {
        const Double::Update update = script.updates().first();
        QCOMPARE(update.mask, quint16(8));
        QVERIFY(update.hasParameters);
        QCOMPARE(update.size, 264u);
        QCOMPARE(update.field, quint16(3));
        QCOMPARE(update.access, quint16(after));
        QCOMPARE(update.folder, m_folder->path().toUtf8());
    }
}

void TestServerDialogOk::ok_everythingChangedWhileConnected_goesInOrder()
{
    Double &script = Double::instance();
    script.setServerStatus(3);
    show(
        [&](QWidget *dialog) {
            script.clearCalls();
            part<QCheckBox>(dialog, "checkBox_SecureConnection")->click();
            part<QCheckBox>(dialog, "checkBox_FtpWritable")->click();
            part<QLineEdit>(dialog, "lineEdit_FTPFolder")->setText(QStringLiteral("/srv/other"));
        },
        [](Modals &modals) { modals.press(QMessageBox::Yes); });
    QCOMPARE(script.order(), (QStringList{"Btsdk_GetServerAttributes", "Btsdk_UpdateServerAttributes",
                                          "Btsdk_WritePrivateProfileString", "Btsdk_WritePrivateProfileInt",
                                          "Btsdk_GetServerStatus", "Btsdk_UpdateServerAttributes"}));
    QCOMPARE(script.last("Btsdk_WritePrivateProfileString").arguments,
             (QVariantList{QByteArray("FTPSERVER"), QByteArray("SHAREFOLDER"), QByteArray("/srv/other"), file}));
    QCOMPARE(script.updates().at(0).mask, quint16(2));
    QCOMPARE(script.updates().at(1).mask, quint16(8));
    QCOMPARE(script.updates().at(1).folder, QByteArray("/srv/other"));
    QCOMPARE(script.updates().at(1).access, quint16(2));
}

void TestServerDialogOk::ok_changedWithoutClient_updatesWithoutAQuestion_data()
{
    QTest::addColumn<quint16>("status");
    QTest::newRow("started") << quint16(1);
    QTest::newRow("stopped") << quint16(2);
    QTest::newRow("unknown") << quint16(0);
    QTest::newRow("four") << quint16(4);
}

void TestServerDialogOk::ok_changedWithoutClient_updatesWithoutAQuestion()
{
    QFETCH(quint16, status);
    Double &script = Double::instance();
    script.setServerStatus(status);
    show([](QWidget *dialog) { part<QCheckBox>(dialog, "checkBox_FtpWritable")->click(); });
    QCOMPARE(writes(), (QStringList{"Btsdk_WritePrivateProfileInt", "Btsdk_UpdateServerAttributes"}));
    QCOMPARE(script.last("Btsdk_GetServerStatus").number(1), 0u);
}

void TestServerDialogOk::ok_statusUnknown_writesButLeavesTheServer_data()
{
    QTest::addColumn<uint>("server");
    QTest::addColumn<uint>("result");
    QTest::newRow("no server handle") << 0u << 0u;
    QTest::newRow("query fails") << Double::serverHandle << uint(BTSDK_ER_INVALID_HANDLE);
}

void TestServerDialogOk::ok_statusUnknown_writesButLeavesTheServer()
{
    QFETCH(uint, server);
    QFETCH(uint, result);
    Double &script = Double::instance();
    script.setServerStatus(3);
    script.setResult("Btsdk_GetServerStatus", result);
    show([](QWidget *dialog) { part<QCheckBox>(dialog, "checkBox_FtpWritable")->click(); }, {}, 0, server);
    QCOMPARE(writes(), QStringList{"Btsdk_WritePrivateProfileInt"});
    QCOMPARE(script.count("Btsdk_GetServerStatus"), server ? 1 : 0);
}

void TestServerDialogOk::ok_otherAccessValue_staysAsItIs_data()
{
    QTest::addColumn<bool>("checks");
    QTest::addColumn<bool>("changesFolder");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("untouched") << false << false << QStringList();
    QTest::newRow("box checked") << true << false << QStringList();
    QTest::newRow("folder changed") << false << true
                                    << QStringList{"Btsdk_WritePrivateProfileString", "Btsdk_UpdateServerAttributes"};
    QTest::newRow("both") << true << true
                          << QStringList{"Btsdk_WritePrivateProfileString", "Btsdk_UpdateServerAttributes"};
}

void TestServerDialogOk::ok_otherAccessValue_staysAsItIs()
{
    QFETCH(bool, checks);
    QFETCH(bool, changesFolder);
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "DESIRED_ACCESS", "5");
    show([&](QWidget *dialog) {
        QVERIFY(!part<QCheckBox>(dialog, "checkBox_FtpWritable")->isChecked());
        if (checks)
            part<QCheckBox>(dialog, "checkBox_FtpWritable")->click();
        if (changesFolder)
            part<QLineEdit>(dialog, "lineEdit_FTPFolder")->setText(QStringLiteral("/srv/other"));
    });
    QTEST(writes(), "expected");
    QCOMPARE(script.setting("FTPSERVER", "DESIRED_ACCESS"), QByteArray("5"));
    if (changesFolder)
        QCOMPARE(script.updates().value(0).access, quint16(5));
}

void TestServerDialogOk::ok_folderOfAnyLength_isCutToItsBuffers_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<int>("written");
    QTest::addColumn<int>("sent");
    for (int length : {1, 255, 256, 259, 260, 1000}) {
        QTest::addRow("%d bytes", length) << QByteArray(length, 'f') << qMin(length, 259) << qMin(length, 255);
    }
    QTest::newRow("emptied") << QByteArray("") << 0 << 0;
    QTest::newRow("cut within a character") << QByteArray(254, 'f') + "\xC3\xBC" << 256 << 255;
}

void TestServerDialogOk::ok_folderOfAnyLength_isCutToItsBuffers()
{
    QFETCH(QByteArray, folder);
    QFETCH(int, written);
    QFETCH(int, sent);
    Double &script = Double::instance();
    show([&](QWidget *dialog) { part<QLineEdit>(dialog, "lineEdit_FTPFolder")->setText(QString::fromUtf8(folder)); });
    QCOMPARE(script.last("Btsdk_WritePrivateProfileString").text(2), folder.left(written));
    QCOMPARE(script.updates().value(0).folder, folder.left(sent));
}

void TestServerDialogOk::cancel_afterChanges_writesNothing_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("Cancel") << 0;
    QTest::newRow("Escape") << 1;
    QTest::newRow("closed") << 2;
}

void TestServerDialogOk::cancel_afterChanges_writesNothing()
{
    QFETCH(int, how);
    Double &script = Double::instance();
    show([&](QWidget *dialog) {
        part<QCheckBox>(dialog, "checkBox_SecureConnection")->click();
        part<QCheckBox>(dialog, "checkBox_FtpWritable")->click();
        part<QLineEdit>(dialog, "lineEdit_FTPFolder")->setText(QStringLiteral("/srv/other"));
        script.clearCalls();
        if (how == 0)
            press(dialog, QDialogButtonBox::Cancel);
        else if (how == 1)
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            dialog->close();
    });
    QCOMPARE(script.order(), QStringList());
}

void TestServerDialogOk::question_whileTheHostDeletesTheDialog_updatesNothing()
{
    Double::instance().setServerStatus(3);
    auto *const host = new QWidget;
    Modals modals;
    modals.handle([](QWidget *dialog) {
        part<QCheckBox>(dialog, "checkBox_FtpWritable")->click();
        press(dialog, QDialogButtonBox::Ok);
    });
    modals.handle([host](QWidget *) { delete host; });
    m_plugin->ShowSvrPropertyDlg(Double::serverHandle, host, 1);
    QCOMPARE(modals.seen().size(), 2);
    QCOMPARE(writes(), QStringList{"Btsdk_WritePrivateProfileInt"});
}

BTFTP_TEST_MAIN(TestServerDialogOk)
#include "tst_server_dialog_ok.moc"
