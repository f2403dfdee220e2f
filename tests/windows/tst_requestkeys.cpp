// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/RequestFormBench.h"

#include <QLabel>

using namespace vantrel;
using namespace vantrel::test;

/// The request builder's window by keyboard alone.
class TestRequestKeys : public QObject
{
    Q_OBJECT

private slots:
    void tabOrder();
    void requestByKeyboard();
    void dataByKeyboard();
    void tabReplaces();
    void emptyFieldLetsGo();
    void deletingInTheMiddle();
    void lastFieldIsNeverCounted();
    void enterCommits();
    void enterKeepsTheWayOpen();
    void requestTypeDisablesData();
    void sendKeys_data();
    void sendKeys();
    void halfTypedFieldIsSaved();
    void fieldThatIsNotTaken_data();
    void fieldThatIsNotTaken();
    void openShowsTheFile();
    void openLeavesNoField();
    void openedFileTakesNoFocus();
    void readingFollowsEveryKey();
};

void TestRequestKeys::tabOrder()
{
    RequestFormBench bench;
    bench.main.Automode.setChecked(false);
    bench.builder.activated();
    QStringList visited;
    do {
        visited += bench.focus();
        bench.key(Qt::Key_Tab);
    } while (visited.size() < 50 && bench.focus() != visited.first());
    // Data0_1 is enabled while Data0_0 has the focus, and goes with it.
    QCOMPARE(visited.join(QLatin1Char(' ')),
             QStringLiteral("Address bmReqType bReq wValue windex wLength Data0_0 "
                            "mp8 FullSpeed Send Open Save"));
}

void TestRequestKeys::requestByKeyboard()
{
    RequestFormBench bench;
    bench.fillInRequest();
    QCOMPARE(bench.text("Address"), QStringLiteral("0x05"));
    QCOMPARE(bench.text("bmReqType"), QStringLiteral("0x40"));
    QCOMPARE(bench.text("bReq"), QStringLiteral("0xA0"));
    QCOMPARE(bench.text("wValue"), QStringLiteral("0x1234"));
    QCOMPARE(bench.text("windex"), QStringLiteral("0x5678"));
    QCOMPARE(bench.text("wLength"), QStringLiteral("0x0002"));
    QCOMPARE(bench.focus(), QStringLiteral("Data0_0"));
    bench.fillIn({"1", "255"});
    QCOMPARE(bench.focus(), QStringLiteral("Data0_2"));
    bench.key(Qt::Key_S, Qt::AltModifier);
    QTRY_VERIFY(!bench.serial->written.isEmpty()); // the button goes down first
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200 01ff 1b45"_hex.toHex());
}

void TestRequestKeys::dataByKeyboard()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    for (int index = 0; index < 31; ++index) {
        QCOMPARE(bench.focus(), QStringLiteral("Data0_%1").arg(index));
        QCOMPARE(bench.enabledFields(), index + 2); // the next one follows
        bench.fillIn({"0x11"});
        QCOMPARE(bench.data(index).text(), QStringLiteral("0x11"));
    }
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x1F bytes"));
}

void TestRequestKeys::tabReplaces()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.fillIn({"1", "2"});
    bench.key(Qt::Key_Tab, Qt::ShiftModifier);
    bench.key(Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(bench.focus(), QStringLiteral("Data0_0"));
    bench.fillIn({"7"});
    QCOMPARE(bench.dataTexts(3), QStringLiteral("0x07 0x02  "));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x02 bytes"));
}

void TestRequestKeys::emptyFieldLetsGo()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.fillIn({"1", "2"});
    QCOMPARE(bench.enabledFields(), 4);
    bench.key(Qt::Key_Tab); // out of the empty one
    QCOMPARE(bench.focus(), QStringLiteral("Send"));
    QCOMPARE(bench.enabledFields(), 3);
    bench.key(Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(bench.focus(), QStringLiteral("Data0_2"));
    QCOMPARE(bench.enabledFields(), 4);
    bench.fillIn({"3"});
    QCOMPARE(bench.focus(), QStringLiteral("Data0_3"));
}

void TestRequestKeys::deletingInTheMiddle()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.fillIn({"1", "2", "3", "4", "5"});
    for (int back = 0; back < 3; ++back)
        bench.key(Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(bench.focus(), QStringLiteral("Data0_2"));
    bench.key(Qt::Key_Delete);
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x05 bytes"));
    bench.key(Qt::Key_Tab);
    QCOMPARE(bench.dataTexts(6), QStringLiteral("0x01 0x02 0x04 0x05   "));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x04 bytes"));
    QCOMPARE(bench.enabledFields(), 5);
    QCOMPARE(bench.focus(), QStringLiteral("Data0_3"));
}

void TestRequestKeys::lastFieldIsNeverCounted()
{
    RequestFormBench bench;
    bench.fillInRequest();
    for (int index = 0; index < 31; ++index)
        bench.fillIn({"0x11"});
    QCOMPARE(bench.focus(), QStringLiteral("Data0_31"));
    bench.fillIn({"0x22"});
    QCOMPARE(bench.focus(), QStringLiteral("Send"));
    QCOMPARE(bench.data(31).text(), QStringLiteral("0x22"));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x1F bytes"));
    QCOMPARE(bench.enabledFields(), 32);
    bench.key(Qt::Key_Space);
    QCOMPARE(bench.sent(),
             ("1b53 01 05 40a0 3412 7856 0200"_hex + QByteArray(31, '\x11') + "1b45"_hex).toHex());
}

void TestRequestKeys::enterCommits()
{
    RequestFormBench bench;
    bench.key(Qt::Key_A, Qt::ControlModifier);
    bench.keys("0x90");
    bench.key(Qt::Key_Return);
    QCOMPARE(bench.text("Address"), QStringLiteral("0x7F"));
    QCOMPARE(bench.focus(), QStringLiteral("Address"));
    QCOMPARE(bench.sent(), QByteArray());
}

void TestRequestKeys::enterKeepsTheWayOpen()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.key(Qt::Key_Return); // with nothing in it
    QCOMPARE(bench.enabledFields(), 2);
    bench.keys("5");
    bench.key(Qt::Key_Return);
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x01 bytes"));
    QCOMPARE(bench.focus(), QStringLiteral("Data0_0"));
    bench.key(Qt::Key_Tab);
    QCOMPARE(bench.focus(), QStringLiteral("Data0_1"));
    QCOMPARE(bench.enabledFields(), 3);
}

void TestRequestKeys::requestTypeDisablesData()
{
    RequestFormBench bench;
    auto &type = bench.get<QLineEdit>("bmReqType");
    const auto enter = [&](const char *text) {
        type.setFocus();
        type.selectAll();
        bench.fillIn({text});
    };
    enter("0x1FF");
    QCOMPARE(type.text(), QStringLiteral("0xFF"));
    QCOMPARE(bench.enabledFields(), 0);
    QVERIFY(!bench.get<QLabel>("dsize").isEnabled());
    enter("0x7F");
    QCOMPARE(bench.enabledFields(), 1);
    QVERIFY(bench.get<QLabel>("dsize").isEnabled());
    enter("128");
    QCOMPARE(type.text(), QStringLiteral("0x80"));
    QCOMPARE(bench.enabledFields(), 0);
}

void TestRequestKeys::sendKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    const auto row = [](const char *name, Qt::Key key, Qt::KeyboardModifier modifier) {
        QTest::newRow(name) << static_cast<int>(key) << Qt::KeyboardModifiers(modifier);
    };
    row("mnemonic", Qt::Key_S, Qt::AltModifier);
    row("Ctrl+Return", Qt::Key_Return, Qt::ControlModifier);
    row("Ctrl+Enter", Qt::Key_Enter, Qt::ControlModifier);
}

void TestRequestKeys::sendKeys()
{
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    RequestFormBench bench;
    bench.fillInRequest();
    bench.fillIn({"1"});
    bench.keys("0x1FF"); // half typed, so to speak
    bench.key(static_cast<Qt::Key>(key), modifiers);
    QTRY_VERIFY(!bench.serial->written.isEmpty());
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200 01ff 1b45"_hex.toHex());
    QCOMPARE(bench.data(1).text(), QStringLiteral("0xFF"));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x02 bytes"));
    QCOMPARE(bench.focus(), QStringLiteral("Data0_1"));
    QCOMPARE(bench.enabledFields(), 3);
}

void TestRequestKeys::halfTypedFieldIsSaved()
{
    RequestFormBench bench;
    bench.fillInRequest();
    bench.keys("77");
    const QString path = bench.directory.filePath(QStringLiteral("new.dr"));
    bench.dialogs.paths = {path};
    bench.key(Qt::Key_S, Qt::ControlModifier);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "05 40a0 3412 7856 0200 4d 00"_hex);
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder - new.dr"));
    QCOMPARE(bench.dialogs.choices.size(), 1);
    bench.key(Qt::Key_V, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.choices.size(), 2);
}

void TestRequestKeys::fieldThatIsNotTaken_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<int>("key");
    for (const char *field :
         {"Address", "bmReqType", "bReq", "wValue", "windex", "wLength", "Data0_0"}) {
        QTest::addRow("%s, Send", field) << QByteArray(field) << static_cast<int>(Qt::Key_S);
        QTest::addRow("%s, Save", field) << QByteArray(field) << static_cast<int>(Qt::Key_V);
    }
}

/// One box, and the button does nothing.
void TestRequestKeys::fieldThatIsNotTaken()
{
    QFETCH(QByteArray, field);
    QFETCH(int, key);
    RequestFormBench bench;
    auto &edit = bench.get<QLineEdit>(field);
    edit.setFocus();
    edit.selectAll();
    bench.keys("0x80000000");
    bench.key(static_cast<Qt::Key>(key), Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.dialogs.choices.isEmpty());
    QVERIFY(edit.hasFocus());
}

void TestRequestKeys::openShowsTheFile()
{
    RequestFormBench bench;
    bench.dialogs.paths = {bench.writeFile("05 40 a0 3412 7856 0b0a 00 7f ff 00"_hex)};
    bench.key(Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder - a.dr"));
    QCOMPARE(bench.text("Address"), QStringLiteral("0x05"));
    QCOMPARE(bench.text("wLength"), QStringLiteral("0x0A0B"));
    QCOMPARE(bench.dataTexts(5), QStringLiteral("0x00 0x7F 0xFF 0x00  "));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x04"));
    QCOMPARE(bench.text("SetupReading"),
             QStringLiteral("vendor request 0xA0 to the device, host to device, 2571 bytes, "
                            "4 data bytes entered"));
}

void TestRequestKeys::openLeavesNoField()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.fillIn({"1", "2", "3", "4"});
    bench.keys("5"); // in a field that the file has no byte for
    bench.dialogs.paths = {bench.writeFile("05 40 a0 3412 7856 0200 aa 00"_hex)};
    bench.key(Qt::Key_O, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.choices.size(), 1);
    QCOMPARE(bench.dataTexts(32), QStringLiteral("0xAA 0x00 ") + QString(30, QLatin1Char(' ')));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x02"));
    QCOMPARE(bench.enabledFields(), 3);
    QCOMPARE(bench.focus(), QStringLiteral("Open"));
}

void TestRequestKeys::openedFileTakesNoFocus()
{
    RequestFormBench bench;
    bench.data(0).setFocus();
    bench.key(Qt::Key_Tab); // the next field had the focus for a moment, and was disabled
    QCOMPARE(bench.focus(), QStringLiteral("Send"));
    bench.dialogs.paths = {bench.writeFile(QByteArray(41, '\x33'))};
    bench.key(Qt::Key_O, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.choices.size(), 1);
    QCOMPARE(bench.enabledFields(), 32);
    QCOMPARE(bench.focus(), QStringLiteral("Open"));
}

void TestRequestKeys::readingFollowsEveryKey()
{
    RequestFormBench bench;
    bench.get<QLineEdit>("wLength").setFocus();
    bench.key(Qt::Key_A, Qt::ControlModifier);
    QStringList readings;
    for (const char *each : {"0", "x", "1", "2", "3", "4", "5"}) {
        bench.keys(each);
        readings += bench.text("SetupReading").section(QStringLiteral(", "), 2, 2);
    }
    QCOMPARE(readings.join(QLatin1Char('|')),
             QStringLiteral("no data|no data|1 byte|18 bytes|291 bytes|4660 bytes|"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.key(Qt::Key_Backspace);
    QVERIFY(bench.text("SetupReading").contains(QLatin1String("4660 bytes")));
}

VANTREL_WINDOW_TEST(TestRequestKeys)
#include "tst_requestkeys.moc"
