// SPDX-License-Identifier: GPL-3.0-or-later

// The firmware loader: any image is sent block by block while the link fails or the tester answers
// anything. What a tester is ordered to program has been sent to it as a whole, with its CRC-32.
#include "Scenario.h"
#include "link/Bytes.h"
#include "link/Deframer.h"

using namespace vantrel;
using fuzz::Window;

namespace {

/// Bit by bit.
quint32 crc32(QByteArrayView bytes)
{
    quint32 crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

/// What a tester does with the packets of a download.
class Tester
{
public:
    void take(const QByteArray &packet)
    {
        const ByteReader reader(packet);
        switch (reader.at(1).value_or(0)) {
        case wire::Command::FirmwareStart:
            m_length = reader.doubleWord(2).value_or(0);
            m_image.clear();
            break;
        case wire::Command::FirmwareBlock:
            fuzz::require(packet.size() <= 1 + wire::FirmwareBlockLimit, "a block has its limit");
            m_image += packet.sliced(1);
            fuzz::require(m_image.size() <= m_length, "no more is sent than was announced");
            break;
        case wire::Command::FirmwareProgram:
            fuzz::require(m_image.size() == m_length, "what is programmed was sent as a whole");
            fuzz::require(reader.doubleWord(2) == crc32(m_image), "its check value is right");
            break;
        default:
            break;
        }
    }

private:
    QByteArray m_image;
    qint64 m_length = 0;
};

void requireWholeImages(const QByteArray &sent)
{
    Tester tester;
    qint16 state = RxStates::Hunting;
    QByteArray body;
    deframe(state, body, sent, [&tester, &body] { tester.take(body); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    subject.open(Window::Loader);
    fuzz::Scenario scenario(subject, {Window::Loader});
    scenario.anyScripts = false; // what is sent is then packets only
    scenario.run(input);
    requireWholeImages(subject.serial->writtenBytes());
    requireWholeImages(subject.tcp->writtenBytes());
    subject.requireLog();
    subject.requireRests();
    return 0;
}
