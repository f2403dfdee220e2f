// SPDX-License-Identifier: GPL-3.0-or-later

// Arbitrary replies to the requests of a descriptor retrieval: whatever the device returns, the
// walk goes on, ends, or waits for its count-down, and the next retrieval is as good as the first.
#include "Input.h"
#include "link/ErrorBoundary.h"
#include "protocol/DeviceRequests.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "support/FakeDialogs.h"
#include "support/LinkBench.h"
#include "tools/DescriptorViewer.h"

using namespace vantrel;

namespace {

/// What the first choice of an input switches on.
namespace Switch {
constexpr quint8 UnsignedWords = 0x01;
constexpr quint8 Disconnected = 0x02;
} // namespace Switch

class Retrieval
{
public:
    explicit Retrieval(quint8 switches)
    {
        if ((switches & Switch::Disconnected) == 0)
            m_bench.open();
        m_bench.session.UnsignedWords = (switches & Switch::UnsignedWords) != 0;
        m_viewer.controls().DevAddr.adoptText(QStringLiteral("0x02"));
    }

    void start()
    {
        m_bench.serial->written.clear();
        m_dialogs.messages.clear();
        m_replies = 0;
        // Replies to an earlier retrieval can no longer come.
        m_bench.session.TickCount += DeviceRequests::ReplyTicks;
        m_viewer.getDescClicked();
    }

    /// A status and what the device returned; an empty reply lacks even the status.
    void reply(QByteArrayView statusAndData)
    {
        m_bench.session.RxPacket = "\x81" + statusAndData.toByteArray();
        m_decoder.DispatchResponse();
        ++m_replies;
        requireSound();
    }

    void requireSound() const
    {
        const Session &session = m_bench.session;
        const DescriptorRetrieval &state = m_state;
        fuzz::require(session.DescActive != m_controls.GetDesc.isEnabled(),
                      "a retrieval can be started when none runs");
        fuzz::require(session.DescActive == (session.DescTimeout > 0),
                      "a retrieval that runs has its time-out before it");
        fuzz::require(m_bench.serial->written.size() <= m_replies + 1,
                      "each reply asks for one descriptor at most");
        fuzz::require(m_dialogs.messages.size() <= m_replies, "each reply shows one box at most");
        fuzz::require(state.level == 0 || state.level == 1, "there are two levels");
        fuzz::require(state.stringCount >= 0 && state.stringCount <= 10 &&
                          state.stringCursor >= 0 && state.stringCursor <= state.stringCount + 1,
                      "the string that is read is one of the list");
        fuzz::require(state.configIndex <= state.numConfigs || state.level == 0,
                      "no configuration beyond the last is read");
    }

    /// The count-down ends what the replies did not, and an orderly device is read to its end.
    void requireNextRetrievalWorks()
    {
        while (m_bench.session.DescActive)
            m_requests.tick();
        fuzz::require(m_controls.DescInfo.text().contains(
                          QLatin1String("\r\n*** Get Descriptors Terminated\r\n      --- ")),
                      "the retrieval has come to an end");
        start();
        reply(QByteArrayView("\0\x12\x01\x10\x01\0\0\0\x08\x09\x12\x01\x0A\0\x01\0\0\0\x01", 19));
        reply(QByteArrayView("\0\x09\x02\x09\0\0\x01\0\x80", 9));
        reply(QByteArrayView("\0\x09\x02\x09\0\0\x01\0\x80\x32", 10));
        fuzz::require(m_controls.DescInfo.text().endsWith(QLatin1String("--- Successful\r\n")),
                      "the next retrieval succeeds");
        fuzz::require(m_dialogs.messages.isEmpty(), "the next retrieval shows no box");
    }

private:
    test::LinkBench m_bench;
    test::FakeDialogs m_dialogs;
    ErrorBoundary m_errors{m_dialogs};
    VornCommands m_commands{m_bench.session, m_bench.link};
    DeviceRequests m_requests{m_bench.session, m_bench.link, m_commands};
    RecvDecode m_decoder{m_bench.session, m_commands, m_requests};
    DescriptorViewer m_viewer{m_bench.session, m_requests, m_dialogs, m_errors};
    DescriptorViewerControls &m_controls = m_viewer.controls();
    DescriptorRetrieval &m_state = m_viewer.retrieval();
    qsizetype m_replies = 0;
};

/// The next reply: a byte that tells its length, then so many bytes, or what is left of the input.
/// The longest length stands for all that is left.
QByteArrayView takeReply(QByteArrayView &bytes)
{
    const auto told = static_cast<quint8>(bytes.front());
    bytes = bytes.sliced(1);
    const qsizetype length = told == 0xFF ? bytes.size() : std::min<qsizetype>(told, bytes.size());
    const QByteArrayView reply = bytes.first(length);
    bytes = bytes.sliced(length);
    return reply;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    Retrieval retrieval(input.choice());
    retrieval.start();
    for (QByteArrayView bytes = input.rest(); !bytes.isEmpty();)
        retrieval.reply(takeReply(bytes));
    retrieval.requireNextRetrievalWorks();
    return 0;
}
