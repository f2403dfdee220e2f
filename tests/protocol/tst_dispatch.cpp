// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QSet>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Unrecognized = "### Unrecognized Response From Tester ### \r\n";

// Every code that the tester is known to send by itself or in reply.
constexpr quint8 KnownCodes[] = {0x81, 0x82, 0x83, 0x84, 0x85, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C,
                                 0x8D, 0x8E, 0x8F, 0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
                                 0xA0, 0xA8, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB8, 0xB9, 0xBA};

bool isKnown(int code)
{
    return std::find(std::begin(KnownCodes), std::end(KnownCodes), code) != std::end(KnownCodes);
}

} // namespace

/// Which first byte runs which decoder.
class TestDispatch : public QObject
{
    Q_OBJECT

private slots:
    void everyCode_data();
    void everyCode();
    void unknownDoesNothingElse();
    void emptyPacket();
    void acknowledgement_data();
    void acknowledgement();
    void vbusReplyIsIgnored();
    void fromTheWire();
    void nothingIsAnswered();
};

void TestDispatch::everyCode_data()
{
    QTest::addColumn<int>("code");
    for (int code = 0; code < 256; ++code)
        QTest::addRow("0x%02X", code) << code;
}

void TestDispatch::everyCode()
{
    QFETCH(int, code);

    // Long enough for any decoder; fields of a script report with an inner code that is known.
    ProtocolBench bench;
    QByteArray packet = "00 00 05 21 00 00 00 00 00 00 00 00"_hex;
    packet[0] = static_cast<char>(code);
    bench.dispatch(packet);

    if (isKnown(code)) {
        QVERIFY(!bench.responses().contains("###"));
    } else {
        QCOMPARE(bench.responses(), Unrecognized);
        QCOMPARE(bench.commandPane(), QString());
    }
}

void TestDispatch::unknownDoesNothingElse()
{
    ProtocolBench expected;
    ShowResponseLine(expected.session, "### Unrecognized Response From Tester ### ");

    for (const QByteArray &packet :
         {"86"_hex, "86 01 02 03"_hex, "00"_hex, "ff"_hex, "a1 00 05"_hex, "b7"_hex, "0f"_hex}) {
        ProtocolBench bench;
        bench.dispatch(packet);
        QCOMPARE(stateOf(bench.session), stateOf(expected.session));
        QCOMPARE(bench.serial->written.size(), 0);
    }
}

void TestDispatch::emptyPacket()
{
    ProtocolBench bench;
    bench.dispatch({});
    QCOMPARE(bench.responses(), Unrecognized);
    bench.serial->receive("1b53 1b45"_hex);
    QCOMPARE(bench.responses(), Unrecognized + Unrecognized);
    QCOMPARE(bench.commandPane(), QString());
}

void TestDispatch::acknowledgement_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("text");

    const auto row = [](const QByteArray &code, const char *text) {
        QTest::addRow("0x%s", code.toHex().constData()) << code << QString::fromLatin1(text);
    };
    row("83"_hex, "Suspending");
    row("84"_hex, "Resuming");
    row("85"_hex, "Setting Vbus Voltage");
    row("87"_hex, "Configuring Tester");
    row("88"_hex, "Executing USB Reset");
    row("8a"_hex, "Programming Data Port");
    row("8c"_hex, "VornScript Download");
    row("8d"_hex, "Running Script");
    row("b2"_hex, "Starting Firmware Download");
    row("b4"_hex, "Programming Firmware");
    row("b5"_hex, "Writing Tester Configuration Memory");
}

void TestDispatch::acknowledgement()
{
    QFETCH(QByteArray, code);
    QFETCH(QString, text);

    ProtocolBench expected;
    ShowStatusLine(expected.session, text);

    for (const QByteArray &packet : {code, code + "00"_hex, code + "01 02 03 04 05 06 07 08"_hex}) {
        ProtocolBench bench;
        bench.dispatch(packet);
        QCOMPARE(bench.commandPane(), QLatin1String("\r\n") + text);
        QCOMPARE(stateOf(bench.session), stateOf(expected.session));
    }
}

void TestDispatch::vbusReplyIsIgnored()
{
    ProtocolBench bench;
    const QStringList before = stateOf(bench.session);
    for (const QByteArray &packet : {"82"_hex, "82 00"_hex, "82 01 02 03"_hex}) {
        bench.dispatch(packet);
        QCOMPARE(stateOf(bench.session), before);
    }
}

void TestDispatch::fromTheWire()
{
    ProtocolBench bench;
    bench.serial->receive("1b53 83 1b45 1b53 94 1b45 1b53 86 1b45"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nSuspending"));
    QCOMPARE(bench.responses(), "*** Vorn Fail \r\n" + Unrecognized);
}

void TestDispatch::nothingIsAnswered()
{
    // Two packets make the console send: the version reply and the end of a script run.
    for (int code = 0; code < 256; ++code) {
        if (code == 0x8F)
            continue;
        ProtocolBench bench;
        bench.dispatch(QByteArray(1, static_cast<char>(code)) + "00 05 21 00 00 00 00 00"_hex);
        QCOMPARE(bench.serial->written, QList<QByteArray>());
    }
}

VANTREL_TEST(TestDispatch)
#include "tst_dispatch.moc"
