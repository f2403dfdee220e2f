// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Clock.h"
#include "support/TestProgram.h"

#include <QTest>

using vantrel::simulator::Clock;

class tst_clock : public QObject
{
    Q_OBJECT

private slots:
    void standsStill();
    void runsInOrder();
    void actionsMayAskForMore();
    void followsRealTime();
};

void tst_clock::standsStill()
{
    Clock clock;
    bool ran = false;
    clock.after(0, [&] { ran = true; });
    QCoreApplication::processEvents();
    QVERIFY(!ran);
    QCOMPARE(clock.now(), 0);
    clock.advance(0);
    QVERIFY(ran);
}

void tst_clock::runsInOrder()
{
    Clock clock;
    QByteArray order;
    clock.after(20, [&] { order += 'c'; });
    clock.after(10, [&] { order += 'a'; });
    clock.after(10, [&] { order += 'b'; });
    clock.after(21, [&] { order += 'd'; });
    clock.advance(9);
    QCOMPARE(order, QByteArray());
    clock.advance(1);
    QCOMPARE(order, QByteArray("ab"));
    clock.advance(10);
    QCOMPARE(order, QByteArray("abc"));
    QCOMPARE(clock.now(), 20);
}

void tst_clock::actionsMayAskForMore()
{
    Clock clock;
    QList<qint64> times;
    clock.after(5, [&] {
        times.append(clock.now());
        clock.after(5, [&] { times.append(clock.now()); });
    });
    clock.advance(100);
    QCOMPARE(times, (QList<qint64>{5, 10}));
    QCOMPARE(clock.now(), 100);
}

void tst_clock::followsRealTime()
{
    Clock clock;
    QElapsedTimer timer;
    QByteArray order;
    clock.after(40, [&] { order += 'b'; }); // asked for before time began to run
    clock.followRealTime();
    timer.start();
    clock.after(20, [&] { order += 'a'; });
    QTRY_COMPARE(order, QByteArray("ab"));
    QVERIFY(timer.elapsed() >= 39);
    QVERIFY(clock.now() >= 40);
}

VANTREL_TEST(tst_clock)
#include "tst_clock.moc"
