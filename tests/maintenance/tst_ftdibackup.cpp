// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiBench.h"
#include "support/FileSizeLimit.h"
#include "support/SyncRecorder.h"
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
    void onTheDiskBeforeTheDeviceIsErased();
    void permissions();
    void backupFails_data();
    void backupFails();
    void programsWithoutABackup();
    void linkIsFreeDuringTheQuestion();
    void connectionEndsDuringTheQuestion();
    void windowClosesDuringTheQuestion();
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

/// The folder, the file and its name are on the disk before the first request is sent.
void TestFtdiBackup::onTheDiskBeforeTheDeviceIsErased()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.keepLayout();
    SyncRecorder syncs;
    QStringList events;
    bench.serial->onWrite = [&](const QByteArray &packet) {
        events = syncs.events << QString::fromLatin1(unframed(packet).left(4).toHex());
    };
    bench.ftdi.programClicked();
    QCOMPARE(events.join(QLatin1Char(' ')),
             QStringLiteral("directory directory file directory 01024092")); // two folders are made
}

void TestFtdiBackup::permissions()
{
    FtdiBench bench;
    bench.readAll(realEeprom());
    bench.keepLayout();
    bench.ftdi.programClicked();
    struct stat status = {};
    QCOMPARE(::stat(qPrintable(bench.backupFolder), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0700U);
    QCOMPARE(::stat(qPrintable(bench.backupFolder + QLatin1Char('/') + NameOfBackup), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

namespace {

/// A device that was read, and a place where no backup can be written.
struct FailingBackupBench : FtdiBench
{
    explicit FailingBackupBench(const QString &cause)
    {
        readAll(realEeprom());
        keepLayout();
        if (cause == QLatin1String("full disk")) {
            full.emplace(100);
            failure =
                QStringLiteral("File too large: ") + backupFolder + QLatin1Char('/') + NameOfBackup;
        } else if (cause == QLatin1String("full disk from the start")) {
            full.emplace(0);
            failure =
                QStringLiteral("File too large: ") + backupFolder + QLatin1Char('/') + NameOfBackup;
        } else if (cause == QLatin1String("disk error")) {
            syncs.failing = QStringLiteral("file");
            failure = QStringLiteral("Input/output error: ") + backupFolder + QLatin1Char('/') +
                      NameOfBackup;
        } else {
            const QString inTheWay = directory.filePath(cause);
            if (!QDir().mkpath(QFileInfo(inTheWay).path()) ||
                !QFile(inTheWay).open(QIODevice::WriteOnly))
                qFatal("no file");
            failure = QStringLiteral("Not a directory: ") + backupFolder;
        }
    }

    /// The question was asked once, and no file is left.
    void compareAsked()
    {
        QCOMPARE(dialogs.messages.size(), 1);
        QCOMPARE(dialogs.messages[0].title, Title);
        QCOMPARE(dialogs.messages[0].text,
                 QStringLiteral("The EEPROM as read could not be saved.\r\n%1\r\n\r\n"
                                "Program without a backup?")
                     .arg(failure));
        QCOMPARE(dialogs.messages[0].buttons, Message::Buttons::YesNo);
        QVERIFY(dialogs.messages[0].noIsDefault);
        const QDir folder(backupFolder);
        QCOMPARE(folder.entryList(QDir::Files | QDir::Hidden), QStringList());
        QVERIFY(!main.CmdWin.text().contains(QLatin1String("EEPROM as read saved in")));
    }

    QString failure; ///< as the question names it
    std::optional<FileSizeLimit> full;
    SyncRecorder syncs;
};

} // namespace

void TestFtdiBackup::backupFails_data()
{
    QTest::addColumn<QString>("cause"); // or the path of a file where a folder should be

    QTest::newRow("the folder is a file") << QStringLiteral("data/backups");
    QTest::newRow("the folder above it is a file") << QStringLiteral("data");
    for (const char *cause : {"full disk", "full disk from the start", "disk error"})
        QTest::newRow(cause) << QString::fromLatin1(cause);
}

void TestFtdiBackup::backupFails()
{
    QFETCH(QString, cause);
    FailingBackupBench bench(cause);
    bench.dialogs.answers = {Answer::No};
    bench.ftdi.programClicked();
    bench.compareAsked();
    QVERIFY(bench.untouched());
    QVERIFY(!bench.session.leases.current());
    QCOMPARE(bench.ftdi.image().bytes(), realEeprom());
}

void TestFtdiBackup::programsWithoutABackup()
{
    FailingBackupBench bench(QStringLiteral("full disk"));
    bench.serve();
    bench.controls.tbProduct.adoptText(QStringLiteral("Other"));
    bench.dialogs.answers = {Answer::Yes};
    bench.ftdi.programClicked();
    bench.compareAsked();
    QCOMPARE(bench.device, bench.ftdi.image().bytes());
    QVERIFY(bench.device != realEeprom());
    QVERIFY(!bench.session.leases.current());
}

/// The question does not keep other windows from the link.
void TestFtdiBackup::linkIsFreeDuringTheQuestion()
{
    FailingBackupBench bench(QStringLiteral("full disk"));
    bench.dialogs.holdAnswers = true;
    bench.ftdi.programClicked();
    bench.compareAsked();
    std::optional<LinkLease> other = bench.session.leases.acquire(LongExchange::ScriptDownload);
    QVERIFY(other);
    bench.dialogs.holdAnswers = false;
    bench.dialogs.answerHeld(Answer::Yes);
    QCOMPARE(bench.dialogs.messages.size(), 2); // the refusal, which names the download
    QCOMPARE(bench.dialogs.messages[1].text, refusalBox(LongExchange::ScriptDownload).text);
    QVERIFY(bench.untouched());
}

void TestFtdiBackup::connectionEndsDuringTheQuestion()
{
    FailingBackupBench bench(QStringLiteral("full disk"));
    bench.dialogs.holdAnswers = true;
    bench.ftdi.programClicked();
    bench.console.connectClicked(); // disconnects
    bench.console.connectClicked();
    bench.serial->takeWritten();
    bench.dialogs.holdAnswers = false;
    bench.dialogs.answerHeld(Answer::Yes);
    QCOMPARE(bench.dialogs.messages.size(), 2);
    QCOMPARE(bench.dialogs.messages[1].text,
             QStringLiteral("The connection has ended. Nothing was sent."));
    QCOMPARE(bench.dialogs.messages[1].title, FtdiBench::Title);
    QVERIFY(bench.sentRequests().isEmpty());
}

void TestFtdiBackup::windowClosesDuringTheQuestion()
{
    FailingBackupBench bench(QStringLiteral("full disk"));
    bench.dialogs.holdAnswers = true;
    bench.ftdi.programClicked();
    bench.ftdi.closed();
    bench.dialogs.answerHeld(Answer::Yes);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QVERIFY(bench.untouched());
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
