// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ToolWindows.h"
#include "link/SerialTransport.h"
#include "link/TcpTransport.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "support/Resources.h"
#include "support/TestProgram.h"
#include "support/Turns.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QPixmapCache>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr qint64 GrowthAllowed = 65'536; // bytes

#ifdef VANTREL_OWN_ALLOCATOR
constexpr int FileDialogs = 100; // each takes a tenth of a second with a sanitizer
#else
constexpr int FileDialogs = 1000;
#endif

/// The console with its real windows, dialogs and log, and a tester on a real socket.
struct GrowthBench
{
    GrowthBench()
    {
        // Every file dialog adds icons of its own, up to 10 MB. clear() would leave the keys
        // behind.
        QPixmapCache::setCacheLimit(0);
        QFile(namesFile).open(QIODevice::WriteOnly);
        stopTicks(window);
        addToolWindows(tools, console, window);
        window.show();
        waitUntilActive(window);
        console.load(namesFile);
        tester->setRecording(false);
        if (!end.listen())
            qFatal("no free port on loopback");
        child<QAbstractButton>(window, "CommE").click();
        console.names().offer(QStringLiteral("127.0.0.1"));
        console.link().setRemotePort(end.port());
    }

    /// Connects when disconnected, disconnects when connected; true when both ends have.
    bool pressConnect(bool connects)
    {
        child<QPushButton>(window, "Connect").click();
        return turnsUntil([this, connects] {
            return console.link().isConnected() == connects && end.isConsoleConnected() == connects;
        });
    }

    /// What is in use when nothing is under way.
    qint64 bytesAtRest()
    {
        console.clearClicked();
        console.Timer1();
        turnsUntil([] { return true; });
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return allocatedBytes();
    }

    QTemporaryDir directory;
    QString namesFile = directory.filePath(QStringLiteral("VLnetNames.dat"));
    DialogBoxes dialogs;
    Console console{dialogs, std::make_unique<SerialTransport>(), std::make_unique<TcpTransport>()};
    Tools tools{console, directory.path()};
    Main window{console};
    std::unique_ptr<simulator::Tester> tester =
        simulator::makeDefaultTester(simulator::Settings::vorn2());
    simulator::TcpEnd end{*tester};
};

/// The log, the panes, file dialogs and connections allocate no more for the second thousand than
/// for the first.
template <typename Thousand>
void compareThousands(GrowthBench &bench, Thousand &&thousand)
{
    QVERIFY(thousand());
    const qint64 first = bench.bytesAtRest();
    const qsizetype descriptors = openDescriptors();
    QVERIFY(thousand());
    const qint64 growth = bench.bytesAtRest() - first;
    qInfo("in use after the first: %lld bytes, %+lld after the second",
          static_cast<long long>(first), static_cast<long long>(growth));
    QVERIFY2(growth <= GrowthAllowed, qPrintable(QString::number(growth)));
    QVERIFY(openDescriptors() <= descriptors); // a thread of a file dialog may still end
}

} // namespace

class TestGrowth : public QObject
{
    Q_OBJECT

private slots:
    void lines();
    void fileDialogs();
    void connections();
};

/// The first 10,000 lines fill the panes, which keep no more.
void TestGrowth::lines()
{
    constexpr int Lines = 10'000;
    constexpr int Bunch = 200; // lines a turn
    GrowthBench bench;
    bench.console.log().start(bench.directory.filePath(QStringLiteral("session.log")));
    QVERIFY(bench.pressConnect(true));
    const Control &command = bench.console.session().Main.CmdWin;
    int last = 0;
    const auto receive = [&] {
        for (int sent = 0; sent < Lines; sent += Bunch) {
            for (int i = 1; i < Bunch; ++i) {
                bench.tester->sendPacket("\x83");
                bench.tester->reportMessage("a line of the response pane");
            }
            const QByteArray number = QByteArray::number(++last).rightJustified(4, '0').right(4);
            bench.tester->sendPacket("\xB3" + number); // an acknowledgement with a number
            const QString line =
                QStringLiteral("Loading Firmware ") + QString::fromLatin1(number.toHex().toUpper());
            // The console also queries the version and sets the tester up meanwhile.
            if (!turnsUntil([&] { return command.text().right(1000).contains(line); }))
                return false;
            bench.console.Timer1();
        }
        return true;
    };
    compareThousands(bench, receive);
    QVERIFY(bench.pressConnect(false));
}

void TestGrowth::fileDialogs()
{
    GrowthBench bench;
    QAction &open = child<QAction>(bench.window, "FileNew");
    const auto cancelAll = [&open] {
        for (int i = 0; i < FileDialogs; ++i) {
            open.trigger();
            auto *const dialog = openWindow<FileDialog>("FileDial1");
            if (!dialog)
                return false;
            const QPointer<FileDialog> opened(dialog);
            dialog->reject();
            if (!turnsUntil([&] { return opened.isNull() && open.isEnabled(); }))
                return false;
        }
        return true;
    };
    compareThousands(bench, cancelAll);
}

void TestGrowth::connections()
{
    GrowthBench bench;
    const auto connectAThousandTimes = [&bench] {
        for (int i = 0; i < 1000; ++i) {
            if (!bench.pressConnect(true) || !bench.pressConnect(false))
                return false;
        }
        return true;
    };
    compareThousands(bench, connectAThousandTimes);
}

VANTREL_WINDOW_TEST(TestGrowth)
#include "tst_growth.moc"
