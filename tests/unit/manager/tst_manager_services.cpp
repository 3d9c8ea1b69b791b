#include "ServiceTree.h"

#include <QDateTime>
#include <QHelpEvent>
#include <QSignalSpy>
#include <QTest>

#include <cstring>

using namespace manager;

Q_DECLARE_METATYPE(manager::RowTarget)

namespace {

template <size_t Size>
void copy(char (&field)[Size], const char *text)
{
    std::strncpy(field, text, Size - 1);
}

BtSdkDeviceInfo device(unsigned int handle, const char *name)
{
    BtSdkDeviceInfo info{};
    info.device = handle;
    info.kind = BTSDK_DEVICE_NETWORK;
    info.paired = 1;
    info.reachable = 1;
    info.port = 6502;
    copy(info.name, name);
    copy(info.address, "127.0.0.1");
    return info;
}

BtSdkShortcutInfo shortcut(unsigned int handle, unsigned int owner)
{
    BtSdkShortcutInfo info{};
    info.shortcut = handle;
    info.device = owner;
    info.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    return info;
}

BtSdkServerInfo server()
{
    BtSdkServerInfo info{};
    info.server = 9;
    info.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    info.status = BTSDK_SERVER_STOPPED;
    copy(info.listening, "127.0.0.1:6502");
    return info;
}

Catalogue twoDevices()
{
    return {{device(1, "Ada"), device(2, "Bob")}, {shortcut(11, 1), shortcut(12, 2)}, {server()}};
}

} // namespace

/** What the tree of devices and services shows of a catalogue. */
class ManagerServices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void stateText_ofADevice_data();
    void stateText_ofADevice();
    void stateText_ofAShortcut_data();
    void stateText_ofAShortcut();
    void stateText_ofAServer_data();
    void stateText_ofAServer();
    void resultSentence_ofEveryResult_isASentence_data();
    void resultSentence_ofEveryResult_isASentence();
    void tree_ofTwoDevices_showsThemWithTheirServices();
    void tree_ofNothing_saysWhatToDo();
    void tree_ofTheLocalServiceAlone_hasRoomForItsName();
    void tree_shownAgain_keepsSelectionAndFolds();
    void tree_aDeviceGone_losesItsRowAlone();
    void tree_devicesInAnotherOrder_followsIt();
    void tree_namesOfStrangers_areOneLineOfPlainText();
    void tree_first_choosesTheFirstService();
    void enter_onAGroup_asksForNothing();
    void doubleClick_onARow_asksForItsDefault();
    void toolTip_ofAGroup_asksForNothing();
};

void ManagerServices::initTestCase()
{
    QLocale::setDefault(QLocale::c());
    qRegisterMetaType<RowTarget>("manager::RowTarget");
}

void ManagerServices::stateText_ofADevice_data()
{
    QTest::addColumn<unsigned int>("kind");
    QTest::addColumn<bool>("paired");
    QTest::addColumn<bool>("reachable");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QString>("text");
    const unsigned int network = BTSDK_DEVICE_NETWORK;
    const unsigned int bluetooth = BTSDK_DEVICE_BLUETOOTH;
    QTest::newRow("a network device") << network << true << true << QByteArray("ada.example")
                                      << "Network, ada.example port 6502";
    QTest::newRow("an address with a numbered scope")
        << network << true << true << QByteArray("fe80::1%1") << "Network, fe80::1%1 port 6502";
    QTest::newRow("a network device, network off")
        << network << true << false << QByteArray("ada.example") << "ada.example, cannot be reached now";
    QTest::newRow("a paired Bluetooth device")
        << bluetooth << true << true << QByteArray("00:11:22:33:44:55") << "Bluetooth, 00:11:22:33:44:55";
    QTest::newRow("a Bluetooth device that is not paired")
        << bluetooth << false << true << QByteArray("00:11:22:33:44:55")
        << "Bluetooth, 00:11:22:33:44:55, not paired: pair it in your desktop's Bluetooth settings";
    QTest::newRow("a Bluetooth device, adapter off") << bluetooth << true << false << QByteArray("00:11:22:33:44:55")
                                                     << "Bluetooth, 00:11:22:33:44:55, the adapter is off";
}

void ManagerServices::stateText_ofADevice()
{
    QFETCH(unsigned int, kind);
    QFETCH(bool, paired);
    QFETCH(bool, reachable);
    QFETCH(QByteArray, address);
    BtSdkDeviceInfo info = device(1, "Ada");
    info.kind = kind;
    info.paired = paired;
    info.reachable = reachable;
    std::memset(info.address, 0, sizeof info.address);
    copy(info.address, address.constData());
    QTEST(stateText(info), "text");
}

void ManagerServices::stateText_ofAShortcut_data()
{
    QTest::addColumn<unsigned int>("state");
    QTest::addColumn<unsigned int>("lastResult");
    QTest::addColumn<QString>("text");
    const unsigned int ok = BTSDK_OK;
    QTest::newRow("never connected") << unsigned(BTSDK_SHORTCUT_IDLE) << ok << "Not connected";
    QTest::newRow("connecting") << unsigned(BTSDK_SHORTCUT_CONNECTING) << ok << "Connecting...";
    QTest::newRow("connected") << unsigned(BTSDK_SHORTCUT_CONNECTED) << ok << "Connected since 10:20:30";
    QTest::newRow("connected, after a transfer that failed")
        << unsigned(BTSDK_SHORTCUT_CONNECTED) << unsigned(BTSDK_ER_DISK_FULL) << "Connected since 10:20:30";
    QTest::newRow("the user cancelled") << unsigned(BTSDK_SHORTCUT_IDLE) << unsigned(BTSDK_ER_CANCELLED)
                                        << "Not connected";
    QTest::newRow("nothing answered") << unsigned(BTSDK_SHORTCUT_IDLE) << unsigned(BTSDK_ER_CONNECT_FAILED)
                                      << QStringLiteral("Not connected. ") +
                                             QString::fromUtf8(Btsdk_HostResultText(BTSDK_ER_CONNECT_FAILED));
}

void ManagerServices::stateText_ofAShortcut()
{
    QFETCH(unsigned int, state);
    QFETCH(unsigned int, lastResult);
    BtSdkShortcutInfo info = shortcut(11, 1);
    info.state = state;
    info.lastResult = lastResult;
    info.connectedSince = QDateTime(QDate(2026, 5, 1), QTime(10, 20, 30)).toMSecsSinceEpoch();
    QTEST(stateText(info), "text");
}

void ManagerServices::stateText_ofAServer_data()
{
    QTest::addColumn<unsigned int>("status");
    QTest::addColumn<unsigned int>("clients");
    QTest::addColumn<quint64>("received");
    QTest::addColumn<QString>("text");
    const auto moved = [](const char *name, quint64 bytes, const char *amount) {
        QTest::newRow(name) << unsigned(BTSDK_SERVER_CONNECTED) << 1U << bytes
                            << QStringLiteral("Ada is connected (received %1, sent 0 B)").arg(QLatin1String(amount));
    };
    QTest::newRow("stopped") << unsigned(BTSDK_SERVER_STOPPED) << 0U << quint64(0) << "Stopped";
    QTest::newRow("started") << unsigned(BTSDK_SERVER_STARTED) << 0U << quint64(0)
                             << "Started, listening at 127.0.0.1:6502";
    QTest::newRow("several clients") << unsigned(BTSDK_SERVER_CONNECTED) << 3U << quint64(1536)
                                     << "3 devices are connected (received 1.5 KB, sent 0 B)";
    moved("the last of the bytes", 1023, "1023 B");
    moved("the first kilobyte", 1024, "1.0 KB");
    moved("just below a megabyte", 1024 * 1024 - 1, "1.0 MB");
    moved("gigabytes", quint64(3) << 29, "1.5 GB");
    moved("more than gigabytes", quint64(5) << 40, "5120.0 GB");
}

void ManagerServices::stateText_ofAServer()
{
    QFETCH(unsigned int, status);
    QFETCH(unsigned int, clients);
    QFETCH(quint64, received);
    BtSdkServerInfo info = server();
    info.status = static_cast<uint16_t>(status);
    info.clients = clients;
    info.bytesReceived = received;
    copy(info.client, "Ada");
    QTEST(stateText(info), "text");
}

void ManagerServices::resultSentence_ofEveryResult_isASentence_data()
{
    QTest::addColumn<unsigned int>("result");
    for (unsigned int result = BTSDK_ER_INVALID_PARAMETER; result <= BTSDK_ER_LOCAL_FULL; ++result)
        QTest::addRow("the library's %u", result) << result;
    for (const unsigned int code : {0xC0U, 0xC1U, 0xC3U, 0xC4U, 0xC6U, 0xCDU, 0xD0U, 0xD3U, 0xE0U, 0xFFU})
        QTest::addRow("the peer's 0x%02X", code) << 0x0600 + code;
    QTest::newRow("a result of the future") << 0x7777U;
}

void ManagerServices::resultSentence_ofEveryResult_isASentence()
{
    QFETCH(unsigned int, result);
    const QString sentence = resultSentence(result);
    const bool ends = sentence.endsWith(u'.') || sentence.endsWith(u'?');
    QVERIFY2(sentence.size() > 10 && ends && sentence[0].isUpper(), qPrintable(sentence));
}

void ManagerServices::tree_ofTwoDevices_showsThemWithTheirServices()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    QCOMPARE(tree.topLevelItemCount(), 2);
    const QTreeWidgetItem *devices = tree.topLevelItem(0);
    QCOMPARE(devices->childCount(), 2);
    QCOMPARE(devices->child(0)->text(0), QStringLiteral("Ada"));
    QCOMPARE(devices->child(1)->childCount(), 1);
    QVERIFY(devices->child(1)->isExpanded());
    const RowTarget service = ServiceTree::target(devices->child(1)->child(0));
    QCOMPARE(service.kind, RowTarget::Shortcut);
    QCOMPARE(service.handle, 12U);
    QCOMPARE(service.serviceClass, static_cast<unsigned short>(BTSDK_CLS_OBEX_FILE_TRANS));
    QCOMPARE(tree.topLevelItem(1)->child(0)->text(1), QStringLiteral("Stopped"));
    QCOMPARE(ServiceTree::target(tree.topLevelItem(1)->child(0)).handle, 9U);
}

void ManagerServices::tree_ofNothing_saysWhatToDo()
{
    ServiceTree tree;
    tree.showCatalogue({});
    QCOMPARE(tree.topLevelItem(0)->childCount(), 1);
    QVERIFY(tree.topLevelItem(0)->child(0)->text(0).contains(QStringLiteral("Add Network Device")));
    QCOMPARE(ServiceTree::target(tree.topLevelItem(0)->child(0)).kind, RowTarget::None);
    tree.showCatalogue(twoDevices());
    QCOMPARE(tree.topLevelItem(0)->childCount(), 2);
}

void ManagerServices::tree_ofTheLocalServiceAlone_hasRoomForItsName()
{
    ServiceTree tree;
    tree.show();
    Catalogue alone = twoDevices();
    alone.devices.clear();
    alone.shortcuts.clear();
    tree.showCatalogue(alone);
    const QTreeWidgetItem *service = tree.topLevelItem(1)->child(0);
    const int left = tree.visualItemRect(service).left();
    const int needed = left + tree.iconSize().width() + tree.fontMetrics().horizontalAdvance(service->text(0));
    QVERIFY2(tree.columnWidth(0) > needed, qPrintable(QString::number(tree.columnWidth(0))));
    tree.setColumnWidth(0, 50);
    tree.showCatalogue(alone);
    QCOMPARE(tree.columnWidth(0), 50); // as the user wants it
}

void ManagerServices::tree_shownAgain_keepsSelectionAndFolds()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    QTreeWidgetItem *bob = tree.topLevelItem(0)->child(1);
    tree.setCurrentItem(bob);
    bob->setExpanded(false);
    Catalogue changed = twoDevices();
    changed.shortcuts[1].state = BTSDK_SHORTCUT_CONNECTING;
    tree.showCatalogue(changed);
    QCOMPARE(tree.currentItem(), bob);
    QVERIFY(!bob->isExpanded());
    QCOMPARE(bob->child(0)->text(1), QStringLiteral("Connecting..."));
}

void ManagerServices::tree_aDeviceGone_losesItsRowAlone()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    QTreeWidgetItem *bob = tree.topLevelItem(0)->child(1);
    Catalogue fewer = twoDevices();
    fewer.devices.erase(fewer.devices.begin());
    tree.showCatalogue(fewer);
    QCOMPARE(tree.topLevelItem(0)->childCount(), 1);
    QCOMPARE(tree.topLevelItem(0)->child(0), bob);
}

void ManagerServices::tree_devicesInAnotherOrder_followsIt()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    Catalogue turned = twoDevices();
    std::swap(turned.devices[0], turned.devices[1]);
    tree.showCatalogue(turned);
    QCOMPARE(tree.topLevelItem(0)->childCount(), 2);
    QCOMPARE(tree.topLevelItem(0)->child(0)->text(0), QStringLiteral("Bob"));
    QCOMPARE(tree.topLevelItem(0)->child(1)->text(0), QStringLiteral("Ada"));
    QCOMPARE(tree.topLevelItem(0)->child(1)->childCount(), 1);
}

void ManagerServices::tree_namesOfStrangers_areOneLineOfPlainText()
{
    ServiceTree tree;
    Catalogue strange = twoDevices();
    strange.devices[0] = device(1, "<b>A\nB");
    tree.showCatalogue(strange);
    const QString shown = tree.topLevelItem(0)->child(0)->text(0);
    QVERIFY2(shown.startsWith(QStringLiteral("<b>A")) && !shown.contains(u'\n'), qPrintable(shown));
}

void ManagerServices::tree_first_choosesTheFirstService()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    QCOMPARE(tree.currentTarget().kind, RowTarget::Shortcut);
    QCOMPARE(tree.currentTarget().handle, 11U);
}

void ManagerServices::enter_onAGroup_asksForNothing()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    tree.show();
    QSignalSpy asked(&tree, &ServiceTree::defaultRequested);
    tree.setCurrentItem(tree.topLevelItem(0));
    QTest::keyClick(&tree, Qt::Key_Return);
    QCOMPARE(asked.size(), 0);
    tree.setCurrentItem(tree.topLevelItem(1)->child(0));
    QTest::keyClick(&tree, Qt::Key_Return);
    QCOMPARE(asked.size(), 1);
    QCOMPARE(asked[0][0].value<RowTarget>().kind, RowTarget::Server);
}

void ManagerServices::doubleClick_onARow_asksForItsDefault()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    tree.resize(400, 300);
    tree.show();
    QSignalSpy asked(&tree, &ServiceTree::defaultRequested);
    const QTreeWidgetItem *ada = tree.topLevelItem(0)->child(0);
    const QPoint where = tree.visualItemRect(ada).center();
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, where);
    QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, where);
    QCOMPARE(asked.size(), 1);
    QCOMPARE(asked[0][0].value<RowTarget>().handle, 1U);
    QVERIFY(ada->isExpanded());
}

void ManagerServices::toolTip_ofAGroup_asksForNothing()
{
    ServiceTree tree;
    tree.showCatalogue(twoDevices());
    tree.resize(400, 300);
    tree.show();
    QVector<unsigned int> asked;
    tree.setTipSource([&](const RowTarget &target) {
        asked << target.handle;
        return QString();
    });
    const auto hover = [&](const QTreeWidgetItem *item) {
        const QPoint where = tree.visualItemRect(item).center();
        QHelpEvent event(QEvent::ToolTip, where, tree.viewport()->mapToGlobal(where));
        QApplication::sendEvent(tree.viewport(), &event);
    };
    hover(tree.topLevelItem(0));
    QCOMPARE(asked, QVector<unsigned int>());
    hover(tree.topLevelItem(0)->child(1)->child(0));
    QCOMPARE(asked, QVector<unsigned int>{12U});
}

QTEST_MAIN(ManagerServices)
#include "tst_manager_services.moc"
