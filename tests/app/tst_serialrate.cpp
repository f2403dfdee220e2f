// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/LineBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr qsizetype ScriptSize = 20'000;
constexpr int LineTicks = ScriptSize / LineBench::BytesPerTick;
constexpr int EndTicks = 50;
constexpr int SlackTicks = 5;

/// Message steps of 100 bytes, then the end of the script.
QByteArray bigScript()
{
    QByteArray script;
    while (script.size() < ScriptSize - 100)
        script += "1b53 28"_hex + QByteArray(95, 'x') + "1b45"_hex;
    return script + "1b53 21 1b45"_hex;
}

/// Records of 16 bytes; about as many bytes on the line as the script.
QByteArray bigFirmware()
{
    constexpr int RecordOnLine = 30;
    QByteArray file;
    for (int at = 0; at < ScriptSize / RecordOnLine; ++at)
        file += ":10" + QByteArray::number(at * 16, 16).rightJustified(4, '0') + "00" +
                QByteArray("5A").repeated(16) + "00\r\n";
    return file + ":00000001FF\r\n";
}

enum class Download { Script, Firmware };

void start(LineBench &bench, Download download)
{
    if (download == Download::Script)
        bench.pressLoad(bigScript());
    else
        bench.pressLoadFirmware(bigFirmware());
}

void addBoth()
{
    QTest::addColumn<Download>("download");
    QTest::newRow("script") << Download::Script;
    QTest::newRow("EZ-USB") << Download::Firmware;
}

} // namespace

Q_DECLARE_METATYPE(Download)

/// Downloads that are longer on a serial line than a tester may take to answer.
class tst_serialrate : public QObject
{
    Q_OBJECT

private slots:
    void longDownload_data() { addBoth(); }
    void longDownload();
    void silentTester_data() { addBoth(); }
    void silentTester();
    void refusedFirmware();
    void portTakesNothing_data() { addBoth(); }
    void portTakesNothing();
    void portTakesBytesAgain();
    void pulled_data();
    void pulled();
    void pulledDuringTesterFirmware();
};

void tst_serialrate::longDownload()
{
    QFETCH(Download, download);
    LineBench bench;
    QVERIFY(bench.ready());
    start(bench, download);
    bench.tick(LineTicks / 2);
    QVERIFY(bench.session().ScriptBusy);

    const auto ended = [&] { return bench.main().ScriptIdx.text().startsWith(u"VN_End @"); };
    QVERIFY(bench.ticksUntil(ended, LineTicks));
    bench.tick();
    QVERIFY(bench.main().ScriptRun.isEnabled());
    QVERIFY(!bench.session().ScriptError);
    QVERIFY(bench.wasLeftAlone());
    QVERIFY(!bench.commandLineSeen("takes no bytes"));
    QCOMPARE(bench.session().ScriptBusy, download == Download::Firmware); // until it is run
    QCOMPARE(bench.main().ScriptName.text(), download == Download::Script
                                                 ? QStringLiteral("script.vn")
                                                 : QStringLiteral("firmware.vn"));
}

void tst_serialrate::silentTester()
{
    QFETCH(Download, download);
    LineBench bench;
    QVERIFY(bench.ready());
    bench.tester->faults().silence.all = true;
    start(bench, download);
    bench.tick(LineTicks + EndTicks - SlackTicks);
    QVERIFY(bench.session().ScriptBusy);
    QVERIFY(bench.wasLeftAlone());
    bench.tick(2 * SlackTicks);
    QVERIFY(bench.isFree());
    QCOMPARE(bench.main().ScriptIdx.text(),
             download == Download::Script ? QStringLiteral("Load Error") : QString());
    QVERIFY(!bench.main().ScriptRun.isEnabled());
}

/// What is on its way when the tester refuses keeps the line busy: nothing is asked until it has
/// left.
void tst_serialrate::refusedFirmware()
{
    LineBench bench;
    QVERIFY(bench.ready());
    bench.tester->faults().refusedStep = 1;
    bench.pressLoadFirmware(bigFirmware());
    QVERIFY(bench.ticksUntil([&] { return bench.session().ScriptError; }, 10));
    QVERIFY(bench.ticksUntil([&] { return !bench.session().ScriptBusy; }, LineTicks + SlackTicks));
    QVERIFY(bench.wasLeftAlone());
    bench.tick(30);
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QCOMPARE(bench.commandLineCount("Connecting..."), 1);
}

void tst_serialrate::portTakesNothing()
{
    QFETCH(Download, download);
    LineBench bench;
    QVERIFY(bench.ready());
    bench.stop(true);
    start(bench, download);
    bench.tick(20);
    QVERIFY(bench.session().ScriptBusy);
    bench.tick(10);
    QVERIFY(bench.isFree());
    QCOMPARE(bench.commandLineCount("The tester takes no bytes: the download has ended"), 1);
    QCOMPARE(bench.main().ScriptIdx.text(),
             download == Download::Script ? QStringLiteral("Load Error") : QString());
    QVERIFY(!bench.main().ScriptRun.isEnabled());
}

/// It has stood still for less than the margin.
void tst_serialrate::portTakesBytesAgain()
{
    LineBench bench;
    QVERIFY(bench.ready());
    start(bench, Download::Script);
    bench.tick(2);
    bench.stop(true);
    bench.tick(15);
    bench.stop(false);
    const auto ended = [&] { return bench.main().ScriptIdx.text().startsWith(u"VN_End @"); };
    QVERIFY(bench.ticksUntil(ended, LineTicks + SlackTicks));
    QVERIFY(bench.wasLeftAlone());
    QVERIFY(!bench.session().ScriptError);
}

void tst_serialrate::pulled_data()
{
    QTest::addColumn<Download>("download");
    QTest::addColumn<int>("ticks");
    QTest::newRow("script, at once") << Download::Script << 0;
    QTest::newRow("script, in the middle") << Download::Script << LineTicks / 2;
    QTest::newRow("EZ-USB, at once") << Download::Firmware << 0;
    QTest::newRow("EZ-USB, in the middle") << Download::Firmware << LineTicks / 2;
}

void tst_serialrate::pulled()
{
    QFETCH(Download, download);
    QFETCH(int, ticks);
    LineBench bench;
    QVERIFY(bench.ready());
    start(bench, download);
    bench.tick(ticks);
    QVERIFY(bench.session().ScriptBusy);
    bench.line->pull();
    QVERIFY(turnsUntil([&] { return bench.isFree(); })); // without a tick
    QCOMPARE(bench.commandLineCount("\r\nThe serial port has been lost"), 1);
    QCOMPARE(bench.main().ScriptIdx.text(), download == Download::Script
                                                ? QStringLiteral("Load Error")
                                                : bench.main().ScriptIdx.text());
    QVERIFY(!bench.main().ScriptRun.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_serialrate::pulledDuringTesterFirmware()
{
    LineBench bench;
    QVERIFY(bench.ready());
    QByteArray image(10'000, 'x');
    image.replace(6, 2, QByteArray("\x04\0", 2));
    bench.tools.loader.opened();
    bench.dialogs.paths = {bench.file("new.bin", image)};
    bench.tools.loader.fileSelectClicked();
    bench.tools.loader.programClicked();
    bench.tick(5);
    QVERIFY(bench.session().ScriptBusy);
    bench.line->pull();
    QVERIFY(turnsUntil([&] { return bench.isFree(); })); // without a tick
    QCOMPARE(bench.commandLineCount("\r\nThe serial port has been lost"), 1);
    QVERIFY(bench.tools.loader.controls().btProgram.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(tst_serialrate)
#include "tst_serialrate.moc"
