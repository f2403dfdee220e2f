// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ControlSets.h"
#include "support/TestProgram.h"
#include "windows/WindowBench.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// Names of the controls whose widget or action is enabled as said.
NameSet shown(WindowBench &bench, bool enabled)
{
    NameSet names;
    for (const Control *control : bench.main.all) {
        const QByteArray name = control->name().toLatin1();
        if (bench.find<QObject>(name.constData()).property("enabled").toBool() == enabled)
            names.insert(control->name());
    }
    return names;
}

} // namespace

/// The main window as the user meets it.
class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void startUp_data();
    void startUp();
    void runningTester();
    void disconnectedAgain();
    void connectCaption();
    void openFails();
    void optionSelectsThePort();
    void portStatusShows();
    void unknownSpeedShows();
    void panes();
    void clear();
    void logFrame();
    void descriptorViewerNeedsAutoMode();
    void itemsWithoutAWindowDoNothing();
    void scriptButtons();
    void downloadDisablesTheWindow();
    void fitsSmallScreens();
    void nothingMovesWithTheTexts();
    void readOnlyFieldsFollowThePalette();
    void panesStayLegible();
    void disabledPanesTakeNoInput();
};

void TestMainWindow::startUp_data()
{
    QTest::addColumn<bool>("windowFirst");
    QTest::newRow("loaded, then shown") << false;
    QTest::newRow("shown, then loaded") << true;
}

void TestMainWindow::startUp()
{
    QFETCH(bool, windowFirst);
    using Start = ConsoleBench::Start;
    WindowBench bench(windowFirst ? Start::Bare : Start::Loaded);
    if (windowFirst)
        bench.console.load(bench.namesFile);

    QCOMPARE(shown(bench, false), namesOf({"VoltDisable",
                                           "VoltEnable",
                                           "VoltSet",
                                           "Suspend",
                                           "USBResume",
                                           "USBReset",
                                           "VoltWin",
                                           "ScriptLoad",
                                           "ScriptRun",
                                           "UtilFM",
                                           "UtilDV",
                                           "UtilDR",
                                           "EZUSB",
                                           "Automode",
                                           "Vcc_AR",
                                           "mnuUtilFW",
                                           "mnuUtilFTDI",
                                           "cbHSInhibit",
                                           "mnuConfigureNetwork",
                                           "FileClose"}));
    for (const char *item : {"Exit", "HelpAbout", "HelpTopics"})
        QVERIFY2(bench.find<QAction>(item).isEnabled(), item);
    QVERIFY(bench.find<QRadioButton>("Comm1").isChecked());
    QVERIFY(bench.widget("LogFrame").isHidden());

    const auto &names = bench.find<QComboBox>("cbNWName");
    QCOMPARE(names.count(), 1);
    QCOMPARE(names.itemText(0), QStringLiteral("<New>"));
    QCOMPARE(names.currentIndex(), -1);
    QCOMPARE(names.placeholderText(), QStringLiteral("192.168.1.10"));
}

void TestMainWindow::runningTester()
{
    WindowBench bench;
    bench.run();
    QCOMPARE(shown(bench, false), namesOf({"VoltSet", "ScriptRun", "FileClose", "Comm1", "Comm2",
                                           "Comm3", "Comm4", "CommE", "cbNWName"}));
    QCOMPARE(bench.find<QLineEdit>("VoltWin").text(), QStringLiteral("5.00"));
    QVERIFY(bench.find<QCheckBox>("Automode").isChecked());
    QVERIFY(!bench.find<QCheckBox>("Vcc_AR").isChecked());
    QCOMPARE(bench.find<QAction>("mnuUtilFW").text(), QStringLiteral("Vorn 2 Firm&ware Loader"));
}

void TestMainWindow::disconnectedAgain()
{
    WindowBench bench;
    bench.run();
    bench.press("Connect");
    QCOMPARE(shown(bench, false),
             namesOf({"VoltDisable", "VoltEnable", "VoltSet", "Suspend", "USBResume", "USBReset",
                      "VoltWin", "ScriptLoad", "ScriptRun", "UtilFM", "UtilDV", "UtilDR", "EZUSB",
                      "Automode", "Vcc_AR", "mnuUtilFTDI", "mnuConfigureNetwork", "FileClose"}));
}

void TestMainWindow::connectCaption()
{
    WindowBench bench;
    const auto &button = bench.find<QPushButton>("Connect");
    bench.press("Connect");
    QCOMPARE(button.text(), QStringLiteral("Disconnect"));
    QCOMPARE(button.toolTip(), QStringLiteral("Disconnect from Vorn Tester"));
    QVERIFY(button.isEnabled());
    bench.press("Connect");
    QCOMPARE(button.text(), QStringLiteral("Connect"));
    QCOMPARE(button.toolTip(), QStringLiteral("Connect to Vorn Tester"));
}

void TestMainWindow::openFails()
{
    WindowBench bench;
    bench.serial->openError = QStringLiteral("No such device");
    bench.dialogs.holdAnswers = true;
    bench.press("Connect");
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Error Opening Communications Port"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QVERIFY(!bench.widget("Connect").isEnabled());

    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.widget("Connect").isEnabled());
    QVERIFY(bench.widget("Comm1").isEnabled());
    QVERIFY(bench.widget("Connect").hasFocus());
    QCOMPARE(bench.find<QPushButton>("Connect").text(), QStringLiteral("Connect"));
}

void TestMainWindow::optionSelectsThePort()
{
    WindowBench bench;
    bench.press("Comm3");
    bench.press("Connect");
    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.serial->opened[0].address, QStringLiteral("/dev/serial3"));
    bench.press("Connect");
    bench.press("CommE");
    bench.press("Connect");
    QCOMPARE(bench.tcp->opened.size(), 1);
}

void TestMainWindow::portStatusShows()
{
    WindowBench bench;
    bench.run();
    bench.answer(QByteArray::fromHex("8b4c"));
    QCOMPARE(bench.find<QLabel>("conxsts").text(), QStringLiteral("High Speed"));
    QCOMPARE(bench.find<QLabel>("power").text(), QStringLiteral("On"));
    const auto &state = bench.find<QLabel>("vornstate");
    QCOMPARE(state.text(), QStringLiteral("Suspended"));
    QCOMPARE(state.palette().color(state.backgroundRole()), QColor(255, 0, 0));
    QVERIFY(bench.widget("USBResume").isEnabled());
    QVERIFY(!bench.widget("Suspend").isEnabled());

    bench.answer(QByteArray::fromHex("8e000015aa"));
    QCOMPARE(bench.find<QLineEdit>("CurrWin").text(), QStringLiteral("16.41 mA"));
}

void TestMainWindow::unknownSpeedShows()
{
    WindowBench bench;
    bench.run();
    bench.answer(QByteArray::fromHex("8b43"));
    const auto &speed = bench.find<QLabel>("conxsts");
    QCOMPARE(speed.text(), QStringLiteral("<Unknown>"));
    QCOMPARE(speed.textFormat(), Qt::PlainText);
}

void TestMainWindow::panes()
{
    WindowBench bench;
    bench.connect();
    bench.second();
    QTRY_COMPARE(bench.find<QPlainTextEdit>("CmdWin").toPlainText(),
                 QStringLiteral("\nInitializing Communications...\nConnecting..."));
    bench.answer(QByteArray::fromHex("86"));
    const auto &responses = bench.find<QPlainTextEdit>("RespWin");
    QCOMPARE(responses.toPlainText(), QString());
    bench.tick();
    QCOMPARE(responses.toPlainText(),
             QStringLiteral("### Unrecognized Response From Tester ### \n"));
}

void TestMainWindow::clear()
{
    WindowBench bench;
    bench.run();
    bench.answer(QByteArray::fromHex("86"));
    bench.tick();
    bench.press("ClrResp");
    QTRY_COMPARE(bench.find<QPlainTextEdit>("CmdWin").toPlainText(), QString());
    QVERIFY(!bench.find<QPlainTextEdit>("RespWin").toPlainText().isEmpty());
    bench.tick();
    QCOMPARE(bench.find<QPlainTextEdit>("RespWin").toPlainText(), QString());
}

void TestMainWindow::logFrame()
{
    WindowBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("bench.log"));
    bench.dialogs.paths = {path};
    bench.find<QAction>("FileNew").trigger();
    QVERIFY(bench.widget("LogFrame").isVisible());
    QCOMPARE(bench.find<QLabel>("LogInfo").text(), QStringLiteral("Logging: bench.log"));
    QTRY_COMPARE(bench.find<QLabel>("LogSizeInfo").text(), bench.session.Main.LogSizeInfo.text());
    QVERIFY(bench.find<QLabel>("LogSizeInfo").text().endsWith(QLatin1String(" Bytes")));
    QVERIFY(!bench.find<QAction>("FileNew").isEnabled());

    bench.find<QAction>("FileClose").trigger();
    QVERIFY(bench.widget("LogFrame").isHidden());
    QVERIFY(bench.find<QAction>("FileNew").isEnabled());
    QVERIFY(!bench.find<QAction>("FileClose").isEnabled());
}

void TestMainWindow::descriptorViewerNeedsAutoMode()
{
    WindowBench bench;
    bench.run();
    QSignalSpy wanted(&bench.console, &Console::descriptorViewerWanted);
    bench.find<QAction>("UtilDV").trigger();
    QCOMPARE(wanted.size(), 1);
    QCOMPARE(bench.dialogs.messages.size(), 0);

    bench.press("Automode");
    bench.dialogs.messages.clear();
    bench.find<QAction>("UtilDV").trigger();
    QCOMPARE(wanted.size(), 1);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Descriptor Viewer Only works in Automatic Mode"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Illegal Operation"));
}

void TestMainWindow::itemsWithoutAWindowDoNothing()
{
    WindowBench bench;
    bench.run();
    for (const char *item : {"UtilDR", "EZUSB", "mnuUtilFW", "mnuUtilFTDI", "mnuConfigureNetwork",
                             "HelpAbout", "HelpTopics"})
        bench.find<QAction>(item).trigger();
    QCOMPARE(bench.sent(), QByteArray());
    QCOMPARE(bench.dialogs.messages.size() + bench.dialogs.choices.size(), 0);
}

void TestMainWindow::scriptButtons()
{
    WindowBench bench;
    bench.run();
    bench.press("ScriptLoad");
    QCOMPARE(bench.dialogs.choices.size(), 1);
    QVERIFY(!bench.widget("ScriptRun").isEnabled());

    bench.main.ScriptRun.setEnabled(true);
    bench.press("ScriptRun");
    QCOMPARE(bench.sent(), QByteArray("1b530d1b45"));
    QCOMPARE(bench.find<QPushButton>("ScriptRun").text(), QStringLiteral("Stop"));
}

void TestMainWindow::downloadDisablesTheWindow()
{
    WindowBench bench;
    bench.run();
    QVERIFY(!bench.widget("DownloadProgress").isVisible());
    QFile script(bench.directory.filePath(QStringLiteral("test.vn")));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write(QByteArray(600, 'x'));
    script.close();
    bench.dialogs.paths = {script.fileName()};
    bench.press("ScriptLoad");

    auto &bar = bench.find<QProgressBar>("DownloadProgress");
    QVERIFY(bar.isVisible());
    QCOMPARE(bar.maximum(), 600);
    QCOMPARE(bar.value(), 512);
    QCOMPARE(bar.text(), QStringLiteral("512 of 600 bytes sent, 0 steps stored"));
    QVERIFY(!bench.widget("Connect").isEnabled());
    QVERIFY(!bench.widget("menubar").isEnabled());
    QTRY_COMPARE(bar.value(), 600);

    bench.answer(QByteArray::fromHex("a0000021"));
    QVERIFY(!bar.isVisible());
    QVERIFY(bench.widget("Connect").isEnabled());
    QVERIFY(bench.widget("menubar").isEnabled());
    QVERIFY(bench.widget("ScriptRun").isEnabled());
}

void TestMainWindow::fitsSmallScreens()
{
    WindowBench bench;
    bench.console.log().start(bench.directory.filePath(QStringLiteral("bench.log")));
    const QSize least = bench.window.minimumSizeHint();
    // Half of 1920 x 1080, without the frame and the task bar.
    QVERIFY2(least.width() <= 960 && least.height() <= 470,
             qPrintable(QStringLiteral("%1 x %2").arg(least.width()).arg(least.height())));
}

void TestMainWindow::nothingMovesWithTheTexts()
{
    WindowBench bench;
    bench.run();
    const auto strip = [&bench] {
        QList<QRect> places;
        for (const char *name : {"CommFrame", "VornStatus", "USBControls", "FrameVolts", "script",
                                 "conxsts", "ScriptIdx", "Connect", "CurrWin"})
            places.append(bench.widget(name).geometry());
        return places;
    };
    const QList<QRect> before = strip();
    const int leastWidth = bench.window.minimumSizeHint().width();

    bench.main.power.setText(QStringLiteral("Off"));
    bench.main.vornstate.setText(QStringLiteral("Suspended"));
    bench.main.CurrWin.setText(QStringLiteral("999.99 mA"));
    bench.main.ScriptIdx.setText(QStringLiteral("Stopped @ 65535"));
    bench.main.ScriptName.setText(QString(200, QLatin1Char('n')));
    bench.main.LogInfo.setText(QString(200, QLatin1Char('n')));
    bench.main.LogFrame.setVisible(true);
    bench.main.cbNWName.insertItem(0, QString(200, QLatin1Char('n')));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(strip(), before);
    for (const char *speed : {"No Device", "Low Speed", "Full Speed", "High Speed", "<Unknown>"}) {
        bench.main.conxsts.setText(QString::fromLatin1(speed));
        QCoreApplication::sendPostedEvents();
        QCOMPARE(strip(), before);
    }
    QCOMPARE(bench.window.minimumSizeHint().width(), leastWidth);
}

void TestMainWindow::readOnlyFieldsFollowThePalette()
{
    WindowBench bench;
    bench.run();
    const QPalette before = QApplication::palette();
    for (const QColor &colour : {QColor(30, 30, 30), QColor(240, 240, 240)}) {
        QApplication::setPalette(QPalette(colour));
        QTRY_COMPARE(bench.window.palette().color(QPalette::Window), colour);
        for (const char *field : {"CurrWin", "ScriptName"})
            QTRY_COMPARE(bench.widget(field).palette().color(QPalette::Base), colour);
        QCOMPARE(bench.widget("VoltWin").palette().color(QPalette::Base),
                 bench.window.palette().color(QPalette::Base)); // takes an entry
    }
    QApplication::setPalette(before);
}

void TestMainWindow::panesStayLegible()
{
    WindowBench bench;
    bench.run();
    bench.answer(QByteArray::fromHex("86"));
    bench.tick();
    const QPalette before = QApplication::palette();
    for (const QColor &colour : {QColor(30, 30, 30), QColor(240, 240, 240)}) {
        QApplication::setPalette(QPalette(colour));
        QTRY_COMPARE(bench.window.palette().color(QPalette::Window), colour);
        for (const char *name : {"CmdWin", "RespWin"}) {
            auto &pane = bench.find<QPlainTextEdit>(name);
            const QImage enabled = pane.viewport()->grab().toImage();
            bench.main.Window.setEnabled(false);
            QVERIFY(!pane.isEnabled());
            QVERIFY2(pane.viewport()->grab().toImage() == enabled, name);
            const QPalette colours = pane.palette();
            for (const QPalette::ColorRole role : {QPalette::Text, QPalette::Base})
                QCOMPARE(colours.color(QPalette::Disabled, role),
                         bench.window.palette().color(QPalette::Active, role));
            bench.main.Window.setEnabled(true);
        }
    }
    QApplication::setPalette(before);
}

void TestMainWindow::disabledPanesTakeNoInput()
{
    WindowBench bench;
    auto &pane = bench.find<QPlainTextEdit>("RespWin");
    const auto select = [&pane] {
        pane.setTextCursor(QTextCursor(pane.document()));
        QTest::mouseDClick(pane.viewport(), Qt::LeftButton, {}, QPoint(20, 10));
        QTest::keyClick(&pane, Qt::Key_A, Qt::ControlModifier);
        return pane.textCursor().hasSelection();
    };
    pane.setPlainText(QStringLiteral("something to select"));
    QVERIFY(select());
    bench.main.Window.setEnabled(false);
    QVERIFY(!select());
}

VANTREL_WINDOW_TEST(TestMainWindow)
#include "tst_mainwindow.moc"
