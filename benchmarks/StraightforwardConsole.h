// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QFile>

#include <string>

namespace vantrel::bench {

/// What one would write first: bytes taken one by one, texts put together by concatenation, the
/// pane's text cut to 20000 characters at every line, a write to the log file for every line.
/// Knows the short reports only (connect, status, device error).
class StraightforwardConsole
{
public:
    explicit StraightforwardConsole(const QString &logPath);

    void receive(QByteArrayView bytes);

private:
    void takeByte(char byte);
    void dispatch();
    void showLine(const std::string &text);

    QFile m_log;
    std::string m_body;
    std::string m_paneText;
    int m_state = 0;
};

} // namespace vantrel::bench
