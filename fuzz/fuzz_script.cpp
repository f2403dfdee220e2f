// SPDX-License-Identifier: GPL-3.0-or-later

// A script of any bytes is downloaded while the link takes them in pieces, fails, or the tester
// answers anything: what has been sent is the file from its start, with nothing between.
#include "Scenario.h"
#include "link/Wire.h"

using namespace vantrel;
using fuzz::Window;

namespace {

constexpr qsizetype LongestScript = 4096;

/// Follows one download in what was written to the transport.
class Download
{
public:
    Download(fuzz::WholeConsole &subject, QByteArray script)
        : m_subject(subject), m_script(std::move(script))
    {
    }

    void begin()
    {
        m_subject.transport().takeWritten();
        const QString path = fuzz::WholeConsole::file("script.vn");
        fuzz::WholeConsole::writeFile(path, m_script);
        m_subject.dialogs.holdChoices = false;
        m_subject.dialogs.paths = {path};
        ++m_subject.causes;
        m_subject.console.scriptLoadClicked();
    }

    void requirePrefix()
    {
        const Session &session = m_subject.session();
        m_ended = m_ended || session.DownloadSize < 0;
        if (m_ended)
            return;
        fuzz::require(session.DownloadSize == m_script.size(), "the whole file is sent");
        fuzz::require(session.DownloadSent <= session.DownloadSize, "nothing else is sent");
        const QByteArray sent = m_subject.transport().writtenBytes();
        static const QByteArray start("\x1BS\x0C\x1B"
                                      "E",
                                      5);
        const qsizetype from = sent.indexOf(start) + start.size();
        fuzz::require(from >= start.size(), "the download has a start");
        fuzz::require(sent.sliced(from) == m_script.first(session.DownloadSent),
                      "what was sent is the file, with nothing between");
    }

private:
    fuzz::WholeConsole &m_subject;
    QByteArray m_script;
    bool m_ended = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    const qsizetype length = std::min<qsizetype>(16 * input.choice(), LongestScript);
    const int copies = 1 + input.choice() % 16; // a few bytes of input give many chunks
    Download download(subject, input.take(length).toByteArray().repeated(copies));
    // The one window that can send by itself during the download.
    subject.open(Window::Network);
    subject.receivePacket(QByteArray::fromHex("b6c0a8010ac0a80101ffffff00001122334455"));
    if (subject.session().Main.ScriptLoad.isEnabled())
        download.begin();
    fuzz::Scenario scenario(subject, {Window::Network});
    scenario.check([&download] { download.requirePrefix(); });
    scenario.run(input);
    subject.requireLog();
    subject.requireRests();
    return 0;
}
