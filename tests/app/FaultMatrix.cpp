// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultMatrix.h"

#include <QTest>

#include <array>

namespace vantrel::test {

namespace {

constexpr std::array FaultNames{
    "nothing",
    "silence",
    "error status",
    "refusal",
    "short reply",
    "late reply",
    "doubled reply",
    "garbage between packets",
    "flood",
    "connection dropped",
    "serial adapter pulled",
    "its window closed",
    "another operation",
    "disconnected and connected again",
    "main window closed",
};
static_assert(FaultNames.size() == static_cast<std::size_t>(Fault::MainClosed) + 1);

constexpr quint8 ErrorStatus = 0x05;
constexpr int TickMilliseconds = 100;

/// Takes away what an operation cannot go on without.
bool bereaves(Fault fault)
{
    return fault == Fault::Dropped || fault == Fault::WindowClosed || fault == Fault::Reconnected ||
           fault == Fault::MainClosed;
}

bool needsWindows(Fault fault)
{
    return fault == Fault::WindowClosed || fault == Fault::MainClosed;
}

void spoil(FaultBench &bench, const Operation &operation, Fault fault)
{
    simulator::Faults &faults = bench.tester->faults();
    switch (fault) {
    case Fault::None:
        break;
    case Fault::Silence:
        faults.silence.all = true;
        break;
    case Fault::ErrorStatus:
        faults.deviceStatus = ErrorStatus;
        break;
    case Fault::Refusal:
        faults.refusal.codes = {operation.moment.code};
        break;
    case Fault::ShortReply:
        faults.shortReply = operation.shortTo;
        break;
    case Fault::LateReply:
        faults.delay = operation.late;
        break;
    case Fault::DoubledReply:
        faults.doubleReply = true;
        break;
    case Fault::Garbage:
        faults.garbage = QByteArrayLiteral("\xFFS\x1B\x45\x1B\x1B\x00\x81\x00");
        break;
    case Fault::Flood:
        bench.flood();
        break;
    case Fault::Dropped:
        bench.tester->dropConnection();
        break;
    case Fault::Pulled:
        bench.pullAdapter();
        break;
    case Fault::WindowClosed:
        bench.close(operation.window);
        break;
    case Fault::OtherOperation:
        bench.startWalk();
        break;
    case Fault::Reconnected:
        bench.pressConnect();
        bench.pressConnect();
        break;
    case Fault::MainClosed:
        bench.closeMain();
        break;
    }
}

/// Lets the fault befall the operation once, at its moment.
class Trap
{
public:
    Trap(FaultBench &bench, const Operation &operation, Fault fault)
        : m_bench(bench), m_operation(operation), m_fault(fault)
    {
        using simulator::Tester;
        const auto signal =
            operation.moment.isReport ? &Tester::packetSent : &Tester::commandReceived;
        QObject::connect(bench.tester.get(), signal, &m_receiver,
                         [this](const QByteArray &body) { look(body); });
    }

    bool hasSprung() const { return m_sprung; }
    int ticksSince() const { return m_bench.session().TickCount - m_tick; }

private:
    void look(const QByteArray &body)
    {
        const Moment &moment = m_operation.moment;
        if (m_sprung || !body.startsWith(static_cast<char>(moment.code)) ||
            ++m_count < moment.count)
            return;
        m_sprung = true;
        m_tick = m_bench.session().TickCount;
        if (const auto own = m_operation.own.constFind(m_fault); own != m_operation.own.cend())
            (*own)(m_bench);
        else
            spoil(m_bench, m_operation, m_fault);
    }

    FaultBench &m_bench;
    const Operation &m_operation;
    Fault m_fault;
    QObject m_receiver;
    int m_count = 0;
    qint32 m_tick = 0;
    bool m_sprung = false;
};

/// The whole of it, as the program would see it over a bad quarter of an hour.
void run(FaultBench &bench, const Operation &operation, const Cell &cell)
{
    if (!operation.connects)
        QVERIFY(bench.connectNow());
    if (operation.prepare)
        operation.prepare(bench);
    bench.takeBoxes();
    bench.session().RespText.clear();

    const Trap trap(bench, operation, cell.fault);
    operation.start(bench);
    const bool walks = cell.fault == Fault::OtherOperation && !operation.own.contains(cell.fault);
    const auto over = [&] {
        return trap.hasSprung() &&
               (bench.isMainClosed() ||
                (operation.hasEnded(bench) && !(walks && bench.session().DescActive)));
    };
    bench.turn(over, operation.limit);
    QVERIFY(trap.hasSprung());
    if (bereaves(cell.fault) && !operation.outlives)
        QVERIFY(trap.ticksSince() <= 1); // that of the moment itself
    bench.rest();
    const QString other = walks ? QStringLiteral("; walk: ") + bench.walkEnd() : QString();
    QCOMPARE(operation.outcome(bench) + other, QString::fromLatin1(cell.outcome));
    QCOMPARE(bench.takeBoxes(), QString::fromLatin1(cell.boxes));
    QCOMPARE(bench.standing(), QString::fromLatin1(cell.stands));
}

void recover(FaultBench &bench, const Operation &operation, const Cell &cell)
{
    bench.tester->faults() = {};
    bench.plugIn();
    if (cell.fault == Fault::LateReply)
        bench.ticks(operation.late / TickMilliseconds + 1);
    if (operation.settle && !bench.isMainClosed())
        QCOMPARE(operation.settle(bench), QString());
    bench.closeAll();
    bench.ticks(operation.aftermath);
    bench.rest();
    QCOMPARE(bench.standing(), QString::fromLatin1(cell.stays));
    QCOMPARE(bench.takeBoxes(), QString::fromLatin1(cell.later));
    QCOMPARE(bench.leftBehind(), QString());
    QCOMPARE(bench.connectsAgain(), QString());
}

} // namespace

void addCells(const QList<Row> &rows)
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<Cell>("cell");
    for (const Row &row : rows) {
        for (const Cell &cell : row.cells) {
            const QString name =
                row.operation.name + QStringLiteral(": ") +
                QString::fromLatin1(FaultNames.at(static_cast<std::size_t>(cell.fault)));
            QTest::newRow(qPrintable(name)) << row.operation << cell;
        }
    }
}

void checkCell()
{
    QFETCH(Operation, operation);
    QFETCH(Cell, cell);
    FaultBench bench(
        needsWindows(cell.fault) ? FaultBench::Windows::Real : FaultBench::Windows::None,
        cell.fault == Fault::Pulled ? FaultBench::Link::Serial : FaultBench::Link::Network);
    run(bench, operation, cell);
    if (!QTest::currentTestFailed())
        recover(bench, operation, cell);
}

} // namespace vantrel::test
