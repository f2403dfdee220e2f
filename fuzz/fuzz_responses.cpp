// SPDX-License-Identifier: GPL-3.0-or-later

// Arbitrary received bytes, through the de-framer and every decoder to the windows: a descriptor
// retrieval, the FTDI utility, the network settings and the flash window may each wait for a reply.
// What comes of the bytes does not depend on how they are cut into reads, nor does the log on the
// disk.
#include "Input.h"
#include "WholeConsole.h"
#include "link/Deframer.h"

#include <QFile>

#include <algorithm>

using namespace vantrel;
using fuzz::Window;

namespace {

/// What the first choice of an input switches on.
namespace Choice {
constexpr quint8 Network = 0x01;
constexpr quint8 UnsignedWords = 0x02;
constexpr quint8 TimeStamps = 0x04;
constexpr quint8 ScriptRuns = 0x08;
constexpr quint8 DescriptorViewer = 0x10;
constexpr quint8 FtdiUtility = 0x20;
constexpr quint8 NetworkWindow = 0x40;
constexpr quint8 FlashWindow = 0x80;
} // namespace Choice

constexpr qsizetype ManyBytes = 65'536; // are cut into larger reads
constexpr qsizetype MostReads = 4096;

class Receiver
{
public:
    explicit Receiver(quint8 choices)
    {
        const auto has = [choices](quint8 one) { return (choices & one) != 0; };
        m_subject.begin(static_cast<quint8>(
            (has(Choice::Network) ? fuzz::Switch::Network : 0) |
            (has(Choice::UnsignedWords) ? fuzz::Switch::UnsignedWords : 0) |
            (has(Choice::TimeStamps) ? fuzz::Switch::TimeStamps : 0) | fuzz::Switch::Automatic));
        if (has(Choice::FlashWindow))
            open(Window::Flash);
        if (has(Choice::NetworkWindow))
            open(Window::Network);
        if (has(Choice::FtdiUtility)) {
            open(Window::Ftdi);
            m_subject.tools.ftdi.readClicked();
        }
        if (has(Choice::DescriptorViewer)) {
            open(Window::Viewer);
            m_subject.tools.viewer.getDescClicked();
        }
        if (!has(Choice::FtdiUtility) && !has(Choice::DescriptorViewer)) {
            open(Window::Builder);
            m_subject.tools.builder.sendClicked();
        }
        if (has(Choice::ScriptRuns))
            m_subject.console.scriptRunClicked();
        m_subject.transport().takeWritten();
    }

    void receive(QByteArrayView bytes) { m_subject.receive(bytes); }

    /// Everything that the bytes may have changed.
    QByteArray outcome()
    {
        Session &session = m_subject.session();
        QByteArray text = session.RespText.text() + '|' + m_subject.transport().writtenBytes() +
                          '|' + session.RxPacket + '|' + session.ConfigReadData + '|' +
                          session.FlashScriptName.toUtf8() + '|' + logBody();
        for (const int value :
             {int{session.RxState}, int(session.LinkState), int{session.FirmwareMajor},
              int{session.FirmwareMinor}, int{session.TesterRamK}, int{session.TesterModel},
              int{session.TriggerHoldoff}, int{session.FlashStatus}, int{session.FlashSlotState},
              int{session.StatusSeen}, int{session.ScriptBusy}, int{session.ScriptDone},
              int{session.ScriptError}, int{session.FwBlockAck}, int{session.ConfigReadDone}})
            text += '|' + QByteArray::number(value);
        for (const QList<Control *> &controls : m_subject.controlSets()) {
            for (const Control *control : controls)
                text += '|' + control->text().toUtf8() + (control->isEnabled() ? '+' : '-');
        }
        for (const Message &message : m_subject.dialogs.messages)
            text += '|' + message.title.toUtf8() + '|' + message.text.toUtf8();
        return text;
    }

    void requireSound()
    {
        m_subject.requireSound();
        m_subject.requireLog();
    }
    void requireRests() { m_subject.requireRests(); }

    /// A complete packet is dispatched, whatever came before.
    void requireNextPacketArrives()
    {
        receive(QByteArrayView("\0\x1BS\x83\x1B"
                               "E",
                               6));
        fuzz::require(
            m_subject.session().Main.CmdWin.text().endsWith(QLatin1String("\r\nSuspending")),
            "the next packet arrives");
    }

private:
    void open(Window window)
    {
        ++m_subject.causes;
        m_subject.open(window);
    }

    /// Without the header, which has the time.
    QByteArray logBody()
    {
        m_subject.console.log().flush();
        QFile file(m_subject.logPath);
        fuzz::require(file.open(QIODevice::ReadOnly), "the log is on the disk");
        const QByteArray logged = file.readAll();
        return logged.sliced(std::min(logged.size(), logged.indexOf("%%%%%", 5) + 7));
    }

    fuzz::WholeConsole m_subject;
};

/// A wait goes on after the read in which its answer came, so a read is the bytes up to the end of
/// a packet: what the tester sends in answer to the next command comes after it.
class PacketEnds
{
public:
    /// The bytes up to the end of the first packet in `bytes`, or all of them.
    QByteArrayView next(QByteArrayView bytes)
    {
        qsizetype length = 0;
        bool ended = false;
        while (length < bytes.size() && !ended) {
            const QByteArrayView byte = bytes.sliced(length, 1);
            deframe(m_state, m_body, byte, [&ended] { ended = true; });
            ++length;
        }
        if (m_body.size() > VornComm::BodyLimit) {
            m_body.clear();
            m_state = RxStates::Hunting;
        }
        return bytes.first(length);
    }

private:
    qint16 m_state = RxStates::Hunting;
    QByteArray m_body;
};

/// The bytes in reads of some length and, unless there are very many, each up to the end of a
/// packet at most. With a length of 0 a read is all bytes up to the end of a packet.
void receiveInPieces(Receiver &receiver, QByteArrayView bytes, quint8 seed, qsizetype longest)
{
    PacketEnds ends;
    while (!bytes.isEmpty()) {
        const QByteArrayView packet = bytes.size() > ManyBytes ? bytes : ends.next(bytes);
        bytes = bytes.sliced(packet.size());
        if (longest == 0) {
            receiver.receive(packet);
            continue;
        }
        for (fuzz::Reads reads(packet, seed, longest); !reads.atEnd();)
            receiver.receive(reads.next());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const quint8 choices = input.choice();
    const quint8 seed = input.choice();
    const QByteArrayView bytes = input.rest();
    const bool many = bytes.size() > ManyBytes;
    constexpr quint8 Waiting = Choice::FtdiUtility | Choice::NetworkWindow | Choice::FlashWindow;

    QByteArray outcome;
    {
        Receiver inPieces(choices);
        receiveInPieces(inPieces, bytes, seed, many ? bytes.size() / MostReads : 16);
        inPieces.requireSound();
        outcome = inPieces.outcome();
        inPieces.requireRests();
    }
    {
        Receiver atOnce(choices);
        atOnce.receive(bytes);
        atOnce.requireSound();
        fuzz::require((choices & Waiting) != 0 || atOnce.outcome() == outcome,
                      "the outcome does not depend on how many packets a read holds");
        atOnce.requireNextPacketArrives();
    }
    if (!many) {
        Receiver byPacket(choices);
        receiveInPieces(byPacket, bytes, 0, 0);
        fuzz::require(byPacket.outcome() == outcome,
                      "the outcome does not depend on how the bytes are cut");
    }
    return 0;
}
