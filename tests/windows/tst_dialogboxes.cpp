// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/BoxBench.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A handler that shows one box after the other.
QCoro::Task<> askTwice(Dialogs &dialogs, Message message, int &answers)
{
    co_await dialogs.messageBox(message);
    ++answers;
    co_await dialogs.messageBox(message);
    ++answers;
}

} // namespace

/// Message boxes: shown, answered, closed, left open.
class TestDialogBoxes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void texts();
    void buttons();
    void ok();
    void yesAndNo();
    void enterAnswers();
    void defaultButton();
    void closedByFrame_data();
    void closedByFrame();
    void boxIsDeleted();
    void modalOverItsWindow();
    void notOverTheActiveWindow();
    void notOverAClosedWindow();
    void activeWindowOfAnotherProgram();
    void nextBoxOutlivesTheFirst();
    void twoBoxesAtOnce();
    void windowGoes();
    void withoutAWindow();
    void closedMainWindow();
};

void TestDialogBoxes::texts()
{
    BoxBench bench;
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().text(), QStringLiteral("It is <b>told</b> & done"));
    QCOMPARE(bench.box().textFormat(), Qt::PlainText);
    QCOMPARE(bench.box().windowTitle(), QStringLiteral("Vantrel - Warning"));
    QVERIFY(!bench.answer);
}

void TestDialogBoxes::buttons()
{
    BoxBench bench;
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
    bench.box().close();
    ask(bench.dialogs, asked(), bench.answer);
    QCOMPARE(bench.box().standardButtons(), QMessageBox::Yes | QMessageBox::No);
}

void TestDialogBoxes::ok()
{
    BoxBench bench;
    ask(bench.dialogs, told(), bench.answer);
    bench.box().button(QMessageBox::Ok)->click();
    QVERIFY(bench.answered(Answer::Ok));
}

void TestDialogBoxes::yesAndNo()
{
    BoxBench bench;
    ask(bench.dialogs, asked(), bench.answer);
    bench.box().button(QMessageBox::Yes)->click();
    QVERIFY(bench.answered(Answer::Yes));

    ask(bench.dialogs, asked(), bench.answer);
    bench.box().button(QMessageBox::No)->click();
    QVERIFY(bench.answered(Answer::No));
}

void TestDialogBoxes::enterAnswers()
{
    BoxBench bench;
    ask(bench.dialogs, told(), bench.answer);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    QTest::keyClick(&bench.box(), Qt::Key_Return);
    QVERIFY(bench.answered(Answer::Ok));
}

void TestDialogBoxes::defaultButton()
{
    BoxBench bench;
    Message question = asked();
    question.noIsDefault = true;
    ask(bench.dialogs, question, bench.answer);
    QCOMPARE(bench.box().defaultButton(), bench.box().button(QMessageBox::No));
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    QTest::keyClick(&bench.box(), Qt::Key_Return);
    QVERIFY(bench.answered(Answer::No));

    ask(bench.dialogs, asked(), bench.answer);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    QTest::keyClick(&bench.box(), Qt::Key_Return);
    QVERIFY(bench.answered(Answer::Yes));
}

void TestDialogBoxes::closedByFrame_data()
{
    QTest::addColumn<bool>("question");
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("message, frame") << false << false;
    QTest::newRow("message, Escape") << false << true;
    QTest::newRow("question, frame") << true << false;
    QTest::newRow("question, Escape") << true << true;
}

void TestDialogBoxes::closedByFrame()
{
    QFETCH(bool, question);
    QFETCH(bool, byEscape);
    BoxBench bench;
    ask(bench.dialogs, question ? asked() : told(), bench.answer);
    if (byEscape)
        QTest::keyClick(&bench.box(), Qt::Key_Escape);
    else
        bench.box().close();
    QVERIFY(bench.answered(question ? Answer::No : Answer::Ok));
    QVERIFY(!openWindow<QMessageBox>("MessageBox"));
}

void TestDialogBoxes::boxIsDeleted()
{
    BoxBench bench;
    ask(bench.dialogs, told(), bench.answer);
    const QPointer<QMessageBox> box = &bench.box();
    box->button(QMessageBox::Ok)->click();
    QTRY_VERIFY(!box);
}

void TestDialogBoxes::modalOverItsWindow()
{
    ToolBench bench;
    ask(bench.toolDialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), &bench.tool);
    QCOMPARE(bench.box().windowModality(), Qt::WindowModal);
}

void TestDialogBoxes::notOverTheActiveWindow()
{
    ToolBench bench;
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), bench.window.get());
    bench.box().close();

    bench.activate(*bench.window);
    ask(bench.toolDialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), &bench.tool);
}

void TestDialogBoxes::notOverAClosedWindow()
{
    ToolBench bench;
    ask(bench.closedDialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), bench.window.get());
}

void TestDialogBoxes::activeWindowOfAnotherProgram()
{
    ToolBench bench;
    QWidget other;
    other.show();
    waitUntilActive(other);
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), bench.window.get());
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    bench.box().close();

    other.hide(); // no window of this program is active
    ask(bench.toolDialogs, told(), bench.answer);
    QCOMPARE(bench.box().parentWidget(), &bench.tool);
}

void TestDialogBoxes::nextBoxOutlivesTheFirst()
{
    BoxBench bench;
    int answers = 0;
    askTwice(bench.dialogs, told(), answers);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    const QPointer<QMessageBox> first = &bench.box();
    first->button(QMessageBox::Ok)->click();
    QTRY_VERIFY(!first);
    QCOMPARE(answers, 1);
    QCOMPARE(bench.box().parentWidget(), bench.window.get());
    bench.box().close();
    QCOMPARE(answers, 2);
}

void TestDialogBoxes::twoBoxesAtOnce()
{
    BoxBench bench;
    std::optional<Answer> second;
    ask(bench.dialogs, asked(), bench.answer);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    const QPointer<QMessageBox> first = &bench.box();
    ask(bench.dialogs, told(), second);
    auto *above = first->findChild<QMessageBox *>(QStringLiteral("MessageBox"));
    QVERIFY(above);
    above->button(QMessageBox::Ok)->click();
    QVERIFY(second == Answer::Ok);
    QVERIFY(!bench.answer);
    first->button(QMessageBox::Yes)->click();
    QVERIFY(bench.answered(Answer::Yes));
}

void TestDialogBoxes::windowGoes()
{
    BoxBench bench;
    ask(bench.dialogs, asked(), bench.answer);
    bench.window.reset();
    QVERIFY(bench.answered(Answer::No));
}

void TestDialogBoxes::withoutAWindow()
{
    DialogBoxes dialogs;
    std::optional<Answer> answer;
    ask(dialogs, asked(), answer);
    QVERIFY(answer == Answer::No);
}

void TestDialogBoxes::closedMainWindow()
{
    BoxBench bench;
    bench.window->hide();
    ask(bench.dialogs, asked(), bench.answer);
    QVERIFY(bench.answered(Answer::No));
}

VANTREL_WINDOW_TEST(TestDialogBoxes)
#include "tst_dialogboxes.moc"
