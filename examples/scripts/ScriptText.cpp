// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScriptText.h"

#include "link/VornComm.h"
#include "link/Wire.h"

#include <QList>

#include <algorithm>
#include <optional>

namespace vantrel {

namespace {

constexpr qsizetype LongestWordShown = 20;

bool isHexDigit(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F') ||
           (character >= 'a' && character <= 'f');
}

std::optional<QString> oddityOfWord(const QByteArray &word)
{
    if (word.size() == 2 && std::all_of(word.begin(), word.end(), isHexDigit))
        return std::nullopt;
    return QStringLiteral("\"%1\" is not a byte of two hexadecimal digits")
        .arg(QString::fromUtf8(word.left(LongestWordShown)));
}

QByteArray framed(QByteArray step)
{
    const QByteArray esc(1, static_cast<char>(wire::Esc));
    return esc + static_cast<char>(wire::Start) + StuffEscapes(step) + esc +
           static_cast<char>(wire::End);
}

/// Takes one line after the other and stops at the first that is wrong.
class Builder
{
public:
    ScriptBuild build(QByteArrayView text)
    {
        for (const QByteArray &line : text.toByteArray().split('\n')) {
            ++m_line;
            if (const auto error = take(line.split('#').first().simplified()))
                return {{}, m_line, *error};
        }
        if (!m_ended)
            return {
                {}, m_line, QStringLiteral("the script does not end: its last step must be 21")};
        return {m_script, 0, {}};
    }

private:
    std::optional<QString> take(const QByteArray &bytes)
    {
        if (bytes.isEmpty())
            return std::nullopt;
        const QList<QByteArray> words = bytes.split(' ');
        for (const QByteArray &word : words) {
            if (auto oddity = oddityOfWord(word))
                return oddity;
        }
        return append(QByteArray::fromHex(words.join()));
    }

    std::optional<QString> append(const QByteArray &step)
    {
        const auto code = static_cast<quint8>(step[0]);
        if (m_ended)
            return QStringLiteral("a step behind the end of the script");
        if (code == wire::Command::ScriptDownloadStart)
            return QStringLiteral("0C would start the download anew");
        m_ended = code == wire::Command::ScriptDownloadEnd;
        if (m_ended && step.size() > 1)
            return QStringLiteral("the end of the script is 21 alone");
        m_script += framed(step);
        return std::nullopt;
    }

    QByteArray m_script;
    int m_line = 0;
    bool m_ended = false;
};

} // namespace

ScriptBuild buildScript(QByteArrayView text)
{
    return Builder().build(text);
}

} // namespace vantrel
