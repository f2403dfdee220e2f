// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/DeviceTalk.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;
using namespace vantrel::simulator;

/// The table of built-in devices, and how a tester gets them.
class tst_builtindevices : public QObject
{
    Q_OBJECT

private slots:
    void table();
    void findsByNameAndAddress();
    void lists_data();
    void lists();
    void descriptions();
    void defaultTester();
    void attaching();
    void addsUp_data();
    void addsUp();
    void stringsAreThere_data();
    void stringsAreThere();
};

namespace {

constexpr quint8 FirstOddAddress = 0x20;

void healthyDevices()
{
    QTest::addColumn<QByteArray>("name");
    for (const BuiltInDevice &device : builtInDevices()) {
        if (device.address < FirstOddAddress)
            QTest::newRow(qPrintable(device.name)) << device.name.toLatin1();
    }
}

int byteAt(const QByteArray &bytes, qsizetype position)
{
    return static_cast<quint8>(bytes.at(position - 1));
}

/// One descriptor after the other; an empty one at the end if the lengths do not add up.
QList<QByteArray> split(QByteArray configuration)
{
    QList<QByteArray> parts;
    while (!configuration.isEmpty()) {
        const int length = byteAt(configuration, 1);
        if (length < 2 || length > configuration.size())
            return parts << QByteArray();
        parts.append(configuration.left(length));
        configuration.remove(0, length);
    }
    return parts;
}

/// String indexes in a descriptor, 0 among them.
QList<int> stringIndexes(const QByteArray &descriptor)
{
    switch (byteAt(descriptor, 2)) {
    case 1:
        return {byteAt(descriptor, 15), byteAt(descriptor, 16), byteAt(descriptor, 17)};
    case 2:
        return {byteAt(descriptor, 7)};
    case 4:
        return {byteAt(descriptor, 9)};
    default:
        return {};
    }
}

} // namespace

void tst_builtindevices::table()
{
    static const QRegularExpression word(QStringLiteral("^[a-z][a-z0-9-]*$"));
    QSet<QString> names;
    int last = 0;
    for (const BuiltInDevice &device : builtInDevices()) {
        QVERIFY2(word.match(device.name).hasMatch(), qPrintable(device.name));
        QVERIFY2(!names.contains(device.name), qPrintable(device.name));
        names.insert(device.name);
        QVERIFY2(device.name != QLatin1String("all") && device.name != QLatin1String("none"),
                 "taken by lists");
        QVERIFY2(!device.description.isEmpty(), qPrintable(device.name));
        QVERIFY2(device.address > last && device.address <= 127, qPrintable(device.name));
        last = device.address;
        QVERIFY2(device.make() != nullptr, qPrintable(device.name));
    }
}

void tst_builtindevices::findsByNameAndAddress()
{
    for (const char *call : {"disk", "0x05", "0X5", "5"}) {
        const BuiltInDevice *found = findBuiltInDevice(QString::fromLatin1(call));
        QVERIFY2(found, call);
        QCOMPARE(found->name, QStringLiteral("disk"));
    }
    for (const char *call : {"", "Disk", "dis", "all", "none", "1", "0x80", "-5"})
        QVERIFY2(!findBuiltInDevice(QString::fromLatin1(call)), call);
}

void tst_builtindevices::lists_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("names"); // "?": refused
    const auto row = [](const char *text, const char *names) {
        QTest::addRow("'%s'", text) << QString::fromLatin1(text) << QString::fromLatin1(names);
    };
    row("none", "");
    row("phone", "phone");
    row("phone,keyboard", "phone,keyboard");
    row("0x2A,disk", "many-strings,disk");
    row("mouse,4,mouse", "mouse");
    row("", "?");
    row("phone,", "?");
    row(",phone", "?");
    row("phone,toaster", "?");
    row("phone,all", "?");
    row("none,phone", "?");
    row("All", "?");
}

void tst_builtindevices::lists()
{
    QFETCH(QString, text);
    QFETCH(QString, names);
    const auto list = readDeviceList(text);
    QCOMPARE(list ? list->join(QLatin1Char(',')) : QStringLiteral("?"), names);
    QCOMPARE(readDeviceList(QStringLiteral("all"))->size(), builtInDevices().size());
    QCOMPARE(devicesAtStart().join(QLatin1Char(',')), QStringLiteral("keyboard,phone"));
}

void tst_builtindevices::descriptions()
{
    const QStringList lines = describeBuiltInDevices();
    QCOMPARE(lines.size(), builtInDevices().size());
    QCOMPARE(lines.at(0), QStringLiteral("keyboard          0x02           composite keyboard and "
                                         "mouse, 64 mA"));
    QCOMPARE(lines.last(),
             QStringLiteral("eeprom-checksum   0x30           serial converter whose EEPROM has a "
                            "wrong checksum"));
}

void tst_builtindevices::defaultTester()
{
    Talk talk;
    QList<int> addresses;
    for (const UsbPort::Attachment &attachment : talk.tester().state().port.attachments())
        addresses.append(attachment.homeAddress);
    QCOMPARE(addresses, (QList<int>{2, 3}));
}

void tst_builtindevices::attaching()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    Tester &tester = talk.tester();
    QVERIFY(attachBuiltInDevices(tester, {QStringLiteral("gateway"), QStringLiteral("mouse")}));
    talk.ask("07 00 01"_hex);
    QVERIFY(attachBuiltInDevices(tester, {}));
    QCOMPARE(talk.take(), QByteArray());
    // The mouse is there, a toaster is not known, the disk comes all the same.
    QVERIFY(!attachBuiltInDevices(tester, {QStringLiteral("mouse"), QStringLiteral("disk")}));
    QCOMPARE(talk.take(), packet("90 00 05 00 0d2e 4000"_hex));
    QVERIFY(!attachBuiltInDevices(tester, {QStringLiteral("toaster"), QStringLiteral("phone")}));
    QCOMPARE(talk.take(), packet("90 00 03 00 ce0f 6601"_hex));

    Talk everything = Talk::withoutDevices(Settings::vorn2());
    QVERIFY(attachBuiltInDevices(everything.tester(), *readDeviceList(QStringLiteral("all"))));
}

void tst_builtindevices::addsUp_data()
{
    healthyDevices();
}

void tst_builtindevices::addsUp()
{
    QFETCH(QByteArray, name);
    const auto device = builtIn(name);
    const DeviceDescriptors &descriptors = device->descriptors();
    QCOMPARE(descriptors.device.size(), 18);
    QCOMPARE(descriptors.device.left(2), "1201"_hex);
    QCOMPARE(byteAt(descriptors.device, 18), descriptors.configurations.size());

    QSet<int> values;
    for (const QByteArray &configuration : descriptors.configurations) {
        QCOMPARE(byteAt(configuration, 3) + 256 * byteAt(configuration, 4), configuration.size());
        values.insert(byteAt(configuration, 6));
        QSet<int> interfaces;
        int endpointsToCome = 0;
        for (const QByteArray &part : split(configuration)) {
            QVERIFY2(!part.isEmpty(), "lengths that do not add up");
            if (byteAt(part, 2) == 4) {
                QCOMPARE(part.size(), 9);
                QCOMPARE(endpointsToCome, 0);
                interfaces.insert(byteAt(part, 3));
                endpointsToCome = byteAt(part, 5);
            } else if (byteAt(part, 2) == 5) {
                QCOMPARE(part.size(), 7);
                --endpointsToCome;
            }
        }
        QCOMPARE(endpointsToCome, 0);
        QCOMPARE(interfaces.size(), byteAt(configuration, 5));
    }
    QCOMPARE(values.size(), descriptors.configurations.size());
    QVERIFY(!values.contains(0));
}

void tst_builtindevices::stringsAreThere_data()
{
    healthyDevices();
}

void tst_builtindevices::stringsAreThere()
{
    QFETCH(QByteArray, name);
    const auto device = builtIn(name);
    const DeviceDescriptors &descriptors = device->descriptors();
    QSet<int> named;
    for (const QByteArray &descriptor :
         QList<QByteArray>{descriptors.device} + split(descriptors.configurations.join())) {
        for (const int index : stringIndexes(descriptor)) {
            if (index != 0)
                named.insert(index);
        }
    }
    QSet<int> there;
    for (auto text = descriptors.strings.begin(); text != descriptors.strings.end(); ++text) {
        there.insert(text.key());
        QVERIFY(!text->isEmpty());
    }
    QCOMPARE(named, there);
}

VANTREL_TEST(tst_builtindevices)
#include "tst_builtindevices.moc"
