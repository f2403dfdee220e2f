// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/Binder.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

#include <memory>

using namespace vantrel;

namespace {

/// A window of one widget of each kind, with its values; bound when the test says so.
struct Bench
{
    Bench()
    {
        auto *rows = new QVBoxLayout(&window);
        for (QWidget *widget : {static_cast<QWidget *>(button), static_cast<QWidget *>(box),
                                static_cast<QWidget *>(one), static_cast<QWidget *>(two),
                                static_cast<QWidget *>(label), static_cast<QWidget *>(meter),
                                static_cast<QWidget *>(field), static_cast<QWidget *>(list),
                                static_cast<QWidget *>(pane)})
            rows->addWidget(widget);
        button->setObjectName(QStringLiteral("Button"));
        box->setObjectName(QStringLiteral("Box"));
        one->setObjectName(QStringLiteral("One"));
        two->setObjectName(QStringLiteral("Two"));
        label->setObjectName(QStringLiteral("Label"));
        meter->setObjectName(QStringLiteral("Meter"));
        field->setObjectName(QStringLiteral("Field"));
        list->setObjectName(QStringLiteral("List"));
        pane->setObjectName(QStringLiteral("Pane"));
        item->setObjectName(QStringLiteral("Item"));
        pane->setUndoRedoEnabled(false);
    }

    void bind() { binder = std::make_unique<Binder>(all, window); }

    void show()
    {
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    QList<Control *> all;
    Control Button{all, "Button"}, Box{all, "Box"}, One{all, "One"}, Two{all, "Two"};
    Control Label{all, "Label"}, Field{all, "Field"}, List{all, "List"}, Pane{all, "Pane"};
    Control Item{all, "Item"};
    Control Meter{all, "Meter", Control::Pace::Coalesced};

    QWidget window;
    QPushButton *button = new QPushButton(QStringLiteral("Go"), &window);
    QCheckBox *box = new QCheckBox(QStringLiteral("Box"), &window);
    QRadioButton *one = new QRadioButton(QStringLiteral("One"), &window);
    QRadioButton *two = new QRadioButton(QStringLiteral("Two"), &window);
    QLabel *label = new QLabel(QStringLiteral("Text"), &window);
    QLabel *meter = new QLabel(&window);
    QLineEdit *field = new QLineEdit(&window);
    QComboBox *list = new QComboBox(&window);
    QPlainTextEdit *pane = new QPlainTextEdit(&window);
    QAction *item = new QAction(QStringLiteral("&Item"), &window);
    std::unique_ptr<Binder> binder;
};

QColor backgroundOf(const QWidget &widget)
{
    return widget.palette().color(widget.backgroundRole());
}

QColor textColourOf(const QWidget &widget)
{
    return widget.palette().color(widget.foregroundRole());
}

bool showsLastLine(const QPlainTextEdit &pane)
{
    return pane.textCursor().atEnd() && pane.viewport()->rect().contains(pane.cursorRect());
}

} // namespace

class TestBinder : public QObject
{
    Q_OBJECT

private slots:
    void formLoadsWhatCoreHasNotSet();
    void ownedValuesShowAtOnce();
    void text();
    void textCoalesced();
    void readOnlyFieldShowsItsBeginning();
    void labelsShowPlainText();
    void toolTip();
    void enabled();
    void visible();
    void checked();
    void colour_data();
    void colour();
    void items();
    void index();
    void paneTakesWholeText();
    void paneAppends();
    void appendToOtherKinds();
    void userTicksBeforeHandler();
    void userSelectsOption();
    void userTypesBeforeHandler();
    void userChoosesBeforeHandler();
    void coreIsNoUser();
    void focusComesBack();
    void focusComesBackPastDisabledNeighbours();
    void focusStaysWhereTheUserWent();
};

void TestBinder::formLoadsWhatCoreHasNotSet()
{
    Bench bench;
    bench.button->setToolTip(QStringLiteral("Goes"));
    bench.two->setChecked(true);
    QSignalSpy changes(&bench.Button, &Control::changed);
    bench.bind();
    QCOMPARE(bench.Button.text(), QStringLiteral("Go"));
    QCOMPARE(bench.Button.toolTip(), QStringLiteral("Goes"));
    QCOMPARE(bench.Item.text(), QStringLiteral("&Item"));
    QVERIFY(!bench.One.isChecked());
    QVERIFY(bench.Two.isChecked());
    QCOMPARE(changes.size(), 0);
    QCOMPARE(bench.Button.ownedAspects(), Control::Aspects());
}

void TestBinder::ownedValuesShowAtOnce()
{
    Bench bench;
    bench.Button.setText(QStringLiteral("Stop"));
    bench.Button.setEnabled(false);
    bench.Two.setChecked(true);
    bench.Item.setEnabled(false);
    bench.Item.setText(QStringLiteral("Other"));
    bench.Label.setVisible(false);
    bench.Pane.appendText(QStringLiteral("line"));
    bench.List.setItems({QStringLiteral("a"), QStringLiteral("b")});
    bench.List.setIndex(1);
    bench.bind();
    QCOMPARE(bench.button->text(), QStringLiteral("Stop"));
    QVERIFY(!bench.button->isEnabled());
    QVERIFY(bench.two->isChecked());
    QVERIFY(!bench.item->isEnabled());
    QCOMPARE(bench.item->text(), QStringLiteral("Other"));
    QVERIFY(bench.label->isHidden());
    QCOMPARE(bench.pane->toPlainText(), QStringLiteral("line"));
    QCOMPARE(bench.list->currentText(), QStringLiteral("b"));
}

void TestBinder::text()
{
    Bench bench;
    bench.bind();
    for (Control *control :
         {&bench.Button, &bench.Box, &bench.One, &bench.Label, &bench.Field, &bench.Item})
        control->setText(QStringLiteral("new"));
    QCOMPARE(bench.button->text(), QStringLiteral("new"));
    QCOMPARE(bench.box->text(), QStringLiteral("new"));
    QCOMPARE(bench.one->text(), QStringLiteral("new"));
    QCOMPARE(bench.label->text(), QStringLiteral("new"));
    QCOMPARE(bench.field->text(), QStringLiteral("new"));
    QCOMPARE(bench.item->text(), QStringLiteral("new"));
}

void TestBinder::textCoalesced()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.Meter.setText(QStringLiteral(" 1 Bytes"));
    bench.Meter.setText(QStringLiteral(" 2 Bytes"));
    QCOMPARE(bench.meter->text(), QString());
    QCoreApplication::processEvents();
    QCOMPARE(bench.meter->text(), QStringLiteral(" 2 Bytes"));

    bench.Meter.setText(QStringLiteral(" 3 Bytes"));
    QCOMPARE(bench.meter->text(), QStringLiteral(" 2 Bytes"));
    QCoreApplication::processEvents();
    QCOMPARE(bench.meter->text(), QStringLiteral(" 3 Bytes"));
}

void TestBinder::readOnlyFieldShowsItsBeginning()
{
    Bench bench;
    bench.bind();
    bench.Field.setText(QStringLiteral("a long name"));
    QCOMPARE(bench.field->cursorPosition(), 11);
    bench.field->setReadOnly(true);
    bench.Field.setText(QStringLiteral("another long name"));
    QCOMPARE(bench.field->cursorPosition(), 0);
}

void TestBinder::labelsShowPlainText()
{
    Bench bench;
    bench.bind();
    bench.Label.setText(QStringLiteral("<Unknown>"));
    QCOMPARE(bench.label->text(), QStringLiteral("<Unknown>"));
    QCOMPARE(bench.label->textFormat(), Qt::PlainText);
}

void TestBinder::toolTip()
{
    Bench bench;
    bench.bind();
    bench.Button.setToolTip(QStringLiteral("new"));
    QCOMPARE(bench.button->toolTip(), QStringLiteral("new"));
}

void TestBinder::enabled()
{
    Bench bench;
    bench.bind();
    bench.Button.setEnabled(false);
    bench.Item.setEnabled(false);
    QVERIFY(!bench.button->isEnabled());
    QVERIFY(!bench.item->isEnabled());
    bench.Button.setEnabled(true);
    bench.Item.setEnabled(true);
    QVERIFY(bench.button->isEnabled());
    QVERIFY(bench.item->isEnabled());
}

void TestBinder::visible()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.Label.setVisible(false);
    QVERIFY(!bench.label->isVisible());
    bench.Label.setVisible(true);
    QVERIFY(bench.label->isVisible());
}

void TestBinder::checked()
{
    Bench bench;
    bench.bind();
    bench.Box.setChecked(true);
    QVERIFY(bench.box->isChecked());
    bench.One.setChecked(true);
    bench.Two.setChecked(true);
    QVERIFY(bench.two->isChecked());
    QVERIFY(!bench.one->isChecked());
    QVERIFY2(!bench.One.isChecked(), "an option that another one clears is clear in its value too");
}

void TestBinder::colour_data()
{
    QTest::addColumn<QColor>("window");
    QTest::addColumn<uint>("value");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<QColor>("text");
    const QColor light(240, 240, 240);
    const QColor dark(32, 32, 32);
    const QColor red(255, 0, 0);
    const QColor cyan(0x80, 0xFF, 0xFF);
    QTest::newRow("red, light") << light << 255U << red << QColor(Qt::black);
    QTest::newRow("red, dark") << dark << 255U << red << QColor(Qt::black);
    QTest::newRow("cyan, light") << light << 0xFFFF80U << cyan << QColor(Qt::black);
    QTest::newRow("cyan, dark") << dark << 0xFFFF80U << cyan << QColor(Qt::black);
    QTest::newRow("navy, light") << light << 0x800000U << QColor(0, 0, 128) << QColor(Qt::white);
}

void TestBinder::colour()
{
    QFETCH(QColor, window);
    QFETCH(uint, value);
    Bench bench;
    bench.window.setPalette(QPalette(window));
    bench.bind();
    const QColor textBefore = textColourOf(*bench.label);

    bench.Label.setColour(Colour::fromBlueGreenRed(value));
    QTEST(backgroundOf(*bench.label), "background");
    QTEST(textColourOf(*bench.label), "text");
    QVERIFY(bench.label->autoFillBackground());

    bench.Label.setColour(std::nullopt);
    QCOMPARE(backgroundOf(*bench.label), window);
    QCOMPARE(textColourOf(*bench.label), textBefore);
    QVERIFY(!bench.label->autoFillBackground());
}

void TestBinder::items()
{
    Bench bench;
    bench.bind();
    bench.List.setItems({QStringLiteral("a"), QStringLiteral("c")});
    QCOMPARE(bench.list->count(), 2);
    QCOMPARE(bench.list->currentIndex(), -1);

    bench.List.setIndex(0);
    bench.List.insertItem(1, QStringLiteral("b"));
    QCOMPARE(bench.list->itemText(1), QStringLiteral("b"));
    QCOMPARE(bench.list->itemText(2), QStringLiteral("c"));
    QCOMPARE(bench.list->currentIndex(), 0);
}

void TestBinder::index()
{
    Bench bench;
    bench.bind();
    bench.List.setItems({QStringLiteral("a"), QStringLiteral("b")});
    bench.List.setIndex(1);
    QCOMPARE(bench.list->currentText(), QStringLiteral("b"));
    bench.List.setIndex(-1);
    QCOMPARE(bench.list->currentIndex(), -1);
}

void TestBinder::paneTakesWholeText()
{
    Bench bench;
    bench.bind();
    bench.show();
    QString lines;
    for (int line = 0; line < 500; ++line)
        lines += QStringLiteral("line %1\r\n").arg(line);
    bench.Pane.setText(lines);
    QCOMPARE(bench.pane->document()->blockCount(), 501);
    QCOMPARE(bench.pane->document()->findBlockByNumber(499).text(), QStringLiteral("line 499"));
    QVERIFY(showsLastLine(*bench.pane));
    bench.Pane.setText({});
    QVERIFY(bench.pane->document()->isEmpty());
}

void TestBinder::paneAppends()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.Pane.appendText(QStringLiteral("first"));
    const QTextBlock first = bench.pane->document()->firstBlock();
    for (int line = 0; line < 500; ++line) {
        bench.pane->moveCursor(QTextCursor::Start);
        bench.Pane.appendText(QStringLiteral("\r\nline %1").arg(line));
    }
    QCOMPARE(bench.pane->document()->blockCount(), 501);
    QCOMPARE(bench.pane->document()->lastBlock().text(), QStringLiteral("line 499"));
    QVERIFY(showsLastLine(*bench.pane));
    QVERIFY2(first.isValid() && first.text() == QLatin1String("first"), "the document was rebuilt");
}

void TestBinder::appendToOtherKinds()
{
    Bench bench;
    bench.bind();
    bench.Label.appendText(QStringLiteral(" and more"));
    QCOMPARE(bench.label->text(), QStringLiteral("Text and more"));
}

void TestBinder::userTicksBeforeHandler()
{
    Bench bench;
    bench.bind();
    QList<bool> seen;
    connect(bench.box, &QCheckBox::clicked, this, [&] { seen.append(bench.Box.isChecked()); });
    bench.box->click();
    bench.box->click();
    QCOMPARE(seen, (QList<bool>{true, false}));
}

void TestBinder::userSelectsOption()
{
    Bench bench;
    bench.one->setChecked(true);
    bench.bind();
    bench.two->click();
    QVERIFY(!bench.One.isChecked());
    QVERIFY(bench.Two.isChecked());
}

void TestBinder::userTypesBeforeHandler()
{
    Bench bench;
    bench.bind();
    QStringList seen;
    connect(bench.field, &QLineEdit::textEdited, this, [&] { seen.append(bench.Field.text()); });
    QTest::keyClicks(bench.field, QStringLiteral("5.2"));
    QCOMPARE(seen.join(QLatin1Char(' ')), QStringLiteral("5 5. 5.2"));
}

void TestBinder::userChoosesBeforeHandler()
{
    Bench bench;
    bench.bind();
    bench.List.setItems({QStringLiteral("a"), QStringLiteral("b")});
    QList<int> seen;
    connect(bench.list, &QComboBox::activated, this, [&] { seen.append(bench.List.index()); });
    QTest::keyClick(bench.list, Qt::Key_Down);
    QTest::keyClick(bench.list, Qt::Key_Down);
    QCOMPARE(seen, (QList<int>{0, 1}));
}

void TestBinder::coreIsNoUser()
{
    Bench bench;
    bench.bind();
    QSignalSpy clicked(bench.box, &QCheckBox::clicked);
    QSignalSpy edited(bench.field, &QLineEdit::textEdited);
    QSignalSpy activated(bench.list, &QComboBox::activated);
    QSignalSpy triggered(bench.item, &QAction::triggered);
    QSignalSpy ticked(&bench.Box, &Control::changed);

    bench.Box.setChecked(true);
    bench.Field.setText(QStringLiteral("5.00"));
    bench.List.setItems({QStringLiteral("a")});
    bench.List.setIndex(0);
    bench.Item.setText(QStringLiteral("b"));
    QCOMPARE(clicked.size() + edited.size() + activated.size() + triggered.size(), 0);
    QCOMPARE(ticked.size(), 1);
}

void TestBinder::focusComesBack()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.button->setFocus();
    bench.Button.setEnabled(false);
    QVERIFY(!bench.button->hasFocus());
    bench.Button.setEnabled(true);
    QVERIFY(bench.button->hasFocus());
}

void TestBinder::focusComesBackPastDisabledNeighbours()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.button->setFocus();
    bench.Button.setEnabled(false);
    bench.Box.setEnabled(false);
    bench.One.setEnabled(false);
    bench.Two.setEnabled(false);
    bench.Button.setEnabled(true);
    QVERIFY(bench.button->hasFocus());
}

void TestBinder::focusStaysWhereTheUserWent()
{
    Bench bench;
    bench.bind();
    bench.show();
    bench.button->setFocus();
    bench.Button.setEnabled(false);
    bench.field->setFocus();
    bench.Button.setEnabled(true);
    QVERIFY(bench.field->hasFocus());
}

VANTREL_WINDOW_TEST(TestBinder)
#include "tst_binder.moc"
