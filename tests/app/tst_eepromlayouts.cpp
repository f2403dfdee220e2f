// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EepromBench.h"
#include "maintenance/RealEeprom.h"
#include "simulator/FtdiDevice.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString &Title = EepromBench::Title;
const QString NotRead =
    QStringLiteral("Not read yet: Program writes what is shown, and there is no backup");

} // namespace

/// EEPROMs that are blank, of another layout, wrongly signed or read by half: nothing is lost or
/// written unseen.
class tst_eepromlayouts : public QObject
{
    Q_OBJECT

private slots:
    void shortWords_data();
    void shortWords();
    void shortWordInVerify();
    void notReadYet();
    void notReadAfterAFailure();
    void optionsAfterAFailure();
    void blank();
    void halfWritten();
    void wrongChecksum();
    void plain();
    void questionDeclined();
    void questionAccepted();
    void layoutKept();
    void textsThatDoNotFit();
    void verifyOfEdits();
    void anyImage();
};

void tst_eepromlayouts::shortWords_data()
{
    QTest::addColumn<int>("bytes");
    QTest::newRow("no data") << 0;
    QTest::newRow("one byte") << 1;
}

void tst_eepromlayouts::shortWords()
{
    QFETCH(int, bytes);
    EepromBench bench;
    bench.tools.ftdi.readClicked();
    QVERIFY(turnsUntil([&] { return bench.controls.WordProgress.progress().done >= 7; }));
    const int word = bench.controls.WordProgress.progress().done;
    bench.tester->faults().eepromReadShort = static_cast<quint8>(bytes);
    QVERIFY(turnsUntil([&] { return bench.controls.btRead.isEnabled(); }));
    const QString message = bench.onlyMessage();
    const QString failure = Title + QStringLiteral("Error Reading EEPROM word ");
    QVERIFY2(message.startsWith(failure), qPrintable(message));
    const int failed = message.sliced(failure.size()).toInt();
    QVERIFY(failed == word || failed == word + 1); // one answer may have been on its way
    QCOMPARE(bench.requests(), failed + 1);
    QCOMPARE(bench.tools.ftdi.image().bytes().first(2 * failed), realEeprom().first(2 * failed));
    QCOMPARE(bench.controls.tbVID.text(), QString());
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QCOMPARE(bench.device.eeprom(), realEeprom());
}

void tst_eepromlayouts::shortWordInVerify()
{
    EepromBench bench;
    bench.tester->faults().eepromReadShort = 1;
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Reading EEPROM word 0"));
    QCOMPARE(bench.requests(), 1);
}

/// It is programmed without a question, and the window says so beforehand.
void tst_eepromlayouts::notReadYet()
{
    EepromBench bench;
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom().first(8), QByteArray(8, '\0'));
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QVERIFY(bench.read());
    QCOMPARE(bench.controls.ImageNote.text(), QString());
}

void tst_eepromlayouts::notReadAfterAFailure()
{
    EepromBench bench;
    QVERIFY(bench.read());
    QCOMPARE(bench.controls.ImageNote.text(), QString());
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    bench.tester->faults().eepromReadFails = 40;
    QVERIFY(bench.read());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Reading EEPROM word 40"));
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
}

/// The words that were read are programmed: the window shows what they hold.
void tst_eepromlayouts::optionsAfterAFailure()
{
    QByteArray image = simulator::FtdiDevice::plainImage();
    image.replace(8, 3, "c0c800"_hex);
    EepromBench bench(image);
    bench.tester->faults().eepromReadFails = 30;
    QVERIFY(bench.read());
    QCOMPARE(bench.onlyMessage(), Title + QStringLiteral("Error Reading EEPROM word 30"));
    QVERIFY(bench.controls.cbSelfPower.isChecked());
    QVERIFY(!bench.controls.cbRemoteWake.isChecked());
    QVERIFY(!bench.controls.cbSerial.isChecked());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("400"));
    QVERIFY(bench.program());
    QCOMPARE(bench.device.eeprom().sliced(8, 3), "c0c800"_hex);
}

void tst_eepromlayouts::blank()
{
    EepromBench bench("eeprom-blank");
    QVERIFY(bench.read());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0xFFFF"));
    QVERIFY(bench.controls.cbSelfPower.isChecked());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("510"));
    QVERIFY(bench.controls.ImageNote.text().startsWith(
        QLatin1String("Wrong checksum: 0xFFFF instead of 0xAAAA\nBeyond the end")));

    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.backup(), QByteArray(128, '\xFF'));
    const QByteArray written = bench.device.eeprom();
    QCOMPARE(written.first(26), "ffffffffffffffffffffffffffff 9402 9602 9802 0203 0203 0203"_hex);
    QCOMPARE(written.sliced(26, 100), QByteArray(100, '\xFF'));

    // What the window shows after another Read is what it showed before.
    QVERIFY(bench.read());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("510"));
    QCOMPARE(bench.controls.ImageNote.text(), QString());
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title + QStringLiteral("All 64 EEPROM words agree with the image"));
}

void tst_eepromlayouts::halfWritten()
{
    const QByteArray whole = simulator::FtdiDevice::plainImage();
    EepromBench bench(whole.first(16) +
                      QByteArray(112, '\xFF')); // up to the entry of the first string
    QVERIFY(bench.read());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0x0403"));
    QCOMPARE(bench.controls.tbMfr.text(), QString(4, QChar(0xFF)));
    QCOMPARE(bench.controls.tbProduct.text(), QString());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("90"));
    QVERIFY(bench.controls.ImageNote.text().contains(
        QLatin1String("Beyond the end of the EEPROM: Product String, Serial String")));
    bench.controls.tbMfr.adoptText(QStringLiteral("Vorn"));
    bench.controls.tbProduct.adoptText(QStringLiteral("Serial cable"));
    bench.controls.tbSerial.adoptText(QStringLiteral("VC000123"));
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom().first(74), whole.first(74)); // its strings end there
}

void tst_eepromlayouts::wrongChecksum()
{
    EepromBench bench("eeprom-checksum");
    QVERIFY(bench.read());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.tbMfr.text(), QStringLiteral("Vorn"));
    QCOMPARE(bench.controls.ImageNote.text(),
             QStringLiteral("Wrong checksum: 0x0000 instead of 0xA0AC"));
    QVERIFY(bench.program());
    QCOMPARE(bench.device.eeprom(), simulator::FtdiDevice::plainImage());
    QCOMPARE(bench.controls.ImageNote.text(), QString());
}

void tst_eepromlayouts::plain()
{
    EepromBench bench("ftdi-plain");
    QVERIFY(bench.read());
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
    bench.enterProduct("Serial cable of some length");
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom().sliced(14, 6), "940a 9e38 d612"_hex);
}

void tst_eepromlayouts::questionDeclined()
{
    EepromBench bench;
    QVERIFY(bench.read());
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    QVERIFY(!bench.controls.cbKeepLayout.isChecked());
    bench.requests();
    bench.dialogs.answers = {Answer::No};
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.value(0).noIsDefault);
    QCOMPARE(bench.onlyMessage(),
             Title +
                 QStringLiteral("The EEPROM that was read has another layout: Program moves its "
                                "strings to byte 20.\r\n"
                                "Bytes that will be lost: 20 to 22\r\n\r\n"
                                "\"Keep layout\" keeps them. Program nevertheless?"));
    QCOMPARE(bench.requests(), 0);
    QCOMPARE(bench.device.eeprom(), realEeprom());
    QVERIFY(!QDir(bench.dataFolder).exists());
}

void tst_eepromlayouts::questionAccepted()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.dialogs.answers = {Answer::Yes};
    QVERIFY(bench.program());
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.device.eeprom().sliced(14, 10), "940a 9e2c ca12 0a034600"_hex);
    QCOMPARE(bench.backup(), realEeprom());
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
}

void tst_eepromlayouts::layoutKept()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.keepLayout();
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom(), realEeprom());

    bench.enterProduct("Bench cable");
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title +
                 QStringLiteral("EEPROM word 8 is 0x2CA2 in the device and 0x18A2 in the image"));
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    const QByteArray written = bench.device.eeprom();
    QCOMPARE(written.first(17), realEeprom().first(17));
    QCOMPARE(written.sliced(18, 16), realEeprom().sliced(18, 16));
    QCOMPARE(written.sliced(34, 24), "1803 420065006e00630068002000 6300610062006c006500"_hex);
    QCOMPARE(written.sliced(58, 68), realEeprom().sliced(58, 68));

    // The device accepts its checksum, and finds its strings.
    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    QVERIFY(bench.hears("Executing USB Reset"));
    const QString report = bench.walk("7");
    QVERIFY2(report.contains(QLatin1String("Bench cable")), qPrintable(report));
    QVERIFY(report.contains(QLatin1String("FTGXSYWJ")));
}

void tst_eepromlayouts::textsThatDoNotFit()
{
    EepromBench bench;
    QVERIFY(bench.read());
    bench.keepLayout();
    bench.enterProduct("UM232R USB <-> Serial!");
    bench.requests();
    QVERIFY(bench.program());
    QCOMPARE(bench.onlyMessage(),
             Title + QStringLiteral("The strings no longer fit where they were\r\n"
                                    "Please shorten them or clear \"Keep layout\""));
    QCOMPARE(bench.requests(), 0);
    QCOMPARE(bench.device.eeprom(), realEeprom());

    bench.controls.tbSerial.adoptText(QStringLiteral("FTGXSYW")); // makes room
    QVERIFY(bench.program());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.eeprom().sliced(14, 6), "980a a22e d010"_hex);
    QCOMPARE(bench.device.eeprom().sliced(20, 4), "32110500"_hex);
    QCOMPARE(bench.device.eeprom().sliced(96, 30), realEeprom().sliced(96, 30));
}

void tst_eepromlayouts::verifyOfEdits()
{
    EepromBench bench("ftdi-plain");
    QVERIFY(bench.read());
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title + QStringLiteral("All 64 EEPROM words agree with the image"));
    bench.controls.tbVID.adoptText(QStringLiteral("0x1234"));
    QVERIFY(bench.verify());
    QCOMPARE(bench.onlyMessage(),
             Title +
                 QStringLiteral("EEPROM word 1 is 0x0403 in the device and 0x1234 in the image"));
    QCOMPARE(bench.device.eeprom(), simulator::FtdiDevice::plainImage());
}

/// Random images: nothing is lost that the question does not name, and with "Keep layout" nothing
/// changes but the checksum.
void tst_eepromlayouts::anyImage()
{
    quint32 state = 20261122;
    for (int round = 0; round < 12; ++round) {
        QByteArray image(128, '\0');
        for (char &byte : image) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24U);
        }
        for (const int field : {15, 17, 19})
            image[field] = static_cast<char>(static_cast<quint8>(image[field]) % 20);
        EepromBench bench(image);
        QVERIFY(bench.read());
        QCOMPARE(bench.tools.ftdi.image().bytes(), image);
        QVERIFY(bench.controls.cbKeepLayout.isVisible());
        bench.keepLayout();
        QVERIFY(bench.program());
        QVERIFY(bench.dialogs.messages.isEmpty());
        QCOMPARE(bench.device.eeprom().first(126), image.first(126));
        QVERIFY(bench.verify());
        QCOMPARE(bench.onlyMessage(),
                 Title + QStringLiteral("All 64 EEPROM words agree with the image"));
    }
}

VANTREL_TEST(tst_eepromlayouts)
#include "tst_eepromlayouts.moc"
