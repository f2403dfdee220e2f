// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/Shades.h"
#include "windows/WindowBench.h"

#include <QLabel>
#include <QLineEdit>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// Colours of a status field as they are shown.
struct Shown
{
    QColor text;
    QColor background;

    bool operator==(const Shown &) const = default;
};

struct StatusBench : WindowBench
{
    StatusBench()
    {
        session.timeOfDay = [] { return QTime(9, 5, 7); };
        run();
        answerStatus();
    }

    void answerStatus()
    {
        answer("8b 4c"_hex);
        answer("8e 00 00 15 aa"_hex);
    }
    void disconnect()
    {
        press("Connect");
        tick();
    }
    Shown shown(const char *field)
    {
        const QWidget &face = widget(field);
        const bool entry = qobject_cast<const QLineEdit *>(&face) != nullptr;
        return {face.palette().color(entry ? QPalette::Text : face.foregroundRole()),
                face.palette().color(entry ? QPalette::Base : face.backgroundRole())};
    }
};

constexpr std::array Fields{"conxsts", "power", "vornstate", "CurrWin"};
const QList<QColor> Windows{QColor(42, 46, 50), QColor(30, 30, 30), QColor(239, 239, 239),
                            QColor(Qt::white)};

} // namespace

/// The status fields of the main window once the tester does not answer any more.
class TestStaleFields : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_palette = QApplication::palette(); }
    void cleanup() { QApplication::setPalette(m_palette); }

    void greyedAndBack_data();
    void greyedAndBack();
    void followsThePalette();
    void staysReadableWhileTheWindowIsLocked();

private:
    QPalette m_palette;
};

void TestStaleFields::greyedAndBack_data()
{
    QTest::addColumn<QColor>("window");
    for (const QColor &window : Windows)
        QTest::newRow(qPrintable(window.name())) << window;
}

void TestStaleFields::greyedAndBack()
{
    QFETCH(QColor, window);

    QApplication::setPalette(QPalette(window));
    StatusBench bench;
    QHash<const char *, Shown> fresh;
    for (const char *field : Fields)
        fresh.insert(field, bench.shown(field));
    QCOMPARE(fresh["vornstate"].background, QColor(255, 0, 0));

    bench.disconnect();
    QCOMPARE(bench.find<QLabel>("conxsts").text(), QStringLiteral("High Speed"));
    QCOMPARE(bench.find<QLabel>("power").text(), QStringLiteral("On"));
    QCOMPARE(bench.find<QLabel>("vornstate").text(), QStringLiteral("Suspended"));
    QCOMPARE(bench.find<QLineEdit>("CurrWin").text(), QStringLiteral("16.41 mA"));
    for (const char *field : Fields) {
        const Shown stale = bench.shown(field);
        QVERIFY2(stale.text != fresh[field].text, field);
        QVERIFY2(shades::contrast(stale.text, stale.background) >= 4.5, field);
        QVERIFY2(shades::contrast(stale.text, stale.background) <
                         shades::contrast(fresh[field].text, fresh[field].background) ||
                     stale.background != fresh[field].background,
                 field);
        QCOMPARE(bench.widget(field).toolTip(), QStringLiteral("as of 09:05:07"));
    }
    QVERIFY(bench.shown("vornstate").background.hsvSaturation() < 200); // no longer alarming

    bench.run();
    bench.answerStatus();
    for (const char *field : Fields) {
        QVERIFY2(bench.shown(field) == fresh[field], field);
        QCOMPARE(bench.widget(field).toolTip(), QString());
    }
}

void TestStaleFields::followsThePalette()
{
    StatusBench bench;
    bench.disconnect();
    for (const QColor &window : Windows) {
        QApplication::setPalette(QPalette(window));
        QTRY_COMPARE(bench.window.palette().color(QPalette::Window), window);
        for (const char *field : Fields) {
            QTRY_VERIFY2(shades::contrast(bench.shown(field).text, bench.shown(field).background) >=
                             4.5,
                         field);
            QVERIFY2(bench.shown(field).text != QPalette(window).color(QPalette::WindowText),
                     field);
        }
        QCOMPARE(bench.shown("CurrWin").background, window);
    }
}

void TestStaleFields::staysReadableWhileTheWindowIsLocked()
{
    StatusBench bench;
    bench.disconnect();
    bench.main.Window.setEnabled(false);
    for (const char *field : {"conxsts", "power", "vornstate"}) {
        const Shown stale = bench.shown(field);
        QVERIFY2(shades::contrast(stale.text, stale.background) >= 4.5, field);
    }
}

VANTREL_WINDOW_TEST(TestStaleFields)
#include "tst_stalefields.moc"
