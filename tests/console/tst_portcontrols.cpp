// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

using Press = std::function<void(ConsoleBench &)>;

/// The controls that drive the tester's USB port.
class TestPortControls : public QObject
{
    Q_OBJECT

private slots:
    void commands_data();
    void commands();
    void voltage_data();
    void voltage();
    void unchangedVoltageIsNotSent();
    void sameVoltageOtherwiseTyped();
    void firstVoltageWithoutAText();
    void typingEnablesVoltSet();
    void voltSetPressedTwice();
    void vccDisableAndEnable();
    void vccDisableLeavesTheRest();
    void withoutALink();
};

void TestPortControls::commands_data()
{
    QTest::addColumn<Press>("press");
    QTest::addColumn<QByteArray>("written");

    const auto row = [](const char *name, const QByteArray &written, const Press &press) {
        QTest::newRow(name) << press << written;
    };
    using Bench = ConsoleBench &;
    row("VoltEnable", "1b53 02 01 1b45"_hex,
        [](Bench b) { b.console.ports().voltEnableClicked(); });
    row("VoltDisable", "1b53 02 00 1b45"_hex,
        [](Bench b) { b.console.ports().voltDisableClicked(); });
    row("USBReset", "1b53 08 1b45"_hex, [](Bench b) { b.console.ports().usbResetClicked(); });
    row("Suspend", "1b53 03 1b45"_hex, [](Bench b) { b.console.ports().suspendClicked(); });
    row("USBResume", "1b53 04 1b45"_hex, [](Bench b) { b.console.ports().usbResumeClicked(); });
    const auto autoRecovery = [](bool checked) -> Press {
        return [checked](Bench b) {
            b.main.Vcc_AR.adoptChecked(checked);
            b.console.ports().vccAutoRecoveryClicked();
        };
    };
    row("Vcc_AR on", "1b53 07 02 01 1b45"_hex, autoRecovery(true));
    row("Vcc_AR off", "1b53 07 02 00 1b45"_hex, autoRecovery(false));
    const auto inhibit = [](bool checked) -> Press {
        return [checked](Bench b) {
            b.main.cbHSInhibit.adoptChecked(checked);
            b.console.ports().highSpeedInhibitClicked();
        };
    };
    row("cbHSInhibit on", "1b53 07 06 01 1b45"_hex, inhibit(true));
    row("cbHSInhibit off", "1b53 07 06 00 1b45"_hex, inhibit(false));
}

void TestPortControls::commands()
{
    QFETCH(Press, press);
    QFETCH(QByteArray, written);

    ConsoleBench bench;
    bench.run();
    press(bench);
    QCOMPARE(bench.serial->written, QList<QByteArray>{written});
    QCOMPARE(bench.dialogs.messages.size(), 0); // no confirmation
}

void TestPortControls::voltage_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("shown");

    const auto row = [](const char *typed, const QByteArray &code, const char *shown) {
        QTest::addRow("\"%s\"", typed)
            << QString::fromLatin1(typed) << code << QString::fromLatin1(shown);
    };
    row("6", "96"_hex, "5.50");
    row("3", "19"_hex, "4.25");
    row("3.9", "19"_hex, "4.25");
    row("volts", "19"_hex, "4.25");
    row("", "19"_hex, "4.25");
    row("-5", "19"_hex, "4.25");
    row("4.75", "4b"_hex, "4.75");
    row(" 4.75 V", "4b"_hex, "4.75");
    row("4,75", "19"_hex, "4.25");
    row("4.27", "1b1b"_hex, "4.27");
    row("4.5e0", "32"_hex, "4.50");
    row("&H5", "64"_hex, "5.00");
    row("1e400", "96"_hex, "5.50");
}

void TestPortControls::voltage()
{
    QFETCH(QString, typed);
    QFETCH(QByteArray, code);
    QFETCH(QString, shown);

    ConsoleBench bench;
    bench.run();
    bench.main.VoltWin.adoptText(typed);
    bench.console.ports().voltWinChanged();
    bench.console.ports().voltWinLostFocus();

    QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 05"_hex + code + "1b45"_hex});
    QCOMPARE(bench.main.VoltWin.text(), shown);
    QCOMPARE(bench.session.VbusText, shown);
    QVERIFY(bench.main.VoltWin.isEnabled());
    QVERIFY(!bench.main.VoltSet.isEnabled());
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestPortControls::unchangedVoltageIsNotSent()
{
    ConsoleBench bench;
    bench.run(); // 5.00 V was sent
    const QStringList before = stateOf(bench.session);
    bench.console.ports().voltWinLostFocus();
    bench.console.ports().voltWinLostFocus();
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(stateOf(bench.session), before);
}

void TestPortControls::sameVoltageOtherwiseTyped()
{
    ConsoleBench bench;
    bench.run();
    bench.main.VoltWin.adoptText(QStringLiteral("5.0")); // another text: sent again
    bench.console.ports().voltWinLostFocus();
    QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 05 64 1b45"_hex});
    QCOMPARE(bench.main.VoltWin.text(), QLatin1String("5.00"));
}

void TestPortControls::firstVoltageWithoutAText()
{
    ConsoleBench bench;
    bench.connect();
    bench.console.ports().voltWinLostFocus(); // both texts are empty
    QCOMPARE(bench.serial->written, QList<QByteArray>());
}

void TestPortControls::typingEnablesVoltSet()
{
    ConsoleBench bench;
    bench.run();
    QVERIFY(!bench.main.VoltSet.isEnabled());
    bench.main.VoltWin.adoptText(QStringLiteral("4"));
    bench.console.ports().voltWinChanged();
    QVERIFY(bench.main.VoltSet.isEnabled());
    QCOMPARE(bench.serial->written, QList<QByteArray>());
}

void TestPortControls::voltSetPressedTwice()
{
    ConsoleBench bench;
    bench.run();
    bench.main.VoltWin.adoptText(QStringLiteral("4.75"));
    bench.console.ports().voltWinChanged();
    bench.console.ports().voltWinLostFocus();
    bench.console.ports().voltWinLostFocus();
    QCOMPARE(bench.serial->written, QList<QByteArray>{"1b53 05 4b 1b45"_hex});
}

void TestPortControls::vccDisableAndEnable()
{
    ConsoleBench bench;
    bench.run();
    MainControls &main = bench.main;
    const auto enabled = [&main] {
        return QList<bool>{main.Suspend.isEnabled(), main.USBResume.isEnabled(),
                           main.USBReset.isEnabled()};
    };
    QCOMPARE(enabled(), (QList<bool>{true, true, true}));
    bench.console.ports().voltDisableClicked();
    QCOMPARE(enabled(), (QList<bool>{false, false, false}));
    bench.answer("82"_hex);
    bench.tick(5);
    QCOMPARE(enabled(), (QList<bool>{false, false, false}));
    bench.console.ports().voltEnableClicked();
    QCOMPARE(enabled(), (QList<bool>{true, true, true}));
}

void TestPortControls::vccDisableLeavesTheRest()
{
    ConsoleBench bench;
    bench.run();
    const QStringList before = stateOf(bench.session);
    bench.console.ports().voltDisableClicked();
    bench.console.ports().voltEnableClicked();
    bench.session.TxPacket = "1b53 07 02 00 1b45"_hex; // the last of the set-up
    QCOMPARE(stateOf(bench.session), before);
}

void TestPortControls::withoutALink()
{
    ConsoleBench bench;
    bench.console.ports().usbResetClicked();
    QCOMPARE(bench.main.CmdWin.text(), QLatin1String("\r\nNot connected: nothing was sent"));
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

VANTREL_TEST(TestPortControls)
#include "tst_portcontrols.moc"
