// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Deframer.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QRandomGenerator>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A receiver that notes each packet.
struct Receiver
{
    qint16 state = 0;
    QByteArray body;
    QList<QByteArray> packets;

    void receive(QByteArrayView bytes)
    {
        deframe(state, body, bytes, [this] { packets.append(body); });
    }
};

/// The same, one byte at a time, as the table of states reads.
struct TableReceiver
{
    qint16 state = 0;
    QByteArray body;
    QList<QByteArray> packets;

    void receive(QByteArrayView bytes)
    {
        for (const char byte : bytes) {
            step(byte);
            if (state == 4) {
                packets.append(body);
                state = 0;
            }
        }
    }

private:
    void step(char byte)
    {
        switch (state) {
        case 0:
            state = byte == '\x1B' ? 1 : 0;
            break;
        case 1:
            if (byte == 'S')
                body.clear();
            state = byte == 'S' ? 2 : 0;
            break;
        case 2:
            if (byte != '\x1B')
                body.append(byte);
            state = byte == '\x1B' ? 3 : 2;
            break;
        case 3:
            if (byte == 'S')
                body.clear();
            else if (byte != 'E')
                body.append(byte);
            state = byte == 'E' ? 4 : 2;
            break;
        default:
            state = 0;
        }
    }
};

QList<QByteArray> packetsOf(QByteArrayView stream)
{
    Receiver receiver;
    receiver.receive(stream);
    return receiver.packets;
}

} // namespace

/// Cutting the received bytes into packets.
class TestDeframer : public QObject
{
    Q_OBJECT

private slots:
    void everyCell_data();
    void everyCell();
    void everyByte_data();
    void everyByte();
    void streams_data();
    void streams();
    void splitAnywhere_data() { streams_data(); }
    void splitAnywhere();
    void byteByByte_data() { streams_data(); }
    void byteByByte();
    void stateDuringHandOver();
    void bodyStaysAfterHandOver();
    void handOverMayReplaceTheBody();
    void nothingReceived();
    void allBytesThrough();
    void longBody();
    void garbageThenPacket();
    void agreesWithTheTable();
};

void TestDeframer::everyCell_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QByteArray>("byte");
    QTest::addColumn<int>("nextState");
    QTest::addColumn<QByteArray>("nextBody");
    QTest::addColumn<bool>("complete");

    const auto row = [](const char *name, int state, const QByteArray &byte, int nextState,
                        const QByteArray &nextBody, bool complete = false) {
        QTest::newRow(name) << state << byte << nextState << nextBody << complete;
    };
    row("0 ESC", 0, "\x1B", 1, "ab");
    row("0 S", 0, "S", 0, "ab");
    row("0 E", 0, "E", 0, "ab");
    row("0 other", 0, "A", 0, "ab");
    row("1 ESC", 1, "\x1B", 0, "ab");
    row("1 S", 1, "S", 2, "");
    row("1 E", 1, "E", 0, "ab");
    row("1 other", 1, "A", 0, "ab");
    row("2 ESC", 2, "\x1B", 3, "ab");
    row("2 S", 2, "S", 2, "abS");
    row("2 E", 2, "E", 2, "abE");
    row("2 other", 2, "A", 2, "abA");
    row("3 ESC", 3, "\x1B", 2, "ab\x1B");
    row("3 S", 3, "S", 2, "");
    row("3 E", 3, "E", 0, "ab", true);
    row("3 other", 3, "A", 2, "abA");
    for (const int corrupted : {-32768, -1, 5, 6, 100, 32767}) {
        for (const char *byte : {"\x1B", "S", "E", "A"})
            QTest::addRow("%d %s", corrupted, *byte == '\x1B' ? "ESC" : byte)
                << corrupted << QByteArray(byte) << 0 << QByteArray("ab") << false;
    }
}

void TestDeframer::everyCell()
{
    QFETCH(int, state);
    QFETCH(QByteArray, byte);
    QFETCH(int, nextState);
    QFETCH(QByteArray, nextBody);
    QFETCH(bool, complete);

    Receiver receiver{static_cast<qint16>(state), "ab", {}};
    receiver.receive(byte);

    QCOMPARE(receiver.state, static_cast<qint16>(nextState));
    QCOMPARE(receiver.body, nextBody);
    QCOMPARE(receiver.packets, complete ? QList<QByteArray>{"ab"} : QList<QByteArray>());
}

void TestDeframer::everyByte_data()
{
    QTest::addColumn<int>("state");

    for (int state = 0; state <= 3; ++state)
        QTest::addRow("state %d", state) << state;
}

void TestDeframer::everyByte()
{
    QFETCH(int, state);

    for (int value = 0; value < 256; ++value) {
        const QByteArray byte(1, static_cast<char>(value));
        Receiver receiver{static_cast<qint16>(state), "ab", {}};
        TableReceiver expected{static_cast<qint16>(state), "ab", {}};
        receiver.receive(byte);
        expected.receive(byte);
        QCOMPARE(receiver.state, expected.state);
        QCOMPARE(receiver.body, expected.body);
        QCOMPARE(receiver.packets, expected.packets);
    }
}

void TestDeframer::streams_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QList<QByteArray>>("packets");

    const auto row = [](const char *name, const QByteArray &stream,
                        const QList<QByteArray> &packets) {
        QTest::newRow(name) << stream << packets;
    };
    row("garbage in front, doubled ESC", "41 1b53 81 1b1b 07 1b45"_hex, {"81 1b 07"_hex});
    row("restart", "1b53 81 1b53 82 1b45"_hex, {"82"_hex});
    row("stray ESC dropped", "1b53 81 1b41 1b45"_hex, {"81 41"_hex});
    row("ESC ESC S starts nothing", "1b1b53 81 1b45"_hex, {});
    row("ESC ESC ESC S starts", "1b1b1b53 81 1b45"_hex, {"81"_hex});
    row("empty body", "1b53 1b45"_hex, {""});
    row("two packets", "1b53 83 1b45 1b53 84 1b45"_hex, {"83"_hex, "84"_hex});
    row("bytes between packets", "1b53 83 1b45 53450041 1b53 84 1b45"_hex, {"83"_hex, "84"_hex});
    row("end without start", "1b45 83 1b45"_hex, {});
    row("no end", "1b53 83 84"_hex, {});
    row("S and E in the body", "1b53 53 45 1b45"_hex, {"53 45"_hex});
    row("only ESC in the body", "1b53 1b1b 1b1b 1b45"_hex, {"1b 1b"_hex});
    row("doubled ESC, then E", "1b53 1b1b 45 1b45"_hex, {"1b 45"_hex});
    row("doubled ESC, then S", "1b53 81 1b1b 53 82 1b45"_hex, {"81 1b 53 82"_hex});
    row("restart at once", "1b53 1b53 81 1b45"_hex, {"81"_hex});
    row("stray ESC before zero", "1b53 1b00 1b45"_hex, {"00"_hex});
    row("wrong start, then right", "1b41 1b53 81 1b45"_hex, {"81"_hex});
    row("high bytes", "ff 1b53 80 9b ff 1b45 ff"_hex, {"80 9b ff"_hex});
}

void TestDeframer::streams()
{
    QFETCH(QByteArray, stream);
    QFETCH(QList<QByteArray>, packets);

    QCOMPARE(packetsOf(stream), packets);
}

void TestDeframer::splitAnywhere()
{
    QFETCH(QByteArray, stream);
    QFETCH(QList<QByteArray>, packets);

    for (qsizetype first = 0; first <= stream.size(); ++first) {
        for (qsizetype second = first; second <= stream.size(); ++second) {
            Receiver receiver;
            receiver.receive(QByteArrayView(stream).first(first));
            receiver.receive(QByteArrayView(stream).sliced(first, second - first));
            receiver.receive(QByteArrayView(stream).sliced(second));
            QCOMPARE(receiver.packets, packets);
        }
    }
}

void TestDeframer::byteByByte()
{
    QFETCH(QByteArray, stream);
    QFETCH(QList<QByteArray>, packets);

    Receiver receiver;
    for (qsizetype i = 0; i < stream.size(); ++i)
        receiver.receive(QByteArrayView(stream).sliced(i, 1));
    QCOMPARE(receiver.packets, packets);
}

void TestDeframer::stateDuringHandOver()
{
    qint16 state = 0;
    QByteArray body;
    qint16 seen = -1;
    deframe(state, body, "1b53 81 1b45"_hex, [&] { seen = state; });
    QCOMPARE(seen, qint16{4});
    QCOMPARE(state, qint16{0});
}

void TestDeframer::bodyStaysAfterHandOver()
{
    Receiver receiver;
    receiver.receive("1b53 81 07 1b45 4142 1b"_hex);
    QCOMPARE(receiver.body, "81 07"_hex);
    receiver.receive("53"_hex);
    QCOMPARE(receiver.body, QByteArray());
}

void TestDeframer::handOverMayReplaceTheBody()
{
    qint16 state = 0;
    QByteArray body;
    QList<QByteArray> packets;
    deframe(state, body, "1b53 a0 00 07 8d 1b45 1b53 83 1b45"_hex, [&] {
        packets.append(body);
        body = body.mid(3);
    });
    QCOMPARE(packets, (QList<QByteArray>{"a0 00 07 8d"_hex, "83"_hex}));
}

void TestDeframer::nothingReceived()
{
    Receiver receiver{2, "ab", {}};
    receiver.receive({});
    QCOMPARE(receiver.state, qint16{2});
    QCOMPARE(receiver.body, QByteArray("ab"));
    QCOMPARE(receiver.packets.size(), 0);
}

void TestDeframer::allBytesThrough()
{
    QByteArray body;
    QByteArray stream = "1b53"_hex;
    for (int value = 0; value < 256; ++value) {
        body.append(static_cast<char>(value));
        stream.append(value == 0x1B ? 2 : 1, static_cast<char>(value));
    }
    QCOMPARE(packetsOf(stream + "1b45"_hex), QList<QByteArray>{body});
}

void TestDeframer::longBody()
{
    const QByteArray body(5'000'000, 'x');
    QCOMPARE(packetsOf("1b53"_hex + body + "1b45"_hex), QList<QByteArray>{body});
}

void TestDeframer::garbageThenPacket()
{
    QRandomGenerator random(1);
    for (int round = 0; round < 2000; ++round) {
        Receiver receiver;
        QByteArray garbage(random.bounded(40), '\0');
        for (char &byte : garbage)
            byte = "\x1BSE\x81"[random.bounded(4)];
        receiver.receive(garbage);
        // Whatever came before, an "A" ends an open ESC and ESC "S" starts or restarts.
        receiver.receive("41 1b53 8b04 1b45"_hex);
        QCOMPARE(receiver.packets.last(), "8b04"_hex);
        QCOMPARE(receiver.state, qint16{0});
    }
}

void TestDeframer::agreesWithTheTable()
{
    QRandomGenerator random(2);
    const char frequent[] = {'\x1B', '\x1B', '\x1B', 'S', 'E', '\xFF'};
    qsizetype packets = 0;

    for (int round = 0; round < 300; ++round) {
        Receiver receiver;
        TableReceiver expected;
        for (int piece = 0; piece < 20; ++piece) {
            QByteArray bytes(random.bounded(200), '\0');
            for (char &byte : bytes)
                byte = random.bounded(3) ? frequent[random.bounded(6)]
                                         : static_cast<char>(random.bounded(256));
            receiver.receive(bytes);
            expected.receive(bytes);
            QCOMPARE(receiver.packets, expected.packets);
            QCOMPARE(receiver.state, expected.state);
            QCOMPARE(receiver.body, expected.body);
        }
        packets += receiver.packets.size();
    }
    QVERIFY2(packets > 2000, "the random streams hold too few packets to tell anything");
}

VANTREL_TEST(TestDeframer)
#include "tst_deframer.moc"
