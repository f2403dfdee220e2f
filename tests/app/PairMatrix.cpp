// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PairMatrix.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <optional>

namespace vantrel::test {

namespace {

constexpr int Limit = 100;       // ticks after which an operation is taken to have no end
constexpr int RestartLimit = 80; // ticks that a tester with new firmware needs to be connected
constexpr int EzUsbLoad = 3;     // index of pairOperations()

const auto RefusalTitle = "Vantrel - Illegal Operation";
const auto RefusalEnd = " is under way. Nothing was sent: try again when it has ended.";

/// The polling of the console. It depends on time, not on the operations.
bool isPoll(const QByteArray &command)
{
    return command == QByteArray("\x0B") || command == QByteArray("\x0E");
}

QList<QByteArray> received(const FaultBench &bench)
{
    QList<QByteArray> commands = bench.tester->commandsSeen();
    commands.removeIf(isPoll);
    return commands;
}

/// Calls an action once, at a moment of the exchange.
class AtMoment
{
public:
    AtMoment(FaultBench &bench, const Moment &moment, std::function<void()> action)
        : m_moment(moment), m_action(std::move(action))
    {
        using simulator::Tester;
        const auto signal = moment.isReport ? &Tester::packetSent : &Tester::commandReceived;
        QObject::connect(bench.tester.get(), signal, &m_receiver,
                         [this](const QByteArray &body) { look(body); });
    }

    bool hasCome() const { return m_count >= m_moment.count; }

private:
    void look(const QByteArray &body)
    {
        if (!hasCome() && body.startsWith(static_cast<char>(m_moment.code)) &&
            ++m_count == m_moment.count)
            m_action();
    }

    const Moment m_moment;
    const std::function<void()> m_action;
    QObject m_receiver;
    int m_count = 0;
};

void startRecording(FaultBench &bench)
{
    bench.rest();
    bench.takeBoxes();
    bench.session().RespText.clear();
    bench.tester->clearCommandsSeen();
}

/// The flash window has been opened.
bool isReady(FaultBench &bench)
{
    return bench.console.flash().controls().Burn.isEnabled();
}

/// The flash window would prevent the first operation: it is opened when the second is started.
bool opensLate(const PairOperation &first, const PairOperation &second)
{
    return first.usesMain && second.opens == PairOperation::Opens::Last;
}

/// Prepares both, each while its window can be reached.
void prepare(FaultBench &bench, const PairOperation &first, const PairOperation &second)
{
    using Opens = PairOperation::Opens;
    for (const Opens turn : {Opens::First, Opens::Second, Opens::Last}) {
        for (const PairOperation *operation : {&second, &first}) {
            const bool isLate = operation == &second && opensLate(first, second);
            if (operation->opens == turn && operation->prepare && !isLate)
                operation->prepare(bench);
        }
    }
    startRecording(bench);
}

/// What the tester receives of an operation that nothing disturbs. `opens`: its window is opened
/// when it is started.
QList<QByteArray> trafficAlone(int index, bool opens = false)
{
    static QHash<std::pair<int, bool>, QList<QByteArray>> known;
    QList<QByteArray> &traffic = known[{index, opens}];
    if (!traffic.isEmpty())
        return traffic;
    const PairOperation &operation = pairOperations().at(index);
    FaultBench bench(FaultBench::Windows::None);
    attachPairDevices(bench);
    if (!bench.connectNow())
        qFatal("the console does not connect");
    if (opens)
        startRecording(bench);
    else
        prepare(bench, operation, operation);
    Press pressed = operation.press(bench);
    bench.turn(
        [&] {
            if (pressed == Press::Again && isReady(bench))
                pressed = operation.press(bench);
            return pressed == Press::Started && operation.hasEnded(bench);
        },
        Limit);
    bench.rest();
    traffic = received(bench);
    return traffic;
}

/// Without the automatic mode, which downloads switch off before and on afterwards.
QList<QByteArray> withoutAutoMode(QList<QByteArray> commands)
{
    commands.removeIf(
        [](const QByteArray &command) { return command.startsWith(QByteArray("\x07\0", 2)); });
    return commands;
}

/// The commands of `inserted`, in one piece, among those of `around`.
bool isInserted(const QList<QByteArray> &all, const QList<QByteArray> &inserted,
                const QList<QByteArray> &around)
{
    if (all.size() != inserted.size() + around.size())
        return false;
    for (qsizetype at = 0; at <= around.size(); ++at) {
        if (all == around.first(at) + inserted + around.sliced(at))
            return true;
    }
    return false;
}

/// Everything that either sends is received once.
bool isUnion(QList<QByteArray> all, const QList<QByteArray> &first, const QList<QByteArray> &second)
{
    QList<QByteArray> expected = first + second;
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    return all == expected;
}

class PairRun
{
public:
    explicit PairRun(const Pair &pair)
        : m_pair(pair), m_first(pairOperations().at(pair.first)),
          m_second(pairOperations().at(pair.second))
    {
    }

    void check()
    {
        attachPairDevices(m_bench);
        QVERIFY(m_bench.connectNow());
        prepare(m_bench, m_first, m_second);
        m_connection = m_bench.session().connection.count();
        for (const auto step :
             {&PairRun::run, &PairRun::compare, &PairRun::tryAgain, &PairRun::recover}) {
            (this->*step)();
            if (QTest::currentTestFailed())
                return;
        }
    }

private:
    bool has(Second effect) const { return m_pair.effect == effect; }
    bool secondRuns() const { return !has(Second::Unavailable) && !has(Second::Refused); }

    void pressSecond()
    {
        m_press = m_second.press(m_bench);
        m_bench.dialogs.paths.clear(); // not taken by an operation that was refused
    }

    void run()
    {
        const AtMoment moment(m_bench, m_first.moment, [this] { pressSecond(); });
        QCOMPARE(m_first.press(m_bench), Press::Started);
        const auto ended = [&] {
            if (m_press == Press::Again && isReady(m_bench))
                pressSecond();
            return m_press && m_press != Press::Again && m_first.hasEnded(m_bench) &&
                   (!secondRuns() || m_second.hasEnded(m_bench));
        };
        m_bench.turn(ended, Limit);
        QVERIFY(moment.hasCome());
        m_bench.rest();
    }

    void compare()
    {
        QCOMPARE(*m_press, has(Second::Unavailable) ? Press::Unavailable : Press::Started);
        QCOMPARE(boxes(m_bench.dialogs.messages), expectedBoxes());
        m_bench.takeBoxes();
        QCOMPARE(m_first.outcome(m_bench), m_pair.firstOutcome);
        if (secondRuns())
            QCOMPARE(m_second.outcome(m_bench), m_pair.secondOutcome);
        QCOMPARE(m_bench.standing(), loadsEzUsb() ? QStringLiteral("ScriptBusy") : QString());
        compareTraffic();
    }

    void compareTraffic()
    {
        const QList<QByteArray> all = received(m_bench);
        const QList<QByteArray> first = trafficAlone(m_pair.first);
        if (!secondRuns()) {
            QCOMPARE(all, first);
            return;
        }
        if (!bothAreDone())
            return;
        const QList<QByteArray> second = trafficAlone(m_pair.second, opensLate(m_first, m_second));
        QVERIFY(isUnion(all, first, second));
        if (has(Second::Waits))
            QVERIFY(
                isInserted(withoutAutoMode(all), withoutAutoMode(second), withoutAutoMode(first)));
    }

    /// What was refused can be done when the other has ended.
    void tryAgain()
    {
        if (!has(Second::Refused))
            return;
        if (loadsEzUsb())
            QCOMPARE(runEzUsbScript(m_bench), QString());
        const auto connected = [this] {
            return m_bench.session().LinkState == LinkStates::Running;
        };
        QVERIFY(m_bench.turn(connected, RestartLimit));
        m_bench.rest();
        // The script to be run has been replaced, or lost in a restart. An image that was read over
        // an earlier connection is programmed only after a question.
        const bool reconnected = m_bench.session().connection.count() != m_connection;
        const bool isRun = m_second.opens == PairOperation::Opens::First;
        if ((isRun || reconnected) && m_second.prepare)
            m_second.prepare(m_bench);
        m_bench.session().RespText.clear();
        pressSecond();
        QCOMPARE(*m_press, Press::Started);
        m_bench.turn([this] { return m_second.hasEnded(m_bench); }, Limit);
        m_bench.rest();
        QCOMPARE(m_second.outcome(m_bench), QStringLiteral("done"));
        QCOMPARE(m_bench.takeBoxes(), QString::fromLatin1(m_second.success));
    }

    void recover()
    {
        if (m_bench.session().ScriptBusy)
            QCOMPARE(runEzUsbScript(m_bench), QString());
        m_bench.closeAll();
        m_bench.rest();
        QCOMPARE(m_bench.standing(), QString());
        QCOMPARE(m_bench.takeBoxes(), QString());
        QCOMPARE(m_bench.leftBehind(), QString());
        QCOMPARE(m_bench.connectsAgain(), QString());
    }

    bool bothAreDone() const
    {
        return m_pair.firstOutcome == QLatin1String("done") &&
               m_pair.secondOutcome == QLatin1String("done");
    }
    bool loadsEzUsb() const
    {
        return (m_pair.first == EzUsbLoad) || (secondRuns() && m_pair.second == EzUsbLoad);
    }

    static QStringList boxes(const QList<Message> &messages)
    {
        QStringList texts;
        for (const Message &message : messages) {
            const bool refuses = message.title == QLatin1String(RefusalTitle);
            texts.append((refuses ? QStringLiteral("refused: ") : QString()) + message.text);
        }
        texts.sort();
        return texts;
    }

    QStringList expectedBoxes() const
    {
        QStringList texts;
        if (m_first.success)
            texts.append(QString::fromLatin1(m_first.success));
        if (secondRuns() && m_second.success)
            texts.append(QString::fromLatin1(m_second.success));
        if (has(Second::Refused))
            texts.append(QStringLiteral("refused: ") + QLatin1String(m_first.refusal) +
                         QLatin1String(RefusalEnd));
        texts.sort();
        return texts;
    }

    const Pair m_pair;
    const PairOperation &m_first;
    const PairOperation &m_second;
    FaultBench m_bench{FaultBench::Windows::None};
    quint32 m_connection = 0;     // count of the session's, when both had been prepared
    std::optional<Press> m_press; // of the second; nothing before its moment
};

} // namespace

void checkPair(const Pair &pair)
{
    PairRun(pair).check();
}

} // namespace vantrel::test
