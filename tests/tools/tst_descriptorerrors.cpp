// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/ViewerBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray WithAString = "12 01 00 02 00 00 00 40 09 12 02 0A 00 01 01 00 00 01"_hex;

/// A bench that has read the device and the length of its configuration.
struct ConfigurationBench : ViewerBench
{
    explicit ConfigurationBench(quint8 total)
    {
        start();
        reply(OneConfiguration);
        reply(probeAnswer(total));
        sent();
    }
};

QString ended(const QString &message)
{
    return QStringLiteral("\r\n*** Get Descriptors Terminated\r\n      --- ") + message +
           QStringLiteral("\r\n");
}

const QByteArray Configuration = "09 02 FF 00 01 01 00 80 32"_hex;

} // namespace

/// The walk when the device, the tester or the user goes astray.
class tst_descriptorerrors : public QObject
{
    Q_OBJECT

private slots:
    void failureStatus_data();
    void failureStatus();
    void invalidLevel();
    void replyWithoutStatus();
    void stringLengthError();
    void shortestStringLength();
    void runTimeErrors_data();
    void runTimeErrors();
    void highVendorId();
    void shortSubordinates_data();
    void shortSubordinates();
    void lengthZero_data();
    void lengthZero();
    void reachingPastTheData();
    void emptyConfiguration();
    void eleventhInterfaceString();
    void eleventhString();
    void thousandsOfFailingReplies();
    void repliesToSomebodyElse();
    void addressBreaksAfterTheEnd();
    void withoutConnection();
    void linkLost();
    void otherRepliesInBetween();
    void disconnectedWhileWaiting();
};

void tst_descriptorerrors::failureStatus_data()
{
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("1") << "01"_hex << QByteArray() << QByteArray("Failure code = 01");
    QTest::newRow("with data") << "04"_hex << OneConfiguration << QByteArray("Failure code = 04");
    QTest::newRow("highest") << "FF"_hex << QByteArray() << QByteArray("Failure code = FF");
}

void tst_descriptorerrors::failureStatus()
{
    QFETCH(QByteArray, status);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, message);
    const QList<QList<QByteArray>> before = {{},
                                             {WithAString},
                                             {WithAString, "04 03 41"_hex},
                                             {OneConfiguration},
                                             {OneConfiguration, probeAnswer(9)}};
    for (const QList<QByteArray> &replies : before) {
        ViewerBench bench;
        bench.start();
        for (const QByteArray &each : replies)
            bench.reply(each);
        const QString report = bench.report();
        bench.sent();
        bench.reply(data, status);
        QVERIFY(bench.endedWith(message));
        QCOMPARE(bench.report(),
                 report + QStringLiteral("\r\n*** Get Descriptors Terminated\r\n      --- ") +
                     QString::fromLatin1(message) + QStringLiteral("\r\n"));
        QCOMPARE(bench.sent(), QByteArray());
        QVERIFY(bench.dialogs.messages.isEmpty());
    }
}

void tst_descriptorerrors::invalidLevel()
{
    for (const qint16 level : {qint16{2}, qint16{-1}}) {
        ViewerBench bench;
        bench.start();
        bench.sent();
        bench.retrieval.level = level;
        bench.reply(OneConfiguration);
        QVERIFY(bench.endedWith("Invalid level"));
        QCOMPARE(bench.sent(), QByteArray());
    }
}

void tst_descriptorerrors::replyWithoutStatus()
{
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.answer("81"_hex);
    QVERIFY(bench.runsQuietly());
    QCOMPARE(bench.report(), QString());
    QCOMPARE(bench.sent(), QByteArray());
    bench.reply(NoConfiguration);
    QVERIFY(bench.endedWith("Failure: bNumConfigurations = 0"));
}

void tst_descriptorerrors::stringLengthError()
{
    ViewerBench bench;
    bench.start();
    bench.reply(WithAString);
    bench.sent();
    bench.reply("00 03 41"_hex);
    QVERIFY(bench.endedWith("String length error"));
    QCOMPARE(bench.sent(), request("80 06 01 03 09 04 03 00"_hex)); // asked once more all the same
    QVERIFY(bench.session.RespText.text().isEmpty());

    const QString report = bench.report();
    bench.reply("00 03 41"_hex);
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("-- Device Request Response: Status = 00\r\n 00 03 41 \r\n"));
    QCOMPARE(bench.report(), report);
    QCOMPARE(bench.sent(), QByteArray());
}

void tst_descriptorerrors::shortestStringLength()
{
    ViewerBench bench;
    bench.start();
    bench.reply(WithAString);
    bench.sent();
    bench.reply("01"_hex);
    QCOMPARE(bench.sent(), request("80 06 01 03 09 04 01 00"_hex));
    QVERIFY(bench.runsQuietly());
}

void tst_descriptorerrors::runTimeErrors_data()
{
    QTest::addColumn<QList<QByteArray>>("before");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("error");
    const QString subscript = QStringLiteral("Subscript out of range");
    const QString overflow = QStringLiteral("Overflow");
    const QList<QByteArray> device;
    const QList<QByteArray> probe{OneConfiguration};
    const QList<QByteArray> full{OneConfiguration, probeAnswer(255)};

    QTest::newRow("no device descriptor") << device << QByteArray() << subscript;
    QTest::newRow("short device descriptor") << device << OneConfiguration.first(17) << subscript;
    QTest::newRow("idVendor") << device
                              << "12 01 00 02 00 00 00 40 00 80 02 0A 00 01 01 00 00 01"_hex
                              << overflow;
    QTest::newRow("idProduct") << device
                               << "12 01 00 02 00 00 00 40 09 12 00 80 00 01 01 00 00 01"_hex
                               << overflow;
    QTest::newRow("no string length")
        << QList<QByteArray>{WithAString} << QByteArray() << subscript;
    QTest::newRow("no configuration probe") << probe << QByteArray() << subscript;
    QTest::newRow("short configuration probe") << probe << "09 02 12"_hex << subscript;
    QTest::newRow("wTotalLength") << probe << probeAnswer(0, 0x80) << overflow;
    QTest::newRow("no configuration") << full << QByteArray() << subscript;
    QTest::newRow("short configuration") << full << "09 02 FF 00 01 01 00 80"_hex << subscript;
    QTest::newRow("wTotalLength the second time")
        << full << "09 02 FF 80 01 01 00 80 32"_hex << overflow;
}

/// One box, nothing reported, nothing asked for: the retrieval ends at once.
void tst_descriptorerrors::runTimeErrors()
{
    QFETCH(QList<QByteArray>, before);
    QFETCH(QByteArray, data);
    QFETCH(QString, error);
    ViewerBench bench;
    bench.start();
    for (const QByteArray &each : before)
        bench.reply(each);
    QVERIFY(bench.runsQuietly());
    bench.sent();
    const QString report = bench.report();

    bench.reply(data);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, error);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    const QString end = ended(error);
    QCOMPARE(bench.report(), report + end);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.hasEnded());

    bench.reply(data); // of nobody's request
    bench.tick(60);
    QCOMPARE(bench.report(), report + end);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.session.RespText.text().count("-- Device Request Response: Status = 00\r\n"), 1);
}

void tst_descriptorerrors::highVendorId()
{
    const QByteArray device = "12 01 00 02 09 00 01 40 87 80 24 00 00 80 00 00 00 01"_hex;
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.reply(device);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Overflow"));
    QCOMPARE(bench.report(), QStringLiteral("\r\n*** Get Descriptors Terminated\r\n"
                                            "      --- Overflow\r\n"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.hasEnded());

    bench.session.UnsignedWords = true;
    bench.start();
    bench.reply(device);
    QVERIFY(bench.report().contains(QLatin1String("\r\n idVendor = 0x8087\r\n")));
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void tst_descriptorerrors::shortSubordinates_data()
{
    QTest::addColumn<QByteArray>("rest");
    QTest::addColumn<QString>("error");
    const QString subscript = QStringLiteral("Subscript out of range");
    QTest::newRow("interface of 8") << "08 04 00 00 00 00 00 00"_hex << subscript;
    QTest::newRow("interface of 8, then more")
        << "08 04 00 00 00 00 00 00 07 05 81 02 00 02 00"_hex << subscript;
    QTest::newRow("interface cut by the end") << "09 04 00 00 00 00 00 00"_hex << subscript;
    QTest::newRow("endpoint of 6") << "06 05 81 02 00 02"_hex << subscript;
    QTest::newRow("endpoint cut by the end") << "07 05 81 02 00 02"_hex << subscript;
    QTest::newRow("no type byte") << "01"_hex << subscript;
    QTest::newRow("no type byte, then more") << "01 07 05 81 02 00 02 00"_hex << subscript;
    QTest::newRow("type cut by the end") << "07"_hex << subscript;
    QTest::newRow("wMaxPacketSize") << "07 05 81 02 00 80 00"_hex << QStringLiteral("Overflow");
}

/// What stands before the broken descriptor is reported, the broken one is not.
void tst_descriptorerrors::shortSubordinates()
{
    QFETCH(QByteArray, rest);
    QFETCH(QString, error);
    ConfigurationBench bench(255);
    QString below;
    bench.dialogs.onMessage = [&] { below = bench.report(); };
    bench.reply(Configuration + "03 24 AB"_hex + rest);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(below, bench.report()); // all there when the box comes up
    QCOMPARE(bench.dialogs.messages[0].text, error);
    QVERIFY(bench.report().endsWith(QLatin1String("\r\n MaxPower 100mA\r\n"
                                                  "\r\n===== Class/Vendor Descriptor =====\r\n"
                                                  " blength = 0x03\r\n"
                                                  " bDescriptorType = 0x24\r\n"
                                                  " --- Descriptor Data (hex) ---\r\n"
                                                  "     AB \r\n") +
                                    ended(error)));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.hasEnded());
}

void tst_descriptorerrors::lengthZero_data()
{
    QTest::addColumn<QByteArray>("set");
    QTest::addColumn<QString>("lastLine");
    QTest::newRow("configuration") << "00 02 12 00 01 01 00 80 32 09 04 00 00 00 00 00 00 00"_hex
                                   << " MaxPower 100mA\r\n";
    QTest::newRow("interface") << Configuration + "00 04 00 00 00 00 00 00 00"_hex
                               << " MaxPower 100mA\r\n";
    QTest::newRow("after another") << Configuration + "03 24 AB 00 05 81 02 00 02 00"_hex
                                   << "     AB \r\n";
    QTest::newRow("last byte") << Configuration + "00"_hex
                               << " MaxPower 100mA\r\n";
}

void tst_descriptorerrors::lengthZero()
{
    QFETCH(QByteArray, set);
    QFETCH(QString, lastLine);
    ConfigurationBench bench(255);
    bench.reply(set);
    QVERIFY(bench.report().endsWith(lastLine));
    QVERIFY(bench.runsQuietly());
    QCOMPARE(bench.sent(), QByteArray());
    QCOMPARE(bench.retrieval.configIndex, 0);
    bench.tick(50);
    QVERIFY(bench.endedWith("Timeout"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_descriptorerrors::reachingPastTheData()
{
    ConfigurationBench bench(255);
    bench.reply(Configuration + "FF 24 01 02"_hex);
    QVERIFY(bench.report().contains(QLatin1String("\r\n===== Class/Vendor Descriptor =====\r\n"
                                                  " blength = 0xFF\r\n"
                                                  " bDescriptorType = 0x24\r\n"
                                                  " --- Descriptor Data (hex) ---\r\n"
                                                  "     01 02 \r\n")));
    QVERIFY(bench.endedWith("Successful"));
    QVERIFY(bench.dialogs.messages.isEmpty());

    ConfigurationBench whole(255);
    whole.reply("FF 02 FF 00 00 01 00 80 32"_hex);
    QVERIFY(whole.endedWith("Successful"));
}

/// A wTotalLength of 0 asks for 0 bytes, and the answer counts as another probe.
void tst_descriptorerrors::emptyConfiguration()
{
    ConfigurationBench bench(0);
    QCOMPARE(bench.retrieval.request, "02 80 06 00 02 00 00 00 00"_hex);
    bench.reply({});
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Subscript out of range"));
    QCOMPARE(bench.sent(), QByteArray());
}

void tst_descriptorerrors::eleventhInterfaceString()
{
    ConfigurationBench bench(108);
    QByteArray set = "09 02 6C 00 0B 01 00 80 32"_hex;
    for (char i = 0; i < 12; ++i)
        set += "09 04"_hex + i + "00 00 FF 00 00 20"_hex;
    bench.reply(set);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Subscript out of range"));
    QVERIFY(bench.report().contains(QLatin1String("===== Interface  10 Descriptor =====")));
    QVERIFY(!bench.report().contains(QLatin1String("===== Interface  11 Descriptor =====")));
    QCOMPARE(bench.sent(), QByteArray());
    QCOMPARE(bench.retrieval.stringCount, 10);
    QVERIFY(bench.endedWith("Subscript out of range"));
}

/// The configuration's own string takes one of the ten places.
void tst_descriptorerrors::eleventhString()
{
    ConfigurationBench bench(99);
    QByteArray set = "09 02 63 00 0A 01 04 80 32"_hex;
    for (char i = 0; i < 10; ++i)
        set += "09 04"_hex + i + "00 00 FF 00 00 20"_hex;
    bench.reply(set);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.report().contains(QLatin1String("===== Interface  9 Descriptor =====")));
    QCOMPARE(bench.sent(), QByteArray());
}

/// In one read, without a turn of the event loop in between.
void tst_descriptorerrors::thousandsOfFailingReplies()
{
    ViewerBench bench;
    bench.start();
    const QByteArray packet = bench.session.PacketStart + "81 00 12"_hex + bench.session.PacketEnd;
    bench.transport().receive(packet.repeated(5000));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.endedWith("Subscript out of range"));
    QCOMPARE(bench.report(), ended(QStringLiteral("Subscript out of range")));
    QVERIFY(bench.session.RespText.text().endsWith(
        "-- Device Request Response: Status = 00\r\n 12 \r\n"));
}

/// A script asks a device that does not answer GET_DESCRIPTOR for its status, 371 times.
void tst_descriptorerrors::repliesToSomebodyElse()
{
    ViewerBench bench;
    bench.start();
    for (int i = 0; i < 371; ++i) {
        bench.reply("01 00"_hex);
        if (i % 8 == 7)
            bench.tick();
    }
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.report(), ended(QStringLiteral("Subscript out of range")));
    bench.start(); // the end of a retrieval is final, a new one can begin
    QCOMPARE(bench.report(), QString());
    QVERIFY(bench.session.DescActive);
}

/// The request that is still sent after "String length error" has an address that is no number.
void tst_descriptorerrors::addressBreaksAfterTheEnd()
{
    ViewerBench bench;
    bench.start();
    bench.reply(WithAString);
    const QString report = bench.report();
    bench.controls.DevAddr.adoptText(QStringLiteral("999"));
    bench.reply("00 03 41"_hex);
    QCOMPARE(bench.report(), report + ended(QStringLiteral("String length error")));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.hasEnded());
}

void tst_descriptorerrors::withoutConnection()
{
    ConsoleBench bench;
    DescriptorViewer viewer(bench.session, bench.console.requests(), bench.dialogs,
                            bench.console.errors());
    viewer.controls().DevAddr.adoptText(QStringLiteral("0x02"));
    viewer.getDescClicked();
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nNot connected: nothing was sent")));
    QVERIFY(bench.session.DescActive);
    bench.tick(50);
    QVERIFY(!bench.session.DescActive);
    QVERIFY(viewer.controls().DescInfo.text().endsWith(QLatin1String("      --- Timeout\r\n")));
}

void tst_descriptorerrors::linkLost()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration);
    bench.tick(10);
    bench.console.connectClicked(); // disconnects
    QVERIFY(bench.session.DescActive);
    bench.tick(39);
    QVERIFY(bench.session.DescActive);
    bench.tick();
    QVERIFY(bench.endedWith("Timeout"));
}

void tst_descriptorerrors::otherRepliesInBetween()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration);
    const QString report = bench.report();
    bench.sent();
    bench.answer("89 00 01 02"_hex); // of a data transfer: never the viewer's
    bench.answer("8b 42"_hex);
    bench.answer("a8 41"_hex);
    QCOMPARE(bench.report(), report);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.session.RespText.text().startsWith(
        "-- Device Transfer Response: Status = 00\r\n 01 02 \r\n"));
    bench.reply(probeAnswer(9));
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00 09 00"_hex));
}

/// A retrieval that waits for the reply to another request ends with the connection.
void tst_descriptorerrors::disconnectedWhileWaiting()
{
    ViewerBench bench;
    bench.console.requests().send(DeviceRequests::Client::Builder,
                                  "02 80 06 00 01 00 00 12 00"_hex);
    bench.sent();
    bench.start();
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(!bench.controls.GetDesc.isEnabled());
    bench.console.connectClicked();
    QVERIFY(bench.endedWith("Timeout"));
    QCOMPARE(bench.sent(), QByteArray());

    // The next retrieval does not wait.
    bench.run();
    bench.start();
    QCOMPARE(bench.sent(), request("80 06 00 01 00 00 12 00"_hex));
}

VANTREL_TEST(tst_descriptorerrors)
#include "tst_descriptorerrors.moc"
