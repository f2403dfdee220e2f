// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ClosingWrites.h"
#include "support/TestProgram.h"

#include <array>
#include <utility>

using namespace vantrel;
using namespace vantrel::test;

namespace {

bool closesTool(Way way)
{
    return way == Way::Escape || way == Way::Frame;
}

/// The write waits for the tester, and the window has been closed by its user.
bool beginAndClose(ClosingBench &bench, const Write &write, Way way)
{
    write.begin(bench);
    if (!bench.isHeld())
        return false;
    for (int turn = 0; turn < 50; ++turn)
        QCoreApplication::processEvents();
    if (ClosingBench::box())
        return false;
    bench.close(way, write.form);
    return true;
}

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

QString lineOf(const Write &write, Way way)
{
    return text(closesTool(way) && write.lineOfWindow ? write.lineOfWindow : write.line);
}

} // namespace

/// Windows that are closed while something is being written.
class tst_closingwrites : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void no_data() { addRows(); }
    void no();
    void yes_data() { addRows(); }
    void yes();
    void nothingToAsk_data();
    void nothingToAsk();
    void readsDoNotAsk_data();
    void readsDoNotAsk();
    void endsDuringTheQuestion();
    void windowClosesItselfDuringTheQuestion();
    void disconnect();
    void lostConnectionDoesNotAsk();
    void exitKeepsTheLogUntilYes();
    void failedDownloadDoesNotAsk();
    void twoWritesAtOnce();

private:
    static void addRows();
};

void tst_closingwrites::addRows()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<Way>("way");
    constexpr std::array names{"Escape", "frame", "frame of the main window", "Exit",
                               "end of the session"};
    for (std::size_t index = 0; index < Writes.size(); ++index) {
        const Write &write = Writes.at(index);
        for (std::size_t way = 0; way < names.size(); ++way) {
            if (write.form || !closesTool(static_cast<Way>(way)))
                QTest::addRow("%s, %s", write.name, names.at(way))
                    << static_cast<int>(index) << static_cast<Way>(way);
        }
    }
}

void tst_closingwrites::no()
{
    QFETCH(int, index);
    QFETCH(Way, way);
    const Write &write = Writes.at(static_cast<std::size_t>(index));
    ClosingBench bench;
    QVERIFY(beginAndClose(bench, write, way));
    QMessageBox *const box = ClosingBench::box();
    QVERIFY(box);
    QCOMPARE(box->windowTitle(), text("Vantrel - Warning"));
    const bool tool = closesTool(way);
    QCOMPARE(box->text(),
             text(write.activity) + text("\r\n") +
                 text(tool && write.lossOfWindow ? write.lossOfWindow : write.loss) +
                 text("\r\n\r\n") +
                 text(tool ? "Close the window nevertheless?" : "End the program nevertheless?"));
    QCOMPARE(box->parentWidget(), tool ? bench.tool(write.form) : &bench.window);
    QCOMPARE(box->defaultButton(), box->button(QMessageBox::No));

    bench.close(way, write.form);
    QCOMPARE(ClosingBench::boxCount(), 1);
    QTest::keyClick(box, Qt::Key_Return);
    QCOMPARE(ClosingBench::boxCount(), 0);
    QVERIFY(bench.window.isVisible());
    QVERIFY(!write.form || bench.tool(write.form)->isVisible());

    bench.resume();
    QVERIFY(write.isWhole(bench));
    QVERIFY(!bench.commandLines().contains(lineOf(write, way)));
}

void tst_closingwrites::yes()
{
    QFETCH(int, index);
    QFETCH(Way, way);
    const Write &write = Writes.at(static_cast<std::size_t>(index));
    ClosingBench bench;
    QVERIFY(beginAndClose(bench, write, way));
    QVERIFY(ClosingBench::box());
    ClosingBench::answer(QMessageBox::Yes);
    QCOMPARE(ClosingBench::boxCount(), 0);
    QCOMPARE(bench.window.isVisible(), closesTool(way));
    QVERIFY(!write.form || !bench.tool(write.form)->isVisible());
    QCOMPARE(bench.commandLines().count(lineOf(write, way)), 1);

    bench.resume();
    QVERIFY(bench.nothingWaits());
    QVERIFY(!write.isIncomplete || write.isIncomplete(bench));
    QVERIFY(!bench.session.writes.areUnderWay(AllWrites));
}

void tst_closingwrites::nothingToAsk_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("form");
    for (const auto &[item, form] :
         {std::pair{"UtilFM", "FlashForm"}, std::pair{"EZUSB", "EZUSBForm"},
          std::pair{"mnuUtilFW", "FWLoad"}, std::pair{"mnuUtilFTDI", "frmFTDI"},
          std::pair{"mnuConfigureNetwork", "frmNWCfg"}})
        QTest::newRow(form) << QByteArray(item) << QByteArray(form);
}

void tst_closingwrites::nothingToAsk()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, form);
    ClosingBench bench;
    for (const Way way : {Way::Escape, Way::Frame}) {
        bench.choose(item);
        QVERIFY(bench.tool(form)->isVisible());
        bench.close(way, form);
        QVERIFY(!bench.tool(form)->isVisible());
    }
    bench.choose(item);
    bench.close(Way::SessionEnd, form);
    QVERIFY(bench.window.isVisible()); // the session closes it
    QCOMPARE(ClosingBench::boxCount(), 0);
    bench.close(Way::MainFrame, form);
    QVERIFY(!bench.window.isVisible());
    QVERIFY(!bench.tool(form)->isVisible());
    QCOMPARE(ClosingBench::boxCount(), 0);
}

void tst_closingwrites::readsDoNotAsk_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<int>("code");
    QTest::newRow("FTDI read") << QByteArray("mnuUtilFTDI") << QByteArray("frmFTDI")
                               << QByteArray("btRead") << 0x01;
    QTest::newRow("FTDI verify") << QByteArray("mnuUtilFTDI") << QByteArray("frmFTDI")
                                 << QByteArray("btVerify") << 0x01;
    QTest::newRow("descriptors") << QByteArray("UtilDV") << QByteArray("GetDescForm")
                                 << QByteArray("GetDesc") << 0x01;
    QTest::newRow("flash information")
        << QByteArray("UtilFM") << QByteArray("FlashForm") << QByteArray() << 0x31;
}

void tst_closingwrites::readsDoNotAsk()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, form);
    QFETCH(QByteArray, button);
    QFETCH(int, code);
    ClosingBench bench;
    bench.hold(static_cast<quint8>(code));
    bench.choose(item);
    if (!button.isEmpty())
        bench.press(form, button);
    QVERIFY(bench.isHeld());
    bench.close(Way::Escape, form);
    QVERIFY(!bench.tool(form)->isVisible());
    QCOMPARE(ClosingBench::boxCount(), 0);
}

void tst_closingwrites::endsDuringTheQuestion()
{
    ClosingBench bench;
    QVERIFY(beginAndClose(bench, Writes.back(), Way::MainFrame));
    QCOMPARE(ClosingBench::boxCount(), 1);
    bench.resume();
    QVERIFY(hasEeprom(bench));
    QTRY_COMPARE(ClosingBench::boxCount(), 0);
    QVERIFY(bench.window.isVisible());
    QVERIFY(bench.tool("frmFTDI")->isVisible());
    bench.close(Way::MainFrame, "frmFTDI");
    QVERIFY(!bench.window.isVisible());
    QCOMPARE(ClosingBench::boxCount(), 0);
}

void tst_closingwrites::windowClosesItselfDuringTheQuestion()
{
    ClosingBench bench;
    const Write &restart = Writes.at(6);
    QCOMPARE(restart.name, "firmware restart");
    QVERIFY(beginAndClose(bench, restart, Way::Escape));
    QCOMPARE(ClosingBench::boxCount(), 1);
    bench.resume();
    QVERIFY(hasFirmware(bench));
    QVERIFY(!bench.tool("FWLoad")->isVisible());
    QTRY_COMPARE(ClosingBench::boxCount(), 0);
    QVERIFY(bench.window.isVisible());
    QVERIFY(!bench.commandLines().contains(text(restart.line)));
}

/// Disconnecting is not asked about, and reports the same line.
void tst_closingwrites::disconnect()
{
    ClosingBench bench;
    const Write &ftdi = Writes.back();
    ftdi.begin(bench);
    QVERIFY(bench.isHeld());
    child<QPushButton>(bench.window, "Connect").click();
    QCOMPARE(child<QPushButton>(bench.window, "Connect").text(), text("Connect"));
    QCOMPARE(bench.commandLines().count(text(ftdi.line)), 1);
    QTRY_COMPARE(ClosingBench::boxCount(), 1);
    QCOMPARE(ClosingBench::box()->text(), text("Error Writing EEPROM word 23"));
    ClosingBench::answer(QMessageBox::Ok);
    bench.close(Way::Escape, "frmFTDI");
    QVERIFY(!bench.tool("frmFTDI")->isVisible());
    bench.close(Way::MainFrame, nullptr);
    QVERIFY(!bench.window.isVisible());
}

/// The exchange still waits for the user to read the box that reports the loss.
void tst_closingwrites::lostConnectionDoesNotAsk()
{
    ClosingBench bench;
    Writes.back().begin(bench);
    QVERIFY(bench.isHeld());
    bench.tester->dropConnection();
    QTRY_COMPARE(ClosingBench::boxCount(), 1);
    QVERIFY(ClosingBench::box()->text().startsWith(text("Network Error Detected: ")));
    bench.close(Way::Escape, "frmFTDI");
    QVERIFY(!bench.tool("frmFTDI")->isVisible());
    QCOMPARE(ClosingBench::boxCount(), 1);
}

void tst_closingwrites::exitKeepsTheLogUntilYes()
{
    ClosingBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("bench.log"));
    bench.console.log().start(path);
    QVERIFY(beginAndClose(bench, Writes.back(), Way::Exit));
    QVERIFY(bench.session.Logging);
    ClosingBench::answer(QMessageBox::No);
    QVERIFY(bench.session.Logging);
    bench.close(Way::Exit, nullptr);
    ClosingBench::answer(QMessageBox::Yes);
    QVERIFY(!bench.window.isVisible());
    QVERIFY(!bench.session.Logging);
    QFile log(path);
    QVERIFY(log.open(QIODevice::ReadOnly));
    QVERIFY(log.readAll().contains("Log File Ended"));
}

/// A download that has timed out keeps its window open with its buttons disabled.
void tst_closingwrites::failedDownloadDoesNotAsk()
{
    ClosingBench bench;
    chooseFirmware(bench);
    bench.hold(FirmwareBlock);
    bench.session.TickCount = 4096 + 48;
    bench.press("FWLoad", "btProgram");
    QVERIFY(bench.isHeld());
    bench.console.Timer1();
    bench.console.Timer1();
    QVERIFY(bench.responses().contains("*** Download Failed - Communications Timeout"));
    bench.close(Way::Escape, "FWLoad");
    QVERIFY(!bench.tool("FWLoad")->isVisible());
    QCOMPARE(ClosingBench::boxCount(), 0);
}

void tst_closingwrites::twoWritesAtOnce()
{
    ClosingBench bench;
    enableFlash(bench);
    QVERIFY(bench.isHeld());
    const PendingWrite other(bench.session, WriteKind::FtdiProgram, 64);
    bench.close(Way::MainFrame, nullptr);
    QVERIFY(ClosingBench::box());
    QVERIFY(ClosingBench::box()->text().startsWith(
        text("The tester is changing the state of the script in its flash memory.\r\n"
             "Whether it succeeds will not be reported.\r\n"
             "The EEPROM of an FTDI device is being programmed: 0 of 64 words written.\r\n")));
    ClosingBench::answer(QMessageBox::Yes);
    QVERIFY(!bench.window.isVisible());
    QCOMPARE(bench.commandLines().count(
                 text("FTDI EEPROM programming was stopped: 0 of 64 words written")),
             1);
    QCOMPARE(bench.commandLines().count(
                 text("Changing the state of the script in the flash memory was not confirmed")),
             1);
}

VANTREL_WINDOW_TEST(tst_closingwrites)
#include "tst_closingwrites.moc"
