// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/SerialTransport.h"
#include "support/PseudoTerminal.h"
#include "support/TestProgram.h"
#include "support/Turns.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

std::optional<int> systemQueue; // what the system reports instead of the queue's true length

} // namespace

/// A pseudo-terminal has no output queue that the system could report.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request == TIOCOUTQ && systemQueue) {
        *static_cast<int *>(argument) = *systemQueue;
        return 0;
    }
    return static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}

namespace {

constexpr int OneSecond = 1000; // ms

/// A transport and everything that comes out of it.
struct Near
{
    SerialTransport transport;
    QByteArray received;
    int failures = 0;

    Near()
    {
        QObject::connect(&transport, &Transport::bytesArrived, &transport, [this] {
            char buffer[100];
            while (const qint64 count = transport.read(buffer, sizeof buffer))
                received.append(buffer, count);
        });
        QObject::connect(&transport, &Transport::failed, &transport, [this] { ++failures; });
    }

    std::optional<QString> open(const QString &device, const QByteArray &settings = " 19200,n,8,1")
    {
        return transport.open({device, 0, settings});
    }
};

QByteArray allBytes()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes.append(static_cast<char>(value));
    return bytes;
}

} // namespace

/// The serial port on a pseudo-terminal.
class TestSerialTransport : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void opens();
    void missingDevice();
    void notADevice();
    void busyDevice();
    void rates_data();
    void rates();
    void rateChangesWhileOpen();
    void bytesBothWays();
    void readTakesWhatFits();
    void ownClose();
    void ownCloseSendsTheRest();
    void opensAgain();
    void vanishedDevice();
    void vanishedWhileIdleIsHarmless();
    void deviceComesBack();
    void unconnected();
    void heldUp();
    void queuedInSystem();
    void tellsWhatHasLeft();
    void heldUpIsForgotten_data();
    void heldUpIsForgotten();

private:
    std::unique_ptr<PseudoTerminal> m_far;
};

void TestSerialTransport::init()
{
    m_far = std::make_unique<PseudoTerminal>();
    QVERIFY2(!m_far->device().isEmpty(), "the system gives no pseudo-terminals");
}

void TestSerialTransport::opens()
{
    Near near;
    QVERIFY(!near.transport.isConnected());
    QVERIFY(!near.open(m_far->device()));
    QVERIFY(near.transport.isConnected());

    const termios line = m_far->settings();
    // A pseudo-terminal has 8 data bits and no parity whatever is set.
    QCOMPARE(line.c_cflag & tcflag_t{CSTOPB | CRTSCTS}, tcflag_t{0});
    QCOMPARE(line.c_lflag & tcflag_t{ICANON | ECHO | ISIG}, tcflag_t{0});
    QCOMPARE(line.c_iflag & tcflag_t{IXON | IXOFF | ICRNL | INLCR | ISTRIP}, tcflag_t{0});
    QCOMPARE(line.c_oflag & tcflag_t{OPOST}, tcflag_t{0});
}

void TestSerialTransport::missingDevice()
{
    Near near;
    const std::optional<QString> reason = near.open(QStringLiteral("/dev/ttyNone"));
    QVERIFY(reason);
    QVERIFY(!reason->isEmpty());
    QVERIFY(!near.transport.isConnected());

    QVERIFY(!near.open(m_far->device())); // usable all the same
    QVERIFY(near.transport.isConnected());
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::notADevice()
{
    Near near;
    QVERIFY(near.open(QStringLiteral("/dev/null")));
    QVERIFY(!near.transport.isConnected());
    QVERIFY(near.open(QString()));
    QVERIFY(!near.transport.isConnected());
    QTest::qWait(0);
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::busyDevice()
{
    Near first;
    QVERIFY(!first.open(m_far->device()));
    // The system keeps others out, except root, who can see that it would.
    const int other = ::open(m_far->device().toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
    if (other < 0) {
        QCOMPARE(errno, EBUSY);
        Near second;
        QVERIFY(second.open(m_far->device()));
        QVERIFY(!second.transport.isConnected());
    } else {
        int exclusive = 0;
        QCOMPARE(::ioctl(other, TIOCGEXCL, &exclusive), 0);
        ::close(other);
        QCOMPARE(exclusive, 1);
    }
    QVERIFY(first.transport.isConnected());
}

void TestSerialTransport::rates_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<quint32>("speed");

    QTest::newRow("19200") << QByteArray(" 19200,n,8,1") << quint32{B19200};
    QTest::newRow("38400") << QByteArray(" 38400,n,8,1") << quint32{B38400};
    QTest::newRow("57600") << QByteArray(" 57600,n,8,1") << quint32{B57600};
    QTest::newRow("115200") << QByteArray(" 115200,n,8,1") << quint32{B115200};
}

void TestSerialTransport::rates()
{
    QFETCH(QByteArray, settings);
    QFETCH(quint32, speed);

    Near near;
    QVERIFY(!near.open(m_far->device(), settings));
    const termios line = m_far->settings();
    QCOMPARE(::cfgetospeed(&line), speed_t{speed});
    QCOMPARE(::cfgetispeed(&line), speed_t{speed});
}

void TestSerialTransport::rateChangesWhileOpen()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    const auto speed = [this] {
        const termios line = m_far->settings();
        return ::cfgetospeed(&line);
    };
    QCOMPARE(speed(), speed_t{B19200});
    near.transport.setLineSettings(" 38400,n,8,1");
    QCOMPARE(speed(), speed_t{B38400});
    near.transport.setLineSettings(" 115200,n,8,1");
    QCOMPARE(speed(), speed_t{B115200});
    near.transport.setLineSettings(" 19200,n,8,1");
    QCOMPARE(speed(), speed_t{B19200});

    near.transport.write("still here");
    QTRY_COMPARE(m_far->received(), QByteArray("still here"));
}

void TestSerialTransport::bytesBothWays()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    near.transport.write(allBytes());
    QTRY_COMPARE(m_far->received(), allBytes());
    QCOMPARE(m_far->send(allBytes()), qsizetype{256});
    QTRY_COMPARE(near.received, allBytes());
}

void TestSerialTransport::readTakesWhatFits()
{
    SerialTransport transport;
    QVERIFY(!transport.open({m_far->device(), 0, " 19200,n,8,1"}));
    QSignalSpy arrived(&transport, &Transport::bytesArrived);
    m_far->send("abc");
    QTRY_VERIFY(arrived.size() > 0);

    char buffer[2] = {};
    QCOMPARE(transport.read(buffer, 2), qint64{2});
    QCOMPARE(QByteArray(buffer, 2), QByteArray("ab"));
    QCOMPARE(transport.read(buffer, 2), qint64{1});
    QCOMPARE(transport.read(buffer, 2), qint64{0});
}

void TestSerialTransport::ownClose()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    QVERIFY(m_far->isNearEndOpen());
    near.transport.close();
    QVERIFY(!near.transport.isConnected());
    QVERIFY(!m_far->isNearEndOpen()); // nothing else holds the device
    near.transport.close();
    QTest::qWait(0);
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::ownCloseSendsTheRest()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    near.transport.write("last words");
    near.transport.close();
    QTRY_COMPARE(m_far->received(), QByteArray("last words"));
}

void TestSerialTransport::opensAgain()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    near.transport.close();
    QVERIFY(!near.open(m_far->device(), " 57600,n,8,1"));
    QVERIFY(!near.open(m_far->device(), " 57600,n,8,1")); // without a close in between
    QVERIFY(near.transport.isConnected());

    near.transport.write("to");
    QTRY_COMPARE(m_far->received(), QByteArray("to"));
    m_far->send("fro");
    QTRY_COMPARE(near.received, QByteArray("fro"));
}

void TestSerialTransport::vanishedDevice()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    m_far->send("last");
    QTRY_COMPARE(near.received, QByteArray("last"));

    QSignalSpy vanished(&near.transport, &Transport::vanished);
    m_far->pull();

    QVERIFY(turnsUntil([&] { return !near.transport.isConnected(); }, OneSecond));
    QCOMPARE(near.failures, 0);
    QCOMPARE(vanished.size(), 1);
    near.transport.write("into nothing");
    near.transport.setLineSettings(" 38400,n,8,1");
    near.transport.close();
    QVERIFY(!near.transport.isConnected());
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::vanishedWhileIdleIsHarmless()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    m_far->pull();
    near.transport.write("probe"); // before the loss has been noticed
    near.transport.setLineSettings(" 38400,n,8,1");
    QTRY_VERIFY(!near.transport.isConnected());
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::deviceComesBack()
{
    QTemporaryDir directory;
    const QString device = directory.filePath(QStringLiteral("adapter"));
    QVERIFY(QFile::link(m_far->device(), device));
    Near near;
    QVERIFY(!near.open(device));
    m_far->pull();
    QTRY_VERIFY(!near.transport.isConnected());
    QVERIFY(QFile::remove(device));
    QVERIFY(near.open(device)); // still away
    QVERIFY(!near.transport.isConnected());

    PseudoTerminal back;
    QVERIFY(QFile::link(back.device(), device));
    QVERIFY(!near.open(device, " 38400,n,8,1"));

    QVERIFY(near.transport.isConnected());
    near.transport.write("probe");
    QTRY_COMPARE(back.received(), QByteArray("probe"));
    back.send("answer");
    QTRY_COMPARE(near.received, QByteArray("answer"));
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::unconnected()
{
    Near near;
    char buffer[1];
    QCOMPARE(near.transport.read(buffer, 1), qint64{0});
    near.transport.write("into nothing");
    near.transport.close();
    QVERIFY(!near.transport.isConnected());
    QCOMPARE(near.failures, 0);
}

void TestSerialTransport::heldUp()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    QCOMPARE(near.transport.unsent(), qint64{0});
    const QByteArray all(300'000, 'x'); // more than a line that nobody reads takes
    near.transport.write(all);
    QTest::qWait(0);
    QVERIFY(near.transport.unsent() > 100'000);
    QVERIFY(near.transport.isConnected());
    QVERIFY(turnsUntil([&] { return m_far->received().size() == all.size(); }));
    QCOMPARE(near.transport.unsent(), qint64{0});
}

void TestSerialTransport::queuedInSystem()
{
    Near near;
    systemQueue = 123;
    QCOMPARE(near.transport.queuedInSystem(), qint64{0}); // closed
    QVERIFY(!near.open(m_far->device()));
    QCOMPARE(near.transport.queuedInSystem(), qint64{123});
    QCOMPARE(near.transport.unsent(), qint64{0});
    systemQueue.reset();
    QCOMPARE(near.transport.queuedInSystem(), qint64{0});
}

void TestSerialTransport::tellsWhatHasLeft()
{
    Near near;
    QVERIFY(!near.open(m_far->device()));
    QSignalSpy left(&near.transport, &Transport::bytesLeft);
    near.transport.write("some");
    QCOMPARE(left.size(), 0); // not inside the call
    QTRY_COMPARE(left.size(), 1);
    QCOMPARE(near.transport.unsent(), qint64{0});
}

void TestSerialTransport::heldUpIsForgotten_data()
{
    QTest::addColumn<bool>("vanishes");
    QTest::newRow("closed") << false;
    QTest::newRow("vanished") << true;
}

/// What one connection could not send is not for the next.
void TestSerialTransport::heldUpIsForgotten()
{
    QFETCH(bool, vanishes);

    Near near;
    QVERIFY(!near.open(m_far->device()));
    near.transport.write(QByteArray(1'000'000, 'x'));
    QTest::qWait(0);
    QVERIFY(near.transport.unsent() > 0);
    if (vanishes) {
        m_far->pull();
        QTRY_VERIFY(!near.transport.isConnected());
    } else {
        near.transport.close();
    }

    QCOMPARE(near.transport.unsent(), qint64{0});
    PseudoTerminal next;
    QVERIFY(!near.open(next.device()));
    near.transport.write("probe");
    QTRY_VERIFY(!next.received().isEmpty());
    QCOMPARE(next.received(), QByteArray("probe"));
    QCOMPARE(near.failures, 0);
}

VANTREL_TEST(TestSerialTransport)
#include "tst_serialtransport.moc"
