// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/RequestFormBench.h"

#include <QFontInfo>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScopeGuard>

#include <array>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct Row
{
    const char *name;
    const char *kind;
    const char *caption;
    const char *toolTip = "";
};

/// All but the 32 data fields and what numbers them.
constexpr auto Rows = std::to_array<Row>({
    {"RequestFrame", "QGroupBox", "Request"},
    {"Address_label", "QLabel", "Device Address"},
    {"Address", "QLineEdit", "0x00", "Device Address"},
    {"bmReqType_label", "QLabel", "bmRequestType"},
    {"bmReqType", "QLineEdit", "0x00", "bmRequestType"},
    {"bReq_label", "QLabel", "bRequest"},
    {"bReq", "QLineEdit", "0x00", "bRequest"},
    {"wValue_label", "QLabel", "wValue"},
    {"wValue", "QLineEdit", "0x0000", "wValue"},
    {"windex_label", "QLabel", "wIndex"},
    {"windex", "QLineEdit", "0x0000", "wIndex"},
    {"wLength_label", "QLabel", "wLength"},
    {"wLength", "QLineEdit", "0x0000", "wLength"},
    {"DataFrame", "QGroupBox", "Data"},
    {"dsize_label", "QLabel", "Data Size:"},
    {"dsize", "QLabel", "0x0 bytes"},
    {"ManualMode", "QGroupBox", "Manual Mode"},
    {"mp_label", "QLabel", "MaxPktSize", "Select MaxPktSize in Manual Mode"},
    {"mp8", "QRadioButton", "8", "Select MaxPktSize=8"},
    {"mp16", "QRadioButton", "16", "Select MaxPktSize=16"},
    {"mp32", "QRadioButton", "32", "Select MaxPktSize=32"},
    {"mp64", "QRadioButton", "64", "Select MaxPktSize=64"},
    {"FullSpeed", "QCheckBox", "Full Speed", "Select Full Speed Device in Manual Mode"},
    {"SetupReading", "QLabel", "GET_STATUS (device), host to device, no data",
     "The setup packet in plain words"},
    {"Send", "QPushButton", "&Send", "Send Request to Device"},
    {"Open", "QPushButton", "&Open...", "Open a saved Device Request"},
    {"Save", "QPushButton", "Sa&ve...", "Save the Device Request to a File"},
});

} // namespace

/// The request builder's window: what is in it, and how it behaves as a window.
class TestDevRqstForm : public QObject
{
    Q_OBJECT

private slots:
    void row_data();
    void row();
    void dataFields();
    void nothingElse();
    void everyValueHasItsFace();
    void atFirst();
    void sendByMouse();
    void manualMode();
    void manualModeIsKept();
    void automaticMode();
    void fieldsAreKept();
    void closes();
    void goesWhileInAField();
    void disabledFieldsAreSeen();
    void disabledFieldsAreSeenAtFirst();
    void fixedWidth();
};

void TestDevRqstForm::row_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(Rows.size()); ++i)
        QTest::newRow(Rows.at(static_cast<std::size_t>(i)).name) << i;
}

void TestDevRqstForm::row()
{
    QFETCH(int, index);
    const Row &row = Rows.at(static_cast<std::size_t>(index));
    RequestFormBench bench;
    auto &widget = bench.get<QWidget>(row.name);
    QVERIFY2(widget.inherits(row.kind), widget.metaObject()->className());
    const char *caption = widget.inherits("QGroupBox") ? "title" : "text";
    QCOMPARE(widget.property(caption).toString(), QString::fromLatin1(row.caption));
    QCOMPARE(widget.toolTip(), QString::fromLatin1(row.toolTip));
}

void TestDevRqstForm::dataFields()
{
    RequestFormBench bench;
    for (int index = 0; index < 32; ++index) {
        QCOMPARE(bench.data(index).text(), QString());
        QCOMPARE(bench.data(index).toolTip(), QStringLiteral("Data"));
        QCOMPARE(bench.data(index).accessibleName(), QStringLiteral("Data %1").arg(index));
    }
    for (int column = 0; column < 8; ++column)
        QCOMPARE(bench.text(qPrintable(QStringLiteral("column_%1").arg(column))),
                 QString::number(column));
    for (int line = 0; line < 4; ++line)
        QCOMPARE(bench.text(qPrintable(QStringLiteral("row_%1").arg(line))),
                 QString::number(8 * line));
}

void TestDevRqstForm::nothingElse()
{
    RequestFormBench bench;
    QStringList expected{QStringLiteral("content"), QStringLiteral("StatusLine")};
    for (const Row &row : Rows)
        expected += QString::fromLatin1(row.name);
    for (int index = 0; index < 32; ++index)
        expected += QStringLiteral("Data0_%1").arg(index);
    for (int column = 0; column < 8; ++column)
        expected += QStringLiteral("column_%1").arg(column);
    for (int line = 0; line < 4; ++line)
        expected += QStringLiteral("row_%1").arg(line);
    QStringList present;
    for (const QWidget *widget : bench.form.findChildren<QWidget *>()) {
        if (!widget->objectName().isEmpty() &&
            !widget->objectName().startsWith(QLatin1String("qt_")))
            present += widget->objectName();
    }
    expected.sort();
    present.sort();
    QCOMPARE(present, expected);
}

void TestDevRqstForm::everyValueHasItsFace()
{
    RequestFormBench bench;
    QCOMPARE(Binder::unbound(bench.builder.controls().all, bench.form), QStringList());
}

void TestDevRqstForm::atFirst()
{
    RequestFormBench bench;
    QCOMPARE(bench.form.objectName(), QStringLiteral("DevRqstForm"));
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Device Request Builder"));
    QCOMPARE(bench.focus(), QStringLiteral("Address"));
    QCOMPARE(bench.enabledFields(), 1);
    QVERIFY(bench.get<QLabel>("dsize").isEnabled());
    QVERIFY(bench.widget("centralwidget").isEnabled()); // the main window stays usable
}

void TestDevRqstForm::sendByMouse()
{
    RequestFormBench bench;
    bench.fillInRequest();
    bench.keys("77");
    QTest::mouseClick(&bench.get<QPushButton>("Send"), Qt::LeftButton);
    QCOMPARE(bench.sent(), "1b53 01 05 40a0 3412 7856 0200 4d 1b45"_hex.toHex());
}

void TestDevRqstForm::manualMode()
{
    RequestFormBench bench;
    bench.main.Automode.setChecked(false);
    bench.builder.activated();
    bench.fillInRequest();
    QTest::mouseClick(&bench.get<QRadioButton>("mp8"), Qt::LeftButton, {}, QPoint(8, 8));
    QCOMPARE(bench.session.MaxPacketCode, qint16{0});
    int code = 0;
    for (const char *option : {"mp16", "mp32", "mp64"}) {
        bench.key(Qt::Key_Right);
        QCOMPARE(bench.focus(), QString::fromLatin1(option));
        QCOMPARE(int{bench.session.MaxPacketCode}, ++code);
    }
    bench.key(Qt::Key_Tab);
    QCOMPARE(bench.focus(), QStringLiteral("FullSpeed"));
    bench.key(Qt::Key_Space);
    QVERIFY(bench.session.FullSpeedMode);
    bench.key(Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(bench.sent(), "1b53 01 85 07 40a0 3412 7856 0200 1b45"_hex.toHex());
    bench.key(Qt::Key_Space);
    QVERIFY(!bench.session.FullSpeedMode);
}

void TestDevRqstForm::manualModeIsKept()
{
    RequestFormBench bench;
    bench.form.close();
    bench.main.Automode.setChecked(false);
    bench.session.MaxPacketCode = 2;
    bench.session.FullSpeedMode = true;
    bench.present();
    QVERIFY(bench.get<QRadioButton>("mp32").isChecked());
    QVERIFY(!bench.get<QRadioButton>("mp8").isChecked());
    QVERIFY(bench.get<QAbstractButton>("FullSpeed").isChecked());
    QTest::mouseClick(&bench.get<QRadioButton>("mp64"), Qt::LeftButton, {}, QPoint(8, 8));
    QTest::mouseClick(&bench.get<QAbstractButton>("FullSpeed"), Qt::LeftButton, {}, QPoint(8, 8));
    bench.form.close();
    QCOMPARE(bench.session.MaxPacketCode, qint16{3});
    QVERIFY(!bench.session.FullSpeedMode);
    bench.present();
    QVERIFY(bench.get<QRadioButton>("mp64").isChecked());
    QVERIFY(!bench.get<QAbstractButton>("FullSpeed").isChecked());
}

void TestDevRqstForm::automaticMode()
{
    RequestFormBench bench;
    const auto enabled = [&bench] {
        int count = 0;
        for (const char *name : {"ManualMode", "FullSpeed", "mp8", "mp16", "mp32", "mp64"})
            count += bench.get<QWidget>(name).isEnabled() ? 1 : 0;
        return count;
    };
    QCOMPARE(enabled(), 0);
    // The main window is where the mode is changed: coming back from there is an activation.
    bench.window.activateWindow();
    waitUntilActive(bench.window);
    bench.main.Automode.setChecked(false);
    QCOMPARE(enabled(), 0);
    bench.activate();
    QCOMPARE(enabled(), 6);
}

void TestDevRqstForm::fieldsAreKept()
{
    RequestFormBench bench;
    bench.fillInRequest();
    bench.fillIn({"1", "2"});
    bench.form.close();
    bench.present();
    QCOMPARE(bench.text("wValue"), QStringLiteral("0x1234"));
    QCOMPARE(bench.dataTexts(3), QStringLiteral("0x01 0x02  "));
    QCOMPARE(bench.text("dsize"), QStringLiteral("0x02 bytes"));
}

void TestDevRqstForm::closes()
{
    RequestFormBench bench;
    bench.key(Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    bench.present();
    bench.window.close();
    QVERIFY(!bench.form.isVisible());
}

void TestDevRqstForm::goesWhileInAField()
{
    RequestFormBench bench;
    RequestBuilder builder(bench.session, bench.console.requests(), bench.dialogs,
                           bench.console.errors());
    {
        DevRqstForm form(builder, &bench.window);
        form.present();
        waitUntilActive(form);
        bench.key(Qt::Key_A, Qt::ControlModifier);
        bench.keys("0x1");
    }
    QCOMPARE(builder.controls().Address.text(), QStringLiteral("0x1")); // nobody left it
}

void TestDevRqstForm::disabledFieldsAreSeen()
{
    RequestFormBench bench;
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(40, 42, 46));
    dark.setColor(QPalette::Base, QColor(28, 29, 32));
    bench.form.setPalette(dark);
    const auto colour = [&bench](int index) {
        return bench.data(index).palette().color(QPalette::Base);
    };
    QCOMPARE(colour(0), QColor(28, 29, 32));
    QCOMPARE(colour(1), QColor(40, 42, 46));
}

void TestDevRqstForm::disabledFieldsAreSeenAtFirst()
{
    const QPalette before = QApplication::palette();
    const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
    QPalette flat;
    flat.setColor(QPalette::Window, QColor(200, 200, 200));
    flat.setColor(QPalette::Base, QColor(250, 250, 250));
    QApplication::setPalette(flat);
    RequestFormBench bench;
    QCOMPARE(bench.data(0).palette().color(QPalette::Base), QColor(250, 250, 250));
    QCOMPARE(bench.data(1).palette().color(QPalette::Base), QColor(200, 200, 200));
}

void TestDevRqstForm::fixedWidth()
{
    RequestFormBench bench;
    for (const char *name : {"Address", "wLength", "Data0_0", "Data0_31", "dsize"})
        QVERIFY2(QFontInfo(bench.get<QWidget>(name).font()).fixedPitch(), name);
}

VANTREL_WINDOW_TEST(TestDevRqstForm)
#include "tst_devrqstform.moc"
