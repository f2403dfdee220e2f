// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ScriptBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A console over a tester whose flash holds the enabled script "Night".
struct FlashBench : ScriptBench
{
    bool open()
    {
        flash.opened();
        return QTest::qWaitFor([this] { return controls.Burn.isEnabled(); });
    }
    bool download()
    {
        flash.burnClicked();
        return QTest::qWaitFor([this] { return controls.BtnProgram.isVisible(); });
    }
    bool program(const QString &name)
    {
        dialogs.paths.append(example("suspend-and-resume"));
        if (!download())
            return false;
        controls.ScriptName.adoptText(name);
        flash.programClicked();
        return QTest::qWaitFor([this] { return !controls.BtnProgram.isVisible(); }) &&
               QTest::qWaitFor([this] { return controls.Burn.isEnabled(); });
    }
    bool enable()
    {
        flash.scriptEnableClicked();
        return QTest::qWaitFor(
            [this] { return controls.Status.text() == QLatin1String("Enabled"); });
    }
    bool readyWithScript()
    {
        return ready() && open() && program(QStringLiteral("Night")) && enable();
    }

    bool refusalSeen()
    {
        return QTest::qWaitFor([this] { return responses().contains("*** Command Error "); });
    }
    /// The box that comes up, 20 ticks after the order, and no earlier.
    QString failure()
    {
        tick(19);
        if (!dialogs.messages.isEmpty())
            return QStringLiteral("too early");
        tick(1);
        return dialogs.messages.isEmpty() ? QString() : dialogs.messages.takeFirst().text;
    }

    simulator::Faults &faults() { return tester->faults(); }

    FlashScripts &flash = console.flash();
    FlashControls &controls = flash.controls();
};

const auto ReadFailure = QStringLiteral("Failed to read Script Info from Vorn 1");
const auto ChangeFailure = QStringLiteral("Failed to Change Script Status");
const auto ProgramFailure = QStringLiteral("Failed to Program");

} // namespace

/// The script in the tester's flash through the whole program, with a tester in good and bad
/// health.
class tst_flashslot : public QObject
{
    Q_OBJECT

private slots:
    void keepsAScript();
    void survivesAReconnect();
    void states_data();
    void states();
    void readFails_data();
    void readFails();
    void changeFails_data();
    void changeFails();
    void programFails_data();
    void programFails();
    void refusedDownload();
    void shortReply();
    void doubleReply();
    void controlsAreDisabledDuringAWait();
};

/// A second command during the wait for a reply would take that reply for its own.
void tst_flashslot::controlsAreDisabledDuringAWait()
{
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    const auto noneEnabled = [&] {
        return !bench.controls.ScriptEnable.isEnabled() && !bench.controls.Burn.isEnabled() &&
               !bench.controls.BtnProgram.isEnabled();
    };
    bench.flash.scriptEnableClicked();
    QVERIFY(noneEnabled());
    QTRY_VERIFY(bench.controls.ScriptEnable.isEnabled());
    QVERIFY(bench.controls.Burn.isEnabled());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));

    bench.dialogs.paths.append(example("suspend-and-resume"));
    QVERIFY(bench.download());
    bench.flash.programClicked();
    QVERIFY(noneEnabled());
    QTRY_VERIFY(bench.controls.Burn.isEnabled());

    bench.faults().silence.all = true;
    bench.flash.scriptEnableClicked();
    QVERIFY(noneEnabled());
    QCOMPARE(bench.failure(), ChangeFailure);
    QVERIFY(bench.controls.ScriptEnable.isEnabled()); // as before
    QVERIFY(bench.controls.Burn.isEnabled());
}

void tst_flashslot::keepsAScript()
{
    FlashBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.open());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Undefined"));
    QCOMPARE(bench.controls.ScriptName.text(), QString());
    QVERIFY(!bench.controls.ScriptEnable.isEnabled());

    QVERIFY(bench.program(QStringLiteral("LongScriptName")));
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("LongScri"));
    QCOMPARE(bench.tester->state().flash.slot(0).steps.size(), 14);
    QVERIFY(bench.enable());
    QCOMPARE(bench.controls.ScriptEnable.text(), QStringLiteral("Disable"));
    bench.flash.scriptEnableClicked();
    QTRY_COMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashslot::survivesAReconnect()
{
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    bench.flash.closed();
    bench.console.connectClicked();
    QCOMPARE(bench.session().LinkState, LinkStates::Closed);
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.open());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Enabled"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Night   "));
}

void tst_flashslot::states_data()
{
    QTest::addColumn<quint8>("state");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<bool>("enabled");
    const auto row = [](const char *tag, quint8 state, const char *status, const char *name,
                        const char *caption, bool enabled) {
        QTest::newRow(tag) << state << QString::fromLatin1(status) << QString::fromLatin1(name)
                           << QString::fromLatin1(caption) << enabled;
    };
    row("0", 0, "Disabled", "Night   ", "Enable", true);
    row("1", 1, "Enabled", "Night   ", "Disable", true);
    row("255", 255, "Undefined", "", "Enable", false);
    row("another", 27, "", "", "Enable", false);
}

void tst_flashslot::states()
{
    QFETCH(quint8, state);
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    bench.flash.closed();
    bench.faults().flashState = state;
    QVERIFY(bench.open());
    QTEST(bench.controls.Status.text(), "status");
    QTEST(bench.controls.ScriptName.text(), "name");
    QTEST(bench.controls.ScriptEnable.text(), "caption");
    QTEST(bench.controls.ScriptEnable.isEnabled(), "enabled");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashslot::readFails_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("refused") << true;
    QTest::newRow("silence") << false;
}

void tst_flashslot::readFails()
{
    QFETCH(bool, refused);
    FlashBench bench;
    QVERIFY(bench.ready());
    if (refused)
        bench.faults().flashFailure.codes = {3};
    else
        bench.faults().silence.codes = {0x31};
    bench.flash.opened();
    QVERIFY(!refused || bench.refusalSeen());
    QCOMPARE(bench.failure(), ReadFailure);
    QCOMPARE(bench.responses().contains("*** Command Error "), refused);
    QVERIFY(!bench.controls.Burn.isEnabled());
    QVERIFY(!bench.controls.ScriptEnable.isEnabled());

    bench.flash.closed();
    bench.faults() = {};
    QVERIFY(bench.open());
}

void tst_flashslot::changeFails_data()
{
    QTest::addColumn<bool>("enabled"); // beforehand
    QTest::addColumn<quint8>("failing");
    QTest::newRow("disable") << true << quint8(0);
    QTest::newRow("enable") << false << quint8(1);
}

void tst_flashslot::changeFails()
{
    QFETCH(bool, enabled);
    QFETCH(quint8, failing);
    FlashBench bench;
    QVERIFY(bench.ready());
    QVERIFY(bench.open());
    QVERIFY(bench.program(QStringLiteral("Night")));
    QVERIFY(!enabled || bench.enable());
    bench.faults().flashFailure.codes = {failing};
    bench.flash.scriptEnableClicked();
    QVERIFY(bench.refusalSeen());
    QCOMPARE(bench.failure(), ChangeFailure);
    QCOMPARE(bench.controls.Status.text(),
             enabled ? QStringLiteral("Enabled") : QStringLiteral("Disabled"));
    QCOMPARE(int(bench.tester->state().flash.slot(0).state), int(enabled));

    bench.faults() = {}; // the next try
    bench.flash.scriptEnableClicked();
    QTRY_COMPARE(bench.controls.Status.text(),
                 enabled ? QStringLiteral("Disabled") : QStringLiteral("Enabled"));
}

void tst_flashslot::programFails_data()
{
    readFails_data();
}

void tst_flashslot::programFails()
{
    QFETCH(bool, refused);
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    bench.dialogs.paths = {example("data-loop")};
    QVERIFY(bench.download());
    if (refused)
        bench.faults().flashFailure.codes = {2};
    else
        bench.faults().silence.codes = {0x31};
    bench.controls.ScriptName.adoptText(QStringLiteral("LongScriptName"));
    bench.flash.programClicked();
    QVERIFY(!refused || bench.refusalSeen());
    QCOMPARE(bench.failure(), ProgramFailure);
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("LongScriptName"));
    QVERIFY(!bench.controls.ScriptName.isLocked());
    QVERIFY(bench.controls.BtnProgram.isVisible());
    QVERIFY(bench.controls.BtnProgram.isEnabled());

    // A refused tester has erased the slot by then; one that only was silent has programmed it.
    bench.faults() = {};
    bench.flash.closed();
    QVERIFY(bench.open());
    QCOMPARE(bench.controls.Status.text(),
             refused ? QStringLiteral("Undefined") : QStringLiteral("Disabled"));
    QCOMPARE(bench.controls.ScriptName.text(), refused ? QString() : QStringLiteral("LongScri"));
    QCOMPARE(bench.controls.ScriptEnable.isEnabled(), !refused);
}

void tst_flashslot::refusedDownload()
{
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    bench.faults().refusedStep = 1;
    bench.dialogs.paths = {example("data-loop")};
    bench.flash.burnClicked();
    QTRY_VERIFY(bench.session().ScriptError);
    bench.tick(50);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Load Failed"));
    QCOMPARE(bench.main().ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.controls.BtnProgram.isVisible());
    QVERIFY(!bench.main().Window.isEnabled()); // the flash window is still open

    bench.flash.closed(); // the slot has not changed
    QVERIFY(bench.open());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Enabled"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Night   "));
}

/// An answer that tells nothing of the slot is an answer, and what was read before stands.
void tst_flashslot::shortReply()
{
    FlashBench bench;
    QVERIFY(bench.readyWithScript());
    bench.flash.closed();
    for (const int bytes : {1, 2}) {
        bench.tester->state().flash.setEnabled(0, false);
        bench.faults().shortReply = bytes;
        QVERIFY(bench.open());
        QCOMPARE(bench.controls.Status.text(), QStringLiteral("Enabled"));
        QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Night   "));
        bench.flash.closed();
    }
    bench.faults().shortReply = 3;
    QVERIFY(bench.open());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("N"));
}

void tst_flashslot::doubleReply()
{
    FlashBench bench;
    QVERIFY(bench.ready());
    bench.faults().doubleReply = true;
    QVERIFY(bench.open());
    QVERIFY(bench.program(QStringLiteral("Night")));
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Night   "));
    QVERIFY(bench.enable());
    bench.flash.scriptEnableClicked();
    QTRY_COMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(tst_flashslot)
#include "tst_flashslot.moc"
