// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/ScriptBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// The script controls: choose a script, run it, stop it.
class tst_scripts : public QObject
{
    Q_OBJECT

private slots:
    void dialog();
    void cancelledDialog();
    void vanishedFile();
    void runStopRun();
    void linkLostDuringRun();
    void buttonsDuringTheDialog();
    void runButtonWhileSending();
    void stopWithoutAutomaticMode();
    void pollingDuringARun();
    void runEndsByItself();
    void loadAgainAfterAFailure();
};

void tst_scripts::dialog()
{
    ScriptBench bench;
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::OpenExisting);
    QCOMPARE(choice.title, QStringLiteral("Open Vornscript File"));
    QCOMPARE(choice.filter, QStringLiteral("VornScript Files | *.vn"));
}

void tst_scripts::cancelledDialog()
{
    ScriptBench bench;
    bench.main.ScriptName.setText(QStringLiteral("earlier.vn"));
    bench.main.ScriptRun.setEnabled(true);
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.main.ScriptName.text(), QString());
    QVERIFY(bench.session.ScriptError);
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_scripts::vanishedFile()
{
    ScriptBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("gone.vn"));
    bench.dialogs.paths = {path};
    bench.console.scriptLoadClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("No such file or directory: ") + path);
    QVERIFY(bench.main.Window.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.serial->written.isEmpty()); // automatic mode was never left
}

void tst_scripts::runStopRun()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.answer("a0 00 00 21"_hex);
    bench.serial->takeWritten();

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0d 1b45"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Running"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.session.ScriptBusy);
    bench.tick(20);
    QVERIFY(bench.serial->written.isEmpty());

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);

    bench.answer("a0 00 05 a1 00 05"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Stopped @ 5"));
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(bench.main.CmdWin.text().endsWith(QLatin1String("\r\nScript Complete")));
    bench.serial->takeWritten();

    bench.console.scriptRunClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0d 1b45"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
}

void tst_scripts::linkLostDuringRun()
{
    ScriptBench bench(true);
    bench.console.scriptRunClicked();
    QVERIFY(bench.session.ScriptBusy);
    bench.tcp->fail(QStringLiteral("gone"));
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(!bench.main.ScriptRun.isEnabled());
    QVERIFY(!bench.main.ScriptLoad.isEnabled());

    bench.run(true); // probes and polls as ever
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
}

void tst_scripts::buttonsDuringTheDialog()
{
    ScriptBench bench;
    bench.session.ScriptError = true;
    bench.main.ScriptRun.setEnabled(true);
    bool looked = false;
    bench.dialogs.onChoice = [&] {
        looked = true;
        QVERIFY(!bench.main.ScriptLoad.isEnabled());
        QVERIFY(!bench.main.ScriptRun.isEnabled());
        QVERIFY(!bench.session.ScriptError);
        QVERIFY(bench.main.Window.isEnabled());
    };
    bench.console.scriptLoadClicked();
    QVERIFY(looked);
}

void tst_scripts::runButtonWhileSending()
{
    ScriptBench bench;
    QList<QByteArray> seen;
    bench.serial->onWrite = [&](const QByteArray &bytes) {
        seen.append(bytes);
        QVERIFY(!bench.main.ScriptRun.isEnabled());
        QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
        QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Running"));
        QVERIFY(!bench.main.ScriptLoad.isEnabled());
    };
    bench.console.scriptRunClicked();
    QVERIFY(bench.main.ScriptRun.isEnabled());
    bench.console.scriptRunClicked();
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QCOMPARE(seen, (QList<QByteArray>{"1b53 0d 1b45"_hex, AutoModeOn}));
}

void tst_scripts::stopWithoutAutomaticMode()
{
    ScriptBench bench;
    bench.main.Automode.adoptChecked(false);
    bench.console.scriptRunClicked();
    bench.serial->takeWritten();
    bench.console.scriptRunClicked();
    QVERIFY(bench.serial->written.isEmpty());
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Stop"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Running"));
}

void tst_scripts::pollingDuringARun()
{
    ScriptBench bench;
    bench.console.scriptRunClicked();
    bench.serial->takeWritten();
    bench.tick(50);
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.LinkState, LinkStates::Running);

    bench.console.scriptRunClicked(); // what comes before the tester says that it has stopped
    bench.serial->takeWritten();
    bench.second();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0e 1b45 1b53 0b 1b45"_hex);
}

void tst_scripts::runEndsByItself()
{
    ScriptBench bench;
    bench.console.scriptRunClicked();
    bench.answer("a0 00 00 8b 4c"_hex);
    QCOMPARE(bench.main.vornstate.text(), QStringLiteral("Suspended"));
    bench.serial->takeWritten();
    bench.answer("a0 00 01 a1 00 01"_hex);
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Stopped @ 1"));
    QVERIFY(bench.main.ScriptRun.isEnabled());
    QVERIFY(bench.main.ScriptLoad.isEnabled());
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.serial->takeWritten(), AutoModeOn);
}

void tst_scripts::loadAgainAfterAFailure()
{
    ScriptBench bench;
    bench.load("1b53 21 1b45"_hex);
    bench.tick(50);
    QVERIFY(bench.session.ScriptError);
    QVERIFY(bench.session.ScriptDone);
    bench.serial->takeWritten();

    bench.load("1b53 21 1b45"_hex);
    QVERIFY(bench.session.ScriptBusy); // what ended the first does not end the second
    QVERIFY(!bench.session.ScriptError);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("VN_End @ 0"));
    QVERIFY(bench.main.ScriptRun.isEnabled());

    bench.serial->takeWritten();
    bench.load("1b53 21 1b45"_hex); // nor what ended the second the third
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(!bench.main.ScriptRun.isEnabled());
}

VANTREL_TEST(tst_scripts)
#include "tst_scripts.moc"
