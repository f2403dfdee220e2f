// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/WindowDialogs.h"
#include "support/TestProgram.h"
#include "windows/DialogBench.h"
#include "windows/DialogBoxes.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>

#include <memory>
#include <optional>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QCoro::Task<> ask(Dialogs &dialogs, Message message, std::optional<Answer> &answer)
{
    answer = co_await dialogs.messageBox(message);
}

/// A handler that shows one box after the other.
QCoro::Task<> askTwice(Dialogs &dialogs, Message message, int &answers)
{
    co_await dialogs.messageBox(message);
    ++answers;
    co_await dialogs.messageBox(message);
    ++answers;
}

Message told()
{
    return {QStringLiteral("It is <b>told</b> & done"), QStringLiteral("Vantrel - Warning")};
}

Message asked()
{
    return {QStringLiteral("Go on?"), QStringLiteral("Vantrel - Error"), Message::Buttons::YesNo};
}

struct Bench
{
    Bench()
    {
        dialogs.setWindow(window.get());
        window->show();
        waitUntilActive(*window);
    }

    QMessageBox &box() const
    {
        auto *box = openWindow<QMessageBox>("MessageBox");
        if (!box)
            qFatal("no box");
        return *box;
    }

    bool answered(Answer expected) const { return answer == expected; }

    DialogBoxes boxes;
    WindowDialogs dialogs{boxes};
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();
    std::optional<Answer> answer;
};

/// With two tool windows: one that is open and one that was closed.
struct ToolBench : Bench
{
    ToolBench()
    {
        toolDialogs.setWindow(&tool);
        closedDialogs.setWindow(&closed);
        tool.show();
        waitUntilActive(tool);
    }

    void activate(QWidget &widget) const
    {
        widget.activateWindow();
        waitUntilActive(widget);
    }

    QMainWindow closed{window.get(), Qt::Dialog};
    QMainWindow tool{window.get(), Qt::Dialog};
    Dialogs &mainDialogs = dialogs;
    WindowDialogs closedDialogs{mainDialogs};
    WindowDialogs toolDialogs{mainDialogs};
};

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
    Bench bench;
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().text(), QStringLiteral("It is <b>told</b> & done"));
    QCOMPARE(bench.box().textFormat(), Qt::PlainText);
    QCOMPARE(bench.box().windowTitle(), QStringLiteral("Vantrel - Warning"));
    QVERIFY(!bench.answer);
}

void TestDialogBoxes::buttons()
{
    Bench bench;
    ask(bench.dialogs, told(), bench.answer);
    QCOMPARE(bench.box().standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
    bench.box().close();
    ask(bench.dialogs, asked(), bench.answer);
    QCOMPARE(bench.box().standardButtons(), QMessageBox::Yes | QMessageBox::No);
}

void TestDialogBoxes::ok()
{
    Bench bench;
    ask(bench.dialogs, told(), bench.answer);
    bench.box().button(QMessageBox::Ok)->click();
    QVERIFY(bench.answered(Answer::Ok));
}

void TestDialogBoxes::yesAndNo()
{
    Bench bench;
    ask(bench.dialogs, asked(), bench.answer);
    bench.box().button(QMessageBox::Yes)->click();
    QVERIFY(bench.answered(Answer::Yes));

    ask(bench.dialogs, asked(), bench.answer);
    bench.box().button(QMessageBox::No)->click();
    QVERIFY(bench.answered(Answer::No));
}

void TestDialogBoxes::enterAnswers()
{
    Bench bench;
    ask(bench.dialogs, told(), bench.answer);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.box());
    QTest::keyClick(&bench.box(), Qt::Key_Return);
    QVERIFY(bench.answered(Answer::Ok));
}

void TestDialogBoxes::defaultButton()
{
    Bench bench;
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
    Bench bench;
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
    Bench bench;
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
    Bench bench;
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
    Bench bench;
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
    Bench bench;
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
    Bench bench;
    bench.window->hide();
    ask(bench.dialogs, asked(), bench.answer);
    QVERIFY(bench.answered(Answer::No));
}

VANTREL_WINDOW_TEST(TestDialogBoxes)
#include "tst_dialogboxes.moc"
