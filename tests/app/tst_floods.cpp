// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "console/Main.h"
#include "support/Hex.h"
#include "support/Resources.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QPlainTextEdit>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const auto VersionReply = "1b53 8f 02 03 0c 00 40 1b45"_hex;
const auto Acknowledgement = "1b53 83 1b45"_hex; // of a suspend

/// The console with its window, and a tester on a real socket. By the clock of the console each
/// packet takes a tenth of the limit of a turn.
struct FloodBench : NetworkBench
{
    static constexpr int PacketsPerTurn = 10;

    FloodBench()
    {
        window.findChild<QTimer *>(QStringLiteral("Timer1"))->stop();
        window.show();
        console.link().setReceiveClock([this] {
            ++readings;
            return time += VornComm::TurnLimit / PacketsPerTurn;
        });
    }
    ~FloodBench() { console.shutDown(); }

    /// The tester sends the packet so many times.
    void flood(const QByteArray &packet, int count)
    {
        constexpr int AtOnce = 1000;
        for (int sent = 0; sent < count; sent += AtOnce)
            emit tester->bytesReady(packet.repeated(std::min(AtOnce, count - sent)));
    }
    /// Bytes that the console has processed.
    quint64 processed() { return console.link().reception().processed; }

    std::chrono::nanoseconds time{0};
    qint64 readings = 0; // of the clock
    Main window{console};
};

/// The most that was processed between two events of another part of the program, in bytes.
class Turns
{
public:
    explicit Turns(FloodBench &bench) : m_bench(bench), m_last(bench.processed())
    {
        m_timer.callOnTimeout([this] { note(); });
        m_timer.start(0);
    }

    /// Posted, as an event of the user is: handled before the tester's next bytes.
    void post()
    {
        QMetaObject::invokeMethod(
            &m_timer, [this] { m_handledAt.append(m_bench.processed()); }, Qt::QueuedConnection);
    }
    quint64 most() const { return m_most; }
    int count() const { return m_count; }
    const QList<quint64> &handledAt() const { return m_handledAt; }

private:
    void note()
    {
        const quint64 processed = m_bench.processed();
        m_most = std::max(m_most, processed - m_last);
        m_last = processed;
        ++m_count;
    }

    FloodBench &m_bench;
    QTimer m_timer;
    quint64 m_last;
    quint64 m_most = 0;
    int m_count = 0;
    QList<quint64> m_handledAt;
};

} // namespace

/// A tester that sends more than the console processes.
class tst_floods : public QObject
{
    Q_OBJECT

private slots:
    void othersHaveTheirTurn_data();
    void othersHaveTheirTurn();
    void tickDuringAFlood();
    void disconnectDuringAFlood();
    void commandPane();
};

void tst_floods::othersHaveTheirTurn_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<int>("count");
    QTest::newRow("version replies") << VersionReply << 3000;
    QTest::newRow("acknowledgements") << Acknowledgement << 20'000;
}

void tst_floods::othersHaveTheirTurn()
{
    QFETCH(QByteArray, packet);
    QFETCH(int, count);
    FloodBench bench;
    QVERIFY(bench.connectConsole());
    QVERIFY(turnsUntil([&] { return bench.console.link().reception().isComplete(); }));
    const quint64 all = bench.processed() + static_cast<quint64>(packet.size() * count);
    Turns turns(bench);
    bench.flood(packet, count);
    QVERIFY(turnsUntil([&] {
        turns.post();
        return bench.processed() >= all;
    }));
    // One limit a turn, of the notification or of the continuation; both may fall in one turn.
    const auto limit = static_cast<quint64>(packet.size() * FloodBench::PacketsPerTurn);
    QVERIFY2(turns.most() <= 2 * limit, qPrintable(QString::number(turns.most())));
    QVERIFY(turns.count() >= count / (2 * FloodBench::PacketsPerTurn));
    quint64 last = turns.handledAt().first();
    for (const quint64 processed : turns.handledAt()) {
        QVERIFY2(processed - last <= 2 * limit, qPrintable(QString::number(processed - last)));
        last = processed;
    }
}

/// A tick comes while packets are left: it counts, reads nothing more in that turn, and does not
/// take the tester for silent.
void tst_floods::tickDuringAFlood()
{
    FloodBench bench;
    QVERIFY(bench.connectConsole());
    QVERIFY(turnsUntil([&] { return bench.console.link().reception().isComplete(); }));
    bench.second();
    bench.flood(Acknowledgement, 3000);
    bench.tester->faults().silence.all = true; // the status reply is not sent
    QVERIFY(turnsUntil([&] { return !bench.console.link().reception().isComplete(); }));
    bench.console.Timer1(); // reaches the limit, if no notification has
    const quint64 before = bench.processed();
    bench.session().StatusSeen = false;
    bench.second();
    bench.second();
    QCOMPARE(bench.processed(), before);
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QVERIFY(turnsUntil([&] { return bench.console.link().reception().isComplete(); }));
    bench.second();
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);
}

void tst_floods::disconnectDuringAFlood()
{
    FloodBench bench;
    QVERIFY(bench.connectConsole());
    bench.flood(Acknowledgement, 3000);
    QVERIFY(turnsUntil(
        [&] { return bench.main().CmdWin.text().contains(QLatin1String("Suspending")); }));
    bench.console.connectClicked();
    const QString pane = bench.main().CmdWin.text();
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents();
    QCOMPARE(bench.main().CmdWin.text(), pane);
    QVERIFY(pane.count(QLatin1String("Suspending")) < 3000);
    QVERIFY(bench.connectConsole()); // nothing of the flood is left
    QCOMPARE(bench.main().CmdWin.text().count(QLatin1String("Suspending")),
             pane.count(QLatin1String("Suspending")));
}

void tst_floods::commandPane()
{
    constexpr int Count = 200'000;
    FloodBench bench;
    QVERIFY(bench.connectConsole());
    QVERIFY(turnsUntil([&] { return bench.console.link().reception().isComplete(); }));
    const qint64 before = allocatedBytes();
    bench.console.link().setReceiveClock([] { return std::chrono::nanoseconds{0}; });
    const quint64 all = bench.processed() + static_cast<quint64>(Acknowledgement.size()) * Count;
    bench.flood(Acknowledgement, Count);
    QVERIFY(turnsUntil([&] { return bench.processed() >= all; }, 60'000));
    QCoreApplication::processEvents();
    const auto &pane = *bench.window.findChild<QPlainTextEdit *>(QStringLiteral("CmdWin"));
    QCOMPARE(pane.blockCount(), MainControls::CommandLines);
    QVERIFY(pane.toPlainText().startsWith(QLatin1String("Suspending\nSuspending\n")));
    const qint64 more = allocatedBytes() - before;
    qInfo("memory: %+lld bytes", static_cast<long long>(more));
    QVERIFY(more < 10'000'000);
}

VANTREL_WINDOW_TEST(tst_floods)
#include "tst_floods.moc"
