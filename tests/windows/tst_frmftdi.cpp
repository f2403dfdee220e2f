// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiUtility.h"
#include "maintenance/RealEeprom.h"
#include "maintenance/frmFTDI.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/WindowBench.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

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

constexpr auto Rows = std::to_array<Row>({
    {"frDev", "QGroupBox", ""},
    {"Label1", "QLabel", "Device Address"},
    {"DevAddr", "QLineEdit", "0x02", "Address of device to access"},
    {"btRead", "QPushButton", "Read"},
    {"btProgram", "QPushButton", "Program"},
    {"btVerify", "QPushButton", "Verify", "Compare the EEPROM with what this window holds"},
    {"frProduct", "QGroupBox", "Product Information"},
    {"lblVID", "QLabel", "Vendor ID"},
    {"tbVID", "QLineEdit", ""},
    {"lblPID", "QLabel", "Product ID"},
    {"tbPID", "QLineEdit", ""},
    {"lblRevision", "QLabel", "Revision"},
    {"tbMajRev", "QLineEdit", ""},
    {"tbMinRev", "QLineEdit", ""},
    {"frUSBOptions", "QGroupBox", "USB Options"},
    {"lblMaxPower", "QLabel", "MaxPower (mA)"},
    {"tbMaxPower", "QLineEdit", ""},
    {"cbRemoteWake", "QCheckBox", "Remote Wakeup"},
    {"cbSelfPower", "QCheckBox", "Self Powered"},
    {"frStrings", "QGroupBox", "Strings"},
    {"lblMfr", "QLabel", "Mfr String"},
    {"tbMfr", "QLineEdit", ""},
    {"lblProduct", "QLabel", "Product String"},
    {"tbProduct", "QLineEdit", ""},
    {"cbSerial", "QCheckBox", "Enable Serial"},
    {"lblSerial", "QLabel", "Serial String"},
    {"tbSerial", "QLineEdit", ""},
    {"cbKeepLayout", "QCheckBox", "Keep layout",
     "Program the strings where they were read, and change no other byte"},
    {"ImageNote", "QLabel", "Not read yet: Program writes what is shown, and there is no backup"},
    {"WordProgress", "QProgressBar", nullptr, "Words read or written"},
});

/// A running console whose FTDI window the user has opened.
struct FtdiWindowBench : WindowBench
{
    FtdiWindowBench()
    {
        run();
        open();
    }
    ~FtdiWindowBench() { console.shutDown(); }

    void open()
    {
        form.present();
        form.activateWindow();
        waitUntilActive(form);
    }
    void replyWords(int first, int count)
    {
        for (int i = first; i < first + count; ++i)
            answer("81 00"_hex + realEeprom().sliced(2 * i, 2));
    }
    void readAll()
    {
        button("btRead").click();
        replyWords(0, 64);
        sent();
    }

    QLineEdit &field(const char *name) { return child<QLineEdit>(form, name); }
    QPushButton &button(const char *name) { return child<QPushButton>(form, name); }
    QCheckBox &box(const char *name) { return child<QCheckBox>(form, name); }
    QProgressBar &bar() { return child<QProgressBar>(form, "WordProgress"); }
    void enter(const char *name, const QString &text)
    {
        QTest::mouseClick(&field(name), Qt::LeftButton);
        QTest::keyClick(&field(name), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&field(name), text);
    }

    FtdiUtility ftdi{session, console.requests(), dialogs, console.errors(), directory.path()};
    frmFTDI form{ftdi, &window};
};

} // namespace

class TestFrmFTDI : public QObject
{
    Q_OBJECT

private slots:
    void controls_data();
    void controls();
    void everyValueHasItsFace();
    void tabOrder();
    void opening();
    void fieldsAreCheckedWhenLeft_data();
    void fieldsAreCheckedWhenLeft();
    void checkBoxesChangeTheImage();
    void readShows();
    void runInTheWindow();
    void focusComesBack();
    void programByKeyCommitsTheField();
    void programByKeyOfABadField_data();
    void programByKeyOfABadField();
    void verify();
    void keepLayoutAppears();
    void keepLayoutByKey();
    void layoutQuestion();
    void noteOfARead();
    void escapeWhileReading();
    void escapeFromABadField();
    void opensAgain();
};

void TestFrmFTDI::controls_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(Rows.size()); ++i)
        QTest::newRow(Rows.at(static_cast<std::size_t>(i)).name) << i;
}

void TestFrmFTDI::controls()
{
    QFETCH(int, index);
    const Row &row = Rows.at(static_cast<std::size_t>(index));
    FtdiWindowBench bench;
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("FTDI Configuration Utility"));
    const auto &control = child<QWidget>(bench.form, row.name);
    QVERIFY2(control.inherits(row.kind), control.metaObject()->className());
    QCOMPARE(control.toolTip(), QLatin1String(row.toolTip));
    const char *caption = control.inherits("QGroupBox") ? "title" : "text";
    if (row.caption != nullptr)
        QCOMPARE(control.property(caption).toString(), QLatin1String(row.caption));
}

void TestFrmFTDI::everyValueHasItsFace()
{
    FtdiWindowBench bench;
    QCOMPARE(Binder::unbound(bench.ftdi.controls().all, bench.form), QStringList());
}

void TestFrmFTDI::tabOrder()
{
    FtdiWindowBench bench;
    QStringList order;
    for (int i = 0; i < 15; ++i) {
        order.append(bench.form.focusWidget()->objectName());
        QTest::keyClick(bench.form.focusWidget(), Qt::Key_Tab);
    }
    QStringList expected;
    for (const char *name : {"DevAddr", "btRead", "btProgram", "btVerify", "tbVID", "tbPID",
                             "tbMajRev", "tbMinRev", "tbMaxPower", "cbRemoteWake", "cbSelfPower",
                             "tbMfr", "tbProduct", "cbSerial", "tbSerial"})
        expected.append(QLatin1String(name));
    QCOMPARE(order, expected);
}

void TestFrmFTDI::opening()
{
    FtdiWindowBench bench;
    QVERIFY(bench.form.isVisible());
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.field("DevAddr").hasFocus());
    QVERIFY(!bench.box("cbSelfPower").isChecked());
    QVERIFY(bench.box("cbRemoteWake").isChecked());
    QVERIFY(bench.box("cbSerial").isChecked());
    QVERIFY(!bench.bar().isVisible());
}

void TestFrmFTDI::fieldsAreCheckedWhenLeft_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("shown");

    QTest::newRow("DevAddr") << "DevAddr"
                             << "200"
                             << "0x7F";
    QTest::newRow("tbVID") << "tbVID"
                           << "0x10c4"
                           << "0x10C4";
    QTest::newRow("tbPID") << "tbPID"
                           << "70000"
                           << "0xFFFF";
    QTest::newRow("tbMajRev") << "tbMajRev"
                              << "-1"
                              << "-1";
    QTest::newRow("tbMinRev") << "tbMinRev"
                              << "-1"
                              << "0";
    QTest::newRow("tbMaxPower") << "tbMaxPower"
                                << "101"
                                << "100";
    QTest::newRow("tbMfr") << "tbMfr" << QStringLiteral("\u20AC") << "";
    QTest::newRow("tbProduct") << "tbProduct" << QStringLiteral("a\u20AC") << "";
    QTest::newRow("tbSerial") << "tbSerial" << QStringLiteral("\u0100") << "";
}

void TestFrmFTDI::fieldsAreCheckedWhenLeft()
{
    QFETCH(QString, field);
    QFETCH(QString, entered);
    FtdiWindowBench bench;
    const QByteArray name = field.toLatin1();
    bench.field(name.constData()).setFocus();
    bench.field(name.constData()).selectAll();
    bench.field(name.constData()).insert(entered); // as pasted
    QTest::keyClick(&bench.field(name.constData()), Qt::Key_Tab);
    QTEST(bench.field(name.constData()).text(), "shown");
}

void TestFrmFTDI::checkBoxesChangeTheImage()
{
    FtdiWindowBench bench;
    bench.box("cbSelfPower").click();
    QCOMPARE(int{bench.ftdi.image().byte(8)}, 0xE0);
    bench.box("cbRemoteWake").click();
    QCOMPARE(int{bench.ftdi.image().byte(8)}, 0xC0);
    bench.box("cbSerial").click();
    QCOMPARE(int{bench.ftdi.image().byte(10)}, 0x10);
    QVERIFY(!bench.field("tbSerial").isEnabled());
    QVERIFY(!child<QLabel>(bench.form, "lblSerial").isEnabled());
}

void TestFrmFTDI::readShows()
{
    FtdiWindowBench bench;
    bench.readAll();
    QCOMPARE(bench.field("tbVID").text(), QStringLiteral("0x0403"));
    QCOMPARE(bench.field("tbPID").text(), QStringLiteral("0x6001"));
    QCOMPARE(bench.field("tbMajRev").text(), QStringLiteral("6"));
    QCOMPARE(bench.field("tbMinRev").text(), QStringLiteral("0"));
    QCOMPARE(bench.field("tbMaxPower").text(), QStringLiteral("100"));
    QCOMPARE(bench.field("tbMfr").text(), QStringLiteral("FTDI"));
    QCOMPARE(bench.field("tbProduct").text(), QStringLiteral("UM232R USB <-> Serial"));
    QCOMPARE(bench.field("tbSerial").text(), QStringLiteral("FTGXSYWJ"));
}

void TestFrmFTDI::runInTheWindow()
{
    FtdiWindowBench bench;
    const QSize size = bench.form.size();
    bench.button("btRead").click();
    QVERIFY(bench.bar().isVisible());
    QCOMPARE(bench.form.size(), size);
    QCOMPARE(bench.bar().maximum(), 64);
    QVERIFY(!bench.button("btRead").isEnabled());
    QVERIFY(!bench.button("btProgram").isEnabled());
    QVERIFY(!bench.button("btVerify").isEnabled());
    QVERIFY(!bench.field("DevAddr").isEnabled());
    bench.replyWords(0, 20);
    QCOMPARE(bench.bar().value(), 20);
    QCOMPARE(bench.bar().text(), QStringLiteral("20 of 64 words read"));
    bench.replyWords(20, 44);
    QCOMPARE(bench.bar().text(), QStringLiteral("64 of 64 words read"));
    QVERIFY(bench.button("btRead").isEnabled());
    QVERIFY(bench.button("btProgram").isEnabled());
    QVERIFY(bench.button("btVerify").isEnabled());
    QVERIFY(bench.field("DevAddr").isEnabled());

    bench.box("cbKeepLayout").click();
    bench.button("btProgram").click();
    for (int i = 0; i < 12; ++i)
        bench.answer("81 00"_hex);
    QCOMPARE(bench.bar().text(), QStringLiteral("10 of 64 words written"));
}

void TestFrmFTDI::focusComesBack()
{
    FtdiWindowBench bench;
    bench.button("btRead").setFocus();
    bench.button("btRead").click();
    bench.replyWords(0, 64);
    QVERIFY(bench.button("btRead").hasFocus());

    bench.field("tbProduct").setFocus();
    QTest::keyClick(&bench.field("tbProduct"), Qt::Key_R, Qt::AltModifier);
    QTRY_VERIFY(!bench.field("tbProduct").isEnabled());
    bench.replyWords(0, 64);
    QVERIFY(bench.field("tbProduct").hasFocus());
}

void TestFrmFTDI::programByKeyCommitsTheField()
{
    FtdiWindowBench bench;
    bench.enter("tbMaxPower", QStringLiteral("201"));
    QTest::keyClick(&bench.field("tbMaxPower"), Qt::Key_P, Qt::AltModifier);
    QTRY_COMPARE(bench.field("tbMaxPower").text(), QStringLiteral("200"));
    QCOMPARE(int{bench.ftdi.image().byte(9)}, 100);
    QCOMPARE(bench.sent(), "1b53 01 02 40 92 0000 0000 0000 1b45"_hex.toHex());
}

void TestFrmFTDI::programByKeyOfABadField_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("box");

    const QString overflow = QStringLiteral("Overflow");
    QTest::newRow("power") << "tbMaxPower"
                           << "1e12" << overflow;
    QTest::newRow("VID") << "tbVID"
                         << "1e12" << overflow;
    QTest::newRow("string") << "tbMfr" << QStringLiteral("\u20AC")
                            << QStringLiteral("Strings hold one byte a character: "
                                              "\"\u20AC\" cannot be stored");
}

void TestFrmFTDI::programByKeyOfABadField()
{
    QFETCH(QString, field);
    QFETCH(QString, entered);
    FtdiWindowBench bench;
    const QByteArray name = field.toLatin1();
    bench.field(name.constData()).setFocus();
    bench.field(name.constData()).insert(entered);
    QTest::keyClick(&bench.field(name.constData()), Qt::Key_P, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1);
    QTEST(bench.dialogs.messages[0].text, "box");
    QCOMPARE(bench.sent(), QByteArray());

    bench.field(name.constData()).selectAll();
    bench.field(name.constData()).del();
    bench.button("btRead").setFocus();
    bench.button("btRead").click(); // holds nothing back for ever
    QCOMPARE(bench.sent(), "1b53 01 02 c0 90 0000 0000 0200 1b45"_hex.toHex());
}

void TestFrmFTDI::verify()
{
    FtdiWindowBench bench;
    bench.readAll();
    bench.box("cbKeepLayout").click();
    QTest::keyClick(&bench.form, Qt::Key_V, Qt::AltModifier);
    QTRY_VERIFY(!bench.button("btVerify").isEnabled());
    bench.replyWords(0, 64);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("All 64 EEPROM words agree with the image"));
}

/// Nothing else moves, and the window keeps its size.
void TestFrmFTDI::keepLayoutAppears()
{
    FtdiWindowBench bench;
    const auto places = [&bench] {
        QList<QRect> found{bench.form.geometry()};
        for (const Row &row : Rows) {
            const auto &control = child<QWidget>(bench.form, row.name);
            found.append({control.mapTo(&bench.form, QPoint()), control.size()});
        }
        return found;
    };
    QVERIFY(!bench.box("cbKeepLayout").isVisible());
    const QList<QRect> before = places();
    bench.readAll();
    QVERIFY(bench.box("cbKeepLayout").isVisible());
    QVERIFY(!bench.box("cbKeepLayout").isChecked());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(places(), before);
}

void TestFrmFTDI::keepLayoutByKey()
{
    FtdiWindowBench bench;
    bench.readAll();
    QTest::keyClick(&bench.form, Qt::Key_K, Qt::AltModifier);
    QTRY_VERIFY(bench.box("cbKeepLayout").isChecked());
    bench.button("btProgram").click();
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.sent(), "1b53 01 02 40 92 0000 0000 0000 1b45"_hex.toHex());
}

void TestFrmFTDI::layoutQuestion()
{
    FtdiWindowBench bench;
    bench.readAll();
    bench.dialogs.answers = {Answer::No};
    bench.button("btProgram").click();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.dialogs.messages[0].noIsDefault);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.button("btProgram").isEnabled());
}

void TestFrmFTDI::noteOfARead()
{
    FtdiWindowBench bench;
    auto &note = child<QLabel>(bench.form, "ImageNote");
    QVERIFY(note.isVisible());
    bench.readAll();
    QCOMPARE(note.text(), QString());
    bench.button("btRead").click();
    bench.replyWords(0, 63);
    bench.answer("81 00 0000"_hex);
    QCOMPARE(note.text(), QStringLiteral("Wrong checksum: 0x0000 instead of 0x1309"));
    QVERIFY(note.height() >= 2 * note.fontMetrics().lineSpacing());
}

void TestFrmFTDI::escapeWhileReading()
{
    FtdiWindowBench bench;
    bench.button("btRead").click();
    bench.replyWords(0, 3);
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(10);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.open();
    QVERIFY(bench.button("btRead").isEnabled());
    QVERIFY(!bench.bar().isVisible());
}

void TestFrmFTDI::escapeFromABadField()
{
    FtdiWindowBench bench;
    bench.field("tbMfr").setFocus();
    bench.field("tbMfr").insert(QStringLiteral("\u20AC"));
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFrmFTDI::opensAgain()
{
    FtdiWindowBench bench;
    bench.readAll();
    bench.enter("DevAddr", QStringLiteral("5"));
    bench.form.close();
    bench.open();
    QCOMPARE(bench.field("DevAddr").text(), QStringLiteral("0x02"));
    QCOMPARE(bench.field("tbVID").text(), QString());
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
}

VANTREL_WINDOW_TEST(TestFrmFTDI)
#include "tst_frmftdi.moc"
