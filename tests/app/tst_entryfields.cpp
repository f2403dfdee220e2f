// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "app/ToolWindows.h"
#include "console/Main.h"
#include "support/TestProgram.h"
#include "support/Turns.h"
#include "windows/WindowBench.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The program with its windows, connected to a simulated tester over a socket.
struct FieldBench : NetworkBench
{
    FieldBench()
    {
        stopTicks(window);
        addToolWindows(tools, console, window);
        window.show();
        waitUntilActive(window);
        if (!connectConsole() || !turnsUntil([this] { return main().UtilDV.isEnabled(); }))
            qFatal("the console does not connect");
    }
    ~FieldBench()
    {
        window.close();
        console.shutDown();
    }

    /// The window behind a menu item; the main window for none.
    QWidget &open(const char *item, const char *name)
    {
        if (*item == '\0')
            return window;
        child<QAction>(window, item).trigger();
        auto &tool = child<QWidget>(window, name);
        tool.activateWindow();
        waitUntilActive(tool);
        const auto *first = tool.findChild<QLineEdit *>(QStringLiteral("tbIP_0"));
        if (first && !turnsUntil([first] { return !first->text().isEmpty(); }))
            qFatal("the settings are not read");
        return tool;
    }

    static void type(QLineEdit &field, const QString &text)
    {
        field.setFocus(Qt::MouseFocusReason);
        field.selectAll();
        if (text.isEmpty())
            QTest::keyClick(&field, Qt::Key_Delete);
        QTest::keyClicks(&field, text);
    }

    Tools tools{console, directory.path()};
    Main window{console};
};

bool isMarked(const QLineEdit &field)
{
    const auto *mark = field.findChild<QWidget *>(QStringLiteral("EntryMark"));
    return mark && mark->isVisible();
}

/// Whether the field's picture has its frame and corner; the frame alone is not enough.
bool showsMark(QLineEdit &field)
{
    auto *mark = field.findChild<QWidget *>(QStringLiteral("EntryMark"));
    const QImage with = field.grab().toImage();
    mark->hide();
    const QImage without = field.grab().toImage();
    mark->show();
    const auto differs = [&](QPoint place) { return with.pixel(place) != without.pixel(place); };
    const QPoint corner(field.width() - 4, 3);
    return differs({1, field.height() / 2}) && differs(corner) && !differs({field.width() / 2, 6});
}

QString statusLine(const QWidget &window)
{
    return child<QLabel>(window, "StatusLine").text();
}

struct Field
{
    const char *item;
    const char *window;
    const char *field;
    const char *typed;
    const char *shown;
    const char *note;
    const char *name;
    const char *good;
};

#define ZERO_BYTE "\"FF\" taken as 0x00 (not a plain number)"
#define ZERO_WORD "\"FF\" taken as 0x0000 (not a plain number)"
#define ZERO "\"FF\" taken as 0 (not a plain number)"

constexpr auto Fields = std::to_array<Field>({
    {"", "Main", "VoltWin", "4,4", "4.25",
     "\"4,4\" taken as 4.25 (not a plain number, lowest value 4.25)", "Vbus voltage", "4.4"},
    {"UtilDV", "GetDescForm", "DevAddr", "FF", "0x00", ZERO_BYTE, "Device Address", "0x05"},
    {"UtilDR", "DevRqstForm", "Address", "-1", "0x00", "\"-1\" taken as 0x00 (lowest value 0x00)",
     "Device Address", "7"},
    {"UtilDR", "DevRqstForm", "bmReqType", "FF", "0x00", ZERO_BYTE, "bmRequestType", "0x40"},
    {"UtilDR", "DevRqstForm", "bReq", "FF", "0x00", ZERO_BYTE, "bRequest", "0xFF"},
    {"UtilDR", "DevRqstForm", "wValue", "12 34", "0x04D2",
     "\"12 34\" taken as 0x04D2 (not a plain number)", "wValue", "1234"},
    {"UtilDR", "DevRqstForm", "windex", "FF", "0x0000", ZERO_WORD, "wIndex", "1"},
    {"UtilDR", "DevRqstForm", "wLength", "FF", "0x0000", ZERO_WORD, "wLength", "8"},
    {"UtilDR", "DevRqstForm", "Data0_0", "FF", "0x00", ZERO_BYTE, "Data 0", "0xFF"},
    {"EZUSB", "EZUSBForm", "Address", "FF", "0x00", ZERO_BYTE, "Device Address", "2"},
    {"mnuConfigureNetwork", "frmNWCfg", "tbIP_1", "300", "255",
     "\"300\" taken as 255 (highest value 255)", "", "168"},
    {"mnuConfigureNetwork", "frmNWCfg", "tbGWIP_0", "FF", "0", ZERO, "", "10"},
    {"mnuConfigureNetwork", "frmNWCfg", "tbMask_2", "abc", "abc",
     "\"abc\" taken as 0 (not a plain number)", "", "255"},
    {"mnuUtilFTDI", "frmFTDI", "DevAddr", "FF", "0x00", ZERO_BYTE, "Device Address", "3"},
    {"mnuUtilFTDI", "frmFTDI", "tbVID", "FF", "0x0000", ZERO_WORD, "Vendor ID", "0x0403"},
    {"mnuUtilFTDI", "frmFTDI", "tbPID", "-1", "0x0000",
     "\"-1\" taken as 0x0000 (lowest value 0x0000)", "Product ID", "0x6001"},
    {"mnuUtilFTDI", "frmFTDI", "tbMajRev", "FF", "0", ZERO, "", "-1"},
    {"mnuUtilFTDI", "frmFTDI", "tbMinRev", "-1", "0", "\"-1\" taken as 0 (lowest value 0)", "",
     "12"},
    {"mnuUtilFTDI", "frmFTDI", "tbMaxPower", "101", "100", "\"101\" taken as 100", "MaxPower (mA)",
     "90"},
});

#undef ZERO
#undef ZERO_WORD
#undef ZERO_BYTE

} // namespace

/// The numeric entry fields of all windows.
class TestEntryFields : public QObject
{
    Q_OBJECT

private slots:
    void notes_data();
    void notes();
    void latestNoteIsShown();
    void macByte();
    void noteIsPlainText();
    void otherWindowCommits_data() { notes_data(); }
    void otherWindowCommits();
    void voltageIsSentOnTheWayToAWindow();
    void rejectionStopsTheButton_data();
    void rejectionStopsTheButton();
    void nextDataFieldByMouse();
    void deletedByteMovesItsNote();
    void disabledDataFieldByMouse();
    void windowsFit_data();
    void windowsFit();
};

void TestEntryFields::notes_data()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < Fields.size(); ++i)
        QTest::addRow("%s %s", Fields[i].window, Fields[i].field) << static_cast<int>(i);
}

void TestEntryFields::notes()
{
    QFETCH(int, index);
    const Field &row = Fields.at(static_cast<std::size_t>(index));
    FieldBench bench;
    QWidget &window = bench.open(row.item, row.window);
    auto &field = child<QLineEdit>(window, row.field);
    const QString ownToolTip = field.toolTip();
    const QString note = QString::fromLatin1(row.note);
    QVERIFY(!isMarked(field));

    bench.type(field, QString::fromLatin1(row.typed));
    QTest::keyClick(&field, Qt::Key_Return);
    QCOMPARE(field.text(), QString::fromLatin1(row.shown));
    QVERIFY(isMarked(field));
    QVERIFY(showsMark(field));
    QVERIFY2(field.toolTip().startsWith(note), qPrintable(field.toolTip()));
    QVERIFY(field.toolTip().endsWith(ownToolTip));
    QCOMPARE(field.accessibleDescription(), note);
    QVERIFY2(statusLine(window).endsWith(QStringLiteral(": ") + note),
             qPrintable(statusLine(window)));
    if (*row.name != '\0')
        QVERIFY(statusLine(window).startsWith(QLatin1String(row.name)));

    bench.type(field, QString::fromLatin1(row.good));
    QVERIFY(!isMarked(field)); // while it is typed
    QTest::keyClick(&field, Qt::Key_Return);
    QVERIFY(!isMarked(field));
    QCOMPARE(field.toolTip(), ownToolTip);
    QCOMPARE(field.accessibleDescription(), QString());
    QCOMPARE(statusLine(window), QString());
}

void TestEntryFields::latestNoteIsShown()
{
    FieldBench bench;
    QWidget &window = bench.open("UtilDR", "DevRqstForm");
    auto &address = child<QLineEdit>(window, "Address");
    auto &value = child<QLineEdit>(window, "wValue");
    bench.type(address, QStringLiteral("200"));
    bench.type(value, QStringLiteral("x"));
    QTest::keyClick(&value, Qt::Key_Tab);
    QVERIFY(isMarked(address) && isMarked(value));
    QVERIFY(statusLine(window).startsWith(QLatin1String("wValue: \"x\"")));
    bench.type(value, QStringLiteral("1"));
    QVERIFY(statusLine(window).startsWith(QLatin1String("Device Address: \"200\"")));
}

void TestEntryFields::macByte()
{
    FieldBench bench;
    bench.dialogs.answers = {Answer::Yes};
    QWidget &window = bench.open("mnuConfigureNetwork", "frmNWCfg");
    QTest::mouseClick(&child<QWidget>(window, "cbMACEnbl"), Qt::LeftButton, {}, {8, 8});
    auto &field = child<QLineEdit>(window, "tbMAC_3");
    QVERIFY(field.isEnabled());
    bench.type(field, QStringLiteral("1G"));
    QTest::keyClick(&field, Qt::Key_Tab);
    QCOMPARE(field.text(), QStringLiteral("01"));
    QVERIFY(isMarked(field));
    QVERIFY(
        statusLine(window).endsWith(QLatin1String(": \"1G\" taken as 01 (not a plain number)")));
}

void TestEntryFields::noteIsPlainText()
{
    FieldBench bench;
    QWidget &window = bench.open("UtilDV", "GetDescForm");
    auto &field = child<QLineEdit>(window, "DevAddr");
    bench.type(field, QStringLiteral("<b>5</b>"));
    QTest::keyClick(&field, Qt::Key_Tab);
    QVERIFY2(field.toolTip().contains(QLatin1String("&lt;b&gt;5&lt;/b&gt;")),
             qPrintable(field.toolTip()));
    QVERIFY(statusLine(window).contains(QLatin1String("<b>5</b>")));
}

void TestEntryFields::otherWindowCommits()
{
    QFETCH(int, index);
    const Field &row = Fields.at(static_cast<std::size_t>(index));
    FieldBench bench;
    QWidget &window = bench.open(row.item, row.window);
    auto &field = child<QLineEdit>(window, row.field);
    bench.type(field, QString::fromLatin1(row.typed));
    bench.open("HelpAbout", "frmAbout");
    QCOMPARE(field.text(), QString::fromLatin1(row.shown));
    QVERIFY(isMarked(field));
}

void TestEntryFields::voltageIsSentOnTheWayToAWindow()
{
    FieldBench bench;
    bench.type(child<QLineEdit>(bench.window, "VoltWin"), QStringLiteral("4.5"));
    QCOMPARE(bench.session().VbusText, QStringLiteral("5.00"));
    bench.open("UtilDR", "DevRqstForm");
    QCOMPARE(bench.session().VbusText, QStringLiteral("4.50"));
    QCOMPARE(child<QLineEdit>(bench.window, "VoltWin").text(), QStringLiteral("4.50"));
}

void TestEntryFields::rejectionStopsTheButton_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QByteArray>("button");
    const auto row = [](const char *item, const char *name, const char *field, const char *button) {
        QTest::addRow("%s %s", name, button)
            << QByteArray(item) << QByteArray(name) << QByteArray(field) << QByteArray(button);
    };
    row("UtilDV", "GetDescForm", "DevAddr", "GetDesc");
    row("UtilDR", "DevRqstForm", "wValue", "Send");
    row("UtilDR", "DevRqstForm", "wValue", "Save");
    row("UtilDR", "DevRqstForm", "wValue", "Open");
    row("EZUSB", "EZUSBForm", "Address", "LoadFW");
    row("mnuConfigureNetwork", "frmNWCfg", "tbIP_0", "btUpdate");
    row("mnuUtilFTDI", "frmFTDI", "tbVID", "btRead");
    row("mnuUtilFTDI", "frmFTDI", "tbVID", "btProgram");
    row("mnuUtilFTDI", "frmFTDI", "tbVID", "btVerify");
}

/// By mouse, which leaves the field before the click, and by the mnemonic, which does not.
void TestEntryFields::rejectionStopsTheButton()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, field);
    QFETCH(QByteArray, button);
    FieldBench bench;
    QWidget &window = bench.open(item.constData(), name.constData());
    QVERIFY(turnsUntil(
        [&] { return bench.session().ConfigReadDone || item != "mnuConfigureNetwork"; }));
    auto &entry = child<QLineEdit>(window, field.constData());
    auto &pressed = child<QPushButton>(window, button.constData());
    const auto acted = [&] {
        return !bench.dialogs.choices.isEmpty() || !bench.session().TxPacket.isEmpty() ||
               !window.isVisible() || !pressed.isEnabled();
    };
    bench.dialogs.messages.clear();
    bench.session().TxPacket.clear();

    bench.type(entry, QStringLiteral("99999999999"));
    QTest::mouseClick(&pressed, Qt::LeftButton);
    QVERIFY(!acted());
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QVERIFY(isMarked(entry));
    QVERIFY(statusLine(window).endsWith(QLatin1String("\"99999999999\" not taken (out of range)")));

    entry.setFocus();
    pressed.click(); // as its mnemonic does
    QVERIFY(!acted());
    QCOMPARE(bench.dialogs.messages.size(), 2);

    bench.type(entry, QStringLiteral("1"));
    QTest::mouseClick(&pressed, Qt::LeftButton);
    QVERIFY(acted());
}

void TestEntryFields::nextDataFieldByMouse()
{
    FieldBench bench;
    QWidget &window = bench.open("UtilDR", "DevRqstForm");
    auto &first = child<QLineEdit>(window, "Data0_0");
    auto &second = child<QLineEdit>(window, "Data0_1");
    QTest::mouseClick(&first, Qt::LeftButton);
    QVERIFY(second.isEnabled());
    QTest::mouseClick(&second, Qt::LeftButton); // the first one is empty still
    QCOMPARE(QApplication::focusWidget(), &first);
    QVERIFY(second.isEnabled()); // entered anew

    QTest::keyClicks(&first, QStringLiteral("1"));
    QTest::mouseClick(&second, Qt::LeftButton);
    QCOMPARE(QApplication::focusWidget(), &second);
    QTest::keyClicks(&second, QStringLiteral("2"));
    QTest::keyClick(&second, Qt::Key_Return);
    QCOMPARE(bench.tools.builder.dataCount(), qint16{2});
}

void TestEntryFields::deletedByteMovesItsNote()
{
    FieldBench bench;
    QWidget &window = bench.open("UtilDR", "DevRqstForm");
    const auto field = [&window](int index) -> QLineEdit & {
        return child<QLineEdit>(window, qPrintable(QStringLiteral("Data0_%1").arg(index)));
    };
    bench.type(field(0), QStringLiteral("1"));
    bench.type(field(1), QStringLiteral("2"));
    bench.type(field(2), QStringLiteral("FF"));
    QTest::keyClick(&field(2), Qt::Key_Return);
    QVERIFY(isMarked(field(2)));
    bench.type(field(0), QString());
    QTest::keyClick(&field(0), Qt::Key_Return);
    QCOMPARE(field(1).text(), QStringLiteral("0x00"));
    QVERIFY(isMarked(field(1)));
    QVERIFY(!isMarked(field(2)));
}

/// A request type of device to host disables the data field that was clicked.
void TestEntryFields::disabledDataFieldByMouse()
{
    FieldBench bench;
    QWidget &window = bench.open("UtilDR", "DevRqstForm");
    auto &type = child<QLineEdit>(window, "bmReqType");
    bench.type(type, QStringLiteral("0x80"));
    QTest::mouseClick(&child<QWidget>(window, "Data0_0"), Qt::LeftButton);
    QVERIFY(!child<QWidget>(window, "Data0_0").isEnabled());
    QCOMPARE(QApplication::focusWidget(), &type);
}

void TestEntryFields::windowsFit_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("Main") << QByteArray() << QByteArray("Main");
    for (const auto &[item, name] : std::initializer_list<std::pair<const char *, const char *>>{
             {"UtilDV", "GetDescForm"},
             {"UtilDR", "DevRqstForm"},
             {"EZUSB", "EZUSBForm"},
             {"mnuConfigureNetwork", "frmNWCfg"},
             {"mnuUtilFTDI", "frmFTDI"}})
        QTest::newRow(name) << QByteArray(item) << QByteArray(name);
}

/// A note must not need more room than there was.
void TestEntryFields::windowsFit()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, name);
    FieldBench bench;
    QWidget &window = bench.open(item.constData(), name.constData());
    const QSize without = window.minimumSizeHint();
    child<QLabel>(window, "StatusLine").setText(QString(200, QLatin1Char('x')));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QCOMPARE(window.minimumSizeHint(), without);
    QVERIFY2(without.height() <= 600,
             qPrintable(QStringLiteral("%1 x %2").arg(without.width()).arg(without.height())));
}

VANTREL_WINDOW_TEST(TestEntryFields)
#include "tst_entryfields.moc"
