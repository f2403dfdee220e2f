// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DeviceBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QFile>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QString golden(const char *name)
{
    QFile file(QStringLiteral(VANTREL_TESTS "/%1.txt").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no report %s", name);
    return QString::fromUtf8(file.readAll());
}

QString lines(const char *text)
{
    return QString::fromLatin1(text).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
}

QString hex(int value)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).toUpper().rightJustified(2, QLatin1Char('0'));
}

/// What all devices that misbehave have in common.
QString deviceText(int product, int configurations = 1, int manufacturerString = 0,
                   int productString = 0, int serialString = 0)
{
    return lines("===== Device Descriptor =====\n"
                 " bLength = 0x12\n"
                 " bDescriptorType = 0x01(0x01 = DEVICE)\n"
                 " bcdUSB = 01.10\n"
                 " bDeviceClass = 0x00\n"
                 " bDeviceSubClass = 0x00\n"
                 " bDeviceProtocol = 0x00\n"
                 " bMaxPacketSize = 0x40\n"
                 " idVendor = 0x1D0D\n"
                 " idProduct = 0x00%1\n"
                 " bcdDevice = 01.00\n"
                 "iManufacturer = %2 (String Index)\n"
                 "iProduct = %3 (String Index)\n"
                 "iSerialNumber = %4 (String Index)\n"
                 "bNumConfigurations = %5\n")
        .arg(hex(product).mid(2), hex(manufacturerString), hex(productString), hex(serialString),
             hex(configurations));
}

QString stringText(const char *label, const QString &text)
{
    return lines("\n  === String Descriptor- %1 String:\n   %2\n").arg(QLatin1String(label), text);
}

QString configurationText(int totalLength, int interfaces = 1)
{
    return lines("\n===== Configuration  0 Descriptor =====\n"
                 " bLength = 0x09\n"
                 " bDescriptorType = 0x02 (2 = CONFIGURATION)\n"
                 " wTotalLength =  %1\n"
                 " bNumInterfaces = %2\n"
                 " bConfigurationValue = 0x01\n"
                 " iConfiguration = 0x00 (String Index)\n"
                 " bmAttributes = 0x80\n"
                 "     Bus Powered\n"
                 " MaxPower 100mA\n")
        .arg(totalLength)
        .arg(hex(interfaces));
}

QString interfaceText(int number = 0, int endpoints = 1, int classCode = 0xFF, int stringIndex = 0)
{
    return lines("\n===== Interface  %1 Descriptor =====\n"
                 " blength = 0x09\n"
                 " bDescriptorType = 0x04 (4 = INTERFACE)\n"
                 " bInterfaceNumber = %2\n"
                 " bAlternateSetting = 0x00\n"
                 " bNumEndpoints = %3\n"
                 " bInterfaceClass = %4\n"
                 " bInterfaceSubClass = 0x00\n"
                 " bInterfaceProtocol = 0x00\n"
                 " iInterface = %5 (String Index)\n")
        .arg(number)
        .arg(hex(number), hex(endpoints), hex(classCode), hex(stringIndex));
}

QString endpointText(int length = 7, int packetSize = 8)
{
    return lines("\n===== Endpoint  1 Descriptor =====\n"
                 " blength = %1\n"
                 " bDescriptorType = 0x05 (5 = ENDPOINT)\n"
                 " bEndpointAddress = 0x81\n"
                 "     Endpoint  1 IN\n"
                 " bmAttributes = 0x03\n"
                 "     Interrupt Endpoint\n"
                 " wMaxPacketSize =  %2\n"
                 " bInterval =  10 mS\n")
        .arg(hex(length))
        .arg(packetSize);
}

QString bulkEndpointText(int number, bool in)
{
    return lines("\n===== Endpoint  %1 Descriptor =====\n"
                 " blength = 0x07\n"
                 " bDescriptorType = 0x05 (5 = ENDPOINT)\n"
                 " bEndpointAddress = %2\n"
                 "     Endpoint  %3 %4\n"
                 " bmAttributes = 0x02\n"
                 "     Bulk Endpoint\n"
                 " wMaxPacketSize =  64\n"
                 " bInterval =  0 mS\n")
        .arg(number % 8)
        .arg(hex(in ? number + 0x80 : number))
        .arg(number)
        .arg(QLatin1String(in ? "IN" : "OUT"));
}

/// Up to the interface whose string is the eleventh.
QString elevenVoices()
{
    QString report = configurationText(285, 12);
    for (int number = 0; number < 10; ++number)
        report += interfaceText(number, 2, 0xFF, number + 2) + bulkEndpointText(number + 1, true) +
                  bulkEndpointText(number + 1, false);
    return report + interfaceText(10, 2, 0xFF, 12);
}

QString ended(const QString &message)
{
    return lines("\n*** Get Descriptors Terminated\n      --- ") + message + lines("\n");
}

const QString Overflow = QStringLiteral("Overflow");
const QString OutOfRange = QStringLiteral("Subscript out of range");
const QString Successful = QStringLiteral("Successful");
const QString TimeOut = QStringLiteral("Timeout");

} // namespace

/// The descriptor viewer, through the console, a socket and the tester.
class tst_devicewalks : public QObject
{
    Q_OBJECT

private slots:
    void reports_data();
    void reports();
    void requestsOfAWalk();
    void addressEditedInTheMiddle();
    void troubles_data();
    void troubles();
    void emptyString();
    void nobodyThere();
    void connectionLost();
};

void tst_devicewalks::reports_data()
{
    QTest::addColumn<QString>("report");
    QTest::addColumn<bool>("unsignedWords");
    QTest::newRow("keyboard") << golden("tools/reports/keyboard") << false;
    QTest::newRow("phone") << golden("app/reports/phone") << false;
    QTest::newRow("mouse") << golden("app/reports/mouse") << false;
    QTest::newRow("disk") << golden("app/reports/disk") << false;
    QTest::newRow("gateway") << golden("app/reports/gateway") << true;
    QTest::newRow("odd-lengths") << golden("app/reports/odd-lengths") << false;
}

void tst_devicewalks::reports()
{
    QFETCH(bool, unsignedWords);
    DeviceBench bench(QString::fromLatin1(QTest::currentDataTag()));
    bench.session().UnsignedWords = unsignedWords;
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.walk());
    QTEST(bench.report(), "report");
    QCOMPARE(bench.boxes(), QStringList());
    QCOMPARE(bench.printedReplies(), 0);
}

void tst_devicewalks::requestsOfAWalk()
{
    DeviceBench bench(QStringLiteral("phone"));
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.walk());
    QCOMPARE(bench.requests(),
             QList<QByteArray>({"01 03 8006000100001200"_hex, "01 03 8006020309040300"_hex,
                                "01 03 8006020309042200"_hex, "01 03 8006030309040300"_hex,
                                "01 03 8006030309041800"_hex, "01 03 8006040309040300"_hex,
                                "01 03 8006040309042200"_hex, "01 03 8006000200000800"_hex,
                                "01 03 8006000200002700"_hex, "01 03 8006050309040300"_hex,
                                "01 03 8006050309041a00"_hex}));
}

void tst_devicewalks::addressEditedInTheMiddle()
{
    DeviceBench bench(QStringLiteral("phone"));
    QVERIFY(bench.connectConsole());
    QObject::connect(bench.tester.get(), &simulator::Tester::commandReceived, &bench.console, [&] {
        if (bench.requests().size() == 1) // the keyboard has no strings
            bench.tools.viewer.controls().DevAddr.adoptText(QStringLiteral("0x02"));
    });
    QVERIFY(bench.walk());
    QCOMPARE(bench.requests(),
             QList<QByteArray>({"01 03 8006000100001200"_hex, "01 02 8006020309040300"_hex}));
    QVERIFY(bench.report().endsWith(QLatin1String("bNumConfigurations = 0x01\r\n") +
                                    ended(QStringLiteral("Failure code = 0E"))));
}

void tst_devicewalks::troubles_data()
{
    QTest::addColumn<bool>("unsignedWords");
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("end");
    const QString none;
    const auto row = [](const char *name, const QString &report, const QString &box,
                        const QString &end) {
        QTest::newRow(name) << false << report << box << end;
    };
    const auto unsignedRow = [](const char *name, const QString &report) {
        QTest::addRow("%s, unsigned words", name) << true << report << QString() << Successful;
    };

    row("gateway", none, Overflow, Overflow);
    row("string-stall", deviceText(0x20, 1, 1, 2, 3), none, QStringLiteral("Failure code = 0E"));
    row("string-short",
        deviceText(0x21, 1, 1, 2) + stringText("Manufacturer", QStringLiteral("Cut o")) +
            stringText("Product", QStringLiteral("Too l")) + configurationText(25) +
            interfaceText() + endpointText(),
        none, Successful);
    row("length-zero", deviceText(0x23) + configurationText(34) + interfaceText(0, 1, 0x03), none,
        TimeOut);
    row("length-beyond",
        deviceText(0x24) + configurationText(25) + interfaceText() + endpointText(0x20), none,
        Successful);
    row("total-beyond", deviceText(0x25) + configurationText(64) + interfaceText() + endpointText(),
        none, Successful);
    row("total-huge", deviceText(0x26), Overflow, Overflow);
    unsignedRow("total-huge",
                deviceText(0x26) + configurationText(0x8019) + interfaceText() + endpointText());
    row("packet-huge", deviceText(0x27) + configurationText(25) + interfaceText(), Overflow,
        Overflow);
    unsignedRow("packet-huge", deviceText(0x27) + configurationText(25) + interfaceText() +
                                   endpointText(7, 0x8008));
    row("no-configuration", deviceText(0x28, 0), none,
        QStringLiteral("Failure: bNumConfigurations = 0"));
    row("strings-only",
        deviceText(0x29, 0, 1, 2, 3) + stringText("Manufacturer", QStringLiteral("Words")) +
            stringText("Product", QStringLiteral("\u00A9 \u0013 \u0016")) +
            stringText("SerialNumber", QStringLiteral("29")),
        none, Successful);
    row("many-strings",
        deviceText(0x2A, 1, 0, 1) + stringText("Product", QStringLiteral("Choir")) + elevenVoices(),
        OutOfRange, OutOfRange);
    row("device-short", none, OutOfRange, OutOfRange);
    row("silent", none, none, TimeOut);
    row("endpoint-short", deviceText(0x2E) + configurationText(22) + interfaceText(), OutOfRange,
        OutOfRange);
}

/// What does not end by itself ends after 50 ticks, neither earlier nor later.
void tst_devicewalks::troubles()
{
    QFETCH(bool, unsignedWords);
    QFETCH(QString, report);
    QFETCH(QString, box);
    QFETCH(QString, end);
    DeviceBench bench(QString::fromLatin1(QTest::currentDataTag()).section(QLatin1Char(','), 0, 0));
    bench.session().UnsignedWords = unsignedWords;
    QVERIFY(bench.connectConsole());
    bench.startWalk();
    const QStringList boxes = box.isEmpty() ? QStringList() : QStringList(box);
    if (end == TimeOut) {
        QTRY_COMPARE(bench.boxes(), boxes);
        QTRY_COMPARE(bench.report(), report);
        bench.tick(49);
        QVERIFY(bench.session().DescActive);
        QCOMPARE(bench.report(), report);
        bench.tick(1);
    }
    QTRY_VERIFY(!bench.session().DescActive);
    QCOMPARE(bench.report(), report + ended(end));
    QCOMPARE(bench.boxes(), boxes);
    QVERIFY(bench.tools.viewer.controls().GetDesc.isEnabled());
    QCOMPARE(bench.session().LinkState, LinkStates::Running);

    // It was the device's fault: another one can be read as soon as no reply can come any more.
    if (end == TimeOut)
        bench.tick(10);
    bench.address = 0x02;
    bench.session().UnsignedWords = false;
    QVERIFY(bench.walk());
    QCOMPARE(bench.report(), golden("tools/reports/keyboard"));
}

/// It is asked for once more after the end, and that answer is nobody's.
void tst_devicewalks::emptyString()
{
    DeviceBench bench(QStringLiteral("string-empty"));
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.walk());
    QCOMPARE(bench.report(),
             deviceText(0x22, 1, 0, 1) + ended(QStringLiteral("String length error")));
    QTRY_VERIFY(bench.responses().endsWith("-- Device Request Response: Status = 00\r\n"
                                           " 00 03 4E \r\n"));
    QCOMPARE(bench.requests(),
             QList<QByteArray>({"01 22 8006000100001200"_hex, "01 22 8006010309040300"_hex,
                                "01 22 8006010309040300"_hex}));
    QCOMPARE(bench.printedReplies(), 1);
}

void tst_devicewalks::nobodyThere()
{
    DeviceBench bench(QStringLiteral("phone"));
    bench.address = 0x11;
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.walk());
    QCOMPARE(bench.report(), ended(QStringLiteral("Failure code = 80")));
}

void tst_devicewalks::connectionLost()
{
    DeviceBench bench(QStringLiteral("silent"));
    QVERIFY(bench.connectConsole());
    bench.startWalk();
    QTRY_COMPARE(bench.requests().size(), 1);
    bench.console.connectClicked();
    for (int ticks = 0; ticks < 50; ++ticks) {
        QVERIFY(bench.session().DescActive);
        bench.console.Timer1();
    }
    QCOMPARE(bench.report(), ended(TimeOut));
    QVERIFY(bench.tools.viewer.controls().GetDesc.isEnabled());
}

VANTREL_TEST(tst_devicewalks)
#include "tst_devicewalks.moc"
