// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/HelpForm.h"
#include "tools/frmAbout.h"
#include "windows/ProgramIcon.h"
#include "windows/WindowBench.h"

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>
#include <array>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct Row
{
    const char *window;
    const char *name;
    const char *kind;
    const char *caption;
    const char *toolTip = "";
};

constexpr auto Rows = std::to_array<Row>({
    {"HelpForm", "Label1", "QLabel", "Double click on the topic for which you woudl like help"},
    {"HelpForm", "Helplist", "QListWidget", nullptr},
    {"HelpForm", "helptext", "QPlainTextEdit", nullptr},
    {"HelpForm", "OKButton", "QPushButton", "Exit Help"},
    {"frmAbout", "picIcon", "QLabel", ""},
    {"frmAbout", "lblTitle", "QLabel", "Vantrel"},
    {"frmAbout", "lblVersion", "QLabel", "Version " VANTREL_VERSION},
    {"frmAbout", "lblDescription", "QLabel",
     "Vantrel is a demonstration interface for Osk Systems Vorn 1 and Vorn 2 USB Test Hosts"},
    {"frmAbout", "cmdOK", "QPushButton", "OK"},
});

/// Both windows over a main window.
struct HelpBench : WindowBench
{
    void open(ToolWindow &opened)
    {
        opened.present();
        waitUntilActive(opened);
    }

    HelpForm help{&window};
    frmAbout about{&window};
    QListWidget &topics = child<QListWidget>(help, "Helplist");
    QPlainTextEdit &text = child<QPlainTextEdit>(help, "helptext");
};

/// Share of the picture that is not transparent, 0 to 1.
double covered(const QImage &image)
{
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            opaque += image.pixelColor(x, y).alpha() > 128 ? 1 : 0;
    }
    return static_cast<double>(opaque) / (image.width() * image.height());
}

} // namespace

/// Help, about, and the mark of the program.
class TestHelpWindows : public QObject
{
    Q_OBJECT

private slots:
    void row_data();
    void row();
    void nothingElse();
    void titles();
    void topics();
    void doubleClick();
    void singleClickShowsNothing();
    void byKeyboard();
    void textIsNotEdited();
    void helpCloses();
    void aboutCloses();
    void mainWindowStaysUsable();
    void icon_data();
    void icon();
    void iconInTheBox();
};

void TestHelpWindows::row_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(Rows.size()); ++i)
        QTest::newRow(Rows.at(static_cast<std::size_t>(i)).name) << i;
}

void TestHelpWindows::row()
{
    QFETCH(int, index);
    const Row &row = Rows.at(static_cast<std::size_t>(index));
    HelpBench bench;
    auto &widget = child<QWidget>(child<ToolWindow>(bench.window, row.window), row.name);
    QVERIFY2(widget.inherits(row.kind), widget.metaObject()->className());
    if (row.caption)
        QCOMPARE(widget.property("text").toString(), QString::fromLatin1(row.caption));
    QCOMPARE(widget.toolTip(), QString::fromLatin1(row.toolTip));
}

void TestHelpWindows::nothingElse()
{
    HelpBench bench;
    for (const char *window : {"HelpForm", "frmAbout"}) {
        QStringList listed{QStringLiteral("content")};
        for (const Row &row : Rows) {
            if (qstrcmp(row.window, window) == 0)
                listed += QString::fromLatin1(row.name);
        }
        QStringList present;
        for (const QWidget *widget :
             child<ToolWindow>(bench.window, window).findChildren<QWidget *>()) {
            if (!widget->objectName().isEmpty() &&
                !widget->objectName().startsWith(QLatin1String("qt_")))
                present += widget->objectName();
        }
        listed.sort();
        present.sort();
        QCOMPARE(present, listed);
    }
}

void TestHelpWindows::titles()
{
    HelpBench bench;
    QCOMPARE(bench.help.windowTitle(), QStringLiteral("Vantrel Help"));
    QCOMPARE(bench.about.windowTitle(), QStringLiteral("About Vantrel"));
}

void TestHelpWindows::topics()
{
    HelpBench bench;
    QStringList listed;
    for (int place = 0; place < bench.topics.count(); ++place) {
        listed += bench.topics.item(place)->text();
        QCOMPARE(bench.topics.item(place)->data(Qt::UserRole).toInt(), place);
    }
    QCOMPARE(listed,
             QStringList(
                 {QStringLiteral("Vantrel"), QStringLiteral("... Comm Port"),
                  QStringLiteral("... Vcc Control"), QStringLiteral("... Suspend/Resume"),
                  QStringLiteral("... USB Reset"), QStringLiteral("... Current Measurement"),
                  QStringLiteral("Device Request Builder"), QStringLiteral("Descriptor Viewer")}));
}

void TestHelpWindows::doubleClick()
{
    HelpBench bench;
    bench.open(bench.help);
    QCOMPARE(bench.text.toPlainText(), QString());
    for (const int topic : {0, 3, 7}) {
        const QPoint place = bench.topics.visualItemRect(bench.topics.item(topic)).center();
        QTest::mouseClick(bench.topics.viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(bench.topics.viewport(), Qt::LeftButton, {}, place);
        QCOMPARE(bench.text.toPlainText(), QStringLiteral("This is help item  %1").arg(topic));
    }
}

void TestHelpWindows::singleClickShowsNothing()
{
    HelpBench bench;
    bench.open(bench.help);
    QTest::mouseClick(bench.topics.viewport(), Qt::LeftButton, {},
                      bench.topics.visualItemRect(bench.topics.item(2)).center());
    QCOMPARE(bench.topics.currentRow(), 2);
    QCOMPARE(bench.text.toPlainText(), QString());
}

void TestHelpWindows::byKeyboard()
{
    HelpBench bench;
    bench.open(bench.help);
    QCOMPARE(QApplication::focusWidget(), &bench.topics);
    QTest::keyClick(&bench.topics, Qt::Key_Return);
    QCOMPARE(bench.text.toPlainText(), QStringLiteral("This is help item  0"));
    QTest::keyClick(&bench.topics, Qt::Key_End);
    QTest::keyClick(&bench.topics, Qt::Key_Enter);
    QCOMPARE(bench.text.toPlainText(), QStringLiteral("This is help item  7"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), &bench.text);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("OKButton"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QVERIFY(!bench.help.isVisible());
}

void TestHelpWindows::textIsNotEdited()
{
    HelpBench bench;
    bench.open(bench.help);
    bench.text.setFocus();
    QTest::keyClicks(&bench.text, QStringLiteral("mine"));
    QCOMPARE(bench.text.toPlainText(), QString());
}

void TestHelpWindows::helpCloses()
{
    HelpBench bench;
    bench.open(bench.help);
    QTest::mouseClick(&child<QPushButton>(bench.help, "OKButton"), Qt::LeftButton);
    QVERIFY(!bench.help.isVisible());
    bench.open(bench.help);
    QTest::keyClick(&bench.help, Qt::Key_Escape);
    QVERIFY(!bench.help.isVisible());
}

void TestHelpWindows::aboutCloses()
{
    HelpBench bench;
    bench.open(bench.about);
    QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("cmdOK"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QVERIFY(!bench.about.isVisible());
    bench.open(bench.about);
    QTest::mouseClick(&child<QPushButton>(bench.about, "cmdOK"), Qt::LeftButton);
    QVERIFY(!bench.about.isVisible());
}

void TestHelpWindows::mainWindowStaysUsable()
{
    HelpBench bench;
    bench.open(bench.help);
    bench.open(bench.about);
    for (const ToolWindow *window :
         {static_cast<ToolWindow *>(&bench.help), static_cast<ToolWindow *>(&bench.about)})
        QVERIFY(!window->isModal());
    QVERIFY(bench.widget("Connect").isEnabled());
    bench.window.close();
    QVERIFY(!bench.help.isVisible());
    QVERIFY(!bench.about.isVisible());
}

void TestHelpWindows::icon_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 22, 24, 32, 48, 64, 96, 128, 256})
        QTest::addRow("%d", size) << size;
}

void TestHelpWindows::icon()
{
    QFETCH(int, size);
    const QImage image = programIcon().pixmap(size).toImage();
    QCOMPARE(image.size(), QSize(size, size));
    QVERIFY(covered(image) > 0.9);
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0); // round corners
    // Case, arms and ball: the three colours are there at any size.
    const QColor case_ = image.pixelColor(size / 2, size / 6);
    QVERIFY(case_.blue() > case_.red() + 64);
    const QColor socket = image.pixelColor(size / 4, size / 4);
    QVERIFY(std::min({socket.red(), socket.green(), socket.blue()}) > 240);
    const QColor ball = image.pixelColor(size * 3 / 4, size / 4);
    QVERIFY(ball.red() > 200 && ball.blue() < 120);
}

void TestHelpWindows::iconInTheBox()
{
    HelpBench bench;
    const QPixmap shown = child<QLabel>(bench.about, "picIcon").pixmap();
    QCOMPARE(shown.deviceIndependentSize(), QSizeF(64, 64));
    QCOMPARE(shown.toImage(), programIcon().pixmap(64).toImage());
}

VANTREL_WINDOW_TEST(TestHelpWindows)
#include "tst_helpwindows.moc"
