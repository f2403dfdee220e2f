// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

Settings model(int number)
{
    return number == 1 ? Settings::vorn1() : Settings::vorn2();
}

} // namespace

/// A firmware image on its way into the simulated tester: what it takes and what it refuses.
class tst_firmwaredownload : public QObject
{
    Q_OBJECT

private slots:
    void lengths_data();
    void lengths();
    void refusedLengthEndsADownload();
    void blocksAreCounted();
    void blockSizes();
    void moreThanAnnounced();
    void startsAnew();
    void forgottenByTheNextConsole();
    void accepted_data();
    void accepted();
    void refused_data();
    void refused();
    void incomplete();
    void rightCheckValueAfterAWrongOne();
    void acceptedOnce();
    void silence();
    void refusal();
    void bootLoaderTakesAnImage();
};

void tst_firmwaredownload::lengths_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("vorn 1, most") << 1 << "32 00020000"_hex
                                  << "b2"_hex;
    QTest::newRow("vorn 1, one more") << 1 << "32 00020001"_hex
                                      << "95"_hex;
    QTest::newRow("vorn 2, one more than a vorn 1") << 2 << "32 00020001"_hex
                                                    << "b2"_hex;
    QTest::newRow("vorn 2, most") << 2 << "32 00040000"_hex
                                  << "b2"_hex;
    QTest::newRow("vorn 2, one more") << 2 << "32 00040001"_hex
                                      << "95"_hex;
    QTest::newRow("vorn 1, top bit") << 1 << "32 80000000"_hex
                                     << "95"_hex;
    QTest::newRow("vorn 2, top bit") << 2 << "32 80000000"_hex
                                     << "95"_hex;
    QTest::newRow("nothing") << 2 << "32 00000000"_hex
                             << "b2"_hex;
    QTest::newRow("escaped") << 2 << "32 0000 1b1b 02"_hex
                             << "b2"_hex;
}

void tst_firmwaredownload::lengths()
{
    QFETCH(int, number);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    Talk talk(model(number));
    QCOMPARE(talk.ask(command), packet(answer));
}

void tst_firmwaredownload::refusedLengthEndsADownload()
{
    Talk talk;
    talk.ask("32 0000000a"_hex);
    QCOMPARE(talk.ask("33 4e56"_hex), packet("b3 00000002"_hex));
    QCOMPARE(talk.ask("32 00040001"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("95"_hex));
}

void tst_firmwaredownload::blocksAreCounted()
{
    Talk talk;
    QCOMPARE(talk.ask("32 00001b1b02"_hex), packet("b2"_hex)); // 0x1B02
    QCOMPARE(talk.ask("33"_hex + QByteArray(4096, 'a')), packet("b3 00001000"_hex));
    QCOMPARE(talk.ask("33 1b1b 00"_hex), packet("b3 00001002"_hex));
    QCOMPARE(talk.ask("33"_hex + QByteArray(2816, 'b')), packet("b3 00001b1b02"_hex));
}

void tst_firmwaredownload::blockSizes()
{
    Talk talk;
    talk.ask("32 00040000"_hex);
    QCOMPARE(talk.ask("33"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("33"_hex + QByteArray(4097, 'a')), packet("95"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("b3 00000001"_hex)); // neither of them counted
    QCOMPARE(talk.ask("33"_hex + QByteArray(4096, 'a')), packet("b3 00001001"_hex));
}

void tst_firmwaredownload::moreThanAnnounced()
{
    Talk talk;
    QCOMPARE(talk.ask("33 00"_hex), packet("95"_hex)); // nothing announced
    talk.ask("32 0000000a"_hex);
    QCOMPARE(talk.ask("33 4e56 00000000000004"_hex), packet("b3 00000009"_hex));
    QCOMPARE(talk.ask("33 0203"_hex), packet("95"_hex)); // one byte is left
    QCOMPARE(talk.ask("33 02"_hex), packet("b3 0000000a"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("b4"_hex)); // and the image is whole
}

void tst_firmwaredownload::startsAnew()
{
    Talk talk;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 ffffffff"_hex);
    QCOMPARE(talk.ask("32 0000000a"_hex), packet("b2"_hex));
    QCOMPARE(talk.ask("33 4e56 000000000000 0402"_hex), packet("b3 0000000a"_hex));
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("b4"_hex));
}

void tst_firmwaredownload::forgottenByTheNextConsole()
{
    Talk talk;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    talk.tester().startConversation();
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("95"_hex));
}

void tst_firmwaredownload::accepted_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("checkValue");
    QTest::newRow("vorn 2") << 2 << "0a"_hex
                            << "4e56 000000000000 0402"_hex
                            << "e8d3c3b1"_hex;
    QTest::newRow("vorn 2, the marker alone") << 2 << "02"_hex
                                              << "4e56"_hex
                                              << "ad2b84b5"_hex;
    QTest::newRow("vorn 2, with both markers") << 2 << "0a"_hex
                                               << "4e560000 0000 0400 0212"_hex
                                               << "2c5ce304"_hex;
    QTest::newRow("vorn 1") << 1 << "0a"_hex
                            << "000000000000 0400 0212"_hex
                            << "ad67eceb"_hex;
    QTest::newRow("vorn 1, up to its marker") << 1 << "08"_hex
                                              << "000000000000 0400"_hex
                                              << "014e1a6d"_hex;
    QTest::newRow("vorn 1, with both markers") << 1 << "0a"_hex
                                               << "4e560000 0000 0400 0212"_hex
                                               << "2c5ce304"_hex;
}

void tst_firmwaredownload::accepted()
{
    QFETCH(int, number);
    QFETCH(QByteArray, length);
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, checkValue);
    Talk talk(model(number));
    talk.ask("32 000000"_hex + length);
    QCOMPARE(talk.ask("33"_hex + image), packet("b3 000000"_hex + length));
    QCOMPARE(talk.ask("34"_hex + checkValue), packet("b4"_hex));
    QCOMPARE(talk.tester().state().firmware.programmed(), QByteArray()); // it takes its time
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.tester().state().firmware.programmed(), image);
}

void tst_firmwaredownload::refused_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("checkValue");
    const auto wrongValue = [](const char *name, const QByteArray &value) {
        QTest::newRow(name) << 2 << "0a"_hex
                            << "4e56 000000000000 0402"_hex << value;
    };
    wrongValue("value of another image", "ad2b84b5"_hex);
    wrongValue("value, last bit", "e8d3c3b0"_hex);
    wrongValue("value, first bit", "68d3c3b1"_hex);
    wrongValue("value, low byte first", "b1c3d3e8"_hex);
    wrongValue("value, not inverted at the end", "172c3c4e"_hex);
    wrongValue("value 0", "00000000"_hex);
    // Right values from here on.
    QTest::newRow("no marker") << 2 << "09"_hex
                               << "313233343536373839"_hex // 123456789
                               << "cbf43926"_hex;
    QTest::newRow("vorn 2, marker reversed") << 2 << "0a"_hex
                                             << "564e 000000000000 0402"_hex
                                             << "cbb2e2c4"_hex;
    QTest::newRow("vorn 2, half a marker") << 2 << "01"_hex
                                           << "4e"_hex
                                           << "4366831a"_hex;
    QTest::newRow("vorn 2, image of a vorn 1") << 2 << "0a"_hex
                                               << "000000000000 0400 0212"_hex
                                               << "ad67eceb"_hex;
    QTest::newRow("vorn 1, image of a vorn 2") << 1 << "0a"_hex
                                               << "4e56 000000000000 0402"_hex
                                               << "e8d3c3b1"_hex;
    QTest::newRow("vorn 1, marker reversed") << 1 << "0a"_hex
                                             << "000000000000 0004 0212"_hex
                                             << "250cd360"_hex;
    QTest::newRow("vorn 1, second marker byte") << 1 << "0a"_hex
                                                << "000000000000 0401 0212"_hex
                                                << "aca586dc"_hex;
    QTest::newRow("vorn 1, half a marker") << 1 << "07"_hex
                                           << "000000000000 04"_hex
                                           << "9a011b67"_hex;
}

void tst_firmwaredownload::refused()
{
    QFETCH(int, number);
    QFETCH(QByteArray, length);
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, checkValue);
    Talk talk(model(number));
    const QByteArray version = talk.ask("0f"_hex);
    talk.ask("32 000000"_hex + length);
    QCOMPARE(talk.ask("33"_hex + image), packet("b3 000000"_hex + length));
    QCOMPARE(talk.ask("34"_hex + checkValue), packet("95"_hex));
    QCOMPARE(talk.ask("0f"_hex), version); // it is still there
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.ask("0f"_hex), version);
    QCOMPARE(talk.tester().state().firmware.programmed(), QByteArray());
}

void tst_firmwaredownload::incomplete()
{
    Talk talk;
    talk.ask("32 0000000b"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("b3 0000000b"_hex)); // the download goes on
    QCOMPARE(talk.ask("34 6e8cbf54"_hex), packet("b4"_hex));

    Talk empty;
    empty.ask("32 00000000"_hex);
    QCOMPARE(empty.ask("34 00000000"_hex), packet("95"_hex)); // its value, but no marker
}

void tst_firmwaredownload::rightCheckValueAfterAWrongOne()
{
    Talk talk;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    QCOMPARE(talk.ask("34 00000000"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("b4"_hex));
}

void tst_firmwaredownload::acceptedOnce()
{
    Talk talk;
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    talk.ask("34 e8d3c3b1"_hex);
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("95"_hex));
    QCOMPARE(talk.ask("33 00"_hex), packet("95"_hex));
}

void tst_firmwaredownload::silence()
{
    Talk talk;
    talk.tester().faults().silence.codes = {0x32, 0x33, 0x34};
    QCOMPARE(talk.ask("32 0000000a"_hex), QByteArray());
    QCOMPARE(talk.ask("33 4e56 000000000000 0402"_hex), QByteArray());
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), QByteArray());
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 04 02 0040"_hex)); // programmed all the same
}

void tst_firmwaredownload::refusal()
{
    Talk talk;
    talk.tester().faults().refusal.codes = {0x34};
    talk.ask("32 0000000a"_hex);
    talk.ask("33 4e56 000000000000 0402"_hex);
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("95"_hex));
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 03 0c 0040"_hex));
    talk.tester().faults().refusal.codes = {0x33};
    QCOMPARE(talk.ask("32 0000000a"_hex), packet("b2"_hex));
    QCOMPARE(talk.ask("33 4e56"_hex), packet("95"_hex));
    talk.tester().faults().refusal.codes = {};
    QCOMPARE(talk.ask("33 4e56"_hex), packet("b3 00000002"_hex)); // the refused one did not count
}

void tst_firmwaredownload::bootLoaderTakesAnImage()
{
    Settings settings;
    settings.bootstrap = true;
    Talk talk(settings);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 82 03 0c 0040"_hex));
    QCOMPARE(talk.ask("32 0000000a"_hex), packet("b2"_hex));
    QCOMPARE(talk.ask("33 4e56 000000000000 0402"_hex), packet("b3 0000000a"_hex));
    QCOMPARE(talk.ask("34 e8d3c3b1"_hex), packet("b4"_hex));
    talk.tester().clock().advance(5000);
    QCOMPARE(talk.ask("0f"_hex), packet("8f 02 04 02 0040"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex)); // the boot loader would not know it
}

VANTREL_TEST(tst_firmwaredownload)
#include "tst_firmwaredownload.moc"
