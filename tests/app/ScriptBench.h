// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/NetworkBench.h"
#include "support/Hex.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QTestEventLoop>

namespace vantrel::test {

inline const QByteArray EndPacket = "1b53 21 1b45"_hex;

inline QString example(const char *name)
{
    return QStringLiteral("%1/%2.vn").arg(QLatin1String(EXAMPLES), QLatin1String(name));
}

/// A console that has set its tester up and is about to be given scripts.
struct ScriptBench : NetworkBench
{
    using NetworkBench::NetworkBench;

    bool ready()
    {
        return connectConsole() && // the phone is the last that the set-up finds
               QTest::qWaitFor([this] { return responses().contains("Product ID: 0x0166"); });
    }

    void pressLoad(const QString &path)
    {
        dialogs.paths.append(path);
        tester->clearCommandsSeen();
        console.scriptLoadClicked();
    }
    /// Loads the script and waits until the tester has all of it. A true event loop: qWaitFor()
    /// naps between two looks, and so between two chunks.
    bool load(const QString &path)
    {
        QTestEventLoop loop;
        QObject::connect(tester.get(), &simulator::Tester::packetSent, &loop,
                         [&loop](const QByteArray &body) {
                             if (body.startsWith('\xA0') && body.mid(3) == "21"_hex)
                                 loop.exitLoop();
                         });
        pressLoad(path);
        loop.enterLoop(60);
        return QTest::qWaitFor([this] { return main().ScriptLoad.isEnabled(); }) &&
               !session().ScriptError;
    }
    /// The path of a file that holds the bytes.
    QString fileOf(const QByteArray &script) const
    {
        QFile file(directory.filePath(QStringLiteral("script.vn")));
        if (!file.open(QIODevice::WriteOnly) || file.write(script) != script.size())
            qFatal("no script file");
        return file.fileName();
    }

    /// Ticks of the console with the tester's time that goes with them.
    void tick(int count)
    {
        for (int i = 0; i < count; ++i) {
            tester->clock().advance(100);
            console.Timer1();
        }
    }

    void pressRun()
    {
        session().RespText.clear();
        console.scriptRunClicked();
    }
    bool runEnds()
    {
        return QTest::qWaitFor([this] { return main().ScriptRun.text() == QLatin1String("Run"); });
    }

    /// What the response pane shows of the run, without the tester's timer, which is real time.
    QByteArray script()
    {
        static const QRegularExpression timer(QStringLiteral("Timer:  ?\\d+"));
        return QString::fromLatin1(responses()).replace(timer, QStringLiteral("Timer:")).toLatin1();
    }
    qsizetype stepCount() const { return tester->state().script.steps().size(); }
};

} // namespace vantrel::test
