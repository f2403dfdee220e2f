// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NetworkBench.h"
#include "console/Main.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/TestServer.h"
#include "support/Turns.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The main window over a bench, ticked by hand.
template <typename ProgramBench>
struct Windowed : ProgramBench
{
    Windowed()
    {
        window.template findChild<QTimer *>(QStringLiteral("Timer1"))->stop();
        window.show();
    }

    template <typename Type>
    Type &find(const char *name)
    {
        auto *const found = window.template findChild<Type *>(QString::fromLatin1(name));
        if (!found)
            qFatal("no %s", name);
        return *found;
    }

    Main window{this->console};
};

/// A bench on a socket whose other end is the test.
struct SocketBench : Bench
{
    SocketBench() { selectNetwork(QString::fromLatin1(NetworkBench::Loopback), server.port()); }

    bool open()
    {
        console.connectClicked();
        return turnsUntil([this] { return console.link().isConnected() && server.clients() == 1; });
    }

    TestServer server;
};

struct StatusBench : Windowed<NetworkBench>
{
    StatusBench()
    {
        session().timeOfDay = [this] { return time; };
        if (!connect())
            qFatal("the console does not connect");
    }

    /// Connects and waits until both polls have been answered.
    bool connect()
    {
        if (!connectConsole())
            return false;
        second();
        return turnsUntil([this] {
            return session().StatusSeen && !main().conxsts.isStale() && !main().CurrWin.isStale() &&
                   !main().CurrWin.text().isEmpty();
        });
    }

    QStringList texts()
    {
        return {find<QLabel>("conxsts").text(), find<QLabel>("power").text(),
                find<QLabel>("vornstate").text(), find<QLineEdit>("CurrWin").text()};
    }
    void compareToolTips(const QString &toolTip)
    {
        for (const char *field : {"conxsts", "power", "vornstate", "CurrWin"})
            QCOMPARE(find<QWidget>(field).toolTip(), toolTip);
    }

    QTime time{12, 34, 56};
};

const QString StaleToolTip = QStringLiteral("as of 12:34:56");

} // namespace

/// What the main window of the whole program shows in a flood and without a tester.
class tst_windowstatus : public QObject
{
    Q_OBJECT

private slots:
    void floodOfAcknowledgements();
    void shortVersionReply();
    void staleAfterDisconnect();
    void staleAfterTheLoss();
    void currentAfterReconnection();
};

void tst_windowstatus::floodOfAcknowledgements()
{
    constexpr int Count = 50'000;
    Windowed<SocketBench> bench;
    QVERIFY(bench.open());
    auto &pane = bench.find<QPlainTextEdit>("CmdWin");
    int changes = 0;
    QObject::connect(pane.document(), &QTextDocument::contentsChanged, &pane,
                     [&changes] { ++changes; });

    bench.server.client()->write("1b53 83 1b45"_hex.repeated(Count) + "1b53 84 1b45"_hex);
    QVERIFY(turnsUntil([&pane] { return pane.toPlainText().endsWith(QLatin1String("Resuming")); }));
    QCOMPARE(pane.document()->blockCount(), 5000);
    QCOMPARE(pane.toPlainText(),
             QStringLiteral("Suspending\n").repeated(4999) + QStringLiteral("Resuming"));
    QVERIFY(pane.textCursor().atEnd());
    QVERIFY2(changes < 1000, qPrintable(QString::number(changes)));
    QCOMPARE(bench.main().CmdWin.text().count(QLatin1Char('\n')), 4999);
}

void tst_windowstatus::shortVersionReply()
{
    Windowed<SocketBench> bench;
    QVERIFY(bench.open());
    bench.second();
    bench.server.client()->write("1b53 8f 02 03 0c 1b45"_hex);
    QVERIFY(turnsUntil([&] { return bench.session().LinkState == LinkStates::Running; }));
    QTRY_VERIFY(bench.find<QPlainTextEdit>("CmdWin").toPlainText().endsWith(
        QLatin1String("\n** Vorn 2 Firmware Revision  3 . 12\n")));
    QVERIFY(bench.find<QWidget>("USBReset").isEnabled());
    QCOMPARE(bench.session().TesterRamK, qint16{-1});
}

void tst_windowstatus::staleAfterDisconnect()
{
    StatusBench bench;
    const QStringList texts = bench.texts();
    bench.compareToolTips(QString());
    bench.time = QTime(23, 0);
    bench.console.connectClicked();
    bench.console.Timer1();
    bench.compareToolTips(StaleToolTip);
    QCOMPARE(bench.texts(), texts);
}

void tst_windowstatus::staleAfterTheLoss()
{
    StatusBench bench;
    const QStringList texts = bench.texts();
    bench.dialogs.holdAnswers = true;
    bench.end.dropConnection();
    QVERIFY(turnsUntil([&] { return bench.dialogs.heldCount() == 1; }));
    bench.console.Timer1(); // the box is still open
    bench.compareToolTips(StaleToolTip);
    QCOMPARE(bench.texts(), texts);
    bench.dialogs.answerHeld(Answer::Ok);
    bench.compareToolTips(StaleToolTip);
}

void tst_windowstatus::currentAfterReconnection()
{
    StatusBench bench;
    bench.console.connectClicked();
    bench.console.Timer1();
    bench.compareToolTips(StaleToolTip);
    QVERIFY(bench.connect());
    bench.compareToolTips(QString());
    bench.console.Timer1();
    bench.compareToolTips(QString());
}

VANTREL_WINDOW_TEST(tst_windowstatus)
#include "tst_windowstatus.moc"
