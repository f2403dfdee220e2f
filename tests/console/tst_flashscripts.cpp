// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/FlashBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// The script in the tester's flash: shown, enabled and disabled, replaced.
class tst_flashscripts : public QObject
{
    Q_OBJECT

private slots:
    void opening();
    void states_data();
    void states();
    void noAnswer();
    void readFails_data() { answerFails_data(); }
    void changingState_data();
    void changingState();
    void answerFails_data();
    void stateChangeFails_data() { answerFails_data(); }
    void stateChangeFails();
    void dialog();
    void cancelledDialog();
    void newScript();
    void loadFails();
    void vanishedFile();
    void names_data();
    void names();
    void programFails_data() { answerFails_data(); }
    void programFails();
    void downloadEndsARun();
    void readFails();
    void stateReadAgain_data();
    void stateReadAgain();
    void duringTheDialog();
    void anotherExchangeDuringTheDialog();
    void outOfReachDuringADownload();
    void refused();
    void pollingGoesOn();
};

void tst_flashscripts::opening()
{
    FlashBench bench;
    bench.flash.opened();
    QVERIFY(!bench.main.Window.isEnabled());
    QVERIFY(!bench.controls.ScriptEnable.isEnabled());
    QVERIFY(!bench.controls.BtnProgram.isEnabled());
    QVERIFY(!bench.controls.BtnProgram.isVisible());
    QVERIFY(!bench.controls.Burn.isEnabled());
    QVERIFY(bench.controls.ScriptName.isLocked());
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("Current Script Name"));
    QCOMPARE(bench.serial->takeWritten(), "1b53 31 00 03 1b45"_hex);
    bench.flash.closed();
    QVERIFY(bench.main.Window.isEnabled());
}

void tst_flashscripts::states_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<bool>("enabled");

    QTest::newRow("disabled") << "b1 00"_hex + "Blink   "
                              << "Disabled"
                              << "Blink   "
                              << "Enable" << true;
    QTest::newRow("enabled") << "b1 01"_hex + "Blink   "
                             << "Enabled"
                             << "Blink   "
                             << "Disable" << true;
    QTest::newRow("undefined") << "b1 ff"_hex + "        "
                               << "Undefined"
                               << ""
                               << "Enable" << false;
    QTest::newRow("another") << "b1 07"_hex + "Blink   "
                             << ""
                             << ""
                             << "Enable" << false;
}

void tst_flashscripts::states()
{
    QFETCH(QByteArray, reply);
    FlashBench bench;
    bench.open(reply);
    QTEST(bench.controls.Status.text(), "status");
    QTEST(bench.controls.ScriptName.text(), "name");
    QTEST(bench.controls.ScriptEnable.text(), "caption");
    QTEST(bench.controls.ScriptEnable.isEnabled(), "enabled");
    QVERIFY(bench.controls.Burn.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashscripts::noAnswer()
{
    FlashBench bench;
    bench.flash.opened();
    bench.tick(19);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to read Script Info from Vorn 1"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QVERIFY(!bench.controls.Burn.isEnabled());
}

void tst_flashscripts::changingState_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("status");
    QTest::newRow("enable") << "b1 00 41"_hex
                            << "1b53 31 00 01 1b45"_hex
                            << "b1 01 41"_hex
                            << "Enabled";
    QTest::newRow("disable") << "b1 01 41"_hex
                             << "1b53 31 00 00 1b45"_hex
                             << "b1 00 41"_hex
                             << "Disabled";
}

void tst_flashscripts::changingState()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, after);
    FlashBench bench;
    bench.open(before);
    bench.flash.scriptEnableClicked();
    QCOMPARE(bench.serial->takeWritten(), command);
    bench.answer("b1"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 31 00 03 1b45"_hex); // reads it back
    bench.answer(after);
    QTEST(bench.controls.Status.text(), "status");
}

void tst_flashscripts::answerFails_data()
{
    QTest::addColumn<bool>("silent");
    QTest::newRow("time-out") << true;
    QTest::newRow("failure status") << false;
}

void tst_flashscripts::stateChangeFails()
{
    QFETCH(bool, silent);
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.flash.scriptEnableClicked();
    bench.fail(silent);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Failed to Change Script Status"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
}

void tst_flashscripts::dialog()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.flash.burnClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.title, QStringLiteral("Open Vornscript File for Default Script"));
    QCOMPARE(choice.filter, QStringLiteral("VornScript Files|*.vn"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("vn"));
}

void tst_flashscripts::cancelledDialog()
{
    FlashBench bench;
    bench.open("b1 00 41 42"_hex);
    bench.flash.burnClicked();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("AB"));
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled"));
    QVERIFY(!bench.controls.ScriptEnable.isEnabled());
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_flashscripts::newScript()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    QCOMPARE(bench.controls.filename.text(), QStringLiteral("new.vn"));
    QCOMPARE(bench.serial->takeWritten(), "1b53 070000 1b45 1b53 0c 1b45 1b53 21 1b45"_hex);
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("New Script Name"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Script0"));
    QVERIFY(!bench.controls.ScriptName.isLocked());
    QVERIFY(bench.controls.BtnProgram.isEnabled());
    QVERIFY(bench.controls.BtnProgram.isVisible());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashscripts::loadFails()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.tick(50);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Load Failed"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("Current Script Name"));
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("A"));
    QVERIFY(bench.controls.ScriptName.isLocked());
    QVERIFY(!bench.controls.ScriptEnable.isEnabled());
    QVERIFY(bench.controls.Burn.isEnabled());
    QCOMPARE(bench.main.ScriptIdx.text(), QStringLiteral("Load Error"));
    QVERIFY(!bench.controls.BtnProgram.isVisible());
}

void tst_flashscripts::vanishedFile()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    const QString path = bench.directory.filePath(QStringLiteral("gone.vn"));
    bench.dialogs.paths = {path};
    bench.flash.burnClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("No such file or directory: ") + path);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.controls.BtnProgram.isVisible());
}

void tst_flashscripts::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("0") << "" << QByteArray("        ");
    QTest::newRow("1") << "A" << QByteArray("A       ");
    QTest::newRow("8") << "ABCDEFGH" << QByteArray("ABCDEFGH");
    QTest::newRow("14") << "ABCDEFGHIJKLMN" << QByteArray("ABCDEFGH");
}

void tst_flashscripts::names()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, sent);
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.answer("a0 00 00 21"_hex);
    bench.serial->takeWritten();

    bench.controls.ScriptName.adoptText(name);
    bench.flash.programClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 31 00 02"_hex + sent + "1b45"_hex);
    bench.answer("b1"_hex);
    bench.answer("b1 00"_hex + sent);
    QCOMPARE(bench.controls.ScriptName.text(), QString::fromLatin1(sent));
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("Current Script Name"));
    QVERIFY(!bench.controls.BtnProgram.isVisible());
    QVERIFY(bench.controls.ScriptName.isLocked());
}

void tst_flashscripts::programFails()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.answer("a0 00 00 21"_hex);
    bench.controls.ScriptName.adoptText(QStringLiteral("Mine"));
    bench.flash.programClicked();
    QFETCH(bool, silent);
    bench.fail(silent);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Failed to Program"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.controls.Label1.text(), QStringLiteral("New Script Name"));
    QVERIFY(!bench.controls.ScriptName.isLocked());
    QVERIFY(bench.controls.BtnProgram.isEnabled());
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("Mine"));
    QVERIFY(bench.controls.BtnProgram.isVisible());
}

void tst_flashscripts::downloadEndsARun()
{
    FlashBench bench;
    bench.console.scriptRunClicked();
    QVERIFY(!bench.main.ScriptLoad.isEnabled());
    bench.open("b1 00 41"_hex);
    bench.download();
    QCOMPARE(bench.main.ScriptRun.text(), QStringLiteral("Run"));
    QVERIFY(bench.session.ScriptBusy); // of the download
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.main.ScriptLoad.isEnabled());
}

void tst_flashscripts::readFails()
{
    QFETCH(bool, silent);
    FlashBench bench;
    bench.open("b1 00 41 42"_hex);
    bench.flash.scriptEnableClicked();
    bench.answer("b1"_hex);
    QVERIFY(!bench.controls.Burn.isEnabled());
    bench.fail(silent);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Failed to read Script Info from Vorn 1"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QVERIFY(!bench.controls.Burn.isEnabled());
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Disabled")); // as it was
    QCOMPARE(bench.controls.ScriptName.text(), QStringLiteral("AB"));
    QCOMPARE(bench.controls.ScriptEnable.text(), QStringLiteral("Enable"));
    QVERIFY(bench.controls.ScriptEnable.isEnabled());
}

void tst_flashscripts::stateReadAgain_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("name");
    QTest::newRow("undefined") << "b1 ff 43"_hex
                               << "Undefined"
                               << "";
    QTest::newRow("another") << "b1 02 43"_hex
                             << "Enabled"
                             << "AB";
    QTest::newRow("254") << "b1 fe 43"_hex
                         << "Enabled"
                         << "AB";
    QTest::newRow("nothing of the slot") << "b1 00"_hex
                                         << "Enabled"
                                         << "AB";
}

/// Over a slot that was enabled: its button stays as it is.
void tst_flashscripts::stateReadAgain()
{
    QFETCH(QByteArray, reply);
    FlashBench bench;
    bench.open("b1 01 41 42"_hex);
    bench.flash.scriptEnableClicked();
    bench.answer("b1"_hex);
    bench.answer(reply);
    QTEST(bench.controls.Status.text(), "status");
    QTEST(bench.controls.ScriptName.text(), "name");
    QCOMPARE(bench.controls.ScriptEnable.text(), QStringLiteral("Disable"));
    QVERIFY(bench.controls.ScriptEnable.isEnabled());
    QVERIFY(bench.controls.Burn.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_flashscripts::duringTheDialog()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.session.ScriptError = true;
    bool looked = false;
    bench.dialogs.onChoice = [&] {
        looked = true;
        QVERIFY(!bench.controls.ScriptEnable.isEnabled());
        QVERIFY(!bench.session.ScriptError);
    };
    bench.flash.burnClicked();
    QVERIFY(looked);
}

/// A read of an EEPROM begins while the user chooses a file.
void tst_flashscripts::anotherExchangeDuringTheDialog()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    std::optional<LinkLease> other;
    bench.dialogs.onChoice = [&] { other = bench.session.leases.acquire(LongExchange::FtdiRead); };
    bench.download();
    QVERIFY(other.has_value());
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, refusalBox(LongExchange::FtdiRead).text);
    QCOMPARE(bench.serial->takeWritten(), QByteArray());
    QVERIFY(!bench.controls.BtnProgram.isVisible());

    // Once it has ended, a script can be loaded.
    other.reset();
    bench.dialogs.onChoice = nullptr;
    bench.download();
    QVERIFY(bench.serial->takeWritten().contains("\x1bS!\x1b"));
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void tst_flashscripts::outOfReachDuringADownload()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    QVERIFY(!bench.controls.Burn.isEnabled());
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(bench.controls.Burn.isEnabled());

    // Another script in place of the one that is about to be programmed.
    bench.download();
    QVERIFY(!bench.controls.Burn.isEnabled());
    QVERIFY(!bench.controls.BtnProgram.isEnabled());
    QVERIFY(bench.controls.BtnProgram.isVisible());
    bench.tick(50);
    QVERIFY(bench.controls.Burn.isEnabled());
    QVERIFY(bench.controls.BtnProgram.isEnabled());
}

void tst_flashscripts::refused()
{
    FlashBench bench;
    bench.open("b1 00 41"_hex);
    bench.download();
    bench.answer("97"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Load Failed"));
    QVERIFY(!bench.controls.BtnProgram.isVisible());
}

void tst_flashscripts::pollingGoesOn()
{
    FlashBench bench;
    bench.flash.opened();
    bench.serial->takeWritten();
    bench.second();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0e 1b45 1b53 0b 1b45"_hex);
    bench.answer("8b 4c"_hex);
    QCOMPARE(bench.main.vornstate.text(), QStringLiteral("Suspended"));
    QCOMPARE(bench.session.waits.pendingCount(), 1);
    bench.answer("b1 01 41"_hex);
    QCOMPARE(bench.controls.Status.text(), QStringLiteral("Enabled"));
}

VANTREL_TEST(tst_flashscripts)
#include "tst_flashscripts.moc"
