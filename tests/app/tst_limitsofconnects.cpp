// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "simulator/PtyEnd.h"
#include "support/Resources.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr qint64 GrowthAllowed = 65'536; // bytes: seven for each of 10,000 connections

/// What the program holds, once everything that is over has been given back.
struct Holding
{
    qint64 bytes = 0;
    qsizetype descriptors = 0;

    explicit Holding(Bench &bench)
    {
        bench.console.clearClicked(); // the lines of so many connections are wanted, not lost
        bench.console.Timer1();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        bytes = allocatedBytes();
        descriptors = openDescriptors();
    }
};

void compareNoGrowth(const Holding &before, const Holding &after)
{
    QCOMPARE(after.descriptors, before.descriptors);
    const qint64 growth = after.bytes - before.bytes;
    qInfo("memory in use: %lld bytes before, %+lld after", static_cast<long long>(before.bytes),
          static_cast<long long>(growth));
    QVERIFY2(growth <= GrowthAllowed, qPrintable(QString::number(growth)));
}

/// Presses Connect and Disconnect once; true when the socket was up at both ends in between.
bool connectAndPart(NetworkBench &bench)
{
    bench.console.connectClicked();
    const bool up = turnsUntil(
        [&] { return bench.console.link().isConnected() && bench.end.isConsoleConnected(); });
    bench.console.connectClicked();
    return up && turnsUntil([&] { return !bench.end.isConsoleConnected(); });
}

bool openAndClose(Bench &bench)
{
    bench.console.connectClicked();
    const bool open = bench.console.link().isConnected();
    bench.console.connectClicked();
    QCoreApplication::processEvents();
    return open && !bench.console.link().isConnected();
}

} // namespace

/// Connected and disconnected over and over, the program gives back all that it took.
class tst_limitsofconnects : public QObject
{
    Q_OBJECT

private slots:
    void tenThousandConnections();
    void thousandSerialPorts();
};

void tst_limitsofconnects::tenThousandConnections()
{
    NetworkBench bench;
    bench.tester->setRecording(false);
    const auto round = [&](int count) {
        for (int i = 0; i < count; ++i) {
            if (!connectAndPart(bench))
                return false;
        }
        return true;
    };
    QVERIFY(round(100)); // tables and caches have their size now
    const Holding before(bench);
    QVERIFY(round(10'000));
    const Holding after(bench);
    compareNoGrowth(before, after);

    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.connectConsole());
    bench.second();
    QVERIFY(turnsUntil([&] { return bench.main().power.text() == QLatin1String("On"); }));
}

void tst_limitsofconnects::thousandSerialPorts()
{
    Bench bench;
    const auto tester = simulator::makeDefaultTester(simulator::Settings::vorn1());
    simulator::PtyEnd end(*tester, 19200);
    const QString device = bench.directory.filePath(QStringLiteral("tty"));
    QVERIFY(end.open(device));
    bench.console.link().setSerialDevice(1, device);

    const auto round = [&](int count) {
        for (int i = 0; i < count; ++i) {
            if (!openAndClose(bench))
                return false;
        }
        return turnsUntil([&] { return !end.isConsoleConnected(); });
    };
    QVERIFY(round(10));
    const Holding before(bench);
    QVERIFY(round(1000));
    const Holding after(bench);
    compareNoGrowth(before, after);

    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.console.connectClicked();
    bench.second();
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    bench.second();
    QVERIFY(turnsUntil([&] { return bench.main().power.text() == QLatin1String("On"); }));
}

VANTREL_TEST(tst_limitsofconnects)
#include "tst_limitsofconnects.moc"
