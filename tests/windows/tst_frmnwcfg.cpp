// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/NetworkConfig.h"
#include "maintenance/frmNWCfg.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/WindowBench.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct Row
{
    const char *name;
    const char *kind;
    const char *caption;
};

constexpr auto Rows = std::to_array<Row>({
    {"frIP", "QGroupBox", ""},
    {"lblIP", "QLabel", "Vorn 2 IP Address"},
    {"tbIP_0", "QLineEdit", ""},
    {"tbIP_1", "QLineEdit", ""},
    {"tbIP_2", "QLineEdit", ""},
    {"tbIP_3", "QLineEdit", ""},
    {"lblGWIP", "QLabel", "Gateway IP Address"},
    {"tbGWIP_0", "QLineEdit", ""},
    {"tbGWIP_1", "QLineEdit", ""},
    {"tbGWIP_2", "QLineEdit", ""},
    {"tbGWIP_3", "QLineEdit", ""},
    {"lblMask", "QLabel", "Net Mask"},
    {"tbMask_0", "QLineEdit", ""},
    {"tbMask_1", "QLineEdit", ""},
    {"tbMask_2", "QLineEdit", ""},
    {"tbMask_3", "QLineEdit", ""},
    {"frMAC", "QGroupBox", ""},
    {"cbMACEnbl", "QCheckBox", "Enable MAC Modification"},
    {"lblMAC", "QLabel", "MAC Address"},
    {"tbMAC_0", "QLineEdit", ""},
    {"tbMAC_1", "QLineEdit", ""},
    {"tbMAC_2", "QLineEdit", ""},
    {"tbMAC_3", "QLineEdit", ""},
    {"tbMAC_4", "QLineEdit", ""},
    {"tbMAC_5", "QLineEdit", ""},
    {"lblHint", "QLabel", ""},
    {"btUpdate", "QPushButton", "Update"},
    {"btCancel", "QPushButton", "Cancel"},
});

/// A running console whose network settings the user has opened.
struct NetworkWindowBench : WindowBench
{
    NetworkWindowBench()
    {
        run();
        open();
    }
    ~NetworkWindowBench() { console.shutDown(); }

    void open()
    {
        form.present();
        form.activateWindow();
        waitUntilActive(form);
    }
    void show() { answer("b6 c0a8010a c0a80101 ffffff00 00a2c3d4e5f6"_hex); }

    QLineEdit &box(const char *name) { return child<QLineEdit>(form, name); }
    QString hint() { return child<QLabel>(form, "lblHint").text(); }
    QPushButton &button(const char *name) { return child<QPushButton>(form, name); }
    void enter(const char *name, const char *text)
    {
        QTest::mouseClick(&box(name), Qt::LeftButton);
        QTest::keyClick(&box(name), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&box(name), QLatin1String(text));
    }

    NetworkConfig config{session, console.commands(), dialogs, console.errors()};
    frmNWCfg form{config, &window};
};

} // namespace

class TestFrmNWCfg : public QObject
{
    Q_OBJECT

private slots:
    void controls_data();
    void controls();
    void everyValueHasItsFace();
    void tabOrder();
    void opening();
    void recordIsShown();
    void boxesAreCheckedWhenLeft();
    void maskIsNot();
    void macModification();
    void hintFollowsEveryKey();
    void updateWritesAndCloses();
    void updateByKeyCommitsTheBox();
    void updateByKeyOfABadBox();
    void updateRefusesABadMask();
    void cancelCloses();
    void escapeWhileReading();
    void escapeFromABadBox();
    void opensAgain();
};

void TestFrmNWCfg::controls_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(Rows.size()); ++i)
        QTest::newRow(Rows.at(static_cast<std::size_t>(i)).name) << i;
}

void TestFrmNWCfg::controls()
{
    QFETCH(int, index);
    const Row &row = Rows.at(static_cast<std::size_t>(index));
    NetworkWindowBench bench;
    QCOMPARE(bench.form.windowTitle(), QStringLiteral("Network Configuration"));
    const auto &control = child<QWidget>(bench.form, row.name);
    QVERIFY2(control.inherits(row.kind), control.metaObject()->className());
    const char *caption = control.inherits("QGroupBox") ? "title" : "text";
    QCOMPARE(control.property(caption).toString(), QLatin1String(row.caption));
    QCOMPARE(control.toolTip(), QString());
}

void TestFrmNWCfg::everyValueHasItsFace()
{
    NetworkWindowBench bench;
    QCOMPARE(Binder::unbound(bench.config.controls().all, bench.form), QStringList());
}

void TestFrmNWCfg::tabOrder()
{
    NetworkWindowBench bench;
    bench.show();
    bench.dialogs.answers = {Answer::Yes};
    child<QCheckBox>(bench.form, "cbMACEnbl").click();
    bench.box("tbIP_0").setFocus();
    QStringList order;
    for (int i = 0; i < 21; ++i) {
        order.append(bench.form.focusWidget()->objectName());
        QTest::keyClick(bench.form.focusWidget(), Qt::Key_Tab);
    }
    QStringList expected;
    for (const char *array : {"tbIP", "tbGWIP", "tbMask"}) {
        for (int i = 0; i < 4; ++i)
            expected.append(QStringLiteral("%1_%2").arg(QLatin1String(array)).arg(i));
    }
    expected.append(QStringLiteral("cbMACEnbl"));
    for (int i = 0; i < 6; ++i)
        expected.append(QStringLiteral("tbMAC_%1").arg(i));
    expected += {QStringLiteral("btUpdate"), QStringLiteral("btCancel")};
    QCOMPARE(order, expected);
}

void TestFrmNWCfg::opening()
{
    NetworkWindowBench bench;
    QVERIFY(bench.form.isVisible());
    QCOMPARE(bench.sent(), "1b53 36 0010 0012 1b45"_hex.toHex());
    QVERIFY(bench.box("tbIP_0").hasFocus());
    QVERIFY(!bench.box("tbMAC_0").isEnabled());
    QVERIFY(!child<QCheckBox>(bench.form, "cbMACEnbl").isChecked());
    QCOMPARE(bench.box("tbMask_3").text(), QString());
    QVERIFY(!bench.button("btUpdate").isEnabled()); // until the settings have been read
}

void TestFrmNWCfg::recordIsShown()
{
    NetworkWindowBench bench;
    bench.show();
    QCOMPARE(bench.box("tbIP_0").text(), QStringLiteral("192"));
    QCOMPARE(bench.box("tbIP_3").text(), QStringLiteral("10"));
    QCOMPARE(bench.box("tbGWIP_3").text(), QStringLiteral("1"));
    QCOMPARE(bench.box("tbMask_2").text(), QStringLiteral("255"));
    QCOMPARE(bench.box("tbMAC_1").text(), QStringLiteral("A2"));
    QCOMPARE(bench.box("tbMAC_4").text(), QStringLiteral("E5"));
    QCOMPARE(bench.box("tbMAC_5").text(), QStringLiteral("F6"));
}

void TestFrmNWCfg::boxesAreCheckedWhenLeft()
{
    NetworkWindowBench bench;
    bench.show();
    for (int i = 0; i < 4; ++i) {
        const QByteArray ip = "tbIP_" + QByteArray::number(i);
        const QByteArray gateway = "tbGWIP_" + QByteArray::number(i);
        bench.enter(ip.constData(), "300");
        QTest::keyClick(&bench.box(ip.constData()), Qt::Key_Tab);
        QCOMPARE(bench.box(ip.constData()).text(), QStringLiteral("255"));
        bench.enter(gateway.constData(), "abc");
        QTest::keyClick(&bench.box(gateway.constData()), Qt::Key_Return);
        QCOMPARE(bench.box(gateway.constData()).text(), QStringLiteral("0"));
    }
}

void TestFrmNWCfg::maskIsNot()
{
    NetworkWindowBench bench;
    bench.show();
    bench.enter("tbMask_1", "300");
    QTest::keyClick(&bench.box("tbMask_1"), Qt::Key_Tab);
    QCOMPARE(bench.box("tbMask_1").text(), QStringLiteral("300"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFrmNWCfg::macModification()
{
    NetworkWindowBench bench;
    bench.show();
    auto &enable = child<QCheckBox>(bench.form, "cbMACEnbl");
    bench.dialogs.answers = {Answer::No, Answer::Yes};
    enable.click();
    QVERIFY(!enable.isChecked());
    QVERIFY(!bench.box("tbMAC_0").isEnabled());
    enable.click();
    QVERIFY(enable.isChecked());
    for (int i = 0; i < 6; ++i) {
        const QByteArray name = "tbMAC_" + QByteArray::number(i);
        QVERIFY(bench.box(name.constData()).isEnabled());
        bench.enter(name.constData(), "1g");
        QTest::keyClick(&bench.box(name.constData()), Qt::Key_Tab);
        QCOMPARE(bench.box(name.constData()).text(), QStringLiteral("01"));
    }
    enable.click();
    QVERIFY(!bench.box("tbMAC_0").isEnabled());
    QCOMPARE(bench.dialogs.messages.size(), 2);
}

void TestFrmNWCfg::hintFollowsEveryKey()
{
    NetworkWindowBench bench;
    bench.show();
    QCOMPARE(bench.hint(), QString());
    const QSize size = bench.form.size();
    QLineEdit &box = bench.box("tbGWIP_2");
    bench.enter("tbGWIP_2", "2");
    QCOMPARE(bench.hint(), QStringLiteral("The gateway is outside the tester's subnet"));
    QTest::keyClick(&box, Qt::Key_Backspace);
    QTest::keyClick(&box, Qt::Key_1);
    QCOMPARE(bench.hint(), QString());
    QCOMPARE(bench.form.size(), size);
}

void TestFrmNWCfg::updateWritesAndCloses()
{
    NetworkWindowBench bench;
    bench.show();
    bench.sent();
    bench.enter("tbIP_3", "300");
    QTest::mouseClick(&bench.button("btUpdate"), Qt::LeftButton);
    QCOMPARE(bench.sent(), "1b53 35 0010 c0a801ff c0a80101 ffffff00 00a2c3d4e5f6 1b45"_hex.toHex());
    QVERIFY(!bench.form.isVisible());
}

void TestFrmNWCfg::updateByKeyCommitsTheBox()
{
    NetworkWindowBench bench;
    bench.show();
    bench.sent();
    bench.enter("tbIP_3", "300");
    QTest::keyClick(&bench.box("tbIP_3"), Qt::Key_U, Qt::AltModifier);
    QTRY_VERIFY(!bench.form.isVisible());
    QCOMPARE(bench.sent(), "1b53 35 0010 c0a801ff c0a80101 ffffff00 00a2c3d4e5f6 1b45"_hex.toHex());
}

void TestFrmNWCfg::updateByKeyOfABadBox()
{
    NetworkWindowBench bench;
    bench.show();
    bench.sent();
    bench.enter("tbIP_3", "70000");
    QTest::keyClick(&bench.box("tbIP_3"), Qt::Key_U, Qt::AltModifier);
    QTRY_COMPARE(bench.dialogs.messages.size(), 1); // one box, not one for each that objects
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.form.isVisible());
}

void TestFrmNWCfg::updateRefusesABadMask()
{
    NetworkWindowBench bench;
    bench.show();
    bench.sent();
    bench.enter("tbMask_3", "256");
    QTest::mouseClick(&bench.button("btUpdate"), Qt::LeftButton);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.form.isVisible());
}

void TestFrmNWCfg::cancelCloses()
{
    NetworkWindowBench bench;
    bench.show();
    bench.sent();
    QTest::keyClick(&bench.form, Qt::Key_C, Qt::AltModifier);
    QTRY_VERIFY(!bench.form.isVisible());
    QCOMPARE(bench.sent(), QByteArray());
}

void TestFrmNWCfg::escapeWhileReading()
{
    NetworkWindowBench bench;
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFrmNWCfg::escapeFromABadBox()
{
    NetworkWindowBench bench;
    bench.show();
    bench.enter("tbIP_0", "70000");
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    QVERIFY(!bench.form.isVisible());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestFrmNWCfg::opensAgain()
{
    NetworkWindowBench bench;
    bench.show();
    bench.form.close();
    bench.sent();
    bench.open();
    QCOMPARE(bench.sent(), "1b53 36 0010 0012 1b45"_hex.toHex());
    QCOMPARE(bench.box("tbIP_0").text(), QString());
    bench.show();
    QCOMPARE(bench.box("tbIP_0").text(), QStringLiteral("192"));
}

VANTREL_WINDOW_TEST(TestFrmNWCfg)
#include "tst_frmnwcfg.moc"
