// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/BoxBench.h"

using namespace vantrel;
using namespace vantrel::test;

/// Messages that are the same as that of an open box.
class tst_repeatedboxes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void sameMessageAgain();
    void sameMessageOfAnotherWindow();
    void anotherMessageIsNotTheSame_data();
    void anotherMessageIsNotTheSame();
    void sameMessageAfterTheFirst();
    void everyCallerIsAnswered_data();
    void everyCallerIsAnswered();
    void sameQuestionOfAnotherWindow();
    void questionWithAnotherDefault();
    void sameMessageBelowAnotherBox();
    void withdrawnMessage();
    void withdrawnFirstMessage();
    void lastWithdrawnMessage();
    void withdrawnAfterTheAnswer();
    void windowGoesWithSeveralMessages();
    void thousandsOfMessages();
};

void tst_repeatedboxes::sameMessageAgain()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, told(), bench.answer);
    QMessageBox &box = bench.box();
    QCOMPARE(box.informativeText(), QString());
    ask(bench.dialogs, told(), second);
    QCOMPARE(openBoxes().size(), 1);
    QCOMPARE(&bench.box(), &box);
    QTRY_COMPARE(box.informativeText(), QStringLiteral("(2 times)"));
    std::optional<Answer> third;
    ask(bench.dialogs, told(), third);
    QTRY_COMPARE(box.informativeText(), QStringLiteral("(3 times)"));
    QCOMPARE(box.text(), told().text);
    QVERIFY(!bench.answer && !second && !third);
    box.button(QMessageBox::Ok)->click();
    QVERIFY(bench.answered(Answer::Ok) && second == Answer::Ok && third == Answer::Ok);
    QVERIFY(openBoxes().isEmpty());
}

/// The box is the active window again.
void tst_repeatedboxes::sameMessageOfAnotherWindow()
{
    ToolBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, told(), bench.answer);
    QMessageBox &box = bench.box();
    QTRY_COMPARE(QApplication::activeWindow(), &box);
    QWidget other; // of this program: the tool window is blocked by the box of its parent
    other.show();
    bench.activate(other);
    ask(bench.toolDialogs, told(), second);
    QCOMPARE(openBoxes(), QList<QMessageBox *>{&box});
    QTRY_COMPARE(box.informativeText(), QStringLiteral("(2 times)"));
    QTRY_COMPARE(QApplication::activeWindow(), &box);
    box.button(QMessageBox::Ok)->click();
    QVERIFY(bench.answered(Answer::Ok) && second == Answer::Ok);
}

void tst_repeatedboxes::anotherMessageIsNotTheSame_data()
{
    QTest::addColumn<Message>("message");
    Message message = told();
    message.text += QLatin1Char('.');
    QTest::newRow("text") << message;
    message = told();
    message.title = QStringLiteral("Vantrel - Error");
    QTest::newRow("title") << message;
    message = told();
    message.buttons = Message::Buttons::YesNo;
    QTest::newRow("buttons") << message;
}

void tst_repeatedboxes::anotherMessageIsNotTheSame()
{
    QFETCH(Message, message);
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, told(), bench.answer);
    ask(bench.dialogs, message, second);
    QCOMPARE(openBoxes().size(), 2);
    for (const QMessageBox *box : openBoxes())
        QCOMPARE(box->informativeText(), QString());
}

/// A box that was answered, but is not deleted yet, is not open.
void tst_repeatedboxes::sameMessageAfterTheFirst()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, told(), bench.answer);
    QMessageBox &first = bench.box();
    first.button(QMessageBox::Ok)->click();
    ask(bench.dialogs, told(), second);
    QVERIFY(&bench.box() != &first);
    QCOMPARE(bench.box().informativeText(), QString());
    QVERIFY(!second);
}

void tst_repeatedboxes::everyCallerIsAnswered_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<Answer>("answer");
    QTest::newRow("Yes") << int{QMessageBox::Yes} << Answer::Yes;
    QTest::newRow("No") << int{QMessageBox::No} << Answer::No;
    QTest::newRow("frame") << 0 << Answer::No;
}

void tst_repeatedboxes::everyCallerIsAnswered()
{
    QFETCH(int, button);
    QFETCH(Answer, answer);
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    ask(bench.dialogs, asked(), second);
    QCOMPARE(openBoxes().size(), 1);
    QTRY_COMPARE(bench.box().informativeText(), QStringLiteral("(2 times)"));
    if (button == 0)
        bench.box().close();
    else
        bench.box().button(static_cast<QMessageBox::StandardButton>(button))->click();
    QVERIFY(bench.answered(answer) && second == answer);
}

/// Yes to one is not Yes to the other.
void tst_repeatedboxes::sameQuestionOfAnotherWindow()
{
    ToolBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    QMessageBox &box = bench.box();
    ask(bench.toolDialogs, asked(), second);
    QCOMPARE(openBoxes().size(), 2);
    box.button(QMessageBox::Yes)->click();
    QVERIFY(bench.answered(Answer::Yes));
    QVERIFY(!second);
}

void tst_repeatedboxes::questionWithAnotherDefault()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    Message careful = asked();
    careful.noIsDefault = true;
    ask(bench.dialogs, careful, second);
    QCOMPARE(openBoxes().size(), 2);
}

/// The box over it keeps the input.
void tst_repeatedboxes::sameMessageBelowAnotherBox()
{
    BoxBench bench;
    std::optional<Answer> second;
    std::optional<Answer> third;
    ask(bench.dialogs, told(), bench.answer);
    QMessageBox &below = bench.box();
    ask(bench.dialogs, asked(), second);
    auto *above = below.findChild<QMessageBox *>(QStringLiteral("MessageBox"));
    QVERIFY(above);
    ask(bench.dialogs, told(), third);
    QCOMPARE(openBoxes().size(), 2);
    QTRY_COMPARE(below.informativeText(), QStringLiteral("(2 times)"));
    QTRY_COMPARE(QApplication::activeWindow(), above);
}

/// Its end answers its own message and no other.
void tst_repeatedboxes::withdrawnMessage()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    auto closer = std::make_unique<QObject>();
    Message message = asked();
    message.closedWith = closer.get();
    ask(bench.dialogs, message, second);
    QTRY_COMPARE(bench.box().informativeText(), QStringLiteral("(2 times)"));
    closer.reset();
    QVERIFY(second == Answer::No);
    QVERIFY(!bench.answer);
    QCOMPARE(openBoxes().size(), 1);
    QCOMPARE(bench.box().informativeText(), QString());
    bench.box().button(QMessageBox::Yes)->click();
    QVERIFY(bench.answered(Answer::Yes) && second == Answer::No);
}

void tst_repeatedboxes::withdrawnFirstMessage()
{
    BoxBench bench;
    std::optional<Answer> second;
    auto closer = std::make_unique<QObject>();
    Message message = asked();
    message.closedWith = closer.get();
    ask(bench.dialogs, message, bench.answer);
    ask(bench.dialogs, asked(), second);
    closer.reset();
    QVERIFY(bench.answered(Answer::No));
    QVERIFY(!second);
    bench.box().button(QMessageBox::Yes)->click();
    QVERIFY(second == Answer::Yes);
}

void tst_repeatedboxes::lastWithdrawnMessage()
{
    BoxBench bench;
    std::optional<Answer> second;
    auto closer = std::make_unique<QObject>();
    auto other = std::make_unique<QObject>();
    Message message = asked();
    message.closedWith = closer.get();
    ask(bench.dialogs, message, bench.answer);
    message.closedWith = other.get();
    ask(bench.dialogs, message, second);
    closer.reset();
    QVERIFY(!openBoxes().isEmpty());
    other.reset();
    QVERIFY(openBoxes().isEmpty());
    QVERIFY(bench.answered(Answer::No) && second == Answer::No);
}

void tst_repeatedboxes::withdrawnAfterTheAnswer()
{
    BoxBench bench;
    auto closer = std::make_unique<QObject>();
    Message message = asked();
    message.closedWith = closer.get();
    ask(bench.dialogs, message, bench.answer);
    bench.box().button(QMessageBox::Yes)->click();
    closer.reset();
    QVERIFY(bench.answered(Answer::Yes));
}

void tst_repeatedboxes::windowGoesWithSeveralMessages()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    ask(bench.dialogs, asked(), second);
    bench.window.reset();
    QVERIFY(bench.answered(Answer::No) && second == Answer::No);
}

void tst_repeatedboxes::thousandsOfMessages()
{
    BoxBench bench;
    QList<std::optional<Answer>> answers(5000);
    for (std::optional<Answer> &answer : answers)
        ask(bench.dialogs, told(), answer);
    QCOMPARE(openBoxes().size(), 1);
    QTRY_COMPARE(bench.box().informativeText(), QStringLiteral("(5000 times)"));
    bench.box().button(QMessageBox::Ok)->click();
    QCOMPARE(answers.count(std::optional(Answer::Ok)), 5000);
}

VANTREL_WINDOW_TEST(tst_repeatedboxes)
#include "tst_repeatedboxes.moc"
