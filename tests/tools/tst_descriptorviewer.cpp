// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "tools/ViewerBench.h"

#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

/// The walk: what is asked for, in which order, and how it ends.
class tst_descriptorviewer : public QObject
{
    Q_OBJECT

private slots:
    void idle();
    void starting();
    void threeRequests();
    void stringsFirst();
    void someStrings_data();
    void someStrings();
    void stringCharacters_data();
    void stringCharacters();
    void longestString();
    void twoConfigurations();
    void tenInterfaceStrings();
    void oneAppendAReply();
    void noConfigurations();
    void noConfigurationsButStrings();
    void wholeLengthIsAskedFor_data();
    void wholeLengthIsAskedFor();
    void timeOut();
    void repliesDoNotProlong();
    void endBeforeTheTimeOut();
    void startingAgain();
    void startingAgainAfterASuccess();
    void replyAfterTheEnd();
    void replyBeforeTheStart();
    void viewerGoes();
};

void tst_descriptorviewer::idle()
{
    ViewerBench bench;
    QVERIFY(!bench.session.DescActive);
    QVERIFY(bench.controls.GetDesc.isEnabled());
    QVERIFY(!bench.controls.Save.isEnabled());
    bench.tick(60);
    QCOMPARE(bench.report(), QString());
}

void tst_descriptorviewer::starting()
{
    ViewerBench bench;
    bench.controls.DescInfo.setText(QStringLiteral("of the last device"));
    bench.start();
    QVERIFY(!bench.controls.GetDesc.isEnabled());
    QVERIFY(bench.controls.Save.isEnabled());
    QVERIFY(bench.session.DescActive);
    QCOMPARE(bench.session.DescTimeout, 50);
    QCOMPARE(bench.retrieval.level, 0);
    QCOMPARE(bench.retrieval.stringCursor, 0);
    QCOMPARE(bench.report(), QString());
    QCOMPARE(bench.retrieval.request, "02 80 06 00 01 00 00 12 00"_hex);
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 01 00 00 12 00 1b45"_hex.toHex());
}

void tst_descriptorviewer::threeRequests()
{
    ViewerBench bench;
    bench.start();
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 01 00 00 12 00 1b45"_hex.toHex());
    bench.reply(OneConfiguration);
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 02 00 00 08 00 1b45"_hex.toHex());
    QCOMPARE(bench.retrieval.level, 1);
    QCOMPARE(bench.retrieval.numConfigs, 1);
    QCOMPARE(bench.retrieval.expectedLength, 0);
    bench.reply(probeAnswer(9));
    QCOMPARE(bench.sent(), "1b53 01 02 80 06 00 02 00 00 09 00 1b45"_hex.toHex());
    QCOMPARE(bench.retrieval.expectedLength, 9);
    QVERIFY(bench.runsQuietly());
    bench.reply("09 02 09 00 00 01 00 80 32"_hex);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.endedWith("Successful"));
    QVERIFY(bench.session.RespText.text().isEmpty());
}

void tst_descriptorviewer::stringsFirst()
{
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 07 08 09 01"_hex);
    bench.sent();
    for (const char index : {'\x07', '\x08', '\x09'}) {
        QCOMPARE(bench.retrieval.stringCursor, index - 6);
        QCOMPARE(bench.retrieval.stringCount, 3);
        QCOMPARE(bench.retrieval.level, 0);
        bench.reply("06 03 41"_hex);
        QCOMPARE(bench.sent(), request("80 06"_hex + index + "03 09 04 06 00"_hex));
        bench.reply("06 03 41 00 42 00"_hex);
        if (index != '\x09') {
            QCOMPARE(bench.sent(),
                     request("80 06"_hex + static_cast<char>(index + 1) + "03 09 04 03 00"_hex));
        }
    }
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00 08 00"_hex));
    QCOMPARE(bench.retrieval.stringCursor, 0);
    QCOMPARE(bench.retrieval.level, 1);
    QVERIFY(bench.report().endsWith(
        QLatin1String("\r\nbNumConfigurations = 0x01\r\n"
                      "\r\n  === String Descriptor- Manufacturer String:\r\n   AB\r\n"
                      "\r\n  === String Descriptor- Product String:\r\n   AB\r\n"
                      "\r\n  === String Descriptor- SerialNumber String:\r\n   AB\r\n")));
}

void tst_descriptorviewer::someStrings_data()
{
    QTest::addColumn<QByteArray>("indexes");
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QString>("label");
    QTest::newRow("manufacturer") << "01 00 00"_hex
                                  << "01"_hex
                                  << "Manufacturer String:";
    QTest::newRow("product") << "00 02 00"_hex
                             << "02"_hex
                             << "Product String:";
    QTest::newRow("serial number") << "00 00 FF"_hex
                                   << "ff"_hex
                                   << "SerialNumber String:";
}

void tst_descriptorviewer::someStrings()
{
    QFETCH(QByteArray, indexes);
    QFETCH(QByteArray, first);
    QFETCH(QString, label);
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01"_hex + indexes + "01"_hex);
    QCOMPARE(bench.sent(), request("80 06"_hex + first + "03 09 04 03 00"_hex));
    bench.reply("04 03 41"_hex);
    QCOMPARE(bench.sent(), request("80 06"_hex + first + "03 09 04 04 00"_hex));
    bench.reply("04 03 41 00"_hex);
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00 08 00"_hex));
    QVERIFY(bench.report().endsWith(QStringLiteral("\r\n  === String Descriptor- ") + label +
                                    QStringLiteral("\r\n   A\r\n")));
}

void tst_descriptorviewer::stringCharacters_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("text");
    QTest::newRow("low bytes only") << "08 03 41 01 42 20 E9 00"_hex << QStringLiteral("AB\u00e9");
    QTest::newRow("half a code unit") << "05 03 41 00 42"_hex << QStringLiteral("AB");
    QTest::newRow("no characters") << "02 03"_hex << QString();
    QTest::newRow("nothing returned") << QByteArray() << QString();
    QTest::newRow("more than bLength says")
        << "04 03 41 00 42 00 43 00"_hex << QStringLiteral("ABC");
    QTest::newRow("zeros") << "06 03 00 00 41 00"_hex << QStringLiteral("\0A");
}

void tst_descriptorviewer::stringCharacters()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, text);
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 01 00 00 01"_hex);
    bench.reply("08 03 41"_hex);
    bench.reply(data);
    QVERIFY(bench.report().endsWith(
        QStringLiteral("\r\n  === String Descriptor- Manufacturer String:\r\n   ") + text +
        QStringLiteral("\r\n")));
    QVERIFY(bench.runsQuietly());
}

void tst_descriptorviewer::longestString()
{
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 01 00 00 01"_hex);
    bench.sent();
    bench.reply("FF 03 41"_hex);
    QCOMPARE(bench.sent(), request("80 06 01 03 09 04 FF 00"_hex));
    bench.reply("01 03 41"_hex);
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00 08 00"_hex));
}

void tst_descriptorviewer::twoConfigurations()
{
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 00 00 00 02"_hex);
    bench.reply(probeAnswer(18));
    bench.sent();
    bench.reply("09 02 12 00 01 01 05 80 32"
                "09 04 03 00 00 FF 00 00 06"_hex);
    QCOMPARE(bench.retrieval.configIndex, 1);
    QCOMPARE(bench.retrieval.stringCount, 2);
    QCOMPARE(bench.sent(), request("80 06 05 03 09 04 03 00"_hex));
    bench.reply("04 03 43"_hex);
    QCOMPARE(bench.sent(), request("80 06 05 03 09 04 04 00"_hex));
    bench.reply("04 03 43 00"_hex);
    QCOMPARE(bench.sent(), request("80 06 06 03 09 04 03 00"_hex));
    bench.reply("04 03 49"_hex);
    QCOMPARE(bench.sent(), request("80 06 06 03 09 04 04 00"_hex));
    bench.reply("04 03 49 00"_hex);
    QVERIFY(bench.report().endsWith(
        QLatin1String("\r\n  === String Descriptor- Configuration  0\r\n   C\r\n"
                      "\r\n  === String Descriptor- Configuration 0, Interface  3\r\n   I\r\n")));

    QCOMPARE(bench.sent(), request("80 06 01 02 00 00 08 00"_hex));
    bench.reply(probeAnswer(18));
    QCOMPARE(bench.sent(), request("80 06 01 02 00 00 12 00"_hex));
    bench.reply("09 02 12 00 01 02 00 80 32"
                "09 04 00 00 00 FF 00 00 07"_hex);
    QVERIFY(
        bench.report().contains(QLatin1String("\r\n===== Configuration  1 Descriptor =====\r\n")));
    QCOMPARE(bench.sent(), request("80 06 07 03 09 04 03 00"_hex));
    bench.reply("04 03 4A"_hex);
    QCOMPARE(bench.sent(), request("80 06 07 03 09 04 04 00"_hex));
    bench.reply("04 03 4A 00"_hex);
    QVERIFY(bench.report().contains(
        QLatin1String("\r\n  === String Descriptor- Configuration 1, Interface  0\r\n   J\r\n")));
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.endedWith("Successful"));
}

void tst_descriptorviewer::tenInterfaceStrings()
{
    ViewerBench bench;
    bench.start();
    bench.reply(OneConfiguration);
    bench.reply(probeAnswer(99));
    bench.sent();
    QByteArray set = "09 02 63 00 0A 01 00 80 32"_hex;
    for (char i = 0; i < 10; ++i)
        set += "09 04"_hex + i + "00 00 FF 00 00"_hex + static_cast<char>(0x20 + i);
    bench.reply(set);
    for (char i = 0; i < 10; ++i) {
        QCOMPARE(bench.sent(),
                 request("80 06"_hex + static_cast<char>(0x20 + i) + "03 09 04 03 00"_hex));
        bench.reply("04 03 41"_hex);
        bench.sent();
        bench.reply("04 03 41 00"_hex);
        QVERIFY(bench.report().contains(
            QStringLiteral("Configuration 0, Interface  %1\r\n   A\r\n").arg(static_cast<int>(i))));
    }
    QVERIFY(bench.endedWith("Successful"));
}

/// A pane may take long to append.
void tst_descriptorviewer::oneAppendAReply()
{
    ViewerBench bench;
    const QSignalSpy appended(&bench.controls.DescInfo, &Control::appended);
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 00 00 00 02"_hex);
    QCOMPARE(appended.size(), 1);
    bench.reply(probeAnswer(0xD9, 0x07));
    QCOMPARE(appended.size(), 1);
    bench.reply("09 02 D9 07 01 01 00 80 32"_hex + "02 FF"_hex.repeated(1000));
    QCOMPARE(appended.size(), 2);
    QCOMPARE(bench.report().count(QLatin1String("===== Class/Vendor Descriptor =====")), 1000);
}

void tst_descriptorviewer::noConfigurations()
{
    ViewerBench bench;
    bench.start();
    bench.sent();
    bench.reply(NoConfiguration);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.report().startsWith(QLatin1String("===== Device Descriptor =====\r\n")));
    QVERIFY(bench.endedWith("Failure: bNumConfigurations = 0"));
}

void tst_descriptorviewer::noConfigurationsButStrings()
{
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 00 02 00 00"_hex);
    bench.reply("04 03 41"_hex);
    bench.sent();
    bench.reply("04 03 41 00"_hex);
    QCOMPARE(bench.sent(), QByteArray());
    QVERIFY(bench.endedWith("Successful"));
}

void tst_descriptorviewer::wholeLengthIsAskedFor_data()
{
    QTest::addColumn<QByteArray>("probe");
    QTest::addColumn<bool>("unsignedWords");
    QTest::addColumn<QByteArray>("length");
    QTest::newRow("low byte") << probeAnswer(0xFF) << false << "FF 00"_hex;
    QTest::newRow("high byte") << probeAnswer(0x00, 0x01) << false << "00 01"_hex;
    QTest::newRow("largest") << probeAnswer(0xFF, 0x7F) << false << "FF 7F"_hex;
    QTest::newRow("unsigned") << probeAnswer(0x01, 0x80) << true << "01 80"_hex;
    QTest::newRow("largest unsigned") << probeAnswer(0xFF, 0xFF) << true << "FF FF"_hex;
}

void tst_descriptorviewer::wholeLengthIsAskedFor()
{
    QFETCH(QByteArray, probe);
    QFETCH(bool, unsignedWords);
    QFETCH(QByteArray, length);
    ViewerBench bench;
    bench.session.UnsignedWords = unsignedWords;
    bench.start();
    bench.reply(OneConfiguration);
    bench.sent();
    bench.reply(probe);
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00"_hex + length));
    QVERIFY(bench.runsQuietly());
}

void tst_descriptorviewer::timeOut()
{
    ViewerBench bench;
    bench.start();
    bench.tick(49);
    QVERIFY(bench.runsQuietly());
    QCOMPARE(bench.report(), QString());
    bench.tick();
    QCOMPARE(bench.report(), QStringLiteral("\r\n*** Get Descriptors Terminated\r\n"
                                            "      --- Timeout\r\n"));
    QVERIFY(bench.endedWith("Timeout"));
    bench.tick(60);
    QVERIFY(bench.endedWith("Timeout"));
    QCOMPARE(bench.report().count(QLatin1String("Terminated")), 1);
}

void tst_descriptorviewer::repliesDoNotProlong()
{
    ViewerBench bench;
    bench.start();
    bench.tick(30);
    bench.reply(OneConfiguration);
    QCOMPARE(bench.session.DescTimeout, 20);
    bench.tick(19);
    bench.reply(probeAnswer(9));
    QVERIFY(bench.runsQuietly());
    bench.tick();
    QVERIFY(bench.endedWith("Timeout"));
    QVERIFY(bench.report().startsWith(QLatin1String("===== Device Descriptor =====\r\n")));
}

void tst_descriptorviewer::endBeforeTheTimeOut()
{
    ViewerBench bench;
    bench.start();
    bench.tick(49);
    bench.reply(NoConfiguration);
    bench.tick(60);
    QVERIFY(bench.endedWith("Failure: bNumConfigurations = 0"));
}

void tst_descriptorviewer::startingAgain()
{
    ViewerBench bench;
    bench.start();
    bench.reply("12 01 00 02 00 00 00 40 09 12 02 0A 00 01 01 00 00 01"_hex);
    bench.reply("08 03 41"_hex);
    bench.tick(50);
    QVERIFY(bench.endedWith("Timeout"));
    bench.sent();

    bench.start();
    QCOMPARE(bench.report(), QString());
    bench.tick(9);
    QCOMPARE(bench.sent(), QByteArray()); // the reply to the last request can still come
    QVERIFY(!bench.session.DescActive);
    bench.tick();
    QCOMPARE(bench.session.DescTimeout, 50);
    QVERIFY(bench.sent().endsWith(request("80 06 00 01 00 00 12 00"_hex)));
    bench.reply(OneConfiguration);
    QCOMPARE(bench.sent(), request("80 06 00 02 00 00 08 00"_hex));
    QCOMPARE(bench.retrieval.stringCount, 0);
    bench.reply(probeAnswer(9));
    bench.reply("09 02 09 00 00 01 00 80 32"_hex);
    QVERIFY(bench.endedWith("Successful"));
}

void tst_descriptorviewer::startingAgainAfterASuccess()
{
    ViewerBench bench;
    for (int round = 0; round < 2; ++round) {
        bench.start();
        QCOMPARE(bench.sent(), request("80 06 00 01 00 00 12 00"_hex));
        bench.reply(OneConfiguration);
        QCOMPARE(bench.sent(), request("80 06 00 02 00 00 08 00"_hex));
        bench.reply(probeAnswer(9));
        QCOMPARE(bench.sent(), request("80 06 00 02 00 00 09 00"_hex));
        bench.reply("09 02 09 00 00 01 00 80 32"_hex);
        QVERIFY(bench.endedWith("Successful"));
        QVERIFY(bench.report().startsWith(QLatin1String("===== Device Descriptor =====\r\n")));
        QVERIFY(bench.report().contains(
            QLatin1String("\r\n===== Configuration  0 Descriptor =====\r\n")));
    }
}

void tst_descriptorviewer::replyAfterTheEnd()
{
    ViewerBench bench;
    bench.start();
    bench.tick(50);
    const QString report = bench.report();
    bench.session.RespText.clear();
    bench.reply("12 01"_hex);
    QCOMPARE(bench.report(), report);
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("-- Device Request Response: Status = 00\r\n 12 01 \r\n"));
}

void tst_descriptorviewer::replyBeforeTheStart()
{
    ViewerBench bench;
    bench.reply("12 01"_hex);
    QCOMPARE(bench.report(), QString());
    QCOMPARE(bench.session.RespText.text(),
             QByteArray("-- Device Request Response: Status = 00\r\n 12 01 \r\n"));
}

void tst_descriptorviewer::viewerGoes()
{
    ConsoleBench bench;
    bench.run();
    {
        DescriptorViewer viewer(bench.session, bench.console.requests(), bench.dialogs,
                                bench.console.errors());
        viewer.getDescClicked();
    }
    bench.answer("81 00 12 01"_hex);
    bench.tick(60);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(tst_descriptorviewer)
#include "tst_descriptorviewer.moc"
