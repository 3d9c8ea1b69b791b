#include "MainWindow.h"
#include "Manager.h"
#include "modals.h"

#include <QAbstractButton>
#include <QLabel>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <future>

using namespace manager;

namespace {

constexpr char phone[] = "AA:BB:CC:DD:EE:FF";

/** What the library would say of Bluetooth, and whom it would ask. */
struct Radio
{
    std::atomic<unsigned int> state{BTSDK_BLUETOOTH_STARTING};
    BtsdkAuthorizeCallback ask = nullptr;
    void *context = nullptr;
};

Radio radio;

} // namespace

// These two stand before the library's own, as the program's come first; all else here is the real library.

unsigned int Btsdk_HostGetBluetoothState(void)
{
    return radio.state;
}

unsigned int Btsdk_HostSetAuthorizeCallback(BtsdkAuthorizeCallback callback, void *context)
{
    radio.ask = callback;
    radio.context = context;
    return BTSDK_OK;
}

/** What the manager says of Bluetooth, and how it asks whether a device may come in. */
class ManagerBluetooth : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void statusBar_inEveryState_saysItInOneLine_data();
    void statusBar_inEveryState_saysItInOneLine();
    void statusBar_stateChanges_followsIt();
    void permission_eachAnswer_isHandedOn_data();
    void permission_eachAnswer_isHandedOn();
    void permission_closed_isNotNow();
    void permission_saysWhoAndWhat_asPlainText();
    void permission_askedTwice_isAskedTwice();
    void manager_ended_isNotAskedAnyMore();

private:
    QLabel *line() const { return m_manager->window().findChild<QLabel *>(QStringLiteral("bluetooth")); }
    void tell(unsigned int state);
    static std::future<int> knock(const char *name = "Demo phone");
    static int answerOf(std::future<int> &answer);
    static void press(Modals &modals, const QString &text);

    QTemporaryDir m_home;
    std::unique_ptr<Manager> m_manager;
    unsigned int m_device = 0;
};

void ManagerBluetooth::initTestCase()
{
    for (const char *name : {"profiles", "shared"})
        QVERIFY(QDir(m_home.path()).mkdir(QString::fromLatin1(name)));
    QVERIFY(qputenv("VELMARO_SETTINGS", QFile::encodeName(m_home.filePath(QStringLiteral("settings.ini")))));
    Places places;
    places.profiles = m_home.filePath(QStringLiteral("profiles"));
    places.demo = m_home.filePath(QStringLiteral("no demo"));
    places.data = m_home.path();
    // With a device known, no demo device is started.
    QCOMPARE(Btsdk_HostAddNetworkDevice("Ada", "127.0.0.1", 6502, &m_device), unsigned(BTSDK_OK));
    m_manager = std::make_unique<Manager>(places);
    m_manager->start();
    QVERIFY(Btsdk_RegisterFTPService(BTSDK_ACCESS_READ_ONLY,
                                     QFile::encodeName(m_home.filePath(QStringLiteral("shared"))).constData()) != 0);
    QVERIFY(radio.ask);
}

void ManagerBluetooth::cleanupTestCase()
{
    m_manager.reset();
}

/** Another state, and the event that goes with it. */
void ManagerBluetooth::tell(unsigned int state)
{
    radio.state = state;
    QCOMPARE(Btsdk_HostRemoveDevice(m_device), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_HostAddNetworkDevice("Ada", "127.0.0.1", 6502, &m_device), unsigned(BTSDK_OK));
}

void ManagerBluetooth::statusBar_inEveryState_saysItInOneLine_data()
{
    QTest::addColumn<unsigned int>("state");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, unsigned int state, const char *text) {
        QTest::newRow(name) << state << QString::fromLatin1(text);
    };
    row("ready", BTSDK_BLUETOOTH_READY, "");
    row("starting", BTSDK_BLUETOOTH_STARTING, "");
    row("no bus", BTSDK_BLUETOOTH_NO_BUS, "Bluetooth is not available: its service does not run.");
    row("no service", BTSDK_BLUETOOTH_NO_SERVICE, "Bluetooth is not available: its service does not run.");
    row("no adapter", BTSDK_BLUETOOTH_NO_ADAPTER, "Bluetooth is not available: this computer has no adapter.");
    row("off", BTSDK_BLUETOOTH_OFF, "Bluetooth is switched off.");
}

void ManagerBluetooth::statusBar_inEveryState_saysItInOneLine()
{
    QFETCH(unsigned int, state);
    QFETCH(QString, text);
    // From a state with another line, so that an old line cannot pass for the new one.
    tell(state == BTSDK_BLUETOOTH_OFF ? BTSDK_BLUETOOTH_NO_ADAPTER : BTSDK_BLUETOOTH_OFF);
    QTRY_VERIFY(line() && line()->isVisible() && line()->text() != text);
    tell(state);
    QTRY_COMPARE(line()->text(), text);
    QCOMPARE(line()->isVisible(), !text.isEmpty());
    QVERIFY(m_manager->window().statusBar()->isAncestorOf(line()));
    QVERIFY(!text.contains(u'\n'));
}

void ManagerBluetooth::statusBar_stateChanges_followsIt()
{
    tell(BTSDK_BLUETOOTH_OFF);
    QTRY_VERIFY(line() && line()->isVisible());
    m_manager->window().statusBar()->showMessage(QStringLiteral("Connected to Ada."));
    QVERIFY(line()->isVisible()); // beside what is told of connections
    tell(BTSDK_BLUETOOTH_READY);
    QTRY_VERIFY(!line()->isVisible());
    tell(BTSDK_BLUETOOTH_OFF);
    QTRY_VERIFY(line()->isVisible());
}

/** A device at the door, on a thread such as the library's. */
std::future<int> ManagerBluetooth::knock(const char *name)
{
    return std::async(std::launch::async, [name] { return radio.ask(name, phone, radio.context); });
}

/** Turns the event loop until the user has answered. @return BtsdkAuthorization; -1: too late */
int ManagerBluetooth::answerOf(std::future<int> &answer)
{
    const auto ready = [&answer] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
    return QTest::qWaitFor(ready, 15000) ? answer.get() : -1;
}

/** Has a button of the next box pressed by its text, without "&". */
void ManagerBluetooth::press(Modals &modals, const QString &text)
{
    modals.handle([text](QWidget *widget) {
        auto *const box = qobject_cast<QMessageBox *>(widget);
        QVERIFY(box);
        const QList<QAbstractButton *> buttons = box->buttons();
        for (QAbstractButton *button : buttons) {
            if (button->text().remove(u'&') == text)
                return button->click();
        }
        QFAIL(qPrintable(QStringLiteral("no button ") + text)); // the helper closes the box
    });
}

void ManagerBluetooth::permission_eachAnswer_isHandedOn_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("answer");
    QTest::newRow("once") << "Allow Once" << int(BTSDK_AUTHORIZE_ONCE);
    QTest::newRow("always") << "Always Allow" << int(BTSDK_AUTHORIZE_ALWAYS);
    QTest::newRow("never") << "Never Allow" << int(BTSDK_AUTHORIZE_NEVER);
    QTest::newRow("not now") << "Not Now" << int(BTSDK_AUTHORIZE_REFUSE);
}

void ManagerBluetooth::permission_eachAnswer_isHandedOn()
{
    QFETCH(QString, button);
    Modals modals;
    press(modals, button);
    std::future<int> answer = knock();
    QTEST(answerOf(answer), "answer");
    QCOMPARE(modals.seen().size(), 1);
}

void ManagerBluetooth::permission_closed_isNotNow()
{
    {
        Modals modals;
        modals.escape();
        std::future<int> answer = knock();
        QCOMPARE(answerOf(answer), int(BTSDK_AUTHORIZE_REFUSE));
    }
    Modals modals;
    modals.handle([](QWidget *box) { QVERIFY(box->close()); });
    std::future<int> answer = knock();
    QCOMPARE(answerOf(answer), int(BTSDK_AUTHORIZE_REFUSE));
    QCOMPARE(modals.seen().size(), 1);
}

void ManagerBluetooth::permission_saysWhoAndWhat_asPlainText()
{
    Modals modals;
    QString details;
    modals.handle([&details](QWidget *widget) {
        details = qobject_cast<QMessageBox *>(widget)->informativeText();
        widget->close();
    });
    std::future<int> answer = knock("<b>Zoë</b>\n%1 phone");
    QCOMPARE(answerOf(answer), int(BTSDK_AUTHORIZE_REFUSE));
    const ModalSeen seen = modals.last();
    QCOMPARE(seen.textFormat, Qt::PlainText);
    QVERIFY2(seen.text.startsWith(QStringLiteral("Allow \"<b>Zoë</b>")) && !seen.text.contains(u'\n') &&
                 seen.text.endsWith(QStringLiteral("%1 phone\" to see this folder?")),
             qPrintable(seen.text));
    QVERIFY2(details.contains(m_home.filePath(QStringLiteral("shared"))) && details.contains(QLatin1String(phone)),
             qPrintable(details));
    QCOMPARE(seen.parent.data(), static_cast<QWidget *>(&m_manager->window()));
    // Whoever presses Enter while he writes something else lets nobody in.
    QCOMPARE(seen.defaultButton, QStringLiteral("Not Now"));
}

void ManagerBluetooth::permission_askedTwice_isAskedTwice()
{
    // "Once" is no promise for the next time: what is kept is the library's business.
    Modals modals;
    press(modals, QStringLiteral("Allow Once"));
    press(modals, QStringLiteral("Never Allow"));
    std::future<int> first = knock();
    QCOMPARE(answerOf(first), int(BTSDK_AUTHORIZE_ONCE));
    std::future<int> second = knock();
    QCOMPARE(answerOf(second), int(BTSDK_AUTHORIZE_NEVER));
    QCOMPARE(modals.seen().size(), 2);
}

void ManagerBluetooth::manager_ended_isNotAskedAnyMore()
{
    QVERIFY(radio.ask);
    m_manager.reset();
    QVERIFY(!radio.ask);
}

QTEST_MAIN(ManagerBluetooth)
#include "tst_manager_bluetooth.moc"
