// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/SendLimit.h"
#include "simulator/Talk.h"
#include "support/Resources.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

constexpr qint64 Mebibyte = 1 << 20;

/// A script of one-byte steps, as many as the tester numbers.
QByteArray longestScript()
{
    return packet("0c"_hex) + packet("03"_hex).repeated(0xFFFF) + packet("21"_hex);
}

} // namespace

/// What neither a client nor an operator can make the tester keep.
class tst_simulatorlimits : public QObject
{
    Q_OBJECT

private slots:
    void delayedPackets();
    void delayedFragments();
    void delayAfterADrop();
    void endlessCommand();
    void longestCommand();
    void startedAgainAndAgain();
    void overloadedAgainAndAgain();
    void flashMemory();
};

void tst_simulatorlimits::delayedPackets()
{
    Talk talk;
    QSignalSpy dropped(&talk.tester(), &Tester::packetsDropped);
    talk.tester().setRecording(false);
    talk.tester().faults().delay = 3'600'000;
    const QByteArray data(60'000, 'd');
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 1000; ++i) // 60 MB
        talk.tester().reportData(0x02, 0x81, data);
    QVERIFY(allocatedBytes() - before < SendLimit::Most + Mebibyte);
    QCOMPARE(dropped.size(), 1); // reported once
    talk.tester().clock().advance(3'600'000);
    const QByteArray report = packet("92 02 81"_hex + data);
    const QByteArray sent = talk.take();
    QCOMPARE(sent.size() % report.size(), qsizetype{0}); // whole ones only
    QVERIFY(sent.size() > SendLimit::Most - 2 * report.size());
    QVERIFY(sent.size() <= SendLimit::Most);
    QVERIFY(allocatedBytes() - before - sent.capacity() < Mebibyte);

    talk.tester().faults().delay = 0;
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex)); // there is room again
}

/// A fragment costs no more memory than its share of the packet.
void tst_simulatorlimits::delayedFragments()
{
    Talk talk;
    talk.tester().setRecording(false);
    talk.tester().faults().fragment = 1;
    talk.tester().faults().fragmentPause = 1000;
    const QByteArray data(60'000, 'd');
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 1000; ++i)
        talk.tester().reportData(0x02, 0x81, data);
    QVERIFY(allocatedBytes() - before < SendLimit::Most + Mebibyte);
    talk.tester().clock().advance(3000);
    QCOMPARE(talk.writes, (QList<QByteArray>{"1b"_hex, "53"_hex, "92"_hex, "02"_hex}));
}

/// What was delayed for one conversation leaves nothing behind.
void tst_simulatorlimits::delayAfterADrop()
{
    Talk talk;
    talk.tester().setRecording(false);
    talk.tester().faults().delay = 3'600'000;
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 20'000; ++i) {
        talk.ask("0b"_hex);
        talk.tester().startConversation();
    }
    QVERIFY(allocatedBytes() - before < 100'000);
    talk.tester().faults().delay = 10;
    talk.ask("0b"_hex);
    talk.tester().clock().advance(10);
    QCOMPARE(talk.take(), packet("8b 44"_hex));
}

void tst_simulatorlimits::endlessCommand()
{
    Talk talk;
    const qint64 before = allocatedBytes();
    talk.tester().receive("1b53"_hex);
    for (int i = 0; i < 1000; ++i)
        talk.tester().receive(QByteArray(65'536, 'x'));
    QVERIFY(allocatedBytes() - before < Mebibyte);
    talk.tester().receive("1b45"_hex); // the end of nothing
    QCOMPARE(talk.take(), QByteArray());
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

/// A device request with all the data that USB allows.
void tst_simulatorlimits::longestCommand()
{
    Talk talk;
    const QByteArray command = "01 02 40 00 0000 0000 ffff"_hex + QByteArray(65'535, 'd');
    for (qsizetype at = 0; at < command.size(); at += 4096)
        talk.tester().receive((at == 0 ? "1b53"_hex : QByteArray()) + command.mid(at, 4096));
    talk.tester().receive("1b45"_hex);
    QVERIFY(talk.take().startsWith("1b53 81"_hex));
    QCOMPARE(talk.tester().commandsSeen(), QList<QByteArray>{command});
}

void tst_simulatorlimits::startedAgainAndAgain()
{
    Talk talk;
    talk.tester().setRecording(false);
    talk.tester().receive(packet("0c"_hex) + packet("03"_hex) + packet("21"_hex));
    talk.take();
    const QByteArray runs = packet("0d"_hex).repeated(1000);
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 100; ++i) {
        talk.tester().receive(runs);
        talk.take();
    }
    QVERIFY(allocatedBytes() - before < 100'000);
    talk.tester().clock().advance(ScriptRun::StepTime);
    QCOMPARE(talk.take(), packet("a0 0000 83"_hex)); // once
}

void tst_simulatorlimits::overloadedAgainAndAgain()
{
    Talk talk;
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 100'000; ++i)
        talk.tester().overloadVbus();
    QVERIFY(allocatedBytes() - before < 100'000);
}

void tst_simulatorlimits::flashMemory()
{
    Talk talk;
    talk.tester().setRecording(false);
    talk.tester().faults().silence.all = true;
    const QByteArray script = longestScript();
    int refusals = 0;
    const auto program = [&](int slot) {
        talk.tester().receive(script);
        talk.tester().faults().silence.all = false;
        const QByteArray command =
            "31"_hex + QByteArray(1, static_cast<char>(slot)) + "02"_hex + "A script";
        const QByteArray answer = talk.ask(command);
        talk.tester().faults().silence.all = true;
        refusals += answer == packet("95"_hex) ? 1 : 0;
        return answer == packet("b1"_hex);
    };
    QVERIFY(program(0));
    for (int slot = 32; slot < 64; ++slot)
        program(slot);
    QVERIFY(refusals > 0);
    QVERIFY(program(0)); // in the place of the one that was there
    TesterState &state = talk.tester().state();
    qsizetype memory = 0;
    for (int slot = 0; slot < 256; ++slot) {
        for (const QByteArray &step : state.flash.slot(static_cast<quint8>(slot)).steps)
            memory += step.size() + 64;
    }
    QVERIFY(memory <= FlashMemory::Capacity);
}

VANTREL_TEST(tst_simulatorlimits)
#include "tst_simulatorlimits.moc"
