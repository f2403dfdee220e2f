// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"
#include "simulator/EzUsbDevice.h"
#include "simulator/ScriptTalk.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

using Generation = EzUsbDevice::Generation;

/// A tester with one device that takes firmware, and the device.
struct Loader : ScriptTalk
{
    explicit Loader(Generation generation = Generation::Fx2)
        : ScriptTalk(std::make_unique<Tester>(Settings::vorn2()))
    {
        auto owned = std::make_unique<EzUsbDevice>(generation);
        device = owned.get();
        tester().attach(std::move(owned), generation == Generation::Fx2 ? 0x08 : 0x09);
    }
    QByteArray hold() { return ask("01 08 40a0 00e6 0000 0100 01"_hex); }
    QByteArray release() { return ask("01 08 40a0 00e6 0000 0100 00"_hex); }

    EzUsbDevice *device;
};

const QByteArray Ok = packet("81 00"_hex);
const QByteArray Stall = packet("81 0e"_hex);
// What automatic mode says of the device at 0x08 with and without firmware.
const QByteArray Waiting = packet("90 00 08 ff 175a 200f"_hex);
const QByteArray Gone = packet("90 01 08"_hex);
const QByteArray Loaded = packet("90 00 08 ff 175a 210f"_hex);

} // namespace

/// Devices that take their firmware into RAM.
class tst_ezusbdevice : public QObject
{
    Q_OBJECT

private slots:
    void builtIn();
    void descriptors_data();
    void descriptors();
    void holding_data();
    void holding();
    void readsBack();
    void ranges_data();
    void ranges();
    void refusedWriteChangesNothing();
    void otherRequestsStall_data();
    void otherRequestsStall();
    void loadAndRelease();
    void loadAndReleaseWithoutAutomaticMode();
    void releasedWithoutALoad();
    void loadedWhileRunning();
    void loadedInPiecesAroundTheRegister();
    void loadedTwice();
    void holdingStopsTheFirmware();
    void onlyTheLowestBitHolds();
    void busResetKeepsTheFirmware();
    void powerOffLosesTheFirmware();
    void loadedByAScript();
    void firstGenerationByAScript();
};

void tst_ezusbdevice::builtIn()
{
    const BuiltInDevice *fx2 = findBuiltInDevice(QStringLiteral("fx2"));
    const BuiltInDevice *ezusb = findBuiltInDevice(QStringLiteral("ezusb"));
    QVERIFY(fx2 && ezusb);
    QCOMPARE(int{fx2->address}, 0x08);
    QCOMPARE(int{ezusb->address}, 0x09);
    Talk talk; // neither is there at the start
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Connects);
    QVERIFY(talk.tester().attach(fx2->make(), fx2->address));
    QCOMPARE(talk.take(), Waiting);
    QVERIFY(talk.tester().attach(ezusb->make(), ezusb->address));
    QCOMPARE(talk.take(), packet("90 00 09 ff 175a 200e"_hex));
}

void tst_ezusbdevice::descriptors_data()
{
    QTest::addColumn<Generation>("generation");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    const auto row = [](const char *name, Generation generation, bool loaded,
                        const QByteArray &request, const QByteArray &answer) {
        QTest::addRow("%s, %s", generation == Generation::Fx2 ? "fx2" : "ezusb", name)
            << generation << loaded << request << answer;
    };
    const QByteArray device = "80 06 0001 0000 1200"_hex;
    const QByteArray configuration = "80 06 0002 0000 ff00"_hex;
    const QByteArray product = "80 06 0103 0904 ff00"_hex;
    row("device", Generation::Fx2, false, device,
        "81 00 1201 0002 ffffff40 175a 200f 0100 000000 01"_hex);
    row("device with firmware", Generation::Fx2, true, device,
        "81 00 1201 0002 ffffff40 175a 210f 0100 000100 01"_hex);
    row("configuration", Generation::Fx2, false, configuration,
        "81 00 0902 2000 01010080 32 0904 000002 ffffff00 0705 0202 0002 00 0705 8202 0002 00"_hex);
    row("configuration with firmware", Generation::Fx2, true, configuration,
        "81 00 0902 2000 01010080 32 0904 000002 ffffff00 0705 0202 0002 00 0705 8202 0002 00"_hex);
    row("product", Generation::Fx2, false, product, "81 0e"_hex);
    row("product with firmware", Generation::Fx2, true, product,
        "81 00 3203 45005a002d005500530042002f00460058003200"
        "20007700690074006800 20006600690072006d007700610072006500"_hex);
    row("device", Generation::EzUsb, false, device,
        "81 00 1201 0001 ffffff40 175a 200e 0100 000000 01"_hex);
    row("device with firmware", Generation::EzUsb, true, device,
        "81 00 1201 0001 ffffff40 175a 210e 0100 000100 01"_hex);
    row("configuration", Generation::EzUsb, false, configuration,
        "81 00 0902 2000 01010080 32 0904 000002 ffffff00 0705 0202 4000 00 0705 8202 4000 00"_hex);
    row("product with firmware", Generation::EzUsb, true, product,
        "81 00 2a03 45005a002d00550053004200"
        "20007700690074006800 20006600690072006d007700610072006500"_hex);
}

void tst_ezusbdevice::descriptors()
{
    QFETCH(Generation, generation);
    QFETCH(bool, loaded);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    Loader talk(generation);
    const bool fx2 = generation == Generation::Fx2;
    const QByteArray address = fx2 ? "08"_hex : "09"_hex;
    const QByteArray control = fx2 ? "00e6"_hex : "927f"_hex;
    if (loaded) {
        talk.ask("01"_hex + address + "40a0"_hex + control + "0000 0100 01"_hex);
        talk.ask("01"_hex + address + "40a0 0000 0000 0100 02"_hex);
        talk.ask("01"_hex + address + "40a0"_hex + control + "0000 0100 00"_hex);
    }
    QCOMPARE(talk.ask("01"_hex + address + request).toHex(' '), packet(answer).toHex(' '));
}

void tst_ezusbdevice::holding_data()
{
    QTest::addColumn<Generation>("generation");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("control");
    QTest::newRow("fx2") << Generation::Fx2 << "08"_hex
                         << "00e6"_hex;
    QTest::newRow("ezusb") << Generation::EzUsb << "09"_hex
                           << "927f"_hex;
}

void tst_ezusbdevice::holding()
{
    QFETCH(Generation, generation);
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, control);
    Loader talk(generation);
    const QByteArray write = "01"_hex + address + "40a0"_hex + control + "0000 0100"_hex;
    const QByteArray read = "01"_hex + address + "c0a0"_hex + control + "0000 0100"_hex;
    QVERIFY(!talk.device->isHeld());
    QCOMPARE(talk.ask(read), packet("81 00 00"_hex));
    QCOMPARE(talk.ask(write + "01"_hex), Ok);
    QVERIFY(talk.device->isHeld());
    QCOMPARE(talk.ask(read), packet("81 00 01"_hex));
    QCOMPARE(talk.ask(write + "00"_hex), Ok);
    QVERIFY(!talk.device->isHeld());
    QCOMPARE(talk.ask(read), packet("81 00 00"_hex));
    QVERIFY(!talk.device->isRunning()); // nothing to run
}

void tst_ezusbdevice::readsBack()
{
    Loader talk;
    QCOMPARE(talk.ask("01 08 c0a0 0001 0000 0400"_hex), packet("81 00 00000000"_hex));
    QCOMPARE(talk.ask("01 08 40a0 0101 0000 0300 021b1b f0"_hex), Ok);
    QCOMPARE(talk.ask("01 08 c0a0 0001 0000 0500"_hex), packet("81 00 00 021b1bf0 00"_hex));
    QCOMPARE(talk.device->ram().mid(0x100, 5), "00 021bf0 00"_hex);
    QCOMPARE(talk.device->ram().size(), 0x10000);
}

void tst_ezusbdevice::ranges_data()
{
    QTest::addColumn<Generation>("generation");
    QTest::addColumn<QByteArray>("at");     // wValue, low byte first, ESC doubled
    QTest::addColumn<QByteArray>("length"); // wLength
    QTest::addColumn<bool>("fits");
    const auto row = [](Generation generation, const char *at, const char *length, bool fits) {
        QTest::addRow("%s, %s from %s", generation == Generation::Fx2 ? "fx2" : "ezusb", length, at)
            << generation << QByteArray::fromHex(at) << QByteArray::fromHex(length) << fits;
    };
    const Generation fx2 = Generation::Fx2;
    row(fx2, "0000", "0100", true);
    row(fx2, "ff3f", "0100", true);
    row(fx2, "f03f", "1000", true);
    row(fx2, "f03f", "1100", false);
    row(fx2, "0040", "0100", false);
    row(fx2, "ffdf", "0100", false);
    row(fx2, "ffdf", "0200", false);
    row(fx2, "00e0", "0002", true);
    row(fx2, "00e0", "0102", false);
    row(fx2, "00e2", "0100", false);
    row(fx2, "ffe5", "0100", false);
    row(fx2, "00e6", "0100", true);
    row(fx2, "00e6", "0200", false);
    row(fx2, "ffff", "0100", false);
    row(fx2, "ffff", "0200", false);
    row(fx2, "0040", "0000", true); // nothing at all
    row(fx2, "927f", "0100", false);
    const Generation ezusb = Generation::EzUsb;
    row(ezusb, "0000", "0100", true);
    row(ezusb, "3f1b1b", "0100", true);
    row(ezusb, "3f1b1b", "0200", false);
    row(ezusb, "401b1b", "0100", false);
    row(ezusb, "3f7b", "0100", false);
    row(ezusb, "407b", "c004", true);
    row(ezusb, "407b", "c104", false);
    row(ezusb, "927f", "0100", true);
    row(ezusb, "917f", "0300", true);
    row(ezusb, "ff7f", "0100", true);
    row(ezusb, "0080", "0100", false);
    row(ezusb, "00e6", "0100", false);
}

void tst_ezusbdevice::ranges()
{
    QFETCH(Generation, generation);
    QFETCH(QByteArray, at);
    QFETCH(QByteArray, length);
    QFETCH(bool, fits);
    Loader talk(generation);
    const QByteArray address = generation == Generation::Fx2 ? "08"_hex : "09"_hex;
    const int count = static_cast<quint8>(length[0]) + 256 * static_cast<quint8>(length[1]);
    QCOMPARE(talk.ask("01"_hex + address + "40a0"_hex + at + "0000"_hex + length +
                      QByteArray(count, '\0')),
             fits ? Ok : Stall);
    QCOMPARE(talk.ask("01"_hex + address + "c0a0"_hex + at + "0000"_hex + length),
             fits ? packet("81 00"_hex + QByteArray(count, '\0')) : Stall);
}

void tst_ezusbdevice::refusedWriteChangesNothing()
{
    Loader talk;
    QCOMPARE(talk.ask("01 08 40a0 ff3f 0000 0200 aabb"_hex), Stall);
    QCOMPARE(talk.device->ram(), QByteArray(0x10000, '\0'));
    QCOMPARE(talk.ask("01 08 40a0 00e6 0000 0200 0101"_hex), Stall);
    QVERIFY(!talk.device->isHeld());
    QCOMPARE(talk.ask("01 08 40a0 0000 0000 0200 aa"_hex),
             packet("81 86"_hex)); // a byte is missing
    QCOMPARE(talk.device->ram(), QByteArray(0x10000, '\0'));
}

void tst_ezusbdevice::otherRequestsStall_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("another vendor request") << "40a1 0000 0000 0100 00"_hex;
    QTest::newRow("a vendor read") << "c0a3 0000 0000 0100"_hex;
    QTest::newRow("of an interface") << "41a0 0000 0000 0100 00"_hex;
    QTest::newRow("of an endpoint") << "42a0 0000 0000 0100 00"_hex;
    QTest::newRow("of a class") << "20a0 0000 0000 0100 00"_hex;
    QTest::newRow("standard") << "00a0 0000 0000 0100 00"_hex;
}

void tst_ezusbdevice::otherRequestsStall()
{
    QFETCH(QByteArray, request);
    Loader talk;
    QCOMPARE(talk.ask("01 08"_hex + request), Stall);
}

void tst_ezusbdevice::loadAndRelease()
{
    Loader talk;
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Waiting);
    QCOMPARE(talk.hold(), Ok);
    QCOMPARE(talk.ask("01 08 40a0 0000 0000 0300 020100"_hex), Ok);
    QCOMPARE(talk.ask("01 08 40a0 0001 0000 0200 80fe"_hex), Ok);
    QVERIFY(!talk.device->isRunning());
    QCOMPARE(talk.release(), Ok + Gone + Loaded);
    QVERIFY(talk.device->isRunning());
    QCOMPARE(talk.ask("01 08 80 08 0000 0000 0100"_hex), packet("81 00 01"_hex)); // configured
    QCOMPARE(talk.ask("01 08 c0a0 0000 0000 0300"_hex), packet("81 00 020100"_hex));
    QCOMPARE(talk.ask("0b"_hex), packet("8b 44"_hex));
}

void tst_ezusbdevice::loadAndReleaseWithoutAutomaticMode()
{
    Loader talk;
    talk.ask("01 08 00 09 0100 0000 0000"_hex);
    talk.hold();
    talk.ask("01 08 40a0 0000 0000 0100 02"_hex);
    QCOMPARE(talk.release(), Ok);
    QVERIFY(talk.device->isRunning());
    QCOMPARE(talk.ask("01 08 80 08 0000 0000 0100"_hex), packet("81 00 00"_hex)); // not configured
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Loaded);
}

void tst_ezusbdevice::releasedWithoutALoad()
{
    Loader talk;
    talk.ask("07 00 01"_hex);
    talk.hold();
    talk.ask("01 08 40a0 0000 0000 0000"_hex); // no byte of it
    QCOMPARE(talk.release(), Ok);
    QCOMPARE(talk.release(), Ok);
    QVERIFY(!talk.device->isRunning());
}

void tst_ezusbdevice::loadedWhileRunning()
{
    Loader talk;
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("01 08 40a0 0000 0000 0100 02"_hex), Ok);
    QCOMPARE(talk.device->ram().left(1), "02"_hex);
    QCOMPARE(talk.release(), Ok);
    QVERIFY(!talk.device->isRunning());
    talk.hold(); // too late for what was written before
    QCOMPARE(talk.release(), Ok);
    QVERIFY(!talk.device->isRunning());
}

void tst_ezusbdevice::loadedInPiecesAroundTheRegister()
{
    Loader talk(Generation::EzUsb);
    talk.ask("07 00 01"_hex);
    // One write over 0x7F91, the register and 0x7F93: what comes behind the hold is a load.
    QCOMPARE(talk.ask("01 09 40a0 917f 0000 0300 110122"_hex), Ok);
    QVERIFY(talk.device->isHeld());
    QCOMPARE(talk.ask("01 09 c0a0 917f 0000 0300"_hex), packet("81 00 110122"_hex));
    QCOMPARE(talk.ask("01 09 40a0 927f 0000 0100 00"_hex),
             Ok + packet("90 01 09"_hex) + packet("90 00 09 ff 175a 210e"_hex));
}

void tst_ezusbdevice::loadedTwice()
{
    Loader talk;
    talk.ask("07 00 01"_hex);
    for (int load = 0; load < 2; ++load) {
        talk.hold();
        QCOMPARE(talk.ask("01 08 40a0 0000 0000 0100 02"_hex), Ok);
        QCOMPARE(talk.release(), Ok + Gone + Loaded);
    }
}

void tst_ezusbdevice::holdingStopsTheFirmware()
{
    Loader talk;
    talk.hold();
    talk.ask("01 08 40a0 0000 0000 0100 02"_hex);
    talk.release();
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.hold(), Ok);
    QVERIFY(!talk.device->isRunning());
    QCOMPARE(talk.release(), Ok); // it goes on with what it had
    QVERIFY(talk.device->isRunning());
}

void tst_ezusbdevice::onlyTheLowestBitHolds()
{
    Loader talk;
    talk.ask("01 08 40a0 00e6 0000 0100 fe"_hex);
    QVERIFY(!talk.device->isHeld());
    talk.ask("01 08 40a0 00e6 0000 0100 ff"_hex);
    QVERIFY(talk.device->isHeld());
    QCOMPARE(talk.ask("01 08 c0a0 00e6 0000 0100"_hex), packet("81 00 01"_hex));
}

void tst_ezusbdevice::busResetKeepsTheFirmware()
{
    Loader talk;
    talk.hold();
    talk.ask("01 08 40a0 0000 0000 0100 02"_hex);
    talk.release();
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("08"_hex), packet("88"_hex));
    QVERIFY(talk.device->isRunning());
    QCOMPARE(talk.ask("01 08 80 06 0001 0000 0c00"_hex),
             packet("81 00 1201 0002 ffffff40 175a 210f"_hex));
}

void tst_ezusbdevice::powerOffLosesTheFirmware()
{
    Loader talk;
    talk.ask("07 00 01"_hex);
    talk.hold();
    talk.ask("01 08 40a0 0000 0000 0100 02"_hex);
    talk.release();
    QCOMPARE(talk.ask("02 00"_hex), packet("82"_hex) + Gone);
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex) + Waiting);
    QVERIFY(!talk.device->isRunning());
    QCOMPARE(talk.device->ram(), QByteArray(0x10000, '\0'));

    talk.hold(); // nor is half a load left
    talk.ask("01 08 40a0 0000 0000 0100 02"_hex);
    talk.ask("02 00"_hex);
    talk.ask("02 01"_hex);
    QVERIFY(!talk.device->isHeld());
    QCOMPARE(talk.release(), Ok);
}

void tst_ezusbdevice::loadedByAScript()
{
    Loader talk;
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + Waiting);
    talk.download({"22 01"_hex, "01 08 40a0 00e6 0000 0100 01"_hex,
                   "01 08 40a0 0000 0000 0300 020100"_hex, "01 08 40a0 0001 0000 0200 80fe"_hex,
                   "01 08 40a0 00e6 0000 0100 00"_hex});
    QVERIFY(!talk.device->isHeld()); // stored, not carried out
    QCOMPARE(talk.ask("0d"_hex), packet("8d"_hex));
    QCOMPARE(talk.after(5), QByteArray());
    QCOMPARE(talk.after(5), packet("a0 0001 81 00"_hex));
    QVERIFY(talk.device->isHeld());
    QCOMPARE(talk.after(5), packet("a0 0002 81 00"_hex));
    QCOMPARE(talk.after(5), packet("a0 0003 81 00"_hex));
    QCOMPARE(talk.after(5), packet("a0 0004 81 00"_hex) + Gone + Loaded);
    QVERIFY(talk.device->isRunning());
    QCOMPARE(talk.after(5), packet("a0 0005 a1 0005"_hex));
    QCOMPARE(talk.device->ram().left(3), "020100"_hex);
    QCOMPARE(talk.device->ram().mid(0x100, 2), "80fe"_hex);
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex)); // as a console does after a run
}

void tst_ezusbdevice::firstGenerationByAScript()
{
    Loader talk(Generation::EzUsb);
    talk.download({"01 09 40a0 927f 0000 0100 01"_hex, "01 09 40a0 401b1b 0000 0100 02"_hex,
                   "01 09 40a0 3f1b1b 0000 0100 02"_hex, "01 09 40a0 927f 0000 0100 00"_hex});
    talk.ask("0d"_hex);
    QCOMPARE(talk.after(25), packet("a0 0000 81 00"_hex) + packet("a0 0001 81 0e"_hex) +
                                 packet("a0 0002 81 00"_hex) + packet("a0 0003 81 00"_hex) +
                                 packet("a0 0004 a1 0004"_hex));
    QVERIFY(talk.device->isRunning());
    QCOMPARE(talk.ask("07 00 01"_hex), packet("87"_hex) + packet("90 00 09 ff 175a 210e"_hex));
}

VANTREL_TEST(tst_ezusbdevice)
#include "tst_ezusbdevice.moc"
