// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/SessionState.h"
#include "support/TestProgram.h"

#include <QLocale>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The current reply of both models.
class TestCurrent : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void vorn1_data();
    void vorn1();
    void vorn2_data();
    void vorn2();
    void otherModels();
    void touchesNothingElse();
    void localeDoesNotMatter();
};

void TestCurrent::vorn1_data()
{
    QTest::addColumn<QByteArray>("measured");
    QTest::addColumn<QString>("shown");

    const auto row = [](const QByteArray &measured, const char *shown) {
        QTest::addRow("%s", measured.toHex(' ').constData())
            << measured << QString::fromLatin1(shown);
    };
    row("00 00"_hex, " 0 mA");
    row("00 01"_hex, " 0 mA");
    row("00 07"_hex, " 0 mA");
    row("00 08"_hex, " 0 mA"); // 2.0 is not above the offset
    row("00 09"_hex, " 0.25 mA");
    row("00 0a"_hex, " 0.5 mA");
    row("00 0c"_hex, " 1 mA");
    row("00 39"_hex, " 12.25 mA");
    row("00 ff"_hex, " 61.75 mA");
    row("01 00"_hex, " 62 mA");
    row("01 01"_hex, " 62.25 mA");
    row("07 d0"_hex, " 498 mA");
    row("80 00"_hex, " 8190 mA");
    row("ff ff"_hex, " 16381.75 mA");
}

void TestCurrent::vorn1()
{
    QFETCH(QByteArray, measured);
    QFETCH(QString, shown);

    ProtocolBench bench;
    bench.session.TesterModel = 1;
    bench.dispatch("8e"_hex + measured);
    QCOMPARE(bench.session.Main.CurrWin.text(), shown);
}

void TestCurrent::vorn2_data()
{
    QTest::addColumn<QByteArray>("count");
    QTest::addColumn<QString>("shown");

    const auto row = [](const QByteArray &count, const char *shown) {
        QTest::addRow("%s", count.toHex().constData()) << count << QString::fromLatin1(shown);
    };
    row("00 00 00 00"_hex, "0 uA");
    row("00 00 00 01"_hex, "2 uA");   // 2.96
    row("00 00 00 02"_hex, "5 uA");   // 5.92
    row("00 00 01 51"_hex, "997 uA"); // 337
    row("00 00 01 52"_hex, "1.00 mA");
    row("00 00 84 00"_hex, "100.00 mA");
    row("00 02 93 fe"_hex, "500.00 mA");  // 0.49999741 A
    row("00 05 27 fc"_hex, "999.99 mA");  // 0.99999482 A
    row("00 05 27 fd"_hex, "1000.00 mA"); // 0.99999778 A
    row("00 05 27 fe"_hex, "1.000 A");    // 1.00000074 A
    row("00 08 00 00"_hex, "1.552 A");
    row("7f ff ff ff"_hex, "6355.048 A");
    row("80 00 00 00"_hex, "6355.048 A"); // 2^31 stays positive
    row("80 00 00 01"_hex, "-6355.048 A");
    row("ff fa d8 02"_hex, "-1.000 A");
    row("ff fa d8 03"_hex, "-1000.00 mA");
    row("ff ff fc 18"_hex, "-2.96 mA");
    row("ff ff fe ae"_hex, "-1.00 mA");
    row("ff ff fe af"_hex, "-998 uA"); // -997.28, downwards
    row("ff ff ff fe"_hex, "-6 uA");
    row("ff ff ff ff"_hex, "-3 uA");
}

void TestCurrent::vorn2()
{
    QFETCH(QByteArray, count);
    QFETCH(QString, shown);

    ProtocolBench bench;
    bench.session.TesterModel = 2;
    bench.dispatch("8e"_hex + count);
    QCOMPARE(bench.session.Main.CurrWin.text(), shown);
}

void TestCurrent::otherModels()
{
    for (const qint16 model : {qint16{0}, qint16{3}, qint16{-1}}) {
        ProtocolBench bench;
        bench.session.TesterModel = model;
        bench.dispatch("8e 00 00 01 52"_hex);
        QCOMPARE(bench.session.Main.CurrWin.text(), QLatin1String("1.00 mA"));
    }
}

void TestCurrent::touchesNothingElse()
{
    ProtocolBench expected;
    expected.session.Main.CurrWin.setText(QStringLiteral("1.00 mA"));
    ProtocolBench bench;
    bench.dispatch("8e 00 00 01 52"_hex);
    QCOMPARE(stateOf(bench.session), stateOf(expected.session));
}

void TestCurrent::localeDoesNotMatter()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    ProtocolBench bench;
    bench.dispatch("8e 00 05 27 fe"_hex);
    QCOMPARE(bench.session.Main.CurrWin.text(), QLatin1String("1.000 A"));
    bench.session.TesterModel = 1;
    bench.dispatch("8e ff ff"_hex);
    QCOMPARE(bench.session.Main.CurrWin.text(), QLatin1String(" 16381.75 mA"));
}

VANTREL_TEST(TestCurrent)
#include "tst_current.moc"
