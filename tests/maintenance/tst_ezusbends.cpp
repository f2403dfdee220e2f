// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/EzUsbBench.h"
#include "maintenance/FirmwareLoader.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Record11 = ":0100000011EE\r\n";
const QByteArray Sent11 = "1b53 01 02 40a0 0000 0000 0100 11 1b45"_hex;

/// Nothing of the conversion is left, and the console may go on.
void requireFreed(const EzUsbBench &bench)
{
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.main.ScriptName.text(), QString());
}

} // namespace

/// Conversions that do not end well.
class tst_ezusbends : public QObject
{
    Q_OBJECT

private slots:
    void cancelled_data();
    void cancelled();
    void cancelledWithoutConnection();
    void badFiles_data();
    void badFiles();
    void errorBoxComesFirst();
    void noSuchFile();
    void tooManyLines();
    void refused();
    void refusedTooLate();
    void noAcknowledgement_data();
    void noAcknowledgement();
    void acknowledgementInTheLastTick();
    void addressIsNoByte_data();
    void addressIsNoByte();
    void addressBecomesNoByte();
    void closedDuringTheDialog();
    void disconnectedDuringTheDialog();
    void closedWhileSending();
    void closedWhileWaiting();
    void openedAgainMeanwhile();
    void disconnectedWhileSending();
    void disconnectedWhileWaiting();
    void disconnectedDuringTheBox();
    void disconnectedDuringTheErrorBox();
    void socketFails();
    void serialDeviceVanishes();
    void programCloses();
    void withoutConnection();
    void besideAFirmwareDownload();
};

void tst_ezusbends::cancelled_data()
{
    QTest::addColumn<bool>("automatic");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("automatic mode") << true << AutoModeOn;
    QTest::newRow("manual mode") << false << QByteArray();
}

void tst_ezusbends::cancelled()
{
    QFETCH(bool, automatic);
    EzUsbBench bench;
    bench.main.Automode.setChecked(automatic);
    bench.converter.loadClicked();
    QTEST(bench.serial->takeWritten(), "sent");
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.controls.filename.isVisible());
    QVERIFY(!bench.controls.busy.isVisible());
    QCOMPARE(bench.closings, 1);
    requireFreed(bench);
}

void tst_ezusbends::cancelledWithoutConnection()
{
    EzUsbBench bench;
    bench.console.connectClicked();
    const QString pane = bench.main.CmdWin.text();
    bench.converter.loadClicked();
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.main.CmdWin.text(), pane);
    QCOMPARE(bench.closings, 1);
}

void tst_ezusbends::badFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("records");
    QTest::addColumn<QString>("prompt");
    QTest::addColumn<QString>("title");
    const QString noRecord = QStringLiteral("Error in Firmware File");
    const QString premature = QStringLiteral("Premature End of Firmware File");

    QTest::newRow("empty file") << QByteArray() << QByteArray() << premature << "Line  0";
    QTest::newRow("no last record") << Record11 << Sent11 << premature << "Line  1";
    QTest::newRow("no line end") << QByteArray(":0100000011") << Sent11 << premature << "Line  1";
    QTest::newRow("empty line") << QByteArray("\r\n") + LastRecord << QByteArray() << noRecord
                                << "Line  1";
    QTest::newRow("line 7") << Record11.repeated(6) + "0100000011EE\r\n"
                            << Sent11.repeated(6) << noRecord << "Line  7";
    QTest::newRow("line 12") << Record11.repeated(11) + "?" << Sent11.repeated(11) << noRecord
                             << "Line  12";
    QTest::newRow("another kind of file")
        << "7f454c46 0201"_hex << QByteArray() << noRecord << "Line  1";
}

void tst_ezusbends::badFiles()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, records);
    EzUsbBench bench;
    bench.convert(content);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    bench.tick(2); // the longest takes more than a tick on the line
    QCOMPARE(bench.closings, 1);
    QTEST(bench.dialogs.messages[0].text, "prompt");
    QTEST(bench.dialogs.messages[0].title, "title");
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + records + End + AutoModeOn);
    QVERIFY(!bench.session.ScriptDone);
    requireFreed(bench);
}

void tst_ezusbends::errorBoxComesFirst()
{
    EzUsbBench bench;
    bench.dialogs.holdAnswers = true;
    bench.convert("?");
    QCOMPARE(bench.dialogs.heldCount(), 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold);
    QVERIFY(bench.session.ScriptBusy);
    QCOMPARE(bench.closings, 0);
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.serial->takeWritten(), End + AutoModeOn);
    QCOMPARE(bench.closings, 1);
    requireFreed(bench);
}

void tst_ezusbends::noSuchFile()
{
    EzUsbBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("gone.hex"));
    bench.dialogs.paths = {path};
    bench.converter.loadClicked();
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn); // no download was begun
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("No such file or directory: ") + path);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QVERIFY(!bench.controls.filename.isVisible());
    QCOMPARE(bench.closings, 1);
    requireFreed(bench);
}

void tst_ezusbends::tooManyLines()
{
    EzUsbBench bench(true);
    bench.convert(QByteArray(":0100000011EE\n").repeated(32'767) + LastRecord);
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QVERIFY(bench.tcp->writtenBytes().endsWith(Sent11 + End + AutoModeOn));
    requireFreed(bench);
}

void tst_ezusbends::refused()
{
    EzUsbBench bench;
    bench.onPacket(6, [&] { bench.answer("97"_hex); }); // the second record
    bench.convert(Record11.repeated(5) + LastRecord);
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11 + Sent11 + End + AutoModeOn);
    QCOMPARE(bench.controls.Loaded.text(), QStringLiteral(" 1"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.session.ScriptError);
    requireFreed(bench);
}

/// The wait for the end looks only for the end.
void tst_ezusbends::refusedTooLate()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    bench.answer("97"_hex);
    bench.tick(49);
    QCOMPARE(bench.closings, 0);
    bench.tick();
    QCOMPARE(bench.closings, 1);
    QVERIFY(bench.dialogs.messages.isEmpty());
    requireFreed(bench);
}

void tst_ezusbends::noAcknowledgement_data()
{
    QTest::addColumn<int>("now");
    QTest::newRow("soon after the start") << 10;
    QTest::newRow("over the wrap") << 1'999'999'960;
}

void tst_ezusbends::noAcknowledgement()
{
    QFETCH(int, now);
    EzUsbBench bench;
    bench.session.TickCount = now;
    bench.convert(LastRecord);
    bench.serial->takeWritten();
    bench.tick(49);
    QCOMPARE(bench.closings, 0);
    QVERIFY(bench.session.ScriptBusy);
    bench.tick();
    QCOMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.session.ScriptDone);
    requireFreed(bench);
}

void tst_ezusbends::acknowledgementInTheLastTick()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    bench.tick(49);
    bench.answer(EndStored);
    QCOMPARE(bench.main.ScriptName.text(), QStringLiteral("blink.vn"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void tst_ezusbends::addressIsNoByte_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("negative") << "-1";
    QTest::newRow("negative, after the field was left") << "0xFFFF";
    QTest::newRow("just too large") << "256";
    QTest::newRow("no number of 32 bits") << "99999999999";
}

void tst_ezusbends::addressIsNoByte()
{
    QFETCH(QString, address);
    EzUsbBench bench;
    bench.controls.Address.adoptText(address);
    bench.convert(LastRecord);
    QCOMPARE(bench.serial->takeWritten(), Begin + End + AutoModeOn);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.closings, 1);
    requireFreed(bench);
}

void tst_ezusbends::addressBecomesNoByte()
{
    EzUsbBench bench;
    bench.onPacket(5, [&] { bench.controls.Address.adoptText(QStringLiteral("256")); });
    bench.convert(Record11 + LastRecord);
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11 + End + AutoModeOn);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    requireFreed(bench);
}

void tst_ezusbends::closedDuringTheDialog()
{
    EzUsbBench bench;
    bench.dialogs.onChoice = [&] { bench.converter.closed(); };
    bench.convert(LastRecord);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QCOMPARE(bench.closings, 0);
    requireFreed(bench);
}

/// The file was chosen for the tester of a connection that has ended.
void tst_ezusbends::disconnectedDuringTheDialog()
{
    EzUsbBench bench;
    bench.dialogs.onChoice = [&] { bench.console.connectClicked(); };
    bench.convert(LastRecord);
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nThe connection has ended: no firmware was sent")));
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.closings, 1);
    requireFreed(bench);
}

void tst_ezusbends::closedWhileSending()
{
    EzUsbBench bench;
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.converter.closed();
    QTRY_VERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11 + End + AutoModeOn);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.closings, 0); // it is closed already
    requireFreed(bench);
}

void tst_ezusbends::closedWhileWaiting()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    bench.serial->takeWritten();
    bench.converter.closed();
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn); // the end has been sent before
    QVERIFY(bench.dialogs.messages.isEmpty());
    requireFreed(bench);
}

void tst_ezusbends::openedAgainMeanwhile()
{
    EzUsbBench bench;
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.converter.closed();
    bench.converter.opened();
    QTRY_VERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.closings, 0); // the new window is none of the old conversion's business
    QVERIFY(!bench.controls.busy.isVisible());
    QCOMPARE(bench.controls.Loaded.text(), QStringLiteral("0"));
}

void tst_ezusbends::disconnectedWhileSending()
{
    EzUsbBench bench;
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.console.connectClicked();
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11);
    QVERIFY(!bench.main.CmdWin.text().contains(QLatin1String("Not connected")));
    QVERIFY(bench.dialogs.messages.isEmpty());
    requireFreed(bench);
}

void tst_ezusbends::disconnectedWhileWaiting()
{
    EzUsbBench bench;
    bench.convert(LastRecord);
    bench.console.connectClicked();
    QCOMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Release + End);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    requireFreed(bench);
}

void tst_ezusbends::disconnectedDuringTheBox()
{
    EzUsbBench bench;
    bench.dialogs.holdAnswers = true;
    bench.convert(LastRecord);
    bench.answer(EndStored);
    bench.console.connectClicked();
    bench.serial->takeWritten();
    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(!bench.session.ScriptBusy); // nobody will run that script
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.closings, 1);
}

void tst_ezusbends::disconnectedDuringTheErrorBox()
{
    EzUsbBench bench;
    bench.dialogs.holdAnswers = true;
    bench.convert("?");
    bench.console.connectClicked();
    bench.connect();
    bench.serial->takeWritten();
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn); // the new connection has no download
    requireFreed(bench);
}

void tst_ezusbends::socketFails()
{
    EzUsbBench bench(true);
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.tcp->fail(QStringLiteral("reset"));
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.tcp->takeWritten(), Begin + Hold + Sent11);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Network Error Detected: reset"));
    requireFreed(bench);
}

void tst_ezusbends::serialDeviceVanishes()
{
    EzUsbBench bench;
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.serial->vanish();
    QTRY_COMPARE(bench.closings, 1);
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11);
    requireFreed(bench);
}

void tst_ezusbends::programCloses()
{
    EzUsbBench bench;
    bench.convert(Record11.repeated(5) + LastRecord);
    bench.console.shutDown();
    QCOMPARE(bench.serial->takeWritten(), Begin + Hold + Sent11 + End + AutoModeOn);
    QVERIFY(bench.dialogs.messages.isEmpty());
    requireFreed(bench);
}

void tst_ezusbends::withoutConnection()
{
    EzUsbBench bench;
    bench.console.connectClicked();
    bench.convert(Record11.repeated(500) + LastRecord);
    QTRY_COMPARE(bench.closings, 1);
    QVERIFY(bench.serial->written.isEmpty());
    // One line a packet, up to the first record
    QCOMPARE(bench.main.CmdWin.text().count(QLatin1String("Not connected: nothing was sent")), 5);
    requireFreed(bench);
}

void tst_ezusbends::besideAFirmwareDownload()
{
    EzUsbBench bench;
    FirmwareLoader loader(bench.session, bench.console.link(), bench.console.commands(),
                          bench.dialogs, bench.console.errors(), bench.directory.path());
    loader.opened();
    bench.dialogs.paths = {bench.file("NV" + QByteArray(5000, 'x'), "new.bin")};
    loader.fileSelectClicked();

    bench.convert(LastRecord);
    bench.tick(10);
    bench.serial->takeWritten();
    loader.programClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("An EZ-USB firmware load is under way. Nothing was sent: try again "
                            "when it has ended."));
    QVERIFY(bench.serial->written.isEmpty());
    bench.answer(EndStored);
    QCOMPARE(bench.closings, 1);
    QCOMPARE(bench.main.ScriptName.text(), QStringLiteral("blink.vn"));
    bench.serial->takeWritten();

    loader.programClicked();
    QVERIFY(bench.serial->takeWritten().startsWith("1b53 32"_hex));
    loader.closed();
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

VANTREL_TEST(tst_ezusbends)
#include "tst_ezusbends.moc"
