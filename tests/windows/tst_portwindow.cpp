// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/WindowBench.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>

using namespace vantrel;
using namespace vantrel::test;

/// What the window's controls send to a running tester.
class TestPortWindow : public QObject
{
    Q_OBJECT

private slots:
    void command_data();
    void command();
    void voltageByEnter_data();
    void voltageByEnter();
    void voltageByLeaving();
    void voltageWaitsInAnotherProgram();
    void voltageBySetVcc();
    void unchangedVoltage();
    void editingEnablesSetVcc();
    void busControlsFollowVcc();
    void automodeWarnsAfterTheCommand();
};

void TestPortWindow::command_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QByteArray>("packets");
    QTest::newRow("reset") << QStringLiteral("USBReset") << QByteArray("1b53081b45");
    QTest::newRow("suspend") << QStringLiteral("Suspend") << QByteArray("1b53031b45");
    QTest::newRow("resume") << QStringLiteral("USBResume") << QByteArray("1b53041b45");
    QTest::newRow("on") << QStringLiteral("VoltEnable") << QByteArray("1b5302011b45");
    QTest::newRow("off") << QStringLiteral("VoltDisable") << QByteArray("1b5302001b45");
    QTest::newRow("recovery") << QStringLiteral("Vcc_AR") << QByteArray("1b530702011b45");
    QTest::newRow("inhibit") << QStringLiteral("cbHSInhibit") << QByteArray("1b530706011b45");
    QTest::newRow("automatic") << QStringLiteral("Automode") << QByteArray("1b530700001b45");
}

void TestPortWindow::command()
{
    QFETCH(QString, control);
    WindowBench bench;
    bench.run();
    bench.press(control.toLatin1().constData());
    QTEST(bench.sent(), "packets");
}

void TestPortWindow::voltageByEnter_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("packets");
    QTest::addColumn<QString>("shown");
    QTest::newRow("above") << QStringLiteral("6") << QByteArray("1b5305961b45")
                           << QStringLiteral("5.50");
    QTest::newRow("below") << QStringLiteral("3") << QByteArray("1b5305191b45")
                           << QStringLiteral("4.25");
    QTest::newRow("no number") << QStringLiteral("volt") << QByteArray("1b5305191b45")
                               << QStringLiteral("4.25");
    QTest::newRow("within") << QStringLiteral("4.75") << QByteArray("1b53054b1b45")
                            << QStringLiteral("4.75");
}

void TestPortWindow::voltageByEnter()
{
    QFETCH(QString, typed);
    WindowBench bench;
    bench.run();
    bench.type("VoltWin", typed);
    QCOMPARE(bench.sent(), QByteArray());
    QTest::keyClick(&bench.widget("VoltWin"), Qt::Key_Return);
    QTEST(bench.sent(), "packets");
    QTEST(bench.find<QLineEdit>("VoltWin").text(), "shown");

    QTest::keyClick(&bench.widget("VoltWin"), Qt::Key_Tab);
    QCOMPARE(bench.sent(), QByteArray());
}

void TestPortWindow::voltageByLeaving()
{
    WindowBench bench;
    bench.run();
    bench.type("VoltWin", QStringLiteral("4.5"));
    QTest::keyClick(&bench.widget("VoltWin"), Qt::Key_Tab);
    QCOMPARE(bench.sent(), QByteArray("1b5305321b45"));
    QCOMPARE(bench.find<QLineEdit>("VoltWin").text(), QStringLiteral("4.50"));
}

void TestPortWindow::voltageWaitsInAnotherProgram()
{
    WindowBench bench;
    bench.run();
    bench.type("VoltWin", QStringLiteral("5"));
    for (const QEvent::Type type : {QEvent::FocusOut, QEvent::FocusIn}) { // another program
        QFocusEvent event(type, Qt::ActiveWindowFocusReason);
        QApplication::sendEvent(&bench.widget("VoltWin"), &event);
        QCOMPARE(bench.sent(), QByteArray());
    }
    QTest::keyClicks(&bench.widget("VoltWin"), QStringLiteral(".25"));
    QCOMPARE(bench.sent(), QByteArray());
    QTest::keyClick(&bench.widget("VoltWin"), Qt::Key_Return);
    QCOMPARE(bench.sent(), QByteArray("1b53057d1b45"));
}

void TestPortWindow::voltageBySetVcc()
{
    WindowBench bench;
    bench.run();
    bench.type("VoltWin", QStringLiteral("5.25"));
    bench.press("VoltSet");
    QCOMPARE(bench.sent(), QByteArray("1b53057d1b45"));
    QCOMPARE(QApplication::focusWidget(), &bench.widget("VoltWin"));
    bench.press("VoltSet");
    QCOMPARE(bench.sent(), QByteArray());
}

void TestPortWindow::unchangedVoltage()
{
    WindowBench bench;
    bench.run();
    bench.type("VoltWin", QStringLiteral("5.00"));
    QTest::keyClick(&bench.widget("VoltWin"), Qt::Key_Return);
    bench.press("ScriptName");
    QCOMPARE(bench.sent(), QByteArray());
}

void TestPortWindow::editingEnablesSetVcc()
{
    WindowBench bench;
    bench.run();
    QVERIFY(!bench.widget("VoltSet").isEnabled());
    bench.main.VoltWin.setText(QStringLiteral("4.80"));
    QVERIFY2(!bench.widget("VoltSet").isEnabled(), "the console's own text is no editing");
    bench.type("VoltWin", QStringLiteral("5"));
    QVERIFY(bench.widget("VoltSet").isEnabled());
}

void TestPortWindow::busControlsFollowVcc()
{
    WindowBench bench;
    bench.run();
    bench.press("VoltDisable");
    for (const char *name : {"Suspend", "USBResume", "USBReset"})
        QVERIFY2(!bench.widget(name).isEnabled(), name);
    bench.press("VoltEnable");
    for (const char *name : {"Suspend", "USBResume", "USBReset"})
        QVERIFY2(bench.widget(name).isEnabled(), name);
}

void TestPortWindow::automodeWarnsAfterTheCommand()
{
    WindowBench bench;
    bench.run();
    QByteArray sentBeforeTheBox;
    bench.dialogs.onMessage = [&] { sentBeforeTheBox = bench.sent(); };
    bench.press("Automode");
    QVERIFY(!bench.find<QCheckBox>("Automode").isChecked());
    QCOMPARE(sentBeforeTheBox, QByteArray("1b530700001b45"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("You Have DISABLED Automatic Mode"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Warning"));

    bench.press("Automode");
    QCOMPARE(bench.sent(), QByteArray("1b530700011b45"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

VANTREL_WINDOW_TEST(TestPortWindow)
#include "tst_portwindow.moc"
