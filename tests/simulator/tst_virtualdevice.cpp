// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/DeviceTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

/// One interface with an alternate setting that has an endpoint more.
DeviceDescriptors withAlternate()
{
    return {"120100020000000800000000000100000001"_hex,
            {"0902300001 07 00 c0 32"
             "0904 00 00 01 ff0000 00"
             "0705 81 03 0800 0a"
             "0904 00 01 02 ff0000 00"
             "0705 81 03 0800 0a"
             "0705 02 02 4000 00"_hex},
            {}};
}

} // namespace

class tst_virtualdevice : public QObject
{
    Q_OBJECT

private slots:
    void setupPacket();
    void descriptors_data();
    void descriptors();
    void fullSpeedDescriptors();
    void strings_data();
    void strings();
    void speeds_data();
    void speeds();
    void standardRequests_data();
    void standardRequests();
    void configuring();
    void alternateSettings();
    void halting();
    void remoteWakeup();
    void address();
    void load();
    void dataStageMustBeWhole();
    void hooks();
    void oddDescriptors();
};

void tst_virtualdevice::setupPacket()
{
    const SetupPacket packet = setup("80 06 0203 0409 ff01"_hex);
    QVERIFY(packet.toHost());
    QCOMPARE(packet.type(), SetupPacket::Type::Standard);
    QCOMPARE(packet.recipient(), SetupPacket::Recipient::Device);
    QCOMPARE(int{packet.request}, 6);
    QCOMPARE(int{packet.value}, 0x0302);
    QCOMPARE(int{packet.valueLow()}, 2);
    QCOMPARE(int{packet.valueHigh()}, 3);
    QCOMPARE(int{packet.index}, 0x0904);
    QCOMPARE(int{packet.length}, 0x01FF);
    QCOMPARE(setup("40"_hex).type(), SetupPacket::Type::Vendor);
    QCOMPARE(setup("21"_hex).type(), SetupPacket::Type::Class);
    QCOMPARE(setup("21"_hex).recipient(), SetupPacket::Recipient::Interface);
    QCOMPARE(setup("82"_hex).recipient(), SetupPacket::Recipient::Endpoint);
    QCOMPARE(setup("04"_hex).recipient(), SetupPacket::Recipient::Other);
    QVERIFY(!setup(QByteArray()).toHost());
}

void tst_virtualdevice::descriptors_data()
{
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    const QByteArray keyboard("keyboard");
    const QByteArray phone("phone");
    const QByteArray keyboardDevice = "1201100100000008F30507002003000000 01"_hex;
    const QByteArray keyboardConfiguration =
        "09023B00020100A020090400000103010100092100012101223F00"
        "0705810308000809040100010300000009210001000122640007058203040008"_hex;
    const QByteArray phoneConfiguration =
        "09022700010100C0FA0904000003FFFF0005070581020002000705020200020007058203"
        "1C0006"_hex;
    const QByteArray ok("\0", 1);

    QTest::newRow("device") << keyboard << "8006 0001 0000 1200"_hex << ok + keyboardDevice;
    QTest::newRow("device, 8 bytes")
        << keyboard << "8006 0001 0000 0800"_hex << ok + keyboardDevice.left(8);
    QTest::newRow("device, more than there is")
        << keyboard << "8006 0001 0000 ff00"_hex << ok + keyboardDevice;
    QTest::newRow("device, nothing") << keyboard << "8006 0001 0000 0000"_hex << ok;
    QTest::newRow("configuration, 8 bytes")
        << keyboard << "8006 0002 0000 0800"_hex << ok + keyboardConfiguration.left(8);
    QTest::newRow("configuration, whole")
        << keyboard << "8006 0002 0000 3b00"_hex << ok + keyboardConfiguration;
    QTest::newRow("configuration, more than there is")
        << keyboard << "8006 0002 0000 0001"_hex << ok + keyboardConfiguration;
    QTest::newRow("configuration 1") << keyboard << "8006 0102 0000 ff00"_hex
                                     << "0e"_hex;
    QTest::newRow("no strings") << keyboard << "8006 0103 0904 ff00"_hex
                                << "0e"_hex;
    QTest::newRow("no language table") << keyboard << "8006 0003 0000 ff00"_hex
                                       << "0e"_hex;
    QTest::newRow("no qualifier") << keyboard << "8006 0006 0000 0a00"_hex
                                  << "0e"_hex;
    QTest::newRow("no other speed") << keyboard << "8006 0007 0000 ff00"_hex
                                    << "0e"_hex;
    QTest::newRow("an interface by itself") << keyboard << "8006 0004 0000 ff00"_hex
                                            << "0e"_hex;
    QTest::newRow("type 0") << keyboard << "8006 0000 0000 ff00"_hex
                            << "0e"_hex;
    QTest::newRow("of an endpoint") << keyboard << "8206 0001 0000 ff00"_hex
                                    << "0e"_hex;
    QTest::newRow("to the device") << keyboard << "0006 0001 0000 0000"_hex
                                   << "0e"_hex;
    QTest::newRow("class descriptor, unconfigured") << keyboard << "8106 0021 0000 0900"_hex
                                                    << "0e"_hex;

    QTest::newRow("phone") << phone << "8006 0001 0000 1200"_hex
                           << ok + "1201000200000040CE0F66012602020304 01"_hex;
    QTest::newRow("phone configuration")
        << phone << "8006 0002 0000 2700"_hex << ok + phoneConfiguration;
    QTest::newRow("qualifier") << phone << "8006 0006 0000 0a00"_hex
                               << ok + "0a06 0002 000000 40 01 00"_hex;
    QTest::newRow("other speed") << phone << "8006 0007 0000 ff00"_hex
                                 << ok + "09072700010100C0FA0904000003FFFF0005070581024000000705"
                                         "02024000000705 82031C0006"_hex;
}

void tst_virtualdevice::descriptors()
{
    QFETCH(QByteArray, device);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto virtualDevice = builtIn(device);
    QCOMPARE(ask(*virtualDevice, request).toHex(), answer.toHex());
}

void tst_virtualdevice::fullSpeedDescriptors()
{
    const auto phone = builtIn("phone");
    phone->setHighSpeedAllowed(false);
    QCOMPARE(ask(*phone, "8006 0002 0000 ff00"_hex).toHex(),
             "0009022700010100C0FA0904000003FFFF000507058102400000070502024000000705 82031C0006"_hex
                 .toHex());
    QCOMPARE(ask(*phone, "8006 0007 0000 ff00"_hex).toHex(),
             "0009072700010100C0FA0904000003FFFF000507058102000200070502020002000705 82031C0006"_hex
                 .toHex());
}

void tst_virtualdevice::strings_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("languages") << "8006 0003 0000 ff00"_hex
                               << "00 0403 0904"_hex;
    QTest::newRow("length probe") << "8006 0303 0904 0300"_hex
                                  << "00 1803 48"_hex;
    QTest::newRow("product") << "8006 0303 0904 ff00"_hex
                             << "00 1803 480061006e00640073006500740020003600300030 00"_hex;
    QTest::newRow("string 1") << "8006 0103 0904 ff00"_hex
                              << "0e"_hex;
    QTest::newRow("interface") << "8006 0503 0904 ff00"_hex
                               << "00 1a03 480061006e0064007300650074002000440061007400 6100"_hex;
    QTest::newRow("string 6") << "8006 0603 0904 ff00"_hex
                              << "0e"_hex;
    QTest::newRow("in German") << "8006 0303 0704 ff00"_hex
                               << "0e"_hex;
}

void tst_virtualdevice::strings()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto phone = builtIn("phone");
    QCOMPARE(ask(*phone, request).toHex(), answer.toHex());
    QCOMPARE(stringDescriptor(QString(200, QLatin1Char('x'))).size(), 254);
}

void tst_virtualdevice::speeds_data()
{
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<Speed>("speed");
    const QByteArray usb11 = "120110010000000800000000000100000001"_hex;
    const QByteArray usb20 = "120100020000000800000000000100000001"_hex;
    QTest::newRow("interrupt of 8") << usb11 << "07058103080008"_hex << Speed::Low;
    QTest::newRow("no endpoints") << usb11 << "09021200010100a020"_hex << Speed::Low;
    QTest::newRow("interrupt of 16") << usb11 << "07058103100008"_hex << Speed::Full;
    QTest::newRow("bulk of 8") << usb11 << "07058102080000"_hex << Speed::Full;
    QTest::newRow("bulk of 64") << usb20 << "07058102400000"_hex << Speed::Full;
    QTest::newRow("bulk of 512") << usb20 << "07058102000200"_hex << Speed::High;
    QTest::newRow("bulk of 512 before USB 2.0") << usb11 << "07058102000200"_hex << Speed::Full;
    QTest::newRow("control packets of 64") << "120110010000004000000000000100000001"_hex
                                           << "07058103080008"_hex << Speed::Full;
}

void tst_virtualdevice::speeds()
{
    QFETCH(QByteArray, device);
    QFETCH(QByteArray, configuration);
    QFETCH(Speed, speed);
    VirtualDevice virtualDevice({device, {configuration}, {}});
    QCOMPARE(virtualDevice.speed(), speed);
    virtualDevice.setHighSpeedAllowed(false);
    QCOMPARE(virtualDevice.speed(), speed == Speed::High ? Speed::Full : speed);
}

void tst_virtualdevice::standardRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    // Of the keyboard, configured, which can wake the host and draws its power from the bus
    QTest::newRow("device status") << "8000 0000 0000 0200"_hex
                                   << "00 0000"_hex;
    QTest::newRow("interface 1 status") << "8100 0000 0100 0200"_hex
                                        << "00 0000"_hex;
    QTest::newRow("interface 2 status") << "8100 0000 0200 0200"_hex
                                        << "0e"_hex;
    QTest::newRow("endpoint 0 status") << "8200 0000 0000 0200"_hex
                                       << "00 0000"_hex;
    QTest::newRow("endpoint 82 status") << "8200 0000 8200 0200"_hex
                                        << "00 0000"_hex;
    QTest::newRow("endpoint 02 status") << "8200 0000 0200 0200"_hex
                                        << "0e"_hex;
    QTest::newRow("status of another recipient") << "8300 0000 0000 0200"_hex
                                                 << "0e"_hex;
    QTest::newRow("one byte of status") << "8000 0000 0000 0100"_hex
                                        << "00 00"_hex;
    QTest::newRow("get configuration") << "8008 0000 0000 0100"_hex
                                       << "00 01"_hex;
    QTest::newRow("get configuration of an interface") << "8108 0000 0000 0100"_hex
                                                       << "0e"_hex;
    QTest::newRow("set configuration 1") << "0009 0100 0000 0000"_hex
                                         << "00"_hex;
    QTest::newRow("set configuration 2") << "0009 0200 0000 0000"_hex
                                         << "0e"_hex;
    QTest::newRow("set configuration of an interface") << "0109 0100 0000 0000"_hex
                                                       << "0e"_hex;
    QTest::newRow("set configuration, wrong way") << "8009 0100 0000 0100"_hex
                                                  << "0e"_hex;
    QTest::newRow("get interface 0") << "810a 0000 0000 0100"_hex
                                     << "00 00"_hex;
    QTest::newRow("get interface 2") << "810a 0000 0200 0100"_hex
                                     << "0e"_hex;
    QTest::newRow("get interface of the device") << "800a 0000 0000 0100"_hex
                                                 << "0e"_hex;
    QTest::newRow("set interface 0") << "010b 0000 0000 0000"_hex
                                     << "00"_hex;
    QTest::newRow("set alternate 1") << "010b 0100 0000 0000"_hex
                                     << "0e"_hex;
    QTest::newRow("set interface 2") << "010b 0000 0200 0000"_hex
                                     << "0e"_hex;
    QTest::newRow("feature of the device") << "0003 0200 0000 0000"_hex
                                           << "0e"_hex;
    QTest::newRow("feature of an interface") << "0103 0000 0000 0000"_hex
                                             << "0e"_hex;
    QTest::newRow("halt an endpoint that is not there") << "0203 0000 0300 0000"_hex
                                                        << "0e"_hex;
    QTest::newRow("set address 128") << "0005 8000 0000 0000"_hex
                                     << "0e"_hex;
    QTest::newRow("set descriptor") << "0007 0001 0000 0000"_hex
                                    << "0e"_hex;
    QTest::newRow("synch frame") << "820c 0000 8100 0200"_hex
                                 << "0e"_hex;
    QTest::newRow("request 2") << "8002 0000 0000 0200"_hex
                               << "0e"_hex;
    QTest::newRow("class request") << "a101 0001 0000 0800"_hex
                                   << "0e"_hex;
    QTest::newRow("vendor request") << "c0a0 0000 0000 0100"_hex
                                    << "0e"_hex;
    QTest::newRow("reserved type") << "e000 0000 0000 0100"_hex
                                   << "0e"_hex;
    QTest::newRow("class descriptor of interface 0") << "8106 0021 0000 ff00"_hex
                                                     << "00 092100012101223f00"_hex;
    QTest::newRow("class descriptor of interface 1") << "8106 0021 0100 ff00"_hex
                                                     << "00 092100010001226400"_hex;
    QTest::newRow("report descriptor") << "8106 0022 0000 3f00"_hex
                                       << "0e"_hex;
}

void tst_virtualdevice::standardRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto keyboard = builtIn("keyboard");
    keyboard->configure();
    QCOMPARE(ask(*keyboard, request).toHex(), answer.toHex());
}

void tst_virtualdevice::configuring()
{
    const auto keyboard = builtIn("keyboard");
    const QByteArray get = "8008 0000 0000 0100"_hex;
    QCOMPARE(ask(*keyboard, get), "00 00"_hex);
    QCOMPARE(ask(*keyboard, "8100 0000 0000 0200"_hex), "0e"_hex); // no interfaces yet
    QCOMPARE(ask(*keyboard, "8200 0000 8100 0200"_hex), "0e"_hex);
    QCOMPARE(ask(*keyboard, "810a 0000 0000 0100"_hex), "0e"_hex);
    QCOMPARE(ask(*keyboard, "0009 0100 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(*keyboard, get), "00 01"_hex);
    QCOMPARE(ask(*keyboard, "0009 0000 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(*keyboard, get), "00 00"_hex);
    keyboard->configure();
    keyboard->reset();
    QCOMPARE(ask(*keyboard, get), "00 00"_hex);
}

void tst_virtualdevice::alternateSettings()
{
    VirtualDevice device(withAlternate());
    device.configure();
    QCOMPARE(int{device.configuration()}, 7);
    QCOMPARE(ask(device, "8200 0000 0200 0200"_hex), "0e"_hex); // endpoint 02 is in setting 1
    QCOMPARE(ask(device, "010b 0100 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(device, "810a 0000 0000 0100"_hex), "00 01"_hex);
    QCOMPARE(ask(device, "8200 0000 0200 0200"_hex), "00 0000"_hex);
    QCOMPARE(ask(device, "010b 0200 0000 0000"_hex), "0e"_hex);
    QCOMPARE(ask(device, "0009 0700 0000 0000"_hex), "00"_hex); // back to setting 0
    QCOMPARE(ask(device, "810a 0000 0000 0100"_hex), "00 00"_hex);
}

void tst_virtualdevice::halting()
{
    const auto phone = builtIn("phone");
    phone->configure();
    const QByteArray status = "8200 0000 8100 0200"_hex;
    QCOMPARE(ask(*phone, "0203 0000 8100 0000"_hex), "00"_hex);
    QCOMPARE(ask(*phone, status), "00 0100"_hex);
    QCOMPARE(ask(*phone, "8200 0000 0200 0200"_hex), "00 0000"_hex);
    QCOMPARE(ask(*phone, "0201 0000 8100 0000"_hex), "00"_hex);
    QCOMPARE(ask(*phone, status), "00 0000"_hex);
    ask(*phone, "0203 0000 8100 0000"_hex);
    phone->reset();
    phone->configure();
    QCOMPARE(ask(*phone, status), "00 0000"_hex);
}

void tst_virtualdevice::remoteWakeup()
{
    const auto keyboard = builtIn("keyboard");
    const QByteArray status = "8000 0000 0000 0200"_hex;
    QCOMPARE(ask(*keyboard, "0003 0100 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(*keyboard, status), "00 0200"_hex);
    QCOMPARE(ask(*keyboard, "0001 0100 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(*keyboard, status), "00 0000"_hex);

    const auto phone = builtIn("phone"); // powers itself, cannot wake the host
    QCOMPARE(ask(*phone, "0003 0100 0000 0000"_hex), "0e"_hex);
    QCOMPARE(ask(*phone, status), "00 0100"_hex);
}

void tst_virtualdevice::address()
{
    const auto keyboard = builtIn("keyboard");
    QCOMPARE(ask(*keyboard, "0005 7f00 0000 0000"_hex), "00"_hex);
    QCOMPARE(int{keyboard->address()}, 127);
    ask(*keyboard, "0005 0001 0000 0000"_hex); // 256
    QCOMPARE(int{keyboard->address()}, 127);
}

void tst_virtualdevice::load()
{
    const auto keyboard = builtIn("keyboard");
    QCOMPARE(keyboard->load(false), 16.0);
    keyboard->configure();
    QCOMPARE(keyboard->load(false), 64.0);
    QCOMPARE(keyboard->load(true), 0.5);
    const auto phone = builtIn("phone");
    QCOMPARE(phone->load(false), 100.0);
    phone->configure();
    QCOMPARE(phone->load(false), 500.0);
    VirtualDevice nothing(DeviceDescriptors{});
    QCOMPARE(nothing.load(false), 0.0);
}

void tst_virtualdevice::dataStageMustBeWhole()
{
    const auto keyboard = builtIn("keyboard");
    QCOMPARE(ask(*keyboard, "4001 0000 0000 0200"_hex, "aa"_hex), "86"_hex);
    QCOMPARE(ask(*keyboard, "4001 0000 0000 0200"_hex, "aabb"_hex), "0e"_hex);
}

namespace {

/// Keeps what it is sent, and gives it back.
class Keeper : public VirtualDevice
{
public:
    Keeper() : VirtualDevice(withAlternate()) {}

protected:
    DeviceAnswer vendorRequest(const SetupPacket &packet, QByteArrayView data) override
    {
        if (packet.toHost())
            return {RequestStatus::Ok, m_kept};
        m_kept = data.toByteArray();
        return {};
    }
    std::optional<QByteArray> descriptor(const SetupPacket &packet) const override
    {
        if (packet.valueHigh() == 0x42)
            return "0342 55"_hex;
        return VirtualDevice::descriptor(packet);
    }

private:
    QByteArray m_kept;
};

} // namespace

void tst_virtualdevice::hooks()
{
    Keeper keeper;
    QCOMPARE(ask(keeper, "4001 0000 0000 0300"_hex, "010203 ff"_hex), "00"_hex);
    QCOMPARE(ask(keeper, "c001 0000 0000 ff00"_hex), "00 010203"_hex);
    QCOMPARE(ask(keeper, "c001 0000 0000 0200"_hex), "00 0102"_hex);
    QCOMPARE(ask(keeper, "8006 0042 0000 ff00"_hex), "00 0342 55"_hex);
    QCOMPARE(ask(keeper, "8006 0001 0000 0200"_hex), "00 1201"_hex);
}

void tst_virtualdevice::oddDescriptors()
{
    // A bLength of 0, one that reaches past the end, nothing at all: walks end, nothing is read
    // that is not there.
    for (const QByteArray &configuration :
         {"0902ff00010100a020 00040000"_hex, "0902ff00010100a020 ff040000"_hex, "09"_hex,
          "0202"_hex, QByteArray()}) {
        VirtualDevice device({"1201"_hex, {configuration}, {}});
        device.configure();
        QCOMPARE(ask(device, "8006 0002 0000 ff00"_hex), "00"_hex + configuration);
        QCOMPARE(ask(device, "8006 0001 0000 ff00"_hex), "00 1201"_hex);
        QCOMPARE(ask(device, "8100 0000 0000 0200"_hex), "0e"_hex);
        QVERIFY(device.load(false) >= 0);
    }
    VirtualDevice empty(DeviceDescriptors{});
    empty.configure();
    QCOMPARE(ask(empty, "8006 0002 0000 ff00"_hex), "0e"_hex);
    QCOMPARE(ask(empty, "8000 0000 0000 0200"_hex), "00 0000"_hex);
}

VANTREL_TEST(tst_virtualdevice)
#include "tst_virtualdevice.moc"
