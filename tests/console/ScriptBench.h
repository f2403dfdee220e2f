// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QTest>

namespace vantrel::test {

inline const auto AutoModeOff = "1b53 07 00 00 1b45"_hex;
inline const auto AutoModeOn = "1b53 07 00 01 1b45"_hex;
inline const auto DownloadStart = "1b53 0c 1b45"_hex;

/// A running console and a script file of any bytes.
struct ScriptBench : ConsoleBench
{
    explicit ScriptBench(bool network = false) { run(network); }

    QString file(const QByteArray &bytes)
    {
        QFile script(directory.filePath(QStringLiteral("test.vn")));
        if (!script.open(QIODevice::WriteOnly) || script.write(bytes) != bytes.size())
            qFatal("no script file");
        return script.fileName();
    }

    /// Chooses the file and lets the download come to where it waits for the end.
    void load(const QByteArray &bytes)
    {
        begin(bytes);
        QTRY_COMPARE(session.DownloadSent, session.DownloadSize);
        settle();
    }
    /// Chooses the file; the first chunk is sent.
    void begin(const QByteArray &bytes)
    {
        dialogs.paths = {file(bytes)};
        console.scriptLoadClicked();
    }
    static void settle()
    {
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
    }

    /// What was written behind the start of the download.
    QList<QByteArray> chunks() { return transport().written.mid(2); }
};

/// Bytes that no two chunks have in common.
inline QByteArray pattern(qsizetype size)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < size; ++i)
        bytes += static_cast<char>(i * 7 + i / 512);
    return bytes;
}

} // namespace vantrel::test
