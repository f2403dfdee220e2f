// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/FlashForm.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/DialogBench.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A running console whose flash window the user has opened.
struct FlashFormBench : WindowBench
{
    /// The window is made when it is first opened.
    FlashForm &openForm()
    {
        run();
        find<QAction>("UtilFM").trigger();
        return find<FlashForm>("FlashForm");
    }

    /// Chooses a new script; the tester has not reported its end yet.
    void load()
    {
        QFile script(directory.filePath(QStringLiteral("new.vn")));
        if (!script.open(QIODevice::WriteOnly) || script.write("1b53 21 1b45"_hex) != 5)
            qFatal("no script file");
        script.close();
        dialogs.paths = {script.fileName()};
        burn.trigger();
    }

    /// The main window, controls and menus alike.
    bool usable()
    {
        const bool controls = find<QWidget>("centralwidget").isEnabled();
        if (controls != find<QMenuBar>("menubar").isEnabled())
            qFatal("half a window is disabled");
        return controls;
    }

    FlashScripts &flash() { return console.flash(); }

    FlashForm &form = openForm();
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
    void captions();
    void escapeDuringADownload();
    void fieldsShowWhetherTheyTakeAnEntry();
    void keyboardAlone();
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
    bench.load();
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
    QCOMPARE(bench.session.waits.pendingCount(), 0);
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
    QVERIFY(bench.dialogs.messages.isEmpty());
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

void TestFlashForm::captions()
{
    FlashFormBench bench;
    bench.answer("b1 ff"_hex + "        ");
    QCOMPARE(child<QLabel>(bench.form, "Label1").text(), QStringLiteral("Current Script Name"));
    QCOMPARE(child<QLabel>(bench.form, "Label2").text(), QStringLiteral("Script File"));
    QCOMPARE(child<QLabel>(bench.form, "Label3").text(), QStringLiteral("Status"));
    QCOMPARE(child<QMenu>(bench.form, "File").title(), QStringLiteral("&File"));
    QCOMPARE(bench.burn.text(), QStringLiteral("&Open"));
    QCOMPARE(bench.enable.text(), QStringLiteral("Enable"));
    QCOMPARE(bench.program.text(), QStringLiteral("Program"));
    QVERIFY(bench.form.findChild<QWidget *>(QStringLiteral("Frame1")));
    const QRect place = bench.name.geometry();
    bench.load();
    bench.answer("a0 00 00 21"_hex);
    QCOMPARE(child<QLabel>(bench.form, "Label1").text(), QStringLiteral("New Script Name"));
    QCOMPARE(bench.name.text(), QStringLiteral("Script0"));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(bench.name.geometry(), place); // nothing moves with the captions
}

void TestFlashForm::escapeDuringADownload()
{
    FlashFormBench bench;
    bench.answer("b1 ff"_hex + "        ");
    bench.load();
    QVERIFY(!bench.burn.isEnabled());
    bench.dialogs.answers = {Answer::Yes};
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(!bench.usable()); // until the tester has the whole script
    QVERIFY(bench.find<QWidget>("DownloadProgress").isVisible());
    bench.answer("a0 00 00 21"_hex);
    QVERIFY(bench.usable());
    QVERIFY(!bench.find<QWidget>("DownloadProgress").isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.form.isVisible());
}

void TestFlashForm::fieldsShowWhetherTheyTakeAnEntry()
{
    FlashFormBench bench;
    bench.answer("b1 01"_hex + "Blink   ");
    const auto base = [](const QWidget &field) { return field.palette().color(QPalette::Base); };
    const auto window = [&bench](QPalette::ColorRole role) {
        return bench.form.palette().color(role);
    };
    auto &filename = child<QLineEdit>(bench.form, "filename");
    const QPalette before = QApplication::palette();
    for (const QColor &colour : {QColor(30, 30, 30), QColor(240, 240, 240)}) {
        QApplication::setPalette(QPalette(colour));
        QTRY_COMPARE(window(QPalette::Window), colour);
        QVERIFY(window(QPalette::Base) != colour);
        for (const QLineEdit *field : {&bench.name, &bench.status, &filename})
            QTRY_COMPARE(base(*field), colour);

        bench.load();
        bench.answer("a0 00 00 21"_hex);
        QVERIFY(!bench.name.isReadOnly());
        QCOMPARE(base(bench.name), window(QPalette::Base));
        QCOMPARE(base(filename), colour);

        bench.flash().programClicked();
        bench.answer("b1"_hex);
        bench.answer("b1 01"_hex + "Script0 ");
        QVERIFY(bench.name.isReadOnly());
        QCOMPARE(base(bench.name), colour);
    }
    QApplication::setPalette(before);
}

/// The focus goes where there is something to do, and Tab through all that can be used.
void TestFlashForm::keyboardAlone()
{
    FlashFormBench bench;
    bench.form.activateWindow();
    QTRY_COMPARE(QApplication::activeWindow(), &bench.form);
    bench.answer("b1 ff"_hex + "        ");
    bench.load();
    bench.answer("a0 00 00 21"_hex);
    bench.sent();
    bench.name.setFocus();
    QTest::keyClick(&bench.name, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&bench.name, QStringLiteral("Mine"));
    QTest::keyClick(&bench.name, Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), &bench.program);
    QTest::keyClick(&bench.program, Qt::Key_Space);
    QCOMPARE(bench.sent(), ("1b53 31 00 02"_hex + "Mine    " + "1b45"_hex).toHex());
}

VANTREL_WINDOW_TEST(TestFlashForm)
#include "tst_flashform.moc"
