// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/ErrorBoundary.h"
#include "link/RuntimeError.h"
#include "support/FakeDialogs.h"
#include "support/TestProgram.h"

#include <QTest>

#include <memory>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QCoro::Task<> failAfter(OneShot<int> answer)
{
    co_await answer;
    throw RuntimeError::subscript();
}

} // namespace

/// Run-time errors end in one message box.
class TestErrorBoundary : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void shortNames();
    void noErrorNoBox();
    void errorAtOnce();
    void errorAfterAWait();
    void errorOutOfANestedTask();
    void caughtErrorIsNobodysBusiness();
    void errorWithoutWaits();
    void errorEndsTheHandler();
    void reportDoesNotWait();
    void errorWhileABoxIsOpen();
    void theActionOutlivesItsCaller();

private:
    void compareOnlyBox(const char *text);

    std::unique_ptr<FakeDialogs> m_dialogs;
    std::unique_ptr<ErrorBoundary> m_errors;
};

void TestErrorBoundary::init()
{
    m_dialogs = std::make_unique<FakeDialogs>();
    m_errors = std::make_unique<ErrorBoundary>(*m_dialogs);
}

void TestErrorBoundary::compareOnlyBox(const char *text)
{
    QCOMPARE(m_dialogs->messages.size(), 1);
    QCOMPARE(m_dialogs->messages[0].text, QLatin1String(text));
    QCOMPARE(m_dialogs->messages[0].title, QLatin1String("Vantrel - Error"));
    QCOMPARE(m_dialogs->messages[0].buttons, Message::Buttons::Ok);
}

void TestErrorBoundary::shortNames()
{
    QCOMPARE(RuntimeError::overflow().shortName(), QLatin1String("Overflow"));
    QCOMPARE(RuntimeError::subscript().shortName(), QLatin1String("Subscript out of range"));
    const auto file =
        RuntimeError::file(QStringLiteral("Permission denied"), QStringLiteral("/root/a.log"));
    QCOMPARE(file.shortName(), QLatin1String("Permission denied: /root/a.log"));
    QCOMPARE(QByteArray(file.what()), QByteArray("Permission denied: /root/a.log"));
}

void TestErrorBoundary::noErrorNoBox()
{
    int runs = 0;
    m_errors->run([&]() -> QCoro::Task<> {
        ++runs;
        co_return;
    });
    m_errors->runNow([&] { ++runs; });
    QCOMPARE(runs, 2);
    QCOMPARE(m_dialogs->messages.size(), 0);
}

void TestErrorBoundary::errorAtOnce()
{
    m_errors->run([]() -> QCoro::Task<> {
        throw RuntimeError::overflow();
        co_return;
    });
    compareOnlyBox("Overflow");
}

void TestErrorBoundary::errorAfterAWait()
{
    const OneShot<int> answer;
    m_errors->run([answer] { return failAfter(answer); });
    QCOMPARE(m_dialogs->messages.size(), 0);
    answer.resolve(1);
    compareOnlyBox("Subscript out of range");
}

void TestErrorBoundary::errorOutOfANestedTask()
{
    const OneShot<int> answer;
    bool wentOn = false;
    m_errors->run([answer, &wentOn]() -> QCoro::Task<> {
        co_await failAfter(answer);
        wentOn = true;
    });
    answer.resolve(1);
    compareOnlyBox("Subscript out of range");
    QVERIFY(!wentOn);
}

void TestErrorBoundary::caughtErrorIsNobodysBusiness()
{
    const OneShot<int> answer;
    bool caught = false;
    m_errors->run([answer, &caught]() -> QCoro::Task<> {
        try {
            co_await failAfter(answer);
        } catch (const RuntimeError &) {
            caught = true;
        }
    });
    answer.resolve(1);
    QVERIFY(caught);
    QCOMPARE(m_dialogs->messages.size(), 0);
}

void TestErrorBoundary::errorWithoutWaits()
{
    m_errors->runNow([] { throw RuntimeError::overflow(); });
    compareOnlyBox("Overflow");
}

void TestErrorBoundary::errorEndsTheHandler()
{
    int steps = 0;
    m_errors->runNow([&] {
        ++steps;
        if (steps == 1)
            throw RuntimeError::overflow();
        ++steps;
    });
    QCOMPARE(steps, 1);
    m_errors->runNow([&] { steps = 10; }); // the console goes on
    QCOMPARE(steps, 10);
}

void TestErrorBoundary::reportDoesNotWait()
{
    m_dialogs->holdAnswers = true;
    m_errors->report(
        RuntimeError::file(QStringLiteral("No space left on device"), QStringLiteral("/a.log")));
    compareOnlyBox("No space left on device: /a.log");
    m_dialogs->answerHeld(Answer::Ok);
}

void TestErrorBoundary::errorWhileABoxIsOpen()
{
    m_dialogs->holdAnswers = true;
    m_errors->report(RuntimeError::overflow());
    m_errors->runNow([] { throw RuntimeError::subscript(); });
    QCOMPARE(m_dialogs->heldCount(), 2);
    QCOMPARE(m_dialogs->messages[0].text, QLatin1String("Overflow"));
    QCOMPARE(m_dialogs->messages[1].text, QLatin1String("Subscript out of range"));
    m_dialogs->answerHeld(Answer::Ok);
    m_dialogs->answerHeld(Answer::Ok);
    QCOMPARE(m_dialogs->messages.size(), 2);
}

void TestErrorBoundary::theActionOutlivesItsCaller()
{
    const OneShot<int> answer;
    const auto owned = std::make_shared<int>(0);
    m_errors->run([answer, owned]() -> QCoro::Task<> {
        *owned += co_await answer;
        *owned += 1;
    });
    QVERIFY(owned.use_count() > 1);
    answer.resolve(41);
    QCOMPARE(*owned, 42);
    QCOMPARE(owned.use_count(), 1L);
}

VANTREL_TEST(TestErrorBoundary)
#include "tst_errorboundary.moc"
