// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "tools/DescriptorViewer.h"
#include "tools/GetDescForm.h"
#include "windows/Binder.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QClipboard>
#include <QFontInfo>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A running console whose descriptor viewer is open.
struct ViewerFormBench : WindowBench
{
    ViewerFormBench()
    {
        run();
        form.present();
        waitUntilActive(form);
    }

    template <typename Type = QWidget>
    Type &part(const char *name)
    {
        return child<Type>(form, name);
    }
    void pressPart(const char *name) { QTest::mouseClick(&part(name), Qt::LeftButton); }
    void key(Qt::Key which, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(form.focusWidget(), which, modifiers);
    }
    void typeAddress(const char *text)
    {
        QTest::mouseClick(&address, Qt::LeftButton);
        address.selectAll();
        QTest::keyClicks(&address, QLatin1String(text));
    }

    DescriptorViewer viewer{session, console.requests(), dialogs, console.errors()};
    GetDescForm &form = *new GetDescForm(viewer, &window);
    QLineEdit &address = part<QLineEdit>("DevAddr");
    QPushButton &get = part<QPushButton>("GetDesc");
    QPushButton &save = part<QPushButton>("Save");
    QPlainTextEdit &pane = part<QPlainTextEdit>("DescInfo");
};

struct Row
{
    const char *name;
    const char *kind;
    const char *caption;
    const char *toolTip = "";
};

constexpr auto Rows = std::to_array<Row>({
    {"Label1", "QLabel", "Device Address"},
    {"DevAddr", "QLineEdit", "0x02", "Address of device to access"},
    {"GetDesc", "QPushButton", "Get Descriptors", "Read Descriptors from device at this address"},
    {"Save", "QPushButton", "Save", "Save descriptor list to a file"},
});

const QByteArray Device = "81 00 12 01 10 01 00 00 00 08 09 12 01 0A 00 01 00 00 00 01"_hex;

} // namespace

class tst_getdescform : public QObject
{
    Q_OBJECT

public:
    static void initMain()
    {
        // Qt keeps its file dialog's state in the user's settings.
        static const QTemporaryDir settings;
        qputenv("XDG_CONFIG_HOME", settings.path().toLocal8Bit());
    }

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void controls_data();
    void controls();
    void everyControlIsBound();
    void opening();
    void pane();
    void walk();
    void scrollStaysAtTheEnd();
    void focusComesBack();
    void leavingTheAddress();
    void buttonsTakeTheAddressFirst();
    void addressThatIsNotTaken_data();
    void addressThatIsNotTaken();
    void keys_data();
    void keys();
    void tabOrder();
    void editingDuringAWalk();
    void closedDuringAWalk();
    void copiesAll();
    void copiesTheSelection();
    void copiesFromAnywhere();
    void copiesNothingFromNothing();
    void selectsByKeyboard();
    void finds();
    void savesThroughTheDialog();
    void savesIntoANewFile();
};

void tst_getdescform::controls_data()
{
    QTest::addColumn<Row>("row");
    for (const Row &row : Rows)
        QTest::newRow(row.name) << row;
}

void tst_getdescform::controls()
{
    QFETCH(Row, row);
    ViewerFormBench bench;
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Descriptor Viewer"));
    const QWidget &control = bench.part(row.name);
    QCOMPARE(QByteArray(control.metaObject()->className()), QByteArray(row.kind));
    QCOMPARE(control.property("text").toString(), QString::fromLatin1(row.caption));
    QCOMPARE(control.toolTip(), QString::fromLatin1(row.toolTip));
}

void tst_getdescform::everyControlIsBound()
{
    ViewerFormBench bench;
    QCOMPARE(Binder::unbound(bench.viewer.controls().all, bench.form), QStringList());
    QCOMPARE(bench.viewer.controls().DevAddr.text(), QStringLiteral("0x02"));
    QCOMPARE(bench.part<QLabel>("Label1").buddy(), &bench.address);
}

void tst_getdescform::opening()
{
    ViewerFormBench bench;
    QVERIFY(bench.form.isVisible());
    QVERIFY(bench.get.isEnabled());
    QVERIFY(!bench.save.isEnabled());
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(!bench.session.DescActive);
    QVERIFY(bench.widget("centralwidget").isEnabled());
}

void tst_getdescform::pane()
{
    ViewerFormBench bench;
    QVERIFY(bench.pane.isReadOnly());
    QVERIFY(QFontInfo(bench.pane.font()).fixedPitch());
    QVERIFY(!bench.pane.isUndoRedoEnabled());
    bench.pane.setFocus();
    QTest::keyClicks(&bench.pane, QStringLiteral("x"));
    QCOMPARE(bench.pane.toPlainText(), QString());
}

void tst_getdescform::walk()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 01 00 00 12 00 1b45"_hex.toHex());
    QVERIFY(!bench.get.isEnabled());
    QVERIFY(bench.save.isEnabled());
    bench.answer(Device);
    QVERIFY(bench.pane.toPlainText().startsWith(
        QLatin1String("===== Device Descriptor =====\n bLength = 0x12\n")));
    bench.answer("81 04"_hex);
    QVERIFY(bench.pane.toPlainText().endsWith(
        QLatin1String("bNumConfigurations = 0x01\n\n*** Get Descriptors Terminated\n      --- "
                      "Failure code = 04\n")));
    QVERIFY(bench.get.isEnabled());

    bench.pressPart("GetDesc");
    QCOMPARE(bench.pane.toPlainText(), QString());
}

void tst_getdescform::scrollStaysAtTheEnd()
{
    ViewerFormBench bench;
    const QLayout &rows = *bench.form.centralWidget()->layout();
    const int statusLine = child<QLabel>(bench.form, "StatusLine").height() + rows.spacing();
    bench.form.resize(300, 200 + statusLine);
    bench.pressPart("GetDesc");
    const QScrollBar &scroll = *bench.pane.verticalScrollBar();
    for (const QByteArray &reply :
         {Device, "81 00 09 02 12 00 01 01 00 80"_hex,
          "81 00 09 02 12 00 01 01 00 80 32 09 04 00 00 00 FF 00 00 00"_hex}) {
        bench.answer(reply);
        QCOMPARE(scroll.value(), scroll.maximum());
    }
    QVERIFY(scroll.maximum() > 0);
    QVERIFY(bench.pane.toPlainText().endsWith(QLatin1String("Successful\n")));
}

void tst_getdescform::focusComesBack()
{
    ViewerFormBench bench;
    bench.get.setFocus();
    bench.key(Qt::Key_Space);
    QVERIFY(!bench.get.hasFocus());
    bench.answer("81 04"_hex);
    QCOMPARE(bench.form.focusWidget(), &bench.get);
}

void tst_getdescform::leavingTheAddress()
{
    ViewerFormBench bench;
    bench.typeAddress("200");
    bench.key(Qt::Key_Tab);
    QCOMPARE(bench.address.text(), QStringLiteral("0x7F"));
    bench.typeAddress("5");
    bench.key(Qt::Key_Return);
    QCOMPARE(bench.address.text(), QStringLiteral("0x05"));
    QCOMPARE(bench.sent(), QByteArray());
}

void tst_getdescform::buttonsTakeTheAddressFirst()
{
    ViewerFormBench bench;
    bench.typeAddress("300");
    bench.key(Qt::Key_G, Qt::AltModifier); // the button stays down for a moment
    QTRY_COMPARE(bench.address.text(), QStringLiteral("0x7F"));
    QCOMPARE(bench.sent(), "1b53 01 7f 80 06 00 01 00 00 12 00 1b45"_hex.toHex());

    bench.typeAddress("9");
    bench.key(Qt::Key_S, Qt::AltModifier);
    QTRY_COMPARE(bench.address.text(), QStringLiteral("0x09"));
    QCOMPARE(bench.dialogs.choices.size(), 1);
}

void tst_getdescform::addressThatIsNotTaken_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("get") << static_cast<int>(Qt::Key_G);
    QTest::newRow("save") << static_cast<int>(Qt::Key_S);
}

/// One box, and the button does nothing.
void tst_getdescform::addressThatIsNotTaken()
{
    QFETCH(int, key);
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    bench.sent();
    bench.typeAddress("0x80000000");
    bench.key(static_cast<Qt::Key>(key), Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(!bench.session.DescActive);
    QVERIFY(bench.dialogs.choices.isEmpty());
}

void tst_getdescform::keys_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QKeySequence>("shortcut");
    QTest::newRow("get") << QByteArray("GetDesc") << QKeySequence(Qt::ALT | Qt::Key_G);
    QTest::newRow("save") << QByteArray("Save") << QKeySequence(Qt::ALT | Qt::Key_S);
}

void tst_getdescform::keys()
{
    QFETCH(QByteArray, name);
    ViewerFormBench bench;
    QTEST(bench.part<QPushButton>(name).shortcut(), "shortcut");
}

void tst_getdescform::tabOrder()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    bench.address.setFocus();
    for (const char *name : {"DevAddr", "GetDesc", "Save", "DescInfo"}) {
        QCOMPARE(bench.form.focusWidget()->objectName(), QLatin1String(name));
        bench.key(Qt::Key_Tab);
    }
    QCOMPARE(bench.form.focusWidget(), &bench.address);
}

void tst_getdescform::editingDuringAWalk()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.sent();
    bench.typeAddress("0x03");
    bench.answer(Device);
    QCOMPARE(bench.sent(), "1b53 01 03 80 06 00 02 00 00 08 00 1b45"_hex.toHex());
}

void tst_getdescform::closedDuringAWalk()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.sent();
    bench.pane.setFocus();
    bench.key(Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(bench.session.DescActive);
    bench.answer(Device);
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 02 00 00 08 00 1b45"_hex.toHex());
    bench.tick(50);
    QVERIFY(!bench.session.DescActive);

    bench.form.present();
    QVERIFY(bench.pane.toPlainText().endsWith(QLatin1String("      --- Timeout\n")));
    QVERIFY(bench.get.isEnabled());
    bench.sent();
    bench.tick(9);
    QCOMPARE(bench.sent(), QByteArray());
}

void tst_getdescform::copiesAll()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    bench.pane.setFocus();
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(),
             QStringLiteral("\n*** Get Descriptors Terminated\n      --- Failure code = 04\n"));
    QVERIFY(!bench.pane.textCursor().hasSelection());
}

void tst_getdescform::copiesTheSelection()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    QVERIFY(bench.pane.find(QStringLiteral("Failure"), QTextDocument::FindBackward));
    for (QWidget *focused :
         {static_cast<QWidget *>(&bench.pane), static_cast<QWidget *>(&bench.get)}) {
        QApplication::clipboard()->clear();
        focused->setFocus();
        bench.key(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("Failure"));
    }
}

void tst_getdescform::copiesFromAnywhere()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    bench.address.setFocus();
    bench.address.deselect();
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(QApplication::clipboard()->text().endsWith(QLatin1String("Failure code = 04\n")));
    bench.address.selectAll(); // a field's own selection goes before
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("0x02"));

    bench.key(Qt::Key_F, Qt::ControlModifier);
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(QApplication::clipboard()->text().endsWith(QLatin1String("Failure code = 04\n")));
}

void tst_getdescform::copiesNothingFromNothing()
{
    ViewerFormBench bench;
    QApplication::clipboard()->setText(QStringLiteral("kept"));
    bench.pane.setFocus();
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
}

void tst_getdescform::selectsByKeyboard()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer("81 04"_hex);
    bench.pane.setFocus();
    bench.key(Qt::Key_Up);
    bench.key(Qt::Key_End, Qt::ShiftModifier);
    bench.key(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("      --- Failure code = 04"));
}

void tst_getdescform::finds()
{
    ViewerFormBench bench;
    bench.pressPart("GetDesc");
    bench.answer(Device);
    bench.address.setFocus();
    bench.key(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(&bench.part<QLineEdit>("FindText"), QStringLiteral("IDVENDOR"));
    QCOMPARE(bench.pane.textCursor().selectedText(), QStringLiteral("idVendor"));
    bench.key(Qt::Key_Escape);
    QVERIFY(bench.form.isVisible());
    QVERIFY(!bench.part("FindBar").isVisible());
    bench.key(Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
}

namespace {

/// The viewer with the program's own dialogs, at the end of a retrieval that failed.
struct SaveDialogBench : DialogBench
{
    SaveDialogBench()
    {
        tool.dialogs.setWindow(&form);
        viewer.getDescClicked();
        for (int tick = 0; tick < 50; ++tick)
            console->Timer1();
        form.present();
        waitUntilActive(form);
    }

    /// Presses Save and enters a name into the dialog that comes up.
    void saveAs(const QString &path)
    {
        QTest::mouseClick(&child<QPushButton>(form, "Save"), Qt::LeftButton);
        auto *dialog = openWindow<FileDialog>("FileDial1");
        if (!dialog || dialog->windowTitle() != QLatin1String("Save Descriptors to File") ||
            dialog->nameFilters() != QStringList{QStringLiteral("Text Files (*.txt)")})
            qFatal("not the dialog that was asked for");
        waitUntilActive(*dialog);
        auto &field = child<QLineEdit>(*dialog, "fileNameEdit");
        field.setFocus();
        field.setText(path);
        QTest::keyClick(&field, Qt::Key_Return);
    }

    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing to read");
    }

    DescriptorViewer viewer{console->session(), console->requests(), tool.dialogs, tool.errors};
    GetDescForm &form = *new GetDescForm(viewer, window.get());
};

const QByteArray TimeoutReport = "\r\n*** Get Descriptors Terminated\r\n      --- Timeout\r\n";

} // namespace

void tst_getdescform::savesThroughTheDialog()
{
    SaveDialogBench bench;
    QFile old(bench.directory.filePath(QStringLiteral("report.txt")));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(TimeoutReport.size(), '.') + "tail");
    old.close();
    bench.saveAs(old.fileName());
    QVERIFY(!openWindow<QMessageBox>("MessageBox"));
    QTRY_COMPARE(SaveDialogBench::contents(old.fileName()), TimeoutReport + "tail");
    QVERIFY(!openWindow<FileDialog>("FileDial1"));
}

void tst_getdescform::savesIntoANewFile()
{
    SaveDialogBench bench;
    bench.saveAs(bench.directory.filePath(QStringLiteral("new")));
    auto *question = openWindow<QMessageBox>("MessageBox");
    QVERIFY(question);
    question->button(QMessageBox::Yes)->click();
    QTRY_COMPARE(SaveDialogBench::contents(bench.directory.filePath(QStringLiteral("new.txt"))),
                 TimeoutReport);
}

VANTREL_WINDOW_TEST(tst_getdescform)
#include "tst_getdescform.moc"
