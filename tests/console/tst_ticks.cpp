// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/RecordingClient.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A flash command and a read of the configuration memory, each with its wait.
struct Exchanges
{
    std::optional<bool> flash;
    std::optional<int> read;
    QByteArray buffer = "....";

    QCoro::Task<> startFlash(VornCommands &commands)
    {
        commands.SendFlashScriptInfoQuery(0);
        flash = co_await commands.WaitFlashResponse();
    }
    QCoro::Task<> startRead(VornCommands &commands)
    {
        read = co_await commands.SendConfigMemoryRead(0x0010, buffer, 4);
    }
};

} // namespace

/// Each tick of the main timer.
class TestTicks : public QObject
{
    Q_OBJECT

private slots:
    void counts();
    void redrawsOnceATick();
    void redrawsOnlyWhenDirty();
    void redrawsTheSameText();
    void redrawsOneByteACharacter();
    void redrawsTheCutText();
    void descTimeout_data();
    void descTimeout();
    void descTimeoutWithoutViewer();
    void triggerHoldoff();
    void triggersOverTime();
    void orderInsideATick();
    void goesOnWhileScriptBusy();
    void waits();
    void waitOverTheWrap();
    void logIsFlushed();
};

void TestTicks::counts()
{
    ConsoleBench bench;
    bench.tick();
    QCOMPARE(bench.session.TickCount, 1);
    bench.tick(9);
    QCOMPARE(bench.session.TickCount, 10);
    bench.session.TickCount = 1'999'999'998;
    bench.tick();
    QCOMPARE(bench.session.TickCount, 1'999'999'999);
    bench.tick();
    QCOMPARE(bench.session.TickCount, 0);
    bench.tick();
    QCOMPARE(bench.session.TickCount, 1);
}

void TestTicks::redrawsOnceATick()
{
    ConsoleBench bench;
    bench.run();
    bench.tick();
    QSignalSpy redrawn(&bench.main.RespWin, &Control::changed);

    for (int report = 0; report < 100; ++report)
        bench.answer("94"_hex);
    QCOMPARE(redrawn.size(), 0);
    QCOMPARE(bench.main.RespWin.text(), QString());
    bench.tick();

    QCOMPARE(redrawn.size(), 1);
    QCOMPARE(bench.main.RespWin.text(), QStringLiteral("*** Vorn Fail \r\n").repeated(100));
    QCOMPARE(bench.session.RespDirty, false);
}

void TestTicks::redrawsOnlyWhenDirty()
{
    ConsoleBench bench;
    bench.run();
    bench.answer("94"_hex);
    bench.tick();
    bench.main.RespWin.adoptText(QStringLiteral("left alone"));
    bench.tick(20);
    QCOMPARE(bench.main.RespWin.text(), QLatin1String("left alone"));
    bench.session.RespDirty = true;
    bench.tick();
    QCOMPARE(bench.main.RespWin.text(), QLatin1String("*** Vorn Fail \r\n"));
}

/// The caret of the pane goes to the end with each redraw.
void TestTicks::redrawsTheSameText()
{
    ConsoleBench bench;
    bench.answer("94"_hex);
    bench.tick();
    QSignalSpy redrawn(&bench.main.RespWin, &Control::changed);
    bench.session.RespDirty = true;
    bench.tick();
    QCOMPARE(redrawn.size(), 1);
    QCOMPARE(redrawn[0][0].value<Control::Aspect>(), Control::Aspect::Text);
    bench.tick();
    QCOMPARE(redrawn.size(), 1);
}

void TestTicks::redrawsOneByteACharacter()
{
    ConsoleBench bench;
    ShowResponseLine(bench.session, "\xC4\xFF");
    bench.tick();
    QCOMPARE(bench.main.RespWin.text(), QString::fromLatin1("\xC4\xFF\r\n"));
}

void TestTicks::redrawsTheCutText()
{
    ConsoleBench bench;
    ShowResponseLine(bench.session, std::string(30000, 'x'));
    bench.tick();
    QCOMPARE(bench.main.RespWin.text(), QLatin1String("...\r\n...\r\n") +
                                            QString(19998, QLatin1Char('x')) +
                                            QLatin1String("\r\n"));
}

void TestTicks::descTimeout_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("abortAtTick"); // 0: never

    QTest::newRow("0") << 0 << 0;
    QTest::newRow("1") << 1 << 1;
    QTest::newRow("2") << 2 << 2;
    QTest::newRow("20") << 20 << 20;
}

void TestTicks::descTimeout()
{
    QFETCH(int, start);
    QFETCH(int, abortAtTick);

    ConsoleBench bench;
    QList<int> ticks;
    RecordingClient viewer;
    viewer.timedOut = [&] { ticks.append(bench.session.TickCount); };
    bench.console.requests().setHandler(DeviceRequests::Client::Viewer, &viewer);
    bench.session.DescTimeout = static_cast<qint16>(start);
    bench.tick(40);

    QCOMPARE(ticks, abortAtTick ? QList<int>{abortAtTick} : QList<int>());
    QCOMPARE(int{bench.session.DescTimeout}, 0);
}

void TestTicks::descTimeoutWithoutViewer()
{
    ConsoleBench bench;
    bench.session.DescTimeout = 1;
    bench.tick(2);
    QCOMPARE(int{bench.session.DescTimeout}, 0);
}

void TestTicks::triggerHoldoff()
{
    ConsoleBench bench;
    bench.session.TriggerHoldoff = 5;
    QList<int> left;
    for (int ticks = 0; ticks < 7; ++ticks) {
        bench.tick();
        left.append(bench.session.TriggerHoldoff);
    }
    QCOMPARE(left, (QList<int>{4, 3, 2, 1, 0, 0, 0}));
}

void TestTicks::triggersOverTime()
{
    ConsoleBench bench;
    bench.run();
    bench.answer("96 01"_hex);
    bench.answer("96 01"_hex);
    bench.tick(4);
    bench.answer("96 01"_hex);
    QCOMPARE(bench.session.RespText.text(), QByteArray("*** Trigger Input Channel 1\r\n"));
    bench.tick();
    bench.answer("96 01"_hex);
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("*** Trigger Input Channel 1\r\n*** Trigger Input Channel 1\r\n"));
}

void TestTicks::orderInsideATick()
{
    ConsoleBench bench;
    bench.run();
    bench.tick(9);
    QStringList order;
    Session &session = bench.session;
    bench.serial->onWrite = [&](const QByteArray &) {
        if (!order.contains(QLatin1String("poll")))
            order.append(QStringLiteral("poll"));
        QCOMPARE(session.TickCount, 20);
    };
    connect(&bench.main.RespWin, &Control::changed, this, [&] {
        order.append(QStringLiteral("redraw"));
        QCOMPARE(int{session.DescTimeout}, 1);
    });
    RecordingClient viewer;
    viewer.timedOut = [&] {
        order.append(QStringLiteral("abort"));
        QCOMPARE(int{session.DescTimeout}, 0);
        QCOMPARE(int{session.TriggerHoldoff}, 3);
    };
    bench.console.requests().setHandler(DeviceRequests::Client::Viewer, &viewer);
    session.RespDirty = true;
    session.DescTimeout = 1;
    session.TriggerHoldoff = 3;

    bench.tick();

    QCOMPARE(order, (QStringList{QStringLiteral("poll"), QStringLiteral("redraw"),
                                 QStringLiteral("abort")}));
    QCOMPARE(int{session.TriggerHoldoff}, 2);
}

void TestTicks::goesOnWhileScriptBusy()
{
    ConsoleBench bench;
    bench.session.leases.beginRun();
    bench.session.TriggerHoldoff = 3;
    bench.session.DescTimeout = 3;
    ShowResponseLine(bench.session, "line");
    bench.tick();
    QCOMPARE(bench.session.TickCount, 1);
    QCOMPARE(bench.main.RespWin.text(), QLatin1String("line\r\n"));
    QCOMPARE(int{bench.session.TriggerHoldoff}, 2);
    QCOMPARE(int{bench.session.DescTimeout}, 2);
}

void TestTicks::waits()
{
    ConsoleBench bench;
    bench.run();
    Exchanges exchanges;
    exchanges.startFlash(bench.console.commands());
    bench.tick(5);
    exchanges.startRead(bench.console.commands());
    bench.tick(14);
    QVERIFY(!exchanges.flash);
    bench.tick();
    QCOMPARE(exchanges.flash, std::optional(false));
    QVERIFY(!exchanges.read);

    bench.answer("b6 61 62 63 64"_hex);
    QCOMPARE(exchanges.read, std::optional(0));
    QCOMPARE(exchanges.buffer, QByteArray("abcd"));
}

void TestTicks::waitOverTheWrap()
{
    ConsoleBench bench;
    bench.run();
    bench.session.TickCount = 1'999'999'995;
    Exchanges exchanges;
    exchanges.startRead(bench.console.commands());
    bench.tick(19);
    QVERIFY(!exchanges.read);
    bench.tick();
    QCOMPARE(exchanges.read, std::optional(1));
    QCOMPARE(bench.session.TickCount, 15);
}

void TestTicks::logIsFlushed()
{
    ConsoleBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("a.log"));
    bench.console.log().start(path);
    ShowResponseLine(bench.session, "*** Vorn Fail ");
    bench.tick();
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().endsWith("*** Vorn Fail \r\n"));
}

VANTREL_TEST(TestTicks)
#include "tst_ticks.moc"
