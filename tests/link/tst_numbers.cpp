// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "link/publicvars.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QLocale>
#include <QTest>

#include <cmath>
#include <limits>

using namespace vantrel;
using vantrel::test::thrownBy;

namespace {
const QString Overflow = QStringLiteral("Overflow");
constexpr double Infinity = std::numeric_limits<double>::infinity();
} // namespace

/// Number parsing and rendering.
class TestNumbers : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void parseNumber_data();
    void parseNumber();
    void parseNumberOverflow_data();
    void parseNumberOverflow();
    void hexToLong_data();
    void hexToLong();
    void hexToLongOverflow_data();
    void hexToLongOverflow();
    void numericValue_data();
    void numericValue();
    void roundToLong_data();
    void roundToLong();
    void roundToLongOverflow_data();
    void roundToLongOverflow();
    void hexByte_data();
    void hexByte();
    void hexRendering();
    void numberText_data();
    void numberText();
    void fixedText_data();
    void fixedText();
    void localeDoesNotMatter();
    void tickWrap_data();
    void tickWrap();
    void deadlineIn_data();
    void deadlineIn();
    void logSizeText();
    void countedBytes_data();
    void countedBytes();
};

void TestNumbers::parseNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("value");
    QTest::addColumn<QString>("left");

    const auto row = [](const char *text, qint32 value, const char *left) {
        QTest::addRow("\"%s\"", text)
            << QString::fromLatin1(text) << value << QString::fromLatin1(left);
    };
    row("  0x1f  ", 31, "0x1f");
    row("0X1F", 31, "0X1F");
    row("0X", 0, "0X");
    row("0x", 0, "0x");
    row("0xZZ", 0, "0xZZ");
    row("0x 1 f", 31, "0x 1 f");
    row("0x-1", 1, "0x-1");
    row("0x7FFFFFFF", 2147483647, "0x7FFFFFFF");
    row(" x1f", 0, "x1f");
    row("00x1f", 0, "00x1f");
    row("-0x10", 0, "-0x10");
    row("12abc", 12, "12abc");
    row("", 0, "");
    row("   ", 0, "");
    row("abc", 0, "abc");
    row("2.5", 2, "2.5");
    row("3.5", 4, "3.5");
    row("0.5", 0, "0.5");
    row("1.5", 2, "1.5");
    row("-2.5", -2, "-2.5");
    row("-3.5", -4, "-3.5");
    row("2.51", 3, "2.51");
    row("2.49", 2, "2.49");
    row(" 42 ", 42, "42");
    row("\t42", 42, "\t42");
    row(" \t42\t ", 42, "\t42\t");
    row("42\n", 42, "42\n");
    row("1 2", 12, "1 2");
    row("-17", -17, "-17");
    row("+17", 17, "+17");
    row("1e3", 1000, "1e3");
    row("&H1F", 31, "&H1F");
    row("&o17", 15, "&o17");
    row("2147483647", 2147483647, "2147483647");
    row("2147483647.4", 2147483647, "2147483647.4");
    row("-2147483648", std::numeric_limits<qint32>::min(), "-2147483648");
    row("-2147483648.5", std::numeric_limits<qint32>::min(), "-2147483648.5");
}

void TestNumbers::parseNumber()
{
    QFETCH(QString, text);
    QFETCH(qint32, value);
    QFETCH(QString, left);

    QCOMPARE(ParseNumber(text), value);
    QCOMPARE(text, left);
}

void TestNumbers::parseNumberOverflow_data()
{
    QTest::addColumn<QString>("text");

    for (const char *text : {"2147483648", "2147483647.5", "-2147483649", "-2147483648.6", "1e10",
                             "1e400", "0x80000000", "0xFFFFFFFF", "&H100000000"})
        QTest::addRow("%s", text) << QString::fromLatin1(text);
}

void TestNumbers::parseNumberOverflow()
{
    QFETCH(QString, text);

    QCOMPARE(thrownBy([&] { ParseNumber(text); }), Overflow);
}

void TestNumbers::hexToLong_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("value");

    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("largest") << QStringLiteral("7FFFFFFF") << 2147483647;
    QTest::newRow("largest, lower case") << QStringLiteral("7fffffff") << 2147483647;
    QTest::newRow("leading zeros") << QStringLiteral("000000000000000012") << 0x12;
    QTest::newRow("all digits") << QStringLiteral("1234567") << 0x1234567;
    QTest::newRow("all letters") << QStringLiteral("abcdef") << 0xABCDEF;
    QTest::newRow("all capitals") << QStringLiteral("ABCDEF") << 0xABCDEF;
    QTest::newRow("8 and 9") << QStringLiteral("89") << 0x89;
    QTest::newRow("a letter skipped") << QStringLiteral("1G2") << 0x12;
    QTest::newRow("a blank skipped") << QStringLiteral("12 34") << 0x1234;
    QTest::newRow("a sign skipped") << QStringLiteral("-1") << 1;
    QTest::newRow("neighbours of the digits") << QStringLiteral("/:@G`g1") << 1;
    QTest::newRow("full-width digits skipped") << QStringLiteral("\uFF11"
                                                                 "2")
                                               << 2;
}

void TestNumbers::hexToLong()
{
    QFETCH(QString, text);
    QFETCH(qint32, value);

    QCOMPARE(HexToLong(text), value);
}

void TestNumbers::hexToLongOverflow_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("one too many") << QStringLiteral("80000000");
    QTest::newRow("32 bits") << QStringLiteral("FFFFFFFF");
    QTest::newRow("nine digits") << QStringLiteral("100000000");
    QTest::newRow("beyond 64 bits") << QString(64, QLatin1Char('F'));
}

void TestNumbers::hexToLongOverflow()
{
    QFETCH(QString, text);

    QCOMPARE(thrownBy([&] { HexToLong(text); }), Overflow);
}

void TestNumbers::numericValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");

    const auto row = [](const char *text, double value) {
        QTest::addRow("\"%s\"", text) << QString::fromLatin1(text) << value;
    };
    row("", 0);
    row("volts", 0);
    row(".", 0);
    row("-", 0);
    row("e5", 0);
    row("5", 5);
    row("5.", 5);
    row(".25", 0.25);
    row("-.5", -0.5);
    row("+4.75", 4.75);
    row("4.75 V", 4.75);
    row("4,75", 4);
    row("1.2.3", 1.2);
    row("1-2", 1);
    row("  4 . 7\t5\n", 4.75);
    row("- 5", -5);
    row("1e3", 1000);
    row("1E3", 1000);
    row("1e+3", 1000);
    row("25e-2", 0.25);
    row("1 e 3", 1000);
    row("12e", 12);
    row("12e+", 12);
    row("12ex", 12);
    row("1.e2", 100);
    row("&H1f", 31);
    row("&h1F", 31);
    row("& H 1 F", 31);
    row("&HG", 0);
    row("&H1G", 1);
    row("&O17", 15);
    row("&o18", 1);
    row("&", 0);
    row("0x10", 0);
    row("inf", 0);
    row("nan", 0);
}

void TestNumbers::numericValue()
{
    QFETCH(QString, text);
    QFETCH(double, value);

    QCOMPARE(vantrel::numericValue(text), value);
}

void TestNumbers::roundToLong_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<qint32>("rounded");

    QTest::newRow("0") << 0.0 << 0;
    QTest::newRow("0.5") << 0.5 << 0;
    QTest::newRow("1.5") << 1.5 << 2;
    QTest::newRow("2.5") << 2.5 << 2;
    QTest::newRow("-0.5") << -0.5 << 0;
    QTest::newRow("-1.5") << -1.5 << -2;
    QTest::newRow("-2.5") << -2.5 << -2;
    QTest::newRow("2.4999999") << 2.4999999 << 2;
    QTest::newRow("2.5000001") << 2.5000001 << 3;
    QTest::newRow("largest") << 2147483647.49 << 2147483647;
    QTest::newRow("smallest") << -2147483648.5 << std::numeric_limits<qint32>::min();
}

void TestNumbers::roundToLong()
{
    QFETCH(double, value);
    QFETCH(qint32, rounded);

    QCOMPARE(vantrel::roundToLong(value), rounded);
}

void TestNumbers::roundToLongOverflow_data()
{
    QTest::addColumn<double>("value");

    QTest::newRow("above") << 2147483647.5;
    QTest::newRow("below") << -2147483648.51;
    QTest::newRow("infinity") << Infinity;
    QTest::newRow("minus infinity") << -Infinity;
    QTest::newRow("not a number") << std::nan("");
}

void TestNumbers::roundToLongOverflow()
{
    QFETCH(double, value);

    QCOMPARE(thrownBy([&] { vantrel::roundToLong(value); }), Overflow);
}

void TestNumbers::hexByte_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("0") << 0 << QStringLiteral("00");
    QTest::newRow("9") << 9 << QStringLiteral("09");
    QTest::newRow("10") << 10 << QStringLiteral("0A");
    QTest::newRow("27") << 27 << QStringLiteral("1B");
    QTest::newRow("128") << 128 << QStringLiteral("80");
    QTest::newRow("255") << 255 << QStringLiteral("FF");
}

void TestNumbers::hexByte()
{
    QFETCH(int, value);
    QFETCH(QString, text);

    QCOMPARE(HexByte(static_cast<quint8>(value)), text);
    QCOMPARE(Hex2(static_cast<qint16>(value)), text);
}

void TestNumbers::hexRendering()
{
    QCOMPARE(Hex2(5), QLatin1String("05"));
    QCOMPARE(Hex2(0x100), QLatin1String("100"));
    QCOMPARE(Hex2(0x7FFF), QLatin1String("7FFF"));
    QCOMPARE(Hex2(-1), QLatin1String("FFFF"));
    QCOMPARE(Hex2(std::numeric_limits<qint16>::min()), QLatin1String("8000"));

    QCOMPARE(Hex4(0), QLatin1String("0000"));
    QCOMPARE(Hex4(255), QLatin1String("00FF"));
    QCOMPARE(Hex4(0xABCD), QLatin1String("ABCD"));
    QCOMPARE(Hex4(0x12345), QLatin1String("12345"));
    QCOMPARE(Hex4(-1), QLatin1String("FFFFFFFF"));

    QCOMPARE(Hex8(0), QLatin1String("00000000"));
    QCOMPARE(Hex8(4096), QLatin1String("00001000"));
    QCOMPARE(Hex8(0x7FFFFFFF), QLatin1String("7FFFFFFF"));
    QCOMPARE(Hex8(-2), QLatin1String("FFFFFFFE"));
}

void TestNumbers::numberText_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("0") << 0.0 << QStringLiteral(" 0");
    QTest::newRow("-0") << -0.0 << QStringLiteral(" 0");
    QTest::newRow("5") << 5.0 << QStringLiteral(" 5");
    QTest::newRow("-3") << -3.0 << QStringLiteral("-3");
    QTest::newRow("62") << 62.0 << QStringLiteral(" 62");
    QTest::newRow("12.25") << 12.25 << QStringLiteral(" 12.25");
    QTest::newRow("12.5") << 12.5 << QStringLiteral(" 12.5");
    QTest::newRow("0.25") << 0.25 << QStringLiteral(" 0.25");
    QTest::newRow("-0.25") << -0.25 << QStringLiteral("-0.25");
    QTest::newRow("0.1") << 0.1 << QStringLiteral(" 0.1");
    QTest::newRow("19200") << 19200.0 << QStringLiteral(" 19200");
    QTest::newRow("921600") << 921600.0 << QStringLiteral(" 921600");
    QTest::newRow("2147483647") << 2147483647.0 << QStringLiteral(" 2147483647");
    QTest::newRow("-2147483648") << -2147483648.0 << QStringLiteral("-2147483648");
    QTest::newRow("most digits") << 999'999'999'999'999.0 << QStringLiteral(" 999999999999999");
    QTest::newRow("more digits") << 1e15 << QStringLiteral(" 1e+15");
}

void TestNumbers::numberText()
{
    QFETCH(double, value);
    QFETCH(QString, text);

    QCOMPARE(vantrel::numberText(value), text);
}

void TestNumbers::fixedText_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");

    QTest::newRow("4.25") << 4.25 << 2 << QStringLiteral("4.25");
    QTest::newRow("5.5") << 5.5 << 2 << QStringLiteral("5.50");
    QTest::newRow("5") << 5.0 << 2 << QStringLiteral("5.00");
    QTest::newRow("0") << 0.0 << 2 << QStringLiteral("0.00");
    QTest::newRow("0.125") << 0.125 << 2 << QStringLiteral("0.13");
    QTest::newRow("-0.125") << -0.125 << 2 << QStringLiteral("-0.13");
    QTest::newRow("0.375") << 0.375 << 2 << QStringLiteral("0.38");
    QTest::newRow("0.994") << 0.994 << 2 << QStringLiteral("0.99");
    QTest::newRow("0.996") << 0.996 << 2 << QStringLiteral("1.00");
    QTest::newRow("1.0625, three decimals") << 1.0625 << 3 << QStringLiteral("1.063");
    QTest::newRow("6355.0483594, three decimals")
        << 6355.0483594 << 3 << QStringLiteral("6355.048");
    QTest::newRow("2.5, none") << 2.5 << 0 << QStringLiteral("3");
    QTest::newRow("-3, none") << -3.0 << 0 << QStringLiteral("-3");
}

void TestNumbers::fixedText()
{
    QFETCH(double, value);
    QFETCH(int, decimals);
    QFETCH(QString, text);

    QCOMPARE(vantrel::fixedText(value, decimals), text);
}

void TestNumbers::localeDoesNotMatter()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));

    QCOMPARE(vantrel::numberText(1234.5), QLatin1String(" 1234.5"));
    QCOMPARE(vantrel::fixedText(1234.5, 2), QLatin1String("1234.50"));
    QCOMPARE(vantrel::numericValue(QStringLiteral("4.75")), 4.75);
    QCOMPARE(vantrel::numericValue(QStringLiteral("4,75")), 4.0);
}

void TestNumbers::tickWrap_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<qint32>("wrapped");

    QTest::newRow("0") << qint64{0} << 0;
    QTest::newRow("1") << qint64{1} << 1;
    QTest::newRow("last") << qint64{1'999'999'999} << 1'999'999'999;
    QTest::newRow("modulus") << qint64{2'000'000'000} << 0;
    QTest::newRow("modulus + 1") << qint64{2'000'000'001} << 1;
    QTest::newRow("largest 32-bit") << qint64{2'147'483'647} << 147'483'647;
    QTest::newRow("negative stays negative") << qint64{-5} << -5;
    QTest::newRow("minus modulus") << qint64{-2'000'000'000} << 0;
    QTest::newRow("minus modulus - 1") << qint64{-2'000'000'001} << -1;
}

void TestNumbers::tickWrap()
{
    QFETCH(qint64, value);
    QFETCH(qint32, wrapped);

    QCOMPARE(TickWrap(value), wrapped);
}

void TestNumbers::deadlineIn_data()
{
    QTest::addColumn<qint32>("now");
    QTest::addColumn<qint32>("deadline");

    QTest::newRow("start") << 0 << 20;
    QTest::newRow("before the wrap") << 1'999'999'979 << 1'999'999'999;
    QTest::newRow("onto the wrap") << 1'999'999'980 << 0;
    QTest::newRow("over the wrap") << 1'999'999'999 << 19;
}

void TestNumbers::deadlineIn()
{
    QFETCH(qint32, now);
    QFETCH(qint32, deadline);

    Session session;
    session.TickCount = now;
    QCOMPARE(vantrel::deadlineIn(session, 20), deadline);
}

void TestNumbers::logSizeText()
{
    QCOMPARE(vantrel::logSizeText(0), QLatin1String(" 0 Bytes"));
    QCOMPARE(vantrel::logSizeText(152), QLatin1String(" 152 Bytes"));
}

void TestNumbers::countedBytes_data()
{
    QTest::addColumn<qint32>("count");
    QTest::addColumn<quint64>("more");
    QTest::addColumn<qint32>("sum");

    QTest::newRow("nothing") << 0 << quint64{0} << 0;
    QTest::newRow("a line") << 55 << quint64{16} << 71;
    QTest::newRow("to the last") << 2'147'483'640 << quint64{6} << 2'147'483'646;
    QTest::newRow("to the most") << 2'147'483'640 << quint64{7} << 2'147'483'647;
    QTest::newRow("no further") << 2'147'483'640 << quint64{8} << 2'147'483'647;
    QTest::newRow("at the end") << 2'147'483'647 << quint64{2} << 2'147'483'647;
    QTest::newRow("beyond 32 bits") << 0 << quint64{5'000'000'000} << 2'147'483'647;
}

void TestNumbers::countedBytes()
{
    QFETCH(qint32, count);
    QFETCH(quint64, more);
    QFETCH(qint32, sum);

    QCOMPARE(vantrel::countedBytes(count, more), sum);
}

VANTREL_TEST(TestNumbers)
#include "tst_numbers.moc"
