// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const Colour Red{255, 0, 0};
const Colour LightCyan{0x80, 0xFF, 0xFF};

/// The speed text of a status, as the field reads when it read "before".
QString speedAfter(int status)
{
    const bool bit0 = status & 0x01;
    const bool bit1 = status & 0x02;
    const bool bit6 = status & 0x40;
    if (!bit6 && !bit1 && !bit0)
        return QStringLiteral("No Device");
    if (!bit6 && !bit1 && bit0)
        return QStringLiteral("Low Speed");
    if (!bit6 && bit1 && !bit0)
        return QStringLiteral("Full Speed");
    if (bit6 && !bit1 && !bit0)
        return QStringLiteral("High Speed");
    if (bit6 && bit1 && bit0)
        return QStringLiteral("<Unknown>");
    return QStringLiteral("before");
}

} // namespace

/// The port status reply.
class TestPortStatus : public QObject
{
    Q_OBJECT

private slots:
    void literal_data();
    void literal();
    void everyStatus_data();
    void everyStatus();
    void touchesNothingElse();
};

void TestPortStatus::literal_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("speed");
    QTest::addColumn<QString>("power");
    QTest::addColumn<QString>("state");

    const auto row = [](const QByteArray &packet, const char *speed, const char *power,
                        const char *state) {
        QTest::addRow("%s", packet.toHex(' ').constData())
            << packet << QString::fromLatin1(speed) << QString::fromLatin1(power)
            << QString::fromLatin1(state);
    };
    row("8b 00"_hex, "No Device", "Off", "Active");
    row("8b 01"_hex, "Low Speed", "Off", "Active");
    row("8b 02"_hex, "Full Speed", "Off", "Active");
    row("8b 03"_hex, "before", "Off", "Active");
    row("8b 04"_hex, "No Device", "On", "Active");
    row("8b 08"_hex, "No Device", "Off", "Suspended");
    row("8b 0e"_hex, "Full Speed", "On", "Suspended");
    row("8b 40"_hex, "High Speed", "Off", "Active");
    row("8b 41"_hex, "before", "Off", "Active");
    row("8b 42"_hex, "before", "Off", "Active");
    row("8b 43"_hex, "<Unknown>", "Off", "Active");
    row("8b 4c"_hex, "High Speed", "On", "Suspended");
    row("8b b0"_hex, "No Device", "Off", "Active");
    row("8b 4c ff ff"_hex, "High Speed", "On", "Suspended");
}

void TestPortStatus::literal()
{
    QFETCH(QByteArray, packet);
    QFETCH(QString, speed);
    QFETCH(QString, power);
    QFETCH(QString, state);

    ProtocolBench bench;
    MainControls &main = bench.session.Main;
    main.conxsts.setText(QStringLiteral("before"));
    bench.dispatch(packet);
    QCOMPARE(main.conxsts.text(), speed);
    QCOMPARE(main.power.text(), power);
    QCOMPARE(main.vornstate.text(), state);
}

void TestPortStatus::everyStatus_data()
{
    QTest::addColumn<bool>("enabledBefore");
    QTest::newRow("controls disabled before") << false;
    QTest::newRow("controls enabled before") << true;
}

void TestPortStatus::everyStatus()
{
    QFETCH(bool, enabledBefore);

    for (int status = 0; status < 256; ++status) {
        ProtocolBench bench;
        MainControls &main = bench.session.Main;
        for (Control *control :
             {&main.VoltEnable, &main.VoltDisable, &main.USBResume, &main.Suspend})
            control->setEnabled(enabledBefore);
        main.conxsts.setText(QStringLiteral("before"));

        bench.dispatch("8b"_hex + static_cast<char>(status));

        const bool on = status & 0x04;
        const bool suspended = status & 0x08;
        QVERIFY(bench.session.StatusSeen);
        QCOMPARE(main.conxsts.text(), speedAfter(status));
        QCOMPARE(main.power.text(), on ? QLatin1String("On") : QLatin1String("Off"));
        QCOMPARE(main.VoltEnable.isEnabled(), !on);
        QCOMPARE(main.VoltDisable.isEnabled(), on);
        QCOMPARE(main.vornstate.text(),
                 suspended ? QLatin1String("Suspended") : QLatin1String("Active"));
        QCOMPARE(main.vornstate.colour(), std::optional(suspended ? Red : LightCyan));
        QCOMPARE(main.USBResume.isEnabled(), suspended);
        QCOMPARE(main.Suspend.isEnabled(), !suspended);
    }
}

void TestPortStatus::touchesNothingElse()
{
    ProtocolBench expected;
    expected.session.StatusSeen = true;
    MainControls &controls = expected.session.Main;
    controls.conxsts.setText(QStringLiteral("High Speed"));
    controls.power.setText(QStringLiteral("On"));
    controls.VoltEnable.setEnabled(false);
    controls.VoltDisable.setEnabled(true);
    controls.vornstate.setText(QStringLiteral("Suspended"));
    controls.vornstate.setColour(Red);
    controls.USBResume.setEnabled(true);
    controls.Suspend.setEnabled(false);

    ProtocolBench bench;
    bench.dispatch("8b 4c"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
    QCOMPARE(bench.serial->written, QList<QByteArray>());
}

VANTREL_TEST(TestPortStatus)
#include "tst_portstatus.moc"
