// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/TestProgram.h"

#include <QFile>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {
const QString NameOfBackup = QStringLiteral("ftdi-eeprom-20261121-142233.bin");
}

/// The backup before a device is programmed, and comparing it with the image.
class TestFtdiBackup : public QObject
{
    Q_OBJECT

private slots:
    void backup();
    void backupNeverOverwrites();
    void backupIsAsRead();
    void noBackup_data();
    void noBackup();
    void noBackupOfAnEarlierWindow();
    void danglingLinkIsTaken();
    void backupFails_data();
    void backupFails();
    void verifyAgrees();
    void verifyDiffers_data();
    void verifyDiffers();
    void verifyLeavesTheImage();
    void verifyFails();
    void verifyShortReply();
    void verifyAfterProgramming();
    void closedWhileVerifying();
};

void TestFtdiBackup::backup()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.keepLayout();
    bool savedFirst = false;
    bench.serial->onWrite = [&](const QByteArray &) { savedFirst = bench.backups().size() == 1; };
    bench.ftdi.programClicked();
    QVERIFY(savedFirst);
    QCOMPARE(bench.backups(), QStringList{NameOfBackup});
    const QString path = bench.backupFolder + QLatin1Char('/') + NameOfBackup;
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), realEeprom());
    QVERIFY(
        bench.main.CmdWin.text().endsWith(QLatin1String("\r\nEEPROM as read saved in ") + path));
}

void TestFtdiBackup::backupNeverOverwrites()
{
    FtdiBench bench;
    bench.serve();
    for (int i = 0; i < 3; ++i) {
        bench.device[0] = static_cast<char>(i);
        bench.ftdi.readClicked();
        bench.keepLayout();
        bench.ftdi.programClicked();
    }
    const QStringList names = {QStringLiteral("ftdi-eeprom-20261121-142233-2.bin"),
                               QStringLiteral("ftdi-eeprom-20261121-142233-3.bin"), NameOfBackup};
    QCOMPARE(bench.backups(), names);
    const QList<char> firstBytes = {1, 2, 0};
    for (int i = 0; i < 3; ++i) {
        QFile file(bench.backupFolder + QLatin1Char('/') + names[i]);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE(bytes.size(), 128);
        QCOMPARE(bytes[0], firstBytes[i]);
    }
}

void TestFtdiBackup::backupIsAsRead()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.keepLayout();
    bench.enterProduct();
    bench.tickBox(bench.controls.cbSelfPower, true, &FtdiUtility::selfPowerClicked);
    bench.enter(bench.controls.tbMaxPower, "500");
    bench.ftdi.maxPowerLeft();
    bench.ftdi.programClicked();
    QFile file(bench.backupFolder + QLatin1Char('/') + NameOfBackup);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), realEeprom());
}

void TestFtdiBackup::noBackup_data()
{
    QTest::addColumn<int>("word");
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("a word was refused") << 63 << "05"_hex;
    QTest::newRow("a word came without data") << 63 << "00"_hex;
    QTest::newRow("a word came by half") << 63 << "00 09"_hex;
    QTest::newRow("a word in between came by half") << 5 << "00 0a"_hex;
}

void TestFtdiBackup::noBackup()
{
    QFETCH(int, word);
    QFETCH(QByteArray, reply);
    FtdiBench bench;
    bench.readAll(realEeprom()); // forgotten: it is no longer what was read last
    bench.ftdi.readClicked();
    bench.replyWords(realEeprom(), 0, word);
    bench.reply(reply);
    bench.replyWords(realEeprom(), word + 1, 63 - word);
    bench.serial->takeWritten();
    bench.ftdi.programClicked();
    QCOMPARE(bench.sentRequests().size(), 1);
    QVERIFY(bench.backups().isEmpty());
}

/// What an earlier window has read is nothing to this one, which may be about another device.
void TestFtdiBackup::noBackupOfAnEarlierWindow()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.ftdi.closed();
    bench.ftdi.opened();
    bench.ftdi.programClicked();
    QCOMPARE(bench.sentRequests().size(), 1);
    QVERIFY(bench.backups().isEmpty());
}

/// A link that leads nowhere is not written through.
void TestFtdiBackup::danglingLinkIsTaken()
{
    FtdiBench bench;
    const QString target = bench.directory.filePath(QStringLiteral("elsewhere"));
    QVERIFY(QDir().mkpath(bench.backupFolder));
    QVERIFY(QFile::link(target, bench.backupFolder + QLatin1Char('/') + NameOfBackup));
    bench.readAll(realEeprom());
    bench.keepLayout();
    bench.ftdi.programClicked();
    QCOMPARE(bench.backups(), QStringList{QStringLiteral("ftdi-eeprom-20261121-142233-2.bin")});
    QVERIFY(!QFile::exists(target));
}

void TestFtdiBackup::backupFails_data()
{
    QTest::addColumn<QString>("file"); // where a folder should be

    QTest::newRow("the folder is a file") << "data/backups";
    QTest::newRow("the folder above it is a file") << "data";
}

void TestFtdiBackup::backupFails()
{
    QFETCH(QString, file);
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.keepLayout();
    const QString inTheWay = bench.directory.filePath(file);
    QVERIFY(QDir().mkpath(QFileInfo(inTheWay).path()));
    QVERIFY(QFile(inTheWay).open(QIODevice::WriteOnly));
    bench.ftdi.programClicked();
    const QString path = bench.backupFolder + QLatin1Char('/') + NameOfBackup;
    const QString error = bench.onlyError();
    QVERIFY2(error.endsWith(QLatin1String(": ") + path), qPrintable(error));
    QVERIFY(bench.untouched());
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiBackup::verifyAgrees()
{
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.keepLayout();
    bench.sentRequests();
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("All 64 EEPROM words agree with the image"));
    const QStringList sent = bench.sentRequests();
    QCOMPARE(sent.size(), 64);
    QCOMPARE(sent.first(), QStringLiteral("02c090000000000200"));
    QCOMPARE(sent.last(), QStringLiteral("02c09000003f000200"));
    QCOMPARE(bench.controls.WordProgress.text(), QStringLiteral("%v of %m words compared"));
}

void TestFtdiBackup::verifyDiffers_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<QString>("verdict");

    QTest::newRow("first word") << 0
                                << "EEPROM word 0 is 0x4055 in the device and 0x4000 in the image";
    QTest::newRow("high byte") << 7
                               << "EEPROM word 3 is 0x5500 in the device and 0x0600 in the image";
    QTest::newRow("last word") << 127
                               << "EEPROM word 63 is 0x5509 in the device and 0x1309 in the image";
}

void TestFtdiBackup::verifyDiffers()
{
    QFETCH(int, byte);
    FtdiBench bench;
    bench.serve();
    bench.ftdi.readClicked();
    bench.keepLayout();
    bench.device[byte] = '\x55';
    bench.device[126] = byte < 126 ? '\x55' : bench.device[126]; // a later one is not told
    bench.ftdi.verifyClicked();
    const QString verdict = bench.onlyMessage();
    QTEST(verdict, "verdict");
}

void TestFtdiBackup::verifyLeavesTheImage()
{
    FtdiBench bench;
    bench.serve();
    bench.enterProduct();
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(),
             QStringLiteral("EEPROM word 0 is 0x4000 in the device and 0x0000 in the image"));
    QCOMPARE(bench.ftdi.image(), FtdiEeprom());
    QCOMPARE(bench.controls.tbProduct.text(), QStringLiteral("Widget"));

    bench.ftdi.programClicked(); // nothing has been read, so nothing is saved
    QVERIFY(bench.backups().isEmpty());
}

void TestFtdiBackup::verifyFails()
{
    FtdiBench bench;
    bench.serve();
    bench.refusedRequest = 5;
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 5"));
    bench.serve();
    bench.refusedRequest.reset();
    bench.silentRequest = 7;
    bench.ftdi.verifyClicked();
    bench.tick(9);
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Vorn Tester not Responding"));
    QVERIFY(bench.controls.btVerify.isEnabled());
}

void TestFtdiBackup::verifyShortReply()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.ftdi.verifyClicked();
    bench.replyWords(realEeprom(), 0, 5);
    bench.reply("00 06"_hex);
    QCOMPARE(bench.onlyMessage(), QStringLiteral("Error Reading EEPROM word 5"));
    QCOMPARE(bench.sentRequests().size(), 6); // no further word is compared
}

void TestFtdiBackup::verifyAfterProgramming()
{
    FtdiBench bench;
    bench.serve();
    bench.enterProduct();
    bench.ftdi.programClicked();
    bench.ftdi.verifyClicked();
    QCOMPARE(bench.onlyMessage(), QStringLiteral("All 64 EEPROM words agree with the image"));
}

void TestFtdiBackup::closedWhileVerifying()
{
    FtdiBench bench;
    bench.ftdi.verifyClicked();
    bench.replyWords(realEeprom(), 0, 3);
    bench.ftdi.closed();
    bench.tick(20);
    QVERIFY(bench.dialogs.messages.isEmpty());
}

VANTREL_TEST(TestFtdiBackup)
#include "tst_ftdibackup.moc"
