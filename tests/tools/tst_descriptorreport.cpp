// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/publicvars.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"
#include "tools/DescriptorBytes.h"
#include "tools/DescriptorReport.h"
#include "tools/ViewerBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// One request of a walk, without the address, and what the device returns.
struct Step
{
    QByteArray setup;
    QByteArray data;
    QByteArray status = "00"_hex;
};
using Walk = QList<Step>;

Walk keyboard()
{
    return {{"8006 0001 0000 1200"_hex, "1201100100000008F3050700200300000001"_hex},
            {"8006 0002 0000 0800"_hex, "09023B00020100A0"_hex},
            {"8006 0002 0000 3B00"_hex, "09023B00020100A020"
                                        "090400000103010100"
                                        "092100012101223F00"
                                        "07058103080008"
                                        "090401000103000000"
                                        "092100010001226400"
                                        "07058203040008"_hex}};
}

Walk phone()
{
    return {{"8006 0001 0000 1200"_hex, "1201000200000040CE0F6601260202030401"_hex},
            {"8006 0203 0904 0300"_hex, "22034E"_hex},
            {"8006 0203 0904 2200"_hex,
             "2203 4E006F00720074006800770069006E006400 2000 4D006F00620069006C006500"_hex},
            {"8006 0303 0904 0300"_hex, "180348"_hex},
            {"8006 0303 0904 1800"_hex, "1803 480061006E006400730065007400 2000 360030003000"_hex},
            {"8006 0403 0904 0300"_hex, "220333"_hex},
            {"8006 0403 0904 2200"_hex,
             "2203 33003500310030003000340030003100320037003700310036003200300038 00"_hex},
            {"8006 0002 0000 0800"_hex, "09022700010100C0"_hex},
            {"8006 0002 0000 2700"_hex, "09022700010100C0FA"
                                        "0904000003FFFF0005"
                                        "07058102000200"
                                        "07050202000200"
                                        "070582031C0006"_hex},
            {"8006 0503 0904 0300"_hex, {}, "04"_hex}};
}

Walk mouse()
{
    return {{"8006 0001 0000 1200"_hex, "12011001000000080912010A000100000001"_hex},
            {"8006 0002 0000 0800"_hex, "09022200010100A0"_hex},
            {"8006 0002 0000 2200"_hex, "09022200010100A032"
                                        "090400000103010200"
                                        "092111010001223400"
                                        "0705810304000A"_hex}};
}

Walk storage()
{
    return {{"8006 0001 0000 1200"_hex, "12010002000000400912020A050101020302"_hex},
            {"8006 0103 0904 0300"_hex, "0A0341"_hex},
            {"8006 0103 0904 0A00"_hex, "0A03 41 00 63 00 6D 00 65 00"_hex},
            {"8006 0203 0904 0300"_hex, "0E0344"_hex},
            {"8006 0203 0904 0E00"_hex, "0E03 44 00 69 00 73 00 6B 00 20 00 38 00"_hex},
            {"8006 0303 0904 0300"_hex, "0A0330"_hex},
            {"8006 0303 0904 0A00"_hex, "0A03 30 00 30 00 30 00 31 00"_hex},
            {"8006 0002 0000 0800"_hex, "0902290001010480"_hex},
            {"8006 0002 0000 2900"_hex, "090229000101048032"
                                        "090400000208065005"
                                        "07058102000200"
                                        "07050202000200"
                                        "090400010008066206"_hex},
            {"8006 0403 0904 0300"_hex, "0A0346"_hex},
            {"8006 0403 0904 0A00"_hex, "0A03 46 00 61 00 73 00 74 00"_hex},
            {"8006 0503 0904 0300"_hex, "0A0342"_hex},
            {"8006 0503 0904 0A00"_hex, "0A03 42 00 75 00 6C 00 6B 00"_hex},
            {"8006 0603 0904 0300"_hex, "080355"_hex},
            {"8006 0603 0904 0800"_hex, "0803 55 00 41 00 53 00"_hex},
            {"8006 0102 0000 0800"_hex, "09022000010207C0"_hex},
            {"8006 0102 0000 2000"_hex, "09022000010207C000"
                                        "090400000208065000"
                                        "07058102400000"
                                        "07050202400000"_hex},
            {"8006 0703 0904 0300"_hex, "0A0353"_hex},
            {"8006 0703 0904 0A00"_hex, "0A03 53 00 6C 00 6F 00 77 00"_hex}};
}

Walk highVendor()
{
    return {{"8006 0001 0000 1200"_hex, "120100020900014087802400008000000001"_hex},
            {"8006 0002 0000 0800"_hex, "09021900010100E0"_hex},
            {"8006 0002 0000 1900"_hex, "09021900010100E000"
                                        "090400000109000000"
                                        "0705810302800C"_hex}};
}

Walk odd()
{
    return {{"8006 0001 0000 1200"_hex, "12011002EF020120CD0BCD7A999900000001"_hex},
            {"8006 0002 0000 0800"_hex, "0902480001FF0060"_hex},
            {"8006 0002 0000 4800"_hex, "0902480001FF0060FF"
                                        "02FF"
                                        "080B0002FF000000"
                                        "0904020004FFFEFD00"
                                        "052400ABCD"
                                        "07058801FF0301"
                                        "07050F00400000"
                                        "0905070240000A0000"
                                        "07058AFFFF7FFF"
                                        "0402AABB"
                                        "2041010203"_hex}};
}

QByteArray golden(const char *name)
{
    QFile file(QStringLiteral(VANTREL_REPORTS "/%1.txt").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no report %s", name);
    return file.readAll();
}

using Report = std::function<QString(const DescriptorBytes &)>;
QString configurationReportOfFirst(const DescriptorBytes &bytes)
{
    return configurationReport(bytes, 0);
}

} // namespace

class tst_descriptorreport : public QObject
{
    Q_OBJECT

private slots:
    void walks_data();
    void walks();
    void strings_data();
    void strings();
    void headings();
    void powerSources_data();
    void powerSources();
    void endpoints_data();
    void endpoints();
    void releasesAreNoWords();
    void highWords_data();
    void highWords();
    void everyPositionIsNeeded_data();
    void everyPositionIsNeeded();
    void longDump();
};

void tst_descriptorreport::walks_data()
{
    QTest::addColumn<Walk>("walk");
    QTest::addColumn<QByteArray>("report");
    QTest::addColumn<bool>("unsignedWords");
    QTest::newRow("composite keyboard") << keyboard() << golden("keyboard") << false;
    QTest::newRow("phone") << phone() << golden("phone") << false;
    QTest::newRow("low-speed mouse") << mouse() << golden("mouse") << false;
    QTest::newRow("mass storage") << storage() << golden("storage") << false;
    QTest::newRow("vendor 0x8087") << highVendor() << golden("high-vendor") << true;
    QTest::newRow("odd") << odd() << golden("odd") << false;
}

/// Each request, then the report, letter for letter.
void tst_descriptorreport::walks()
{
    QFETCH(Walk, walk);
    QFETCH(QByteArray, report);
    QFETCH(bool, unsignedWords);
    ViewerBench bench;
    bench.session.UnsignedWords = unsignedWords;
    bench.start();
    for (const Step &step : walk) {
        QCOMPARE(bench.sent(), request(step.setup));
        QVERIFY(bench.runsQuietly());
        bench.reply(step.data, step.status);
    }
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(report.contains("\r\n"));
    QCOMPARE(bench.report().toLatin1(), report);
    QVERIFY(!bench.session.DescActive);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void tst_descriptorreport::strings_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("report");
    QTest::newRow("plain") << "Disk"
                           << "\r\n  === String Descriptor- Product String:\r\n   Disk\r\n";
    QTest::newRow("empty") << ""
                           << "\r\n  === String Descriptor- Product String:\r\n   \r\n";
}

void tst_descriptorreport::strings()
{
    QFETCH(QString, text);
    QTEST(stringReport(QStringLiteral("Product String:"), text), "report");
}

void tst_descriptorreport::headings()
{
    const Session session;
    const QByteArray configuration = "09 02 09 00 00 01 00 80 32"_hex;
    const QString report = configurationReport(DescriptorBytes(session, configuration), 12);
    QVERIFY(report.startsWith(
        QLatin1String("\r\n===== Configuration  12 Descriptor =====\r\n bLength = 0x09\r\n")));
    QVERIFY(report.endsWith(QLatin1String("\r\n MaxPower 100mA\r\n")));

    const QByteArray interfaceNumber255 = "09 04 FF 00 00 00 00 00 00"_hex;
    QVERIFY(
        interfaceReport(DescriptorBytes(session, interfaceNumber255))
            .startsWith(QLatin1String("\r\n===== Interface  255 Descriptor =====\r\n blength")));
}

void tst_descriptorreport::powerSources_data()
{
    QTest::addColumn<QByteArray>("attributes");
    QTest::addColumn<QString>("lines");
    QTest::newRow("bus") << "80"_hex
                         << " bmAttributes = 0x80\r\n     Bus Powered\r\n MaxPower 100mA\r\n";
    QTest::newRow("bus, wakeup")
        << "A0"_hex
        << " bmAttributes = 0xA0\r\n     Bus Powered\r\n     Remote Wakeup Supported\r\n"
           " MaxPower 100mA\r\n";
    QTest::newRow("self") << "C0"_hex
                          << " bmAttributes = 0xC0\r\n     Self Powered\r\n MaxPower 100mA\r\n";
    QTest::newRow("self, wakeup")
        << "E0"_hex
        << " bmAttributes = 0xE0\r\n     Self Powered\r\n     Remote Wakeup Supported\r\n"
           " MaxPower 100mA\r\n";
    QTest::newRow("other bits")
        << "9F"_hex
        << " bmAttributes = 0x9F\r\n     Bus Powered\r\n MaxPower 100mA\r\n";
}

void tst_descriptorreport::powerSources()
{
    QFETCH(QByteArray, attributes);
    QFETCH(QString, lines);
    const Session session;
    const QByteArray bytes = "09 02 09 00 00 01 00"_hex + attributes + "32"_hex;
    const QString report = configurationReport(DescriptorBytes(session, bytes), 0);
    QCOMPARE(report.mid(report.indexOf(QLatin1String(" bmAttributes"))), lines);
}

void tst_descriptorreport::endpoints_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("report");
    QTest::newRow("8 IN") << "07 05 88 02 00 02 00"_hex
                          << "\r\n===== Endpoint  0 Descriptor =====\r\n"
                             " blength = 0x07\r\n"
                             " bDescriptorType = 0x05 (5 = ENDPOINT)\r\n"
                             " bEndpointAddress = 0x88\r\n"
                             "     Endpoint  8 IN\r\n"
                             " bmAttributes = 0x02\r\n"
                             "     Bulk Endpoint\r\n"
                             " wMaxPacketSize =  512\r\n"
                             " bInterval =  0 mS\r\n";
    QTest::newRow("15 OUT, other bits") << "07 05 7F FC FF 7F FF"_hex
                                        << "\r\n===== Endpoint  7 Descriptor =====\r\n"
                                           " blength = 0x07\r\n"
                                           " bDescriptorType = 0x05 (5 = ENDPOINT)\r\n"
                                           " bEndpointAddress = 0x7F\r\n"
                                           "     Endpoint  15 OUT\r\n"
                                           " bmAttributes = 0xFC\r\n"
                                           "     Control Endpoint\r\n"
                                           " wMaxPacketSize =  32767\r\n"
                                           " bInterval =  255 mS\r\n";
}

void tst_descriptorreport::endpoints()
{
    QFETCH(QByteArray, bytes);
    const Session session;
    QTEST(endpointReport(DescriptorBytes(session, bytes)), "report");
}

void tst_descriptorreport::releasesAreNoWords()
{
    const Session session;
    const QByteArray device = "12 01 99 FF 00 00 00 08 FF 7F FF 7F 01 80 00 00 00 01"_hex;
    const QString report = deviceReport(DescriptorBytes(session, device));
    QVERIFY(report.contains(QLatin1String("\r\n bcdUSB = FF.99\r\n")));
    QVERIFY(report.contains(QLatin1String("\r\n idVendor = 0x7FFF\r\n idProduct = 0x7FFF\r\n")));
    QVERIFY(report.contains(QLatin1String("\r\n bcdDevice = 80.01\r\n")));
}

void tst_descriptorreport::highWords_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("line");
    QTest::newRow("idVendor") << Report(deviceReport)
                              << "12 01 00 02 00 00 00 40 00 80 01 00 00 01 00 00 00 01"_hex
                              << "\r\n idVendor = 0x8000\r\n";
    QTest::newRow("idProduct") << Report(deviceReport)
                               << "12 01 00 02 00 00 00 40 01 00 FF FF 00 01 00 00 00 01"_hex
                               << "\r\n idProduct = 0xFFFF\r\n";
    QTest::newRow("wTotalLength") << Report(configurationReportOfFirst)
                                  << "09 02 00 80 01 01 00 80 32"_hex
                                  << "\r\n wTotalLength =  32768\r\n";
    QTest::newRow("wMaxPacketSize") << Report(endpointReport) << "07 05 81 02 FF FF 00"_hex
                                    << "\r\n wMaxPacketSize =  65535\r\n";
}

void tst_descriptorreport::highWords()
{
    QFETCH(Report, report);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, line);
    Session session;
    const DescriptorBytes descriptor(session, bytes);
    QCOMPARE(thrownBy([&] { report(descriptor); }), QStringLiteral("Overflow"));
    session.UnsignedWords = true;
    QVERIFY(report(descriptor).contains(line));
}

void tst_descriptorreport::everyPositionIsNeeded_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<QByteArray>("shortest");
    QTest::newRow("device") << Report(deviceReport) << OneConfiguration;
    QTest::newRow("configuration")
        << Report(configurationReportOfFirst) << "09 02 09 00 01 01 00 80 32"_hex;
    QTest::newRow("interface") << Report(interfaceReport) << "09 04 00 00 00 00 00 00 00"_hex;
    QTest::newRow("endpoint") << Report(endpointReport) << "07 05 81 02 00 02 00"_hex;
    QTest::newRow("class or vendor") << Report(classOrVendorReport) << "02 FF"_hex;
}

void tst_descriptorreport::everyPositionIsNeeded()
{
    QFETCH(Report, report);
    QFETCH(QByteArray, shortest);
    const Session session;
    QVERIFY(!report(DescriptorBytes(session, shortest)).isEmpty());
    for (qsizetype length = 0; length < shortest.size(); ++length) {
        QCOMPARE(thrownBy([&] { report(DescriptorBytes(session, shortest.first(length))); }),
                 QStringLiteral("Subscript out of range"));
    }
}

void tst_descriptorreport::longDump()
{
    const Session session;
    QByteArray bytes = "FF 24"_hex;
    bytes.resize(255, '\x0a');
    QString dump;
    for (int i = 0; i < 253; ++i)
        dump += QStringLiteral("0A ");
    QCOMPARE(classOrVendorReport(DescriptorBytes(session, bytes)),
             QStringLiteral("\r\n===== Class/Vendor Descriptor =====\r\n"
                            " blength = 0xFF\r\n"
                            " bDescriptorType = 0x24\r\n"
                            " --- Descriptor Data (hex) ---\r\n"
                            "     ") +
                 dump + QStringLiteral("\r\n"));
}

VANTREL_TEST(tst_descriptorreport)
#include "tst_descriptorreport.moc"
