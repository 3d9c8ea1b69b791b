#include "ProfileStatusClass.h"
#include "RmtProfilePropertyClass.h"
#include "elidedlabel.h"
#include "fakesdk.h"
#include "looks.h"

#include <QClipboard>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <functional>

static_assert(sizeof(ProfileStatusClass) == sizeof(QDialog) + sizeof(void *), "plug-ins put the dialog on the stack");
static_assert(sizeof(RmtProfilePropertyClass) == sizeof(QDialog) + sizeof(void *), "as above");

class FactsDialogsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_dialog.reset(); }
    void shortcut_inAnyState_showsItsFacts_data();
    void shortcut_inAnyState_showsItsFacts();
    void shortcut_afterAFailure_saysWhatToDo();
    void server_inAnyState_showsItsFacts_data();
    void server_inAnyState_showsItsFacts();
    void property_ofAShortcut_showsItsFacts_data();
    void property_ofAShortcut_showsItsFacts();
    void facts_changed_showByThemselves();
    void facts_whileHidden_areNotRead();
    void name_likeMarkup_isShownLiterally();
    void name_tooLongForTheLine_isElidedWithAToolTip();
    void value_withTheKeyboard_canBeCopied();
    void keys_ofEveryDialog_closeIt_data();
    void keys_ofEveryDialog_closeIt();
    void language_changed_translatesEveryText_data() { keys_ofEveryDialog_closeIt_data(); }
    void language_changed_translatesEveryText();
    void looks_ofEveryDialog_haveNoFault_data();
    void looks_ofEveryDialog_haveNoFault();

private:
    using Facts = QMap<QString, QString>;
    void open(const QString &kind);
    /** Label and value of the rows that can be seen, as assistive tools get them. */
    Facts shown() const;
    QString note() const;
    static void connectShortcut();
    static void startServer(quint16 status);

    std::unique_ptr<QDialog> m_dialog;
};

Q_DECLARE_METATYPE(std::function<void()>)
using Arrange = std::function<void()>;

void FactsDialogsTest::init()
{
    QLocale::setDefault(QLocale::c());
    fakeSdk.reset();
}

void FactsDialogsTest::open(const QString &kind)
{
    if (kind == QLatin1String("shortcut"))
        m_dialog = std::make_unique<ProfileStatusClass>(2u, true, nullptr);
    else if (kind == QLatin1String("server"))
        m_dialog = std::make_unique<ProfileStatusClass>(3u, nullptr);
    else
        m_dialog = std::make_unique<RmtProfilePropertyClass>(2u, nullptr);
    m_dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
}

FactsDialogsTest::Facts FactsDialogsTest::shown() const
{
    Facts facts;
    const auto labels = m_dialog->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->isVisible() && !label->accessibleDescription().isEmpty())
            facts[label->accessibleDescription()] = label->text();
    }
    return facts;
}

QString FactsDialogsTest::note() const
{
    const auto *label = m_dialog->findChild<QLabel *>(QStringLiteral("note"));
    return label->isVisible() ? label->text() : QString();
}

void FactsDialogsTest::connectShortcut()
{
    fakeSdk.shortcut.state = BTSDK_SHORTCUT_CONNECTED;
    fakeSdk.shortcut.connection = 9;
    fakeSdk.shortcut.connectedSince = QDateTime::currentMSecsSinceEpoch() - 3 * 60000 - 1000;
    fakeSdk.shortcut.bytesReceived = 12897485;
    fakeSdk.shortcut.bytesSent = 2048;
}

void FactsDialogsTest::startServer(quint16 status)
{
    fakeSdk.server.status = status;
    fakeSdk.server.startedSince = QDateTime::currentMSecsSinceEpoch() - 3 * 60000 - 1000;
    fakeSdk.server.bytesReceived = 1024;
    setText(fakeSdk.server.listening, "127.0.0.1:6502");
    if (status == BTSDK_SERVER_CONNECTED) {
        fakeSdk.server.clients = 1;
        setText(fakeSdk.server.client, "Ada's phone");
    }
}

void FactsDialogsTest::shortcut_inAnyState_showsItsFacts_data()
{
    QTest::addColumn<Arrange>("arrange");
    QTest::addColumn<Facts>("facts");
    const Facts device = {{"Device:", "Demo device"}, {"Address:", "127.0.0.1:6502"}};
    const auto with = [device](const Facts &more) {
        Facts facts = device;
        facts.insert(more);
        return facts;
    };
    QTest::newRow("idle") << Arrange([] {}) << with({{"State:", "Not connected"}});
    QTest::newRow("connecting") << Arrange([] { fakeSdk.shortcut.state = BTSDK_SHORTCUT_CONNECTING; })
                                << with({{"State:", "Connecting..."}});
    QTest::newRow("connected") << Arrange(connectShortcut)
                               << with({{"State:", "Connected"},
                                        {"Connected since:", "(3 min)"},
                                        {"Received:", "12.3 MB"},
                                        {"Sent:", "2.0 KB"}});
    QTest::newRow("removed") << Arrange([] { fakeSdk.shortcut.shortcut = 0; })
                             << Facts{{"State:", "This service is no longer known."}};
    QTest::newRow("its device is gone") << Arrange([] { fakeSdk.device.device = 0; })
                                        << Facts{{"State:", "Not connected"}};
}

void FactsDialogsTest::shortcut_inAnyState_showsItsFacts()
{
    QFETCH(Arrange, arrange);
    QFETCH(Facts, facts);
    arrange();
    open(QStringLiteral("shortcut"));
    Facts seen = shown();
    if (seen.contains(QStringLiteral("Connected since:")))
        seen[QStringLiteral("Connected since:")] =
            seen[QStringLiteral("Connected since:")].section(QLatin1Char(' '), -2);
    QCOMPARE(seen, facts);
    QCOMPARE(note(), QString());
    QCOMPARE(m_dialog->windowTitle(),
             fakeSdk.shortcut.shortcut ? QStringLiteral("Bluetooth File Transfer Status") : QStringLiteral("Status"));
}

void FactsDialogsTest::shortcut_afterAFailure_saysWhatToDo()
{
    fakeSdk.shortcut.lastResult = BTSDK_ER_TIMED_OUT;
    open(QStringLiteral("shortcut"));
    QCOMPARE(note(), QStringLiteral("Last problem: The device did not answer. Check that it is switched on and near."));
    fakeSdk.shortcut.lastResult = 0x6C3;
    QTRY_COMPARE(note(), QStringLiteral("Last problem: The transfer failed."));
    fakeSdk.shortcut.lastResult = BTSDK_OK;
    QTRY_COMPARE(note(), QString());
}

void FactsDialogsTest::server_inAnyState_showsItsFacts_data()
{
    QTest::addColumn<Arrange>("arrange");
    QTest::addColumn<Facts>("facts");
    const Facts running = {{"Shared folder:", "/home/ada/Shared"},
                           {"Access:", "Other devices may read and change files"},
                           {"Listens at:", "127.0.0.1:6502"},
                           {"Started:", "(3 min)"},
                           {"Received:", "1.0 KB"},
                           {"Sent:", "0 B"}};
    const auto with = [running](const Facts &more) {
        Facts facts = running;
        for (auto it = more.begin(); it != more.end(); ++it)
            facts[it.key()] = it.value();
        return facts;
    };
    QTest::newRow("stopped") << Arrange([] {})
                             << Facts{{"State:", "Stopped"},
                                      {"Shared folder:", "/home/ada/Shared"},
                                      {"Access:", "Other devices may read and change files"}};
    QTest::newRow("waiting") << Arrange([] { startServer(BTSDK_SERVER_STARTED); })
                             << with({{"State:", "Running, no device is connected"}, {"Devices connected:", "0"}});
    QTest::newRow("in use") << Arrange([] { startServer(BTSDK_SERVER_CONNECTED); })
                            << with({{"State:", "Running, in use"}, {"Devices connected:", "Ada's phone"}});
    QTest::newRow("in use by several, read-only, secure") << Arrange([] {
        startServer(BTSDK_SERVER_CONNECTED);
        fakeSdk.server.clients = 3;
        fakeSdk.server.access = BTSDK_ACCESS_READ_ONLY;
        fakeSdk.server.security = BTSDK_SECURE_CONNECTION;
    })
                                                          << with({{"State:", "Running, in use"},
                                                                   {"Access:", "Other devices may read files"},
                                                                   {"Devices connected:", "3, the newest: Ada's phone"},
                                                                   {"Passkey:", "271828"}});
    QTest::newRow("an unknown handle") << Arrange([] { fakeSdk.server.server = 77; })
                                       << Facts{{"State:", "This service is no longer known."}};
}

void FactsDialogsTest::server_inAnyState_showsItsFacts()
{
    QFETCH(Arrange, arrange);
    QFETCH(Facts, facts);
    arrange();
    open(QStringLiteral("server"));
    Facts seen = shown();
    if (seen.contains(QStringLiteral("Started:")))
        seen[QStringLiteral("Started:")] = seen[QStringLiteral("Started:")].section(QLatin1Char(' '), -2);
    QCOMPARE(seen, facts);
}

void FactsDialogsTest::property_ofAShortcut_showsItsFacts_data()
{
    QTest::addColumn<Arrange>("arrange");
    QTest::addColumn<Facts>("facts");
    const Facts idle = {{"Device name:", "Demo device"},
                        {"Address:", "127.0.0.1:6502"},
                        {"Reached over:", "Network"},
                        {"Service:", "Bluetooth File Transfer"},
                        {"State:", "Not connected"}};
    const auto with = [idle](const QString &label, const QString &value) {
        Facts facts = idle;
        facts[label] = value;
        return facts;
    };
    QTest::newRow("idle") << Arrange([] {}) << idle;
    QTest::newRow("connected") << Arrange(connectShortcut) << with("State:", "Connected");
    QTest::newRow("a numeric address with colons")
        << Arrange([] { setText(fakeSdk.device.address, "::1"); }) << with("Address:", "[::1]:6502");
    QTest::newRow("a service without a name of its own")
        << Arrange([] { fakeSdk.shortcut.serviceClass = 0x1105; }) << with("Service:", "File transfer on Demo device");
    Facts bluetooth = with("Address:", "AA:BB:CC:DD:EE:FF");
    bluetooth[QStringLiteral("Reached over:")] = QStringLiteral("Bluetooth");
    QTest::newRow("over Bluetooth") << Arrange([] {
        fakeSdk.device.kind = BTSDK_DEVICE_BLUETOOTH;
        fakeSdk.device.port = 0;
        setText(fakeSdk.device.address, "AA:BB:CC:DD:EE:FF");
    }) << bluetooth;
    QTest::newRow("removed") << Arrange([] { fakeSdk.shortcut.shortcut = 0; })
                             << Facts{{"State:", "This service is no longer known."}};
}

void FactsDialogsTest::property_ofAShortcut_showsItsFacts()
{
    QFETCH(Arrange, arrange);
    arrange();
    open(QStringLiteral("property"));
    QTEST(shown(), "facts");
}

void FactsDialogsTest::facts_changed_showByThemselves()
{
    open(QStringLiteral("shortcut"));
    QCOMPARE(shown().value(QStringLiteral("State:")), QStringLiteral("Not connected"));
    connectShortcut();
    QTRY_COMPARE(shown().value(QStringLiteral("State:")), QStringLiteral("Connected"));
    fakeSdk.shortcut.bytesReceived += 1024 * 1024;
    QTRY_COMPARE(shown().value(QStringLiteral("Received:")), QStringLiteral("13.3 MB"));
    fakeSdk.shortcut.shortcut = 0;
    QTRY_COMPARE(shown().value(QStringLiteral("State:")), QStringLiteral("This service is no longer known."));
}

void FactsDialogsTest::facts_whileHidden_areNotRead()
{
    open(QStringLiteral("server"));
    m_dialog->hide();
    const int reads = fakeSdk.serverReads;
    QTest::qWait(1200); // more than two refreshes
    QCOMPARE(fakeSdk.serverReads, reads);
    m_dialog->show();
    QTRY_VERIFY(fakeSdk.serverReads > reads);
}

void FactsDialogsTest::name_likeMarkup_isShownLiterally()
{
    setText(fakeSdk.device.name, "<h1>50%1 & more</h1>");
    open(QStringLiteral("property"));
    QCOMPARE(shown().value(QStringLiteral("Device name:")), QStringLiteral("<h1>50%1 & more</h1>"));
    const auto labels = m_dialog->findChildren<QLabel *>();
    for (const QLabel *label : labels)
        QVERIFY2(label->text().isEmpty() || label->textFormat() == Qt::PlainText, qPrintable(label->text()));
}

void FactsDialogsTest::name_tooLongForTheLine_isElidedWithAToolTip()
{
    open(QStringLiteral("property"));
    const QSize size = m_dialog->size();
    const QByteArray name = "<i>" + QByteArray(252, 'W');
    setText(fakeSdk.device.name, name);
    QTRY_COMPARE(shown().value(QStringLiteral("Device name:")), QString::fromUtf8(name));
    QCOMPARE(m_dialog->size(), size);
    const auto *title = dynamic_cast<ElidedLabel *>(m_dialog->findChild<QLabel *>(QStringLiteral("title")));
    QVERIFY(title && title->isElided());
    QVERIFY2(title->toolTip().contains(QLatin1String("&lt;i&gt;WW")), qPrintable(title->toolTip()));
}

void FactsDialogsTest::value_withTheKeyboard_canBeCopied()
{
    open(QStringLiteral("property"));
    QApplication::setActiveWindow(m_dialog.get());
    QTRY_VERIFY(m_dialog->isActiveWindow());
    for (int i = 0; i < 10 && m_dialog->focusWidget()->accessibleDescription() != QLatin1String("Address:"); ++i)
        QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Tab);
    QCOMPARE(m_dialog->focusWidget()->accessibleDescription(), QStringLiteral("Address:"));
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("127.0.0.1:6502"));
}

void FactsDialogsTest::keys_ofEveryDialog_closeIt_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("status of a shortcut") << "shortcut";
    QTest::newRow("status of a server") << "server";
    QTest::newRow("remote properties") << "property";
}

void FactsDialogsTest::keys_ofEveryDialog_closeIt()
{
    QFETCH(QString, kind);
    struct
    {
        int key;
        Qt::KeyboardModifier modifier;
    } const keys[] = {{Qt::Key_Escape, Qt::NoModifier}, {Qt::Key_Return, Qt::NoModifier}, {Qt::Key_C, Qt::AltModifier}};
    for (const auto &press : keys) {
        open(kind);
        QApplication::setActiveWindow(m_dialog.get());
        QTRY_VERIFY(m_dialog->isActiveWindow());
        QCOMPARE(m_dialog->focusWidget(), m_dialog->findChild<QPushButton *>(QStringLiteral("close")));
        QTest::keyClick(m_dialog.get(), Qt::Key(press.key), press.modifier);
        QTRY_VERIFY(!m_dialog->isVisible());
    }
}

void FactsDialogsTest::language_changed_translatesEveryText()
{
    QFETCH(QString, kind);
    connectShortcut();
    startServer(BTSDK_SERVER_STARTED);
    fakeSdk.shortcut.lastResult = BTSDK_ER_TIMED_OUT;
    open(kind);
    const Facts before = shown();
    BracketTranslator translator;
    QCoreApplication::installTranslator(&translator);
    QTRY_COMPARE(m_dialog->findChild<QPushButton *>(QStringLiteral("close"))->text(), QStringLiteral("[&Close]"));
    const Facts after = shown();
    QCOMPARE(after.size(), before.size());
    for (auto it = before.begin(); it != before.end(); ++it)
        QVERIFY2(after.contains(QStringLiteral("[%1]").arg(it.key())), qPrintable(it.key()));
    QVERIFY(after.value(QStringLiteral("[State:]")).startsWith(QLatin1Char('[')));
    QVERIFY(m_dialog->windowTitle().startsWith(QLatin1Char('[')));
    if (kind == QLatin1String("shortcut"))
        QVERIFY2(note().startsWith(QLatin1String("[Last problem: [The device did not answer.]")), qPrintable(note()));
    QCoreApplication::removeTranslator(&translator);
    QTRY_COMPARE(shown(), before);
}

void FactsDialogsTest::looks_ofEveryDialog_haveNoFault_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<Arrange>("arrange");
    QTest::newRow("status-idle") << "shortcut" << Arrange([] {});
    QTest::newRow("status-connected") << "shortcut" << Arrange(connectShortcut);
    QTest::newRow("status-failed") << "shortcut" << Arrange([] { fakeSdk.shortcut.lastResult = BTSDK_ER_TIMED_OUT; });
    QTest::newRow("status-removed") << "shortcut" << Arrange([] { fakeSdk.shortcut.shortcut = 0; });
    QTest::newRow("server-stopped") << "server" << Arrange([] {});
    QTest::newRow("server-in-use") << "server" << Arrange([] {
        startServer(BTSDK_SERVER_CONNECTED);
        fakeSdk.server.security = 7;
        setText(fakeSdk.server.folder, "/home/ada/" + QByteArray("a long folder name/").repeated(12));
    });
    QTest::newRow("property") << "property" << Arrange([] {});
}

void FactsDialogsTest::looks_ofEveryDialog_haveNoFault()
{
    QFETCH(QString, kind);
    QFETCH(Arrange, arrange);
    arrange();
    open(kind);
    keepPicture(*m_dialog, QLatin1String(QTest::currentDataTag()));
    QVERIFY2(faultsOf(*m_dialog).isEmpty(), qPrintable(faultsOf(*m_dialog).join(QLatin1Char('\n'))));

    // What appears later must find room in the window as it is, or make it.
    connectShortcut();
    fakeSdk.shortcut.lastResult = BTSDK_ER_TIMED_OUT;
    startServer(BTSDK_SERVER_CONNECTED);
    QTest::qWait(600);
    keepPicture(*m_dialog, QLatin1String(QTest::currentDataTag()) + QStringLiteral("-later"));
    QVERIFY2(faultsOf(*m_dialog).isEmpty(), qPrintable(faultsOf(*m_dialog).join(QLatin1Char('\n'))));
}

QTEST_MAIN(FactsDialogsTest)
#include "factsdialogs_test.moc"
