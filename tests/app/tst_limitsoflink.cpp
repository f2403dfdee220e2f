// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "support/Hex.h"
#include "support/PseudoTerminal.h"
#include "support/Resources.h"
#include "support/TestProgram.h"
#include "support/TestServer.h"
#include "support/Turns.h"

#include <QFile>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr qint64 Mebibyte = 1 << 20;

const auto VersionQuery = "1b53 0f 1b45"_hex;
const auto CurrentQuery = "1b53 0e 1b45"_hex;
const auto PortStatusQuery = "1b53 0b 1b45"_hex;
const auto VersionReply = "1b53 8f 02 03 0c 00 40 1b45"_hex; // Vorn 2, 3.12, 64 KiB
const auto PortStatusReply = "1b53 8b 46 1b45"_hex;
const auto UsbReset = "1b53 08 1b45"_hex;

const QString TakesNoBytes = QStringLiteral("\r\nThe tester takes no bytes: nothing was sent");

/// The bench on a socket whose other end is the test.
struct SocketBench : Bench
{
    SocketBench() { selectNetwork(QString::fromLatin1(NetworkBench::Loopback), server.port()); }

    bool open()
    {
        console.connectClicked();
        return turnsUntil([this] { return console.link().isConnected() && server.clients() == 1; });
    }
    void send(const QByteArray &bytes) { server.client()->write(bytes); }
    QByteArray received() { return server.received(); }

    TestServer server;
};

/// The same on COM1.
struct LineBench : Bench
{
    LineBench() { console.link().setSerialDevice(1, line.device()); }

    bool open()
    {
        console.connectClicked();
        return console.link().isConnected();
    }
    void send(const QByteArray &bytes) { line.send(bytes); }
    QByteArray received() { return line.received(); }

    PseudoTerminal line;
};

/// One byte goes out and has been taken in. True when it changed what it must: every byte of a
/// packet moves the de-framer on.
template <typename LinkBench>
bool drip(LinkBench &bench, char byte)
{
    Session &session = bench.session();
    const auto place = [&session] { return std::pair(session.RxState, session.RxPacket.size()); };
    const auto before = place();
    bench.send(QByteArray(1, byte));
    return turnsUntil([&] { return place() != before; });
}

/// Sends all but the last byte, a second after each. True when the console was probing all along.
template <typename LinkBench>
bool dripAllButTheLast(LinkBench &bench, const QByteArray &packet)
{
    for (const char byte : packet.chopped(1)) {
        if (!drip(bench, byte))
            return false;
        bench.second();
        if (bench.session().LinkState != LinkStates::Probing)
            return false;
    }
    return true;
}

template <typename LinkBench>
bool receivedCount(LinkBench &bench, const QByteArray &packet, qsizetype count)
{
    return turnsUntil([&] { return bench.received().count(packet) >= count; }) &&
           bench.received().count(packet) == count;
}

/// A tester that sends a byte each second, on either link: the console waits as it waits for one
/// that says nothing, and knows it when its answer is whole.
template <typename LinkBench>
void oneByteEachSecond(LinkBench &bench)
{
    QVERIFY(bench.open());
    bench.second();
    QVERIFY(dripAllButTheLast(bench, VersionReply));
    QCOMPARE(bench.commandLineCount("Connecting..."), 1);
    QVERIFY(receivedCount(bench, VersionQuery, 10)); // one at first, one after each of nine bytes
    QVERIFY(drip(bench, VersionReply.back()));
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QVERIFY(bench.main().USBReset.isEnabled());

    bench.second(); // asks, and for a second hears one byte
    QVERIFY(receivedCount(bench, CurrentQuery, 1));
    QVERIFY(receivedCount(bench, PortStatusQuery, 1));
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QVERIFY(dripAllButTheLast(bench, PortStatusReply));
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    QVERIFY(receivedCount(bench, VersionQuery, 14)); // none in the second that was silent
    QVERIFY(drip(bench, PortStatusReply.back()));
    QCOMPARE(bench.main().power.text(), QStringLiteral("On")); // late, but not lost
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);

    bench.second();
    QVERIFY(dripAllButTheLast(bench, VersionReply));
    QVERIFY(drip(bench, VersionReply.back()));
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    QCOMPARE(bench.commandLineCount("Connecting..."), 2);
    QVERIFY(receivedCount(bench, CurrentQuery, 1));
    QVERIFY(receivedCount(bench, PortStatusQuery, 1));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// A new one each time: copies would share their memory.
QByteArray largePacket()
{
    return "1b53 01"_hex + QByteArray(Mebibyte, 'x') + "1b45"_hex;
}

/// Sends until nothing more is taken, whatever the system's own buffers take; returns how many
/// packets were.
int sendUntilRefused(VornComm &link)
{
    constexpr int Enough = 200;
    int taken = 0;
    for (int refusals = 0; refusals < 2 && taken < Enough;) {
        if (link.SendPacket(largePacket())) {
            ++taken;
        } else {
            ++refusals;
        }
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
    }
    return taken;
}

/// For a minute nothing is reported or kept, except that an action of the user is reported.
void compareQuietButTelling(Bench &bench)
{
    bench.console.clearClicked();
    bench.console.Timer1();
    const qint64 before = allocatedBytes();
    for (int seconds = 0; seconds < 60; ++seconds)
        bench.second();
    QCOMPARE(bench.main().CmdWin.text(), QString());
    QVERIFY2(allocatedBytes() - before < 10'000,
             qPrintable(QString::number(allocatedBytes() - before)));

    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    QCOMPARE(bench.main().CmdWin.text(), TakesNoBytes);
}

QString scriptFile(const Bench &bench, const QByteArray &script)
{
    QFile file(bench.directory.filePath(QStringLiteral("test.vn")));
    if (!file.open(QIODevice::WriteOnly) || file.write(script) != script.size())
        qFatal("no script file");
    return file.fileName();
}

/// Steps of a thousand bytes, the end of the script last.
QByteArray scriptOf(qsizetype size)
{
    const QByteArray step = "1b53 01"_hex + QByteArray(995, 's') + "1b45"_hex;
    const QByteArray end = "1b53 21 1b45"_hex;
    const qsizetype first = (size - end.size()) % step.size();
    QByteArray script = "1b53 01"_hex + QByteArray(first - 5, 'f') + "1b45"_hex;
    script += step.repeated((size - end.size()) / step.size()) + end;
    return script;
}

} // namespace

/// Testers that are slow, deaf or gone, and a script of a size that no tester has room for.
class tst_limitsoflink : public QObject
{
    Q_OBJECT

private slots:
    void oneByteASecondOnASocket();
    void oneByteASecondOnALine();
    void neverReadsOnASocket();
    void neverReadsOnALine();
    void scriptForADeafTester();
    void largeScript();
    void goneWhileTheBoxIsOpen();
};

void tst_limitsoflink::oneByteASecondOnASocket()
{
    SocketBench bench;
    oneByteEachSecond(bench);
}

void tst_limitsoflink::oneByteASecondOnALine()
{
    LineBench bench;
    oneByteEachSecond(bench);
    QCOMPARE(bench.console.link().lineSettings(),
             QByteArray(" 115200,n,8,1")); // each second of probing has moved it on: 23 times
}

void tst_limitsoflink::neverReadsOnASocket()
{
    SocketBench bench;
    QVERIFY(bench.open());
    bench.second();
    bench.send(VersionReply);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    QTcpSocket *const tester = bench.server.client();
    tester->setReadBufferSize(1); // what it does not take stays with the system
    tester->blockSignals(true);

    VornComm &link = bench.console.link();
    const QByteArray packet = largePacket();
    const qint64 before = allocatedBytes();
    const int taken = sendUntilRefused(link);
    QVERIFY(taken * packet.size() >= VornComm::UnsentLimit);
    const qint64 held = allocatedBytes() - before;
    qInfo("taken: %d MiB, memory: %+lld bytes", taken, static_cast<long long>(held));
    QVERIFY(held < VornComm::UnsentLimit + 2 * packet.size());
    QCOMPARE(bench.commandLineCount("The tester takes no bytes: nothing was sent"), 2);
    QVERIFY(bench.main().CmdWin.text().endsWith(TakesNoBytes));
    bench.second();
    bench.second();
    QCOMPARE(bench.session().LinkState, LinkStates::Probing);
    compareQuietButTelling(bench);

    // It reads again: what was taken is there, whole and in order, and nothing of what was not.
    tester->setReadBufferSize(0);
    QByteArray heard;
    QVERIFY(turnsUntil([&] {
        heard += tester->readAll();
        return heard.size() >= taken * packet.size() && heard.endsWith("x\x1b\x45");
    }));
    QVERIFY(heard.endsWith(packet.repeated(taken)));
    QVERIFY(allocatedBytes() - before - heard.capacity() < Mebibyte);
    tester->blockSignals(false);
    bench.send(VersionReply);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    bench.console.act([&] { bench.console.ports().usbResetClicked(); });
    QVERIFY(receivedCount(bench, UsbReset, 1));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_limitsoflink::neverReadsOnALine()
{
    LineBench bench;
    QVERIFY(bench.open());
    bench.second();
    VornComm &link = bench.console.link();
    const QByteArray packet = largePacket();
    const qint64 before = allocatedBytes();
    const int taken = sendUntilRefused(link);
    QVERIFY(taken * packet.size() >= VornComm::UnsentLimit);
    const qint64 held = allocatedBytes() - before;
    qInfo("taken: %d MiB, memory: %+lld bytes", taken, static_cast<long long>(held));
    QVERIFY(held < VornComm::UnsentLimit + 2 * packet.size());
    QVERIFY(bench.main().CmdWin.text().endsWith(TakesNoBytes));
    compareQuietButTelling(bench);

    bench.console.connectClicked(); // gives up on it
    QVERIFY(!link.isConnected());
    QVERIFY(allocatedBytes() - before < Mebibyte);
    const QByteArray heard = bench.received(); // what was on the line already
    QVERIFY(bench.open());
    bench.second();
    QVERIFY(turnsUntil([&] { return bench.received().size() > heard.size(); }));
    QCOMPARE(bench.received().sliced(heard.size()), VersionQuery); // nothing from before
    bench.send(VersionReply);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_limitsoflink::scriptForADeafTester()
{
    SocketBench bench;
    QVERIFY(bench.open());
    bench.second();
    bench.server.client()->setReadBufferSize(1);
    bench.server.client()->blockSignals(true);
    sendUntilRefused(bench.console.link());
    bench.console.clearClicked();

    bench.dialogs.paths = {scriptFile(bench, scriptOf(5000))};
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.session().DownloadSent, 0); // the first piece is refused: no other is tried
    QCOMPARE(bench.main().CmdWin.text(), TakesNoBytes.repeated(3));
    for (int ticks = 0; ticks < 49; ++ticks)
        bench.console.Timer1();
    QVERIFY(bench.session().ScriptBusy);
    bench.console.Timer1();
    QVERIFY(!bench.session().ScriptBusy);
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(bench.main().Window.isEnabled());

    const qint64 before = allocatedBytes();
    bench.console.connectClicked();
    QVERIFY(allocatedBytes() - before < -60 * Mebibyte); // nothing of it is kept
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
}

void tst_limitsoflink::largeScript()
{
    SocketBench bench;
    QVERIFY(bench.open());
    bench.second();
    bench.send(VersionReply);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    const QByteArray script = scriptOf(16 * Mebibyte);
    QCOMPARE(script.size(), 16 * Mebibyte);
    bench.dialogs.paths = {scriptFile(bench, script)};
    bench.main().CmdWin.setText({});

    bench.console.scriptLoadClicked();
    int turns = 0; // that the window has had by the time all is sent
    QVERIFY(turnsUntil([&] {
        ++turns;
        return bench.session().DownloadSent == script.size();
    }));
    QVERIFY(turns >= script.size() / 512);
    QVERIFY(turnsUntil([&] { return bench.received().endsWith("1b53 21 1b45"_hex); }));
    QVERIFY(bench.received().endsWith(script));
    bench.send("1b53 a0 41 c0 21 1b45"_hex);
    QVERIFY(turnsUntil([&] { return !bench.session().ScriptBusy; }));
    QVERIFY(!bench.session().ScriptError);
    QVERIFY(bench.main().ScriptRun.isEnabled());
    QCOMPARE(bench.main().CmdWin.text(), QString()); // well framed, and all of it taken
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_limitsoflink::goneWhileTheBoxIsOpen()
{
    NetworkBench bench;
    QVERIFY(bench.connectConsole());
    bench.second();
    QVERIFY(turnsUntil([&] { return bench.session().StatusSeen; }));
    bench.dialogs.holdAnswers = true;
    bench.end.dropConnection();
    QVERIFY(turnsUntil([&] { return bench.dialogs.heldCount() == 1; }));
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Network Error Detected: The remote host closed the connection"));
    QCOMPARE(bench.session().LinkState, LinkStates::Running);
    bench.main().CmdWin.setText({});

    bench.second(); // would have asked
    QCOMPARE(bench.main().CmdWin.text(), QString());
    bench.second(); // nobody has answered
    QCOMPARE(bench.main().CmdWin.text(), QStringLiteral("\r\nConnecting..."));
    bench.second();
    QCOMPARE(bench.main().CmdWin.text(), QStringLiteral("\r\nConnecting..."));
    QCOMPARE(bench.dialogs.messages.size(), 1);

    bench.dialogs.holdAnswers = false;
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QVERIFY(bench.connectConsole());
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

VANTREL_TEST(tst_limitsoflink)
#include "tst_limitsoflink.moc"
