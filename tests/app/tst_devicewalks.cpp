// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "app/ToolWindows.h"
#include "simulator/BuiltInDevices.h"
#include "support/Hex.h"

#include <QFile>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A console with its tools, and a tester with one device more than usual.
struct DeviceBench : NetworkBench
{
    explicit DeviceBench(const QString &name,
                         const simulator::Settings &settings = simulator::Settings::vorn2())
        : NetworkBench(settings)
    {
        const simulator::BuiltInDevice *device = simulator::findBuiltInDevice(name);
        if (!device)
            qFatal("no device %s", qPrintable(name));
        if (!device->atStart && !simulator::attachBuiltInDevices(*tester, {name}))
            qFatal("no room for %s", qPrintable(name));
        address = device->address;
    }

    void startWalk()
    {
        tester->clearCommandsSeen();
        tools.viewer.controls().DevAddr.adoptText(QString::number(address));
        tools.viewer.getDescClicked();
    }
    bool walk()
    {
        startWalk();
        return QTest::qWaitFor([this] { return !session().DescActive; });
    }
    QString report() { return tools.viewer.controls().DescInfo.text(); }

    /// The device requests that the tester has received, code and all.
    QList<QByteArray> requests() const
    {
        QList<QByteArray> received;
        for (const QByteArray &command : tester->commandsSeen()) {
            if (command.startsWith('\x01'))
                received += command.toHex();
        }
        return received;
    }
    int printedReplies() { return static_cast<int>(responses().count("-- Device Request Resp")); }
    QStringList boxes() const
    {
        QStringList texts;
        for (const Message &message : dialogs.messages)
            texts += message.text;
        return texts;
    }

    /// The tester has the time to answer what a tick asks.
    void tick(int count)
    {
        for (int i = 0; i < count; ++i) {
            console.Timer1();
            if (!QTest::qWaitFor([this] { return session().StatusSeen; }))
                qFatal("the tester is silent");
        }
    }

    quint8 address = 0;
    Tools tools{console, dialogs, directory.path()};
};

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
    return QStringLiteral("0x%1")
        .arg(value, 2, 16, QLatin1Char('0'))
        .toUpper()
        .replace(QLatin1Char('X'), QLatin1Char('x'));
}

/// What all devices that misbehave have in common.
QString device(int product, int configurations = 1, int manufacturerString = 0,
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

QString string(const char *label, const QString &text)
{
    return lines("\n  === String Descriptor- %1 String:\n   %2\n").arg(QLatin1String(label), text);
}

QString configuration(int totalLength, int interfaces = 1)
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

QString interface(int number = 0, int endpoints = 1, int classCode = 0xFF, int stringIndex = 0)
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

QString endpoint(int length = 7, int packetSize = 8)
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

QString bulkEndpoint(int number, bool in)
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
    QString report = configuration(285, 12);
    for (int number = 0; number < 10; ++number)
        report += interface(number, 2, 0xFF, number + 2) + bulkEndpoint(number + 1, true) +
                  bulkEndpoint(number + 1, false);
    return report + interface(10, 2, 0xFF, 12);
}

QString ended(const QString &message)
{
    return lines("\n*** Get Descriptors Terminated\n      --- ") + message + lines("\n");
}

const QString Overflow = QStringLiteral("Overflow");
const QString OutOfRange = QStringLiteral("Subscript out of range");
const QString Successful = QStringLiteral("Successful");
const QString TimeOut = QStringLiteral("Timeout");

const QByteArray DeviceRequest = "8006 0001 0000 1200"_hex;

} // namespace

/// The tools that talk to a device, through the console, a socket and the tester.
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
    void emptyStringIsPrinted();
    void nobodyThere();
    void connectionLost();
    void singleRequest_data();
    void singleRequest();
    void requestWithData_data();
    void requestWithData();
    void oldVorn1IsRefused();
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
    QCOMPARE(bench.requests(), QList<QByteArray>({"0103"
                                                  "8006000100001200",
                                                  "0103"
                                                  "8006020309040300",
                                                  "0103"
                                                  "8006020309042200",
                                                  "0103"
                                                  "8006030309040300",
                                                  "0103"
                                                  "8006030309041800",
                                                  "0103"
                                                  "8006040309040300",
                                                  "0103"
                                                  "8006040309042200",
                                                  "0103"
                                                  "8006000200000800",
                                                  "0103"
                                                  "8006000200002700",
                                                  "0103"
                                                  "8006050309040300",
                                                  "0103"
                                                  "8006050309041a00"}));
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
    QCOMPARE(bench.requests(), QList<QByteArray>({"01038006000100001200", "01028006020309040300"}));
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

    row("gateway", none, Overflow, TimeOut);
    row("string-stall", device(0x20, 1, 1, 2, 3), none, QStringLiteral("Failure code = 0E"));
    row("string-short",
        device(0x21, 1, 1, 2) + string("Manufacturer", QStringLiteral("Cut o")) +
            string("Product", QStringLiteral("Too l")) + configuration(25) + interface() +
            endpoint(),
        none, Successful);
    row("string-empty", device(0x22, 1, 0, 1), none, QStringLiteral("String length error"));
    row("length-zero", device(0x23) + configuration(34) + interface(0, 1, 0x03), none, TimeOut);
    row("length-beyond", device(0x24) + configuration(25) + interface() + endpoint(0x20), none,
        Successful);
    row("total-beyond", device(0x25) + configuration(64) + interface() + endpoint(), none,
        Successful);
    row("total-huge", device(0x26), Overflow, TimeOut);
    unsignedRow("total-huge", device(0x26) + configuration(0x8019) + interface() + endpoint());
    row("packet-huge", device(0x27) + configuration(25) + interface(), Overflow, TimeOut);
    unsignedRow("packet-huge",
                device(0x27) + configuration(25) + interface() + endpoint(7, 0x8008));
    row("no-configuration", device(0x28, 0), none,
        QStringLiteral("Failure: bNumConfigurations = 0"));
    row("strings-only",
        device(0x29, 0, 1, 2, 3) + string("Manufacturer", QStringLiteral("Words")) +
            string("Product", QStringLiteral("\u00A9 \u0013 \u0016")) +
            string("SerialNumber", QStringLiteral("29")),
        none, Successful);
    row("many-strings",
        device(0x2A, 1, 0, 1) + string("Product", QStringLiteral("Choir")) + elevenVoices(),
        OutOfRange, TimeOut);
    row("device-short", none, OutOfRange, TimeOut);
    row("silent", none, none, TimeOut);
    row("endpoint-short", device(0x2E) + configuration(22) + interface(), OutOfRange, TimeOut);
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

    // It was the device's fault: another one can be read at once.
    bench.address = 0x02;
    bench.session().UnsignedWords = false;
    QVERIFY(bench.walk());
    QCOMPARE(bench.report(), golden("tools/reports/keyboard"));
}

void tst_devicewalks::emptyStringIsPrinted()
{
    DeviceBench bench(QStringLiteral("string-empty"));
    QVERIFY(bench.connectConsole());
    QVERIFY(bench.walk());
    QTRY_VERIFY(bench.responses().endsWith("-- Device Request Response: Status = 00\r\n"
                                           " 00 03 4E \r\n"));
    QCOMPARE(bench.requests(), QList<QByteArray>({"01228006000100001200", "01228006010309040300",
                                                  "01228006010309040300"}));
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

namespace {

/// A request builder that has been filled in.
struct RequestBench : DeviceBench
{
    explicit RequestBench(const simulator::Settings &settings)
        : DeviceBench(QStringLiteral("phone"), settings)
    {
    }

    void fillIn(int target, const QByteArray &setup)
    {
        controls.Address.adoptText(QString::number(target));
        const auto number = [&setup](int low, int high) {
            return QString::number(static_cast<quint8>(setup[low]) +
                                   256 * (high == 0 ? 0 : static_cast<quint8>(setup[high])));
        };
        controls.bmReqType.adoptText(number(0, 0));
        controls.bReq.adoptText(number(1, 0));
        controls.wValue.adoptText(number(2, 3));
        controls.windex.adoptText(number(4, 5));
        controls.wLength.adoptText(number(6, 7));
    }
    void enterData(const QByteArray &data)
    {
        int index = 0;
        for (const char byte : data) {
            tools.builder.dataEntered(index);
            controls.dataField(index).adoptText(QString::number(static_cast<quint8>(byte)));
            tools.builder.dataLeft(index++);
        }
    }
    void send()
    {
        tester->clearCommandsSeen();
        tools.builder.sendClicked();
    }
    /// For 64-byte packets at full speed.
    void goManual()
    {
        main().Automode.adoptChecked(false);
        console.automodeClicked();
        dialogs.messages.clear(); // it warns
        tools.builder.activated();
        tools.builder.maxPacketClicked(3);
        controls.FullSpeed.adoptChecked(true);
        tools.builder.fullSpeedClicked();
    }

    RequestControls &controls = tools.builder.controls();
};

void addTesters()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("manual");
    for (const int model : {1, 2}) {
        QTest::addRow("Vorn %d, automatic", model) << model << false;
        QTest::addRow("Vorn %d, manual", model) << model << true;
    }
}

simulator::Settings settingsOf(int model)
{
    return model == 1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
}

} // namespace

void tst_devicewalks::singleRequest_data()
{
    addTesters();
}

void tst_devicewalks::singleRequest()
{
    QFETCH(int, model);
    QFETCH(bool, manual);
    RequestBench bench(settingsOf(model));
    QVERIFY(bench.connectConsole());
    if (manual)
        bench.goManual();
    bench.fillIn(2, DeviceRequest);
    bench.send();
    QTRY_COMPARE(bench.requests(),
                 QList<QByteArray>{manual ? "0182078006000100001200" : "01028006000100001200"});
    QTRY_VERIFY(
        bench.responses().endsWith("-- Device Request Response: Status = 00\r\n"
                                   " 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 \r\n"));
    QCOMPARE(bench.boxes(), QStringList());
}

void tst_devicewalks::requestWithData_data()
{
    addTesters();
}

void tst_devicewalks::requestWithData()
{
    QFETCH(int, model);
    QFETCH(bool, manual);
    RequestBench bench(settingsOf(model));
    QVERIFY(bench.connectConsole());
    if (manual)
        bench.goManual();
    bench.fillIn(3, "40a0 3412 1b00 0300"_hex);
    bench.enterData("01 1b ff"_hex);
    bench.send();
    QTRY_COMPARE(bench.requests(), QList<QByteArray>{manual ? "01830740a034121b000300011bff"
                                                            : "010340a034121b000300011bff"});
    QTRY_VERIFY(bench.responses().contains("-- Device Request Response: Status = 0E\r\n"));
}

/// Such a tester does not say who it is: the console knows it by the tester it had before.
void tst_devicewalks::oldVorn1IsRefused()
{
    RequestBench bench(simulator::Settings::vorn1());
    QVERIFY(bench.connectConsole());
    bench.goManual();
    bench.console.connectClicked();
    bench.tester->state().settings.minor = 8;
    bench.console.connectClicked();
    QTRY_VERIFY(bench.console.link().isConnected());
    bench.second();
    QTRY_VERIFY(bench.commandLineSeen("** Vorn-1 Firmware Version: 2.8 or Lower **\r\n"));

    bench.fillIn(2, DeviceRequest);
    bench.send();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    const Message refusal = bench.dialogs.messages.takeFirst();
    QCOMPARE(refusal.text, QStringLiteral("Device Request in Manual Mode is not supported for "
                                          "Vorn-1 Firmware Versions 2.8 or Lower"));
    QCOMPARE(refusal.title, QStringLiteral("Vantrel - Illegal Operation"));
    QCOMPARE(refusal.buttons, Message::Buttons::Ok);

    bench.main().Automode.adoptChecked(true); // the next one passes, and is the only one there
    bench.send();
    QTRY_COMPARE(bench.requests(), QList<QByteArray>{"01028006000100001200"});
}

QTEST_GUILESS_MAIN(tst_devicewalks)
#include "tst_devicewalks.moc"
