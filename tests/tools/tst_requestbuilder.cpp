// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/BuilderBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct Field
{
    const char *name;
    Control RequestControls::*control;
    bool (RequestBuilder::*left)();
};

constexpr Field Address{"Address", &RequestControls::Address, &RequestBuilder::addressLeft};
constexpr Field RequestType{"bmReqType", &RequestControls::bmReqType,
                            &RequestBuilder::bmReqTypeLeft};
constexpr Field Request{"bReq", &RequestControls::bReq, &RequestBuilder::bReqLeft};
constexpr Field Value{"wValue", &RequestControls::wValue, &RequestBuilder::wValueLeft};
constexpr Field Index{"windex", &RequestControls::windex, &RequestBuilder::windexLeft};
constexpr Field Length{"wLength", &RequestControls::wLength, &RequestBuilder::wLengthLeft};

} // namespace

Q_DECLARE_METATYPE(Field)

/// Entering a request field by field, and sending it.
class TestRequestBuilder : public QObject
{
    Q_OBJECT

private slots:
    void atFirst();
    void leavingAField_data();
    void leavingAField();
    void tooLargeToRead_data();
    void tooLargeToRead();
    void requestTypeEnablesData_data();
    void requestTypeEnablesData();
    void requestTypeKeepsEnteredData();
    void nextFieldFollowsTheLast();
    void dataIsLimited_data();
    void dataIsLimited();
    void dataIsCounted();
    void lastFieldIsNeverCounted();
    void fieldIsEnteredTwice();
    void deletingInTheMiddle();
    void deleting_data();
    void deleting();
    void deletingWhileFull();
    void unreadableByteIsNotCounted();
    void lastIndex();
    void activation_data();
    void activation();
    void manualModeIsKept();
    void readingFollows();
    void readingOfWhatCannotBeRead();
    void readingTellsOfData();
};

void TestRequestBuilder::atFirst()
{
    BuilderBench bench;
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("0x00"));
    QCOMPARE(bench.controls.bmReqType.text(), QStringLiteral("0x00"));
    QCOMPARE(bench.controls.bReq.text(), QStringLiteral("0x00"));
    QCOMPARE(bench.controls.wValue.text(), QStringLiteral("0x0000"));
    QCOMPARE(bench.controls.windex.text(), QStringLiteral("0x0000"));
    QCOMPARE(bench.controls.wLength.text(), QStringLiteral("0x0000"));
    QCOMPARE(bench.data(32), QString(32, QLatin1Char(' ')));
    QCOMPARE(bench.enabledData(), bench.enabled(1));
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x0 bytes"));
    QVERIFY(bench.controls.dsize.isEnabled());
    QCOMPARE(bench.builder.dataCount(), qint16{0});
    QCOMPARE(bench.controls.Data0.size(), std::size_t{32});
    QCOMPARE(bench.controls.dataField(0).name(), QStringLiteral("Data0_0"));
    QCOMPARE(bench.controls.dataField(31).name(), QStringLiteral("Data0_31"));
}

void TestRequestBuilder::leavingAField_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    const auto row = [](const Field &field, const char *typed, const char *shown) {
        QTest::addRow("%s: %s", field.name, typed)
            << field << QString::fromLatin1(typed) << QString::fromLatin1(shown);
    };
    row(Address, "5", "0x05");
    row(Address, "127", "0x7F");
    row(Address, "128", "0x7F");
    row(Address, "0x90", "0x7F");
    row(Address, "2147483647", "0x7F");
    row(Address, "-1", "0x00");
    for (const Field &field : {RequestType, Request}) {
        row(field, "", "0x00");
        row(field, "  0x1f ", "0x1F");
        row(field, "0X1f", "0x1F");
        row(field, "31", "0x1F");
        row(field, "255", "0xFF");
        row(field, "256", "0xFF");
        row(field, "0x1FF", "0xFF");
        row(field, "0x", "0x00");
        row(field, "0x1G2", "0x12");
        row(field, "&H1F", "0x1F");
        row(field, "2.5", "0x02");
        row(field, "12abc", "0x0C");
        row(field, "abc", "0x00");
        row(field, "-1", "0x00");
        row(field, "-32769", "0x00");
    }
    for (const Field &field : {Value, Index, Length}) {
        row(field, "", "0x0000");
        row(field, " 0x12ab ", "0x12AB");
        row(field, "18", "0x0012");
        row(field, "65535", "0xFFFF");
        row(field, "65536", "0xFFFF");
        row(field, "0x12345", "0xFFFF");
        row(field, "0x7FFFFFFF", "0xFFFF");
        row(field, "-1", "0x0000");
        row(field, "-32769", "0x0000");
    }
}

void TestRequestBuilder::leavingAField()
{
    QFETCH(Field, field);
    QFETCH(QString, typed);
    BuilderBench bench;
    Control &control = bench.controls.*field.control;
    QCOMPARE(control.name(), QString::fromLatin1(field.name));
    bench.enter(control, qPrintable(typed), field.left);
    QTEST(control.text(), "shown");
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestBuilder::tooLargeToRead_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<QString>("typed");
    for (const Field &field : {Address, RequestType, Request, Value, Index, Length}) {
        for (const char *typed : {"0x80000000", "2147483648", "1e10"})
            QTest::addRow("%s: %s", field.name, typed) << field << QString::fromLatin1(typed);
    }
    QTest::newRow("far below zero") << Address << QStringLiteral("-2147483649");
}

void TestRequestBuilder::tooLargeToRead()
{
    QFETCH(Field, field);
    QFETCH(QString, typed);
    BuilderBench bench;
    Control &control = bench.controls.*field.control;
    bench.enter(control, qPrintable(typed), field.left);
    QCOMPARE(bench.takeBox(), Overflow);
    QCOMPARE(control.text(), typed);
}

void TestRequestBuilder::requestTypeEnablesData_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("0x1FF") << "0x1FF"
                           << "0xFF" << false;
    QTest::newRow("128") << "128"
                         << "0x80" << false;
    QTest::newRow("0x7F") << "0x7F"
                          << "0x7F" << true;
    QTest::newRow("0") << "0"
                       << "0x00" << true;
    QTest::newRow("-1") << "-1"
                        << "0x00" << true;
}

void TestRequestBuilder::requestTypeEnablesData()
{
    QFETCH(QString, typed);
    QFETCH(bool, enabled);
    BuilderBench bench;
    bench.enterRequestType(enabled ? "0x80" : "0x00"); // the other way first
    bench.enterRequestType(qPrintable(typed));
    QTEST(bench.controls.bmReqType.text(), "shown");
    QCOMPARE(bench.enabledData(), bench.enabled(enabled ? 1 : 0));
    QCOMPARE(bench.controls.dsize.isEnabled(), enabled);
}

void TestRequestBuilder::requestTypeKeepsEnteredData()
{
    BuilderBench bench;
    bench.enterData({"1", "2"});
    bench.enterRequestType("0x80");
    QCOMPARE(bench.enabledData(), bench.enabled(0));
    QCOMPARE(bench.data(3), QStringLiteral("0x01 0x02  "));
    QCOMPARE(bench.builder.dataCount(), qint16{2});
    bench.enterRequestType("0x40");
    QCOMPARE(bench.enabledData(), bench.enabled(3));
}

void TestRequestBuilder::nextFieldFollowsTheLast()
{
    BuilderBench bench;
    bench.builder.dataEntered(0);
    QCOMPARE(bench.enabledData(), bench.enabled(2));
    bench.enterData({"1", "2", "3"});
    QCOMPARE(bench.enabledData(), bench.enabled(4));
    bench.builder.dataEntered(2); // one that is counted already
    QCOMPARE(bench.enabledData(), bench.enabled(4));
    bench.builder.dataEntered(3);
    QCOMPARE(bench.enabledData(), bench.enabled(5));
    bench.builder.dataLeft(3); // with nothing in it
    QCOMPARE(bench.enabledData(), bench.enabled(4));
}

void TestRequestBuilder::dataIsLimited_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("1") << "1"
                       << "0x01";
    QTest::newRow("hexadecimal") << "0xa"
                                 << "0x0A";
    QTest::newRow("255") << "255"
                         << "0xFF";
    QTest::newRow("256") << "256"
                         << "0xFF";
    QTest::newRow("0xFFFF") << "0xFFFF"
                            << "0xFF";
    QTest::newRow("blank") << " "
                           << "0x00";
    QTest::newRow("word") << "six"
                          << "0x00";
    QTest::newRow("-2") << "-2"
                        << "0x00";
}

void TestRequestBuilder::dataIsLimited()
{
    QFETCH(QString, typed);
    BuilderBench bench;
    bench.enterData(0, typed);
    QTEST(bench.controls.dataField(0).text(), "shown");
    QCOMPARE(bench.builder.dataCount(), qint16{1});
}

void TestRequestBuilder::dataIsCounted()
{
    BuilderBench bench;
    for (int index = 0; index < 31; ++index) {
        bench.enterData(index, QStringLiteral("7"));
        QCOMPARE(int{bench.builder.dataCount()}, index + 1);
        QCOMPARE(bench.enabledData(), bench.enabled(index + 2));
    }
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x1F bytes"));
}

void TestRequestBuilder::lastFieldIsNeverCounted()
{
    BuilderBench bench;
    bench.enterCounted(32);
    QCOMPARE(bench.controls.dataField(31).text(), QStringLiteral("0x1F"));
    QCOMPARE(bench.builder.dataCount(), qint16{31});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x1F bytes"));
    QCOMPARE(bench.enabledData(), bench.enabled(32));
    bench.enterData(31, QStringLiteral("9"));
    QCOMPARE(bench.builder.dataCount(), qint16{31});
}

void TestRequestBuilder::fieldIsEnteredTwice()
{
    BuilderBench bench;
    bench.enterData({"1", "2"});
    bench.enterData(0, QStringLiteral("9"));
    QCOMPARE(bench.data(3), QStringLiteral("0x09 0x02  "));
    QCOMPARE(bench.builder.dataCount(), qint16{2});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x02 bytes"));
}

void TestRequestBuilder::deletingInTheMiddle()
{
    BuilderBench bench;
    bench.enterData({"1", "2", "3", "4", "5"});
    bench.enterData(2, QString());
    QCOMPARE(bench.data(6), QStringLiteral("0x01 0x02 0x04 0x05   "));
    QCOMPARE(bench.builder.dataCount(), qint16{4});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x04 bytes"));
    QCOMPARE(bench.enabledData(), bench.enabled(5));
}

void TestRequestBuilder::deleting_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("data");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("size");
    QTest::newRow("first") << 0 << "0x02 0x03   " << 2 << "0x02 bytes";
    QTest::newRow("last") << 2 << "0x01 0x02   " << 2 << "0x02 bytes";
    QTest::newRow("the empty one") << 3 << "0x01 0x02 0x03  " << 3 << "0x03 bytes";
    QTest::newRow("one beyond") << 4 << "0x01 0x02 0x03  " << 3 << "0x03 bytes";
}

void TestRequestBuilder::deleting()
{
    QFETCH(int, index);
    BuilderBench bench;
    bench.enterData({"1", "2", "3"});
    bench.enterData(index, QString());
    QTEST(bench.data(4), "data");
    QTEST(int{bench.builder.dataCount()}, "count");
    QTEST(bench.controls.dsize.text(), "size");
}

void TestRequestBuilder::deletingWhileFull()
{
    BuilderBench bench;
    bench.enterCounted(32);
    bench.enterData(29, QString());
    // The last field has nothing behind it to take, and keeps its own.
    QCOMPARE(bench.controls.dataField(28).text(), QStringLiteral("0x1C"));
    QCOMPARE(bench.controls.dataField(29).text(), QStringLiteral("0x1E"));
    QCOMPARE(bench.controls.dataField(30).text(), QStringLiteral("0x1F"));
    QCOMPARE(bench.controls.dataField(31).text(), QStringLiteral("0x1F"));
    QCOMPARE(bench.builder.dataCount(), qint16{30});
    QCOMPARE(bench.enabledData(), bench.enabled(31));
    bench.enterData(31, QString());
    QCOMPARE(bench.builder.dataCount(), qint16{30});
}

void TestRequestBuilder::unreadableByteIsNotCounted()
{
    BuilderBench bench;
    bench.enterData({"1", "0x80000000"});
    QCOMPARE(bench.takeBox(), Overflow);
    QCOMPARE(bench.builder.dataCount(), qint16{1});
    QCOMPARE(bench.controls.dataField(1).text(), QStringLiteral("0x80000000"));
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x01 bytes"));
}

void TestRequestBuilder::lastIndex()
{
    BuilderBench bench;
    bench.enterData({"1", "2", "3"});
    QCOMPARE(bench.builder.lastDataIndex(), qint16{2});
    bench.enterData(1, QString());
    QCOMPARE(bench.builder.lastDataIndex(), qint16{1});
}

void TestRequestBuilder::activation_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("fullSpeed");
    QTest::addColumn<bool>("automatic");
    for (int code = 0; code < 4; ++code) {
        QTest::addRow("%d, automatic", code) << code << false << true;
        QTest::addRow("%d, manual", code) << code << true << false;
    }
}

void TestRequestBuilder::activation()
{
    QFETCH(int, code);
    QFETCH(bool, fullSpeed);
    QFETCH(bool, automatic);
    BuilderBench bench;
    bench.main.Automode.adoptChecked(!automatic);
    bench.builder.activated();
    bench.main.Automode.adoptChecked(automatic);
    bench.session.MaxPacketCode = static_cast<qint16>(code);
    bench.session.FullSpeedMode = fullSpeed;
    bench.builder.activated();
    RequestControls &controls = bench.controls;
    QCOMPARE(controls.FullSpeed.isChecked(), fullSpeed);
    QCOMPARE(controls.mp8.isChecked(), code == 0);
    QCOMPARE(controls.mp16.isChecked(), code == 1);
    QCOMPARE(controls.mp32.isChecked(), code == 2);
    QCOMPARE(controls.mp64.isChecked(), code == 3);
    for (const Control *control : {&controls.ManualMode, &controls.FullSpeed, &controls.mp8,
                                   &controls.mp16, &controls.mp32, &controls.mp64})
        QVERIFY2(control->isEnabled() != automatic, qPrintable(control->name()));
    for (const Control *control : {&controls.Send, &controls.Open, &controls.Save})
        QVERIFY2(control->isEnabled(), qPrintable(control->name()));
}

void TestRequestBuilder::manualModeIsKept()
{
    BuilderBench bench;
    for (const qint16 code : {qint16{3}, qint16{2}, qint16{1}, qint16{0}}) {
        bench.builder.maxPacketClicked(code);
        QCOMPARE(bench.session.MaxPacketCode, code);
    }
    bench.session.FullSpeedMode = true;
    bench.controls.FullSpeed.adoptChecked(true); // what the box shows counts, not that it changed
    bench.builder.fullSpeedClicked();
    QVERIFY(bench.session.FullSpeedMode);
    bench.controls.FullSpeed.adoptChecked(false);
    bench.builder.fullSpeedClicked();
    QVERIFY(!bench.session.FullSpeedMode);
}

void TestRequestBuilder::readingFollows()
{
    BuilderBench bench;
    const auto reading = [&bench] { return bench.controls.SetupReading.text(); };
    QCOMPARE(reading(), QStringLiteral("GET_STATUS (device), host to device, no data"));
    const auto type = [&bench](Control &field, const char *text) {
        field.adoptText(QString::fromLatin1(text));
        bench.builder.fieldEdited();
    };
    type(bench.controls.bmReqType, "0x80");
    type(bench.controls.bReq, " 6 ");
    QCOMPARE(bench.controls.bReq.text(), QStringLiteral(" 6 ")); // it is still being typed
    type(bench.controls.wValue, "0x100");
    type(bench.controls.wLength, "1");
    QCOMPARE(reading(), QStringLiteral("GET_DESCRIPTOR (DEVICE), device to host, 1 byte"));
    type(bench.controls.wLength, "18");
    QCOMPARE(reading(), QStringLiteral("GET_DESCRIPTOR (DEVICE), device to host, 18 bytes"));
    bench.enter(bench.controls.wValue, "0x0200", &RequestBuilder::wValueLeft);
    QCOMPARE(reading(),
             QStringLiteral("GET_DESCRIPTOR (CONFIGURATION, index 0), device to host, 18 bytes"));
}

void TestRequestBuilder::readingOfWhatCannotBeRead()
{
    BuilderBench bench;
    for (const char *text : {"0x80000000", "0x10000", "-1"}) {
        bench.controls.wLength.adoptText(QString::fromLatin1(text));
        bench.builder.fieldEdited();
        QCOMPARE(bench.controls.SetupReading.text(), QString());
    }
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.enter(bench.controls.wLength, "0x10000", &RequestBuilder::wLengthLeft);
    QCOMPARE(bench.controls.SetupReading.text(),
             QStringLiteral("GET_STATUS (device), host to device, 65535 bytes, "
                            "0 data bytes entered"));
}

void TestRequestBuilder::readingTellsOfData()
{
    BuilderBench bench;
    bench.enterRequestType("0x40");
    bench.enter(bench.controls.wLength, "2", &RequestBuilder::wLengthLeft);
    bench.enterData({"1"});
    QCOMPARE(bench.controls.SetupReading.text(),
             QStringLiteral("vendor request 0x00 to the device, host to device, 2 bytes, "
                            "1 data byte entered"));
    bench.enterData(1, QStringLiteral("2"));
    QCOMPARE(bench.controls.SetupReading.text(),
             QStringLiteral("vendor request 0x00 to the device, host to device, 2 bytes"));
}

VANTREL_TEST(TestRequestBuilder)
#include "tst_requestbuilder.moc"
