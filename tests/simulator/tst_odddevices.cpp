// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/DeviceTalk.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;
using namespace vantrel::simulator;

/// What the devices that misbehave answer, byte by byte.
class tst_odddevices : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
    void manyStrings();
    void silent();
    void silenceEndsWithTheBus();
    void wrongDescriptorsDoNotStopADevice_data();
    void wrongDescriptorsDoNotStopADevice();
};

void tst_odddevices::answers_data()
{
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<QByteArray>("request"); // without the 80 06 of a descriptor request
    QTest::addColumn<QByteArray>("answer");
    const auto row = [](const char *device, const char *asked, const QByteArray &request,
                        const QByteArray &answer) {
        QTest::addRow("%s: %s", device, asked) << QByteArray(device) << request << answer;
    };
    const QByteArray device = "0001 0000 1200"_hex;
    const QByteArray probe = "0002 0000 0800"_hex;

    row("string-stall", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 20 00 00 01 01 02 03 01"_hex);
    row("string-stall", "string 1", "0103 0904 0300"_hex, "0e"_hex);
    row("string-stall", "string 3", "0303 0904 0300"_hex, "0e"_hex);
    row("string-stall", "languages", "0003 0000 ff00"_hex, "0e"_hex);
    row("string-stall", "configuration", "0002 0000 1900"_hex,
        "00 09 02 19 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 07 05 81 03 08 00 0a"_hex);

    row("string-short", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 21 00 00 01 01 02 00 01"_hex);
    row("string-short", "string 1, 3 bytes", "0103 0904 0300"_hex, "00 1c 03 43"_hex);
    row("string-short", "string 1", "0103 0904 1c00"_hex,
        "00 1c 03 43 00 75 00 74 00 20 00 6f"_hex);
    row("string-short", "string 2", "0203 0904 1200"_hex,
        "00 12 03 54 00 6f 00 6f 00 20 00 6c"_hex);
    row("string-short", "string 3", "0303 0904 0300"_hex, "0e"_hex);
    row("string-short", "languages", "0003 0000 ff00"_hex, "00 04 03 09 04"_hex);

    row("string-empty", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 22 00 00 01 00 01 00 01"_hex);
    row("string-empty", "string 1, 3 bytes", "0103 0904 0300"_hex, "00 00 03 4e"_hex);
    row("string-empty", "string 1", "0103 0904 ff00"_hex,
        "00 00 03 4e 00 6f 00 74 00 68 00 69 00 6e 00 67 00"_hex);
    row("string-empty", "languages", "0003 0000 ff00"_hex, "00 04 03 09 04"_hex);

    row("length-zero", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 23 00 00 01 00 00 00 01"_hex);
    row("length-zero", "configuration, 8 bytes", probe, "00 09 02 22 00 01 01 00 80"_hex);
    row("length-zero", "configuration", "0002 0000 2200"_hex,
        "00 09 02 22 00 01 01 00 80 32 09 04 00 00 01 03 00 00 00"
        "00 21 11 01 00 01 22 34 00 07 05 81 03 08 00 0a"_hex);

    row("length-beyond", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 24 00 00 01 00 00 00 01"_hex);
    row("length-beyond", "configuration, 8 bytes", probe, "00 09 02 19 00 01 01 00 80"_hex);
    row("length-beyond", "configuration", "0002 0000 1900"_hex,
        "00 09 02 19 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 20 05 81 03 08 00 0a"_hex);

    row("total-beyond", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 25 00 00 01 00 00 00 01"_hex);
    row("total-beyond", "configuration, 8 bytes", probe, "00 09 02 40 00 01 01 00 80"_hex);
    row("total-beyond", "configuration", "0002 0000 4000"_hex,
        "00 09 02 40 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 07 05 81 03 08 00 0a"_hex);

    row("total-huge", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 26 00 00 01 00 00 00 01"_hex);
    row("total-huge", "configuration, 8 bytes", probe, "00 09 02 19 80 01 01 00 80"_hex);
    row("total-huge", "configuration", "0002 0000 1980"_hex,
        "00 09 02 19 80 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 07 05 81 03 08 00 0a"_hex);

    row("packet-huge", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 27 00 00 01 00 00 00 01"_hex);
    row("packet-huge", "configuration", "0002 0000 1900"_hex,
        "00 09 02 19 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 07 05 81 03 08 80 0a"_hex);

    row("no-configuration", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 28 00 00 01 00 00 00 00"_hex);
    row("no-configuration", "configuration", probe, "0e"_hex);
    row("no-configuration", "string 1", "0103 0904 0300"_hex, "0e"_hex);

    row("strings-only", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 29 00 00 01 01 02 03 00"_hex);
    row("strings-only", "string 1, 3 bytes", "0103 0904 0300"_hex, "00 0c 03 57"_hex);
    row("strings-only", "string 1", "0103 0904 0c00"_hex,
        "00 0c 03 57 00 6f 00 72 00 64 00 73 00"_hex);
    row("strings-only", "string 2", "0203 0904 0c00"_hex,
        "00 0c 03 a9 03 20 00 13 20 20 00 16 04"_hex);
    row("strings-only", "string 3", "0303 0904 0600"_hex, "00 06 03 32 00 39 00"_hex);
    row("strings-only", "configuration", probe, "0e"_hex);

    row("device-short", "device", device, "00 12 01 10 01 00 00 00 40"_hex);
    row("device-short", "device, 4 bytes", "0001 0000 0400"_hex, "00 12 01 10 01"_hex);
    row("device-short", "configuration", "0002 0000 1900"_hex,
        "00 09 02 19 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 07 05 81 03 08 00 0a"_hex);

    row("odd-lengths", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 2d 00 00 01 00 00 00 01"_hex);
    row("odd-lengths", "configuration, 8 bytes", probe, "00 09 02 35 00 01 01 00 80"_hex);
    row("odd-lengths", "configuration", "0002 0000 3500"_hex,
        "00 09 02 35 00 01 01 00 80 32 02 0b 09 04 00 00 04 ff 00 00 00 03 24 5a"
        "07 05 88 03 08 00 0a 07 05 09 01 ff 03 01 07 05 8f 02 40 00 00"
        "07 05 07 00 40 00 00 02 ff"_hex);

    row("endpoint-short", "device", device,
        "00 12 01 10 01 00 00 00 40 0d 1d 2e 00 00 01 00 00 00 01"_hex);
    row("endpoint-short", "configuration, 8 bytes", probe, "00 09 02 16 00 01 01 00 80"_hex);
    row("endpoint-short", "configuration", "0002 0000 1600"_hex,
        "00 09 02 16 00 01 01 00 80 32 09 04 00 00 01 ff 00 00 00 04 05 81 03"_hex);
}

void tst_odddevices::answers()
{
    QFETCH(QByteArray, device);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto odd = builtIn(device);
    QCOMPARE(ask(*odd, "8006"_hex + request).toHex(' '), answer.toHex(' '));
}

void tst_odddevices::manyStrings()
{
    const auto device = builtIn("many-strings");
    QCOMPARE(ask(*device, "8006 0001 0000 1200"_hex),
             "00 12 01 10 01 00 00 00 40 0d 1d 2a 00 00 01 00 01 00 01"_hex);
    QCOMPARE(ask(*device, "8006 0103 0904 0c00"_hex), "00 0c 03 43 00 68 00 6f 00 69 00 72 00"_hex);
    QCOMPARE(ask(*device, "8006 0002 0000 0800"_hex), "00 09 02 1d 01 0c 01 00 80"_hex);
    QCOMPARE(ask(*device, "8006 0002 0000 1d01"_hex).toHex(' '),
             "00 09 02 1d 01 0c 01 00 80 32"
             "09 04 00 00 02 ff 00 00 02 07 05 81 02 40 00 00 07 05 01 02 40 00 00"
             "09 04 01 00 02 ff 00 00 03 07 05 82 02 40 00 00 07 05 02 02 40 00 00"
             "09 04 02 00 02 ff 00 00 04 07 05 83 02 40 00 00 07 05 03 02 40 00 00"
             "09 04 03 00 02 ff 00 00 05 07 05 84 02 40 00 00 07 05 04 02 40 00 00"
             "09 04 04 00 02 ff 00 00 06 07 05 85 02 40 00 00 07 05 05 02 40 00 00"
             "09 04 05 00 02 ff 00 00 07 07 05 86 02 40 00 00 07 05 06 02 40 00 00"
             "09 04 06 00 02 ff 00 00 08 07 05 87 02 40 00 00 07 05 07 02 40 00 00"
             "09 04 07 00 02 ff 00 00 09 07 05 88 02 40 00 00 07 05 08 02 40 00 00"
             "09 04 08 00 02 ff 00 00 0a 07 05 89 02 40 00 00 07 05 09 02 40 00 00"
             "09 04 09 00 02 ff 00 00 0b 07 05 8a 02 40 00 00 07 05 0a 02 40 00 00"
             "09 04 0a 00 02 ff 00 00 0c 07 05 8b 02 40 00 00 07 05 0b 02 40 00 00"
             "09 04 0b 00 02 ff 00 00 0d 07 05 8c 02 40 00 00 07 05 0c 02 40 00 00"_hex.toHex(' '));
    QCOMPARE(ask(*device, "8006 0203 0904 1000"_hex),
             "00 10 03 56 00 6f 00 69 00 63 00 65 00 20 00 30 00"_hex);
    QCOMPARE(ask(*device, "8006 0d03 0904 1200"_hex),
             "00 12 03 56 00 6f 00 69 00 63 00 65 00 20 00 31 00 31 00"_hex);
    QCOMPARE(ask(*device, "8006 0e03 0904 0300"_hex), "0e"_hex);
}

void tst_odddevices::silent()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    talk.ask("07 00 01"_hex);
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("silent")}));
    QCOMPARE(talk.take(), packet("90 00 2c 00 0d1d 2c00"_hex));
    for (const QByteArray &request :
         {"80 06 0001 0000 1200"_hex, "80 06 0002 0000 0800"_hex, "00 09 0100 0000 0000"_hex,
          "a1 fe 0000 0000 0100"_hex, "c0 01 0000 0000 0100"_hex}) {
        QCOMPARE(talk.ask("01 2c"_hex + request), QByteArray());
    }
    talk.tester().clock().advance(100'000);
    QCOMPARE(talk.take(), QByteArray());
    QCOMPARE(talk.ask("0b"_hex), packet("8b 06"_hex)); // the tester itself goes on
}

void tst_odddevices::silenceEndsWithTheBus()
{
    const QByteArray request = "01 2c 80 06 0001 0000 1200"_hex;
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    QVERIFY(attachBuiltInDevices(talk.tester(), {QStringLiteral("silent")}));
    QCOMPARE(talk.ask(request), QByteArray());
    talk.ask("03"_hex);
    QCOMPARE(talk.ask(request), packet("81 89"_hex)); // suspended
    talk.ask("02 00"_hex);
    QCOMPARE(talk.ask(request), packet("81 80"_hex)); // off
    talk.ask("02 01"_hex);
    QCOMPARE(talk.ask(request), QByteArray());
}

void tst_odddevices::wrongDescriptorsDoNotStopADevice_data()
{
    QTest::addColumn<QByteArray>("device");
    for (const char *name : {"string-stall", "length-zero", "length-beyond", "total-beyond",
                             "total-huge", "packet-huge", "device-short", "endpoint-short"})
        QTest::newRow(name) << QByteArray(name);
}

void tst_odddevices::wrongDescriptorsDoNotStopADevice()
{
    QFETCH(QByteArray, device);
    const auto odd = builtIn(device);
    odd->configure();
    QCOMPARE(ask(*odd, "8008 0000 0000 0100"_hex), "00 01"_hex);
    QCOMPARE(odd->load(false), 100.0);
    QCOMPARE(odd->speed(), Speed::Full);
    QCOMPARE(ask(*odd, "8000 0000 0000 0200"_hex), "00 0000"_hex);
}

VANTREL_TEST(tst_odddevices)
#include "tst_odddevices.moc"
