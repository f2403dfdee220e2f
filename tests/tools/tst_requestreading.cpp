// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/RequestReading.h"

#include <QTest>

#include <array>

using namespace vantrel;

namespace {

struct Row
{
    SetupPacket setup; // bmRequestType, bRequest, wValue, wIndex, wLength
    int dataBytes;
    const char *reading;
};

constexpr auto StandardRows = std::to_array<Row>({
    {{0x80, 0, 0, 0, 2}, 0, "GET_STATUS (device), device to host, 2 bytes"},
    {{0x81, 0, 0, 1, 2}, 0, "GET_STATUS (interface 1), device to host, 2 bytes"},
    {{0x82, 0, 0, 0x81, 2}, 0, "GET_STATUS (endpoint 1 IN), device to host, 2 bytes"},
    {{0x00, 1, 1, 0, 0},
     0,
     "CLEAR_FEATURE (DEVICE_REMOTE_WAKEUP, device), host to device, no data"},
    {{0x01, 1, 0, 2, 0}, 0, "CLEAR_FEATURE (ENDPOINT_HALT, interface 2), host to device, no data"},
    {{0x02, 1, 0, 0x02, 0},
     0,
     "CLEAR_FEATURE (ENDPOINT_HALT, endpoint 2 OUT), host to device, no data"},
    {{0x00, 1, 2, 0x0400, 0}, 0, "CLEAR_FEATURE (TEST_MODE, device), host to device, no data"},
    {{0x00, 1, 9, 0, 0}, 0, "CLEAR_FEATURE (feature 9, device), host to device, no data"},
    {{0x00, 3, 1, 0, 0}, 0, "SET_FEATURE (DEVICE_REMOTE_WAKEUP, device), host to device, no data"},
    {{0x02, 3, 0, 0x8F, 0},
     0,
     "SET_FEATURE (ENDPOINT_HALT, endpoint 15 IN), host to device, no data"},
    {{0x00, 3, 2, 0x0100, 0},
     0,
     "SET_FEATURE (TEST_MODE, Test_J, device), host to device, no data"},
    {{0x00, 3, 2, 0x0200, 0},
     0,
     "SET_FEATURE (TEST_MODE, Test_K, device), host to device, no data"},
    {{0x00, 3, 2, 0x0300, 0},
     0,
     "SET_FEATURE (TEST_MODE, Test_SE0_NAK, device), host to device, no data"},
    {{0x00, 3, 2, 0x0400, 0},
     0,
     "SET_FEATURE (TEST_MODE, Test_Packet, device), host to device, no data"},
    {{0x00, 3, 2, 0x0500, 0},
     0,
     "SET_FEATURE (TEST_MODE, Test_Force_Enable, device), host to device, no data"},
    {{0x00, 3, 2, 0xC000, 0},
     0,
     "SET_FEATURE (TEST_MODE, selector 0xC0, device), host to device, no data"},
    {{0x00, 3, 258, 0, 0}, 0, "SET_FEATURE (feature 258, device), host to device, no data"},
    {{0x00, 5, 5, 0, 0}, 0, "SET_ADDRESS (5), host to device, no data"},
    {{0x80, 6, 0x0100, 0, 18}, 0, "GET_DESCRIPTOR (DEVICE), device to host, 18 bytes"},
    {{0x00, 7, 0x0304, 0x0407, 10},
     10,
     "SET_DESCRIPTOR (STRING, index 4, language 0x0407), host to device, 10 bytes"},
    {{0x80, 8, 0, 0, 1}, 0, "GET_CONFIGURATION, device to host, 1 byte"},
    {{0x00, 9, 1, 0, 0}, 0, "SET_CONFIGURATION (1), host to device, no data"},
    {{0x81, 10, 0, 3, 1}, 0, "GET_INTERFACE (interface 3), device to host, 1 byte"},
    {{0x01, 11, 2, 1, 0},
     0,
     "SET_INTERFACE (alternate setting 2, interface 1), host to device, no data"},
    {{0x82, 12, 0, 0x83, 2}, 0, "SYNCH_FRAME (endpoint 3 IN), device to host, 2 bytes"},
    {{0x80, 2, 0, 0, 0}, 0, "standard request 0x02 to the device, device to host, no data"},
    {{0x00, 4, 0, 0, 0}, 0, "standard request 0x04 to the device, host to device, no data"},
    {{0x81, 13, 0, 7, 4}, 0, "standard request 0x0D to interface 7, device to host, 4 bytes"},
    {{0x80, 255, 0, 0, 65535},
     0,
     "standard request 0xFF to the device, device to host, 65535 bytes"},
});

constexpr auto DescriptorRows = std::to_array<Row>({
    {{0x80, 6, 0x0200, 0, 9},
     0,
     "GET_DESCRIPTOR (CONFIGURATION, index 0), device to host, 9 bytes"},
    {{0x80, 6, 0x0201, 0, 9},
     0,
     "GET_DESCRIPTOR (CONFIGURATION, index 1), device to host, 9 bytes"},
    {{0x80, 6, 0x0300, 0, 255}, 0, "GET_DESCRIPTOR (STRING, index 0), device to host, 255 bytes"},
    {{0x80, 6, 0x0302, 0x0409, 255},
     0,
     "GET_DESCRIPTOR (STRING, index 2, language 0x0409), device to host, 255 bytes"},
    {{0x80, 6, 0x0400, 0, 9}, 0, "GET_DESCRIPTOR (INTERFACE), device to host, 9 bytes"},
    {{0x80, 6, 0x0500, 0, 7}, 0, "GET_DESCRIPTOR (ENDPOINT), device to host, 7 bytes"},
    {{0x80, 6, 0x0600, 0, 10}, 0, "GET_DESCRIPTOR (DEVICE_QUALIFIER), device to host, 10 bytes"},
    {{0x80, 6, 0x0700, 0, 9},
     0,
     "GET_DESCRIPTOR (OTHER_SPEED_CONFIGURATION, index 0), device to host, 9 bytes"},
    {{0x80, 6, 0x0800, 0, 9}, 0, "GET_DESCRIPTOR (INTERFACE_POWER), device to host, 9 bytes"},
    {{0x80, 6, 0x0900, 0, 3}, 0, "GET_DESCRIPTOR (OTG), device to host, 3 bytes"},
    {{0x80, 6, 0x0A00, 0, 4}, 0, "GET_DESCRIPTOR (DEBUG), device to host, 4 bytes"},
    {{0x80, 6, 0x0B00, 0, 8}, 0, "GET_DESCRIPTOR (INTERFACE_ASSOCIATION), device to host, 8 bytes"},
    {{0x80, 6, 0x0F00, 0, 5}, 0, "GET_DESCRIPTOR (BOS), device to host, 5 bytes"},
    {{0x80, 6, 0x1000, 0, 7}, 0, "GET_DESCRIPTOR (DEVICE_CAPABILITY), device to host, 7 bytes"},
    {{0x80, 6, 0x0101, 0, 18}, 0, "GET_DESCRIPTOR (DEVICE, index 1), device to host, 18 bytes"},
    {{0x81, 6, 0x2200, 1, 63},
     0,
     "GET_DESCRIPTOR (type 0x22, index 0, interface 1), device to host, 63 bytes"},
    {{0x80, 6, 0x0000, 0, 1}, 0, "GET_DESCRIPTOR (type 0x00, index 0), device to host, 1 byte"},
});

constexpr auto OtherRows = std::to_array<Row>({
    {{0x40, 0xA0, 0, 0, 16}, 16, "vendor request 0xA0 to the device, host to device, 16 bytes"},
    {{0xC0, 0x51, 0, 0, 1}, 0, "vendor request 0x51 to the device, device to host, 1 byte"},
    {{0x21, 0x09, 0x0200, 0, 8}, 8, "class request 0x09 to interface 0, host to device, 8 bytes"},
    {{0xA1, 0x81, 0, 0x0502, 2},
     0,
     "class request 0x81 to interface 0x0502, device to host, 2 bytes"},
    {{0xA2, 0x85, 0, 0x0181, 3},
     0,
     "class request 0x85 to endpoint 0x0181, device to host, 3 bytes"},
    {{0x22, 0x01, 0, 0x10, 3}, 3, "class request 0x01 to endpoint 0x0010, host to device, 3 bytes"},
    {{0x22, 0x01, 0, 0x00, 3}, 3, "class request 0x01 to endpoint 0, host to device, 3 bytes"},
    {{0x22, 0x01, 0, 0x80, 3}, 3, "class request 0x01 to endpoint 0 IN, host to device, 3 bytes"},
    {{0xA3, 0x00, 0, 1, 4}, 0, "class request 0x00 to other recipient, device to host, 4 bytes"},
    {{0x44, 0x01, 0, 0, 0},
     0,
     "vendor request 0x01 to reserved recipient 4, host to device, no data"},
    {{0xDF, 0x01, 0, 0, 0},
     0,
     "vendor request 0x01 to reserved recipient 31, device to host, no data"},
    {{0x60, 0x07, 0, 0, 0}, 0, "reserved request 0x07 to the device, host to device, no data"},
    {{0xE1, 0x07, 0, 255, 1}, 0, "reserved request 0x07 to interface 255, device to host, 1 byte"},
});

/// Against the rules, which is what a tester is for.
constexpr auto IllegalRows = std::to_array<Row>({
    {{0x00, 6, 0x0100, 0, 18}, 18, "GET_DESCRIPTOR (DEVICE), host to device, 18 bytes"},
    {{0x81, 8, 0, 4, 1}, 0, "GET_CONFIGURATION (interface 4), device to host, 1 byte"},
    {{0x82, 5, 9, 0x81, 0}, 0, "SET_ADDRESS (9, endpoint 1 IN), device to host, no data"},
    {{0x80, 12, 0, 0, 2}, 0, "SYNCH_FRAME (device), device to host, 2 bytes"},
    {{0x00, 9, 0xFFFF, 0, 0}, 0, "SET_CONFIGURATION (65535), host to device, no data"},
    {{0x03, 0, 0, 0, 0}, 0, "GET_STATUS (other recipient), host to device, no data"},
});

constexpr auto DataRows = std::to_array<Row>({
    {{0x40, 0xA0, 0, 0, 16},
     15,
     "vendor request 0xA0 to the device, host to device, 16 bytes, 15 data bytes entered"},
    {{0x40, 0xA0, 0, 0, 16},
     0,
     "vendor request 0xA0 to the device, host to device, 16 bytes, 0 data bytes entered"},
    {{0x00, 9, 1, 0, 0}, 1, "SET_CONFIGURATION (1), host to device, no data, 1 data byte entered"},
    {{0x00, 9, 1, 0, 1}, 1, "SET_CONFIGURATION (1), host to device, 1 byte"},
    {{0x80, 8, 0, 0, 1}, 5, "GET_CONFIGURATION, device to host, 1 byte"},
});

template <typename Rows>
void add(const char *group, const Rows &rows)
{
    for (const Row &row : rows)
        QTest::addRow("%s: %s", group, row.reading)
            << row.setup.bmRequestType << row.setup.bRequest << row.setup.wValue << row.setup.wIndex
            << row.setup.wLength << row.dataBytes << QString::fromLatin1(row.reading);
}

} // namespace

/// What the setup packet means, in one line.
class TestRequestReading : public QObject
{
    Q_OBJECT

private slots:
    void reading_data();
    void reading();
    void everyPacketHasOne();
};

void TestRequestReading::reading_data()
{
    QTest::addColumn<quint8>("bmRequestType");
    QTest::addColumn<quint8>("bRequest");
    QTest::addColumn<quint16>("wValue");
    QTest::addColumn<quint16>("wIndex");
    QTest::addColumn<quint16>("wLength");
    QTest::addColumn<int>("dataBytes");
    QTest::addColumn<QString>("reading");
    add("standard", StandardRows);
    add("descriptor", DescriptorRows);
    add("other", OtherRows);
    add("illegal", IllegalRows);
    add("data", DataRows);
}

void TestRequestReading::reading()
{
    QFETCH(quint8, bmRequestType);
    QFETCH(quint8, bRequest);
    QFETCH(quint16, wValue);
    QFETCH(quint16, wIndex);
    QFETCH(quint16, wLength);
    QFETCH(int, dataBytes);
    QTEST(describeRequest({bmRequestType, bRequest, wValue, wIndex, wLength}, dataBytes),
          "reading");
}

void TestRequestReading::everyPacketHasOne()
{
    for (int type = 0; type < 256; ++type) {
        for (int request = 0; request < 256; ++request) {
            const SetupPacket setup{static_cast<quint8>(type), static_cast<quint8>(request), 0x0203,
                                    0x0405, 0};
            const QString reading = describeRequest(setup, 0);
            const QString direction =
                type < 0x80 ? QStringLiteral("host to device") : QStringLiteral("device to host");
            if (!reading.endsWith(QStringLiteral(", %1, no data").arg(direction)) ||
                reading.contains(QStringLiteral("()")))
                QFAIL(qPrintable(reading));
        }
    }
}

VANTREL_TEST(TestRequestReading)
#include "tst_requestreading.moc"
