// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/ViewerBench.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr auto Heading = QLatin1String("===== Class/Vendor Descriptor =====");
const QByteArray ManyConfigurations = "12 01 10 01 00 00 00 08 09 12 01 0A 00 01 00 00 00 FF"_hex;

/// A configuration of so many bytes: after its own descriptor, as many descriptors of two bytes,
/// which have the longest report for their length, as there is room for.
QByteArray configurationOf(qsizetype length)
{
    QByteArray set = "09 02 00 00 01 01 00 80 32"_hex + "02 24"_hex.repeated((length - 9) / 2);
    set[2] = static_cast<char>(length);
    set[3] = static_cast<char>(length >> 8);
    return set;
}

} // namespace

/// Devices and testers that send more than was asked for, or as much as is possible.
class tst_descriptorlimits : public QObject
{
    Q_OBJECT

private slots:
    void dataBeyondTheRequest();
    void dataBeyondAProbe();
    void replyWithoutARequest();
    void largestConfiguration();
    void reportLimit();
    void reportLimitWithinAReply();
};

void tst_descriptorlimits::dataBeyondTheRequest()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration);
    bench.reply(probeAnswer(0x0B));
    bench.reply("09 02 0B 00 01 01 00 80 32"_hex + "02 24"_hex.repeated(327'670));
    QCOMPARE(bench.report().count(Heading), 1);
    QVERIFY(bench.endedWith("Successful"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

/// Of 18 and of 8 bytes.
void tst_descriptorlimits::dataBeyondAProbe()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration + QByteArray(1'000'000, '\x24'));
    bench.reply(probeAnswer(0x0B) + QByteArray(1'000'000, '\x24'));
    bench.sent();
    bench.reply(configurationOf(0x0B));
    QCOMPARE(bench.report().count(Heading), 1);
    QVERIFY(bench.endedWith("Successful"));
}

/// The retrieval waits for its time-out at a bLength of 0 when a reply comes that nobody asked for.
void tst_descriptorlimits::replyWithoutARequest()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration);
    bench.reply(probeAnswer(0x0B));
    bench.reply("09 02 0B 00 01 01 00 80 32 00 24"_hex);
    QVERIFY(bench.runsQuietly());
    QCOMPARE(bench.report().count(Heading), 0);
    bench.reply("09 02 0B 00 01 01 00 80 32"_hex + "02 24"_hex.repeated(327'670));
    QCOMPARE(bench.report().count(Heading), 1);
    QVERIFY(bench.endedWith("Successful"));
}

void tst_descriptorlimits::largestConfiguration()
{
    ViewerBench bench;
    bench.session.UnsignedWords = true;
    bench.start();
    bench.reply(OneConfiguration);
    bench.reply(probeAnswer(0xFF, 0xFF));
    bench.reply(configurationOf(0xFFFF));
    QCOMPARE(bench.report().count(Heading), 32'763);
    QVERIFY(bench.endedWith("Successful"));
}

/// All 255 configurations are of the largest size.
void tst_descriptorlimits::reportLimit()
{
    ViewerBench bench;
    bench.session.UnsignedWords = true;
    bench.start();
    bench.reply(ManyConfigurations);
    int configurations = 0;
    for (; bench.session.DescActive && configurations < 10; ++configurations) {
        bench.reply(probeAnswer(0xFF, 0xFF));
        bench.sent();
        bench.reply(configurationOf(0xFFFF));
    }
    QCOMPARE(configurations, 3);
    QVERIFY(bench.endedWith("The report is limited to 8 MB"));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.dialogs.messages.isEmpty());
    QVERIFY(bench.report().size() <= DescriptorViewer::ReportLimit + 100);
    QVERIFY(bench.report().size() > DescriptorViewer::ReportLimit - 200);

    bench.start(); // a new retrieval has a new report
    bench.reply(OneConfiguration);
    bench.reply(probeAnswer(9));
    bench.reply(configurationOf(9));
    QVERIFY(bench.endedWith("Successful"));
}

/// What fits is whole descriptors.
void tst_descriptorlimits::reportLimitWithinAReply()
{
    ViewerBench bench;
    bench.session.UnsignedWords = true;
    bench.start();
    bench.reply(ManyConfigurations);
    bench.controls.DescInfo.setText(QString(DescriptorViewer::ReportLimit - 1000, u'.'));
    bench.reply(probeAnswer(0xFF, 0x00));
    bench.reply(configurationOf(0xFF));
    QVERIFY(bench.endedWith("The report is limited to 8 MB"));
    QVERIFY(bench.report().contains(QLatin1String(" --- Descriptor Data (hex) ---\r\n     \r\n"
                                                  "\r\n*** Get Descriptors Terminated\r\n")));
    const QString shown = bench.report();
    bench.reply(configurationOf(0xFF)); // of nobody's request
    QCOMPARE(bench.report(), shown);
}

VANTREL_TEST(tst_descriptorlimits)
#include "tst_descriptorlimits.moc"
