// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

Settings release(int model, quint8 major, quint8 minor, quint16 ramK)
{
    Settings settings;
    settings.model = model;
    settings.major = major;
    settings.minor = minor;
    settings.ramK = ramK;
    return settings;
}

Settings bootstrapLoader()
{
    Settings settings = release(2, 1, 4, 64);
    settings.bootstrap = true;
    return settings;
}

} // namespace

/// What comes back for each command, byte for byte as on the wire.
class tst_commands : public QObject
{
    Q_OBJECT

private slots:
    void reply_data();
    void reply();
    void commandError_data();
    void commandError();
    void version_data();
    void version();
    void oldVorn1KnowsNoVersionQuery_data();
    void oldVorn1KnowsNoVersionQuery();
    void bootstrap_data();
    void bootstrap();
    void settingsAreKept();
    void flashSlot();
    void flashSlotsAreSeparate();
    void escapesInBothDirections();
    void scriptDownload();
    void scriptDownloadStartsAnew();
    void newConversation();
    void commandsInPieces();
    void twoCommandsInOneRead();
    void answersFromInsideAnAnswer();
    void recording();
};

void tst_commands::reply_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("device request, device descriptor")
        << "01 02 80 06 0001 0000 1200"_hex
        << "81 00 1201100100000008f305070020030000 0001"_hex;
    QTest::newRow("device request, nobody there") << "01 05 80 06 0001 0000 1200"_hex
                                                  << "81 80"_hex;
    QTest::newRow("device request, stall") << "01 02 80 06 0003 0904 ff00"_hex
                                           << "81 0e"_hex;
    QTest::newRow("manual mode, device descriptor")
        << "01 82 07 80 06 0001 0000 1200"_hex
        << "81 00 1201100100000008f305070020030000 0001"_hex;
    QTest::newRow("manual mode, nobody there") << "01 85 00 80 06 0001 0000 1200"_hex
                                               << "81 80"_hex;
    QTest::newRow("manual mode, data stage") << "01 82 03 00 09 0000 0000 0100 01"_hex
                                             << "81 00"_hex;
    QTest::newRow("manual mode, data stage too short") << "01 82 03 00 09 0000 0000 0200 01"_hex
                                                       << "81 86"_hex;
    QTest::newRow("vbus off") << "02 00"_hex
                              << "82"_hex;
    QTest::newRow("vbus on") << "02 01"_hex
                             << "82"_hex;
    QTest::newRow("suspend") << "03"_hex
                             << "83"_hex;
    QTest::newRow("resume") << "04"_hex
                            << "84"_hex;
    QTest::newRow("voltage") << "05 64"_hex
                             << "85"_hex;
    QTest::newRow("voltage 4.27") << "05 1b1b"_hex
                                  << "85"_hex;
    QTest::newRow("config value") << "07 01 03"_hex
                                  << "87"_hex;
    QTest::newRow("auto recovery") << "07 02 00"_hex
                                   << "87"_hex;
    QTest::newRow("high-speed inhibit") << "07 06 01"_hex
                                        << "87"_hex;
    QTest::newRow("reset") << "08"_hex
                           << "88"_hex;
    QTest::newRow("data port") << "0a ff"_hex
                               << "8a"_hex;
    QTest::newRow("port status") << "0b"_hex
                                 << "8b 44"_hex;
    QTest::newRow("download start") << "0c"_hex
                                    << "8c"_hex;
    QTest::newRow("run") << "0d"_hex
                         << "8d"_hex;
    // 116 mA (16 and 100, neither device configured) at 2.9593 uA a count: 39198
    QTest::newRow("current") << "0e"_hex
                             << "8e 0000991e"_hex;
    QTest::newRow("version") << "0f"_hex
                             << "8f 02 03 0c 00 40"_hex;
    QTest::newRow("download end outside a download") << "21"_hex
                                                     << "a0 0000 21"_hex;
    QTest::newRow("flash enable, empty slot") << "31 00 01"_hex
                                              << "b1"_hex;
    QTest::newRow("flash disable, empty slot") << "31 00 00"_hex
                                               << "b1"_hex;
    QTest::newRow("flash program") << "31 00 02 4142434445464748"_hex
                                   << "b1"_hex;
    QTest::newRow("flash info, empty slot") << "31 00 03"_hex
                                            << "b1 ff 2020202020202020"_hex;
    QTest::newRow("firmware start") << "32 00020000"_hex
                                    << "b2"_hex;
    QTest::newRow("config write") << "35 0100 aa"_hex
                                  << "b5"_hex;
    QTest::newRow("config read, network record")
        << "36 0010 0012"_hex
        << "b6 c000020a c0000201 ffffff00 02564f524e02"_hex;
    QTest::newRow("config read, nothing") << "36 0010 0000"_hex
                                          << "b6"_hex;
    QTest::newRow("config read, last byte") << "36 ffff 0001"_hex
                                            << "b6 ff"_hex;
    QTest::newRow("bytes to spare") << "0f 00 00"_hex
                                    << "8f 02 03 0c 00 40"_hex;
}

void tst_commands::reply()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Talk talk;
    QCOMPARE(talk.ask(command).toHex(' '), packet(answer).toHex(' '));
}

void tst_commands::commandError_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("no code at all") << QByteArray();
    QTest::newRow("code 00") << "00"_hex;
    QTest::newRow("code 06") << "06 00"_hex;
    QTest::newRow("code 09") << "09"_hex;
    QTest::newRow("code 37") << "37"_hex;
    QTest::newRow("code ff") << "ff"_hex;
    QTest::newRow("a reply's code") << "8f"_hex;
    QTest::newRow("vbus without flag") << "02"_hex;
    QTest::newRow("voltage without code") << "05"_hex;
    QTest::newRow("option without value") << "07 00"_hex;
    QTest::newRow("unknown option") << "07 03 01"_hex;
    QTest::newRow("config value 4") << "07 01 04"_hex;
    QTest::newRow("setup packet cut short") << "01 02 80 06 0001 0000 12"_hex;
    QTest::newRow("setup packet of the manual mode cut short") << "01 82 07 80 06 0001 0000 12"_hex;
    QTest::newRow("flash without operation") << "31 00"_hex;
    QTest::newRow("flash operation 4") << "31 00 04"_hex;
    QTest::newRow("flash name of 7") << "31 00 02 41424344454647"_hex;
    QTest::newRow("firmware length of 3 bytes") << "32 000001"_hex;
    QTest::newRow("firmware block of none") << "33"_hex;
    QTest::newRow("firmware block of 4097") << "33"_hex + QByteArray(4097, 'x');
    QTest::newRow("firmware block without a start") << "33 010203"_hex;
    QTest::newRow("check value of 3 bytes") << "34 cbf439"_hex;
    QTest::newRow("firmware program without an image") << "34 00000000"_hex;
    QTest::newRow("config write of none") << "35 0010"_hex;
    QTest::newRow("config write past the end") << "35 ffff aabb"_hex;
    QTest::newRow("config read without count") << "36 0010"_hex;
    QTest::newRow("config read past the end") << "36 ffff 0002"_hex;
}

void tst_commands::commandError()
{
    QFETCH(QByteArray, command);
    Talk talk;
    QCOMPARE(talk.ask(command), packet("95"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // and it goes on
}

void tst_commands::version_data()
{
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<QByteArray>("answer");
    const auto special = [](Settings settings) {
        settings.special = true;
        return settings;
    };
    const auto booting = [](Settings settings) {
        settings.bootstrap = true;
        return settings;
    };
    QTest::newRow("vorn 1 as it comes") << Settings::vorn1() << "8f 00 02 11 0020"_hex;
    QTest::newRow("vorn 2 as it comes") << Settings::vorn2() << "8f 02 03 0c 0040"_hex;
    QTest::newRow("vorn 1, 2.9") << release(1, 2, 9, 32) << "8f 00 02 09 0020"_hex;
    QTest::newRow("vorn 1 special") << special(release(1, 2, 17, 32)) << "8f 01 02 11 0020"_hex;
    QTest::newRow("vorn 2 special") << special(release(2, 4, 0, 300)) << "8f 03 04 00 012c"_hex;
    QTest::newRow("vorn 2 bootstrap") << booting(release(2, 1, 4, 64)) << "8f 82 01 04 0040"_hex;
    QTest::newRow("vorn 1 has no bootstrap")
        << booting(release(1, 2, 17, 32)) << "8f 00 02 11 0020"_hex;
    QTest::newRow("minor 27 is escaped") << release(2, 3, 27, 27) << "8f 02 03 1b1b 00 1b1b"_hex;
    QTest::newRow("old, but a vorn 2") << release(2, 1, 0, 64) << "8f 02 01 00 0040"_hex;
}

void tst_commands::version()
{
    QFETCH(Settings, settings);
    QFETCH(QByteArray, answer);
    Talk talk(settings);
    QCOMPARE(talk.ask("0f"_hex).toHex(' '), packet(answer).toHex(' '));
}

void tst_commands::oldVorn1KnowsNoVersionQuery_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::newRow("2.8") << 2 << 8;
    QTest::newRow("2.0") << 2 << 0;
    QTest::newRow("1.20") << 1 << 20;
}

void tst_commands::oldVorn1KnowsNoVersionQuery()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    Talk talk(release(1, static_cast<quint8>(major), static_cast<quint8>(minor), 32));
    QCOMPARE(talk.ask("0f"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    // Nor the form of the manual mode: it looks for a device at 0x82.
    QCOMPARE(talk.ask("01 82 07 80 06 0001 0000 1200"_hex), packet("81 80"_hex));
}

void tst_commands::bootstrap_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("version") << "0f"_hex
                             << "8f 82 01 04 0040"_hex;
    QTest::newRow("port status") << "0b"_hex
                                 << "8b 44"_hex;
    QTest::newRow("firmware start") << "32 00000100"_hex
                                    << "b2"_hex;
    for (const char *other :
         {"01 02 80 06 0001 0000 1200", "02 01", "03", "04", "05 64", "07 00 01", "08", "0a ff",
          "0c", "0d", "0e", "21", "22 01", "31 00 03", "35 0010 00", "36 0010 0012"})
        QTest::newRow(other) << QByteArray::fromHex(other) << "95"_hex;
}

void tst_commands::bootstrap()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Talk talk(bootstrapLoader());
    QCOMPARE(talk.ask(command), packet(answer));
}

void tst_commands::settingsAreKept()
{
    Talk talk;
    const TesterState &state = talk.tester().state();
    talk.ask("05 1b1b"_hex);
    QCOMPARE(int{state.port.voltageCode()}, 27);
    talk.ask("0a 1b1b"_hex);
    QCOMPARE(int{state.dataPort}, 27);
    talk.ask("07 01 03"_hex);
    QCOMPARE(int{state.configValue}, 3);
    talk.ask("07 02 01"_hex);
    QVERIFY(state.port.autoRecovery());
    talk.ask("07 02 00"_hex);
    QVERIFY(!state.port.autoRecovery());
    talk.ask("07 00 01"_hex);
    QVERIFY(state.automaticMode.isOn());
    QCOMPARE(talk.ask("22 01"_hex), QByteArray()); // the one command without a reply
    QVERIFY(state.script.option());
}

void tst_commands::flashSlot()
{
    Talk talk;
    talk.ask("31 00 01"_hex); // nothing there to enable
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 ff 2020202020202020"_hex));
    talk.ask("31 00 02 5363726970743020"_hex); // "Script0 "
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 5363726970743020"_hex));
    talk.ask("31 00 01"_hex);
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 01 5363726970743020"_hex));
    talk.ask("31 00 00"_hex);
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 5363726970743020"_hex));

    talk.tester().startConversation(); // another console sees the same
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 00 5363726970743020"_hex));
}

void tst_commands::flashSlotsAreSeparate()
{
    Talk talk;
    talk.ask("31 03 02 4142434445464748"_hex);
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 ff 2020202020202020"_hex));
    QCOMPARE(talk.ask("31 03 03"_hex), packet("b1 00 4142434445464748"_hex));
}

void tst_commands::escapesInBothDirections()
{
    Talk talk;
    // A message of ESC, S, E, ESC: every ESC of the body doubled, nothing else touched.
    talk.tester().reportMessage("1b 53 45 1b"_hex);
    QCOMPARE(talk.take(), packet("a8 1b1b 53 45 1b1b"_hex));
    // The address byte 0x1B arrives as one byte.
    talk.ask("01 1b1b 80 06 0001 0000 1200"_hex);
    QCOMPARE(talk.tester().commandsSeen().last(), "01 1b 80 06 0001 0000 1200"_hex);
}

void tst_commands::scriptDownload()
{
    Talk talk;
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("22 01"_hex), packet("a0 0000 22"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("a0 0001 02"_hex));
    QCOMPARE(talk.ask("01 02 40 a0 0000 0000 0100 1b1b"_hex), packet("a0 0002 01"_hex));
    QCOMPARE(talk.ask("21"_hex), packet("a0 0003 21"_hex));
    const QList<QByteArray> steps = {"22 01"_hex, "02 00"_hex, "01 02 40 a0 0000 0000 0100 1b"_hex,
                                     "21"_hex};
    QCOMPARE(talk.tester().state().script.steps(), steps);
    // Stored, not carried out; carried out again now that the download is over.
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    QCOMPARE(talk.ask("02 00"_hex), packet("82"_hex));
}

void tst_commands::scriptDownloadStartsAnew()
{
    Talk talk;
    talk.ask("0c"_hex);
    talk.ask("03"_hex);
    QCOMPARE(talk.ask("0c"_hex), packet("8c"_hex));
    QCOMPARE(talk.ask("04"_hex), packet("a0 0000 04"_hex));
}

void tst_commands::newConversation()
{
    Talk talk;
    talk.ask("0c"_hex);
    talk.tester().receive("1b53 02"_hex); // left in the middle of a packet
    talk.tester().startConversation();
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 03 0c 0040"_hex));
}

void tst_commands::commandsInPieces()
{
    Talk talk;
    const QByteArray bytes = packet("05 1b1b"_hex) + packet("0b"_hex);
    for (const char byte : bytes)
        talk.tester().receive(QByteArray(1, byte));
    QCOMPARE(talk.take(), packet("85"_hex) + packet("8b 44"_hex));
    QCOMPARE(int{talk.tester().state().port.voltageCode()}, 27);
}

void tst_commands::twoCommandsInOneRead()
{
    Talk talk;
    talk.tester().receive("00ff"_hex + packet("03"_hex) + "1b1b53"_hex + packet("04"_hex));
    QCOMPARE(talk.writes, (QList<QByteArray>{packet("83"_hex), packet("84"_hex)}));
}

void tst_commands::answersFromInsideAnAnswer()
{
    Talk talk;
    // A console that sends its next command as soon as it reads an answer.
    QList<QByteArray> commands = {packet("04"_hex), packet("08"_hex), packet("0b"_hex)};
    QObject::connect(&talk.tester(), &Tester::bytesReady, &talk.tester(), [&] {
        if (!commands.isEmpty())
            talk.tester().receive(commands.takeFirst());
    });
    talk.tester().receive(packet("03"_hex) + packet("0a 01"_hex));
    QCOMPARE(talk.take(), packet("83"_hex) + packet("8a"_hex) + packet("84"_hex) +
                              packet("88"_hex) + packet("8b 44"_hex));
}

void tst_commands::recording()
{
    Talk talk;
    talk.ask("0f"_hex);
    talk.ask(QByteArray());
    talk.ask("ee"_hex);
    QCOMPARE(talk.tester().commandsSeen(), (QList<QByteArray>{"0f"_hex, QByteArray(""), "ee"_hex}));
    talk.tester().clearCommandsSeen();
    talk.tester().setRecording(false);
    talk.ask("0f"_hex);
    QVERIFY(talk.tester().commandsSeen().isEmpty());
}

VANTREL_TEST(tst_commands)
#include "tst_commands.moc"
