// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "tools/DevRqstForm.h"
#include "tools/RequestBuilder.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The request builder's window over the program's own dialogs.
struct RequestDialogBench : DialogBench
{
    RequestDialogBench()
    {
        tool.dialogs.setWindow(&form);
        form.present();
        activate(form);
    }

    static void activate(QWidget &widget)
    {
        widget.activateWindow();
        waitUntilActive(widget);
    }

    void press(const char *button)
    {
        QTest::mouseClick(&child<QPushButton>(form, button), Qt::LeftButton);
    }
    FileDialog &dialog()
    {
        auto *const open = openWindow<FileDialog>("FileDial1");
        if (!open)
            qFatal("no file dialog");
        return *open;
    }
    /// Types the path into the dialog's field and presses Enter.
    void enter(const QString &path)
    {
        activate(dialog());
        auto &field = child<QLineEdit>(dialog(), "fileNameEdit");
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, path);
        QTest::keyClick(&field, Qt::Key_Return);
    }
    static QMessageBox *box() { return openWindow<QMessageBox>("MessageBox"); }

    QString path(const char *name) { return directory.filePath(QLatin1String(name)); }
    QByteArray contents(const char *name)
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }
    void write(const char *name, const QByteArray &bytes)
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no file %s", name);
    }

    RequestBuilder builder{console->session(), console->requests(), tool.dialogs, tool.errors};
    DevRqstForm form{builder, window.get()};
};

} // namespace

/// Requests saved and opened through the real dialogs.
class TestRequestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void saves();
    void savesOverALongerFile();
    void opensAFileWithoutSuffix();
    void cancelledSave();
    void refusesADevice();
    void opens();
    void cancelledOpen();
    void windowGoesWithItsDialog();
};

void TestRequestDialogs::saves()
{
    RequestDialogBench bench;
    bench.press("Save");
    QCOMPARE(bench.dialog().windowTitle(), QStringLiteral("Save Device Request File"));
    QCOMPARE(bench.dialog().nameFilters(),
             QStringList{QStringLiteral("Device Request Files (*.dr)")});
    QCOMPARE(bench.dialog().acceptMode(), QFileDialog::AcceptSave);
    QCOMPARE(bench.dialog().parentWidget(), &bench.form);
    bench.enter(bench.path("first")); // the suffix comes by itself
    QCOMPARE(bench.contents("first.dr"), "00 0000 0000 0000 0000 00"_hex);
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder - first.dr"));
}

void TestRequestDialogs::savesOverALongerFile()
{
    RequestDialogBench bench;
    bench.write("old.dr", QByteArray(12, '\x77'));
    bench.press("Save");
    bench.enter(bench.path("old.dr"));
    QVERIFY(bench.box()); // it asks first
    QCOMPARE(bench.box()->text(), QStringLiteral("old.dr exists already.\nReplace it? If it is "
                                                 "longer than the new contents, the rest of it "
                                                 "stays."));
    QCOMPARE(bench.box()->parentWidget(), &bench.dialog());
    QCOMPARE(bench.contents("old.dr"), QByteArray(12, '\x77'));
    bench.box()->button(QMessageBox::Yes)->click();
    QTRY_COMPARE(bench.contents("old.dr"), "00 0000 0000 0000 0000 00 7777"_hex);
}

void TestRequestDialogs::opensAFileWithoutSuffix()
{
    RequestDialogBench bench;
    bench.write("plain", "05 0000 0000 0000 0000 00"_hex);
    bench.press("Open");
    bench.enter(bench.path("plain"));
    QVERIFY(!bench.box());
    QTRY_COMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder - plain"));
    QCOMPARE(child<QLineEdit>(bench.form, "Address").text(), QStringLiteral("0x05"));
}

void TestRequestDialogs::cancelledSave()
{
    RequestDialogBench bench;
    bench.press("Save");
    child<QDialogButtonBox>(bench.dialog(), "buttonBox").button(QDialogButtonBox::Cancel)->click();
    QVERIFY(!openWindow<FileDialog>("FileDial1"));
    QVERIFY(!bench.box());
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder"));
}

void TestRequestDialogs::refusesADevice()
{
    RequestDialogBench bench;
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), bench.path("full.dr")));
    bench.press("Save");
    bench.enter(bench.path("full.dr"));
    QVERIFY(bench.box());
    QCOMPARE(bench.box()->text(),
             bench.path("full.dr") +
                 QLatin1String("\nThis is not a regular file. Choose another name."));
    bench.box()->button(QMessageBox::Ok)->click();
    QTRY_VERIFY(!bench.box());
    QVERIFY(bench.dialog().isVisible());
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder"));
}

void TestRequestDialogs::opens()
{
    RequestDialogBench bench;
    bench.write("in.dr", "05 80 06 0001 0000 1200 aa 00"_hex);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(bench.dialog().windowTitle(), QStringLiteral("Open Device Request File"));
    QCOMPARE(bench.dialog().acceptMode(), QFileDialog::AcceptOpen);
    bench.enter(bench.path("in.dr"));
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder - in.dr"));
    QCOMPARE(child<QLineEdit>(bench.form, "bmReqType").text(), QStringLiteral("0x80"));
    QCOMPARE(child<QLineEdit>(bench.form, "Data0_0").text(), QStringLiteral("0xAA"));
    // Back in the window nothing is entered or left.
    RequestDialogBench::activate(bench.form);
    QCOMPARE(child<QLabel>(bench.form, "dsize").text(), QStringLiteral("0x02"));
}

void TestRequestDialogs::cancelledOpen()
{
    RequestDialogBench bench;
    bench.press("Open");
    bench.dialog().close();
    QTRY_VERIFY(bench.box());
    QCOMPARE(bench.box()->text(), QStringLiteral("Error Opening File"));
    QCOMPARE(bench.box()->windowTitle(), QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.box()->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
}

void TestRequestDialogs::windowGoesWithItsDialog()
{
    RequestDialogBench bench;
    bench.press("Save");
    bench.dialog();
    bench.window->close();
    QTRY_VERIFY(!openWindow<FileDialog>("FileDial1"));
    QVERIFY(!bench.form.isVisible());
    QVERIFY(!bench.box());
}

VANTREL_WINDOW_TEST(TestRequestDialogs)
#include "tst_requestdialogs.moc"
