// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"
#include "simulator/CurrentReading.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// The status of the port after each operation.
class tst_usbport : public QObject
{
    Q_OBJECT

private slots:
    void portStatus_data();
    void portStatus();
    void current_data();
    void current();
    void reading_data();
    void reading();
    void suspendNeedsVbus();
    void requestsNeedAnAwakeBus();
    void resetAndPowerUndoConfiguration();
    void addressesAfterReset();
    void automaticModeConfigures();
    void overload();
    void overloadWithRecovery();
    void recoveryMindsTheUser();
    void addressesAreTakenOnce();
};

namespace {

/// A tester with the named devices ("keyboard phone") that has been given the commands.
std::unique_ptr<Talk> prepared(const Settings &settings, const QByteArray &devices,
                               const QList<QByteArray> &commands)
{
    auto talk = std::make_unique<Talk>(std::make_unique<Tester>(settings));
    for (const QByteArray &name : devices.split(' ')) {
        if (const BuiltInDevice *device = findBuiltInDevice(QString::fromLatin1(name)))
            talk->tester().attach(device->make(), device->address);
    }
    for (const QByteArray &command : commands)
        talk->ask(command);
    return talk;
}

} // namespace

void tst_usbport::portStatus_data()
{
    QTest::addColumn<QByteArray>("devices");
    QTest::addColumn<QList<QByteArray>>("commands");
    QTest::addColumn<QByteArray>("status");
    using Commands = QList<QByteArray>;
    const QByteArray off = "02 00"_hex;
    const QByteArray on = "02 01"_hex;
    const QByteArray suspend = "03"_hex;
    const QByteArray resume = "04"_hex;
    const QByteArray inhibit = "07 06 01"_hex;
    const QByteArray allow = "07 06 00"_hex;
    const QByteArray reset = "08"_hex;
    QTest::newRow("nothing attached") << QByteArray("") << Commands{} << "04"_hex;
    QTest::newRow("nothing attached, off") << QByteArray("") << Commands{off} << "00"_hex;
    QTest::newRow("low speed") << QByteArray("keyboard") << Commands{} << "05"_hex;
    QTest::newRow("high speed") << QByteArray("phone") << Commands{} << "44"_hex;
    QTest::newRow("high speed inhibited") << QByteArray("phone") << Commands{inhibit} << "06"_hex;
    QTest::newRow("inhibit over") << QByteArray("phone") << Commands{inhibit, allow} << "44"_hex;
    QTest::newRow("low speed is not inhibited")
        << QByteArray("keyboard") << Commands{inhibit} << "05"_hex;
    QTest::newRow("the fastest counts") << QByteArray("keyboard phone") << Commands{} << "44"_hex;
    QTest::newRow("the fastest, inhibited")
        << QByteArray("keyboard phone") << Commands{inhibit} << "06"_hex;
    QTest::newRow("off") << QByteArray("phone") << Commands{off} << "00"_hex;
    QTest::newRow("on again") << QByteArray("phone") << Commands{off, on} << "44"_hex;
    QTest::newRow("suspended") << QByteArray("phone") << Commands{suspend} << "4c"_hex;
    QTest::newRow("suspended, inhibited")
        << QByteArray("phone") << Commands{inhibit, suspend} << "0e"_hex;
    QTest::newRow("suspended, low speed")
        << QByteArray("keyboard") << Commands{suspend} << "0d"_hex;
    QTest::newRow("suspended, nothing attached") << QByteArray("") << Commands{suspend} << "0c"_hex;
    QTest::newRow("resumed") << QByteArray("phone") << Commands{suspend, resume} << "44"_hex;
    QTest::newRow("reset resumes") << QByteArray("phone") << Commands{suspend, reset} << "44"_hex;
    QTest::newRow("power-off resumes")
        << QByteArray("phone") << Commands{suspend, off, on} << "44"_hex;
    QTest::newRow("suspend without power")
        << QByteArray("phone") << Commands{off, suspend} << "00"_hex;
}

void tst_usbport::portStatus()
{
    QFETCH(QByteArray, devices);
    QFETCH(QList<QByteArray>, commands);
    QFETCH(QByteArray, status);
    const auto talk = prepared(Settings::vorn2(), devices, commands);
    QCOMPARE(talk->ask("0b"_hex).toHex(), packet("8b"_hex + status).toHex());
}

void tst_usbport::current_data()
{
    QTest::addColumn<QByteArray>("devices");
    QTest::addColumn<QList<QByteArray>>("commands");
    QTest::addColumn<QByteArray>("vorn1"); // quarters of a milliampere, 2.0 mA too high
    QTest::addColumn<QByteArray>("vorn2"); // counts of 2.9593 uA
    using Commands = QList<QByteArray>;
    const QByteArray off = "02 00"_hex;
    const QByteArray on = "02 01"_hex;
    const QByteArray automatic = "07 00 01"_hex;
    const QByteArray suspend = "03"_hex;
    QTest::newRow("nothing: 0 mA") << QByteArray("") << Commands{} << "0008"_hex
                                   << "00000000"_hex;
    // 16 mA: 72 quarters; 5406.7 counts
    QTest::newRow("keyboard, unconfigured: 16 mA")
        << QByteArray("keyboard") << Commands{} << "0048"_hex
        << "0000151f"_hex;
    // 64 mA: 264 quarters; 21626.7 counts
    QTest::newRow("keyboard, configured: 64 mA")
        << QByteArray("keyboard") << Commands{automatic} << "0108"_hex
        << "0000547b"_hex;
    // 100 mA: 408 quarters; 33791.8 counts
    QTest::newRow("phone, unconfigured: 100 mA") << QByteArray("phone") << Commands{} << "0198"_hex
                                                 << "00008400"_hex;
    // 500 mA: 2008 quarters; 168958.9 counts
    QTest::newRow("phone, configured: 500 mA")
        << QByteArray("phone") << Commands{automatic} << "07d8"_hex
        << "000293ff"_hex;
    // 564 mA: 2264 quarters; 190585.6 counts
    QTest::newRow("both, configured: 564 mA")
        << QByteArray("keyboard phone") << Commands{automatic} << "08d8"_hex
        << "0002e87a"_hex;
    // 1 mA: 12 quarters; 337.9 counts
    QTest::newRow("both, suspended: 1 mA")
        << QByteArray("keyboard phone") << Commands{automatic, suspend} << "000c"_hex
        << "00000152"_hex;
    QTest::newRow("off: 0 mA") << QByteArray("keyboard phone") << Commands{automatic, off}
                               << "0008"_hex
                               << "00000000"_hex;
    QTest::newRow("on again, automatic: 564 mA")
        << QByteArray("keyboard phone") << Commands{automatic, off, on} << "08d8"_hex
        << "0002e87a"_hex;
    QTest::newRow("on again, by hand: 116 mA")
        << QByteArray("keyboard phone") << Commands{automatic, "07 00 00"_hex, off, on}
        << "01d8"_hex
        << "0000991e"_hex;
    QTest::newRow("configured by request: 64 mA")
        << QByteArray("keyboard") << Commands{"01 02 00 09 0100 0000 0000"_hex} << "0108"_hex
        << "0000547b"_hex;
}

void tst_usbport::current()
{
    QFETCH(QByteArray, devices);
    QFETCH(QList<QByteArray>, commands);
    QFETCH(QByteArray, vorn1);
    QFETCH(QByteArray, vorn2);
    QCOMPARE(prepared(Settings::vorn1(), devices, commands)->ask("0e"_hex).toHex(),
             packet("8e"_hex + vorn1).toHex());
    QCOMPARE(prepared(Settings::vorn2(), devices, commands)->ask("0e"_hex).toHex(),
             packet("8e"_hex + vorn2).toHex());
}

void tst_usbport::reading_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<double>("amperes");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("62 mA") << 1 << 0.062 << "0100"_hex;
    QTest::newRow("a quarter") << 1 << 0.00025 << "0009"_hex;
    QTest::newRow("the most a Vorn 1 can say") << 1 << 100.0 << "ffff"_hex;
    QTest::newRow("backwards on a Vorn 1") << 1 << -1.0 << "0000"_hex;
    QTest::newRow("338 counts") << 2 << 0.00100024 << "00000152"_hex;
    QTest::newRow("backwards on a Vorn 2") << 2 << -2.9593e-6 << "ffffffff"_hex;
    QTest::newRow("the most a Vorn 2 can say") << 2 << 1e6 << "7fffffff"_hex;
}

void tst_usbport::reading()
{
    QFETCH(int, model);
    QFETCH(double, amperes);
    QFETCH(QByteArray, bytes);
    QCOMPARE(currentReading(model, amperes).toHex(), bytes.toHex());
}

void tst_usbport::suspendNeedsVbus()
{
    const auto talk = prepared(Settings::vorn2(), "phone", {"02 00"_hex, "03"_hex, "02 01"_hex});
    QCOMPARE(talk->ask("0b"_hex), packet("8b 44"_hex));
}

void tst_usbport::requestsNeedAnAwakeBus()
{
    const QByteArray getStatus = "01 03 80 00 0000 0000 0200"_hex;
    const auto talk = prepared(Settings::vorn2(), "phone", {});
    QCOMPARE(talk->ask(getStatus), packet("81 00 0100"_hex));
    talk->ask("03"_hex);
    QCOMPARE(talk->ask(getStatus), packet("81 89"_hex));
    talk->ask("04"_hex);
    QCOMPARE(talk->ask(getStatus), packet("81 00 0100"_hex));
    talk->ask("02 00"_hex);
    QCOMPARE(talk->ask(getStatus), packet("81 80"_hex));
}

void tst_usbport::resetAndPowerUndoConfiguration()
{
    const QByteArray setConfiguration = "01 03 00 09 0100 0000 0000"_hex;
    const QByteArray getConfiguration = "01 03 80 08 0000 0000 0100"_hex;
    const auto talk = prepared(Settings::vorn2(), "phone", {setConfiguration});
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 01"_hex));
    talk->ask("08"_hex);
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 00"_hex));
    talk->ask(setConfiguration);
    talk->ask("02 01"_hex); // on already: nothing happens
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 01"_hex));
    talk->ask("02 00"_hex);
    talk->ask("02 01"_hex);
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 00"_hex));
}

void tst_usbport::addressesAfterReset()
{
    const auto talk = prepared(Settings::vorn2(), "phone", {"01 03 00 05 0900 0000 0000"_hex});
    QCOMPARE(talk->ask("01 09 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex));
    QCOMPARE(talk->ask("01 03 80 08 0000 0000 0100"_hex), packet("81 80"_hex));
    talk->ask("08"_hex);
    QCOMPARE(talk->ask("01 09 80 08 0000 0000 0100"_hex), packet("81 80"_hex));
    QCOMPARE(talk->ask("01 03 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex));
}

void tst_usbport::automaticModeConfigures()
{
    const QByteArray getConfiguration = "01 03 80 08 0000 0000 0100"_hex;
    const auto talk = prepared(Settings::vorn2(), "phone", {"07 00 01"_hex});
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 01"_hex));
    talk->ask("08"_hex);
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 01"_hex));
    // Whoever unconfigures a device on purpose is not overruled when another comes.
    talk->ask("01 03 00 09 0000 0000 0000"_hex);
    talk->tester().attach(findBuiltInDevice(QStringLiteral("keyboard"))->make(), 0x02);
    talk->take();
    QCOMPARE(talk->ask(getConfiguration), packet("81 00 00"_hex));
}

void tst_usbport::overload()
{
    const auto talk = prepared(Settings::vorn2(), "phone", {});
    talk->tester().overloadVbus();
    QCOMPARE(talk->ask("0b"_hex), packet("8b 00"_hex));
    talk->tester().clock().advance(10'000);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 00"_hex));
    talk->ask("02 01"_hex);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 44"_hex));
}

void tst_usbport::overloadWithRecovery()
{
    const auto talk = prepared(Settings::vorn2(), "phone", {"07 02 01"_hex});
    talk->tester().overloadVbus();
    talk->tester().clock().advance(Tester::RecoveryTime - 1);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 00"_hex));
    talk->tester().clock().advance(1);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 44"_hex));
}

void tst_usbport::recoveryMindsTheUser()
{
    const auto talk = prepared(Settings::vorn2(), "phone", {"07 02 01"_hex});
    talk->tester().overloadVbus();
    talk->ask("02 00"_hex); // switched off by hand meanwhile
    talk->tester().clock().advance(10'000);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 00"_hex));

    talk->tester().overloadVbus(); // nothing to overload
    talk->tester().clock().advance(10'000);
    QCOMPARE(talk->ask("0b"_hex), packet("8b 00"_hex));
}

void tst_usbport::addressesAreTakenOnce()
{
    Talk talk;
    const BuiltInDevice *keyboard = findBuiltInDevice(QStringLiteral("keyboard"));
    QVERIFY(!talk.tester().attach(keyboard->make(), 0x03));
    QVERIFY(!talk.tester().attach(keyboard->make(), 128));
    QVERIFY(talk.tester().attach(keyboard->make(), 127));
    QVERIFY(!talk.tester().detach(5));
    auto phone = talk.tester().detach(0x03);
    QVERIFY(phone);
    QCOMPARE(talk.ask("01 03 80 08 0000 0000 0100"_hex), packet("81 80"_hex));
    QVERIFY(talk.tester().attach(std::move(phone), 0x05));
    QCOMPARE(talk.ask("01 05 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex));
}

VANTREL_TEST(tst_usbport)
#include "tst_usbport.moc"
