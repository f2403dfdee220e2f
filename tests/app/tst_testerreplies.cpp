// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Tester.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QSet>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr quint8 DownloadStart = 0x0C;
constexpr quint8 RunScript = 0x0D;
constexpr quint8 DownloadEnd = 0x21;

/// A console and a tester without anything between them.
struct DirectBench : ConsoleBench
{
    explicit DirectBench(const simulator::Settings &settings)
        : tester(simulator::makeDefaultTester(settings))
    {
        serial->onWrite = [this](const QByteArray &bytes) { tester->receive(bytes); };
        QObject::connect(tester.get(), &simulator::Tester::bytesReady, serial,
                         [this](const QByteArray &bytes) { serial->receive(bytes); });
        QObject::connect(tester.get(), &simulator::Tester::packetSent, serial,
                         [this](const QByteArray &body) { codes.insert(body.at(0)); });
        connect();
        second(); // the answer comes inside the probe, before the connection waits for it
        second();
    }
    ~DirectBench() { serial->onWrite = nullptr; }
    DirectBench(const DirectBench &) = delete;
    DirectBench &operator=(const DirectBench &) = delete;

    /// Sends the body; false when something came back that the console does not know.
    bool isAnsweredWell(const QByteArray &body)
    {
        session.RespText.clear();
        QByteArray stuffed = body;
        console.link().SendPacket("1b53"_hex + StuffEscapes(stuffed) + "1b45"_hex);
        return isWell();
    }
    bool isWell() { return !session.RespText.text().contains("### Unrecognized"); }

    std::unique_ptr<simulator::Tester> tester;
    QSet<char> codes; // of the packets that the tester has sent
};

/// Commands of all codes, known and unknown, too short and long enough.
QList<QByteArray> commandsOf(int code)
{
    QList<QByteArray> commands;
    for (const int size : {1, 2, 3, 4, 5, 13})
        commands.append(QByteArray(1, static_cast<char>(code)) + QByteArray(size - 1, '\x01'));
    return commands;
}

} // namespace

/// Everything that the simulated tester can send is known to the console.
class tst_testerreplies : public QObject
{
    Q_OBJECT

private slots:
    void commands_data();
    void commands();
    void steps_data() { commands_data(); }
    void steps();
    void reports();
};

void tst_testerreplies::commands_data()
{
    QTest::addColumn<bool>("vorn1");
    QTest::addColumn<bool>("bootstrap");
    QTest::newRow("Vorn 1") << true << false;
    QTest::newRow("Vorn 2") << false << false;
    QTest::newRow("Vorn 2 bootstrap") << false << true;
}

void tst_testerreplies::commands()
{
    QFETCH(bool, vorn1);
    QFETCH(bool, bootstrap);
    simulator::Settings settings =
        vorn1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
    settings.bootstrap = bootstrap;
    DirectBench bench(settings);
    QCOMPARE(bench.session.LinkState, bootstrap ? LinkStates::Bootstrap : LinkStates::Running);
    for (int code = 0; code <= 0xFF; ++code) {
        for (const QByteArray &command : commandsOf(code)) {
            QVERIFY2(bench.isAnsweredWell(command), command.toHex().constData());
            QVERIFY(bench.isAnsweredWell(QByteArray(1, char{DownloadEnd})));
        }
        bench.tester->clock().advance(10'000);
        QVERIFY2(bench.isWell(), QByteArray::number(code, 16).constData());
    }
    QVERIFY(bench.codes.size() > (bootstrap ? 2 : 18));
}

void tst_testerreplies::steps()
{
    QFETCH(bool, vorn1);
    QFETCH(bool, bootstrap);
    simulator::Settings settings =
        vorn1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
    settings.bootstrap = bootstrap;
    DirectBench bench(settings);
    for (int code = 0; code <= 0xFF; ++code) {
        if (code == DownloadStart || code == DownloadEnd)
            continue;
        for (const QByteArray &step : commandsOf(code)) {
            bench.isAnsweredWell(QByteArray(1, char{DownloadStart}));
            QVERIFY2(bench.isAnsweredWell(step), step.toHex().constData());
            QVERIFY(bench.isAnsweredWell(QByteArray(1, char{DownloadEnd})));
            bench.main.ScriptIdx.setText(QStringLiteral("Running"));
            bench.isAnsweredWell(QByteArray(1, char{RunScript}));
            bench.tester->clock().advance(10'000);
            QVERIFY2(bench.isWell(), step.toHex().constData());
        }
    }
}

void tst_testerreplies::reports()
{
    DirectBench bench(simulator::Settings::vorn2());
    bench.session.RespText.clear();
    simulator::Tester &tester = *bench.tester;
    QVERIFY(tester.reportConnect(2));
    tester.reportDisconnect(2);
    tester.reportStatus(1, 2, 3);
    tester.reportData(2, 1, "data");
    tester.reportDeviceTransfer(0, "data");
    tester.reportDeviceError(2, 1, 0x80);
    tester.reportFail();
    tester.reportCommandError();
    tester.reportTrigger(1);
    tester.reportScriptLoadError();
    tester.reportScript(1, QByteArrayView("\x83"));
    tester.reportMessage("data");
    tester.reportBlockTransferStatus(1, 2, "data");
    tester.reportBlockTransfer();
    tester.reportStopBlockTransfer();
    QVERIFY(bench.isWell());
    QVERIFY(bench.session.RespText.text().endsWith("-- Stop Block Transfer\r\n\r\n"));
}

VANTREL_TEST(tst_testerreplies)
#include "tst_testerreplies.moc"
