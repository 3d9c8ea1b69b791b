#include "serverdialog.h"
#include "testmain.h"
#include "windows.h"

#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolButton>
#include <QTranslator>

/** The server's property dialog: what it shows, its chooser, languages, keyboard, and how it comes up. */
class TestServerDialog : public ServerDialogTest
{
    Q_OBJECT

private slots:
    void construction_always_asksInOrder();
    void form_shown_hasItsParts();
    void form_shown_namesEveryLayout();
    void slots_ofTheDialog_areInOrder();
    void tab_asked_isCurrent_data();
    void tab_asked_isCurrent();
    void window_shown_isAPlainModalWindow();
    void general_shown_tellsServiceNameAndDevice();
    void general_localNameFails_leavesTheLabelEmpty();
    void general_serviceOfAnotherClass_takesItsTextsAndIcon();
    void general_hostileNames_areShownLiterally();
    void secureBox_byTheServersBits_isChecked_data();
    void secureBox_byTheServersBits_isChecked();
    void options_bySettings_showFolderAndAccess_data();
    void options_bySettings_showFolderAndAccess();
    void chooser_folderPicked_isShownButNotSaved();
    void chooser_cancelled_leavesTheFolder();
    void chooser_openedAgain_startsFromTheStoredFolder();
    void chooser_whileTheHostDeletesTheDialog_endsQuietly();
    void show_whileOneIsOpen_returnsAtOnce();
    void show_afterOneWasClosed_makesANewOne();
    void show_withoutProfileObject_works();
    void menuEntry_whileOneIsOpen_opensAnother();
    void language_changedWhileOpen_isTakenOver();
    void language_otherChanges_leaveTheTexts();
    void keyboard_alone_reachesEverything();
    void tabs_shown_areDrawn();
};

namespace {

/** Translates every text of the given contexts into itself within brackets. */
class Brackets : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (QByteArray(context) != "FtppropertyClass" && QByteArray(context) != "FtpPropertyDlg")
            return {};
        return QLatin1Char('[') + QLatin1String(source) + QLatin1Char(']');
    }
};

} // namespace

void TestServerDialog::construction_always_asksInOrder()
{
    Double &script = Double::instance();
    script.clearCalls();
    QList<QVariantList> made;
    show([&](QWidget *) {
        const QList<Call> calls = script.calls();
        for (const Call &call : calls)
            made.append(QVariantList{call.function} + call.arguments);
    });
    const QByteArray server = "FTPSERVER";
    const QList<QVariantList> expected = {
        {QByteArray("VmCm_GetWorkingDir"), 256},
        {QByteArray("VmCm_GetCommonSettingFilePath"), 260},
        {QByteArray("Btsdk_GetServerAttributes"), Double::serverHandle, 2u},
        {QByteArray("Btsdk_GetLocalName"), 64u},
        {QByteArray("CVmSkin::GetImgPath"), 2, 4358, 4},
        {QByteArray("GetPrivateProfileString"), server, QByteArray("SHAREFOLDER"), QByteArray(""), 256u, file},
        {QByteArray("GetPrivateProfileInt"), server, QByteArray("DESIRED_ACCESS"), 1, file},
        {QByteArray("VmCm_GetSvcDisplayName"), 4358u},
        {QByteArray("VmCm_GetLocSvcDesc"), 4358u},
    };
    QCOMPARE(made, expected);
}

void TestServerDialog::form_shown_hasItsParts()
{
    show([](QWidget *dialog) {
        QCOMPARE(dialog->objectName(), QStringLiteral("FtpPropertyDlg"));
        auto *const tabs = part<QTabWidget>(dialog, "tabWidget");
        QCOMPARE(tabs->count(), 2);
        QCOMPARE(tabs->widget(0)->objectName(), QStringLiteral("tab_General"));
        QCOMPARE(tabs->widget(1)->objectName(), QStringLiteral("tab_FTP"));
        QCOMPARE(tabs->tabText(0), QStringLiteral("General"));
        QCOMPARE(tabs->tabText(1), QStringLiteral("Options"));
        QCOMPARE(part<QLabel>(dialog, "label_3")->text(), QStringLiteral("Location:"));
        QCOMPARE(part<QLabel>(dialog, "label")->text(), QStringLiteral("Description:"));
        for (const char *line : {"line", "line_2"})
            QCOMPARE(part<QFrame>(dialog, line)->frameShape(), QFrame::HLine);
        for (const char *browser : {"textBrowser", "textBrowser_2"})
            QCOMPARE(part<QTextBrowser>(dialog, browser)->frameShape(), QFrame::NoFrame);
        QCOMPARE(part<QTextBrowser>(dialog, "textBrowser_2")->toPlainText(),
                 QStringLiteral("If a Secure Connection is selected, a passkey is required when the remote devices "
                                "connect to this service."));
        QCOMPARE(part<QCheckBox>(dialog, "checkBox_SecureConnection")->text(), QStringLiteral("S&ecure Connection"));
        QCOMPARE(part<QGroupBox>(dialog, "groupBox")->title(), QStringLiteral("&Share this folder"));
        QVERIFY(!part<QLineEdit>(dialog, "lineEdit_FTPFolder")->isEnabled());
        QVERIFY(part<QLineEdit>(dialog, "lineEdit_FTPFolder")->isReadOnly());
        QCOMPARE(part<QToolButton>(dialog, "toolButton_SelFTPFolder")->text(), QStringLiteral("..."));
        QCOMPARE(part<QCheckBox>(dialog, "checkBox_FtpWritable")->text(),
                 QStringLiteral("A&llow other Bluetooth users to change my files"));
        auto *const buttons = part<QDialogButtonBox>(dialog, "buttonBox");
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    });
}

void TestServerDialog::form_shown_namesEveryLayout()
{
    show([](QWidget *dialog) {
        QCOMPARE(dialog->layout()->objectName(), QStringLiteral("vboxLayout"));
        QCOMPARE(part<QWidget>(dialog, "tab_General")->layout()->objectName(), QStringLiteral("vboxLayout1"));
        QCOMPARE(part<QWidget>(dialog, "tab_FTP")->layout()->objectName(), QStringLiteral("vboxLayout3"));
        QCOMPARE(part<QGroupBox>(dialog, "groupBox")->layout()->objectName(), QStringLiteral("hboxLayout1"));
        for (const char *name : {"hboxLayout", "gridLayout", "vboxLayout2"})
            (void)part<QLayout>(dialog, name);
        auto *const grid = part<QGridLayout>(dialog, "gridLayout");
        QCOMPARE(grid->itemAtPosition(0, 0)->widget()->objectName(), QStringLiteral("label_3"));
        QCOMPARE(grid->itemAtPosition(0, 1)->widget()->objectName(), QStringLiteral("label_DevName"));
        QCOMPARE(grid->itemAtPosition(1, 0)->layout()->objectName(), QStringLiteral("vboxLayout2"));
        QCOMPARE(grid->itemAtPosition(1, 1)->widget()->objectName(), QStringLiteral("textBrowser"));
    });
}

void TestServerDialog::slots_ofTheDialog_areInOrder()
{
    show([](QWidget *dialog) {
        QCOMPARE(windows::slotSignatures(dialog), (QStringList{"on_toolButton_SelFTPFolder_clicked()", "OnOK()"}));
        QCOMPARE(windows::signalSignatures(dialog), QStringList());
        QCOMPARE(QByteArray(dialog->metaObject()->superClass()->className()), QByteArray("QDialog"));
    });
}

void TestServerDialog::tab_asked_isCurrent_data()
{
    QTest::addColumn<int>("tab");
    QTest::addColumn<int>("current");
    QTest::newRow("general") << 0 << 0;
    QTest::newRow("options") << 1 << 1;
    QTest::newRow("none of that number leaves the form's own") << 7 << 1;
}

void TestServerDialog::tab_asked_isCurrent()
{
    QFETCH(int, tab);
    int current = -1;
    show([&](QWidget *dialog) { current = part<QTabWidget>(dialog, "tabWidget")->currentIndex(); }, {}, tab);
    QTEST(current, "current");
}

void TestServerDialog::window_shown_isAPlainModalWindow()
{
    show([](QWidget *dialog) {
        QCOMPARE(dialog->windowType(), Qt::Window);
        QVERIFY(dialog->isModal());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Bluetooth File Transfer Properties"));
    });
}

void TestServerDialog::general_shown_tellsServiceNameAndDevice()
{
    show([](QWidget *dialog) {
        QCOMPARE(part<QLabel>(dialog, "label_DevName")->text(), QStringLiteral("Test computer"));
        QCOMPARE(part<QLabel>(dialog, "label_ProfileName")->text(), QStringLiteral("Bluetooth File Transfer"));
        QVERIFY(part<QLabel>(dialog, "label_ProfileIcon")->pixmap(Qt::ReturnByValue).width() > 0);
        QCOMPARE(part<QTextBrowser>(dialog, "textBrowser")->toPlainText(),
                 QStringLiteral("Lets other devices use a folder of this computer."));
    });
}

void TestServerDialog::general_localNameFails_leavesTheLabelEmpty()
{
    Double::instance().setResult("Btsdk_GetLocalName", BTSDK_ER_INTERNAL);
    show([](QWidget *dialog) { QCOMPARE(part<QLabel>(dialog, "label_DevName")->text(), QString()); });
}

void TestServerDialog::general_serviceOfAnotherClass_takesItsTextsAndIcon()
{
    Double &script = Double::instance();
    script.setServerAttributes(0x1105, 0);
    script.setDisplayName(0x1105, QStringLiteral("Push"));
    show([](QWidget *dialog) {
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Push Properties"));
        QCOMPARE(part<QLabel>(dialog, "label_ProfileName")->text(), QStringLiteral("Push"));
    });
    QCOMPARE(script.last("CVmSkin::GetImgPath").arguments, (QVariantList{2, 0x1105, 4}));
    QCOMPARE(script.last("VmCm_GetLocSvcDesc").number(0), 0x1105u);
}

void TestServerDialog::general_hostileNames_areShownLiterally()
{
    Double &script = Double::instance();
    script.setLocalName("<b>%1</b>");
    script.setDisplayName(4358, QStringLiteral("<i>%1</i>"));
    script.setDescription(4358, QStringLiteral("<u>%1</u>"));
    show([](QWidget *dialog) {
        QCOMPARE(dialog->windowTitle(), QStringLiteral("<i>%1</i> Properties"));
        for (const char *label : {"label_DevName", "label_ProfileName"})
            QCOMPARE(part<QLabel>(dialog, label)->textFormat(), Qt::PlainText);
        QCOMPARE(part<QTextBrowser>(dialog, "textBrowser")->toPlainText(), QStringLiteral("<u>%1</u>"));
    });
}

void TestServerDialog::secureBox_byTheServersBits_isChecked_data()
{
    QTest::addColumn<quint16>("security");
    QTest::addColumn<bool>("checked");
    QTest::newRow("none") << quint16(0) << false;
    QTest::newRow("first bit") << quint16(1) << true;
    QTest::newRow("second bit") << quint16(2) << true;
    QTest::newRow("third bit") << quint16(4) << true;
    QTest::newRow("all three") << quint16(7) << true;
    QTest::newRow("fourth bit alone") << quint16(8) << false;
    QTest::newRow("all but the three") << quint16(0xFFF8) << false;
}

void TestServerDialog::secureBox_byTheServersBits_isChecked()
{
    QFETCH(quint16, security);
    QFETCH(bool, checked);
    Double::instance().setServerAttributes(4358, security);
    show(
        [&](QWidget *dialog) { QCOMPARE(part<QCheckBox>(dialog, "checkBox_SecureConnection")->isChecked(), checked); });
    QCOMPARE(writes(), QStringList());
}

void TestServerDialog::options_bySettings_showFolderAndAccess_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("access");
    QTest::addColumn<bool>("writable");
    QTest::newRow("writable") << QByteArray("/srv/share") << QByteArray("1") << true;
    QTest::newRow("read-only") << QByteArray("/srv/\xC3\x9C") << QByteArray("2") << false;
    QTest::newRow("another value") << QByteArray("") << QByteArray("5") << false;
    QTest::newRow("no number") << QByteArray("/srv/<b>") << QByteArray("x") << true;
}

void TestServerDialog::options_bySettings_showFolderAndAccess()
{
    QFETCH(QByteArray, folder);
    QFETCH(QByteArray, access);
    QFETCH(bool, writable);
    Double::instance().setSetting("FTPSERVER", "SHAREFOLDER", folder);
    Double::instance().setSetting("FTPSERVER", "DESIRED_ACCESS", access);
    show([&](QWidget *dialog) {
        QCOMPARE(part<QLineEdit>(dialog, "lineEdit_FTPFolder")->text(), QString::fromUtf8(folder));
        QCOMPARE(part<QCheckBox>(dialog, "checkBox_FtpWritable")->isChecked(), writable);
    });
}

void TestServerDialog::chooser_folderPicked_isShownButNotSaved()
{
    Double &script = Double::instance();
    const QString picked = m_folder->filePath(QStringLiteral("picked"));
    QVERIFY(QDir().mkpath(picked));
    ModalSeen chooser;
    show(
        [&](QWidget *dialog) {
            script.clearCalls();
            part<QToolButton>(dialog, "toolButton_SelFTPFolder")->click();
            QCOMPARE(part<QLineEdit>(dialog, "lineEdit_FTPFolder")->text(), picked);
            QCOMPARE(script.order(), QStringList());
        },
        [&](Modals &modals) {
            modals.handle([&, picked](QWidget *widget) {
                chooser = modals.last();
                auto *const open = qobject_cast<QFileDialog *>(widget);
                QCOMPARE(open->options() & (QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks),
                         QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
                open->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(picked);
                QMetaObject::invokeMethod(open, "accept");
            });
        },
        1);
    QCOMPARE(chooser.title, QStringLiteral("Please select the folder to be shared:"));
    QCOMPARE(script.setting("FTPSERVER", "SHAREFOLDER"), picked.toUtf8());
}

void TestServerDialog::chooser_cancelled_leavesTheFolder()
{
    show(
        [&](QWidget *dialog) {
            part<QToolButton>(dialog, "toolButton_SelFTPFolder")->click();
            QCOMPARE(part<QLineEdit>(dialog, "lineEdit_FTPFolder")->text(), m_folder->path());
        },
        [](Modals &modals) { modals.reject(); });
    QCOMPARE(writes(), QStringList());
}

void TestServerDialog::chooser_openedAgain_startsFromTheStoredFolder()
{
    const QString picked = m_folder->filePath(QStringLiteral("picked"));
    QVERIFY(QDir().mkpath(picked));
    QStringList starts;
    const auto note = [&](QWidget *widget) {
        auto *const open = qobject_cast<QFileDialog *>(widget);
        starts.append(open->directory().absolutePath());
        open->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(picked);
        QMetaObject::invokeMethod(open, "accept");
    };
    show(
        [&](QWidget *dialog) {
            part<QToolButton>(dialog, "toolButton_SelFTPFolder")->click();
            part<QToolButton>(dialog, "toolButton_SelFTPFolder")->click();
        },
        [&](Modals &modals) { modals.handle(note).handle(note); }, 1);
    QCOMPARE(starts, (QStringList{m_folder->path(), m_folder->path()}));
}

void TestServerDialog::chooser_whileTheHostDeletesTheDialog_endsQuietly()
{
    auto *const host = new QWidget;
    Modals modals;
    modals.handle([](QWidget *dialog) { part<QToolButton>(dialog, "toolButton_SelFTPFolder")->click(); });
    modals.handle([host](QWidget *) { delete host; });
    m_plugin->ShowSvrPropertyDlg(Double::serverHandle, host, 1);
    QCOMPARE(modals.seen().size(), 2);
    QCOMPARE(writes(), QStringList());
}

void TestServerDialog::show_whileOneIsOpen_returnsAtOnce()
{
    show([&](QWidget *dialog) {
        m_plugin->ShowSvrPropertyDlg(Double::serverHandle, nullptr, 1);
        QCOMPARE(windows::all("FtppropertyClass"), QList<QWidget *>{dialog});
    });
}

void TestServerDialog::show_afterOneWasClosed_makesANewOne()
{
    QList<QPointer<QWidget>> shown;
    Modals modals;
    for (int i = 0; i < 2; ++i) {
        modals.handle([&](QWidget *dialog) {
            shown.append(dialog);
            press(dialog, QDialogButtonBox::Cancel);
        });
        m_plugin->ShowSvrPropertyDlg(Double::serverHandle, nullptr, 0);
    }
    QCOMPARE(shown.size(), 2);
    // The first one is neither deleted nor used again.
    QVERIFY(shown.at(0) && shown.at(1));
    QVERIFY(shown.at(0) != shown.at(1));
}

void TestServerDialog::show_withoutProfileObject_works()
{
    m_plugin->UninitProfile();
    bool seen = false;
    show([&](QWidget *) { seen = true; });
    QVERIFY(seen);
}

void TestServerDialog::menuEntry_whileOneIsOpen_opensAnother()
{
    QAction *const properties = m_plugin->GetLocalSvrActionList(Double::serverHandle).last();
    int open = 0;
    show([&](QWidget *) { properties->trigger(); },
         [&](Modals &modals) {
             modals.handle([&](QWidget *dialog) {
                 open = windows::all("FtppropertyClass").size();
                 QMetaObject::invokeMethod(dialog, "reject");
             });
         });
    QCOMPARE(open, 2);
    QCOMPARE(windows::all("FtppropertyClass").size(), 0);
}

void TestServerDialog::language_changedWhileOpen_isTakenOver()
{
    Brackets brackets;
    show([&](QWidget *dialog) {
        Double::instance().setDisplayName(4358, QStringLiteral("Dateien"));
        Double::instance().setDescription(4358, QStringLiteral("Beschreibung"));
        QCoreApplication::installTranslator(&brackets);
        QTRY_COMPARE(dialog->windowTitle(), QStringLiteral("[Dateien Properties]"));
        QCOMPARE(part<QLabel>(dialog, "label_ProfileName")->text(), QStringLiteral("Dateien"));
        QCOMPARE(part<QLabel>(dialog, "label_3")->text(), QStringLiteral("[Location:]"));
        QCOMPARE(part<QLabel>(dialog, "label")->text(), QStringLiteral("[Description:]"));
        QCOMPARE(part<QTextBrowser>(dialog, "textBrowser")->toPlainText(), QStringLiteral("Beschreibung"));
        QVERIFY(part<QTextBrowser>(dialog, "textBrowser_2")->toPlainText().startsWith("[If a Secure"));
        QCOMPARE(part<QCheckBox>(dialog, "checkBox_SecureConnection")->text(), QStringLiteral("[S&ecure Connection]"));
        QCOMPARE(part<QTabWidget>(dialog, "tabWidget")->tabText(0), QStringLiteral("[General]"));
        QCOMPARE(part<QTabWidget>(dialog, "tabWidget")->tabText(1), QStringLiteral("[Options]"));
        QCOMPARE(part<QGroupBox>(dialog, "groupBox")->title(), QStringLiteral("[&Share this folder]"));
        QCOMPARE(part<QCheckBox>(dialog, "checkBox_FtpWritable")->text(),
                 QStringLiteral("[A&llow other Bluetooth users to change my files]"));
        QCOMPARE(part<QLineEdit>(dialog, "lineEdit_FTPFolder")->text(), m_folder->path());
        QCOMPARE(part<QLabel>(dialog, "label_DevName")->text(), QStringLiteral("Test computer"));
        QCoreApplication::removeTranslator(&brackets);
        QTRY_COMPARE(dialog->windowTitle(), QStringLiteral("Dateien Properties"));
    });
}

void TestServerDialog::language_otherChanges_leaveTheTexts()
{
    show([](QWidget *dialog) {
        part<QLabel>(dialog, "label_3")->setText(QStringLiteral("changed by hand"));
        for (QEvent::Type type : {QEvent::FontChange, QEvent::StyleChange, QEvent::LocaleChange}) {
            QEvent event(type);
            QApplication::sendEvent(dialog, &event);
        }
        QCOMPARE(part<QLabel>(dialog, "label_3")->text(), QStringLiteral("changed by hand"));
        QEvent event(QEvent::LanguageChange);
        QApplication::sendEvent(dialog, &event);
        QCOMPARE(part<QLabel>(dialog, "label_3")->text(), QStringLiteral("Location:"));
    });
}

void TestServerDialog::keyboard_alone_reachesEverything()
{
    Double &script = Double::instance();
    show(
        [&](QWidget *dialog) {
            QVERIFY(windows::activate(dialog));
            auto *const tabs = part<QTabWidget>(dialog, "tabWidget");
            auto *const secure = part<QCheckBox>(dialog, "checkBox_SecureConnection");
            auto *const writable = part<QCheckBox>(dialog, "checkBox_FtpWritable");
            auto *const button = part<QToolButton>(dialog, "toolButton_SelFTPFolder");
            QTest::keyClick(dialog->windowHandle(), Qt::Key_E, Qt::AltModifier);
            QTRY_VERIFY(secure->isChecked());
            secure->setFocus();
            QTest::keyClick(secure, Qt::Key_Tab, Qt::ControlModifier);
            QCOMPARE(tabs->currentIndex(), 1);
            QTest::keyClick(dialog->windowHandle(), Qt::Key_L, Qt::AltModifier);
            QTRY_VERIFY(!writable->isChecked());
            for (int i = 0; i < 10 && !button->hasFocus(); ++i)
                QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
            QVERIFY(button->hasFocus());
            QTest::keyClick(button, Qt::Key_Space);
            QTest::keyClick(dialog, Qt::Key_Return);
        },
        [](Modals &modals) { modals.escape(); });
    QCOMPARE(writes(), (QStringList{"Btsdk_UpdateServerAttributes", "Btsdk_WritePrivateProfileInt",
                                    "Btsdk_UpdateServerAttributes"}));
    QCOMPARE(script.setting("FTPSERVER", "DESIRED_ACCESS"), QByteArray("2"));
}

void TestServerDialog::tabs_shown_areDrawn()
{
    const QString folder = qEnvironmentVariable("BTFTP_BUILD_DIR", QDir::tempPath()) + QStringLiteral("/screenshots");
    QVERIFY(QDir().mkpath(folder));
    show([&](QWidget *dialog) {
        QVERIFY(windows::activate(dialog));
        for (int tab : {0, 1}) {
            part<QTabWidget>(dialog, "tabWidget")->setCurrentIndex(tab);
            const QPixmap picture = dialog->grab();
            QCOMPARE(picture.size(), dialog->size());
            QVERIFY(picture.save(QStringLiteral("%1/server-properties-%2.png").arg(folder).arg(tab)));
        }
    });
}

BTFTP_TEST_MAIN(TestServerDialog)
#include "tst_server_dialog.moc"
