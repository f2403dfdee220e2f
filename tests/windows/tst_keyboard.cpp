// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/WindowBench.h"

#include <QApplication>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// Names of the controls that Tab visits, from `first` until it comes round.
QStringList tabWalk(WindowBench &bench, const char *first)
{
    QStringList names;
    bench.widget(first).setFocus();
    do {
        names.append(QApplication::focusWidget()->objectName());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    } while (names.size() < 50 && QApplication::focusWidget()->objectName() != names.first());
    return names;
}

QStringList words(const char *names)
{
    return QString::fromLatin1(names).split(QLatin1Char(' '));
}

} // namespace

/// A whole session without a mouse.
class TestKeyboard : public QObject
{
    Q_OBJECT

private slots:
    void tabOrderAtStartUp();
    void tabOrderWhileRunning();
    void optionsByArrows();
    void connectKeepsTheFocus();
    void mnemonics_data();
    void mnemonics();
    void itemByMnemonic();
};

void TestKeyboard::tabOrderAtStartUp()
{
    WindowBench bench;
    QCOMPARE(tabWalk(bench, "Comm1"), words("Comm1 cbNWName Connect ClrResp CmdWin RespWin"));
}

void TestKeyboard::tabOrderWhileRunning()
{
    WindowBench bench;
    bench.run();
    bench.answer(QByteArray::fromHex("8b46"));
    bench.type("VoltWin", QStringLiteral("5.00"));
    QCOMPARE(tabWalk(bench, "Connect"),
             words("Connect Automode cbHSInhibit USBReset Suspend ClrResp VoltWin VoltSet "
                   "VoltDisable Vcc_AR ScriptLoad CmdWin RespWin"));
}

void TestKeyboard::optionsByArrows()
{
    WindowBench bench;
    bench.widget("Comm1").setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QVERIFY(!bench.main.Comm1.isChecked());
    const auto &focused = *qobject_cast<QRadioButton *>(QApplication::focusWidget());
    QVERIFY(focused.isChecked());
    QCOMPARE(focused.objectName(), QStringLiteral("Comm3"));
    QVERIFY(bench.main.Comm3.isChecked());
}

void TestKeyboard::connectKeepsTheFocus()
{
    WindowBench bench;
    const auto &button = bench.find<QPushButton>("Connect");
    bench.widget("Connect").setFocus();
    for (const char *caption : {"Disconnect", "Connect"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(button.text(), QString::fromLatin1(caption));
        QVERIFY(button.hasFocus());
    }
}

void TestKeyboard::mnemonics_data()
{
    QTest::addColumn<QString>("menu");
    QTest::addColumn<int>("key");
    QTest::newRow("File") << QStringLiteral("File") << static_cast<int>(Qt::Key_F);
    QTest::newRow("Utilities") << QStringLiteral("Utilities") << static_cast<int>(Qt::Key_U);
    QTest::newRow("Configure") << QStringLiteral("mnuConfigure") << static_cast<int>(Qt::Key_C);
    QTest::newRow("Help") << QStringLiteral("Help") << static_cast<int>(Qt::Key_H);
}

void TestKeyboard::mnemonics()
{
    QFETCH(QString, menu);
    QFETCH(int, key);
    WindowBench bench;
    QTest::keyClick(&bench.window, static_cast<Qt::Key>(key), Qt::AltModifier);
    const auto &opened = bench.find<QMenu>(menu.toLatin1().constData());
    QTRY_VERIFY(opened.isVisible());
}

void TestKeyboard::itemByMnemonic()
{
    WindowBench bench;
    bench.dialogs.paths = {bench.directory.filePath(QStringLiteral("keys.log"))};
    auto &menu = bench.find<QMenu>("File");
    QTest::keyClick(&bench.window, Qt::Key_F, Qt::AltModifier);
    QTRY_VERIFY(menu.isVisible());
    QTest::keyClick(&menu, Qt::Key_N);
    QTRY_VERIFY(bench.session.Logging);

    QTest::keyClick(&bench.window, Qt::Key_F, Qt::AltModifier);
    QTRY_VERIFY(menu.isVisible());
    QTest::keyClick(&menu, Qt::Key_C);
    QTRY_VERIFY(!bench.session.Logging);
}

VANTREL_WINDOW_TEST(TestKeyboard)
#include "tst_keyboard.moc"
