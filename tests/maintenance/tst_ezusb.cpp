// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/EzUsbBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// Conversions that go well.
class tst_ezusb : public QObject
{
    Q_OBJECT

private slots:
    void opening();
    void opensAgain();
    void addresses_data();
    void addresses();
    void addressesBeyondTheirRange_data();
    void addressesBeyondTheirRange();
    void dialog();
    void requests();
    void onlyTheLastRecord();
    void wholeFile();
    void records_data();
    void records();
    void nothingBehindTheLastRecord();
    void deviceKinds_data();
    void deviceKinds();
    void addressIsReadForEveryRecord();
    void whatTheWindowShows();
    void scriptNames_data();
    void scriptNames();
    void completion();
    void autoModeStaysOff();
    void oldRefusalIsNotItsOwn();
    void endsARun();
    void connectionStaysQuiet();
    void runningTheScript();
    void mostLines();
    void othersComeAfterIt();
};

void tst_ezusb::opening()
{
    EzUsbBench bench;
    for (const Control *control :
         {&bench.controls.filename, &bench.controls.FNLabel, &bench.controls.Loaded,
          &bench.controls.LinesLabel, &bench.controls.busy, &bench.controls.ConvertProgress})
        QVERIFY2(!control->isVisible(), qPrintable(control->name()));
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("0x02"));
    QVERIFY(bench.controls.LoadFW.isEnabled());
    QVERIFY(bench.controls.optEZUSB.isChecked());
    QVERIFY(!bench.controls.optFX2.isChecked());
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_ezusb::opensAgain()
{
    EzUsbBench bench;
    bench.controls.optFX2.setChecked(true);
    bench.controls.optEZUSB.setChecked(false);
    bench.controls.Address.adoptText(QStringLiteral("0x05"));
    bench.convertWell(LastRecord);
    QVERIFY(!bench.controls.LoadFW.isEnabled());
    QVERIFY(bench.controls.busy.isVisible());

    bench.converter.opened();
    QVERIFY(bench.controls.LoadFW.isEnabled());
    QVERIFY(!bench.controls.busy.isVisible());
    QVERIFY(!bench.controls.filename.isVisible());
    QVERIFY(bench.controls.optEZUSB.isChecked());
    QVERIFY(!bench.controls.optFX2.isChecked());
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("0x02"));
}

void tst_ezusb::addresses_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("200") << "200"
                         << "0x7F";
    QTest::newRow("0x5") << "0x5"
                         << "0x05";
    QTest::newRow("127") << "127"
                         << "0x7F";
    QTest::newRow("128") << "128"
                         << "0x7F";
    QTest::newRow("126") << "126"
                         << "0x7E";
    QTest::newRow("0") << "0"
                       << "0x00";
    QTest::newRow("empty") << ""
                           << "0x00";
    QTest::newRow("no number") << "two"
                               << "0x00";
    QTest::newRow("blanks") << "  0X1b "
                            << "0x1B";
    QTest::newRow("-1") << "-1"
                        << "0xFFFF";
    QTest::newRow("-32768") << "-32768"
                            << "0x8000";
    QTest::newRow("most") << "2147483647"
                          << "0x7F";
}

void tst_ezusb::addresses()
{
    QFETCH(QString, typed);
    EzUsbBench bench;
    bench.controls.Address.adoptText(typed);
    bench.converter.addressLeft();
    QTEST(bench.controls.Address.text(), "shown");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_ezusb::addressesBeyondTheirRange_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("no 16-bit number") << "-32769";
    QTest::newRow("no 32-bit number") << "2147483648";
    QTest::newRow("hexadecimal") << "0x80000000";
}

void tst_ezusb::addressesBeyondTheirRange()
{
    QFETCH(QString, typed);
    EzUsbBench bench;
    bench.controls.Address.adoptText(typed);
    bench.converter.addressLeft();
    QCOMPARE(bench.controls.Address.text(), typed);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
}

void tst_ezusb::dialog()
{
    EzUsbBench bench;
    bool disabled = false;
    bench.dialogs.onChoice = [&] { disabled = !bench.controls.LoadFW.isEnabled(); };
    bench.converter.loadClicked();
    QVERIFY(disabled);
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QVERIFY(choice.kind == FileChoice::Kind::OpenExisting);
    QCOMPARE(choice.title, QStringLiteral("Open EZ-USB Firmware File"));
    QCOMPARE(choice.filter, QStringLiteral("EZ USB Firmware Files|*.hex"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("hex"));
    QCOMPARE(choice.fileName, QStringLiteral("*.hex"));
}

void tst_ezusb::requests()
{
    QCOMPARE(ezUsbWriteRequest(2, 0x7F92, "01"_hex), "02 40 a0 92 7f 00 00 01 00 01"_hex);
    QCOMPARE(ezUsbWriteRequest(255, 0xFF00, QByteArray(255, 'x')),
             "ff 40 a0 00 ff 00 00 ff 00"_hex + QByteArray(255, 'x'));
}

void tst_ezusb::onlyTheLastRecord()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Release + End);
    QCOMPARE(bench.controls.Loaded.text(), QStringLiteral("0"));
    bench.answer(EndStored);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QCOMPARE(bench.closings, 1);
}

void tst_ezusb::wholeFile()
{
    EzUsbBench bench;
    bench.controls.optEZUSB.setChecked(false);
    bench.controls.optFX2.setChecked(true);
    bench.controls.Address.adoptText(QStringLiteral("0x1B"));
    bench.convertWell(":0300000002001BE0\r\n"
                      ":101B00000102030405060708090A0B0C0D0E0F1055\n"
                      ":011B1B005A6F\r"
                      ":1BFFE500000102030405060708090A0B0C0D0E0F101112131415161718191AA2\r\n"
                      ":00000001FF\r\n");
    const QByteArray expected =
        "1b53 070000 1b45 1b53 0c 1b45 1b53 2201 1b45"
        "1b53 01 1b1b 40a0 00e6 0000 0100 01 1b45"
        "1b53 01 1b1b 40a0 0000 0000 0300 02001b1b 1b45"
        "1b53 01 1b1b 40a0 001b1b 0000 1000 0102030405060708090a0b0c0d0e0f10 1b45"
        "1b53 01 1b1b 40a0 1b1b1b1b 0000 0100 5a 1b45"
        "1b53 01 1b1b 40a0 e5ff 0000 1b1b00 "
        "000102030405060708090a0b0c0d0e0f101112131415161718191a 1b45"
        "1b53 01 1b1b 40a0 00e6 0000 0100 00 1b45"
        "1b53 21 1b45"
        "1b53 070001 1b45"_hex;
    QCOMPARE(bench.serial->writtenBytes().toHex(), expected.toHex());
    QCOMPARE(bench.serial->written.size(), 11); // a packet a write
}

void tst_ezusb::records_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("extended address")
        << QByteArray(":020000040000FA") << "01 02 40a0 0000 0000 0200 0000"_hex;
    QTest::newRow("start address")
        << QByteArray(":0400000300003800C1") << "01 02 40a0 0000 0000 0400 00003800"_hex;
    QTest::newRow("wrong check sum")
        << QByteArray(":0112340099FF") << "01 02 40a0 3412 0000 0100 99"_hex;
    QTest::newRow("no check sum") << QByteArray(":0112340099")
                                  << "01 02 40a0 3412 0000 0100 99"_hex;
    QTest::newRow("no type") << QByteArray(":011234") << "01 02 40a0 3412 0000 0100 00"_hex;
    QTest::newRow("no digits") << QByteArray(":01 1g20 9-") << "01 02 40a0 1200 0000 0100 09"_hex;
}

void tst_ezusb::records()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, request);
    EzUsbBench bench;
    bench.convertWell(line + "\r\n" + LastRecord);
    QCOMPARE(
        bench.serial->writtenBytes().toHex(),
        (Begin + Hold + "1b53"_hex + request + "1b45"_hex + Release + End + AutoModeOn).toHex());
}

void tst_ezusb::nothingBehindTheLastRecord()
{
    EzUsbBench bench;
    bench.convertWell(":00123405\r\nnot a record\r\n:0100000055AA\r\n");
    QCOMPARE(bench.serial->writtenBytes(), Begin + Hold + Release + End + AutoModeOn);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("** Firmware Conversion Complete **"));
}

void tst_ezusb::deviceKinds_data()
{
    QTest::addColumn<bool>("fx2");
    QTest::addColumn<QByteArray>("held");
    QTest::newRow("EZ-USB") << false << "1b53 01 02 40a0 927f 0000 0100 01 1b45"_hex;
    QTest::newRow("FX2") << true << "1b53 01 02 40a0 00e6 0000 0100 01 1b45"_hex;
}

void tst_ezusb::deviceKinds()
{
    QFETCH(bool, fx2);
    QFETCH(QByteArray, held);
    EzUsbBench bench;
    bench.controls.optEZUSB.setChecked(!fx2);
    bench.controls.optFX2.setChecked(fx2);
    bench.convert(LastRecord);
    QCOMPARE(bench.serial->written.at(3), held);
    bench.answer(EndStored);
}

void tst_ezusb::addressIsReadForEveryRecord()
{
    EzUsbBench bench;
    bench.onPacket(5, [&] { bench.controls.Address.adoptText(QStringLiteral(" 7 ")); });
    bench.convertWell(QByteArray(":0100000011EE\n:0100010022DC\n") + LastRecord);
    QCOMPARE(bench.serial->written.mid(3, 4).join(), "1b53 01 02 40a0 927f 0000 0100 01 1b45"
                                                     "1b53 01 02 40a0 0000 0000 0100 11 1b45"
                                                     "1b53 01 07 40a0 0100 0000 0100 22 1b45"
                                                     "1b53 01 07 40a0 927f 0000 0100 00 1b45"_hex);
    QCOMPARE(bench.controls.Address.text(), QStringLiteral(" 7 ")); // reading it changes nothing
}

void tst_ezusb::whatTheWindowShows()
{
    EzUsbBench bench;
    QStringList counts{bench.controls.Loaded.text()};
    QStringList progress;
    bench.serial->onWrite = [&](const QByteArray &) {
        if (counts.last() != bench.controls.Loaded.text())
            counts.append(bench.controls.Loaded.text());
        if (progress.isEmpty() || progress.last() != bench.controls.ConvertProgress.text())
            progress.append(bench.controls.ConvertProgress.text());
    };
    bench.convert(QByteArray(":0100000011EE\r\n").repeated(12) + LastRecord);
    for (const Control *control :
         {&bench.controls.filename, &bench.controls.FNLabel, &bench.controls.Loaded,
          &bench.controls.LinesLabel, &bench.controls.busy, &bench.controls.ConvertProgress})
        QVERIFY2(control->isVisible(), qPrintable(control->name()));
    QCOMPARE(bench.controls.filename.text(), bench.directory.filePath(QStringLiteral("blink.hex")));
    QTRY_VERIFY(bench.serial->writtenBytes().endsWith(End));
    QCOMPARE(counts.mid(0, 4),
             QStringList({{}, QStringLiteral("0"), QStringLiteral(" 1"), QStringLiteral(" 2")}));
    QCOMPARE(counts.last(), QStringLiteral(" 12"));
    QCOMPARE(progress.mid(1, 2),
             QStringList({QStringLiteral("0 of 193 bytes"), QStringLiteral("15 of 193 bytes")}));
    QCOMPARE(bench.controls.ConvertProgress.progress(), (Progress{180, 193}));
}

void tst_ezusb::scriptNames_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("script");
    QTest::newRow("one dot") << QByteArray("blink.hex") << "blink.vn";
    QTest::newRow("two dots") << QByteArray("my.fw.hex") << "my.vn";
    QTest::newRow("no dot") << QByteArray("firmware") << "firmware.vn";
    QTest::newRow("only an extension") << QByteArray(".hex") << ".vn";
}

void tst_ezusb::scriptNames()
{
    QFETCH(QByteArray, file);
    EzUsbBench bench;
    bench.convertWell(LastRecord, file.constData());
    QTEST(bench.main.ScriptName.text(), "script");
}

void tst_ezusb::completion()
{
    EzUsbBench bench;
    bench.dialogs.holdAnswers = true;
    bench.main.ScriptRun.setEnabled(false);
    bench.convert(LastRecord);
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    bench.answer(EndStored);
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QCOMPARE(bench.main.ScriptName.text(), QStringLiteral("blink.vn"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Click RUN in VornScript Window to Load Device Firmware"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("** Firmware Conversion Complete **"));
    QVERIFY(bench.serial->writtenBytes().endsWith(End)); // automatic mode waits for the user
    QCOMPARE(bench.closings, 0);

    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.serial->writtenBytes().endsWith(End + AutoModeOn));
    QCOMPARE(bench.closings, 1);
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(bench.session.ScriptDone);
}

void tst_ezusb::autoModeStaysOff()
{
    EzUsbBench bench;
    bench.main.Automode.setChecked(false);
    bench.convertWell(LastRecord);
    QCOMPARE(bench.serial->writtenBytes(), Begin + Hold + Release + End);
    QCOMPARE(bench.closings, 1);
}

void tst_ezusb::oldRefusalIsNotItsOwn()
{
    EzUsbBench bench;
    bench.session.ScriptError = true;
    bench.session.ScriptDone = true;
    bench.convert(QByteArray(":0100000011EE\r\n") + LastRecord);
    QVERIFY(!bench.session.ScriptError);
    QVERIFY(!bench.session.ScriptDone);
    QTRY_VERIFY(bench.serial->writtenBytes().endsWith(Release + End));
    bench.answer(EndStored);
    QCOMPARE(bench.main.ScriptName.text(), QStringLiteral("blink.vn"));
}

void tst_ezusb::endsARun()
{
    EzUsbBench bench;
    bench.console.scriptRunClicked();
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    bench.convert(LastRecord);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.session.ScriptBusy); // of the conversion
    bench.answer(EndStored);
}

void tst_ezusb::connectionStaysQuiet()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    bench.serial->takeWritten();
    bench.tick(49);
    QVERIFY(bench.serial->written.isEmpty());
    bench.answer(EndStored);
    bench.serial->takeWritten();
    bench.tick(100);
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_ezusb::runningTheScript()
{
    EzUsbBench bench;
    bench.convertWell(LastRecord);
    bench.serial->takeWritten();
    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0d 1b45"_hex);
    bench.answer("a0 0005 a1 0005"_hex);
    QVERIFY(!bench.session.ScriptBusy);
}

/// The line counter is a 16-bit number.
void tst_ezusb::mostLines()
{
    EzUsbBench bench;
    bench.convertWell(QByteArray(":0100000011EE\n").repeated(32'766) + LastRecord);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("** Firmware Conversion Complete **"));
    QCOMPARE(bench.controls.Loaded.text(), QStringLiteral(" 32766"));
}

/// What another window sends meanwhile would be a step of the script.
void tst_ezusb::othersComeAfterIt()
{
    EzUsbBench bench;
    bench.convert(":0100000001FE\r\n:0100010002FC\r\n:00000001FF\r\n");
    bench.console.commands().SendCurrentQuery();
    QTRY_VERIFY(bench.transport().writtenBytes().contains("1b53 21 1b45"_hex));
    QVERIFY(!bench.transport().writtenBytes().contains("1b53 0e 1b45"_hex));
    bench.answer(EndStored);
    QVERIFY(bench.transport().writtenBytes().contains("1b53 21 1b45 1b53 0e 1b45"_hex));
}

VANTREL_TEST(tst_ezusb)
#include "tst_ezusb.moc"
