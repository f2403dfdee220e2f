// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ControlSets.h"
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// What every tester that answers makes usable.
const NameSet Connected =
    namesOf({"VoltWin", "VoltEnable", "VoltDisable", "Suspend", "USBResume", "USBReset",
             "ScriptLoad", "Automode", "UtilDR", "UtilDV", "UtilFM", "EZUSB"});
const NameSet Late = namesOf({"mnuUtilFW", "cbHSInhibit"});
const NameSet Recovering = namesOf({"Vcc_AR", "mnuUtilFTDI"});
const NameSet Vorn2 =
    namesOf({"mnuUtilFW", "cbHSInhibit", "Vcc_AR", "mnuUtilFTDI", "mnuConfigureNetwork"});

} // namespace

/// The version reply: who the tester is, and everything that follows from it.
class TestVersion : public QObject
{
    Q_OBJECT

private slots:
    void message_data();
    void message();
    void identity_data();
    void identity();
    void unknownKindKeepsTheModel_data();
    void unknownKindKeepsTheModel();
    void enables_data();
    void enables();
    void disables_data();
    void disables();
    void loaderCaption_data();
    void loaderCaption();
    void defaultState();
    void defaultStateOnTheWire();
    void messageComesLast();
    void ramBeyondTheContract();
    void endsTheProbe();
    void shortReply_data();
    void shortReply();
    void shortReplyEnables_data();
    void shortReplyEnables();
};

void TestVersion::message_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QString>("text");

    const auto row = [](const QByteArray &fields, const char *text) {
        QTest::addRow("%s", fields.toHex(' ').constData()) << fields << QString::fromLatin1(text);
    };
    row("00 02 11 00 40"_hex, "** Vorn 1 Firmware Revision  2 . 17\r\n     64K RAM\r\n");
    row("01 02 09 00 20"_hex, "** Vorn 1 Firmware Special Release  2 . 9\r\n     32K RAM\r\n");
    row("02 03 0c 00 40"_hex, "** Vorn 2 Firmware Revision  3 . 12\r\n     64K RAM\r\n");
    row("03 00 00 00 00"_hex, "** Vorn 2 Firmware Special Release  0 . 0\r\n     0K RAM\r\n");
    row("82 01 02 01 00"_hex, "** Vorn 2 Bootstrap  1 . 2\r\n     256K RAM\r\n");
    row("02 ff fe 7f ff"_hex, "** Vorn 2 Firmware Revision  255 . 254\r\n     32767K RAM\r\n");
    row("04 03 0c 00 40"_hex, " 12\r\n     64K RAM\r\n");
    row("80 03 0c 00 40"_hex, " 12\r\n     64K RAM\r\n");
    row("ff 03 0c 00 40"_hex, " 12\r\n     64K RAM\r\n");
}

void TestVersion::message()
{
    QFETCH(QByteArray, fields);
    QFETCH(QString, text);

    ProtocolBench bench;
    bench.dispatch("8f"_hex + fields);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\n") + text);
    QCOMPARE(bench.responses(), QByteArray());
}

void TestVersion::identity_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<int>("linkState");
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("ram");

    QTest::newRow("Vorn 1") << "00 02 11 00 40"_hex << 3 << 1 << 2 << 17 << 64;
    QTest::newRow("Vorn 1 special") << "01 02 09 00 20"_hex << 3 << 1 << 2 << 9 << 32;
    QTest::newRow("Vorn 2") << "02 03 0c 01 00"_hex << 3 << 2 << 3 << 12 << 256;
    QTest::newRow("Vorn 2 special") << "03 ff ff 7f ff"_hex << 3 << 2 << 255 << 255 << 32767;
    QTest::newRow("bootstrap") << "82 01 00 00 10"_hex << 4 << 2 << 1 << 0 << 16;
    QTest::newRow("another kind") << "55 03 0c 00 40"_hex << 3 << 0 << 3 << 12 << 64;
}

void TestVersion::identity()
{
    QFETCH(QByteArray, fields);
    QFETCH(int, linkState);
    QFETCH(int, model);
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, ram);

    for (const LinkStates before :
         {LinkStates::Opened, LinkStates::Probing, LinkStates::Running, LinkStates::Bootstrap}) {
        ProtocolBench bench;
        bench.session.LinkState = before;
        bench.dispatch("8f"_hex + fields);
        QVERIFY(bench.session.StatusSeen);
        QCOMPARE(int(bench.session.LinkState), linkState);
        QCOMPARE(int{bench.session.TesterModel}, model);
        QCOMPARE(int{bench.session.FirmwareMajor}, major);
        QCOMPARE(int{bench.session.FirmwareMinor}, minor);
        QCOMPARE(int{bench.session.TesterRamK}, ram);
    }
}

void TestVersion::unknownKindKeepsTheModel_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<NameSet>("enabled");

    QTest::newRow("none") << 0 << QStringLiteral("Vorn 1 Firm&ware Loader") << Connected;
    QTest::newRow("Vorn 1") << 1 << QStringLiteral("Vorn 1 Firm&ware Loader") << Connected;
    QTest::newRow("Vorn 2") << 2 << QStringLiteral("Vorn 2 Firm&ware Loader")
                            << (Connected | Vorn2);
}

void TestVersion::unknownKindKeepsTheModel()
{
    QFETCH(int, model);
    QFETCH(QString, caption);
    QFETCH(NameSet, enabled);

    ProtocolBench bench;
    bench.session.TesterModel = static_cast<qint16>(model);
    setAllEnabled(bench.session, false);
    bench.dispatch("8f 07 01 02 00 40"_hex);
    QCOMPARE(int{bench.session.TesterModel}, model);
    QCOMPARE(bench.session.Main.mnuUtilFW.text(), caption);
    QCOMPARE(controlsWith(bench.session, true), enabled);
}

void TestVersion::enables_data()
{
    QTest::addColumn<QByteArray>("kindAndVersion");
    QTest::addColumn<NameSet>("enabled");

    QTest::newRow("Vorn 1 2.0") << "00 02 00"_hex << Connected;
    QTest::newRow("Vorn 1 2.9") << "00 02 09"_hex << Connected;
    QTest::newRow("Vorn 1 2.10") << "00 02 0a"_hex << Connected;
    QTest::newRow("Vorn 1 2.11") << "00 02 0b"_hex << (Connected | Recovering);
    QTest::newRow("Vorn 1 2.16") << "00 02 10"_hex << (Connected | Recovering);
    QTest::newRow("Vorn 1 2.17") << "00 02 11"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 1 2.18") << "00 02 12"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 1 special 2.17") << "01 02 11"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 1 1.10") << "00 01 0a"_hex << Connected;
    QTest::newRow("Vorn 1 1.20") << "00 01 14"_hex << (Connected | Recovering);
    QTest::newRow("Vorn 1 1.117") << "00 01 75"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 1 0.255") << "00 00 ff"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 1 3.0") << "00 03 00"_hex << (Connected | Recovering | Late);
    QTest::newRow("Vorn 2 0.0") << "02 00 00"_hex << (Connected | Vorn2);
    QTest::newRow("Vorn 2 3.12") << "02 03 0c"_hex << (Connected | Vorn2);
    QTest::newRow("Vorn 2 special") << "03 01 00"_hex << (Connected | Vorn2);
    QTest::newRow("bootstrap") << "82 01 00"_hex << (Connected | Vorn2);
}

void TestVersion::enables()
{
    QFETCH(QByteArray, kindAndVersion);
    QFETCH(NameSet, enabled);

    ProtocolBench bench;
    setAllEnabled(bench.session, false);
    bench.dispatch("8f"_hex + kindAndVersion + "00 40"_hex);
    QCOMPARE(controlsWith(bench.session, true), enabled);
}

void TestVersion::disables_data()
{
    QTest::addColumn<QByteArray>("kindAndVersion");
    QTest::addColumn<NameSet>("disabled");

    const NameSet always = namesOf({"VoltSet"}); // as after every voltage sent
    QTest::newRow("Vorn 1 2.9") << "00 02 09"_hex << (always | namesOf({"mnuUtilFW"}) | Recovering);
    QTest::newRow("Vorn 1 2.11") << "00 02 0b"_hex << (always | namesOf({"mnuUtilFW"}));
    QTest::newRow("Vorn 1 2.17") << "00 02 11"_hex << always;
    QTest::newRow("Vorn 2 1.0") << "02 01 00"_hex << always;
    QTest::newRow("bootstrap") << "82 01 00"_hex << always;
}

void TestVersion::disables()
{
    QFETCH(QByteArray, kindAndVersion);
    QFETCH(NameSet, disabled);

    ProtocolBench bench;
    setAllEnabled(bench.session, true);
    bench.dispatch("8f"_hex + kindAndVersion + "00 40"_hex);
    QCOMPARE(controlsWith(bench.session, false), disabled);
}

void TestVersion::loaderCaption_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QString>("caption");

    const QString vorn1 = QStringLiteral("Vorn 1 Firm&ware Loader");
    const QString vorn2 = QStringLiteral("Vorn 2 Firm&ware Loader");
    QTest::newRow("0") << "00"_hex << vorn1;
    QTest::newRow("1") << "01"_hex << vorn1;
    QTest::newRow("2") << "02"_hex << vorn2;
    QTest::newRow("3") << "03"_hex << vorn2;
    QTest::newRow("0x82") << "82"_hex << vorn2;
}

void TestVersion::loaderCaption()
{
    QFETCH(QByteArray, kind);
    QFETCH(QString, caption);

    ProtocolBench bench;
    bench.dispatch("8f"_hex + kind + "02 11 00 40"_hex);
    QCOMPARE(bench.session.Main.mnuUtilFW.text(), caption);
}

void TestVersion::defaultState()
{
    ProtocolBench bench;
    MainControls &main = bench.session.Main;
    bench.session.VbusVolts = 4.5F;
    bench.session.VbusText = QStringLiteral("4.50");
    main.VoltWin.setText(QStringLiteral("4.50"));
    main.Automode.setChecked(false);
    main.Vcc_AR.setChecked(true);

    bench.dispatch("8f 02 03 0c 00 40"_hex);

    QCOMPARE(bench.session.VbusVolts, 5.0F);
    QCOMPARE(bench.session.VbusText, QLatin1String("5.00"));
    QCOMPARE(main.VoltWin.text(), QLatin1String("5.00"));
    QVERIFY(main.Automode.isChecked());
    QVERIFY(!main.Vcc_AR.isChecked());
}

void TestVersion::defaultStateOnTheWire()
{
    for (const QByteArray &kind : {"00"_hex, "02"_hex, "82"_hex, "99"_hex}) {
        ProtocolBench bench;
        bench.dispatch("8f"_hex + kind + "02 11 00 40"_hex);
        QCOMPARE(bench.serial->written,
                 (QList<QByteArray>{"1b53 05 64 1b45"_hex, "1b53 07 00 01 1b45"_hex,
                                    "1b53 0a ff 1b45"_hex, "1b53 07 01 03 1b45"_hex,
                                    "1b53 07 02 00 1b45"_hex}));
    }
}

void TestVersion::messageComesLast()
{
    ProtocolBench bench;
    bench.link.CloseLink(); // each command then shows its line
    bench.dispatch("8f 02 03 0c 00 40"_hex);
    QCOMPARE(bench.commandPane(), QLatin1String("\r\nNot connected: nothing was sent"
                                                "\r\nNot connected: nothing was sent"
                                                "\r\nNot connected: nothing was sent"
                                                "\r\nNot connected: nothing was sent"
                                                "\r\nNot connected: nothing was sent"
                                                "\r\n** Vorn 2 Firmware Revision  3 . 12"
                                                "\r\n     64K RAM\r\n"));
}

void TestVersion::ramBeyondTheContract()
{
    ProtocolBench bench;
    bench.dispatch("8f 02 03 0c ff ff"_hex);
    QCOMPARE(int(bench.session.LinkState), 3);
    bench.dispatch("83"_hex);
    QVERIFY(bench.commandPane().endsWith(QLatin1String("\r\nSuspending")));
}

void TestVersion::endsTheProbe()
{
    ProtocolBench bench;
    bench.session.FirmwareMajor = -1;
    bench.session.FirmwareMinor = -2;
    bench.dispatch("8f 00 02 09 00 20"_hex);
    bench.dispatch("95"_hex);
    QCOMPARE(bench.responses(), QByteArray("*** Command Error \r\n"));
    QCOMPARE(int{bench.session.FirmwareMinor}, 9);
}

void TestVersion::shortReply_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<QString>("pane");

    QTest::newRow("half of the RAM")
        << "02 03 0c 00"_hex << 2 << 3 << 12
        << QStringLiteral("\r\n** Vorn 2 Firmware Revision  3 . 12\r\n");
    QTest::newRow("no RAM") << "00 02 11"_hex << 1 << 2 << 17
                            << QStringLiteral("\r\n** Vorn 1 Firmware Revision  2 . 17\r\n");
    QTest::newRow("no minor number")
        << "02 03"_hex << 2 << 3 << -2 << QStringLiteral("\r\n** Vorn 2 Firmware Revision  3 .");
    QTest::newRow("no major number")
        << "02"_hex << 2 << -1 << -2 << QStringLiteral("\r\n** Vorn 2 Firmware Revision ");
    QTest::newRow("no kind") << QByteArray() << 0 << -1 << -2 << QString();
}

void TestVersion::shortReply()
{
    QFETCH(QByteArray, fields);
    QFETCH(int, model);
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(QString, pane);

    ProtocolBench bench;
    bench.session.TesterRamK = -1;
    setAllEnabled(bench.session, false);
    bench.dispatch("8f"_hex + fields);
    QCOMPARE(bench.commandPane(), pane);
    QVERIFY(bench.session.StatusSeen);
    QCOMPARE(int(bench.session.LinkState), 3);
    QCOMPARE(int{bench.session.TesterModel}, model);
    QCOMPARE(int{bench.session.FirmwareMajor}, major);
    QCOMPARE(int{bench.session.FirmwareMinor}, minor);
    QCOMPARE(int{bench.session.TesterRamK}, -1);
    QCOMPARE(bench.serial->written.size(), 5); // the default state
    QVERIFY(controlsWith(bench.session, true).contains(Connected));
}

void TestVersion::shortReplyEnables_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("after");

    // Both numbers decide unless one of them is enough.
    for (const bool before : {false, true}) {
        const auto row = [before](const char *name, const QByteArray &fields, bool after) {
            QTest::addRow("%s, %s before", name, before ? "enabled" : "disabled")
                << fields << before << after;
        };
        row("no RAM, too old", "00 02 09"_hex, false);
        row("no RAM, new enough", "00 02 0b"_hex, true);
        row("Vorn 1, no minor number", "00 02"_hex, before);
        row("Vorn 1 of 3, no minor number", "00 03"_hex, true);
        row("Vorn 1, no major number", "00"_hex, before);
        row("Vorn 2, no major number", "02"_hex, true);
    }
}

void TestVersion::shortReplyEnables()
{
    QFETCH(QByteArray, fields);
    QFETCH(bool, before);
    QFETCH(bool, after);

    ProtocolBench bench;
    bench.session.Main.Vcc_AR.setEnabled(before);
    bench.session.Main.mnuUtilFTDI.setEnabled(before);
    bench.dispatch("8f"_hex + fields);
    QCOMPARE(bench.session.Main.Vcc_AR.isEnabled(), after);
    QCOMPARE(bench.session.Main.mnuUtilFTDI.isEnabled(), after);
}

VANTREL_TEST(TestVersion)
#include "tst_version.moc"
