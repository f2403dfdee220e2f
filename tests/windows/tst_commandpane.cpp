// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/WindowBench.h"

#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTextBlock>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct PaneBench : WindowBench
{
    QString shown() { return pane.toPlainText(); }
    QString inCore() const
    {
        return QString(main.CmdWin.text()).replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    }
    bool showsTheLastLine() const
    {
        return pane.textCursor().atEnd() && pane.viewport()->rect().contains(pane.cursorRect());
    }

    QPlainTextEdit &pane = find<QPlainTextEdit>("CmdWin");
};

} // namespace

/// The panes of the main window under floods and redraws.
class TestCommandPane : public QObject
{
    Q_OBJECT

private slots:
    void floodOfAcknowledgements();
    void linesOfOneTurn();
    void moreThanTheLimitInOneTurn();
    void clearInTheSameTurn();
    void selectionSurvivesATurnWithoutLines();
    void responseCaretGoesToTheEnd();
};

void TestCommandPane::floodOfAcknowledgements()
{
    constexpr int Count = 50'000;
    constexpr int ReadSize = 65'536;
    PaneBench bench;
    bench.run();
    QTRY_COMPARE(bench.shown(), bench.inCore());
    const QSignalSpy redrawn(bench.pane.document(), &QTextDocument::contentsChanged);

    const QByteArray flood = "1b53 83 1b45"_hex.repeated(Count);
    for (qsizetype sent = 0; sent < flood.size(); sent += ReadSize) {
        bench.transport().receive(flood.mid(sent, ReadSize));
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE(bench.shown(), bench.inCore());
    QCOMPARE(bench.pane.document()->blockCount(), 5000);
    QCOMPARE(bench.shown(), QStringLiteral("Suspending\n").repeated(5000).chopped(1));
    QVERIFY(bench.showsTheLastLine());
    const qsizetype reads = flood.size() / ReadSize + 1;
    QVERIFY2(redrawn.size() <= 4 * reads, qPrintable(QString::number(redrawn.size())));
}

void TestCommandPane::linesOfOneTurn()
{
    PaneBench bench;
    QTRY_COMPARE(bench.shown(), QString());
    ShowStatusLine(bench.session, QStringLiteral("first"));
    QTRY_COMPARE(bench.shown(), QStringLiteral("\nfirst"));
    const QTextBlock first = bench.pane.document()->lastBlock();

    ShowStatusLine(bench.session, QStringLiteral("second"));
    ShowStatusLine(bench.session, QStringLiteral("third"));
    QCOMPARE(bench.shown(), QStringLiteral("\nfirst"));
    QTRY_COMPARE(bench.shown(), QStringLiteral("\nfirst\nsecond\nthird"));
    QVERIFY(first.isValid()); // appended, not set anew
    QVERIFY(bench.showsTheLastLine());
}

void TestCommandPane::moreThanTheLimitInOneTurn()
{
    PaneBench bench;
    for (int turn = 0; turn < 3; ++turn) {
        for (int line = 0; line < 3000 * (turn + 1); ++line)
            ShowStatusLine(bench.session, QStringLiteral("turn %1, line %2").arg(turn).arg(line));
        QTRY_COMPARE(bench.shown(), bench.inCore());
        QCOMPARE(bench.pane.document()->blockCount(), turn == 0 ? 3001 : 5000);
        QVERIFY(bench.showsTheLastLine());
    }
}

void TestCommandPane::clearInTheSameTurn()
{
    PaneBench bench;
    ShowStatusLine(bench.session, QStringLiteral("before"));
    bench.console.clearClicked();
    ShowStatusLine(bench.session, QStringLiteral("after"));
    QTRY_COMPARE(bench.shown(), QStringLiteral("\nafter"));
}

void TestCommandPane::selectionSurvivesATurnWithoutLines()
{
    PaneBench bench;
    ShowStatusLine(bench.session, QStringLiteral("text"));
    QTRY_COMPARE(bench.shown(), QStringLiteral("\ntext"));
    bench.pane.selectAll();
    for (int turn = 0; turn < 5; ++turn)
        QCoreApplication::processEvents();
    QVERIFY(bench.pane.textCursor().hasSelection());
}

/// At each redraw, also when the new text equals the old one.
void TestCommandPane::responseCaretGoesToTheEnd()
{
    PaneBench bench;
    auto &responses = bench.find<QPlainTextEdit>("RespWin");
    // Once the text is cut, a long run of one report always gives the same text.
    const std::string line(18, 'x'); // 20 characters with its end
    for (int lines = 0; lines < 1100; ++lines)
        ShowResponseLine(bench.session, line);
    bench.tick();
    const QString before = responses.toPlainText();
    responses.moveCursor(QTextCursor::Start);

    bench.tick(); // nothing new: the user may read
    QVERIFY(responses.textCursor().atStart());
    ShowResponseLine(bench.session, line);
    bench.tick();
    QCOMPARE(responses.toPlainText(), before);
    QVERIFY(responses.textCursor().atEnd());
    QVERIFY(responses.viewport()->rect().contains(responses.cursorRect()));
}

VANTREL_WINDOW_TEST(TestCommandPane)
#include "tst_commandpane.moc"
