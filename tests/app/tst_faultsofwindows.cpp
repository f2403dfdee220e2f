// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FaultMatrix.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr quint8 FlashScript = 0x31;
constexpr quint8 ConfigMemoryRead = 0x36;
constexpr quint8 Program = 0x02; // operation on a flash slot

constexpr int AnswerTicks = 20;
constexpr int Late = 2500; // milliseconds

bool nothingWaits(FaultBench &bench)
{
    return bench.session().waits.pendingCount() == 0;
}

QString slotShown(FaultBench &bench)
{
    FlashControls &flash = bench.console.flash().controls();
    return flash.Burn.isEnabled() ? QStringLiteral("refreshed: ") + flash.Status.text()
                                  : QStringLiteral("not refreshed");
}

QString slotProgrammed(FaultBench &bench)
{
    FlashControls &flash = bench.console.flash().controls();
    return flash.BtnProgram.isVisible()
               ? QStringLiteral("to be named")
               : QStringLiteral("shows \"%1\"").arg(flash.ScriptName.text());
}

Operation refreshing()
{
    Operation operation;
    operation.name = QStringLiteral("flash refresh");
    operation.window = "FlashForm";
    operation.prepare = [](FaultBench &bench) {
        simulator::FlashMemory &flash = bench.tester->state().flash;
        flash.program(0, "Default ", {});
        flash.setEnabled(0, true);
    };
    operation.start = [](FaultBench &bench) { bench.open("FlashForm"); };
    operation.moment = {FlashScript};
    operation.hasEnded = nothingWaits;
    operation.outcome = slotShown;
    operation.late = Late;
    operation.limit = AnswerTicks;
    operation.own[Fault::ErrorStatus] = [](FaultBench &bench) {
        bench.tester->faults().flashState = 7; // no state that there is
    };
    return operation;
}

Operation programming()
{
    Operation operation = refreshing();
    operation.name = QStringLiteral("flash program");
    operation.prepare = [](FaultBench &bench) {
        bench.open("FlashForm");
        bench.turn([&] { return nothingWaits(bench); }, AnswerTicks);
        bench.dialogs.paths = {bench.fileOf("end.vn", "1b53 21 1b45"_hex)};
        FlashScripts &flash = bench.console.flash();
        flash.burnClicked();
        bench.turn([&] { return flash.controls().BtnProgram.isEnabled(); }, AnswerTicks);
    };
    operation.start = [](FaultBench &bench) { bench.console.flash().programClicked(); };
    operation.outcome = slotProgrammed;
    operation.limit = 2 * AnswerTicks;
    operation.own[Fault::ErrorStatus] = [](FaultBench &bench) {
        bench.tester->faults().flashFailure.codes = {Program};
    };
    return operation;
}

Operation readingConfiguration()
{
    Operation operation;
    operation.name = QStringLiteral("configuration read");
    operation.window = "frmNWCfg";
    operation.start = [](FaultBench &bench) { bench.open("frmNWCfg"); };
    operation.moment = {ConfigMemoryRead};
    operation.hasEnded = nothingWaits;
    operation.outcome = [](FaultBench &bench) {
        QStringList octets;
        for (const Control &box : bench.tools.network.controls().tbIP)
            octets.append(box.text());
        return octets.join(QLatin1Char('.'));
    };
    operation.late = Late;
    operation.limit = AnswerTicks;
    return operation;
}

const auto Enabled = "refreshed: Enabled";
const auto NotRead = "Failed to read Script Info from Vorn 1";
const auto NotReadAndGone = "Failed to read Script Info from Vorn 1|"
                            "Network Error Detected: The remote host closed the connection";

const auto Programmed = "shows \"Script0 \"";
const auto NotProgrammed = "Failed to Program";
const auto NotProgrammedAndGone =
    "Failed to Program|Network Error Detected: The remote host closed the connection";

const auto Address = "192.0.2.10";
const auto NoRecord = "Failed to Read Configuration Information from Tester";
const auto GoneAndNoRecord = "Network Error Detected: The remote host closed the connection|"
                             "Failed to Read Configuration Information from Tester";

} // namespace

/// What goes wrong while the flash window and that of the network settings wait for the tester.
class tst_faultsofwindows : public QObject
{
    Q_OBJECT

private slots:
    void matrix_data();
    void matrix() { checkCell(); }
};

void tst_faultsofwindows::matrix_data()
{
    addCells({
        {refreshing(),
         {
             {Fault::None, Enabled},
             {Fault::Silence, "not refreshed", NotRead},
             {Fault::ErrorStatus, "refreshed: "},
             {Fault::Refusal, "not refreshed", NotRead},
             {Fault::ShortReply, "refreshed: Disabled"}, // as if nothing had been heard of the slot
             {Fault::LateReply, "not refreshed", NotRead},
             {Fault::DoubledReply, Enabled},
             {Fault::Garbage, Enabled},
             {Fault::Flood, Enabled},
             {Fault::Dropped, "not refreshed", NotReadAndGone},
             {Fault::Pulled, "not refreshed", NotRead},
             {Fault::WindowClosed, "not refreshed"},
             {Fault::OtherOperation, "refreshed: Enabled; walk: Successful"},
             {Fault::Reconnected, "not refreshed", NotRead},
             {Fault::MainClosed, "not refreshed"},
         }},
        {programming(),
         {
             {Fault::None, Programmed},
             {Fault::Silence, "to be named", NotProgrammed},
             {Fault::ErrorStatus, "to be named", NotProgrammed},
             {Fault::Refusal, "to be named", NotProgrammed},
             {Fault::ShortReply, "shows \"\""}, // when last heard of, the slot was empty
             {Fault::LateReply, "to be named", NotProgrammed},
             {Fault::DoubledReply, Programmed},
             {Fault::Garbage, Programmed},
             {Fault::Flood, Programmed},
             {Fault::Dropped, "to be named", NotProgrammedAndGone},
             {Fault::Pulled, "to be named", NotProgrammed},
             {Fault::WindowClosed, "to be named"},
             {Fault::OtherOperation, "shows \"Script0 \"; walk: Successful"},
             {Fault::Reconnected, "to be named", NotProgrammed},
             {Fault::MainClosed, "to be named"},
         }},
        {readingConfiguration(),
         {
             {Fault::None, Address},
             {Fault::Silence, "...", NoRecord},
             {Fault::ErrorStatus, Address}, // there is none
             {Fault::Refusal, "...", NoRecord},
             {Fault::ShortReply, "..."},
             {Fault::LateReply, "...", NoRecord},
             {Fault::DoubledReply, Address},
             {Fault::Garbage, Address},
             {Fault::Flood, Address},
             {Fault::Dropped, "...", GoneAndNoRecord},
             {Fault::Pulled, "...", NoRecord},
             {Fault::WindowClosed, "..."},
             {Fault::OtherOperation, "192.0.2.10; walk: Successful"},
             {Fault::Reconnected, "...", NoRecord},
             {Fault::MainClosed, "..."},
         }},
    });
}

VANTREL_WINDOW_TEST(tst_faultsofwindows)
#include "tst_faultsofwindows.moc"
