// SPDX-License-Identifier: GPL-3.0-or-later

// The session log on the disk: started, ended and started again on any path, while reports come and
// another program truncates or deletes the file. What it holds is what the response pane shows.
#include "Scenario.h"

#include <QFile>

using namespace vantrel;
using fuzz::Window;

namespace {

class LogUser
{
public:
    explicit LogUser(fuzz::WholeConsole &subject) : m_subject(subject) {}

    void start(quint8 choice)
    {
        switch (choice % 5) {
        case 0:
            start(fuzz::WholeConsole::file("missing/session.log"), false);
            break;
        case 1:
            start(fuzz::WholeConsole::directory().path(), false);
            break;
        case 2:
            start(fuzz::WholeConsole::file("other.log"), true);
            break;
        default:
            start(fuzz::WholeConsole::file("session.log"), true);
        }
    }

    void end()
    {
        m_subject.console.fileCloseClicked();
        fuzz::require(!m_subject.session().Logging, "the log is closed");
        QFile file(m_subject.logPath);
        if (m_untouched && file.open(QIODevice::ReadOnly)) {
            const QByteArray logged = file.readAll();
            fuzz::require(logged.endsWith("%%%%%\r\n") &&
                              logged.contains("\r\n%%%%%\r\n%% Log File Ended: "),
                          "a log that is closed has its footer");
        }
    }

    void truncate()
    {
        m_subject.console.log().flush();
        QFile::resize(m_subject.logPath, 0);
        m_untouched = false;
    }

    void remove()
    {
        QFile::remove(m_subject.logPath);
        m_untouched = false;
    }

    void requireLog()
    {
        if (m_untouched)
            m_subject.requireLog();
        else
            requireEnd();
    }

private:
    void start(const QString &path, bool can)
    {
        m_subject.startLog(path);
        fuzz::require(m_subject.session().Logging == can, "a log is started where it can be");
        m_untouched = true;
    }

    /// What was reported since another program has truncated the file.
    void requireEnd()
    {
        m_subject.console.log().flush();
        QFile file(m_subject.logPath);
        if (!m_subject.session().Logging || !file.open(QIODevice::ReadOnly))
            return;
        const QByteArray logged = file.readAll();
        const QByteArray pane = m_subject.session().RespText.text();
        const qsizetype common = std::min(logged.size(), pane.size());
        fuzz::require(logged.last(common) == pane.last(common),
                      "after a truncation the log goes on without a gap");
    }

    fuzz::WholeConsole &m_subject;
    bool m_untouched = true;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole subject;
    subject.begin(input.choice());
    LogUser user(subject);
    const MainControls &main = subject.session().Main;
    fuzz::Scenario scenario(subject, {});
    scenario.add(Window::Main, &main.FileNew,
                 [&user](fuzz::Input &in) { user.start(in.choice()); });
    scenario.add(Window::Main, &main.FileClose, [&user](fuzz::Input &) { user.end(); });
    scenario.add(Window::Main, &main.FileClose, [&user](fuzz::Input &) { user.truncate(); });
    scenario.add(Window::Main, &main.FileClose, [&user](fuzz::Input &) { user.remove(); });
    scenario.check([&user] { user.requireLog(); });
    scenario.run(input);
    subject.requireRests();
    return 0;
}
