// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/PtyEnd.h"
#include "simulator/Talk.h"
#include "support/Resources.h"
#include "support/TestProgram.h"

#include <QFileInfo>
#include <QSerialPort>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>

#include <poll.h>

using namespace vantrel::test;
using namespace vantrel::simulator;

namespace {

/// A serial port open on the device, and all that it has read.
class Port
{
public:
    Port(const QString &device, qint32 baud)
    {
        m_port.setPortName(device);
        m_port.setBaudRate(baud);
        QObject::connect(&m_port, &QSerialPort::readyRead, &m_port,
                         [this] { received += m_port.readAll(); });
        m_port.open(QIODevice::ReadWrite);
    }
    bool isOpen() const { return m_port.isOpen(); }
    /// The device is gone. Not every release of Qt reports that as an error.
    bool hasHungUp() const
    {
        pollfd state{m_port.handle(), 0, 0};
        return ::poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0;
    }
    void send(const QByteArray &bytes) { m_port.write(bytes); }
    void setBaudRate(qint32 baud) { m_port.setBaudRate(baud); }
    bool allSent() { return m_port.bytesToWrite() == 0; }

    QByteArray received;

private:
    QSerialPort m_port;
};

} // namespace

class tst_ptyend : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void answersAtItsRate_data();
    void answersAtItsRate();
    void everyByteValuePasses();
    void swallowsAtAnotherRate();
    void noiseAtAnotherRate();
    void rateFoundWhileOpen();
    void reportsNeedTheRateToo();
    void consoleComesAndGoes();
    void nothingStaleForTheNextConsole();
    void waitsWithoutSpinning();
    void linkIsMadeAndRemoved();
    void staleLinkIsReplaced();
    void otherFilesAreLeftAlone();
    void unplugAndPlug();
    void dropBringsTheDeviceBack();
    void unplugAfterADrop();
    void restartKeepsTheLine();
    void unknownRate();
    void slowReader();
    void unsentBytesGoWithTheDevice();
    void consoleThatDoesNotRead();

private:
    std::unique_ptr<Tester> m_tester;
    std::unique_ptr<PtyEnd> m_end;
};

void tst_ptyend::init()
{
    m_tester = makeDefaultTester(Settings::vorn2());
    m_end = std::make_unique<PtyEnd>(*m_tester, 57600);
    QVERIFY2(m_end->open(), qPrintable(m_end->errorString()));
}

void tst_ptyend::cleanup()
{
    m_end.reset();
    m_tester.reset();
}

void tst_ptyend::answersAtItsRate_data()
{
    QTest::addColumn<int>("baud");
    for (const int baud : {9600, 19200, 38400, 57600, 115200, 921600})
        QTest::addRow("%d", baud) << baud;
}

void tst_ptyend::answersAtItsRate()
{
    QFETCH(int, baud);
    PtyEnd end(*m_tester, baud);
    QVERIFY(end.open());
    Port port(end.path(), baud);
    QVERIFY(port.isOpen());
    port.send(packet("0f"_hex));
    QTRY_COMPARE(port.received, packet("8f 02 03 0c 0040"_hex));
    QVERIFY(end.isConsoleConnected());
}

void tst_ptyend::everyByteValuePasses()
{
    QByteArray all;
    for (int value = 0; value < 256; ++value) {
        if (value != 0x1B)
            all += static_cast<char>(value);
    }
    Port port(m_end->path(), 57600);
    port.send(packet("35 0100"_hex + all));
    QTRY_COMPARE(port.received, packet("b5"_hex));
    port.received.clear();
    port.send(packet("36 0100 00ff"_hex));
    QTRY_COMPARE(port.received, packet("b6"_hex + all));
}

void tst_ptyend::swallowsAtAnotherRate()
{
    Port port(m_end->path(), 19200);
    port.send(packet("0f"_hex));
    QTRY_VERIFY(m_end->isConsoleConnected());
    port.setBaudRate(57600);
    port.send(packet("0b"_hex));
    // Had the version query been heard, its answer would come first.
    QTRY_VERIFY(!port.received.isEmpty());
    QTRY_COMPARE(port.received, packet("8b 44"_hex));
    QCOMPARE(m_tester->commandsSeen(), QList<QByteArray>{"0b"_hex});
}

void tst_ptyend::noiseAtAnotherRate()
{
    m_end->setNoise("f81b00"_hex);
    Port port(m_end->path(), 115200);
    port.send(packet("0f"_hex));
    QTRY_VERIFY(port.received.startsWith("f81b00"_hex));
    QVERIFY(m_tester->commandsSeen().isEmpty());
    port.received.clear();
    m_tester->reportTrigger(1);
    QTRY_COMPARE(port.received, "f81b00"_hex);
}

void tst_ptyend::rateFoundWhileOpen()
{
    Port port(m_end->path(), 19200);
    QTRY_VERIFY(m_end->isConsoleConnected());
    int probes = 0;
    for (const int baud : {19200, 38400, 57600, 115200}) {
        port.setBaudRate(baud);
        port.send(packet("0f"_hex));
        ++probes;
        if (QTest::qWaitFor([&] { return !port.received.isEmpty(); }, 200))
            break;
    }
    QCOMPARE(probes, 3);
    QTRY_COMPARE(port.received, packet("8f 02 03 0c 0040"_hex));
}

void tst_ptyend::reportsNeedTheRateToo()
{
    Port port(m_end->path(), 19200);
    QTRY_VERIFY(m_end->isConsoleConnected());
    m_tester->reportTrigger(1);
    port.setBaudRate(57600);
    m_tester->reportTrigger(2);
    QTRY_VERIFY(!port.received.isEmpty());
    QCOMPARE(port.received, packet("96 02"_hex));
}

void tst_ptyend::consoleComesAndGoes()
{
    for (int round = 0; round < 3; ++round) {
        {
            Port port(m_end->path(), 57600);
            port.send(packet("0b"_hex) + "1b53"_hex); // leaves in the middle of a packet
            QTRY_COMPARE(port.received, packet("8b 44"_hex));
        }
        QTRY_VERIFY(!m_end->isConsoleConnected());
    }
}

void tst_ptyend::nothingStaleForTheNextConsole()
{
    {
        const Port deaf(m_end->path(), 57600);
        QTRY_VERIFY(m_end->isConsoleConnected());
        m_tester->reportTrigger(1);
    }
    QTRY_VERIFY(!m_end->isConsoleConnected());
    m_tester->reportTrigger(2); // while nobody has the device open
    Port port(m_end->path(), 57600);
    port.send(packet("0b"_hex));
    QTRY_VERIFY(!port.received.isEmpty());
    QCOMPARE(port.received, packet("8b 44"_hex));
}

void tst_ptyend::waitsWithoutSpinning()
{
    {
        Port port(m_end->path(), 57600);
        port.send(packet("0b"_hex));
        QTRY_COMPARE(port.received, packet("8b 44"_hex));
    }
    QTRY_VERIFY(!m_end->isConsoleConnected());
    // A terminal that nobody has open is readable all the time.
    for (const QSocketNotifier *notifier : m_end->findChildren<QSocketNotifier *>())
        QVERIFY(!notifier->isEnabled());
}

void tst_ptyend::linkIsMadeAndRemoved()
{
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    {
        PtyEnd end(*m_tester, 57600);
        QVERIFY(end.open(link));
        QCOMPARE(end.path(), link);
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(QFileInfo(link).symLinkTarget().startsWith(QLatin1String("/dev/")));
        Port port(link, 57600);
        port.send(packet("0b"_hex));
        QTRY_COMPARE(port.received, packet("8b 44"_hex));
    }
    QVERIFY(!QFileInfo(link).isSymLink());
}

void tst_ptyend::staleLinkIsReplaced()
{
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    QVERIFY(QFile::link(QStringLiteral("/nonexistent"), link));
    PtyEnd end(*m_tester, 57600);
    QVERIFY(end.open(link));
    QVERIFY(QFileInfo::exists(link));
}

void tst_ptyend::otherFilesAreLeftAlone()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("precious"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("text");
    file.close();
    {
        PtyEnd end(*m_tester, 57600);
        QVERIFY(!end.open(path));
        QVERIFY(end.errorString().contains(path));
        QVERIFY(!end.isPlugged());
        QCOMPARE(end.path(), QString());
    }
    QCOMPARE(QFileInfo(path).size(), 4);
    QVERIFY(!QFileInfo(path).isSymLink());
}

void tst_ptyend::unplugAndPlug()
{
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    PtyEnd end(*m_tester, 57600);
    QVERIFY(end.open(link));
    {
        Port port(link, 57600);
        port.send(packet("0b"_hex));
        QTRY_COMPARE(port.received, packet("8b 44"_hex));
        end.unplug();
        QVERIFY(!end.isPlugged());
        QVERIFY(!end.isConsoleConnected());
        QCOMPARE(end.path(), QString());
        QVERIFY(!QFileInfo(link).isSymLink());
        QTRY_VERIFY(port.hasHungUp());
        m_tester->reportTrigger(1); // into nowhere
        end.unplug();               // once is enough
        QVERIFY(!Port(link, 57600).isOpen());
    }
    QVERIFY(end.plug());
    QCOMPARE(end.path(), link);
    Port port(link, 57600);
    port.send(packet("0b"_hex));
    QTRY_COMPARE(port.received, packet("8b 44"_hex));
}

void tst_ptyend::dropBringsTheDeviceBack()
{
    const QTemporaryDir directory;
    const QString link = directory.filePath(QStringLiteral("tester"));
    PtyEnd end(*m_tester, 57600);
    QVERIFY(end.open(link));
    {
        Port port(link, 57600);
        m_tester->faults().dropAfter = 4;
        port.send(packet("0b"_hex) + packet("0b"_hex));
        QTRY_VERIFY(port.hasHungUp());
    }
    QTRY_VERIFY(end.isPlugged());
    QCOMPARE(end.path(), link);
    Port again(link, 57600);
    again.send(packet("0b"_hex));
    QTRY_COMPARE(again.received, packet("8b 44"_hex));
}

void tst_ptyend::unplugAfterADrop()
{
    m_tester->dropConnection();
    QVERIFY(!m_end->isPlugged());
    m_end->unplug();
    m_tester->dropConnection(); // no connection is left to drop
    QTest::qWait(0);
    QVERIFY(!m_end->isPlugged());
}

void tst_ptyend::restartKeepsTheLine()
{
    Port port(m_end->path(), 57600);
    port.send(packet("32 0000000a"_hex) + packet("33 4e56 000000000000 0402"_hex) +
              packet("34 e8d3c3b1"_hex));
    QTRY_COMPARE(port.received, packet("b2"_hex) + packet("b3 0000000a"_hex) + packet("b4"_hex));
    m_tester->clock().advance(5000);
    port.received.clear();
    port.send(packet("0f"_hex));
    QTRY_COMPARE(port.received, packet("8f 02 04 02 0040"_hex));
    QVERIFY(m_end->isPlugged());
    QVERIFY(!port.hasHungUp());
}

void tst_ptyend::unknownRate()
{
    PtyEnd end(*m_tester, 12345);
    QVERIFY(!end.open());
    QCOMPARE(end.errorString(), QStringLiteral("no such baud rate"));
    QVERIFY(!end.isPlugged());
}

void tst_ptyend::slowReader()
{
    // More than the terminal holds: the tester keeps the rest and stays responsive.
    Port port(m_end->path(), 57600);
    QTRY_VERIFY(m_end->isConsoleConnected());
    QByteArray expected;
    for (int i = 0; i < 4000; ++i) {
        const QByteArray data = QByteArray::number(i).rightJustified(64, '.');
        m_tester->reportData(0x02, 0x81, data);
        expected += packet("92 02 81"_hex + data);
    }
    QTRY_COMPARE_WITH_TIMEOUT(port.received.size(), expected.size(), 20'000);
    QVERIFY(port.received == expected);
}

void tst_ptyend::unsentBytesGoWithTheDevice()
{
    const Port port(m_end->path(), 57600);
    QTRY_VERIFY(m_end->isConsoleConnected());
    for (int i = 0; i < 4000; ++i)
        m_tester->reportData(0x02, 0x81, QByteArray(64, '.'));
    m_end->unplug();
    QVERIFY(m_end->plug());
    Port again(m_end->path(), 57600);
    again.send(packet("0b"_hex));
    QTRY_VERIFY(!again.received.isEmpty());
    QCOMPARE(again.received, packet("8b 44"_hex));
}

void tst_ptyend::consoleThatDoesNotRead()
{
    QSignalSpy dropped(m_end.get(), &PtyEnd::packetsDropped);
    m_tester->setRecording(false);
    Port port(m_end->path(), 57600);
    QTRY_VERIFY(m_end->isConsoleConnected());
    const QByteArray data(60'000, 'd');
    const QByteArray report = packet("92 02 81"_hex + data);
    const qint64 before = allocatedBytes();
    for (int i = 0; i < 1000; ++i) // 60 MB in one turn of the event loop
        m_tester->reportData(0x02, 0x81, data);
    QVERIFY(allocatedBytes() - before < 2 * SendLimit::Most);
    QCOMPARE(dropped.size(), 1);
    port.send(packet("0b"_hex));
    QTRY_VERIFY_WITH_TIMEOUT(port.received.endsWith(packet("8b 44"_hex)), 60'000);
    port.received.chop(6);
    QVERIFY(port.received == report.repeated(port.received.size() / report.size()));
    QVERIFY(port.received.size() > SendLimit::Most - report.size());
}

VANTREL_TEST(tst_ptyend)
#include "tst_ptyend.moc"
