// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FaultTable.h"
#include "simulator/OperatorCommands.h"
#include "simulator/ScriptTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

const QByteArray Programming = packet("b4"_hex);

/// A tester that counts its restarts.
struct UpdateTalk : ScriptTalk
{
    explicit UpdateTalk(const Settings &settings = Settings::vorn2()) : ScriptTalk(settings)
    {
        QObject::connect(&tester(), &Tester::restarted, [this] { ++restarts; });
    }

    /// Takes an image for a Vorn 2 of ten bytes, and begins to program it.
    QByteArray load(const QByteArray &revision, const QByteArray &checkValue)
    {
        ask("32 0000000a"_hex);
        ask("33 4e56 000000000000"_hex + revision);
        return ask("34"_hex + checkValue);
    }
    /// Revision 4.2.
    QByteArray load() { return load("0402"_hex, "e8d3c3b1"_hex); }

    int restarts = 0;
};

/// 10,000 bytes, 40 of them ESC: revision 4.27.
QByteArray bigImage()
{
    QByteArray image;
    for (int i = 0; i < 10'000; ++i)
        image.append(static_cast<char>(7 * i + i / 256));
    return image.replace(0, 2, "NV").replace(8, 2, "\x04\x1B");
}

QByteArray stuffed(QByteArray bytes)
{
    return bytes.replace("\x1B", "\x1B\x1B");
}

} // namespace

/// What follows the order to program: time, a restart, and the tester that is there afterwards.
class tst_firmwareupdate : public QObject
{
    Q_OBJECT

private slots:
    void wholeDownload();
    void vorn1();
    void revisions_data();
    void revisions();
    void shortImageTellsNoRevision();
    void awayHearsNothing();
    void awaySaysNothing();
    void nothingLeftOverFromBefore();
    void commandsBehindTheOrder();
    void restartIsAPowerUp();
    void devicesStartAnew();
    void flashAndConfigurationStay();
    void runningScriptEnds();
    void orderedByAScript();
    void consoleComesAndGoesMeanwhile();
    void nextImageWhileInTheBootLoader();
    void corruptImage();
    void corruptImageOnAVorn1();
    void corruptionByText();
};

void tst_firmwareupdate::wholeDownload()
{
    UpdateTalk talk;
    const QByteArray image = bigImage();
    QCOMPARE(image.size(), 10'000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 03 0c 0040"_hex));
    QCOMPARE(talk.ask("32 00002710"_hex), packet("b2"_hex));
    QCOMPARE(talk.ask("33"_hex + stuffed(image.left(4096))), packet("b3 00001000"_hex));
    QCOMPARE(talk.ask("33"_hex + stuffed(image.mid(4096, 4096))), packet("b3 00002000"_hex));
    QCOMPARE(talk.ask("33"_hex + stuffed(image.mid(8192))), packet("b3 00002710"_hex));
    QCOMPARE(talk.ask("34 14bf9bd3"_hex), Programming);

    QCOMPARE(talk.after(999), QByteArray());
    QCOMPARE(talk.restarts, 0);
    QCOMPARE(talk.after(1), QByteArray());
    QCOMPARE(talk.restarts, 1);
    QCOMPARE(talk.drops, 0); // a serial line is not pulled
    QCOMPARE(talk.after(499), QByteArray());
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
    QCOMPARE(talk.after(1), QByteArray());
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 03 0c 0040"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("95"_hex));
    QCOMPARE(talk.after(999), QByteArray());
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 03 0c 0040"_hex));
    QCOMPARE(talk.after(1), QByteArray());
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 04 1b1b 0040"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex));
    QCOMPARE(talk.tester().state().firmware.programmed(), image);

    QCOMPARE(talk.after(10'000), QByteArray());
    QCOMPARE(talk.restarts, 1);
}

void tst_firmwareupdate::vorn1()
{
    UpdateTalk talk(Settings::vorn1());
    talk.ask("32 0000000a"_hex);
    talk.ask("33 000000000000 0400 0212"_hex);
    QCOMPARE(talk.ask("34 ad67eceb"_hex), Programming);
    talk.after(1000);
    QCOMPARE(talk.restarts, 1);
    talk.after(499);
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
    talk.after(1);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 00 02 12 0020"_hex)); // it has no boot loader
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex));
}

void tst_firmwareupdate::revisions_data()
{
    QTest::addColumn<QByteArray>("revision");
    QTest::addColumn<QByteArray>("checkValue");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("4.2") << "0402"_hex
                         << "e8d3c3b1"_hex
                         << "8f 02 0402 0040"_hex;
    QTest::newRow("5.0") << "0500"_hex
                         << "1fc693dc"_hex
                         << "8f 02 0500 0040"_hex;
    QTest::newRow("0.255") << "00ff"_hex
                           << "4fb38814"_hex
                           << "8f 02 00ff 0040"_hex;
    QTest::newRow("untold, erased") << "ffff"_hex
                                    << "dc977566"_hex
                                    << "8f 02 030c 0040"_hex;
    QTest::newRow("untold, zero") << "0000"_hex
                                  << "62b16799"_hex
                                  << "8f 02 030c 0040"_hex;
}

void tst_firmwareupdate::revisions()
{
    QFETCH(QByteArray, revision);
    QFETCH(QByteArray, checkValue);
    QFETCH(QByteArray, answer);
    UpdateTalk talk;
    QCOMPARE(talk.load(revision, checkValue), Programming);
    talk.after(2500);
    QCOMPARE(talk.ask("0f"_hex), packet(answer));
}

void tst_firmwareupdate::shortImageTellsNoRevision()
{
    UpdateTalk talk;
    talk.ask("32 00000009"_hex);
    talk.ask("33 4e56 000000000000 09"_hex);
    QCOMPARE(talk.ask("34 1acc8ede"_hex), Programming);
    talk.after(2500);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 030c 0040"_hex));
    QCOMPARE(talk.tester().state().firmware.programmed().size(), 9);
}

void tst_firmwareupdate::awayHearsNothing()
{
    UpdateTalk talk;
    talk.load();
    talk.tester().clearCommandsSeen();
    QCOMPARE(talk.ask("35 0010 0a000001"_hex), QByteArray());
    talk.after(1200);
    QCOMPARE(talk.ask("35 0010 0a000001"_hex), QByteArray());
    talk.tester().receive("1b53 0f"_hex); // half a packet
    QVERIFY(talk.tester().commandsSeen().isEmpty());
    talk.after(300);
    talk.tester().receive("1b45"_hex);
    QCOMPARE(talk.take(), QByteArray());
    talk.after(1000);
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 c000020a"_hex));
}

void tst_firmwareupdate::awaySaysNothing()
{
    UpdateTalk talk;
    talk.ask("07 00 01"_hex);
    talk.load();
    talk.tester().reportTrigger(1);
    talk.tester().detach(0x03);
    QCOMPARE(talk.take(), QByteArray());
    talk.after(1499);
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), QByteArray());
    talk.after(1);
    talk.tester().reportTrigger(1);
    QCOMPARE(talk.take(), packet("96 01"_hex));
    QCOMPARE(talk.after(1000), QByteArray()); // automatic mode is off: nothing is made up for
}

void tst_firmwareupdate::nothingLeftOverFromBefore()
{
    UpdateTalk talk;
    talk.faults().delay = 1100;
    QCOMPARE(talk.load(), QByteArray());
    QCOMPARE(talk.after(5000), QByteArray()); // the replies were still on their way
    talk.faults().delay = 0;
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 0402 0040"_hex));
}

void tst_firmwareupdate::commandsBehindTheOrder()
{
    UpdateTalk talk;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    talk.tester().receive(packet("34 e8d3c3b1"_hex) + packet("35 0010 0a000001"_hex) +
                          packet("0f"_hex));
    QCOMPARE(talk.take(), Programming);
    talk.after(2500);
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 c000020a"_hex));
}

void tst_firmwareupdate::restartIsAPowerUp()
{
    UpdateTalk talk;
    talk.ask("05 96"_hex);
    talk.ask("07 00 01"_hex);
    talk.ask("07 01 03"_hex);
    talk.ask("07 02 01"_hex);
    talk.ask("07 06 01"_hex);
    talk.ask("0a ff"_hex);
    talk.download({"0b"_hex});
    talk.ask("02 00"_hex);
    QCOMPARE(talk.load(), Programming);
    talk.after(2500);

    const TesterState &state = talk.tester().state();
    QCOMPARE(int{state.port.voltageCode()}, 100);
    QVERIFY(state.port.vbus());
    QVERIFY(!state.port.autoRecovery());
    QVERIFY(!state.port.highSpeedInhibit());
    QVERIFY(!state.automaticMode.isOn());
    QCOMPARE(int{state.configValue}, 0);
    QCOMPARE(int{state.dataPort}, 0);
    QVERIFY(talk.steps().isEmpty());
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Connects);
}

void tst_firmwareupdate::devicesStartAnew()
{
    UpdateTalk talk;
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("01 02 80 08 0000 0000 0100"_hex), packet("81 00 01"_hex)); // configured
    talk.ask("03"_hex);
    talk.load();
    talk.after(2500);
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // awake
    QCOMPARE(talk.ask("01 02 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex));
}

void tst_firmwareupdate::flashAndConfigurationStay()
{
    UpdateTalk talk;
    talk.download({"0b"_hex});
    talk.ask("31 00 02 4e69676874202020"_hex);
    talk.ask("31 00 01"_hex);
    talk.ask("35 0010 0a000001"_hex);
    talk.load();
    talk.after(2500);
    QCOMPARE(talk.ask("31 00 03"_hex), packet("b1 01 4e69676874202020"_hex));
    QCOMPARE(talk.ask("36 0010 0004"_hex), packet("b6 0a000001"_hex));
}

void tst_firmwareupdate::runningScriptEnds()
{
    UpdateTalk talk;
    talk.download({"0b"_hex, "02 00"_hex});
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    talk.ask("0d"_hex);
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), Programming);
    talk.after(999);
    QVERIFY(talk.tester().state().port.vbus());
    QCOMPARE(talk.after(4000), QByteArray());
}

void tst_firmwareupdate::orderedByAScript()
{
    UpdateTalk talk;
    talk.download(
        {"32 0000000a"_hex, "33 4e56 000000000000 0402"_hex, "34 e8d3c3b1"_hex, "0b"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(15), packet("a0 0000 b2"_hex) + packet("a0 0001 b3 0000000a"_hex) +
                                 packet("a0 0002 b4"_hex));
    QCOMPARE(talk.after(1000), QByteArray());
    QCOMPARE(talk.restarts, 1);
    talk.after(1500);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 0402 0040"_hex));
}

void tst_firmwareupdate::consoleComesAndGoesMeanwhile()
{
    UpdateTalk talk;
    talk.load();
    talk.tester().startConversation();
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
    talk.after(1500);
    talk.tester().startConversation();
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 030c 0040"_hex));
    talk.after(1000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 0402 0040"_hex));
}

void tst_firmwareupdate::nextImageWhileInTheBootLoader()
{
    UpdateTalk talk;
    talk.load();
    talk.after(2000);
    QCOMPARE(talk.load("0500"_hex, "1fc693dc"_hex), Programming);
    talk.after(500); // when the first would have started
    QCOMPARE(talk.ask("0f"_hex), QByteArray());
    talk.after(1000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 030c 0040"_hex));
    talk.after(1000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 0500 0040"_hex));
    QCOMPARE(talk.restarts, 2);
}

void tst_firmwareupdate::corruptImage()
{
    UpdateTalk talk;
    talk.faults().firmwareCorrupts = true;
    QCOMPARE(talk.load(), Programming);
    talk.after(60'000);
    QCOMPARE(talk.restarts, 1);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 030c 0040"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("95"_hex));

    talk.faults().firmwareCorrupts = false; // and it can be cured
    QCOMPARE(talk.load(), Programming);
    talk.after(2500);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 0402 0040"_hex));
}

void tst_firmwareupdate::corruptImageOnAVorn1()
{
    UpdateTalk talk(Settings::vorn1());
    talk.faults().firmwareCorrupts = true;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 000000000000 0400 0212"_hex);
    talk.ask("34 ad67eceb"_hex);
    talk.after(1500);
    QCOMPARE(talk.restarts, 1);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 00 0211 0020"_hex));
}

void tst_firmwareupdate::corruptionByText()
{
    Talk talk;
    const OperatorCommands commands(talk.tester());
    QCOMPARE(commands.run(QStringLiteral("fault firmware-corrupts on")), QString());
    QVERIFY(talk.tester().faults().firmwareCorrupts);
    for (const char *wrong : {"", "1", "ON", "yes"})
        QVERIFY2(!findFault(QStringLiteral("firmware-corrupts"))
                      ->set(talk.tester().faults(), QString::fromLatin1(wrong)),
                 wrong);
    QVERIFY(talk.tester().faults().firmwareCorrupts);
    QCOMPARE(commands.run(QStringLiteral("fault firmware-corrupts off")), QString());
    QVERIFY(!talk.tester().faults().firmwareCorrupts);
}

VANTREL_TEST(tst_firmwareupdate)
#include "tst_firmwareupdate.moc"
