// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/HangUpNotifier.h"
#include "support/PseudoTerminal.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QSignalSpy>

#include <memory>

#include <fcntl.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr int OneSecond = 1000; // ms

/// The near end of a pseudo-terminal, open, and a notifier that observes it.
struct Near
{
    PseudoTerminal far;
    int descriptor;
    std::unique_ptr<HangUpNotifier> notifier;
    int hangUps = 0;

    Near()
        : descriptor(::open(far.device().toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        if (descriptor < 0)
            qFatal("no pseudo-terminal");
        notifier = std::make_unique<HangUpNotifier>(descriptor);
        QObject::connect(notifier.get(), &HangUpNotifier::hungUp, qApp, [this] { ++hangUps; });
    }
    Near(const Near &) = delete;
    Near &operator=(const Near &) = delete;
    ~Near() { ::close(descriptor); }
};

void someTurns()
{
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents();
}

} // namespace

/// The detection of a device that goes away, without a serial port of Qt.
class TestHangUpNotifier : public QObject
{
    Q_OBJECT

private slots:
    void bytesAreNoHangUp();
    void emitsOnce();
    void emitsBehindUnreadBytes();
    void slotMayDestroy();
    void releasesTheDevice();
};

void TestHangUpNotifier::bytesAreNoHangUp()
{
    Near near;
    someTurns();
    near.far.send("bytes that nobody reads\n");
    someTurns();
    QCOMPARE(near.hangUps, 0);
}

void TestHangUpNotifier::emitsOnce()
{
    Near near;
    near.far.pull();
    QVERIFY(turnsUntil([&] { return near.hangUps > 0; }, OneSecond));
    someTurns();
    QCOMPARE(near.hangUps, 1);
}

void TestHangUpNotifier::emitsBehindUnreadBytes()
{
    Near near;
    near.far.send("bytes that nobody reads\n");
    someTurns();
    near.far.pull();
    QVERIFY(turnsUntil([&] { return near.hangUps == 1; }, OneSecond));
}

void TestHangUpNotifier::slotMayDestroy()
{
    Near near;
    QObject::connect(near.notifier.get(), &HangUpNotifier::hungUp, qApp,
                     [&] { near.notifier.reset(); });
    near.far.pull();
    QVERIFY(turnsUntil([&] { return near.hangUps == 1; }, OneSecond));
    QVERIFY(!near.notifier);
    someTurns();
}

void TestHangUpNotifier::releasesTheDevice()
{
    Near near;
    ::close(near.descriptor);
    QVERIFY(near.far.isNearEndOpen()); // by the duplicate
    near.notifier.reset();
    QVERIFY(!near.far.isNearEndOpen());
    near.descriptor = ::dup(0); // something to close
}

VANTREL_TEST(TestHangUpNotifier)
#include "tst_hangupnotifier.moc"
