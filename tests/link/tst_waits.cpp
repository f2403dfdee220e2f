// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/OneShot.h"
#include "link/Utils.h"
#include "link/Waits.h"
#include "support/TestProgram.h"

#include <QTest>

#include <memory>

using namespace vantrel;

namespace {

/// A counter of ticks and the waits on it.
struct Clock
{
    qint32 now = 0;
    Waits waits{now};

    qint32 in(qint32 ticks) const { return TickWrap(qint64{now} + ticks); }

    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            now = in(1);
            waits.check();
        }
    }
};

/// One wait and how it ended.
struct Waiter
{
    bool flag = false;
    std::optional<WaitEnd> end;
    std::shared_ptr<int> alive = std::make_shared<int>(); // the coroutine holds one more

    QCoro::Task<> wait(Waits &waits, qint32 deadline)
    {
        const std::shared_ptr<int> held = alive;
        end = co_await waits.until([this] { return flag; }, deadline);
    }
    bool frameIsGone() const { return alive.use_count() == 1; }
};

constexpr auto Answered = std::optional(WaitEnd::Answered);
constexpr auto TimedOut = std::optional(WaitEnd::TimedOut);
constexpr auto Closed = std::optional(WaitEnd::Closed);

} // namespace

/// The wait primitive, ticks driven by hand.
class TestWaits : public QObject
{
    Q_OBJECT

private slots:
    void flagAlreadySet();
    void flagSetLater();
    void deadline_data();
    void deadline();
    void deadlineIsMetByEqualityOnly();
    void deadlineNow();
    void nothingToDo();
    void twoWaitsAtOnce();
    void resumedInTheOrderTheyBegan();
    void waitInsideAResumedWait();
    void waitsOneAfterTheOther();
    void resumedWaitSetsAnothersFlag();
    void resumedWaitChecks();
    void closeAll();
    void closedFromAResumedWait();
    void waitBegunWhileClosing();
    void destroyedWithPendingWaits();
    void manyWaits();

    void oneShotBeforeTheWait();
    void oneShotDuringTheWait();
    void oneShotFirstWins();
};

void TestWaits::flagAlreadySet()
{
    Clock clock;
    Waiter waiter;
    waiter.flag = true;
    waiter.wait(clock.waits, clock.in(20));
    QCOMPARE(waiter.end, Answered);
    QCOMPARE(clock.waits.pendingCount(), 0);
}

void TestWaits::flagSetLater()
{
    Clock clock;
    Waiter waiter;
    waiter.wait(clock.waits, clock.in(20));
    QCOMPARE(clock.waits.pendingCount(), 1);
    clock.tick(5);
    QVERIFY(!waiter.end);

    waiter.flag = true;
    QVERIFY(!waiter.end);
    clock.waits.check();

    QCOMPARE(waiter.end, Answered);
    QCOMPARE(clock.waits.pendingCount(), 0);
    QVERIFY(waiter.frameIsGone());
}

void TestWaits::deadline_data()
{
    QTest::addColumn<qint32>("start");

    QTest::newRow("from 0") << 0;
    QTest::newRow("up to the last value") << 1'999'999'979;
    QTest::newRow("onto the wrap") << 1'999'999'980;
    QTest::newRow("over the wrap") << 1'999'999'990;
    QTest::newRow("from the last value") << 1'999'999'999;
}

void TestWaits::deadline()
{
    QFETCH(qint32, start);

    Clock clock;
    clock.now = start;
    Waiter waiter;
    waiter.wait(clock.waits, clock.in(20));
    clock.tick(19);
    QVERIFY(!waiter.end);
    clock.tick();
    QCOMPARE(waiter.end, TimedOut);
    QCOMPARE(clock.waits.pendingCount(), 0);
    QVERIFY(waiter.frameIsGone());
}

void TestWaits::deadlineIsMetByEqualityOnly()
{
    Clock clock;
    clock.now = 100;
    Waiter waiter;
    waiter.wait(clock.waits, 99); // passed already: comes round again after the wrap
    clock.tick(50);
    QVERIFY(!waiter.end);
    clock.now = 98;
    clock.waits.check();
    QVERIFY(!waiter.end);
    clock.tick();
    QCOMPARE(waiter.end, TimedOut);
}

void TestWaits::deadlineNow()
{
    Clock clock;
    Waiter waiter;
    waiter.wait(clock.waits, clock.now);
    QCOMPARE(waiter.end, TimedOut);
}

void TestWaits::nothingToDo()
{
    Clock clock;
    clock.waits.check();
    clock.tick(3);
    QCOMPARE(clock.waits.pendingCount(), 0);
}

void TestWaits::twoWaitsAtOnce()
{
    Clock clock;
    Waiter first;
    Waiter second;
    first.wait(clock.waits, clock.in(20));
    clock.tick(5);
    second.wait(clock.waits, clock.in(20));
    QCOMPARE(clock.waits.pendingCount(), 2);

    first.flag = true; // the older one is answered while the younger still waits
    clock.waits.check();
    QCOMPARE(first.end, Answered);
    QVERIFY(!second.end);

    Waiter third;
    third.wait(clock.waits, clock.in(30));
    clock.tick(19);
    QVERIFY(!second.end);
    clock.tick();
    QCOMPARE(second.end, TimedOut);
    QVERIFY(!third.end);

    third.flag = true;
    clock.waits.check();
    QCOMPARE(third.end, Answered);
}

void TestWaits::resumedInTheOrderTheyBegan()
{
    Clock clock;
    bool odd = false;
    bool even = false;
    QList<int> order;
    const auto note = [&](int number) -> QCoro::Task<> {
        co_await clock.waits.until([&] { return number % 2 ? odd : even; }, clock.in(20));
        order.append(number);
    };
    for (int number = 0; number < 8; ++number)
        note(number);
    odd = true;
    clock.waits.check();
    QCOMPARE(order, (QList<int>{1, 3, 5, 7}));
    even = true;
    clock.waits.check();
    QCOMPARE(order, (QList<int>{1, 3, 5, 7, 0, 2, 4, 6}));
}

void TestWaits::waitInsideAResumedWait()
{
    Clock clock;
    bool outer = false;
    Waiter inner;
    const auto both = [&]() -> QCoro::Task<> {
        co_await clock.waits.until([&] { return outer; }, clock.in(20));
        co_await inner.wait(clock.waits, clock.in(20));
    };
    both();
    clock.tick(3);
    outer = true;
    clock.waits.check();
    QVERIFY(!inner.end);
    QCOMPARE(clock.waits.pendingCount(), 1);

    clock.tick(19);
    QVERIFY(!inner.end);
    clock.tick();
    QCOMPARE(inner.end, TimedOut);
    QVERIFY(inner.frameIsGone());
}

void TestWaits::waitsOneAfterTheOther()
{
    Clock clock;
    int steps = 0;
    bool flag = false;
    const auto walk = [&]() -> QCoro::Task<> {
        while (steps < 1000) {
            flag = false;
            co_await clock.waits.until([&] { return flag; }, clock.in(20));
            ++steps;
        }
    };
    walk();
    for (int answer = 1; answer <= 1000; ++answer) {
        flag = true;
        clock.waits.check();
        QCOMPARE(steps, answer);
    }
    QCOMPARE(clock.waits.pendingCount(), 0);
}

void TestWaits::resumedWaitSetsAnothersFlag()
{
    Clock clock;
    bool flag = false;
    Waiter other;
    const auto waker = [&]() -> QCoro::Task<> {
        co_await clock.waits.until([&] { return flag; }, clock.in(20));
        other.flag = true;
    };
    waker();
    other.wait(clock.waits, clock.in(20));
    flag = true;
    clock.waits.check();
    clock.waits.check();
    QCOMPARE(other.end, Answered);
}

void TestWaits::resumedWaitChecks()
{
    Clock clock;
    bool flag = false;
    int resumed = 0;
    const auto wait = [&]() -> QCoro::Task<> {
        co_await clock.waits.until([&] { return flag; }, clock.in(20));
        ++resumed;
        clock.waits.check(); // what a packet read inside a resumed handler does
    };
    for (int i = 0; i < 10; ++i)
        wait();
    flag = true;
    clock.waits.check();
    QCOMPARE(resumed, 10);
    QCOMPARE(clock.waits.pendingCount(), 0);
}

void TestWaits::closeAll()
{
    Clock clock;
    Waiter first;
    Waiter second;
    first.wait(clock.waits, clock.in(20));
    second.wait(clock.waits, clock.in(50));

    clock.waits.closeAll();
    QCOMPARE(first.end, Closed);
    QCOMPARE(second.end, Closed);
    QCOMPARE(clock.waits.pendingCount(), 0);
    QVERIFY(first.frameIsGone());
    QVERIFY(second.frameIsGone());

    Waiter later;
    later.wait(clock.waits, clock.in(20));
    QCOMPARE(later.end, Closed);
    clock.tick(100);
}

void TestWaits::closedFromAResumedWait()
{
    Clock clock;
    bool flag = false;
    Waiter before;
    Waiter after;
    const auto closer = [&]() -> QCoro::Task<> {
        co_await clock.waits.until([&] { return flag; }, clock.in(20));
        clock.waits.closeAll();
    };
    before.wait(clock.waits, clock.in(20));
    closer();
    after.wait(clock.waits, clock.in(20));
    flag = true;
    clock.waits.check();
    QCOMPARE(before.end, Closed);
    QCOMPARE(after.end, Closed);
    QCOMPARE(clock.waits.pendingCount(), 0);
}

void TestWaits::waitBegunWhileClosing()
{
    Clock clock;
    Waiter second;
    const auto persistent = [&]() -> QCoro::Task<> {
        co_await clock.waits.until([] { return false; }, clock.in(20));
        co_await second.wait(clock.waits, clock.in(20));
    };
    persistent();
    clock.waits.closeAll();
    QCOMPARE(second.end, Closed);
}

void TestWaits::destroyedWithPendingWaits()
{
    Waiter waiter;
    {
        Clock clock;
        waiter.wait(clock.waits, clock.in(20));
        QVERIFY(!waiter.frameIsGone());
    }
    QCOMPARE(waiter.end, Closed);
    QVERIFY(waiter.frameIsGone());
}

void TestWaits::manyWaits()
{
    Clock clock;
    std::vector<std::unique_ptr<Waiter>> waiters;
    for (int i = 0; i < 1000; ++i) {
        waiters.push_back(std::make_unique<Waiter>());
        waiters.back()->wait(clock.waits, clock.in(1 + i % 40));
    }
    for (int ticks = 1; ticks <= 40; ++ticks) {
        clock.tick();
        QCOMPARE(clock.waits.pendingCount(), 1000 - 25 * ticks);
    }
    for (const auto &waiter : waiters) {
        QCOMPARE(waiter->end, TimedOut);
        QVERIFY(waiter->frameIsGone());
    }
}

void TestWaits::oneShotBeforeTheWait()
{
    OneShot<int> shot;
    shot.resolve(7);
    int value = 0;
    [](OneShot<int> mine, int &result) -> QCoro::Task<> { result = co_await mine; }(shot, value);
    QCOMPARE(value, 7);
}

void TestWaits::oneShotDuringTheWait()
{
    OneShot<QString> shot;
    QString value;
    [](OneShot<QString> mine, QString &result) -> QCoro::Task<> { result = co_await mine; }(shot,
                                                                                            value);
    QCOMPARE(value, QString());
    shot.resolve(QStringLiteral("answer"));
    QCOMPARE(value, QLatin1String("answer"));
}

void TestWaits::oneShotFirstWins()
{
    OneShot<int> shot;
    const OneShot<int> copy = shot;
    QList<int> values;
    [](OneShot<int> mine, QList<int> &results) -> QCoro::Task<> {
        results.append(co_await mine);
    }(shot, values);
    copy.resolve(1);
    shot.resolve(2);
    copy.resolve(3);
    QCOMPARE(values, QList<int>{1});
    QCOMPARE(shot.await_resume(), 1);
}

VANTREL_TEST(TestWaits)
#include "tst_waits.moc"
