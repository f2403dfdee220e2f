// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// Opening the window and reading a device.
class TestFtdiUtility : public QObject
{
    Q_OBJECT

private slots:
    void opening();
    void openingAgain();

    void readRequests();
    void readShows();
    void readShowsWordsUnsigned();
    void readShowsLargePower();
    void textsWithoutOffsetStay();
    void textBeyondTheImage();
    void readAddress();
    void readAddressOverflows_data();
    void readAddressOverflows();
    void readRefused();
    void readTimesOut();
    void readWithoutConnection();
    void nothingToEditWhileReading();
    void secondPress();
    void besideAnotherWait();
};

void TestFtdiUtility::opening()
{
    FtdiBench bench;
    FtdiControls &controls = bench.controls;
    QCOMPARE(controls.DevAddr.text(), QStringLiteral("0x02"));
    for (const Control *box :
         {&controls.tbVID, &controls.tbPID, &controls.tbMajRev, &controls.tbMinRev,
          &controls.tbMaxPower, &controls.tbMfr, &controls.tbProduct, &controls.tbSerial})
        QCOMPARE(box->text(), QString());
    QVERIFY(!controls.cbSelfPower.isChecked());
    QVERIFY(controls.cbRemoteWake.isChecked());
    QVERIFY(controls.cbSerial.isChecked());
    QVERIFY(controls.tbSerial.isEnabled());
    QVERIFY(controls.lblSerial.isEnabled());
    QVERIFY(!controls.WordProgress.isVisible());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
}

void TestFtdiUtility::openingAgain()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.enter(bench.controls.DevAddr, "0x11");
    bench.tickBox(bench.controls.cbSerial, false, &FtdiUtility::serialClicked);
    bench.ftdi.closed();
    bench.ftdi.opened();
    QCOMPARE(bench.controls.DevAddr.text(), QStringLiteral("0x02"));
    QCOMPARE(bench.controls.tbVID.text(), QString());
    QCOMPARE(bench.controls.tbProduct.text(), QString());
    QVERIFY(bench.controls.tbSerial.isEnabled());
    QVERIFY(!bench.controls.WordProgress.isVisible());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
}

void TestFtdiUtility::readRequests()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    for (int word = 0; word < 64; ++word) {
        QVERIFY(bench.session.FtdiActive);
        const QByteArray index = word == 27 ? "1b1b"_hex : QByteArray(1, static_cast<char>(word));
        QCOMPARE(bench.serial->takeWritten(), // one request at a time
                 "1b53 01 02 c0 90 0000"_hex + index + "00 0200 1b45"_hex);
        bench.replyWords(realEeprom(), word, 1);
    }
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void TestFtdiUtility::readShows()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    FtdiControls &controls = bench.controls;
    QCOMPARE(bench.requests, 64);
    QCOMPARE(controls.tbVID.text(), QStringLiteral("0x0403"));
    QCOMPARE(controls.tbPID.text(), QStringLiteral("0x6001"));
    QCOMPARE(controls.tbMajRev.text(), QStringLiteral("6"));
    QCOMPARE(controls.tbMinRev.text(), QStringLiteral("0"));
    QCOMPARE(controls.tbMfr.text(), QStringLiteral("FTDI"));
    QCOMPARE(controls.tbProduct.text(), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(controls.tbSerial.text(), QStringLiteral("FTGXSYWJ"));
    QVERIFY(!controls.cbSelfPower.isChecked());
    QVERIFY(controls.cbRemoteWake.isChecked());
    QVERIFY(controls.cbSerial.isChecked());
    QCOMPARE(controls.tbMaxPower.text(), QStringLiteral("100"));
    QVERIFY(controls.WordProgress.isVisible());
    QCOMPARE(controls.WordProgress.progress(), (Progress{64, 64}));

    bench.device[8] = '\xC0'; // self powered, no remote wakeup
    bench.device[10] = '\x10';
    bench.ftdi.readClicked();
    QVERIFY(controls.cbSelfPower.isChecked());
    QVERIFY(!controls.cbRemoteWake.isChecked());
    QVERIFY(!controls.cbSerial.isChecked());
    QVERIFY(!controls.tbSerial.isEnabled());
    QVERIFY(!controls.lblSerial.isEnabled());
    QCOMPARE(bench.ftdi.image().bytes(), bench.device);
}

void TestFtdiUtility::readShowsWordsUnsigned()
{
    FtdiBench bench;
    bench.serve();
    bench.device.replace(2, 4, "fffe0080"_hex);
    bench.ftdi.readClicked();
    QVERIFY(!bench.session.UnsignedWords);
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0xFEFF"));
    QCOMPARE(bench.controls.tbPID.text(), QStringLiteral("0x8000"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiUtility::readShowsLargePower()
{
    FtdiBench bench;
    bench.serve();
    bench.device[9] = '\xFF';
    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("510"));
    QCOMPARE(int{bench.ftdi.image().byte(9)}, 255);
    bench.ftdi.maxPowerLeft();
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("500"));
    QCOMPARE(int{bench.ftdi.image().byte(9)}, 250);
}

void TestFtdiUtility::textsWithoutOffsetStay()
{
    FtdiBench bench;
    bench.serve();
    bench.enter(bench.controls.tbMfr, "mine");
    bench.enter(bench.controls.tbSerial, "mine too");
    bench.device[14] = '\x80';
    bench.device[18] = '\x00';
    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.tbMfr.text(), QStringLiteral("mine"));
    QCOMPARE(bench.controls.tbProduct.text(), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("mine too"));
}

void TestFtdiUtility::textBeyondTheImage()
{
    FtdiBench bench;
    bench.serve();
    bench.device[17] = '\xFF'; // length of the product string
    bench.device[8] = '\xC0';
    bench.ftdi.readClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.ftdi.image().bytes(), bench.device);
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0x0403"));
    QCOMPARE(bench.controls.tbMajRev.text(), QStringLiteral("6"));
    QCOMPARE(bench.controls.tbMfr.text(), QStringLiteral("FTDI"));
    QCOMPARE(bench.controls.tbProduct.text(), QString());
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("FTGXSYWJ"));
    QVERIFY(bench.controls.cbSelfPower.isChecked());
    QVERIFY(!bench.controls.cbRemoteWake.isChecked());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("100"));
    QVERIFY(bench.controls.btRead.isEnabled());
}

void TestFtdiUtility::readAddress()
{
    FtdiBench bench;
    bench.enter(bench.controls.DevAddr, " 0x1b ");
    bench.ftdi.readClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 01 1b1b c0 90 0000 0000 0200 1b45"_hex);
}

void TestFtdiUtility::readAddressOverflows_data()
{
    QTest::addColumn<QString>("address");

    QTest::newRow("256") << "256";
    QTest::newRow("negative") << "-1";
    QTest::newRow("what -1 becomes") << "0xFFFF";
}

void TestFtdiUtility::readAddressOverflows()
{
    QFETCH(QString, address);
    FtdiBench bench;
    bench.controls.DevAddr.adoptText(address);
    bench.ftdi.readClicked();
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.controls.btRead.isEnabled());
}

void TestFtdiUtility::readRefused()
{
    FtdiBench bench;
    bench.serve();
    bench.refusedRequest = 12;
    bench.ftdi.readClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 12"));
    QCOMPARE(bench.requests, 13);
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.image().bytes().first(24), realEeprom().first(24));
    QCOMPARE(bench.ftdi.image().bytes().sliced(24), QByteArray(104, '\0'));
    QCOMPARE(bench.controls.tbVID.text(), QString());
    QVERIFY(!bench.controls.WordProgress.isVisible());
    QVERIFY(bench.controls.btRead.isEnabled());
    QVERIFY(bench.controls.btProgram.isEnabled());
}

void TestFtdiUtility::readTimesOut()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 3);
    bench.tick(9);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vorn Tester not Responding"));
    QVERIFY(bench.session.FtdiActive);
    QCOMPARE(bench.ftdi.image().bytes().first(6), realEeprom().first(6));
    QVERIFY(bench.controls.btRead.isEnabled());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void TestFtdiUtility::readWithoutConnection()
{
    ConsoleBench bench;
    FtdiUtility ftdi(bench.session, bench.console.requests(), bench.dialogs, bench.console.errors(),
                     bench.directory.path());
    ftdi.opened();
    ftdi.readClicked();
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nNot connected: nothing was sent")));
    bench.tick(10);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Vorn Tester not Responding"));
}

void TestFtdiUtility::nothingToEditWhileReading()
{
    FtdiBench bench;
    bench.tickBox(bench.controls.cbSerial, false, &FtdiUtility::serialClicked);
    bench.ftdi.readClicked();
    for (const Control *control : bench.controls.all)
        QVERIFY2(control->isEnabled() == (control == &bench.controls.WordProgress),
                 qPrintable(control->name()));
    QVERIFY(bench.controls.WordProgress.isVisible());
    QCOMPARE(bench.controls.WordProgress.text(), QStringLiteral("%v of %m words read"));
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{0, 64}));
    bench.replyWords(realEeprom(), 0, 6);
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{6, 64}));
    bench.reply("01"_hex);
    for (const Control *control : bench.controls.all)
        QVERIFY2(control->isEnabled(), qPrintable(control->name()));
    QVERIFY(bench.controls.cbSerial.isChecked()); // as read
    QCOMPARE(int{bench.ftdi.image().byte(10)}, 0x08);
}

void TestFtdiUtility::secondPress()
{
    FtdiBench bench;
    bench.ftdi.readClicked();
    bench.serial->takeWritten();
    bench.ftdi.readClicked();
    bench.ftdi.programClicked();
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiUtility::besideAnotherWait()
{
    FtdiBench bench;
    QByteArray buffer(18, '\0');
    bench.console.commands().SendConfigMemoryRead(0x0010, buffer, 18);
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 30);
    bench.answer("b6 c0a8010a"_hex);
    QCOMPARE(buffer.first(4), "c0a8010a"_hex);
    bench.replyWords(realEeprom(), 30, 34);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());

    // The other way round, and neither ends the other's wait.
    bench.console.commands().SendConfigMemoryRead(0x0010, buffer, 18);
    bench.tick(5);
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, 64);
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{64, 64}));
    QCOMPARE(bench.session.waits.pendingCount(), 1);
    bench.answer("b6 0a000001"_hex);
    QCOMPARE(buffer.first(4), "0a000001"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(TestFtdiUtility)
#include "tst_ftdiutility.moc"
