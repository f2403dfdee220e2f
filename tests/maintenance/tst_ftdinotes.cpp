// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString NotRead =
    QStringLiteral("Not read yet: Program writes what is shown, and there is no backup");

/// The real image in the layout that Program writes, unchanged by another Program.
const QByteArray Plain = "0040030401600006a03208000002940a"
                         "9e2cca120a0346005400440049002c03"
                         "55004d00320033003200520020005500"
                         "5300420020003c002d003e0020005300"
                         "65007200690061006c00120346005400"
                         "470058005300590057004a0057004a00"
                         "02030000000000000000000000000000"
                         "0000000000000000000000000000c20f"_hex;

/// What the window shows, in the bytes that Program writes from it.
struct Shown
{
    explicit Shown(const FtdiControls &controls)
        : selfPowered(controls.cbSelfPower.isChecked()),
          remoteWakeup(controls.cbRemoteWake.isChecked()), serial(controls.cbSerial.isChecked()),
          power(controls.tbMaxPower.text().toInt())
    {
    }

    bool agreesWith(const QByteArray &image) const
    {
        const auto attributes = static_cast<quint8>(image[8]);
        return selfPowered == ((attributes & 0x40U) != 0) &&
               remoteWakeup == ((attributes & 0x20U) != 0) &&
               serial == ((static_cast<quint8>(image[10]) & 0x08U) != 0) &&
               power == 2 * static_cast<quint8>(image[9]);
    }

    bool selfPowered;
    bool remoteWakeup;
    bool serial;
    int power;
};

} // namespace

/// What the window reports of an image beside its fields, and images of another layout.
class TestFtdiNotes : public QObject
{
    Q_OBJECT

private slots:
    void notReadYet();
    void readFailed();
    void wrongChecksum();
    void blank();
    void halfRead();
    void plainLayout();
    void question();
    void questionAfterAFailure();
    void noQuestionWithoutARead();
    void closedUnderTheQuestion();
    void keepLayout();
    void keepLayoutThatDoesNotFit();
    void keepLayoutWithoutSerial();
    void tickIsClearedByARead();
    void verifyComparesWithWhatIsShown();
    void verifyWhatCannotBeWritten();
};

void TestFtdiNotes::notReadYet()
{
    FtdiBench bench;
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
    bench.serve();
    bench.ftdi.programClicked();
    QCOMPARE(bench.requests, 67);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.ImageNote.text(), QString());
    bench.ftdi.closed();
    bench.ftdi.opened();
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
}

void TestFtdiNotes::readFailed()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    bench.serve();
    bench.refusedRequest = 60;
    bench.ftdi.readClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 60"));
    QCOMPARE(bench.controls.ImageNote.text(), NotRead);
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
}

void TestFtdiNotes::wrongChecksum()
{
    FtdiBench bench;
    bench.serve();
    bench.device.replace(126, 2, "3412"_hex);
    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.ImageNote.text(),
             QStringLiteral("Wrong checksum: 0x1234 instead of 0x1309"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.keepLayout();
    bench.ftdi.programClicked();
    QCOMPARE(bench.controls.ImageNote.text(), QString());
    QCOMPARE(bench.device, realEeprom());
}

void TestFtdiNotes::blank()
{
    FtdiBench bench;
    bench.serve();
    bench.device.fill('\xFF');
    bench.ftdi.readClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.ImageNote.text(),
             QStringLiteral("Wrong checksum: 0xFFFF instead of 0xAAAA\n"
                            "Beyond the end of the EEPROM: Mfr String, Product String, "
                            "Serial String"));
    QCOMPARE(bench.controls.tbVID.text(), QStringLiteral("0xFFFF"));
    QCOMPARE(bench.controls.tbPID.text(), QStringLiteral("0xFFFF"));
    QCOMPARE(bench.controls.tbMajRev.text(), QStringLiteral("255"));
    QCOMPARE(bench.controls.tbMinRev.text(), QStringLiteral("255"));
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("510"));
    QVERIFY(bench.controls.cbSelfPower.isChecked());
    QVERIFY(bench.controls.cbRemoteWake.isChecked());
    QVERIFY(bench.controls.cbSerial.isChecked());
    QVERIFY(!bench.controls.cbKeepLayout.isVisible()); // nothing can be lost

    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(Shown(bench.controls).agreesWith(bench.device));
    QCOMPARE(bench.device.first(26),
             "ffffffffffffffffffffffffffff 9402 9602 9802 0203 0203 0203"_hex);
    QCOMPARE(bench.controls.ImageNote.text(), QString());
}

/// Program writes the bytes that have been read: the window shows them.
void TestFtdiNotes::halfRead()
{
    FtdiBench bench;
    bench.serve();
    bench.device.replace(8, 3, "c0c800"_hex);
    bench.refusedRequest = 6;
    bench.ftdi.readClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 6"));
    QVERIFY(bench.controls.cbSelfPower.isChecked());
    QVERIFY(!bench.controls.cbRemoteWake.isChecked());
    QVERIFY(!bench.controls.cbSerial.isChecked());
    QVERIFY(!bench.controls.tbSerial.isEnabled());
    QCOMPARE(bench.controls.tbMaxPower.text(), QStringLiteral("400"));
    bench.refusedRequest.reset();
    bench.ftdi.programClicked();
    QVERIFY(Shown(bench.controls).agreesWith(bench.device));
}

void TestFtdiNotes::plainLayout()
{
    FtdiBench bench;
    bench.serve();
    bench.device = Plain;
    bench.ftdi.readClicked();
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device, Plain);
}

void TestFtdiNotes::question()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    QVERIFY(!bench.controls.cbKeepLayout.isChecked());
    bench.dialogs.answers = {Answer::No, Answer::Yes};
    bench.ftdi.programClicked();
    QCOMPARE(bench.requests, 64);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    const Message message = bench.dialogs.messages.takeFirst();
    QCOMPARE(message.title, FtdiBench::Title);
    QCOMPARE(message.buttons, Message::Buttons::YesNo);
    QVERIFY(message.noIsDefault);
    QCOMPARE(message.text, QStringLiteral("The EEPROM that was read has another layout: Program "
                                          "moves its strings to byte 20.\r\n"
                                          "Bytes that will be lost: 20 to 22\r\n\r\n"
                                          "\"Keep layout\" keeps them. Program nevertheless?"));
    QVERIFY(bench.backups().isEmpty());
    QCOMPARE(bench.device, realEeprom());
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());

    bench.ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.device, Plain);
    QCOMPARE(bench.backups().size(), 1);
    // Nothing is left that could be lost.
    QVERIFY(!bench.controls.cbKeepLayout.isVisible());
    bench.ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.device, Plain);
}

/// A Program that failed has moved the strings of the image in the window. The layout that was read
/// can still be kept.
void TestFtdiNotes::questionAfterAFailure()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.dialogs.answers = {Answer::Yes, Answer::No};
    bench.serve();
    bench.refusedRequest = 0;
    bench.ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.takeLast().text, QStringLiteral("Error Erasing EEPROM"));
    bench.dialogs.messages.clear();

    bench.refusedRequest.reset();
    bench.ftdi.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.dialogs.messages[0].text.contains(QLatin1String("lost: 20 to 22")));
    bench.dialogs.messages.clear();
    bench.keepLayout();
    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device, realEeprom());
}

void TestFtdiNotes::noQuestionWithoutARead()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.ftdi.closed();
    bench.ftdi.opened();
    bench.ftdi.programClicked();
    QCOMPARE(bench.requests, 64 + 67);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFtdiNotes::closedUnderTheQuestion()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.dialogs.holdAnswers = true;
    bench.ftdi.programClicked();
    bench.ftdi.closed();
    bench.dialogs.answers = {Answer::Yes};
    bench.dialogs.answerHeld(Answer::Yes);
    QCOMPARE(bench.requests, 64);
    QVERIFY(bench.backups().isEmpty());
}

void TestFtdiNotes::keepLayout()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.keepLayout();
    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device, realEeprom());

    bench.enter(bench.controls.tbProduct, "Bench cable");
    bench.enter(bench.controls.tbPID, "0x6002");
    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.sliced(20, 4), "32110500"_hex);
    QCOMPARE(bench.device.sliced(96, 30), realEeprom().sliced(96, 30));
    QCOMPARE(bench.device.sliced(14, 6), "980a a218 ce12"_hex);
    QCOMPARE(bench.device.sliced(4, 2), "0260"_hex);
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    QVERIFY(bench.controls.cbKeepLayout.isChecked());

    bench.ftdi.readClicked();
    QCOMPARE(bench.controls.tbProduct.text(), QStringLiteral("Bench cable"));
    QCOMPARE(bench.controls.tbSerial.text(), QStringLiteral("FTGXSYWJ"));
    QCOMPARE(bench.controls.ImageNote.text(), QString());
}

void TestFtdiNotes::keepLayoutThatDoesNotFit()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.keepLayout();
    bench.enter(bench.controls.tbSerial, "FTGXSYWJ0");
    bench.ftdi.programClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("The strings no longer fit where they were\r\n"
                                                 "Please shorten them or clear \"Keep layout\""));
    QCOMPARE(bench.requests, 64);
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
    QVERIFY(bench.backups().isEmpty());

    bench.enter(bench.controls.tbProduct, "UM232R USB <-> Seria");
    bench.ftdi.programClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.device.sliced(14, 6), "980a a22a cc14"_hex);
    QCOMPARE(bench.device.sliced(20, 4), "32110500"_hex);
    QCOMPARE(bench.device.sliced(96, 30), realEeprom().sliced(96, 30));
}

void TestFtdiNotes::keepLayoutWithoutSerial()
{
    FtdiBench bench;
    bench.serve();
    bench.device[10] = '\x00';
    bench.ftdi.readClicked();
    const QByteArray before = bench.device;
    bench.keepLayout();
    bench.ftdi.programClicked();
    QCOMPARE(bench.device.first(126), before.first(126));
}

void TestFtdiNotes::tickIsClearedByARead()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.keepLayout();
    bench.ftdi.readClicked();
    QVERIFY(bench.controls.cbKeepLayout.isVisible());
    QVERIFY(!bench.controls.cbKeepLayout.isChecked());
}

void TestFtdiNotes::verifyComparesWithWhatIsShown()
{
    FtdiBench bench;
    bench.serve();
    bench.device = Plain;
    bench.ftdi.readClicked();
    bench.enter(bench.controls.tbPID, "0x6002");
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("EEPROM word 2 is 0x6001 in the device and 0x6002 in the image"));
    bench.enter(bench.controls.tbPID, "0x6001");
    bench.enter(bench.controls.tbSerial, "FTGXSYWK");
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("EEPROM word 45 is 0x004A in the device and 0x004B in the image"));
    bench.ftdi.programClicked();
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("All 64 EEPROM words agree with the image"));
}

void TestFtdiNotes::verifyWhatCannotBeWritten()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.enter(bench.controls.tbMajRev, "-1");
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyError(), QStringLiteral("Overflow"));
    bench.enter(bench.controls.tbMajRev, "6");
    bench.controls.tbMfr.adoptText(QString(51, QLatin1Char('x')));
    bench.ftdi.verifyClicked();
    QVERIFY(bench.onlyMessage().startsWith(QLatin1String("Total available string length")));
    QCOMPARE(bench.requests, 64);
}

VANTREL_TEST(TestFtdiNotes)
#include "tst_ftdinotes.moc"
