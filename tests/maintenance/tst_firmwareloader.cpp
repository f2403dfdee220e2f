// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FirmwareBench.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

/// Choosing images, and downloads that go well.
class tst_firmwareloader : public QObject
{
    Q_OBJECT

private slots:
    void opening_data();
    void opening();
    void dialog();
    void cancelledDialog();
    void lengths_data();
    void lengths();
    void markers_data();
    void markers();
    void whatTheWindowShows();
    void checkValues_data();
    void checkValues();
    void whileTheRefusalShows();
    void tooLongKeepsTheEarlierImage();
    void wrongMarkerReplacesTheEarlierImage();
    void noSuchFile();
    void cancelButton();
    void tenThousandBytes();
    void escapesAreDoubled();
    void blocks_data();
    void blocks();
    void duringTheDownload();
    void pauseBeforeTheRestart();
    void serialLineStaysOpen();
    void socketIsOpenedAgain();
    void testerDropsTheConnection();
    void socketCannotBeOpened();
};

void tst_firmwareloader::opening_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("title");
    QTest::newRow("Vorn 2") << 2 << "Download Firmware to Vorn 2";
    QTest::newRow("Vorn 1") << 1 << "Download Firmware to Vorn 1";
    QTest::newRow("not known") << 0 << "Download Firmware to Vorn 1";
}

void tst_firmwareloader::opening()
{
    QFETCH(int, model);
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    QVERIFY(bench.controls.btProgram.isEnabled());
    bench.openFor(static_cast<qint16>(model));
    QTEST(bench.controls.Window.text(), "title");
    QCOMPARE(bench.controls.tbFWFile.text(), QStringLiteral("<Select Firmware File>"));
    QCOMPARE(bench.controls.lblStatus.text(), QString());
    QCOMPARE(bench.controls.lblCRC.text(), QString());
    QCOMPARE(bench.controls.lblCRC.toolTip(), QStringLiteral("CRC-32 (built in)"));
    QVERIFY(bench.controls.fileselect.isEnabled());
    QVERIFY(!bench.controls.btProgram.isEnabled());
    QVERIFY(bench.controls.btCancel.isEnabled());
    QVERIFY(!bench.controls.BlockProgress.isVisible());
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_firmwareloader::dialog()
{
    FirmwareBench bench;
    bench.loader.fileSelectClicked();
    QCOMPARE(bench.dialogs.choices.size(), 1);
    const FileChoice choice = bench.dialogs.choices[0];
    QVERIFY(choice.kind == FileChoice::Kind::OpenExisting);
    QCOMPARE(choice.title, QStringLiteral("Open Firmware File"));
    QCOMPARE(choice.filter, QStringLiteral("Firmware Files|*.bin"));
    QCOMPARE(choice.defaultSuffix, QStringLiteral("bin"));
    QCOMPARE(choice.fileName, QStringLiteral("*.bin"));
}

void tst_firmwareloader::cancelledDialog()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    bench.loader.fileSelectClicked();
    QCOMPARE(bench.controls.tbFWFile.text(), bench.directory.filePath(QStringLiteral("new.bin")));
    QCOMPARE(bench.controls.lblStatus.text(), QStringLiteral("Ready to Download"));
    QVERIFY(bench.controls.btProgram.isEnabled());
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_firmwareloader::lengths_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("Vorn 1, longest") << 1 << 131'072 << true;
    QTest::newRow("Vorn 1, too long") << 1 << 131'073 << false;
    QTest::newRow("Vorn 2, too long for a Vorn 1") << 2 << 131'073 << true;
    QTest::newRow("Vorn 2, longest") << 2 << 262'144 << true;
    QTest::newRow("Vorn 2, too long") << 2 << 262'145 << false;
    QTest::newRow("not known, longest") << 0 << 262'144 << true;
    QTest::newRow("not known, too long") << 0 << 262'145 << false;
}

void tst_firmwareloader::lengths()
{
    QFETCH(int, model);
    QFETCH(int, length);
    QFETCH(bool, accepted);
    FirmwareBench bench;
    bench.openFor(static_cast<qint16>(model));
    bench.choose(QByteArray("NVxxxx\x04\0", 8) + QByteArray(length - 8, 'x'));
    QCOMPARE(bench.controls.btProgram.isEnabled(), accepted);
    QCOMPARE(bench.dialogs.messages.size(), accepted ? 0 : 1);
}

void tst_firmwareloader::markers_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("Vorn 2") << 2 << "4e56 00000000 0102"_hex << true;
    QTest::newRow("Vorn 2, two bytes") << 2 << "4e56"_hex << true;
    QTest::newRow("Vorn 2, one byte") << 2 << "4e"_hex << false;
    QTest::newRow("Vorn 2, first byte wrong") << 2 << "4d56 00000000 0400"_hex << false;
    QTest::newRow("Vorn 2, second byte wrong") << 2 << "4e57 00000000 0400"_hex << false;
    QTest::newRow("Vorn 2, empty") << 2 << QByteArray() << false;
    QTest::newRow("Vorn 1") << 1 << "000000000000 0400"_hex << true;
    QTest::newRow("Vorn 1, whatever its beginning") << 1 << "4e56ffff1234 0400 99"_hex << true;
    QTest::newRow("Vorn 1, first byte wrong") << 1 << "4e5600000000 0500"_hex << false;
    QTest::newRow("Vorn 1, second byte wrong") << 1 << "4e5600000000 0401"_hex << false;
    QTest::newRow("Vorn 1, cut in the marker") << 1 << "000000000000 04"_hex << false;
    QTest::newRow("Vorn 1, empty") << 1 << QByteArray() << false;
    QTest::newRow("not known") << 0 << "000000000000 0400"_hex << true;
    QTest::newRow("not known, of a Vorn 2") << 0 << "4e56 00000000 0102"_hex << false;
}

void tst_firmwareloader::markers()
{
    QFETCH(int, model);
    QFETCH(QByteArray, image);
    QFETCH(bool, accepted);
    FirmwareBench bench;
    bench.openFor(static_cast<qint16>(model));
    bench.choose(image);
    QCOMPARE(bench.controls.btProgram.isEnabled(), accepted);
    if (accepted) {
        QVERIFY(bench.dialogs.messages.isEmpty());
        return;
    }
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Selected File is Not a Firmware Image"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel"));
    QCOMPARE(bench.controls.tbFWFile.text(), QStringLiteral("<Select Firmware File>"));
    QCOMPARE(bench.controls.lblStatus.text(), QString());
}

void tst_firmwareloader::whatTheWindowShows()
{
    FirmwareBench bench;
    bench.choose("NVxxxxxx");
    QCOMPARE(bench.controls.tbFWFile.text(), bench.directory.filePath(QStringLiteral("new.bin")));
    QCOMPARE(bench.controls.lblStatus.text(), QStringLiteral("Ready to Download"));
    QCOMPARE(bench.controls.lblCRC.text(), QStringLiteral("Image CRC = 7AB24CF2"));
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_firmwareloader::checkValues_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("0x1A2B") << "4e56 f9d86dc0"_hex
                            << "Image CRC = 00001A2B"
                            << "1b53 34 00001a2b 1b45"_hex;
    QTest::newRow("ordinary") << QByteArray("NV1") << "Image CRC = 387A8330"
                              << "1b53 34 387a8330 1b45"_hex;
    QTest::newRow("top bit set") << QByteArray("NVab") << "Image CRC = EDE4F882"
                                 << "1b53 34 ede4f882 1b45"_hex;
}

void tst_firmwareloader::checkValues()
{
    QFETCH(QByteArray, image);
    FirmwareBench bench;
    bench.choose(image);
    QTEST(bench.controls.lblCRC.text(), "shown");
    bench.loader.programClicked();
    bench.serial->takeWritten();
    bench.answer(BlockAck);
    QTEST(bench.serial->takeWritten(), "sent");
}

void tst_firmwareloader::whileTheRefusalShows()
{
    FirmwareBench bench;
    QStringList shown;
    bench.dialogs.onMessage = [&] {
        shown = {bench.controls.tbFWFile.text(), bench.controls.lblStatus.text()};
    };
    bench.choose("something else");
    QCOMPARE(shown, QStringList({bench.directory.filePath(QStringLiteral("new.bin")),
                                 QStringLiteral("Reading Image File")}));
    bench.choose(QByteArray(262'145, 'x'));
    QCOMPARE(shown, QStringList({QStringLiteral("<Select Firmware File>"), QString()}));
}

void tst_firmwareloader::tooLongKeepsTheEarlierImage()
{
    FirmwareBench bench;
    bench.choose("NV1");
    bench.choose(QByteArray(262'145, 'x'), "long.bin");
    QCOMPARE(bench.controls.tbFWFile.text(), QStringLiteral("<Select Firmware File>"));
    QCOMPARE(bench.controls.lblStatus.text(), QString());
    QCOMPARE(bench.controls.lblCRC.text(), QStringLiteral("Image CRC = 387A8330"));
    QVERIFY(bench.controls.btProgram.isEnabled());
    bench.loader.programClicked();
    bench.answer(BlockAck);
    QCOMPARE(bench.serial->takeWritten(), "1b53 32 00000003 1b45"
                                          "1b53 33 4e5631 1b45"
                                          "1b53 34 387a8330 1b45"_hex);
}

void tst_firmwareloader::wrongMarkerReplacesTheEarlierImage()
{
    FirmwareBench bench;
    bench.choose("NV1");
    bench.choose("other", "other.bin");
    QCOMPARE(bench.controls.lblCRC.text(), QStringLiteral("Image CRC = 387A8330"));
    QVERIFY(bench.controls.btProgram.isEnabled());
    bench.dialogs.messages.clear();
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(), QByteArray()); // checked again
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Selected File is Not a Firmware Image"));
}

void tst_firmwareloader::noSuchFile()
{
    FirmwareBench bench;
    bench.choose("NV1");
    const QString path = bench.directory.filePath(QStringLiteral("gone.bin"));
    bench.dialogs.paths = {path};
    bench.loader.fileSelectClicked();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("No such file or directory: ") + path);
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.controls.tbFWFile.text(), bench.directory.filePath(QStringLiteral("new.bin")));
    QCOMPARE(bench.controls.lblStatus.text(), QStringLiteral("Ready to Download"));
}

void tst_firmwareloader::cancelButton()
{
    FirmwareBench bench;
    bench.loader.cancelClicked();
    QCOMPARE(bench.closings, 1);
    QVERIFY(bench.serial->written.isEmpty());
}

void tst_firmwareloader::tenThousandBytes()
{
    QByteArray image(10'000, 'x');
    image.replace(0, 2, "NV");
    image[4095] = '\x1B'; // the last byte of the first block
    image[4096] = 'S';
    image[9999] = '\x1B';

    FirmwareBench bench;
    bench.choose(image);
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(), "1b53 32 00002710 1b45"
                                          "1b53 33 4e56"_hex +
                                              QByteArray(4093, 'x') + "1b1b 1b45"_hex);
    bench.answer("b3 00001000"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 33 53"_hex + QByteArray(4095, 'x') + "1b45"_hex);
    bench.answer("b3 00002000"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 33"_hex + QByteArray(1807, 'x') + "1b1b 1b45"_hex);
    bench.answer("b3 00002710"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 34 d37b5121 1b45"_hex);
    bench.answer("b4"_hex);
    bench.tick(50);
    QVERIFY(bench.main.CmdWin.text().endsWith(
        QLatin1String("\r\nLoading Firmware 00001000\r\nLoading Firmware 00002000"
                      "\r\nLoading Firmware 00002710\r\nProgramming Firmware")));
    QCOMPARE(bench.session.RespText.text(), QByteArray("Reinitializing Communications...\r\n"));
    QVERIFY(bench.dialogs.messages.isEmpty());
}

void tst_firmwareloader::escapesAreDoubled()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(25, '\x1B'));
    bench.loader.programClicked();
    QCOMPARE(bench.serial->takeWritten(),
             "1b53 32 0000001b1b 1b45 1b53 33 4e56"_hex + QByteArray(50, '\x1B') + "1b45"_hex);
}

void tst_firmwareloader::blocks_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QList<int>>("blocks");
    QTest::newRow("two bytes") << 2 << QList{2};
    QTest::newRow("one block") << 4096 << QList{4096};
    QTest::newRow("one byte more") << 4097 << QList{4096, 1};
    QTest::newRow("two blocks") << 8192 << QList{4096, 4096};
}

void tst_firmwareloader::blocks()
{
    QFETCH(int, length);
    QFETCH(QList<int>, blocks);
    FirmwareBench bench;
    bench.choose(QByteArray("NV" + QByteArray(length, 'x')).first(length));
    bench.loader.programClicked();
    bench.serial->written.removeFirst();
    for (const int size : blocks) {
        QCOMPARE(bench.serial->written.size(), 1);
        QCOMPARE(bench.serial->takeWritten().size(), size + 5);
        bench.answer(BlockAck);
    }
    QVERIFY(bench.serial->takeWritten().startsWith("1b53 34"_hex));
}

void tst_firmwareloader::duringTheDownload()
{
    FirmwareBench bench;
    bench.choose("NV" + QByteArray(9000, 'x'));
    QVERIFY(bench.buttonsEnabled());
    bench.loader.programClicked();
    QVERIFY(!bench.buttonsEnabled());
    QVERIFY(bench.session.ScriptBusy);
    QVERIFY(bench.controls.BlockProgress.isVisible());
    QCOMPARE(bench.controls.BlockProgress.progress(), (Progress{1, 3}));
    QCOMPARE(bench.controls.BlockProgress.text(), QStringLiteral("1 of 3 blocks sent"));
    bench.serial->takeWritten();
    bench.tick(30);
    QVERIFY(bench.serial->written.isEmpty()); // no polls
    bench.answer(BlockAck);
    bench.answer(BlockAck);
    QCOMPARE(bench.controls.BlockProgress.progress(), (Progress{3, 3}));
    QVERIFY(!bench.session.RestartExpected);
    bench.answer(BlockAck);
    QVERIFY(bench.session.RestartExpected);
    QVERIFY(!bench.buttonsEnabled());
}

void tst_firmwareloader::pauseBeforeTheRestart()
{
    FirmwareBench bench;
    bench.session.TickCount = 1'999'999'970; // the deadline lies beyond the wrap
    bench.programSmall();
    bench.answer("b4"_hex); // answers do not end it
    bench.answer(BlockAck);
    bench.tick(49);
    QCOMPARE(bench.closings, 0);
    QVERIFY(bench.session.ScriptBusy);
    QCOMPARE(bench.session.LinkState, LinkStates::Running);
    QCOMPARE(bench.session.RespText.text(), QByteArray());
    bench.tick();
    QCOMPARE(bench.closings, 1);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QCOMPARE(bench.session.LinkState, LinkStates::Opened);
    QCOMPARE(bench.session.RespText.text(), QByteArray("Reinitializing Communications...\r\n"));
    QVERIFY(bench.serial->written.isEmpty());
    QCOMPARE(bench.session.waits.pendingCount(), 0);
}

void tst_firmwareloader::serialLineStaysOpen()
{
    FirmwareBench bench;
    bench.programSmall();
    bench.tick(50);
    QCOMPARE(bench.serial->closes, 0);
    QCOMPARE(bench.serial->opened.size(), 1);
    QCOMPARE(bench.session.FirmwareMajor, 3); // until the new firmware says otherwise
    QCOMPARE(bench.session.FirmwareMinor, 12);
    QCOMPARE(bench.session.TesterRamK, 64);
    bench.second();
    QCOMPARE(bench.serial->takeWritten(), "1b53 0f 1b45"_hex);
    QVERIFY(bench.main.CmdWin.text().endsWith(QLatin1String("\r\nConnecting...")));
}

void tst_firmwareloader::socketIsOpenedAgain()
{
    FirmwareBench bench(true);
    bench.programSmall();
    bench.tick(49);
    QCOMPARE(bench.tcp->opened.size(), 1);
    bench.tick();
    QCOMPARE(bench.tcp->closes, 1);
    QCOMPARE(bench.tcp->opened.size(), 2);
    QCOMPARE(bench.tcp->opened[1].address, bench.tcp->opened[0].address);
    QCOMPARE(bench.tcp->opened[1].port, 7);
    QCOMPARE(bench.session.LinkState, LinkStates::Opened);
    bench.second();
    QCOMPARE(bench.tcp->takeWritten(), "1b53 0f 1b45"_hex);
}

void tst_firmwareloader::testerDropsTheConnection()
{
    FirmwareBench bench(true);
    bench.programSmall();
    bench.tick(20);
    bench.tcp->fail(QStringLiteral("The remote host closed the connection"));
    QVERIFY(bench.dialogs.messages.isEmpty());
    bench.tick(30);
    QCOMPARE(bench.closings, 1);
    QCOMPARE(bench.tcp->opened.size(), 2);
    QVERIFY(bench.dialogs.messages.isEmpty());
    QCOMPARE(bench.main.Connect.text(), QStringLiteral("Disconnect"));

    bench.tcp->fail(QStringLiteral("Connection refused")); // no restart excuses this one
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Network Error Detected: Connection refused"));
}

void tst_firmwareloader::socketCannotBeOpened()
{
    FirmwareBench bench(true);
    bench.programSmall();
    bench.tcp->openError = QStringLiteral("No host name");
    bench.tick(50);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QStringLiteral("Error Opening Communications Port"));
    QCOMPARE(bench.dialogs.messages[0].title, QStringLiteral("Vantrel - Error"));
    QCOMPARE(bench.session.LinkState, LinkStates::Opened);
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.RestartExpected);
    QCOMPARE(bench.closings, 1);
}

VANTREL_TEST(tst_firmwareloader)
#include "tst_firmwareloader.moc"
