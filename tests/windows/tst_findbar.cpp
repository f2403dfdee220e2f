// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/FindBar.h"
#include "windows/ToolWindow.h"
#include "windows/WindowBench.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>
#include <QVBoxLayout>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A tool window with a pane and a bar that finds in it.
struct FindBench
{
    FindBench()
    {
        auto *content = new QWidget;
        auto *rows = new QVBoxLayout(content);
        rows->addWidget(pane);
        rows->addWidget(other);
        bar = new FindBar(*pane, content);
        rows->addWidget(bar);
        window.setCentralWidget(content);
        pane->setReadOnly(true);
        pane->setPlainText(QStringLiteral("Alpha beta\ngamma ALPHA\nalphabet"));
        window.present();
        waitUntilActive(window);
        other->setFocus();
    }

    void key(Qt::Key which, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(window.focusWidget(), which, modifiers);
    }
    void find(const char *text)
    {
        key(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(&field(), QLatin1String(text));
    }
    /// Where the selection begins, and what it is.
    QString selection() const
    {
        const QTextCursor cursor = pane->textCursor();
        return QStringLiteral("%1 %2").arg(cursor.selectionStart()).arg(cursor.selectedText());
    }
    QLineEdit &field() { return child<QLineEdit>(window, "FindText"); }
    QString outcome() { return child<QLabel>(window, "FindOutcome").text(); }
    QColor background() { return field().palette().color(QPalette::Base); }

    ToolWindow window{nullptr};
    QPlainTextEdit *pane = new QPlainTextEdit;
    QLineEdit *other = new QLineEdit;
    FindBar *bar = nullptr;
};

} // namespace

class tst_findbar : public QObject
{
    Q_OBJECT

private slots:
    void opensByKey();
    void findsWhileTyping();
    void enterAndF3();
    void buttons();
    void notFound();
    void nothingToFind();
    void paletteChanges();
    void takesTheSelection();
    void f3Opens();
    void escape();
    void closeButton();
};

void tst_findbar::opensByKey()
{
    FindBench bench;
    QVERIFY(!bench.bar->isVisible());
    bench.key(Qt::Key_F, Qt::ControlModifier);
    QVERIFY(bench.bar->isVisible());
    QCOMPARE(bench.window.focusWidget(), &bench.field());
    QCOMPARE(bench.outcome(), QString());

    QTest::keyClicks(&bench.field(), QStringLiteral("beta"));
    bench.pane->setFocus();
    bench.pane->moveCursor(QTextCursor::Start);
    bench.key(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(bench.window.focusWidget(), &bench.field());
    QCOMPARE(bench.field().selectedText(), QStringLiteral("beta"));
}

void tst_findbar::findsWhileTyping()
{
    FindBench bench;
    bench.find("a");
    QCOMPARE(bench.selection(), QStringLiteral("0 A"));
    QTest::keyClicks(&bench.field(), QStringLiteral("lph"));
    QCOMPARE(bench.selection(), QStringLiteral("0 Alph"));
    QTest::keyClicks(&bench.field(), QStringLiteral("ab"));
    QCOMPARE(bench.selection(), QStringLiteral("23 alphab"));
    QCOMPARE(bench.outcome(), QString());
}

void tst_findbar::enterAndF3()
{
    FindBench bench;
    bench.find("alpha");
    QCOMPARE(bench.selection(), QStringLiteral("0 Alpha"));
    bench.key(Qt::Key_Return);
    QCOMPARE(bench.selection(), QStringLiteral("17 ALPHA"));
    bench.key(Qt::Key_F3);
    QCOMPARE(bench.selection(), QStringLiteral("23 alpha"));
    bench.key(Qt::Key_Enter);
    QCOMPARE(bench.selection(), QStringLiteral("0 Alpha")); // round the end
    bench.key(Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(bench.selection(), QStringLiteral("23 alpha")); // round the beginning
    bench.key(Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(bench.selection(), QStringLiteral("17 ALPHA"));

    bench.other->setFocus();
    bench.key(Qt::Key_F3);
    QCOMPARE(bench.selection(), QStringLiteral("23 alpha"));
    QCOMPARE(bench.window.focusWidget(), bench.other);
}

void tst_findbar::buttons()
{
    FindBench bench;
    bench.find("alpha");
    QTest::mouseClick(&child<QToolButton>(bench.window, "FindNext"), Qt::LeftButton);
    QCOMPARE(bench.selection(), QStringLiteral("17 ALPHA"));
    QTest::mouseClick(&child<QToolButton>(bench.window, "FindPrevious"), Qt::LeftButton);
    QCOMPARE(bench.selection(), QStringLiteral("0 Alpha"));
}

void tst_findbar::notFound()
{
    FindBench bench;
    bench.find("alpha");
    const QColor usual = bench.background();
    QTest::keyClicks(&bench.field(), QStringLiteral("x"));
    QCOMPARE(bench.outcome(), QStringLiteral("Not found"));
    QVERIFY(bench.background() != usual);
    QCOMPARE(bench.selection(), QStringLiteral("0 Alpha"));
    bench.key(Qt::Key_F3);
    QCOMPARE(bench.outcome(), QStringLiteral("Not found"));
    bench.key(Qt::Key_Backspace);
    QCOMPARE(bench.outcome(), QString());
    QCOMPARE(bench.background(), usual);
}

void tst_findbar::nothingToFind()
{
    FindBench bench;
    bench.find("x");
    QCOMPARE(bench.outcome(), QStringLiteral("Not found"));
    bench.key(Qt::Key_Backspace);
    QCOMPARE(bench.outcome(), QString());
    bench.key(Qt::Key_Return);
    QCOMPARE(bench.outcome(), QString());
    QVERIFY(!bench.pane->textCursor().hasSelection());
}

void tst_findbar::paletteChanges()
{
    FindBench bench;
    bench.find("x");
    const QColor onLight = bench.background();
    QPalette dark = bench.window.palette();
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    bench.window.setPalette(dark);
    QVERIFY(bench.background() != onLight);
    QVERIFY(bench.background().lightness() < 128);
    QVERIFY(bench.background().red() > bench.background().green());
    bench.key(Qt::Key_Backspace);
    QCOMPARE(bench.background(), QColor(30, 30, 30));
}

void tst_findbar::takesTheSelection()
{
    FindBench bench;
    QTextCursor cursor = bench.pane->textCursor();
    cursor.setPosition(6);
    cursor.setPosition(10, QTextCursor::KeepAnchor);
    bench.pane->setTextCursor(cursor);
    bench.key(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(bench.field().text(), QStringLiteral("beta"));

    cursor.setPosition(12, QTextCursor::KeepAnchor); // into the next line
    bench.pane->setTextCursor(cursor);
    bench.key(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(bench.field().text(), QStringLiteral("beta"));
}

void tst_findbar::f3Opens()
{
    FindBench bench;
    bench.key(Qt::Key_F3);
    QVERIFY(bench.bar->isVisible());
    QCOMPARE(bench.window.focusWidget(), &bench.field());
}

void tst_findbar::escape()
{
    FindBench bench;
    bench.find("alpha");
    bench.key(Qt::Key_Escape);
    QVERIFY(!bench.bar->isVisible());
    QVERIFY(bench.window.isVisible());
    QCOMPARE(bench.window.focusWidget(), bench.pane);
    QCOMPARE(bench.selection(), QStringLiteral("0 Alpha"));

    bench.key(Qt::Key_F, Qt::ControlModifier);
    bench.other->setFocus();
    bench.key(Qt::Key_Escape); // from elsewhere in the window
    QVERIFY(!bench.bar->isVisible());
    QVERIFY(bench.window.isVisible());
    bench.key(Qt::Key_Escape);
    QVERIFY(!bench.window.isVisible());
}

void tst_findbar::closeButton()
{
    FindBench bench;
    bench.find("alpha");
    QTest::mouseClick(&child<QToolButton>(bench.window, "FindClose"), Qt::LeftButton);
    QVERIFY(!bench.bar->isVisible());
    QVERIFY(bench.window.isVisible());
}

VANTREL_WINDOW_TEST(tst_findbar)
#include "tst_findbar.moc"
