// SPDX-License-Identifier: GPL-3.0-or-later

// Received bytes through link, de-framer, dispatch and every decoder, in one read and cut into
// many: both leave the same session behind, and the packet after them still arrives.
#include "Input.h"
#include "link/RuntimeError.h"
#include "protocol/DeviceRequests.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "support/LinkBench.h"

using namespace vantrel;

namespace {

/// What the first choice of an input switches on.
namespace Switch {
constexpr quint8 Vorn1 = 0x01;
constexpr quint8 Vorn2 = 0x02;
constexpr quint8 TimeStamps = 0x04;
constexpr quint8 ScriptRuns = 0x08;
constexpr quint8 DescriptorViewer = 0x10;
constexpr quint8 FtdiUtility = 0x20;
constexpr quint8 Disconnected = 0x40;
constexpr quint8 Network = 0x80;
} // namespace Switch

/// Collects the replies that it receives.
struct RecordingClient final : DeviceRequestClient
{
    void onReply(QByteArrayView payload) override { received += payload; }

    QByteArray received;
};

class Receiver
{
public:
    explicit Receiver(quint8 switches)
    {
        Session &session = m_bench.session;
        if ((switches & Switch::Disconnected) == 0)
            m_bench.open((switches & Switch::Network) != 0);
        m_transport = session.NetworkMode ? m_bench.tcp : m_bench.serial;
        m_bench.link.setDispatcher([this] { m_decoder.DispatchResponse(); });

        if ((switches & (Switch::Vorn1 | Switch::Vorn2)) != 0)
            session.TesterModel = (switches & Switch::Vorn1) != 0 ? 1 : 2;
        session.DataTimeStamps = (switches & Switch::TimeStamps) != 0;
        if ((switches & Switch::ScriptRuns) != 0)
            session.Steps = StepReports::Executed;
        m_requests.setHandler(DeviceRequests::Client::Viewer, &m_viewer);
        m_requests.setHandler(DeviceRequests::Client::Ftdi, &m_utility);
        if ((switches & Switch::DescriptorViewer) != 0)
            m_requests.beginWalk("\x02\x80");
        if ((switches & Switch::FtdiUtility) != 0)
            m_requests.send(DeviceRequests::Client::Ftdi, "\x02\xC0");
    }

    void receive(QByteArrayView bytes) { m_transport->receive(bytes.toByteArray()); }

    /// Everything that the bytes may have changed.
    QByteArray outcome() const
    {
        const Session &session = m_bench.session;
        QByteArray text = session.RespText.text() + m_viewer.received + '|' + m_utility.received +
                          '|' + m_transport->writtenBytes() + '|' + session.RxPacket + '|' +
                          session.ConfigReadData + '|' + session.FlashScriptName.toUtf8();
        for (const int value :
             {int{session.RxState}, int(session.LinkState), int{session.FirmwareMajor},
              int{session.FirmwareMinor}, int{session.TesterRamK}, int{session.TesterModel},
              int{session.TriggerHoldoff}, int{session.FlashStatus}, int{session.FlashSlotState},
              int{session.StatusSeen}, int{session.ScriptBusy}, int{session.ScriptDone},
              int{session.ScriptError}, int{session.FwBlockAck}, int{session.ConfigReadDone}})
            text += '|' + QByteArray::number(value);
        for (const Control *control : session.Main.all)
            text += '|' + control->text().toUtf8() + (control->isEnabled() ? '+' : '-');
        return text;
    }

    void requireSound() const
    {
        const Session &session = m_bench.session;
        fuzz::require(session.RespText.size() <= 20'014, "the response text stays bounded");
        fuzz::require(session.RespText.size() == session.RespText.text().size(),
                      "the response text is as long as it says");
        fuzz::require(session.RxState >= 0 && session.RxState <= 3,
                      "the de-framer rests in one of its states");
        fuzz::require(session.TriggerHoldoff >= 0 && session.TriggerHoldoff <= 5,
                      "the trigger hold-off is in its range");
    }

    /// A complete packet is heard, whatever came before.
    void requireNextPacketArrives()
    {
        receive(QByteArrayView("\0\x1BS\x83\x1B"
                               "E",
                               6));
        fuzz::require(m_bench.session.Main.CmdWin.text().endsWith(QLatin1String("\r\nSuspending")),
                      "the next packet arrives");
    }

private:
    test::LinkBench m_bench;
    VornCommands m_commands{m_bench.session, m_bench.link};
    DeviceRequests m_requests{m_bench.session, m_bench.link, m_commands};
    RecvDecode m_decoder{m_bench.session, m_commands, m_requests};
    test::MemoryTransport *m_transport = nullptr;
    RecordingClient m_viewer;
    RecordingClient m_utility;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const quint8 switches = input.choice();
    const quint8 seed = input.choice();

    Receiver whole(switches);
    whole.receive(input.rest());
    whole.requireSound();

    Receiver inPieces(switches);
    for (fuzz::Reads reads(input.rest(), seed); !reads.atEnd();)
        inPieces.receive(reads.next());
    fuzz::require(inPieces.outcome() == whole.outcome(),
                  "the outcome does not depend on how the bytes are cut");

    whole.requireNextPacketArrives();
    return 0;
}
