// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "tools/BuilderBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString Title = QStringLiteral("Device Request Builder");

struct FileBench : BuilderBench
{
    FileBench()
    {
        // As the form would have it.
        controls.Window.adoptText(Title);
    }

    void fill()
    {
        enter(controls.Address, "5", &RequestBuilder::addressLeft);
        enterRequestType("0x40");
        enter(controls.bReq, "0xA0", &RequestBuilder::bReqLeft);
        enter(controls.wValue, "0x1234", &RequestBuilder::wValueLeft);
        enter(controls.windex, "0x5678", &RequestBuilder::windexLeft);
        enter(controls.wLength, "0xFEDC", &RequestBuilder::wLengthLeft);
    }

    QString title() { return controls.Window.text(); }
    QString setupTexts()
    {
        QStringList texts;
        for (const Control *field : {&controls.Address, &controls.bmReqType, &controls.bReq,
                                     &controls.wValue, &controls.windex, &controls.wLength})
            texts += field->text();
        return texts.join(QLatin1Char(' '));
    }
};

} // namespace

/// Saving a request to a file, and loading it.
class TestRequestSaving : public QObject
{
    Q_OBJECT

private slots:
    void saveDialog();
    void cancelledSave();
    void saves_data();
    void saves();
    void savedDeviceToHostHasZeros();
    void textsCountAsTheyStand();
    void longerFileKeepsItsTail();
    void failedSaves_data();
    void failedSaves();
    void doesNotFit_data();
    void doesNotFit();
    void openDialog();
    void cancelledOpen();
    void opens();
    void sizes_data();
    void sizes();
    void shortFiles_data();
    void shortFiles();
    void highWords_data();
    void highWords();
    void unsignedWords();
    void missingFile();
    void deviceToHostFile();
    void oldDataIsCleared();
    void fullOfData();
    void deletingFromFull();
    void roundTrips();
    void addressAboveTheRange();
    void readingFollows();
};

void TestRequestSaving::saveDialog()
{
    FileBench bench;
    bench.save("a.dr");
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::SaveAs);
    QCOMPARE(choice.title, QStringLiteral("Save Device Request File"));
    QCOMPARE(choice.filter, QStringLiteral("Device Request Files|*.dr"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("dr"));
    QCOMPARE(choice.fileName, QString());
    QCOMPARE(bench.title(), QStringLiteral("Device Request Builder - a.dr"));
}

void TestRequestSaving::cancelledSave()
{
    FileBench bench;
    bench.fill();
    bench.builder.saveClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.title(), Title);
}

void TestRequestSaving::saves_data()
{
    QTest::addColumn<int>("fields");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("no data") << 0 << ""_hex;
    QTest::newRow("3 bytes") << 3 << "000102"_hex;
    QTest::newRow("31 bytes")
        << 31 << "000102030405060708090a0b0c0d0e0f 101112131415161718191a1b1c1d1e"_hex;
    QTest::newRow("the last is not counted")
        << 32 << "000102030405060708090a0b0c0d0e0f 101112131415161718191a1b1c1d1e"_hex;
}

void TestRequestSaving::saves()
{
    QFETCH(int, fields);
    QFETCH(QByteArray, data);
    FileBench bench;
    bench.fill();
    bench.enterCounted(fields);
    bench.save("a.dr");
    QCOMPARE(bench.contents("a.dr"), "05 40a0 3412 7856 dcfe"_hex + data + "00"_hex);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSaving::savedDeviceToHostHasZeros()
{
    FileBench bench;
    bench.fill();
    bench.enterData({"0x11", "0x22"});
    bench.enterRequestType("0x80");
    bench.controls.dataField(1).adoptText(QStringLiteral("0x80000000")); // nobody looks at it
    bench.save("a.dr");
    QCOMPARE(bench.contents("a.dr"), "05 80a0 3412 7856 dcfe 0000 00"_hex);
}

void TestRequestSaving::textsCountAsTheyStand()
{
    FileBench bench;
    bench.fill();
    bench.enterData({"1"});
    bench.controls.wValue.adoptText(QStringLiteral(" 258 "));
    bench.controls.dataField(0).adoptText(QStringLiteral("255"));
    bench.save("a.dr");
    QCOMPARE(bench.contents("a.dr"), "05 40a0 0201 7856 dcfe ff 00"_hex);
    QCOMPARE(bench.controls.wValue.text(), QStringLiteral(" 258 "));
}

void TestRequestSaving::longerFileKeepsItsTail()
{
    FileBench bench;
    bench.fill();
    bench.write("a.dr", QByteArray(14, '\x77'));
    bench.save("a.dr");
    QCOMPARE(bench.contents("a.dr"), "05 40a0 3412 7856 dcfe 00 77777777"_hex);
}

void TestRequestSaving::failedSaves_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no directory") << "/no/such/place.dr"
                                  << "No such file or directory: ";
    QTest::newRow("device") << "/dev/full"
                            << "Not a regular file: ";
}

void TestRequestSaving::failedSaves()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    FileBench bench;
    bench.dialogs.paths = {path};
    bench.builder.saveClicked();
    QCOMPARE(bench.takeBox(), reason + path + QStringLiteral("|Vantrel - Error"));
    QCOMPARE(bench.title(), Title);
}

void TestRequestSaving::doesNotFit_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("text");
    for (const char *field : {"Address", "bmReqType", "bReq", "Data0_0"})
        QTest::newRow(field) << QByteArray(field) << QStringLiteral("256");
    for (const char *field : {"wValue", "windex", "wLength"})
        QTest::newRow(field) << QByteArray(field) << QStringLiteral("65536");
    QTest::newRow("negative") << QByteArray("bReq") << QStringLiteral("-1");
}

void TestRequestSaving::doesNotFit()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, text);
    FileBench bench;
    bench.fill();
    bench.enterData({"1"});
    for (Control *control : bench.controls.all) {
        if (control->name() == QLatin1String(field))
            control->adoptText(text);
    }
    bench.save("a.dr");
    QCOMPARE(bench.takeBox(), Overflow);
    QCOMPARE(bench.title(), Title);
    QCOMPARE(bench.contents("a.dr"), QByteArray("no file"));
}

void TestRequestSaving::openDialog()
{
    FileBench bench;
    bench.open("a.dr", QByteArray(10, '\0'));
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QCOMPARE(choice.kind, FileChoice::Kind::OpenExisting);
    QCOMPARE(choice.title, QStringLiteral("Open Device Request File"));
    QCOMPARE(choice.filter, QStringLiteral("Device Request Files|*.dr"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("dr"));
    QCOMPARE(bench.title(), QStringLiteral("Device Request Builder - a.dr"));
}

void TestRequestSaving::cancelledOpen()
{
    FileBench bench;
    bench.fill();
    bench.save("a.dr");
    bench.builder.openClicked();
    QCOMPARE(bench.takeBox(), QStringLiteral("Error Opening File|Vantrel - Error"));
    QCOMPARE(bench.title(), QStringLiteral("Device Request Builder - a.dr"));
    QCOMPARE(bench.setupTexts(), QStringLiteral("0x05 0x40 0xA0 0x1234 0x5678 0xFEDC"));
}

void TestRequestSaving::opens()
{
    FileBench bench;
    bench.open("a.dr", "05 40 a0 3412 7856 0b0a 00 7f ff 00"_hex);
    QCOMPARE(bench.setupTexts(), QStringLiteral("0x05 0x40 0xA0 0x1234 0x5678 0x0A0B"));
    QCOMPARE(bench.data(5), QStringLiteral("0x00 0x7F 0xFF 0x00  "));
    QCOMPARE(bench.builder.dataCount(), qint16{4});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x04"));
    QCOMPARE(bench.enabledData(), bench.enabled(5));
    QVERIFY(bench.controls.dsize.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSaving::sizes_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("size");
    QTest::addColumn<int>("enabledFields");
    QTest::newRow("9") << 9 << 0 << "0x00" << 1;
    QTest::newRow("10") << 10 << 1 << "0x01" << 2;
    QTest::newRow("13") << 13 << 4 << "0x04" << 5;
    QTest::newRow("40") << 40 << 31 << "0x1F" << 32;
    QTest::newRow("41") << 41 << 32 << "0x20" << 32;
    QTest::newRow("42") << 42 << 32 << "0x20" << 32;
    QTest::newRow("45") << 45 << 32 << "0x20" << 32;
}

void TestRequestSaving::sizes()
{
    QFETCH(int, length);
    QFETCH(int, count);
    QFETCH(int, enabledFields);
    FileBench bench;
    bench.open("a.dr", QByteArray(length, '\x22'));
    QCOMPARE(int{bench.builder.dataCount()}, count);
    QTEST(bench.controls.dsize.text(), "size");
    QCOMPARE(bench.enabledData(), bench.enabled(enabledFields));
    QCOMPARE(bench.data(32),
             QStringLiteral("0x22 ").repeated(count) + QString(32 - count, QLatin1Char(' ')));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSaving::shortFiles_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("texts");
    QTest::newRow("0") << 0 << "0x05 0x40 0xA0 0x1234 0x5678 0xFEDC";
    QTest::newRow("1") << 1 << "0x11 0x40 0xA0 0x1234 0x5678 0xFEDC";
    QTest::newRow("2") << 2 << "0x11 0x11 0xA0 0x1234 0x5678 0xFEDC";
    QTest::newRow("4") << 4 << "0x11 0x11 0x11 0x1234 0x5678 0xFEDC";
    QTest::newRow("5") << 5 << "0x11 0x11 0x11 0x1111 0x5678 0xFEDC";
    QTest::newRow("8") << 8 << "0x11 0x11 0x11 0x1111 0x1111 0xFEDC";
}

void TestRequestSaving::shortFiles()
{
    QFETCH(int, length);
    FileBench bench;
    bench.fill();
    bench.enterData({"1", "2"});
    bench.save("before.dr");
    bench.open("short.dr", QByteArray(length, '\x11'));
    QCOMPARE(bench.takeBox(), OutOfRange);
    QTEST(bench.setupTexts(), "texts");
    QCOMPARE(bench.title(), Title);
    QCOMPARE(bench.data(3), QStringLiteral("0x01 0x02  "));
    QCOMPARE(bench.builder.dataCount(), qint16{2});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x02 bytes"));
}

void TestRequestSaving::highWords_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("texts");
    QTest::newRow("wValue") << "01 02 03 0080 0000 0000 00"_hex
                            << "0x01 0x02 0x03 0x1234 0x5678 0xFEDC";
    QTest::newRow("wIndex") << "01 02 03 ff7f 0080 0000 00"_hex
                            << "0x01 0x02 0x03 0x7FFF 0x5678 0xFEDC";
    QTest::newRow("wLength") << "01 02 03 0000 0000 ffff 00"_hex
                             << "0x01 0x02 0x03 0x0000 0x0000 0xFEDC";
}

void TestRequestSaving::highWords()
{
    QFETCH(QByteArray, bytes);
    FileBench bench;
    bench.fill();
    bench.enterData({"1", "2"});
    bench.open("high.dr", bytes);
    QCOMPARE(bench.takeBox(), Overflow);
    QTEST(bench.setupTexts(), "texts");
    QCOMPARE(bench.title(), Title);
    QCOMPARE(bench.data(3), QStringLiteral("0x01 0x02  "));
    QCOMPARE(bench.builder.dataCount(), qint16{2});
}

void TestRequestSaving::unsignedWords()
{
    FileBench bench;
    bench.session.UnsignedWords = true;
    bench.open("high.dr", "01 02 03 0080 cdab ffff 00"_hex);
    QCOMPARE(bench.setupTexts(), QStringLiteral("0x01 0x02 0x03 0x8000 0xABCD 0xFFFF"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSaving::missingFile()
{
    FileBench bench;
    bench.fill();
    bench.save("a.dr");
    bench.open("gone.dr");
    QCOMPARE(bench.takeBox(), QStringLiteral("No such file or directory: ") +
                                  bench.path("gone.dr") + QStringLiteral("|Vantrel - Error"));
    QCOMPARE(bench.title(), Title);
    QCOMPARE(bench.setupTexts(), QStringLiteral("0x05 0x40 0xA0 0x1234 0x5678 0xFEDC"));
}

void TestRequestSaving::deviceToHostFile()
{
    FileBench bench;
    bench.open("in.dr", "05 80 06 0001 0000 1200 aa 00"_hex);
    QCOMPARE(bench.enabledData(), bench.enabled(0));
    QVERIFY(!bench.controls.dsize.isEnabled());
    QCOMPARE(bench.data(3), QStringLiteral("0xAA 0x00  "));
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x02"));
    bench.open("out.dr", "05 7f 06 0001 0000 1200 aa 00"_hex);
    QCOMPARE(bench.enabledData(), bench.enabled(3));
    QVERIFY(bench.controls.dsize.isEnabled());
}

void TestRequestSaving::oldDataIsCleared()
{
    FileBench bench;
    bench.enterCounted(32);
    bench.open("a.dr", "05 40 a0 0000 0000 0000 01"_hex);
    QCOMPARE(bench.data(32), QStringLiteral("0x01 ") + QString(31, QLatin1Char(' ')));
    QCOMPARE(bench.enabledData(), bench.enabled(2));
}

void TestRequestSaving::fullOfData()
{
    FileBench bench;
    bench.open("a.dr", QByteArray(41, '\x22'));
    bench.builder.dataEntered(31);
    bench.builder.dataLeft(31);
    QCOMPARE(bench.builder.dataCount(), qint16{32});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x20 bytes"));
    bench.enterRequestType("0x80");
    QCOMPARE(bench.enabledData(), bench.enabled(0));
    bench.enterRequestType("0x22");
    QCOMPARE(bench.enabledData(), bench.enabled(32));
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01"_hex + QByteArray(41, '\x22') + "1b45"_hex);
    bench.save("b.dr");
    QCOMPARE(bench.contents("b.dr"), QByteArray(41, '\x22') + "00"_hex);
}

void TestRequestSaving::deletingFromFull()
{
    FileBench bench;
    bench.open("a.dr", QByteArray(41, '\x22'));
    bench.enterData(31, QString());
    QCOMPARE(bench.builder.dataCount(), qint16{31});
    QCOMPARE(bench.controls.dataField(31).text(), QString());
    QCOMPARE(bench.enabledData(), bench.enabled(32));
    bench.enterData(31, QStringLiteral("5")); // by typing it is not counted again
    QCOMPARE(bench.builder.dataCount(), qint16{31});
    QCOMPARE(bench.controls.dsize.text(), QStringLiteral("0x1F bytes"));
}

void TestRequestSaving::roundTrips()
{
    FileBench bench;
    bench.fill();
    bench.enter(bench.controls.wLength, "3", &RequestBuilder::wLengthLeft);
    bench.enterData({"1", "2", "3"});
    QByteArray expected = "05 40 a0 3412 7856 0300 010203 00"_hex;
    for (int count = 3; count <= 32; ++count) {
        bench.save("a.dr");
        QCOMPARE(bench.contents("a.dr"), expected);
        bench.open("a.dr");
        QCOMPARE(int{bench.builder.dataCount()}, std::min(count + 1, 32));
        expected += '\0';
    }
    bench.save("a.dr"); // all fields are in use: it grows no more
    QCOMPARE(bench.contents("a.dr").size(), 42);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void TestRequestSaving::addressAboveTheRange()
{
    FileBench bench;
    bench.open("a.dr", "90 00 09 0100 0000 0000"_hex);
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("0x90"));
    bench.builder.sendClicked();
    QCOMPARE(bench.sent(), "1b53 01 90 0009 0100 0000 0000 1b45"_hex);
    bench.main.Automode.adoptChecked(false);
    bench.builder.sendClicked(); // no room for the mark of the manual mode
    QCOMPARE(bench.takeBox(), Overflow);
    bench.builder.addressLeft();
    QCOMPARE(bench.controls.Address.text(), QStringLiteral("0x7F"));
}

void TestRequestSaving::readingFollows()
{
    FileBench bench;
    bench.open("a.dr", "05 80 06 0001 0000 1200"_hex);
    QCOMPARE(bench.controls.SetupReading.text(),
             QStringLiteral("GET_DESCRIPTOR (DEVICE), device to host, 18 bytes"));
    bench.open("b.dr", "05 81 0a"_hex); // what could be read is shown, and read
    QCOMPARE(bench.takeBox(), OutOfRange);
    QCOMPARE(bench.controls.SetupReading.text(),
             QStringLiteral("GET_INTERFACE (interface 0), device to host, 18 bytes"));
}

VANTREL_TEST(TestRequestSaving)
#include "tst_requestsaving.moc"
