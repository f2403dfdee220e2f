// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/SerialTransport.h"

#include "link/HangUpNotifier.h"

#include <algorithm>

#ifdef Q_OS_UNIX
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace vantrel {

namespace {

// More than a line delivers in a second; bounds the memory when the device sends faster.
constexpr qint64 ReadBufferSize = 65'536; // bytes

QSerialPort::Parity parityOf(const QByteArray &letter)
{
    if (letter == "e")
        return QSerialPort::EvenParity;
    return letter == "o" ? QSerialPort::OddParity : QSerialPort::NoParity;
}

/// The line has lost its device, as opposed to one command that the device did not like.
bool meansDeviceLost(QSerialPort::SerialPortError error)
{
    switch (error) {
    case QSerialPort::ResourceError:
    case QSerialPort::ReadError:
    case QSerialPort::WriteError:
    case QSerialPort::DeviceNotFoundError:
        return true;
    default:
        return false;
    }
}

} // namespace

SerialTransport::SerialTransport()
{
    m_port.setReadBufferSize(ReadBufferSize);
    // An error that a command met closes the port as well: not every driver hangs up first.
    connect(&m_port, &QSerialPort::readyRead, this, &Transport::bytesArrived);
    connect(&m_port, &QSerialPort::bytesWritten, this, &Transport::bytesLeft, Qt::QueuedConnection);
    connect(this, &SerialTransport::deviceLost, this, &SerialTransport::closeLost,
            Qt::QueuedConnection);
    connect(&m_port, &QSerialPort::errorOccurred, this, &SerialTransport::onError);
}

SerialTransport::~SerialTransport() = default;

std::optional<QString> SerialTransport::open(const Endpoint &endpoint)
{
    close();
    m_port.setPortName(endpoint.address);
    setLineSettings(endpoint.settings);
    if (!m_port.open(QIODevice::ReadWrite))
        return m_port.errorString();
#ifdef Q_OS_UNIX
    m_hangUp = std::make_unique<HangUpNotifier>(m_port.handle());
    connect(m_hangUp.get(), &HangUpNotifier::hungUp, this, &SerialTransport::closeVanished);
#endif
    return std::nullopt;
}

void SerialTransport::close()
{
    if (!m_port.isOpen())
        return;
    m_port.flush();
    closeForgetting();
}

/// The port would keep what it could not send, and send it when it is opened again.
void SerialTransport::closeForgetting()
{
    m_hangUp.reset(); // it holds the device open too
    if (m_port.bytesToWrite() > 0)
        m_port.clear(QSerialPort::Output);
    m_port.close();
}

void SerialTransport::closeVanished()
{
    closeForgetting();
    emit vanished();
}

bool SerialTransport::isConnected() const
{
    return m_port.isOpen();
}

void SerialTransport::setLineSettings(const QByteArray &settings)
{
    const QList<QByteArray> fields = settings.trimmed().split(',');
    if (fields.size() != 4)
        return;
    m_port.setBaudRate(fields[0].toInt());
    m_port.setParity(parityOf(fields[1]));
    m_port.setDataBits(static_cast<QSerialPort::DataBits>(fields[2].toInt()));
    m_port.setStopBits(static_cast<QSerialPort::StopBits>(fields[3].toInt()));
}

void SerialTransport::write(const QByteArray &bytes)
{
    m_port.write(bytes.constData(), bytes.size()); // copied, see TcpTransport::write()
}

qint64 SerialTransport::queuedInSystem() const
{
#ifdef Q_OS_UNIX
    int bytes = 0; // a pseudo-terminal has no output queue: always 0
    if (m_port.isOpen() && ::ioctl(m_port.handle(), TIOCOUTQ, &bytes) == 0)
        return bytes;
#endif
    return 0;
}

qint64 SerialTransport::read(char *buffer, qint64 capacity)
{
    if (!m_port.isOpen())
        return 0;
    const qint64 count = m_port.read(buffer, capacity);
#ifdef Q_OS_UNIX
    // QSerialPort reads when its notifier is activated only. Its buffer is empty, so the order is
    // kept; a hang-up is left to the notifiers.
    if (count == 0)
        return std::max<qint64>(
            0, ::read(m_port.handle(), buffer, static_cast<std::size_t>(capacity)));
#endif
    return std::max<qint64>(0, count);
}

/// In the queue of the system.
qint64 SerialTransport::systemWaiting() const
{
#ifdef Q_OS_UNIX
    int bytes = 0;
    if (m_port.isOpen() && ::ioctl(m_port.handle(), FIONREAD, &bytes) == 0)
        return bytes;
#endif
    return 0;
}

qint64 SerialTransport::waiting() const
{
    return m_port.isOpen() ? m_port.bytesAvailable() + systemWaiting() : 0;
}

void SerialTransport::reportArrived()
{
    if (systemWaiting() > 0)
        emit bytesArrived();
}

void SerialTransport::onError(QSerialPort::SerialPortError error)
{
    if (!meansDeviceLost(error) || !m_port.isOpen())
        return;
    // The port is in the middle of its own notification; it can be closed once that has returned.
    emit deviceLost();
}

void SerialTransport::closeLost()
{
    if (m_port.isOpen() && m_port.error() != QSerialPort::NoError)
        closeVanished();
}

} // namespace vantrel
