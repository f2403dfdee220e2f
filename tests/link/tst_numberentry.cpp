// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Control.h"
#include "link/NumberEntry.h"
#include "link/Utils.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr NumberFormat Decimal{Notation::Decimal, 0, 255, decimalText, true};
constexpr NumberFormat Hex{Notation::Hexadecimal, 0, 0xFF, plainByteText};
constexpr NumberFormat Signed{Notation::Prefixed, NumberFormat::NoLimit, 255, decimalText};

struct Entry
{
    explicit Entry(const char *typed) { type(typed); }
    void type(const char *typed) { field.adoptText(QString::fromUtf8(typed)); }

    QList<Control *> registry;
    Control field{registry, "field"};
};

} // namespace

/// What entry fields take, and what they say about it.
class TestNumberEntry : public QObject
{
    Q_OBJECT

private slots:
    void plainNumbers_data();
    void plainNumbers();
    void commits_data();
    void commits();
    void rejections_data();
    void rejections();
    void noteStaysUntilEdited();
    void noteGoesWithANewText();
    void noteOfATextThatStays_data();
    void noteOfATextThatStays();
    void longTextIsCut();
};

void TestNumberEntry::plainNumbers_data()
{
    QTest::addColumn<bool>("plain");
    for (const char *text :
         {"0", "12", " 12 ", "\t12", "+5", "-5", "4.25", ".5", "5.", "1e2", "1E-2", "&H1F", "&o17"})
        QTest::newRow(text) << true;
    for (const char *text : {"", " ", "FF", "12 34", "1 2", "4,4", "12abc", "1e", ".", "-", "0x1F",
                             "&H", "&HG", "&H1 F", "&O8", "1.2.3", "--1", "\u0665"})
        QTest::newRow(text) << false;
}

void TestNumberEntry::plainNumbers()
{
    QTEST(isPlainNumber(QString::fromUtf8(QTest::currentDataTag())), "plain");
}

void TestNumberEntry::commits_data()
{
    QTest::addColumn<NumberFormat>("format");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("note");
    const auto row = [](const NumberFormat &format, const char *typed, int value, const char *shown,
                        const char *note = "") {
        QTest::addRow("%s to %s", typed, shown)
            << format << QByteArray(typed) << value << QString::fromLatin1(shown)
            << QString::fromLatin1(note);
    };
    const NumberFormat address = NumberFormats::DeviceAddress;
    row(address, "5", 5, "0x05");
    row(address, "  0X1f ", 0x1F, "0x1F");
    row(address, "&H1F", 0x1F, "0x1F");
    row(address, "1e1", 10, "0x0A");
    row(address, "2.0", 2, "0x02");
    row(address, "FF", 0, "0x00", "\"FF\" taken as 0x00 (not a plain number)");
    row(address, "12abc", 12, "0x0C", "\"12abc\" taken as 0x0C (not a plain number)");
    row(address, "0x", 0, "0x00", "\"0x\" taken as 0x00 (not a plain number)");
    row(address, "0x1G2", 0x12, "0x12", "\"0x1G2\" taken as 0x12 (not a plain number)");
    row(address, "0x1 2", 0x12, "0x12", "\"0x1 2\" taken as 0x12 (not a plain number)");
    row(address, "2.5", 2, "0x02", "\"2.5\" taken as 0x02");
    row(address, "", 0, "0x00", "Empty field taken as 0x00");
    row(address, "   ", 0, "0x00", "Empty field taken as 0x00");
    row(address, "128", 127, "0x7F", "\"128\" taken as 0x7F (highest value 0x7F)");
    row(address, "-1", 0, "0x00", "\"-1\" taken as 0x00 (lowest value 0x00)");
    row(address, "12 34", 127, "0x7F",
        "\"12 34\" taken as 0x7F (not a plain number, highest value 0x7F)");
    row(NumberFormats::Word, "12 34", 1234, "0x04D2",
        "\"12 34\" taken as 0x04D2 (not a plain number)");
    row(NumberFormats::Word, "-40000", 0, "0x0000",
        "\"-40000\" taken as 0x0000 (lowest value 0x0000)");
    row(Decimal, "007", 7, "7");
    row(Decimal, "300", 255, "255", "\"300\" taken as 255 (highest value 255)");
    row(Decimal, "0x10", 0, "0", "\"0x10\" taken as 0 (not a plain number)");
    row(Hex, "a5", 0xA5, "A5");
    row(Hex, "0xA5", 0xA5, "A5");
    row(Hex, "7", 7, "07");
    row(Hex, "1G", 1, "01", "\"1G\" taken as 01 (not a plain number)");
    row(Hex, "-4", 4, "04", "\"-4\" taken as 04 (not a plain number)");
    row(Hex, "FFF", 255, "FF", "\"FFF\" taken as FF (highest value FF)");
    row(Signed, "-1", -1, "-1");
    row(Signed, "-1.5", -2, "-2", "\"-1.5\" taken as -2");
}

void TestNumberEntry::commits()
{
    QFETCH(NumberFormat, format);
    QFETCH(QByteArray, typed);
    Entry entry(typed.constData());
    QTEST(commitNumber(entry.field, format), "value");
    QTEST(entry.field.text(), "shown");
    QTEST(entry.field.entryNote(), "note");
}

void TestNumberEntry::rejections_data()
{
    QTest::addColumn<NumberFormat>("format");
    QTest::newRow("99999999999") << NumberFormats::Byte;
    QTest::newRow("0x80000000") << NumberFormats::Word;
    QTest::newRow("-2147483649") << NumberFormats::DeviceAddress;
    QTest::newRow("40000") << Decimal;
    QTest::newRow("-32769") << Decimal;
    QTest::newRow("80000000") << Hex;
}

void TestNumberEntry::rejections()
{
    QFETCH(NumberFormat, format);
    const QString typed = QString::fromLatin1(QTest::currentDataTag());
    Entry entry(QTest::currentDataTag());
    QCOMPARE(thrownBy([&] { commitNumber(entry.field, format); }), QStringLiteral("Overflow"));
    QCOMPARE(entry.field.text(), typed);
    QCOMPARE(entry.field.entryNote(),
             QLatin1Char('"') + typed + QStringLiteral("\" not taken (out of range)"));
}

void TestNumberEntry::noteStaysUntilEdited()
{
    Entry entry("FF");
    commitNumber(entry.field, NumberFormats::Byte);
    const QString note = entry.field.entryNote();
    commitNumber(entry.field, NumberFormats::Byte); // the field is left once more
    QCOMPARE(entry.field.entryNote(), note);
    entry.type("0x0");
    QCOMPARE(entry.field.entryNote(), QString());
    commitNumber(entry.field, NumberFormats::Byte);
    QCOMPARE(entry.field.entryNote(), QString());
}

void TestNumberEntry::noteGoesWithANewText()
{
    Entry entry("FF");
    commitNumber(entry.field, NumberFormats::Byte);
    QVERIFY(!entry.field.entryNote().isEmpty());
    entry.field.setText(entry.field.text()); // of a file or a device: the same number
    QCOMPARE(entry.field.entryNote(), QString());
}

void TestNumberEntry::noteOfATextThatStays_data()
{
    QTest::addColumn<QString>("note");
    QTest::newRow("255") << QString();
    QTest::newRow("2.5") << QStringLiteral("\"2.5\" taken as 2");
    QTest::newRow("abc") << QStringLiteral("\"abc\" taken as 0 (not a plain number)");
    QTest::newRow("") << QStringLiteral("Empty field taken as 0");
    QTest::newRow("256") << QStringLiteral("\"256\" not taken (out of range)");
    QTest::newRow("-1") << QStringLiteral("\"-1\" not taken (out of range)");
    QTest::newRow("1e12") << QStringLiteral("\"1e12\" not taken (out of range)");
}

void TestNumberEntry::noteOfATextThatStays()
{
    Entry entry(QTest::currentDataTag());
    noteNumber(entry.field, Decimal);
    QCOMPARE(entry.field.text(), QString::fromLatin1(QTest::currentDataTag()));
    QTEST(entry.field.entryNote(), "note");
}

void TestNumberEntry::longTextIsCut()
{
    Entry entry("x");
    entry.field.adoptText(QString(1000, QLatin1Char('x')));
    commitNumber(entry.field, NumberFormats::Byte);
    QCOMPARE(entry.field.entryNote(),
             QLatin1Char('"') + QString(32, QLatin1Char('x')) +
                 QStringLiteral("...\" taken as 0x00 (not a plain number)"));
}

VANTREL_TEST(TestNumberEntry)
#include "tst_numberentry.moc"
