// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace vantrel {

/// A script file built from its text, or why it cannot be.
struct ScriptBuild
{
    QByteArray script; ///< framed packets, as a script file holds them
    int line = 0;      ///< of the text, from 1, where it is wrong
    QString error;     ///< empty: `script` is complete
};

/// Builds a script file from a text of one step a line: the bytes of a command, two hexadecimal
/// digits each, blanks between them. "#" starts a comment that goes to the end of the line; a line
/// may hold nothing else, or nothing. The last step is the end of the script, 21.
ScriptBuild buildScript(QByteArrayView text);

} // namespace vantrel
