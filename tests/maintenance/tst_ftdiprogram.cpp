// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The image of a device that has not been read, with ABC, Widget and no serial string.
const QByteArray Programmed = "0000030401600006a02d100000029408"
                              "9c0eaa0208034100420043000e035700"
                              "69006400670065007400020300000000"
                              "00000000000000000000000000000000"
                              "00000000000000000000000000000000"
                              "00000000000000000000000000000000"
                              "00000000000000000000000000000000"
                              "0000000000000000000000000000bc71"_hex;

/// The real image with its strings moved to byte 20; what stood behind them is still there.
const QByteArray RealProgrammed = "0040030401600006a03208000002940a"
                                  "9e2cca120a0346005400440049002c03"
                                  "55004d00320033003200520020005500"
                                  "5300420020003c002d003e0020005300"
                                  "65007200690061006c00120346005400"
                                  "470058005300590057004a0057004a00"
                                  "02030000000000000000000000000000"
                                  "0000000000000000000000000000c20f"_hex;

/// A number that does not fit where it goes.
struct Misfit
{
    Control FtdiControls::*box;
    const char *text;
};

} // namespace

/// Programming a device.
class TestFtdiProgram : public QObject
{
    Q_OBJECT

private slots:
    void requests();
    void oneRequestAtATime();
    void escapesAreDoubled();
    void readEditedProgrammed();
    void unreadDevice();
    void maxPowerComesFromItsField();
    void disabledSerialIsEmpty();
    void stringLengths_data();
    void stringLengths();
    void unstorableText();
    void overflows_data();
    void overflows();
    void overflowLeavesTheImage();
    void refusals_data();
    void refusals();
    void timeOuts_data();
    void timeOuts();
    void nothingToEditWhileProgramming();
    void closedWhileProgramming();
    void linkLostWhileProgramming();
};

void TestFtdiProgram::requests()
{
    FtdiBench bench;
    bench.serve();
    bench.enterProduct();
    bench.tickBox(bench.controls.cbSerial, false, &FtdiUtility::serialClicked);
    bench.ftdi.programClicked();

    QStringList expected = {QStringLiteral("024092000000000000"),
                            QStringLiteral("024009770000000000")};
    for (int word = 0; word < 64; ++word) {
        const QByteArray index(1, static_cast<char>(word));
        expected.append(QString::fromLatin1(
            ("024091"_hex + Programmed.sliced(2 * word, 2) + index + "000000"_hex).toHex()));
    }
    expected.append(QStringLiteral("024009100000000000"));
    QCOMPARE(bench.sentRequests(), expected);
    QCOMPARE(bench.device, Programmed);
    QCOMPARE(bench.ftdi.image().bytes(), Programmed);
    QVERIFY(bench.dialogs.messages.isEmpty()); // success is not told
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{64, 64}));
    QVERIFY(bench.backups().isEmpty());
}

void TestFtdiProgram::oneRequestAtATime()
{
    FtdiBench bench;
    bench.ftdi.programClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 01 02 40 92 0000 0000 0000 1b45"_hex);
    bench.reply("00"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 01 02 40 09 7700 0000 0000 1b45"_hex);
    bench.reply("00"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 01 02 40 91 0000 0000 0000 1b45"_hex);
    for (int i = 0; i < 4; ++i)
        bench.reply("00"_hex);
    QVERIFY(bench.serial->takeWritten().endsWith("1b53 01 02 40 91 a02d 0400 0000 1b45"_hex));
    for (int i = 4; i < 63; ++i)
        bench.reply("00"_hex);
    QVERIFY(bench.serial->takeWritten().endsWith("1b53 01 02 40 91 4f05 3f00 0000 1b45"_hex));
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{63, 64}));
    bench.reply("00"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 01 02 40 09 1000 0000 0000 1b45"_hex);
    QVERIFY(bench.session.FtdiActive);
    QVERIFY(!bench.controls.btProgram.isEnabled());
    bench.reply("00"_hex);
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.controls.btProgram.isEnabled());
}

void TestFtdiProgram::escapesAreDoubled()
{
    FtdiBench bench;
    bench.serve();
    bench.enter(bench.controls.tbVID, "0x1B1B");
    bench.ftdi.programClicked();
    const QByteArray sent = bench.serial->takeWritten();
    QVERIFY(sent.contains("1b53 01 02 40 91 1b1b1b1b 0100 0000 1b45"_hex));
    QVERIFY(sent.contains("1b53 01 02 40 91 0000 1b1b00 0000 1b45"_hex)); // word 27
    QCOMPARE(bench.device.sliced(2, 2), "1b1b"_hex);
}

void TestFtdiProgram::readEditedProgrammed()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.dialogs.answers = {Answer::Yes}; // to the question whether its layout may change
    bench.ftdi.programClicked();
    QCOMPARE(bench.device, RealProgrammed);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.tbProduct.text(), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("FTGXSYWJ"));
    bench.ftdi.programClicked();
    QCOMPARE(bench.device, RealProgrammed);
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestFtdiProgram::unreadDevice()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.programClicked();
    QCOMPARE(bench.device, "0000000000000000a02d180000029402"
                           "96029802020302030203"_hex +
                               QByteArray(100, '\0') + "4f05"_hex);
}

void TestFtdiProgram::maxPowerComesFromItsField()
{
    FtdiBench bench;
    bench.serve();
    bench.enter(bench.controls.tbMaxPower, "200");
    bench.ftdi.programClicked();
    QCOMPARE(int{static_cast<quint8>(bench.device[9])}, 45); // not left yet
    bench.ftdi.maxPowerLeft();
    bench.ftdi.programClicked();
    QCOMPARE(int{static_cast<quint8>(bench.device[9])}, 100);
}

void TestFtdiProgram::disabledSerialIsEmpty()
{
    FtdiBench bench;
    bench.serve();
    bench.enter(bench.controls.tbSerial, "0123");
    bench.ftdi.programClicked();
    QCOMPARE(bench.device.sliced(18, 2), "980a"_hex);
    QCOMPARE(bench.device.sliced(24, 10), "0a03 3000 3100 3200 3300"_hex);
    bench.tickBox(bench.controls.cbSerial, false, &FtdiUtility::serialClicked);
    bench.ftdi.programClicked();
    QCOMPARE(bench.device.sliced(18, 2), "9802"_hex);
    QCOMPARE(bench.device.sliced(24, 2), "0203"_hex);
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("0123"));
}

void TestFtdiProgram::stringLengths_data()
{
    QTest::addColumn<int>("mfr");
    QTest::addColumn<int>("product");
    QTest::addColumn<int>("serial");
    QTest::addColumn<bool>("serialEnabled");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("50") << 20 << 20 << 10 << true << true;
    QTest::newRow("50 in one") << 50 << 0 << 0 << true << true;
    QTest::newRow("51") << 20 << 20 << 11 << true << false;
    QTest::newRow("51 with a disabled serial string") << 20 << 20 << 11 << false << false;
    QTest::newRow("50 with a disabled serial string") << 20 << 20 << 10 << false << true;
    QTest::newRow("many more") << 1000 << 1000 << 1000 << true << false;
}

void TestFtdiProgram::stringLengths()
{
    QFETCH(int, mfr);
    QFETCH(int, product);
    QFETCH(int, serial);
    QFETCH(bool, serialEnabled);
    QFETCH(bool, accepted);
    FtdiBench bench;
    bench.controls.tbMfr.adoptText(QString(mfr, QLatin1Char('m')));
    bench.controls.tbProduct.adoptText(QString(product, QLatin1Char('p')));
    bench.controls.tbSerial.adoptText(QString(serial, QLatin1Char('s')));
    if (!serialEnabled)
        bench.tickBox(bench.controls.cbSerial, false, &FtdiUtility::serialClicked);
    const FtdiEeprom before = bench.ftdi.image();
    bench.ftdi.programClicked();
    if (accepted) {
        QCOMPARE(bench.sentRequests().size(), 1);
        QVERIFY(bench.dialogs.messages.isEmpty());
        return;
    }
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("Total available string length exceeded\r\n"
                            "Please reduce the length of one or more strings"));
    QVERIFY(bench.untouched());
    QCOMPARE(bench.ftdi.image(), before);
}

void TestFtdiProgram::unstorableText()
{
    FtdiBench bench;
    bench.enter(bench.controls.tbProduct, "5 \u20AC");
    bench.ftdi.programClicked();
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("Strings hold one byte a character: \"\u20AC\" cannot be stored"));
    QVERIFY(bench.untouched());
}

void TestFtdiProgram::overflows_data()
{
    QTest::addColumn<Misfit>("misfit");

    QTest::newRow("VID too large") << Misfit{&FtdiControls::tbVID, "70000"};
    QTest::newRow("VID negative") << Misfit{&FtdiControls::tbVID, "-1"};
    QTest::newRow("VID once -1") << Misfit{&FtdiControls::tbVID, "0xFFFFFFFF"};
    QTest::newRow("PID too large") << Misfit{&FtdiControls::tbPID, "0x10000"};
    QTest::newRow("minor too large") << Misfit{&FtdiControls::tbMinRev, "256"};
    QTest::newRow("major negative") << Misfit{&FtdiControls::tbMajRev, "-1"};
    QTest::newRow("major too large") << Misfit{&FtdiControls::tbMajRev, "255.5"};
    QTest::newRow("address too large") << Misfit{&FtdiControls::DevAddr, "256"};
    QTest::newRow("address negative") << Misfit{&FtdiControls::DevAddr, "-1"};
}

void TestFtdiProgram::overflows()
{
    QFETCH(Misfit, misfit);
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.enter(bench.controls.*misfit.box, misfit.text);
    bench.ftdi.programClicked();
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    QVERIFY(bench.untouched());
    QVERIFY(bench.backups().isEmpty());
}

/// A negative major revision survives leaving its field, and cannot be programmed.
void TestFtdiProgram::overflowLeavesTheImage()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.enter(bench.controls.tbVID, "0x1234");
    bench.enter(bench.controls.tbMajRev, "-1");
    bench.ftdi.majRevLeft();
    bench.ftdi.programClicked();
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiProgram::refusals_data()
{
    QTest::addColumn<int>("request");
    QTest::addColumn<QString>("message");

    QTest::newRow("erase") << 0 << "Error Erasing EEPROM";
    QTest::newRow("latency, first") << 1 << "Error Setting Latency";
    QTest::newRow("word 0") << 2 << "Error Writing EEPROM word 0";
    QTest::newRow("word 17") << 19 << "Error Writing EEPROM word 17";
    QTest::newRow("word 63") << 65 << "Error Writing EEPROM word 63";
    QTest::newRow("latency, last") << 66 << "Error Setting Latency";
}

void TestFtdiProgram::refusals()
{
    QFETCH(int, request);
    FtdiBench bench;
    bench.serve();
    bench.refusedRequest = request;
    bench.ftdi.programClicked();
    const QString message = bench.onlyMessage();
    QTEST(message, "message");
    QCOMPARE(bench.sentRequests().size(), request + 1);
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.controls.btProgram.isEnabled());
    QVERIFY(!bench.controls.WordProgress.isVisible());
    if (request == 0)
        QCOMPARE(bench.device, realEeprom());
}

void TestFtdiProgram::timeOuts_data()
{
    refusals_data();
}

void TestFtdiProgram::timeOuts()
{
    QFETCH(int, request);
    FtdiBench bench;
    bench.serve();
    bench.silentRequest = request;
    bench.ftdi.programClicked();
    bench.tick(9);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    const QString message = bench.onlyMessage();
    QTEST(message, "message");
    QCOMPARE(bench.requests, request + 1);
    QVERIFY(bench.session.FtdiActive);
    bench.reply("00"_hex);
    QVERIFY(!bench.session.FtdiActive);
    QCOMPARE(bench.requests, request + 1); // nothing goes on
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void TestFtdiProgram::nothingToEditWhileProgramming()
{
    FtdiBench bench;
    bench.ftdi.programClicked();
    for (const Control *control : bench.controls.all)
        QVERIFY2(control->isEnabled() == (control == &bench.controls.WordProgress),
                 qPrintable(control->name()));
    QCOMPARE(bench.controls.WordProgress.text(), QStringLiteral("%v of %m words written"));
    QCOMPARE(bench.controls.WordProgress.progress(), (Progress{0, 64}));
    bench.enter(bench.controls.tbMaxPower, "0"); // its field loses the focus as it is disabled
    bench.ftdi.maxPowerLeft();
    QCOMPARE(int{bench.ftdi.image().byte(9)}, 45);
}

void TestFtdiProgram::closedWhileProgramming()
{
    FtdiBench bench;
    bench.ftdi.programClicked();
    bench.reply("00"_hex);
    bench.ftdi.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.serial->takeWritten();
    bench.tick(9);
    bench.reply("00"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.sentRequests().isEmpty());
    bench.ftdi.opened();
    QVERIFY(bench.controls.btProgram.isEnabled());
}

void TestFtdiProgram::linkLostWhileProgramming()
{
    FtdiBench bench;
    bench.ftdi.programClicked();
    bench.console.connectClicked();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(20);
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Erasing EEPROM"));
    QVERIFY(!bench.session.FtdiActive);
    QVERIFY(bench.controls.btProgram.isEnabled());
}

VANTREL_TEST(TestFtdiProgram)
#include "tst_ftdiprogram.moc"
