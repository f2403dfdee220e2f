// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashForm.h"
#include "support/Hex.h"
#include "windows/DialogBench.h"

#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A running console whose flash window the user has opened.
struct FlashFormBench : WindowBench
{
    FlashFormBench()
    {
        run();
        find<QAction>("UtilFM").trigger();
    }

    /// The main window, controls and menus alike.
    bool usable()
    {
        const bool controls = find<QWidget>("centralwidget").isEnabled();
        if (controls != find<QMenuBar>("menubar").isEnabled())
            qFatal("half a window is disabled");
        return controls;
    }

    FlashForm &form = find<FlashForm>("FlashForm");
    QPushButton &program = child<QPushButton>(form, "BtnProgram");
    QPushButton &enable = child<QPushButton>(form, "ScriptEnable");
    QLineEdit &name = child<QLineEdit>(form, "ScriptName");
    QLineEdit &status = child<QLineEdit>(form, "Status");
    QAction &burn = child<QAction>(form, "Burn");
};

} // namespace

class TestFlashForm : public QObject
{
    Q_OBJECT

private slots:
    void openingAndClosing();
    void showsTheSlot();
    void buttonsSend();
    void newScriptIsNamedAndProgrammed();
    void escapeCloses();
    void opensAgain();
    void mainWindowClosesIt();
    void boxOverTheDisabledMainWindow();
};

void TestFlashForm::openingAndClosing()
{
    FlashFormBench bench;
    QVERIFY(bench.form.isVisible());
    QVERIFY(bench.form.isEnabled());
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Flash Management"));
    QVERIFY(!bench.usable());
    QVERIFY(!bench.program.isVisible());
    QVERIFY(!bench.burn.isEnabled());
    QCOMPARE(bench.sent(), "1b53 31 00 03 1b45"_hex.toHex());

    bench.form.close();
    QVERIFY(bench.usable());
    QVERIFY(bench.find<QWidget>("Connect").isEnabled());
}

void TestFlashForm::showsTheSlot()
{
    FlashFormBench bench;
    bench.answer("b1 01"_hex + "Blink   ");
    QCOMPARE(bench.name.text(), QStringLiteral("Blink   "));
    QVERIFY(bench.name.isReadOnly());
    QCOMPARE(bench.status.text(), QStringLiteral("Enabled"));
    QVERIFY(bench.status.isReadOnly());
    QCOMPARE(bench.enable.text(), QStringLiteral("Disable"));
    QVERIFY(bench.enable.isEnabled());
    QVERIFY(bench.burn.isEnabled());
    QCOMPARE(bench.find<QLineEdit>("ScriptName").text(), QString()); // the main window's own
}

void TestFlashForm::buttonsSend()
{
    FlashFormBench bench;
    bench.answer("b1 01"_hex + "Blink   ");
    bench.sent();
    QTest::mouseClick(&bench.enable, Qt::LeftButton);
    QCOMPARE(bench.sent(), "1b53 31 00 00 1b45"_hex.toHex());
}

void TestFlashForm::newScriptIsNamedAndProgrammed()
{
    FlashFormBench bench;
    bench.answer("b1 ff"_hex + "        ");
    QFile script(bench.directory.filePath(QStringLiteral("new.vn")));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("1b53 21 1b45"_hex);
    script.close();
    bench.dialogs.paths = {script.fileName()};
    bench.burn.trigger();
    QCOMPARE(child<QLineEdit>(bench.form, "filename").text(), QStringLiteral("new.vn"));
    QVERIFY(bench.find<QWidget>("DownloadProgress").isVisible());
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(!bench.find<QWidget>("DownloadProgress").isVisible());
    QVERIFY(bench.program.isVisible());
    QVERIFY(!bench.name.isReadOnly());

    bench.sent();
    bench.name.setFocus();
    bench.name.selectAll();
    QTest::keyClicks(&bench.name, QStringLiteral("LongScriptName"));
    QTest::mouseClick(&bench.program, Qt::LeftButton);
    QCOMPARE(bench.sent(), ("1b53 31 00 02"_hex + "LongScri" + "1b45"_hex).toHex());
}

void TestFlashForm::escapeCloses()
{
    FlashFormBench bench;
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(bench.usable());
}

void TestFlashForm::opensAgain()
{
    FlashFormBench bench;
    bench.answer("b1 01"_hex + "Blink   ");
    bench.form.close();
    bench.sent();
    bench.find<QAction>("UtilFM").trigger();
    QCOMPARE(bench.status.text(), QString());
    QCOMPARE(bench.enable.text(), QStringLiteral("Enable"));
    QVERIFY(!bench.enable.isEnabled());
    QCOMPARE(bench.sent(), "1b53 31 00 03 1b45"_hex.toHex());
    QVERIFY(!bench.usable());
}

void TestFlashForm::mainWindowClosesIt()
{
    FlashFormBench bench;
    bench.window.close();
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void TestFlashForm::boxOverTheDisabledMainWindow()
{
    DialogBench bench;
    child<QAction>(*bench.window, "UtilFM").setEnabled(true);
    child<QAction>(*bench.window, "UtilFM").trigger();
    for (int i = 0; i < 20; ++i)
        bench.console->Timer1();
    auto *const box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Failed to read Script Info from Vorn 1"));
    QVERIFY(box->isEnabled());
    QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    QTRY_VERIFY(!openWindow<QMessageBox>("MessageBox"));
    QVERIFY(!child<QWidget>(*bench.window, "centralwidget").isEnabled());
    child<FlashForm>(*bench.window, "FlashForm").close();
    QVERIFY(child<QWidget>(*bench.window, "centralwidget").isEnabled());
}

QTEST_MAIN(TestFlashForm)
#include "tst_flashform.moc"
