// SPDX-License-Identifier: GPL-3.0-or-later
#include "StraightforwardConsole.h"

namespace vantrel::bench {

namespace {

std::string hex2(char byte)
{
    const std::string digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return std::string(1, digits[value / 16U]) + digits[value % 16U];
}

std::string errorText(char code)
{
    switch (static_cast<unsigned char>(code)) {
    case 0x0E:
        return "STALL";
    case 0x80:
        return "IGNORE";
    default:
        return "## Unknown Error ##";
    }
}

} // namespace

StraightforwardConsole::StraightforwardConsole(const QString &logPath) : m_log(logPath)
{
    m_log.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered);
}

void StraightforwardConsole::receive(QByteArrayView bytes)
{
    for (const char byte : bytes)
        takeByte(byte);
}

void StraightforwardConsole::takeByte(char byte)
{
    constexpr char Esc = 0x1B;
    switch (m_state) {
    case 0:
        m_state = byte == Esc ? 1 : 0;
        break;
    case 1:
        if (byte == 'S')
            m_body = "";
        m_state = byte == 'S' ? 2 : 0;
        break;
    case 2:
        if (byte == Esc)
            m_state = 3;
        else
            m_body = m_body + byte;
        break;
    default:
        m_state = 2;
        if (byte == 'S')
            m_body = "";
        else if (byte != 'E')
            m_body = m_body + byte;
        else {
            dispatch();
            m_state = 0;
        }
    }
}

void StraightforwardConsole::dispatch()
{
    const std::string &b = m_body;
    std::string message;
    switch (static_cast<unsigned char>(b[0])) {
    case 0x90:
        message = "*** Connect ";
        message = message + "\r\n" + "     Address: 0x" + hex2(b[2]);
        message = message + "   DevClass: 0x" + hex2(b[3]);
        message = message + "   Vendor ID: 0x" + hex2(b[5]) + hex2(b[4]);
        message = message + "   Product ID: 0x" + hex2(b[7]) + hex2(b[6]);
        break;
    case 0x91:
        message = "*** Status -- ";
        message = message + "Hub Address: 0x" + hex2(b[1]);
        message = message + "   Port #: 0x" + hex2(b[2]);
        message = message + "   Status = 0x" + hex2(b[4]) + hex2(b[3]);
        break;
    default:
        message = "*** Device Error ";
        message = message + "\r\n" + "     Address: 0x" + hex2(b[1]);
        message = message + "   EndPoint: 0x" + hex2(b[2]);
        message = message + "   Error = 0x" + hex2(b[3]) + ": " + errorText(b[3]);
    }
    showLine(message);
}

void StraightforwardConsole::showLine(const std::string &text)
{
    const std::string line = text + "\r\n";
    m_log.write(line.data(), static_cast<qint64>(line.size()));
    m_paneText = m_paneText + line;
    if (m_paneText.size() > 20'000)
        m_paneText = "...\r\n...\r\n" + m_paneText.substr(m_paneText.size() - 20'000);
}

} // namespace vantrel::bench
