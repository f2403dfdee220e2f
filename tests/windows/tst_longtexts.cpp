// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/Binder.h"

#include <QCoreApplication>
#include <QPlainTextEdit>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

using namespace vantrel;

namespace {

/// About 130 characters.
const QString Entry = QStringLiteral("\r\n===== Class/Vendor Descriptor =====\r\n"
                                     " blength = 0x02\r\n"
                                     " bDescriptorType = 0x24\r\n"
                                     " --- Descriptor Data (hex) ---\r\n"
                                     "     \r\n");
const QString Long = Entry.repeated(10'000); // takes more than one turn on any machine

QString lines(QString text)
{
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

/// A window with two panes, one of them with a limit of lines.
struct Bench
{
    Bench()
    {
        auto *rows = new QVBoxLayout(&window);
        for (QPlainTextEdit *pane : {all, last}) {
            pane->setUndoRedoEnabled(false);
            pane->setReadOnly(true);
            rows->addWidget(pane);
        }
        all->setObjectName(QStringLiteral("All"));
        last->setObjectName(QStringLiteral("Last"));
        binder = std::make_unique<Binder>(controls, window);
        window.resize(400, 600);
        window.show();
        turn();
    }

    /// One turn of the event loop.
    static void turn() { QCoreApplication::processEvents(); }
    QString shown() const { return all->toPlainText(); }
    /// How many turns it takes until the pane shows what core has.
    int turnsToShow() const
    {
        const qsizetype size = lines(All.text()).size();
        int turns = 0;
        for (; all->document()->characterCount() - 1 != size && turns < 100'000; ++turns)
            turn();
        if (shown() != lines(All.text()))
            qFatal("another text is shown");
        return turns;
    }
    bool caretIsAtTheEnd() const
    {
        return all->textCursor().atEnd() && all->viewport()->rect().contains(all->cursorRect());
    }

    QList<Control *> controls;
    Control All{controls, "All"};
    Control Last{controls, "Last", Control::Pace::Coalesced, 5000};
    QWidget window;
    QPlainTextEdit *all = new QPlainTextEdit(&window);
    QPlainTextEdit *last = new QPlainTextEdit(&window);
    std::unique_ptr<Binder> binder;
};

} // namespace

/// Texts that are too long to be shown in one turn of the event loop.
class tst_longtexts : public QObject
{
    Q_OBJECT

private slots:
    void shortTextsShowAtOnce();
    void longAppend();
    void longText();
    void manyAppendsInOneTurn();
    void manyTextsInOneTurn();
    void lineBreaksAreNotDivided_data();
    void lineBreaksAreNotDivided();
    void appendMeanwhile();
    void clearMeanwhile();
    void anotherTextMeanwhile();
    void twoPanes();
    void limitOfLines();
    void closedMeanwhile();
    void deletedMeanwhile();
};

void tst_longtexts::shortTextsShowAtOnce()
{
    Bench bench;
    const QString half(Binder::AtOnceLimit / 2, u'.');
    bench.All.setText(half);
    QCOMPARE(bench.shown(), half);
    bench.All.appendText(half);
    QCOMPARE(bench.shown(), half + half);
    QVERIFY(bench.caretIsAtTheEnd());
    bench.turn();
    bench.All.setText(half); // in another turn
    QCOMPARE(bench.shown(), half);
}

void tst_longtexts::longAppend()
{
    Bench bench;
    bench.All.setText(Entry);
    bench.All.appendText(Long);
    QCOMPARE(bench.shown(), lines(Entry));
    bench.turn();
    QVERIFY(bench.shown().size() > Entry.size());
    QVERIFY(bench.shown().size() < Long.size() / 2);
    QVERIFY(lines(bench.All.text()).startsWith(bench.shown()));
    QVERIFY(bench.caretIsAtTheEnd());
    QVERIFY(bench.turnsToShow() > 1);
    QVERIFY(bench.caretIsAtTheEnd());
    QCOMPARE(bench.All.text(), Entry + Long);
    bench.turn();
    QCOMPARE(bench.shown(), lines(Entry + Long));
}

void tst_longtexts::longText()
{
    Bench bench;
    bench.All.setText(QStringLiteral("old"));
    bench.All.setText(Long);
    bench.turn();
    QVERIFY(lines(Long).startsWith(bench.shown()));
    QVERIFY(bench.turnsToShow() > 1);
    QVERIFY(bench.caretIsAtTheEnd());
}

/// Each of them is short.
void tst_longtexts::manyAppendsInOneTurn()
{
    Bench bench;
    for (int i = 0; i < 20'000; ++i)
        bench.All.appendText(Entry);
    QVERIFY(bench.shown().size() <= Binder::AtOnceLimit);
    QVERIFY(!bench.shown().isEmpty());
    QVERIFY(bench.turnsToShow() > 1);
}

void tst_longtexts::manyTextsInOneTurn()
{
    Bench bench;
    for (int i = 0; i < 1000; ++i)
        bench.All.setText(QString::number(i) + Entry.repeated(300));
    QVERIFY(!bench.shown().startsWith(QLatin1String("999")));
    QVERIFY(bench.turnsToShow() < 10); // the last one alone
}

void tst_longtexts::lineBreaksAreNotDivided_data()
{
    QTest::addColumn<int>("offset");
    for (int offset = 0; offset < 3; ++offset)
        QTest::addRow("%d", offset) << offset;
}

/// Wherever a slice ends.
void tst_longtexts::lineBreaksAreNotDivided()
{
    QFETCH(int, offset);
    Bench bench;
    bench.All.setText(QString(offset, u'x') + QStringLiteral("a\r\n").repeated(40'000));
    bench.turnsToShow();
    QCOMPARE(bench.all->document()->blockCount(), 40'001);
}

void tst_longtexts::appendMeanwhile()
{
    Bench bench;
    bench.All.appendText(Long);
    bench.turn();
    bench.All.appendText(QStringLiteral("last line\r\n"));
    QVERIFY(!bench.shown().contains(QLatin1String("last line")));
    bench.turnsToShow();
    QCOMPARE(bench.shown(), lines(Long) + QStringLiteral("last line\n"));
}

void tst_longtexts::clearMeanwhile()
{
    Bench bench;
    bench.All.appendText(Long);
    bench.turn();
    bench.All.setText({});
    QCOMPARE(bench.shown(), QString());
    for (int i = 0; i < 10; ++i)
        bench.turn();
    QCOMPARE(bench.shown(), QString());
    bench.All.appendText(Entry);
    QCOMPARE(bench.shown(), lines(Entry));
}

void tst_longtexts::anotherTextMeanwhile()
{
    Bench bench;
    bench.All.setText(Long);
    bench.turn();
    bench.All.setText(QStringLiteral("new"));
    QCOMPARE(bench.shown(), QStringLiteral("new"));
    bench.turn();
    QCOMPARE(bench.shown(), QStringLiteral("new"));

    bench.All.setText(Long);
    bench.turn();
    const QString other = QStringLiteral("other\r\n").repeated(50'000);
    bench.All.setText(other);
    bench.turn();
    QVERIFY(lines(other).startsWith(bench.shown()));
    bench.turnsToShow();
    QCOMPARE(bench.shown(), lines(other));
}

void tst_longtexts::twoPanes()
{
    Bench bench;
    bench.All.appendText(Long);
    bench.Last.appendText(QStringLiteral("short"));
    bench.turn();
    QCOMPARE(bench.last->toPlainText(), QStringLiteral("short")); // is not kept waiting
    QVERIFY(bench.turnsToShow() > 0);
}

void tst_longtexts::limitOfLines()
{
    Bench bench;
    for (int i = 0; i < 200'000; ++i) {
        bench.Last.appendText(QStringLiteral("\r\nline %1").arg(i));
        if (i % 40'000 == 0)
            bench.turn();
    }
    QTRY_COMPARE(bench.last->toPlainText(), lines(bench.Last.text()));
    QCOMPARE(bench.last->document()->blockCount(), 5000);
    QVERIFY(bench.last->textCursor().atEnd());
}

void tst_longtexts::closedMeanwhile()
{
    Bench bench;
    bench.All.appendText(Long);
    bench.turn();
    bench.window.close();
    bench.turnsToShow();
    bench.window.show();
    QCOMPARE(bench.shown(), lines(Long));
}

void tst_longtexts::deletedMeanwhile()
{
    Bench bench;
    bench.All.appendText(Long);
    bench.turn();
    bench.binder.reset();
    const QString shown = bench.shown();
    bench.turn();
    QCOMPARE(bench.shown(), shown);
}

VANTREL_WINDOW_TEST(tst_longtexts)
#include "tst_longtexts.moc"
