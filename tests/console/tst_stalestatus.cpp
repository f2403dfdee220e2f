// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QTime Answered(14, 5, 9);

/// A running console with both answers shown, whose clock is the test's.
struct StatusBench : ConsoleBench
{
    explicit StatusBench(bool network = false)
    {
        session.timeOfDay = [this] { return time; };
        run(network);
        answerStatus();
    }

    void answerStatus()
    {
        answer("8b 4c"_hex);
        answer("8e 00 00 15 aa"_hex);
    }

    QList<Control *> fields() const
    {
        return {&main.conxsts, &main.power, &main.vornstate, &main.CurrWin};
    }
    void compareStale(bool stale) const
    {
        for (const Control *field : fields())
            QVERIFY2(field->isStale() == stale, qPrintable(field->name()));
    }
    void compareTexts() const
    {
        QCOMPARE(main.conxsts.text(), QLatin1String("High Speed"));
        QCOMPARE(main.power.text(), QLatin1String("On"));
        QCOMPARE(main.vornstate.text(), QLatin1String("Suspended"));
        QCOMPARE(main.CurrWin.text(), QLatin1String("16.41 mA"));
        QCOMPARE(main.vornstate.colour(), std::optional(Colour{255, 0, 0}));
    }

    QTime time = Answered;
};

} // namespace

/// The status fields of a tester that no longer answers.
class TestStaleStatus : public QObject
{
    Q_OBJECT

private slots:
    void currentWhileAnswered();
    void disconnect_data();
    void disconnect();
    void silentTester();
    void lostSocket();
    void vanishedPort();
    void bootstrapIsCurrent();
    void currentWithTheNextAnswer();
    void eachFieldByItself();
    void nothingToShowBeforeTheFirstAnswer();
};

void TestStaleStatus::currentWhileAnswered()
{
    StatusBench bench;
    for (int seconds = 0; seconds < 5; ++seconds) {
        bench.second();
        bench.compareStale(false);
        bench.answerStatus();
    }
}

void TestStaleStatus::disconnect_data()
{
    QTest::addColumn<bool>("network");
    QTest::newRow("serial") << false;
    QTest::newRow("network") << true;
}

void TestStaleStatus::disconnect()
{
    QFETCH(bool, network);

    StatusBench bench(network);
    bench.time = QTime(15, 0);
    bench.console.connectClicked();
    bench.tick();
    bench.compareStale(true);
    bench.compareTexts();
    for (const Control *field : bench.fields())
        QCOMPARE(field->freshAt(), Answered);
}

void TestStaleStatus::silentTester()
{
    StatusBench bench;
    bench.second(); // asks
    bench.compareStale(false);
    bench.second(); // no answer: probing
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.compareStale(true);
    bench.compareTexts();
}

/// At the tick after the loss, although the box about it is still open.
void TestStaleStatus::lostSocket()
{
    StatusBench bench(true);
    bench.dialogs.holdAnswers = true;
    bench.tcp->fail(QStringLiteral("gone"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    bench.tick();
    bench.compareStale(true);
    bench.compareTexts();
    bench.dialogs.answerHeld(Answer::Ok); // a box that stays open keeps its coroutine
}

void TestStaleStatus::vanishedPort()
{
    StatusBench bench;
    bench.serial->vanish();
    bench.tick();
    bench.compareStale(true);
    bench.compareTexts();
}

void TestStaleStatus::bootstrapIsCurrent()
{
    StatusBench bench;
    bench.answer("8f 82 01 00 00 40"_hex);
    bench.answerStatus();
    bench.tick();
    bench.compareStale(false);
}

void TestStaleStatus::currentWithTheNextAnswer()
{
    StatusBench bench;
    bench.console.connectClicked();
    bench.tick();
    bench.compareStale(true);

    bench.run();
    bench.tick();
    bench.compareStale(true); // the version reply has no status
    bench.time = QTime(16, 0);
    bench.answerStatus();
    bench.compareStale(false);
    bench.tick();
    bench.compareStale(false);
    for (const Control *field : bench.fields())
        QCOMPARE(field->freshAt(), QTime(16, 0));
}

void TestStaleStatus::eachFieldByItself()
{
    StatusBench bench;
    bench.console.connectClicked();
    bench.tick();
    bench.run();

    bench.answer("8b"_hex); // without its byte
    bench.answer("8e 00"_hex);
    bench.compareStale(true);
    bench.answer("8b 03"_hex); // no known speed
    QVERIFY(bench.main.conxsts.isStale());
    QVERIFY(!bench.main.power.isStale());
    QVERIFY(!bench.main.vornstate.isStale());
    QVERIFY(bench.main.CurrWin.isStale());
}

void TestStaleStatus::nothingToShowBeforeTheFirstAnswer()
{
    ConsoleBench bench;
    bench.second();
    bench.connect();
    bench.second();
    bench.console.connectClicked();
    bench.second();
    for (const Control *field :
         {&bench.main.conxsts, &bench.main.power, &bench.main.vornstate, &bench.main.CurrWin})
        QVERIFY(!field->isStale());
}

VANTREL_TEST(TestStaleStatus)
#include "tst_stalestatus.moc"
