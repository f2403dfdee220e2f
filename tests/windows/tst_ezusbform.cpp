// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/EZUSBForm.h"
#include "maintenance/EzUsbConverter.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/DialogBench.h"

#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray End = "1b53 21 1b45"_hex;

/// A running console whose EZ-USB window the user has opened.
struct EzUsbFormBench : WindowBench
{
    EzUsbFormBench()
    {
        run();
        form.present();
        waitUntilActive(form);
    }
    ~EzUsbFormBench()
    {
        console.shutDown(); // nothing to ask
        window.close();     // and the form with it, while there is a converter
    }
    EzUsbFormBench(const EzUsbFormBench &) = delete;
    EzUsbFormBench &operator=(const EzUsbFormBench &) = delete;

    QString file(const QByteArray &content)
    {
        QFile hex(directory.filePath(QStringLiteral("blink.hex")));
        if (!hex.open(QIODevice::WriteOnly) || hex.write(content) != content.size())
            qFatal("no HEX file");
        return hex.fileName();
    }
    void convert(const QByteArray &content)
    {
        dialogs.paths = {file(content)};
        QTest::mouseClick(&load, Qt::LeftButton);
    }

    EzUsbConverter converter{session, console.link(), console.commands(), dialogs,
                             console.errors()};
    EZUSBForm &form = *new EZUSBForm(converter, &window); // the main window owns it
    QLineEdit &address = child<QLineEdit>(form, "Address");
    QPushButton &load = child<QPushButton>(form, "LoadFW");
};

} // namespace

class TestEZUSBForm : public QObject
{
    Q_OBJECT

private slots:
    void controls_data();
    void controls();
    void everyValueHasItsFace();
    void opening();
    void addressIsCheckedWhenLeft();
    void addressIsCheckedByTheButton();
    void mnemonicConverts();
    void fx2IsChosen();
    void whileConverting();
    void windowClosesItself();
    void cancelClosesIt();
    void escapeEndsTheConversion();
    void opensAgain();
    void mainWindowClosesIt();
    void roomForWhatIsHidden();
    void realDialogs();

private:
    EzUsbFormBench m_bench;
};

void TestEZUSBForm::controls_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("toolTip");
    const auto row = [](const char *name, const char *kind, const char *caption,
                        const char *toolTip = "") {
        QTest::newRow(name) << QString::fromLatin1(name) << QByteArray(kind)
                            << QString::fromLatin1(caption) << QString::fromLatin1(toolTip);
    };
    row("frmDevice", "QGroupBox", "Device Select");
    row("optEZUSB", "QRadioButton", "EZ-USB");
    row("optFX2", "QRadioButton", "EZ-USB/FX2");
    row("Address", "QLineEdit", "0x02", "USB Address of EZ-USB Device to be Loaded");
    row("DevAddr", "QLabel", "Device Address");
    row("LoadFW", "QPushButton", "Load Firmware", "Load an EZ-USB Firmware File");
    row("FNLabel", "QLabel", "Firmware FileName");
    row("filename", "QLineEdit", "");
    row("LinesLabel", "QLabel", "Lines Loaded");
    row("Loaded", "QLineEdit", "");
    row("busy", "QLabel", "Converting HEX file to VornScript");
    row("ConvertProgress", "QProgressBar", "", "Progress of the conversion");
}

void TestEZUSBForm::controls()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, kind);
    const auto &widget = child<QWidget>(m_bench.form, name.toLatin1().constData());
    QVERIFY2(widget.inherits(kind.constData()), widget.metaObject()->className());
    const QVariant title = widget.property("title");
    QTEST(title.isValid() ? title.toString() : widget.property("text").toString(), "caption");
    QTEST(widget.toolTip(), "toolTip");
}

void TestEZUSBForm::everyValueHasItsFace()
{
    QCOMPARE(Binder::unbound(m_bench.converter.controls().all, m_bench.form), QStringList());
}

void TestEZUSBForm::opening()
{
    const EzUsbFormBench bench;
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("EZ USB Support"));
    for (const char *name :
         {"FNLabel", "filename", "LinesLabel", "Loaded", "busy", "ConvertProgress"})
        QVERIFY2(!child<QWidget>(bench.form, name).isVisible(), name);
    QVERIFY(bench.load.isEnabled());
    QVERIFY(child<QRadioButton>(bench.form, "optEZUSB").isChecked());
    QVERIFY(!bench.address.isReadOnly());
    for (const char *name : {"filename", "Loaded"})
        QVERIFY2(child<QLineEdit>(bench.form, name).isReadOnly(), name);
    QVERIFY(bench.window.isEnabled()); // other windows stay in reach
    QVERIFY(bench.main.Window.isEnabled());
}

void TestEZUSBForm::addressIsCheckedWhenLeft()
{
    EzUsbFormBench bench;
    bench.address.setFocus();
    bench.address.selectAll();
    QTest::keyClicks(&bench.address, QStringLiteral("200"));
    QTest::keyClick(&bench.address, Qt::Key_Tab);
    QCOMPARE(bench.address.text(), QStringLiteral("0x7F"));
    bench.address.setFocus();
    bench.address.selectAll();
    QTest::keyClicks(&bench.address, QStringLiteral("0x5"));
    QTest::keyClick(&bench.address, Qt::Key_Return);
    QCOMPARE(bench.address.text(), QStringLiteral("0x05"));
}

void TestEZUSBForm::addressIsCheckedByTheButton()
{
    EzUsbFormBench bench;
    bench.address.setFocus();
    bench.address.selectAll();
    QTest::keyClicks(&bench.address, QStringLiteral("200"));
    bench.dialogs.paths = {bench.file(":00000001FF\r\n")};
    QTest::keyClick(&bench.form, Qt::Key_L, Qt::AltModifier); // the focus stays
    QTRY_VERIFY(bench.transport().writtenBytes().endsWith(End));
    QVERIFY(bench.sent().contains("1b53 01 7f 40a0"_hex.toHex()));
}

void TestEZUSBForm::mnemonicConverts()
{
    EzUsbFormBench bench;
    QTest::keyClick(&bench.form, Qt::Key_L, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.choices.size(), 1);
    QVERIFY(!bench.form.isVisible()); // cancelled
}

void TestEZUSBForm::fx2IsChosen()
{
    EzUsbFormBench bench;
    QTest::mouseClick(&child<QRadioButton>(bench.form, "optFX2"), Qt::LeftButton, {}, {8, 8});
    bench.convert(":00000001FF\r\n");
    QVERIFY(bench.sent().contains("1b53 01 02 40a0 00e6 0000 0100 01 1b45"_hex.toHex()));
}

void TestEZUSBForm::whileConverting()
{
    EzUsbFormBench bench;
    bench.convert(":0100000011EE\r\n:00000001FF\r\n");
    QCOMPARE(child<QLineEdit>(bench.form, "Loaded").text(), QStringLiteral("0"));
    QTRY_VERIFY(bench.transport().writtenBytes().endsWith(End));
    QCOMPARE(child<QLineEdit>(bench.form, "Loaded").text(), QStringLiteral(" 1"));
    QCOMPARE(child<QLineEdit>(bench.form, "filename").text(),
             bench.directory.filePath(QStringLiteral("blink.hex")));
    QVERIFY(child<QWidget>(bench.form, "busy").isVisible());
    QVERIFY(!bench.load.isEnabled());
    const auto &bar = child<QProgressBar>(bench.form, "ConvertProgress");
    QVERIFY(bar.isVisible());
    QCOMPARE(bar.maximum(), 28);
    QCOMPARE(bar.value(), 15);
    QCOMPARE(bar.text(), QStringLiteral("15 of 28 bytes"));
}

void TestEZUSBForm::windowClosesItself()
{
    EzUsbFormBench bench;
    bench.main.ScriptRun.setEnabled(false);
    bench.convert(":00000001FF\r\n");
    QVERIFY(bench.form.isVisible());
    bench.answer("a0 0005 21"_hex);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.find<QLineEdit>("ScriptName").text(), QStringLiteral("blink.vn"));
    QVERIFY(bench.widget("ScriptRun").isEnabled());
}

void TestEZUSBForm::cancelClosesIt()
{
    EzUsbFormBench bench;
    QTest::mouseClick(&bench.load, Qt::LeftButton);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.sent(), "1b53 070001 1b45"_hex.toHex());
}

void TestEZUSBForm::escapeEndsTheConversion()
{
    EzUsbFormBench bench;
    bench.convert(QByteArray(":0100000011EE\r\n").repeated(100));
    bench.dialogs.answers = {Answer::Yes};
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QTRY_VERIFY(!bench.session.ScriptBusy);
    QVERIFY(bench.transport().writtenBytes().endsWith(End + "1b53 070001 1b45"_hex));
    QCOMPARE(bench.dialogs.messages.size(), 1); // the question
}

void TestEZUSBForm::opensAgain()
{
    EzUsbFormBench bench;
    child<QRadioButton>(bench.form, "optFX2").click();
    bench.convert("?");
    QVERIFY(!bench.form.isVisible());
    bench.form.present();
    QVERIFY(bench.load.isEnabled());
    QVERIFY(child<QRadioButton>(bench.form, "optEZUSB").isChecked());
    QVERIFY(!child<QRadioButton>(bench.form, "optFX2").isChecked());
    QVERIFY(!child<QWidget>(bench.form, "filename").isVisible());
    QVERIFY(!child<QWidget>(bench.form, "busy").isVisible());
}

void TestEZUSBForm::mainWindowClosesIt()
{
    EzUsbFormBench bench;
    bench.convert(":00000001FF\r\n");
    bench.dialogs.answers = {Answer::Yes};
    bench.window.close();
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QVERIFY(!bench.session.ScriptBusy);
}

void TestEZUSBForm::roomForWhatIsHidden()
{
    EzUsbFormBench bench;
    const QSize size = bench.form.size();
    bench.convert(":00000001FF\r\n");
    QCoreApplication::processEvents();
    QCOMPARE(bench.form.size(), size);
}

/// With the program's own dialogs: a run-time error shows after the window has gone.
void TestEZUSBForm::realDialogs()
{
    DialogBench bench;
    EzUsbConverter converter(bench.console->session(), bench.console->link(),
                             bench.console->commands(), bench.tool.dialogs, bench.tool.errors);
    auto *const form = new EZUSBForm(converter, bench.window.get());
    bench.tool.dialogs.setWindow(form);
    form->present();
    QTRY_COMPARE(QApplication::activeWindow(), form);
    auto &address = child<QLineEdit>(*form, "Address");
    address.setFocus();
    address.selectAll();
    QTest::keyClicks(&address, QStringLiteral("-1")); // no device has it

    QTest::mouseClick(&child<QPushButton>(*form, "LoadFW"), Qt::LeftButton);
    QTRY_VERIFY(openWindow<QFileDialog>("FileDial1"));
    auto *const dialog = openWindow<QFileDialog>("FileDial1");
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Open EZ-USB Firmware File"));
    QFile hex(bench.directory.filePath(QStringLiteral("blink.hex")));
    QVERIFY(hex.open(QIODevice::WriteOnly));
    hex.write(":00000001FF");
    hex.close();
    dialog->selectFile(hex.fileName());
    QTest::keyClick(dialog, Qt::Key_Return);

    QTRY_VERIFY(openWindow<QMessageBox>("MessageBox"));
    auto *const box = openWindow<QMessageBox>("MessageBox");
    QCOMPARE(box->text(), QStringLiteral("Overflow"));
    QVERIFY(box->isEnabled());
    QVERIFY(!form->isVisible());
    QCOMPARE(box->parentWidget(), bench.window.get());
    QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    QTRY_VERIFY(!openWindow<QMessageBox>("MessageBox"));
    bench.window.reset(); // the form with it, before the converter
}

VANTREL_WINDOW_TEST(TestEZUSBForm)
#include "tst_ezusbform.moc"
