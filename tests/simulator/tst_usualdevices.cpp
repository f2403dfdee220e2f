// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/DeviceTalk.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;
using namespace vantrel::simulator;

/// Each answer of the healthy devices that one asks for who reads all their descriptors.
class tst_usualdevices : public QObject
{
    Q_OBJECT

private slots:
    void mouse_data();
    void mouse();
    void disk_data();
    void disk();
    void diskAtFullSpeed();
    void gateway_data();
    void gateway();
    void throughTheTester();
    void mouseIsModest();
    void diskConfigurations();
    void diskAlternates();
    void diskUnits();
};

namespace {

void columns()
{
    QTest::addColumn<QByteArray>("request"); // without the 80 06 of a descriptor request
    QTest::addColumn<QByteArray>("answer");
}

void row(const char *name, const QByteArray &request, const QByteArray &answer)
{
    QTest::newRow(name) << request << answer;
}

void compareAnswer(const QByteArray &name)
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto device = builtIn(name);
    QCOMPARE(ask(*device, "8006"_hex + request).toHex(' '), answer.toHex(' '));
}

} // namespace

void tst_usualdevices::mouse_data()
{
    columns();
    row("device", "0001 0000 1200"_hex,
        "00 12 01 10 01 00 00 00 08 41 0c 1b 00 00 01 00 00 00 01"_hex);
    row("configuration, 8 bytes", "0002 0000 0800"_hex, "00 09 02 22 00 01 01 00 a0"_hex);
    row("configuration", "0002 0000 2200"_hex,
        "00 09 02 22 00 01 01 00 a0 32 09 04 00 00 01 03 01 02 00"
        "09 21 11 01 00 01 22 34 00 07 05 81 03 04 00 0a"_hex);
    row("configuration 1", "0102 0000 0800"_hex, "0e"_hex);
    row("string 1", "0103 0904 0300"_hex, "0e"_hex);
    row("languages", "0003 0000 ff00"_hex, "0e"_hex);
    row("qualifier", "0006 0000 0a00"_hex, "0e"_hex);
}

void tst_usualdevices::mouse()
{
    compareAnswer("mouse");
}

void tst_usualdevices::disk_data()
{
    columns();
    row("device", "0001 0000 1200"_hex,
        "00 12 01 00 02 00 00 00 40 0d 2e 40 00 01 01 01 02 03 02"_hex);
    row("qualifier", "0006 0000 0a00"_hex, "00 0a 06 00 02 00 00 00 40 02 00"_hex);
    row("manufacturer, 3 bytes", "0103 0904 0300"_hex, "00 10 03 4e"_hex);
    row("manufacturer", "0103 0904 1000"_hex,
        "00 10 03 4e 00 f8 00 72 00 64 00 69 00 73 00 6b 00"_hex);
    row("product, 3 bytes", "0203 0904 0300"_hex, "00 10 03 44"_hex);
    row("product", "0203 0904 1000"_hex, "00 10 03 44 00 69 00 73 00 6b 00 20 00 34 00 30 00"_hex);
    row("serial number, 3 bytes", "0303 0904 0300"_hex, "00 14 03 4e"_hex);
    row("serial number", "0303 0904 1400"_hex,
        "00 14 03 4e 00 44 00 34 00 30 00 2d 00 30 00 37 00 33 00 31 00"_hex);
    row("configuration 0, 8 bytes", "0002 0000 0800"_hex, "00 09 02 55 00 01 01 04 80"_hex);
    row("configuration 0", "0002 0000 5500"_hex,
        "00 09 02 55 00 01 01 04 80 fa"
        "09 04 00 00 02 08 06 50 05 07 05 81 02 00 02 00 07 05 02 02 00 02 00"
        "09 04 00 01 04 08 06 62 06 07 05 81 02 00 02 00 04 24 03 00"
        "07 05 02 02 00 02 00 04 24 04 00 07 05 83 02 00 02 00 04 24 02 00"
        "07 05 04 02 00 02 00 04 24 01 00"_hex);
    row("string 4", "0403 0904 1400"_hex,
        "00 14 03 42 00 75 00 73 00 20 00 70 00 6f 00 77 00 65 00 72 00"_hex);
    row("string 5", "0503 0904 1400"_hex,
        "00 14 03 42 00 75 00 6c 00 6b 00 20 00 6f 00 6e 00 6c 00 79 00"_hex);
    row("string 6", "0603 0904 1000"_hex, "00 10 03 53 00 74 00 72 00 65 00 61 00 6d 00 73 00"_hex);
    row("configuration 1, 8 bytes", "0102 0000 0800"_hex, "00 09 02 20 00 01 02 07 c0"_hex);
    row("configuration 1", "0102 0000 2000"_hex,
        "00 09 02 20 00 01 02 07 c0 01 09 04 00 00 02 08 06 50 08"
        "07 05 81 02 00 02 00 07 05 02 02 00 02 00"_hex);
    row("string 7", "0703 0904 1400"_hex,
        "00 14 03 4f 00 77 00 6e 00 20 00 70 00 6f 00 77 00 65 00 72 00"_hex);
    row("string 8", "0803 0904 1600"_hex,
        "00 16 03 53 00 74 00 69 00 6c 00 6c 00 20 00 62 00 75 00 6c 00 6b 00"_hex);
    row("string 9", "0903 0904 0300"_hex, "0e"_hex);
    row("configuration 2", "0202 0000 0800"_hex, "0e"_hex);
}

void tst_usualdevices::disk()
{
    compareAnswer("disk");
}

void tst_usualdevices::diskAtFullSpeed()
{
    const auto disk = builtIn("disk");
    disk->setHighSpeedAllowed(false);
    QCOMPARE(ask(*disk, "8006 0102 0000 2000"_hex).toHex(' '),
             "00 09 02 20 00 01 02 07 c0 01 09 04 00 00 02 08 06 50 08"
             "07 05 81 02 40 00 00 07 05 02 02 40 00 00"_hex.toHex(' '));
}

void tst_usualdevices::gateway_data()
{
    columns();
    row("device", "0001 0000 1200"_hex,
        "00 12 01 10 01 ff 00 00 40 87 80 24 00 00 01 00 01 00 01"_hex);
    row("product, 3 bytes", "0103 0904 0300"_hex, "00 16 03 47"_hex);
    row("product", "0103 0904 1600"_hex,
        "00 16 03 47 00 61 00 74 00 65 00 77 00 61 00 79 00 20 00 32 00 34 00"_hex);
    row("configuration, 8 bytes", "0002 0000 0800"_hex, "00 09 02 20 00 01 01 00 80"_hex);
    row("configuration", "0002 0000 2000"_hex,
        "00 09 02 20 00 01 01 00 80 64 09 04 00 00 02 ff 00 00 00"
        "07 05 81 02 40 00 00 07 05 02 02 40 00 00"_hex);
}

void tst_usualdevices::gateway()
{
    compareAnswer("gateway");
}

void tst_usualdevices::throughTheTester()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    talk.ask("07 00 01"_hex);
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("mouse")}));
    // The product ID 0x001B travels with its low byte doubled.
    QCOMPARE(talk.take(), packet("90 00 04 00 410c 1b1b00"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 05"_hex));
    QCOMPARE(talk.ask("01 04 80 06 0001 0000 1200"_hex),
             packet("81 00 1201100100000008 410c 1b1b00 0001 00000001"_hex));
    QCOMPARE(talk.ask("01 04 80 06 0103 0904 0300"_hex), packet("81 0e"_hex));

    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("gateway")}));
    QCOMPARE(talk.take(), packet("90 00 06 ff 8780 2400"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 06"_hex));
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("disk")}));
    QCOMPARE(talk.take(), packet("90 00 05 00 0d2e 4000"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_usualdevices::mouseIsModest()
{
    const auto mouse = builtIn("mouse");
    QCOMPARE(mouse->speed(), Speed::Low);
    mouse->configure();
    QCOMPARE(mouse->load(false), 100.0);
    QCOMPARE(ask(*mouse, "8000 0000 0000 0200"_hex), "00 0000"_hex);
    QCOMPARE(ask(*mouse, "0003 0100 0000 0000"_hex), "00"_hex); // may wake the host
    QCOMPARE(ask(*mouse, "8000 0000 0000 0200"_hex), "00 0200"_hex);
}

void tst_usualdevices::diskConfigurations()
{
    const auto disk = builtIn("disk");
    QCOMPARE(disk->speed(), Speed::High);
    disk->configure();
    QCOMPARE(ask(*disk, "8008 0000 0000 0100"_hex), "00 01"_hex);
    QCOMPARE(ask(*disk, "8000 0000 0000 0200"_hex), "00 0000"_hex); // draws from the bus
    QCOMPARE(disk->load(false), 500.0);
    QCOMPARE(ask(*disk, "0009 0200 0000 0000"_hex), "00"_hex);
    QCOMPARE(ask(*disk, "8008 0000 0000 0100"_hex), "00 02"_hex);
    QCOMPARE(ask(*disk, "8000 0000 0000 0200"_hex), "00 0100"_hex); // powers itself
    QCOMPARE(disk->load(false), 2.0);
    QCOMPARE(ask(*disk, "0009 0300 0000 0000"_hex), "0e"_hex);
}

void tst_usualdevices::diskAlternates()
{
    const QByteArray getInterface = "810a 0000 0000 0100"_hex;
    const QByteArray setAlternate = "010b 0100 0000 0000"_hex;
    const QByteArray endpointStatus = "8200 0000 8300 0200"_hex;
    const auto disk = builtIn("disk");
    QCOMPARE(ask(*disk, setAlternate), "0e"_hex); // not configured yet
    disk->configure();
    QCOMPARE(ask(*disk, getInterface), "00 00"_hex);
    QCOMPARE(ask(*disk, endpointStatus), "0e"_hex); // only the alternate setting has it
    QCOMPARE(ask(*disk, setAlternate), "00"_hex);
    QCOMPARE(ask(*disk, getInterface), "00 01"_hex);
    QCOMPARE(ask(*disk, endpointStatus), "00 0000"_hex);
    QCOMPARE(ask(*disk, "010b 0200 0000 0000"_hex), "0e"_hex);
    ask(*disk, "0009 0200 0000 0000"_hex); // the second configuration has no alternate
    QCOMPARE(ask(*disk, getInterface), "00 00"_hex);
    QCOMPARE(ask(*disk, setAlternate), "0e"_hex);
}

void tst_usualdevices::diskUnits()
{
    const QByteArray getMaxLun = "a1fe 0000 0000 0100"_hex;
    const QByteArray bulkOnlyReset = "21ff 0000 0000 0000"_hex;
    const auto disk = builtIn("disk");
    QCOMPARE(ask(*disk, getMaxLun), "0e"_hex); // not configured yet
    QCOMPARE(ask(*disk, bulkOnlyReset), "0e"_hex);
    disk->configure();
    QCOMPARE(ask(*disk, getMaxLun), "00 01"_hex);
    QCOMPARE(ask(*disk, bulkOnlyReset), "00"_hex);
    for (const QByteArray &wrong :
         {"a1fe 0000 0100 0100"_hex, "a1fe 0100 0000 0100"_hex, "a0fe 0000 0000 0100"_hex,
          "21fe 0000 0000 0000"_hex, "a1ff 0000 0000 0100"_hex, "a1fd 0000 0000 0100"_hex})
        QCOMPARE(ask(*disk, wrong).toHex(), QByteArray("0e"));
}

VANTREL_TEST(tst_usualdevices)
#include "tst_usualdevices.moc"
