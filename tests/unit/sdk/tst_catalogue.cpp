#include "devices/catalogue.h"
#include "devices/settingssource.h"
#include "devices/transientsource.h"

#include <QtTest>

#include <set>

using namespace devices;

namespace {

Device network(const std::string &name, const std::string &address, std::uint16_t port)
{
    Device device;
    device.name = name;
    device.address = address;
    device.port = port;
    device.id = networkId(address, port);
    return device;
}

} // namespace

/** Devices of the settings file and of this process. */
class TestCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void settings_sections_becomeDevices();
    void settings_badSections_arePassedOver_data();
    void settings_badSections_arePassedOver();
    void settings_add_keepsWhatIsThere();
    void settings_addSameAddress_renames();
    void settings_remove_leavesTheRest();
    void settings_editedByHand_isSeen();
    void settings_unreadableMeanwhile_devicesStay();
    void transient_addRenameRemove();
    void catalogue_handles_stayWithTheDevice();
    void catalogue_changes_areTold();
    void catalogue_networkOff_notReachable();

private:
    void fill(const QByteArray &text) const;
    QByteArray content() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::string m_path;
};

void TestCatalogue::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(QStringLiteral("settings.ini")).toStdString();
}

void TestCatalogue::fill(const QByteArray &text) const
{
    QFile file(QString::fromStdString(m_path));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
}

QByteArray TestCatalogue::content() const
{
    QFile file(QString::fromStdString(m_path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestCatalogue::settings_sections_becomeDevices()
{
    fill("[DEVICE1]\nName = Phone\nAddress = phone.local\nPort = 6502\n[device20]\nname = Käse\naddress = "
         "::1\nport=1\n");
    const std::vector<Device> devices = SettingsSource(m_path).devices();
    QCOMPARE(devices.size(), std::size_t(2));
    QCOMPARE(devices[0].name, std::string("Phone"));
    QCOMPARE(devices[0].address, std::string("phone.local"));
    QCOMPARE(int(devices[0].port), 6502);
    QVERIFY(devices[0].reachable && devices[0].paired);
    QCOMPARE(devices[1].name, std::string("Käse"));
}

void TestCatalogue::settings_badSections_arePassedOver_data()
{
    QTest::addColumn<QByteArray>("section");
    const QByteArray name("Name = x\n");
    const QByteArray address("Address = y\n");
    const QByteArray port("Port = 1\n");
    QTest::newRow("no name") << "[DEVICE1]\n" + address + port;
    QTest::newRow("no address") << "[DEVICE1]\n" + name + port;
    QTest::newRow("no port") << "[DEVICE1]\n" + name + address;
    QTest::newRow("port 0") << "[DEVICE1]\n" + name + address + "Port = 0\n";
    QTest::newRow("port too large") << "[DEVICE1]\n" + name + address + "Port = 65536\n";
    QTest::newRow("port negative") << "[DEVICE1]\n" + name + address + "Port = -1\n";
    QTest::newRow("port is text") << "[DEVICE1]\n" + name + address + "Port = http\n";
    QTest::newRow("name over 255 bytes") << "[DEVICE1]\nName = " + QByteArray(256, 'x') + "\n" + address + port;
    QTest::newRow("section without a number") << "[DEVICE]\n" + name + address + port;
    QTest::newRow("section with more than a number") << "[DEVICE1a]\n" + name + address + port;
    QTest::newRow("the same device again") << QByteArray("[DEVICE8]\nName = other\nAddress = good\nPort = 7\n");
}

void TestCatalogue::settings_badSections_arePassedOver()
{
    QFETCH(QByteArray, section);
    fill("[DEVICE7]\nName = good\nAddress = good\nPort = 7\n" + section);
    const std::vector<Device> devices = SettingsSource(m_path).devices();
    QCOMPARE(devices.size(), std::size_t(1));
    QCOMPARE(devices[0].name, std::string("good"));
}

void TestCatalogue::settings_add_keepsWhatIsThere()
{
    fill("; mine\n[DEVICE1]\nName = Phone\nAddress = phone\nPort = 6502\nColour = red\n");
    SettingsSource source(m_path);
    QVERIFY(source.add(network("New", "new", 1)) == settings::Outcome::Done);
    QCOMPARE(source.devices().size(), std::size_t(2));
    QVERIFY(content().contains("; mine") && content().contains("Colour = red") && content().contains("[DEVICE2]"));
}

void TestCatalogue::settings_addSameAddress_renames()
{
    SettingsSource source(m_path);
    QVERIFY(source.add(network("One", "host", 1)) == settings::Outcome::Done);
    QVERIFY(source.add(network("Two", "host", 1)) == settings::Outcome::Done);
    QCOMPARE(source.devices().size(), std::size_t(1));
    QCOMPARE(source.devices()[0].name, std::string("Two"));
}

void TestCatalogue::settings_remove_leavesTheRest()
{
    fill("[DEVICE1]\nName = a\nAddress = a\nPort = 1\n[DEVICE2]\nName = b\nAddress = b\nPort = 1\n"
         "[DEVICE3]\nName = a again\nAddress = a\nPort = 1\n[OTHER]\nkey = x\n");
    SettingsSource source(m_path);
    QVERIFY(source.remove(network("a", "a", 1)) == settings::Outcome::Done);
    const std::vector<Device> devices = source.devices();
    QCOMPARE(devices.size(), std::size_t(1));
    QCOMPARE(devices[0].name, std::string("b"));
    QVERIFY(content().contains("[OTHER]"));
}

void TestCatalogue::settings_editedByHand_isSeen()
{
    SettingsSource source(m_path);
    QVERIFY(source.devices().empty());
    fill("[DEVICE1]\nName = a\nAddress = a\nPort = 1\n");
    QCOMPARE(source.devices().size(), std::size_t(1));
    QVERIFY(QFile::remove(QString::fromStdString(m_path)));
    QVERIFY(source.devices().empty());
}

void TestCatalogue::settings_unreadableMeanwhile_devicesStay()
{
    SettingsSource source(m_path);
    fill("[DEVICE1]\nName = a\nAddress = a\nPort = 1\n");
    QCOMPARE(source.devices().size(), std::size_t(1));
    fill(QByteArray("[DEVICE1]\0\n", 11));
    QCOMPARE(source.devices().size(), std::size_t(1));
}

void TestCatalogue::transient_addRenameRemove()
{
    TransientSource source([] { return true; });
    QVERIFY(source.add(network("One", "host", 1)));
    QVERIFY(source.add(network("Two", "host", 1)));
    QCOMPARE(source.devices().size(), std::size_t(1));
    QCOMPARE(source.devices()[0].name, std::string("Two"));
    QVERIFY(source.remove(network("", "host", 1)));
    QVERIFY(!source.remove(network("", "host", 1)));
}

void TestCatalogue::catalogue_handles_stayWithTheDevice()
{
    std::uint32_t last = 0;
    Catalogue catalogue([&](Catalogue::Handle) { return ++last; }, [] {});
    auto source = std::make_unique<TransientSource>([] { return true; });
    TransientSource *const devices = source.get();
    catalogue.addSource(std::move(source));
    QVERIFY(devices->add(network("One", "host", 1)));
    QVERIFY(devices->add(network("Two", "host", 2)));
    const std::vector<Known> before = catalogue.list();
    QCOMPARE(before.size(), std::size_t(2));
    std::set<std::uint32_t> handles;
    for (const Known &known : before)
        handles.insert({known.device, known.shortcut});
    QCOMPARE(handles.size(), std::size_t(4));

    QVERIFY(devices->remove(network("", "host", 1)));
    QVERIFY(!catalogue.findDevice(before[0].device));
    QVERIFY(!catalogue.findShortcut(before[0].shortcut));
    QVERIFY(devices->add(network("Renamed", "host", 1)));
    const std::optional<Known> again = catalogue.findShortcut(before[0].shortcut);
    QVERIFY(again.has_value());
    QCOMPARE(again->device, before[0].device);
    QCOMPARE(again->data.name, std::string("Renamed"));
}

void TestCatalogue::catalogue_changes_areTold()
{
    int told = 0;
    std::uint32_t last = 0;
    Catalogue catalogue([&](Catalogue::Handle) { return ++last; }, [&] { ++told; });
    catalogue.addSource(std::make_unique<SettingsSource>(m_path));
    (void)catalogue.list();
    QCOMPARE(told, 0);
    fill("[DEVICE1]\nName = a\nAddress = a\nPort = 1\n");
    (void)catalogue.list();
    QCOMPARE(told, 1);
    (void)catalogue.list();
    QCOMPARE(told, 1);
}

void TestCatalogue::catalogue_networkOff_notReachable()
{
    fill("[NETWORK]\nEnabled = 0\n[DEVICE1]\nName = a\nAddress = a\nPort = 1\n");
    std::uint32_t last = 0;
    Catalogue catalogue([&](Catalogue::Handle) { return ++last; }, [] {});
    catalogue.addSource(std::make_unique<SettingsSource>(m_path));
    QVERIFY(!catalogue.ready());
    QVERIFY(!catalogue.list()[0].data.reachable);
}

QTEST_APPLESS_MAIN(TestCatalogue)
#include "tst_catalogue.moc"
