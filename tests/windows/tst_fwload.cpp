// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FWLoad.h"
#include "maintenance/FirmwareLoader.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/DialogBench.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A running console, of a Vorn 2, whose firmware window the user has opened.
struct FwLoadBench : WindowBench
{
    FwLoadBench()
    {
        run();
        form.present();
        waitUntilActive(form);
    }
    ~FwLoadBench()
    {
        console.shutDown(); // nothing to ask
        window.close();     // and the form with it, while there is a loader
    }
    FwLoadBench(const FwLoadBench &) = delete;
    FwLoadBench &operator=(const FwLoadBench &) = delete;

    void choose(const QByteArray &content)
    {
        QFile image(directory.filePath(QStringLiteral("new.bin")));
        if (!image.open(QIODevice::WriteOnly) || image.write(content) != content.size())
            qFatal("no image file");
        image.close();
        dialogs.paths = {image.fileName()};
        QTest::mouseClick(&select, Qt::LeftButton);
    }

    FirmwareLoader loader{session, console.link(),   console.commands(),
                          dialogs, console.errors(), directory.path()};
    FWLoad &form = *new FWLoad(loader, &window); // the main window owns it
    QPushButton &select = child<QPushButton>(form, "fileselect");
    QPushButton &program = child<QPushButton>(form, "btProgram");
    QPushButton &cancel = child<QPushButton>(form, "btCancel");
    QLineEdit &name = child<QLineEdit>(form, "tbFWFile");
    QLabel &crc = child<QLabel>(form, "lblCRC");
    QLabel &status = child<QLabel>(form, "lblStatus");
    QProgressBar &bar = child<QProgressBar>(form, "BlockProgress");
};

} // namespace

class TestFWLoad : public QObject
{
    Q_OBJECT

private slots:
    void controls_data();
    void controls();
    void everyValueHasItsFace();
    void opening();
    void checkValueLibrary();
    void titles();
    void choosing();
    void cancelButton();
    void downloading();
    void mnemonics();
    void closingTheStuckWindow();
    void escapeEndsTheDownload();
    void mainWindowClosesIt();
    void realDialogs();

private:
    FwLoadBench m_bench;
};

void TestFWLoad::controls_data()
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
    row("fileselect", "QPushButton", "", "Select a firmware file");
    row("tbFWFile", "QLineEdit", "<Select Firmware File>");
    row("lblCRC", "QLabel", "", "CRC-32 (built in)");
    row("lblStatus", "QLabel", "");
    row("CrcSource", "QLabel", "CRC-32 (built in)", "CRC-32 (built in)");
    row("btProgram", "QPushButton", "Program");
    row("btCancel", "QPushButton", "Cancel");
    row("BlockProgress", "QProgressBar", "", "Progress of the firmware download");
}

void TestFWLoad::controls()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, kind);
    const auto &widget = child<QWidget>(m_bench.form, name.toLatin1().constData());
    QVERIFY2(widget.inherits(kind.constData()), widget.metaObject()->className());
    QTEST(widget.property("text").toString(), "caption");
    QTEST(widget.toolTip(), "toolTip");
}

void TestFWLoad::everyValueHasItsFace()
{
    QCOMPARE(Binder::unbound(m_bench.loader.controls().all, m_bench.form), QStringList());
}

void TestFWLoad::opening()
{
    const FwLoadBench bench;
    QVERIFY(bench.select.isEnabled());
    QVERIFY(!bench.select.icon().isNull());
    QVERIFY(!bench.select.accessibleName().isEmpty());
    QVERIFY(!bench.program.isEnabled());
    QVERIFY(bench.cancel.isEnabled());
    QVERIFY(bench.name.isReadOnly());
    QVERIFY(!bench.bar.isVisible());
    QVERIFY(bench.main.Window.isEnabled()); // other windows stay in reach
}

void TestFWLoad::checkValueLibrary()
{
    // A path that is longer than the window is wide
    QTemporaryDir root;
    const QString folder = root.filePath(QString(200, QLatin1Char('d')) + QLatin1Char('/') +
                                         QString(200, QLatin1Char('e')));
    QVERIFY(QDir().mkpath(folder));
    const QString library = folder + QStringLiteral("/libcrc.so");
    QVERIFY(QFile::copy(QStringLiteral(CRC_LIBRARIES "/underscore/libcrc.so"), library));

    FwLoadBench bench;
    FirmwareLoader loader(bench.session, bench.console.link(), bench.console.commands(),
                          bench.dialogs, bench.console.errors(), folder);
    auto *const form = new FWLoad(loader, &bench.window);
    form->present();
    waitUntilActive(*form);
    const auto &label = child<QLabel>(*form, "CrcSource");
    QVERIFY(label.isVisible()); // before an image is chosen
    QCOMPARE(label.text(), QStringLiteral("CRC by ") + library);
    QCOMPARE(label.toolTip(), QStringLiteral("CRC by ") + library);
    QVERIFY(label.textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    QVERIFY(label.width() > 100);
    QCOMPARE(form->width(), bench.form.width());
    QCOMPARE(form->minimumSizeHint().width(), bench.form.minimumSizeHint().width());

    QTest::mouseDClick(const_cast<QLabel *>(&label), Qt::LeftButton, {}, QPoint(5, 5));
    QCOMPARE(label.selectedText(), QStringLiteral("CRC"));
    bench.window.close(); // and the form, before the loader
    delete form;
}

void TestFWLoad::titles()
{
    FwLoadBench bench;
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Download Firmware to Vorn 2"));
    bench.form.close();
    bench.session.TesterModel = 1;
    bench.form.present();
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Download Firmware to Vorn 1"));
}

void TestFWLoad::choosing()
{
    FwLoadBench bench;
    bench.choose("NVxxxxxx");
    QCOMPARE(bench.name.text(), bench.directory.filePath(QStringLiteral("new.bin")));
    QCOMPARE(bench.crc.text(), QStringLiteral("Image CRC = 7AB24CF2"));
    QCOMPARE(bench.status.text(), QStringLiteral("Ready to Download"));
    QVERIFY(bench.program.isEnabled());
    bench.choose("something else");
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.name.text(), QStringLiteral("<Select Firmware File>"));
    QCOMPARE(bench.status.text(), QString());
}

void TestFWLoad::cancelButton()
{
    FwLoadBench bench;
    QTest::mouseClick(&bench.cancel, Qt::LeftButton);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.sent(), QByteArray());
}

void TestFWLoad::downloading()
{
    FwLoadBench bench;
    bench.choose("NV" + QByteArray(5000, 'x'));
    QTest::mouseClick(&bench.program, Qt::LeftButton);
    for (const QPushButton *button : {&bench.select, &bench.program, &bench.cancel})
        QVERIFY2(!button->isEnabled(), qPrintable(button->objectName()));
    QVERIFY(bench.bar.isVisible());
    QCOMPARE(bench.bar.maximum(), 2);
    QCOMPARE(bench.bar.value(), 1);
    QCOMPARE(bench.bar.text(), QStringLiteral("1 of 2 blocks sent"));
    bench.answer("b3 00001000"_hex);
    QCOMPARE(bench.bar.value(), 2);
    bench.answer("b3 0000138a"_hex);
    bench.tick(49);
    QVERIFY(bench.form.isVisible());
    bench.tick();
    QVERIFY(!bench.form.isVisible());

    bench.form.present();
    QVERIFY(bench.select.isEnabled());
    QVERIFY(bench.cancel.isEnabled());
    QVERIFY(!bench.program.isEnabled());
    QVERIFY(!bench.bar.isVisible());
    QCOMPARE(bench.crc.text(), QString());
}

void TestFWLoad::mnemonics()
{
    FwLoadBench bench;
    QTest::keyClick(&bench.form, Qt::Key_O, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.choices.size(), 1);
    bench.choose("NVxxxxxx");
    QTest::keyClick(&bench.form, Qt::Key_P, Qt::AltModifier);
    QTRY_VERIFY(bench.session.ScriptBusy);
    bench.console.connectClicked(); // the download is over, the buttons can be used
    QTest::keyClick(&bench.form, Qt::Key_C, Qt::AltModifier);
    QTRY_VERIFY(!bench.form.isVisible());
}

void TestFWLoad::closingTheStuckWindow()
{
    FwLoadBench bench;
    bench.choose("NVxxxxxx");
    bench.session.TickCount = 58;
    QTest::mouseClick(&bench.program, Qt::LeftButton);
    bench.tick();
    QVERIFY(bench.form.isVisible());
    QVERIFY(!bench.cancel.isEnabled());
    QVERIFY(bench.session.ScriptBusy);
    bench.form.close();
    QVERIFY(!bench.session.ScriptBusy);
}

void TestFWLoad::escapeEndsTheDownload()
{
    FwLoadBench bench;
    bench.choose("NV" + QByteArray(5000, 'x'));
    QTest::mouseClick(&bench.program, Qt::LeftButton);
    bench.dialogs.answers = {Answer::No, Answer::Yes};
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(bench.form.isVisible());
    QVERIFY(bench.session.ScriptBusy);
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QCOMPARE(bench.dialogs.messages.size(), 2);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(!bench.session.ScriptBusy);
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void TestFWLoad::mainWindowClosesIt()
{
    FwLoadBench bench;
    bench.choose("NV" + QByteArray(5000, 'x'));
    QTest::mouseClick(&bench.program, Qt::LeftButton);
    bench.dialogs.answers = {Answer::Yes};
    bench.window.close();
    QVERIFY(!bench.window.isVisible());
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

/// With the program's own dialogs: the refusal stands over the window, which stays.
void TestFWLoad::realDialogs()
{
    DialogBench bench;
    FirmwareLoader loader(bench.console->session(), bench.console->link(),
                          bench.console->commands(), bench.tool.dialogs, bench.tool.errors,
                          bench.directory.path());
    auto *const form = new FWLoad(loader, bench.window.get());
    bench.tool.dialogs.setWindow(form);
    form->present();
    QTRY_COMPARE(QApplication::activeWindow(), form);
    QTest::mouseClick(&child<QPushButton>(*form, "fileselect"), Qt::LeftButton);
    QTRY_VERIFY(openWindow<QFileDialog>("FileDial1"));
    auto *const dialog = openWindow<QFileDialog>("FileDial1");
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Open Firmware File"));
    QFile image(bench.directory.filePath(QStringLiteral("new.bin")));
    QVERIFY(image.open(QIODevice::WriteOnly));
    image.write("no image");
    image.close();
    dialog->selectFile(image.fileName());
    QTest::keyClick(dialog, Qt::Key_Return);
    QTRY_VERIFY(openWindow<QMessageBox>("MessageBox"));
    auto *const box = openWindow<QMessageBox>("MessageBox");
    QCOMPARE(box->text(), QStringLiteral("Selected File is Not a Firmware Image"));
    QCOMPARE(box->parentWidget(), form);
    QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    QTRY_VERIFY(!openWindow<QMessageBox>("MessageBox"));
    QVERIFY(form->isVisible());
    bench.window.reset(); // the form with it, before the loader
}

VANTREL_WINDOW_TEST(TestFWLoad)
#include "tst_fwload.moc"
