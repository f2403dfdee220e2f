// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultMatrix.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr quint8 VersionQuery = 0x0F;
constexpr quint8 DataPort = 0x0A;
constexpr quint8 RunScript = 0x0D;
constexpr quint8 ScriptReport = 0xA0;

/// Messages and data port writes in turn, a device request, the end. No packet goes over the end of
/// a piece of a download.
QByteArray script(int pairs)
{
    QByteArray bytes;
    for (int i = 0; i < pairs; ++i)
        bytes += "1b53 28 4869742121 1b45 1b53 0a"_hex + static_cast<char>(i | 0x80) + "1b45"_hex;
    return bytes + "1b53 01 02 8006 0001 0000 1200 1b45 1b53 21 1b45"_hex;
}

void download(FaultBench &bench, int pairs)
{
    bench.dialogs.paths = {bench.fileOf("steps.vn", script(pairs))};
    bench.console.scriptLoadClicked();
}

QString scriptState(FaultBench &bench)
{
    const MainControls &main = bench.main();
    return main.ScriptIdx.text() +
           (main.ScriptRun.isEnabled() ? QStringLiteral(", ") + main.ScriptRun.text() : QString());
}

QString linkState(FaultBench &bench)
{
    if (bench.commandLineSeen("2.8 or Lower"))
        return QStringLiteral("taken for 2.8 or lower");
    switch (bench.session().LinkState) {
    case LinkStates::Closed:
        return QStringLiteral("closed");
    case LinkStates::Probing:
        return QStringLiteral("probing");
    default:
        return bench.session().LinkState == LinkStates::Running ? QStringLiteral("running")
                                                                : QString();
    }
}

Operation connecting()
{
    Operation operation;
    operation.name = QStringLiteral("connect");
    operation.connects = true;
    operation.outlives = true;
    operation.start = [](FaultBench &bench) { bench.pressConnect(); };
    operation.moment = {VersionQuery};
    operation.hasEnded = [](FaultBench &bench) {
        const LinkStates state = bench.session().LinkState;
        return state == LinkStates::Running || state == LinkStates::Closed;
    };
    operation.outcome = linkState;
    operation.late = 3000;
    operation.limit = 60;
    return operation;
}

Operation downloading()
{
    Operation operation;
    operation.name = QStringLiteral("script download");
    operation.start = [](FaultBench &bench) { download(bench, 600); };
    operation.moment = {DataPort, 60};
    operation.hasEnded = [](FaultBench &bench) { return bench.session().DownloadSize < 0; };
    operation.outcome = scriptState;
    operation.own[Fault::Refusal] = [](FaultBench &bench) {
        bench.tester->faults().refusedStep =
            static_cast<qint32>(bench.tester->state().script.steps().size());
    };
    return operation;
}

void loadScript(FaultBench &bench)
{
    download(bench, 100);
    bench.turn([&] { return bench.session().DownloadSize < 0; }, 10);
}

/// A run that nobody reports the end of is ended by the user.
QString stopRun(FaultBench &bench)
{
    if (bench.main().ScriptRun.text() == QLatin1String("Stop"))
        bench.console.scriptRunClicked();
    return {};
}

Operation startingRun()
{
    Operation operation;
    operation.name = QStringLiteral("script start");
    operation.prepare = loadScript;
    operation.start = [](FaultBench &bench) { bench.console.scriptRunClicked(); };
    operation.moment = {RunScript};
    operation.hasEnded = [](FaultBench &bench) {
        return bench.main().ScriptRun.text() == QLatin1String("Run");
    };
    operation.outcome = scriptState;
    operation.settle = stopRun;
    operation.late = 3000;
    return operation;
}

Operation running()
{
    Operation operation = startingRun();
    operation.name = QStringLiteral("script run");
    operation.moment = {ScriptReport, 50, true};
    operation.own[Fault::Refusal] = [](FaultBench &bench) {
        bench.tester->faults().refusal.codes = {DataPort};
    };
    // A stop report without its index, and nothing after it.
    operation.own[Fault::ShortReply] = [](FaultBench &bench) {
        bench.tester->sendRaw("1b53 a0 0032 a1 1b45"_hex);
        bench.tester->faults().silence.all = true;
    };
    return operation;
}

const auto Stored = "VN_End @ 1201, Run";
const auto Complete = "Stopped @ 201, Run";

} // namespace

/// What goes wrong while the console connects and while it has to do with scripts. These have no
/// window but the main one.
class tst_faultsofscripts : public QObject
{
    Q_OBJECT

private slots:
    void matrix_data();
    void matrix() { checkCell(); }
    void downloadAfterALostRun();
};

void tst_faultsofscripts::matrix_data()
{
    addCells({
        {connecting(),
         {
             {Fault::None, "running"},
             {Fault::Silence, "probing"},
             {Fault::ErrorStatus, "running"},
             {Fault::Refusal, "taken for 2.8 or lower"},
             {Fault::ShortReply, "running"},
             {Fault::LateReply, "running"},
             {Fault::DoubledReply, "running"},
             {Fault::Garbage, "running"},
             {Fault::Flood, "running"},
             {Fault::Dropped, "closed", Gone},
             {Fault::Pulled, "probing"},
             {Fault::OtherOperation, "running; walk: Successful"},
             {Fault::Reconnected, "running"},
             {Fault::MainClosed, "probing"},
         }},
        {downloading(),
         {
             {Fault::None, Stored},
             {Fault::Silence, "Load Error"},
             {Fault::ErrorStatus, Stored}, // what is stored is not carried out
             {Fault::Refusal, "Load Error"},
             {Fault::ShortReply, "Load Error"},
             {Fault::LateReply, "Load Error"},
             {Fault::DoubledReply, Stored},
             {Fault::Garbage, Stored},
             {Fault::Flood, Stored},
             {Fault::Dropped, "Load Error", Gone},
             {Fault::Pulled, "Load Error"},
             {Fault::OtherOperation, "VN_End @ 1201, Run; walk: Successful"},
             {Fault::Reconnected, "Load Error"},
             {Fault::MainClosed, "Load Error"},
         }},
        {startingRun(),
         {
             {Fault::None, Complete},
             {Fault::Silence, "Running, Stop", "", "ScriptBusy"},
             {Fault::ErrorStatus, Complete},
             {Fault::Refusal, "Running, Stop", "", "ScriptBusy"},
             {Fault::ShortReply, Complete},
             {Fault::LateReply, Complete},
             {Fault::DoubledReply, Complete},
             {Fault::Garbage, Complete},
             {Fault::Flood, Complete},
             {Fault::Dropped, "Running", Gone},
             {Fault::Pulled, "Running, Stop", "", "ScriptBusy"},
             {Fault::OtherOperation, "Stopped @ 201, Run; walk: Successful"},
             {Fault::Reconnected, "Running"},
             {Fault::MainClosed, "Running, Stop", "", "ScriptBusy", "ScriptBusy"},
         }},
        {running(),
         {
             {Fault::None, Complete},
             {Fault::Silence, "Running, Stop", "", "ScriptBusy"},
             {Fault::ErrorStatus, Complete},
             {Fault::Refusal, Complete},
             {Fault::ShortReply, "Running, Run"},
             {Fault::LateReply, Complete},
             {Fault::DoubledReply, Complete},
             {Fault::Garbage, Complete},
             {Fault::Flood, Complete},
             {Fault::Dropped, "Running", Gone},
             {Fault::Pulled, "Running, Stop", "", "ScriptBusy"},
             {Fault::OtherOperation, "Stopped @ 201, Run; walk: Successful"},
             {Fault::Reconnected, "Running"},
             {Fault::MainClosed, "Running, Stop", "", "ScriptBusy", "ScriptBusy"},
         }},
    });
}

/// The reports of its steps are not taken for those of the run.
void tst_faultsofscripts::downloadAfterALostRun()
{
    FaultBench bench(FaultBench::Windows::None);
    QVERIFY(bench.connectNow());
    loadScript(bench);
    bench.tester->faults().silence.codes = {RunScript};
    bench.console.scriptRunClicked();
    bench.rest();
    bench.tester->dropConnection();
    bench.rest();
    QCOMPARE(bench.takeBoxes(), QString::fromLatin1(Gone));
    QCOMPARE(bench.connectsAgain(), QString());

    bench.session().RespText.clear();
    download(bench, 600);
    QVERIFY(bench.turn([&] { return bench.session().DownloadSize < 0; }, 10));
    QCOMPARE(scriptState(bench), QString::fromLatin1(Stored));
    QCOMPARE(bench.session().ScriptSteps, 1201);
    QVERIFY(!bench.responses().contains("Script Response"));
    QVERIFY(!bench.responses().contains("###"));
}

VANTREL_WINDOW_TEST(tst_faultsofscripts)
#include "tst_faultsofscripts.moc"
