// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QTest>

#include <limits>

using namespace vantrel;
using namespace vantrel::test;

using Send = std::function<void(ProtocolBench &)>;

namespace {

/// The bytes of a body on the wire, escapes already in it.
QByteArray framed(const QByteArray &body)
{
    return "1b53"_hex + body + "1b45"_hex;
}

} // namespace

/// Every command, byte for byte.
class TestVornCommands : public QObject
{
    Q_OBJECT

private slots:
    void bytes_data();
    void bytes();
    void deviceRequestBlockComesBackDoubled();
    void voltage_data();
    void voltage();
    void everyVoltageCode();
    void voltageControls();
    void flashName_data();
    void flashName();
    void flashStatusIsCleared_data();
    void flashStatusIsCleared();
    void largestFirmwareBlock();
    void argumentErrors_data();
    void argumentErrors();
    void runScriptOwnsTheLinkFirst();
    void restoreAutoMode_data();
    void restoreAutoMode();
    void lastPacketStays();
    void withoutALink();
};

void TestVornCommands::bytes_data()
{
    QTest::addColumn<Send>("send");
    QTest::addColumn<QByteArray>("body");

    const auto row = [](const char *name, const QByteArray &body, const Send &send) {
        QTest::newRow(name) << send << body;
    };
    using Bench = ProtocolBench &;
    const auto request = [](const char *block) -> Send {
        return [bytes = QByteArray::fromHex(block)](Bench b) {
            QByteArray copy = bytes;
            b.commands.SendDeviceRequest(copy);
        };
    };

    row("device request", "01 02 8006 0001 0000 1200"_hex, request("02 80 06 00 01 00 00 12 00"));
    row("device request, string 2", "01 02 8006 0203 0904 ff00"_hex,
        request("02 80 06 02 03 09 04 ff 00"));
    row("device request, ESC doubled", "01 1b1b 8006 1b1b03 0904 1b1b00"_hex,
        request("1b 80 06 1b 03 09 04 1b 00"));
    row("device request with data", "01 02 40a0 00e6 0000 0300 1b1b 45 1b1b"_hex,
        request("02 40 a0 00 e6 00 00 03 00 1b 45 1b"));
    row("device request, empty", "01"_hex, request(""));

    row("Vbus on", "02 01"_hex, [](Bench b) { b.commands.SendVbusEnable(true); });
    row("Vbus off", "02 00"_hex, [](Bench b) { b.commands.SendVbusEnable(false); });
    row("suspend", "03"_hex, [](Bench b) { b.commands.SendSuspend(); });
    row("resume", "04"_hex, [](Bench b) { b.commands.SendResume(); });
    row("auto mode on", "07 00 01"_hex, [](Bench b) { b.commands.SendAutoMode(true); });
    row("auto mode off", "07 00 00"_hex, [](Bench b) { b.commands.SendAutoMode(false); });
    row("auto recovery on", "07 02 01"_hex, [](Bench b) { b.commands.SendVbusAutoRecovery(true); });
    row("auto recovery off", "07 02 00"_hex,
        [](Bench b) { b.commands.SendVbusAutoRecovery(false); });
    row("high speed inhibited", "07 06 01"_hex,
        [](Bench b) { b.commands.SendHighSpeedInhibit(true); });
    row("high speed allowed", "07 06 00"_hex,
        [](Bench b) { b.commands.SendHighSpeedInhibit(false); });

    const auto config = [](int value) -> Send {
        return [value](Bench b) { b.commands.SendConfigValue(value); };
    };
    row("config value -1", "07 01 00"_hex, config(-1));
    row("config value 0", "07 01 00"_hex, config(0));
    row("config value 1", "07 01 01"_hex, config(1));
    row("config value 2", "07 01 02"_hex, config(2));
    row("config value 3", "07 01 03"_hex, config(3));
    row("config value 4", "07 01 03"_hex, config(4));
    row("config value 7", "07 01 03"_hex, config(7));
    row("config value, least", "07 01 00"_hex, config(std::numeric_limits<int>::min()));
    row("config value, most", "07 01 03"_hex, config(std::numeric_limits<int>::max()));

    row("USB reset", "08"_hex, [](Bench b) { b.commands.SendUsbReset(); });
    const auto port = [](int value) -> Send {
        return [value](Bench b) { b.commands.SendDataPort(value); };
    };
    row("data port 0", "0a 00"_hex, port(0));
    row("data port 0x1A", "0a 1a"_hex, port(0x1A));
    row("data port 0x1B", "0a 1b 1b"_hex, port(0x1B));
    row("data port 255", "0a ff"_hex, port(255));
    row("port status query", "0b"_hex, [](Bench b) { b.commands.SendPortStatusQuery(); });
    row("download start", "0c"_hex, [](Bench b) { b.commands.SendScriptDownloadStart(); });
    row("run script", "0d"_hex, [](Bench b) { b.commands.SendRunScript(); });
    row("current query", "0e"_hex, [](Bench b) { b.commands.SendCurrentQuery(); });
    row("version query", "0f"_hex, [](Bench b) { b.commands.SendVersionQuery(); });
    row("download end", "21"_hex, [](Bench b) { b.commands.SendScriptDownloadEnd(); });
    row("script option on", "22 01"_hex, [](Bench b) { b.commands.SendScriptOption(true); });
    row("script option off", "22 00"_hex, [](Bench b) { b.commands.SendScriptOption(false); });

    row("flash disable", "31 00 00"_hex,
        [](Bench b) { b.commands.SendFlashScriptEnable(0, false); });
    row("flash enable", "31 00 01"_hex, [](Bench b) { b.commands.SendFlashScriptEnable(0, true); });
    row("flash enable, last slot", "31 ff 01"_hex,
        [](Bench b) { b.commands.SendFlashScriptEnable(255, true); });
    row("flash info", "31 05 03"_hex, [](Bench b) { b.commands.SendFlashScriptInfoQuery(5); });
    row("flash info, slot 0x1B not doubled", "31 1b 03"_hex,
        [](Bench b) { b.commands.SendFlashScriptInfoQuery(0x1B); });

    const auto start = [](qint32 length) -> Send {
        return [length](Bench b) { b.commands.SendFirmwareStart(length); };
    };
    row("firmware start", "32 00 01 1b1b 02"_hex, start(0x00011B02));
    row("firmware start, 0", "32 00 00 00 00"_hex, start(0));
    row("firmware start, 0x20000", "32 00 02 00 00"_hex, start(0x20000));
    row("firmware start, all ESC", "32 1b1b 1b1b 1b1b 1b1b"_hex, start(0x1B1B1B1B));
    row("firmware start, largest", "32 7f ff ff ff"_hex, start(0x7FFFFFFF));
    row("firmware block, empty", "33"_hex, [](Bench b) { b.commands.SendFirmwareBlock({}); });
    row("firmware block", "33 00 1b1b 53 1b1b 45 ff"_hex,
        [](Bench b) { b.commands.SendFirmwareBlock("00 1b 53 1b 45 ff"_hex); });
    const auto program = [](quint32 check) -> Send {
        return [check](Bench b) { b.commands.SendFirmwareProgram(check); };
    };
    row("firmware program", "34 12 34 56 78"_hex, program(0x12345678));
    row("firmware program, ESC", "34 ff 1b1b 00 1b1b"_hex, program(0xFF1B001B));
    row("firmware program, largest", "34 ff ff ff ff"_hex, program(0xFFFFFFFF));

    const auto writeConfig = [](int address, const char *data) -> Send {
        return [address, bytes = QByteArray::fromHex(data)](Bench b) {
            b.commands.SendConfigMemoryWrite(address, bytes);
        };
    };
    row("config write", "35 00 10 c0a80001"_hex, writeConfig(0x0010, "c0 a8 00 01"));
    row("config write, high address", "35 ab cd 01"_hex, writeConfig(0xABCD, "01"));
    row("config write, ESC", "35 1b1b 1b1b 1b1b 00 1b1b"_hex, writeConfig(0x1B1B, "1b 00 1b"));
    row("config write, no data", "35 ff ff"_hex, writeConfig(0xFFFF, ""));

    const auto readConfig = [](int address, int count) -> Send {
        return [address, count](Bench b) {
            QByteArray buffer;
            b.commands.SendConfigMemoryRead(address, buffer, count);
            b.session.waits.closeAll();
        };
    };
    row("config read", "36 00 10 00 12"_hex, readConfig(0x0010, 18));
    row("config read, high bytes", "36 12 34 56 78"_hex, readConfig(0x1234, 0x5678));
    row("config read, ESC", "36 1b1b 00 00 1b1b"_hex, readConfig(0x1B00, 0x001B));
}

void TestVornCommands::bytes()
{
    QFETCH(Send, send);
    QFETCH(QByteArray, body);

    ProtocolBench bench;
    send(bench);

    QCOMPARE(bench.serial->written, QList<QByteArray>{framed(body)});
    QCOMPARE(bench.session.TxPacket, framed(body));
}

void TestVornCommands::deviceRequestBlockComesBackDoubled()
{
    ProtocolBench bench;
    QByteArray block = "1b 80 06 00 01 00 00 1b 00"_hex;
    bench.commands.SendDeviceRequest(block);
    QCOMPARE(block, "1b1b 80 06 00 01 00 00 1b1b 00"_hex);
}

void TestVornCommands::voltage_data()
{
    QTest::addColumn<float>("wanted");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<float>("sent");
    QTest::addColumn<QString>("text");

    QTest::newRow("3.9") << 3.9F << "05 19"_hex << 4.25F << QStringLiteral("4.25");
    QTest::newRow("3") << 3.0F << "05 19"_hex << 4.25F << QStringLiteral("4.25");
    QTest::newRow("0") << 0.0F << "05 19"_hex << 4.25F << QStringLiteral("4.25");
    QTest::newRow("-5") << -5.0F << "05 19"_hex << 4.25F << QStringLiteral("4.25");
    QTest::newRow("4.25") << 4.25F << "05 19"_hex << 4.25F << QStringLiteral("4.25");
    QTest::newRow("4.27") << 4.27F << "05 1b 1b"_hex << 4.27F << QStringLiteral("4.27");
    QTest::newRow("4.5") << 4.5F << "05 32"_hex << 4.5F << QStringLiteral("4.50");
    QTest::newRow("4.75") << 4.75F << "05 4b"_hex << 4.75F << QStringLiteral("4.75");
    QTest::newRow("5") << 5.0F << "05 64"_hex << 5.0F << QStringLiteral("5.00");
    QTest::newRow("5.003") << 5.003F << "05 64"_hex << 5.003F << QStringLiteral("5.00");
    QTest::newRow("5.007") << 5.007F << "05 65"_hex << 5.007F << QStringLiteral("5.01");
    QTest::newRow("5.5") << 5.5F << "05 96"_hex << 5.5F << QStringLiteral("5.50");
    QTest::newRow("6") << 6.0F << "05 96"_hex << 5.5F << QStringLiteral("5.50");
    QTest::newRow("infinite") << std::numeric_limits<float>::infinity() << "05 96"_hex << 5.5F
                              << QStringLiteral("5.50");
}

void TestVornCommands::voltage()
{
    QFETCH(float, wanted);
    QFETCH(QByteArray, body);
    QFETCH(float, sent);
    QFETCH(QString, text);

    ProtocolBench bench;
    bench.session.VbusVolts = wanted;
    bench.commands.SendVbusVoltage();

    QCOMPARE(bench.serial->written, QList<QByteArray>{framed(body)});
    QCOMPARE(bench.session.VbusVolts, sent);
    QCOMPARE(bench.session.VbusText, text);
    QCOMPARE(bench.session.Main.VoltWin.text(), text);
}

void TestVornCommands::everyVoltageCode()
{
    for (int code = 25; code <= 150; ++code) {
        ProtocolBench bench;
        const QByteArray typed = QByteArray::number(4 + code / 100) + '.' +
                                 QByteArray::number(code % 100).rightJustified(2, '0');
        bench.session.VbusVolts = typed.toFloat();
        bench.commands.SendVbusVoltage();

        QByteArray body = "05"_hex + static_cast<char>(code);
        if (code == 27)
            body.append('\x1B');
        QCOMPARE(bench.serial->writtenBytes(), framed(body));
        QCOMPARE(bench.session.VbusText, QString::fromLatin1(typed));
    }
}

void TestVornCommands::voltageControls()
{
    ProtocolBench bench;
    MainControls &main = bench.session.Main;
    main.VoltWin.setEnabled(false);
    main.VoltSet.setEnabled(true);
    bench.session.VbusVolts = 5;
    bench.commands.SendVbusVoltage();
    QVERIFY(main.VoltWin.isEnabled());
    QVERIFY(!main.VoltSet.isEnabled());
}

void TestVornCommands::flashName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("sent");

    QTest::newRow("short") << QStringLiteral("AB") << QByteArray("AB      ");
    QTest::newRow("empty") << QString() << QByteArray("        ");
    QTest::newRow("one") << QStringLiteral("x") << QByteArray("x       ");
    QTest::newRow("seven") << QStringLiteral("ABCDEFG") << QByteArray("ABCDEFG ");
    QTest::newRow("eight") << QStringLiteral("ABCDEFGH") << QByteArray("ABCDEFGH");
    QTest::newRow("ten") << QStringLiteral("ABCDEFGHIJ") << QByteArray("ABCDEFGH");
    QTest::newRow("blanks inside") << QStringLiteral("A B") << QByteArray("A B     ");
    QTest::newRow("ESC as it stands") << QStringLiteral("A\x1B") << QByteArray("A\x1B      ");
    QTest::newRow("one byte a character")
        << QString::fromLatin1("\xC4\xFF") << QByteArray("\xC4\xFF      ");
}

void TestVornCommands::flashName()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, sent);

    ProtocolBench bench;
    bench.session.FlashScriptName = name;
    bench.commands.SendFlashScriptProgram(7);

    QCOMPARE(bench.serial->written, QList<QByteArray>{framed("31 07 02"_hex + sent)});
    QVERIFY(bench.session.FlashScriptName.size() <= 8);
    if (name.size() >= 8)
        QCOMPARE(bench.session.FlashScriptName, name.left(8));
}

void TestVornCommands::flashStatusIsCleared_data()
{
    QTest::addColumn<Send>("send");

    using Bench = ProtocolBench &;
    QTest::newRow("disable") << Send([](Bench b) { b.commands.SendFlashScriptEnable(0, false); });
    QTest::newRow("enable") << Send([](Bench b) { b.commands.SendFlashScriptEnable(0, true); });
    QTest::newRow("program") << Send([](Bench b) { b.commands.SendFlashScriptProgram(0); });
    QTest::newRow("info") << Send([](Bench b) { b.commands.SendFlashScriptInfoQuery(0); });
}

void TestVornCommands::flashStatusIsCleared()
{
    QFETCH(Send, send);

    ProtocolBench bench;
    for (const qint16 stale : {qint16{1}, qint16{2}, qint16{-1}}) {
        bench.session.FlashStatus = stale;
        send(bench);
        QCOMPARE(bench.session.FlashStatus, qint16{0});
    }
}

void TestVornCommands::largestFirmwareBlock()
{
    ProtocolBench bench;
    bench.commands.SendFirmwareBlock(QByteArray(4096, '\x1B'));
    QCOMPARE(bench.serial->writtenBytes(), framed("33"_hex + QByteArray(8192, '\x1B')));
    bench.serial->takeWritten();
    bench.commands.SendFirmwareBlock(QByteArray(4096, 'x'));
    QCOMPARE(bench.serial->writtenBytes(), framed("33"_hex + QByteArray(4096, 'x')));
}

namespace {

/// Starts the read and rethrows what it raises before its first wait.
void readConfig(ProtocolBench &bench, int address, int count)
{
    std::optional<RuntimeError> raised;
    QByteArray buffer;
    [](VornCommands &commands, QByteArray &into, int from, int bytes,
       std::optional<RuntimeError> &error) -> QCoro::Task<> {
        try {
            co_await commands.SendConfigMemoryRead(from, into, bytes);
        } catch (const RuntimeError &thrown) {
            error = thrown;
        }
    }(bench.commands, buffer, address, count, raised);
    bench.session.waits.closeAll();
    if (raised)
        throw RuntimeError(*raised);
}

} // namespace

void TestVornCommands::argumentErrors_data()
{
    QTest::addColumn<Send>("send");

    using Bench = ProtocolBench &;
    const auto row = [](const char *name, const Send &send) { QTest::newRow(name) << send; };
    row("data port -1", [](Bench b) { b.commands.SendDataPort(-1); });
    row("data port 256", [](Bench b) { b.commands.SendDataPort(256); });
    row("slot -1", [](Bench b) { b.commands.SendFlashScriptEnable(-1, true); });
    row("slot 256", [](Bench b) { b.commands.SendFlashScriptInfoQuery(256); });
    row("program slot 256", [](Bench b) { b.commands.SendFlashScriptProgram(256); });
    row("firmware length -1", [](Bench b) { b.commands.SendFirmwareStart(-1); });
    row("block of 4097", [](Bench b) { b.commands.SendFirmwareBlock(QByteArray(4097, 'x')); });
    row("write address -1", [](Bench b) { b.commands.SendConfigMemoryWrite(-1, "x"); });
    row("write address 65536", [](Bench b) { b.commands.SendConfigMemoryWrite(65536, "x"); });
    row("read address -1", [](Bench b) { readConfig(b, -1, 1); });
    row("read address 65536", [](Bench b) { readConfig(b, 65536, 1); });
    row("read count -1", [](Bench b) { readConfig(b, 0, -1); });
    row("read count 65536", [](Bench b) { readConfig(b, 0, 65536); });
}

void TestVornCommands::argumentErrors()
{
    QFETCH(Send, send);

    ProtocolBench bench;
    bench.session.FlashStatus = 1;
    bench.session.ConfigReadDone = true;
    bench.session.FlashScriptName = QStringLiteral("name");
    const QStringList before = stateOf(bench.session);

    QCOMPARE(thrownBy([&] { send(bench); }), QLatin1String("Overflow"));

    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(stateOf(bench.session), before);
}

void TestVornCommands::runScriptOwnsTheLinkFirst()
{
    ProtocolBench bench;
    bench.link.CloseLink(); // so that sending shows a line, at which we look
    bool busyWhenSent = false;
    QObject::connect(&bench.session.Main.CmdWin, &Control::appended, this,
                     [&] { busyWhenSent = bench.session.ScriptBusy; });
    bench.commands.SendRunScript();
    QVERIFY(busyWhenSent);
    QVERIFY(bench.session.ScriptBusy);
}

void TestVornCommands::restoreAutoMode_data()
{
    QTest::addColumn<bool>("ticked");
    QTest::addColumn<QList<QByteArray>>("written");

    QTest::newRow("ticked") << true << QList<QByteArray>{framed("07 00 01"_hex)};
    QTest::newRow("not ticked") << false << QList<QByteArray>();
}

void TestVornCommands::restoreAutoMode()
{
    QFETCH(bool, ticked);
    QFETCH(QList<QByteArray>, written);

    ProtocolBench bench;
    bench.session.Main.Automode.setChecked(ticked);
    bench.session.leases.beginRun();
    bench.commands.RestoreAutoMode();
    QCOMPARE(bench.serial->written, written);
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.session.Main.Automode.isChecked(), ticked);
}

void TestVornCommands::lastPacketStays()
{
    ProtocolBench bench;
    bench.commands.SendSuspend();
    bench.dispatch("83"_hex);
    bench.tick(3);
    QCOMPARE(bench.session.TxPacket, framed("03"_hex));
    bench.commands.SendResume();
    QCOMPARE(bench.session.TxPacket, framed("04"_hex));
}

void TestVornCommands::withoutALink()
{
    ProtocolBench bench;
    bench.link.CloseLink();
    bench.commands.SendUsbReset();
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nNot connected: nothing was sent"));
    QCOMPARE(bench.session.TxPacket, framed("08"_hex));
}

VANTREL_TEST(TestVornCommands)
#include "tst_vorncommands.moc"
