// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Converter.h"
#include "simulator/FaultTable.h"
#include "simulator/OperatorCommands.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// The EEPROM of a serial converter: read, erased, written.
class tst_simulatedeeprom : public QObject
{
    Q_OBJECT

private slots:
    void readsWords();
    void wordsBeyondTheLast();
    void otherRequestsStall_data();
    void otherRequestsStall();
    void erases();
    void writesOnlyAfterAnErase();
    void writesOnlyErasedWords();
    void writesOnlySlowly();
    void programs();
    void resetLocksTheEeprom();
    void eraseFails();
    void writeFails();
    void readFails();
    void readIsShort();
    void faultsGoWithTheTester();
    void faultsByText_data();
    void faultsByText();
};

void tst_simulatedeeprom::readsWords()
{
    Converter talk;
    QCOMPARE(talk.read(0), packet("81 00 0040"_hex));
    QCOMPARE(talk.read(1), packet("81 00 0304"_hex));
    QCOMPARE(talk.read(27), packet("81 00 4200"_hex)); // an escaped index
    QCOMPARE(talk.read(63), packet("81 00 0913"_hex));
    QByteArray image;
    for (int word = 0; word < 64; ++word)
        image += talk.read(word).mid(4, 2); // behind ESC S, the code and the status
    QCOMPARE(image, Shipped);
    QCOMPARE(talk.ask("01 07 c0 90 0000 0100 0100"_hex), packet("81 00 03"_hex));
}

void tst_simulatedeeprom::wordsBeyondTheLast()
{
    Converter talk;
    QCOMPARE(talk.read(64), Stall);
    QCOMPARE(talk.ask("01 07 c0 90 0000 0001 0200"_hex), Stall); // word 256
    talk.erase();
    talk.slow();
    QCOMPARE(talk.write(64, "0000"_hex), Stall);
    QCOMPARE(talk.ask("01 07 40 91 0000 0001 0000"_hex), Stall);
    QCOMPARE(talk.device->eeprom(), QByteArray(128, '\xFF'));
}

void tst_simulatedeeprom::otherRequestsStall_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("another one") << "40 93 0000 0000 0000"_hex;
    QTest::newRow("a read that writes") << "40 90 0000 0000 0000"_hex;
    QTest::newRow("a write that reads") << "c0 91 0000 0000 0200"_hex;
    QTest::newRow("an erase that reads") << "c0 92 0000 0000 0200"_hex;
    QTest::newRow("a latency that reads") << "c0 09 7700 0000 0100"_hex;
    QTest::newRow("of an interface") << "41 92 0000 0000 0000"_hex;
    QTest::newRow("of a class") << "20 92 0000 0000 0000"_hex;
}

void tst_simulatedeeprom::otherRequestsStall()
{
    QFETCH(QByteArray, request);
    Converter talk;
    QCOMPARE(talk.ask("01 07"_hex + request), Stall);
    QCOMPARE(talk.device->eeprom(), Shipped);
}

void tst_simulatedeeprom::erases()
{
    Converter talk;
    QCOMPARE(talk.erase(), Ok);
    QCOMPARE(talk.device->eeprom(), QByteArray(128, '\xFF'));
    QCOMPARE(talk.read(31), packet("81 00 ffff"_hex));
    QCOMPARE(talk.descriptor("0103"_hex), packet("81 00 0a03 4600540044004900"_hex)); // until reset
}

void tst_simulatedeeprom::writesOnlyAfterAnErase()
{
    Converter talk(QByteArray(128, '\xFF')); // blank, but nobody has erased it
    talk.slow();
    QCOMPARE(talk.write(5, "3412"_hex), Stall);
    QCOMPARE(talk.read(5), packet("81 00 ffff"_hex));
    talk.erase();
    QCOMPARE(talk.write(5, "3412"_hex), Ok);
    QCOMPARE(talk.read(5), packet("81 00 3412"_hex));
}

void tst_simulatedeeprom::writesOnlyErasedWords()
{
    Converter talk;
    talk.slow();
    QCOMPARE(talk.write(5, "3412"_hex), Stall);
    talk.erase();
    QCOMPARE(talk.write(5, "3412"_hex), Ok);
    QCOMPARE(talk.write(5, "7856"_hex), Stall);
    QCOMPARE(talk.write(5, "3412"_hex), Stall); // nor the same again
    QCOMPARE(talk.read(5), packet("81 00 3412"_hex));
    QCOMPARE(talk.write(6, "ffff"_hex), Ok); // as good as erased
    QCOMPARE(talk.write(6, "1b00"_hex), Ok);
    QCOMPARE(talk.read(6), packet("81 00 1b1b 00"_hex));
    talk.erase();
    QCOMPARE(talk.write(5, "7856"_hex), Ok);
}

void tst_simulatedeeprom::writesOnlySlowly()
{
    Converter talk;
    QCOMPARE(int{talk.device->latency()}, 0x10);
    QCOMPARE(talk.erase(), Ok); // which needs no more time
    QCOMPARE(talk.write(5, "3412"_hex), Stall);
    talk.ask("01 07 40 09 7600 0000 0000"_hex);
    QCOMPARE(talk.write(5, "3412"_hex), Stall);
    QCOMPARE(talk.slow(), Ok);
    QCOMPARE(int{talk.device->latency()}, 0x77);
    QCOMPARE(talk.write(5, "3412"_hex), Ok);
    QCOMPARE(talk.fast(), Ok);
    QCOMPARE(talk.write(6, "3412"_hex), Stall);
    QCOMPARE(talk.read(6), packet("81 00 ffff"_hex));
}

void tst_simulatedeeprom::programs()
{
    Converter talk;
    QByteArray allOk;
    for (int request = 0; request < 67; ++request)
        allOk += Ok;
    QCOMPARE(talk.program(Programmed), allOk);
    QCOMPARE(talk.device->eeprom(), Programmed);
    QCOMPARE(int{talk.device->latency()}, 0x10);
    QCOMPARE(talk.program(Shipped), allOk); // and back
    QCOMPARE(talk.device->eeprom(), Shipped);
}

void tst_simulatedeeprom::resetLocksTheEeprom()
{
    Converter talk;
    talk.erase();
    talk.slow();
    talk.ask("08"_hex);
    QCOMPARE(int{talk.device->latency()}, 0x10);
    QCOMPARE(talk.descriptor("0103"_hex), Stall); // nothing is left to tell of
    talk.slow();
    QCOMPARE(talk.write(5, "3412"_hex), Stall);
}

void tst_simulatedeeprom::eraseFails()
{
    Converter talk;
    talk.tester().faults().eepromEraseFails = true;
    QCOMPARE(talk.erase(), Stall);
    QCOMPARE(talk.device->eeprom(), Shipped);
    talk.slow();
    QCOMPARE(talk.write(5, "3412"_hex), Stall); // nor may it be written
    talk.tester().faults().eepromEraseFails = false;
    QCOMPARE(talk.erase(), Ok);
}

void tst_simulatedeeprom::writeFails()
{
    Converter talk;
    talk.tester().faults().eepromWriteFails = 31;
    talk.erase();
    talk.slow();
    QCOMPARE(talk.write(30, "3412"_hex), Ok);
    QCOMPARE(talk.write(31, "3412"_hex), Stall);
    QCOMPARE(talk.write(32, "3412"_hex), Ok);
    QCOMPARE(talk.read(31), packet("81 00 ffff"_hex));
    talk.tester().faults().eepromWriteFails.reset();
    QCOMPARE(talk.write(31, "3412"_hex), Ok);
}

void tst_simulatedeeprom::readFails()
{
    Converter talk;
    talk.tester().faults().eepromReadFails = 0;
    QCOMPARE(talk.read(0), Stall);
    QCOMPARE(talk.read(1), packet("81 00 0304"_hex));
    talk.tester().faults().eepromReadFails = 63;
    QCOMPARE(talk.read(0), packet("81 00 0040"_hex));
    QCOMPARE(talk.read(63), Stall);
}

void tst_simulatedeeprom::readIsShort()
{
    Converter talk;
    talk.tester().faults().eepromReadShort = 0;
    QCOMPARE(talk.read(1), packet("81 00"_hex));
    talk.tester().faults().eepromReadShort = 1;
    QCOMPARE(talk.read(1), packet("81 00 03"_hex));
    talk.tester().faults().eepromReadShort.reset();
    QCOMPARE(talk.read(1), packet("81 00 0304"_hex));
}

void tst_simulatedeeprom::faultsGoWithTheTester()
{
    Talk talk = Talk::withoutDevices(Settings::vorn2());
    talk.tester().attach(std::make_unique<FtdiDevice>(), 0x07);
    talk.tester().faults().eepromEraseFails = true;
    const std::unique_ptr<VirtualDevice> device = talk.tester().detach(0x07);
    SetupPacket erase;
    erase.requestType = 0x40;
    erase.request = 0x92;
    QCOMPARE(int{device->request(erase).status}, 0x00);
}

void tst_simulatedeeprom::faultsByText_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("taken");
    const auto row = [](const char *name, const char *value, bool taken) {
        QTest::addRow("%s %s", name, value)
            << QString::fromLatin1(name) << QString::fromLatin1(value) << taken;
    };
    row("eeprom-erase-fails", "on", true);
    row("eeprom-erase-fails", "1", false);
    row("eeprom-erase-fails", "", false);
    for (const char *name : {"eeprom-write-fails", "eeprom-read-fails"}) {
        row(name, "0", true);
        row(name, "0x3F", true);
        row(name, "64", false);
        row(name, "-1", false);
        row(name, "on", false);
        row(name, "", false);
    }
    row("eeprom-read-short", "0", true);
    row("eeprom-read-short", "1", true);
    row("eeprom-read-short", "2", false);
    row("eeprom-read-short", "", false);
}

void tst_simulatedeeprom::faultsByText()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(bool, taken);
    Talk talk;
    Faults &faults = talk.tester().faults();
    const OperatorCommands commands(talk.tester());
    const auto chosen = [&] {
        return faults.eepromEraseFails || faults.eepromWriteFails || faults.eepromReadFails ||
               faults.eepromReadShort;
    };
    const QString refused = QStringLiteral("usage: fault NAME VALUE|off");
    const QString line = QStringLiteral("fault ") + name + QLatin1Char(' ');
    QCOMPARE(commands.run(line + value), taken ? QString() : refused);
    QCOMPARE(chosen(), taken);
    QCOMPARE(commands.run(line + QStringLiteral("off")), QString());
    QVERIFY(!chosen());
}

VANTREL_TEST(tst_simulatedeeprom)
#include "tst_simulatedeeprom.moc"
