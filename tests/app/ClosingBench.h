// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ToolWindows.h"
#include "link/TcpTransport.h"
#include "simulator/FtdiDevice.h"
#include "simulator/TcpEnd.h"
#include "simulator/Tester.h"
#include "support/Turns.h"
#include "windows/DialogBench.h"
#include "windows/FileDialog.h"

#include <QCloseEvent>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSessionManager>
#include <QStringList>
#include <QWindow>

#include <memory>

namespace vantrel::test {

/// How a user, or the session, closes a window.
enum class Way { Escape, Frame, MainFrame, Exit, SessionEnd };

/// The console with all its windows and real dialogs, connected to a tester on a real socket. The
/// tester can be made to keep its replies back, so that a write stays under way.
class ClosingBench
{
public:
    static constexpr quint8 FtdiAddress = 0x07;

    ClosingBench()
    {
        QFile(directory.filePath(QStringLiteral("VLnetNames.dat"))).open(QIODevice::WriteOnly);
        stopTicks(window);
        addToolWindows(tools, console, window);
        window.show();
        waitUntilActive(window);
        console.load(directory.filePath(QStringLiteral("VLnetNames.dat")));
        auto device = std::make_unique<simulator::FtdiDevice>(simulator::FtdiDevice::plainImage());
        ftdi = device.get();
        tester->attach(std::move(device), FtdiAddress);
        if (!end.listen() || !connectConsole())
            qFatal("the console does not connect");
        QObject::connect(tester.get(), &simulator::Tester::commandReceived, &m_receiver,
                         [this](const QByteArray &command) { keepBack(command); });
    }

    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            tester->clock().advance(100);
            console.Timer1();
            QCoreApplication::processEvents();
        }
    }

    /// From the command with this code that comes as the `count`-th, replies are kept back.
    void hold(quint8 code, int count = 1)
    {
        m_code = code;
        m_count = count;
        m_held = false;
    }
    bool isHeld()
    {
        return turnsUntil([this] { return m_held; });
    }
    /// The replies arrive.
    void resume()
    {
        tester->faults().delay = 0;
        tester->clock().advance(Delay);
    }

    QWidget *tool(const char *name)
    {
        return window.findChild<QWidget *>(QString::fromLatin1(name), Qt::FindDirectChildrenOnly);
    }
    void choose(const char *item) { child<QAction>(window, item).trigger(); }
    void press(const char *form, const char *button)
    {
        child<QPushButton>(*tool(form), button).click();
    }

    /// Answers the open file dialog.
    void chooseFile(const QByteArray &content)
    {
        QFile file(directory.filePath(QStringLiteral("chosen.bin")));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("no file");
        file.close();
        if (!turnsUntil([] { return openWindow<FileDialog>("FileDial1"); }))
            qFatal("no file dialog");
        auto *const dialog = openWindow<FileDialog>("FileDial1");
        child<QLineEdit>(*dialog, "fileNameEdit").setText(file.fileName());
        dialog->accept();
    }

    /// Closes the tool window, or the main one.
    void close(Way way, const char *form)
    {
        if (way == Way::Escape)
            QTest::keyClick(tool(form), Qt::Key_Escape);
        else if (way == Way::Frame)
            closeByFrame(*tool(form));
        else if (way == Way::MainFrame)
            closeByFrame(window);
        else if (way == Way::Exit)
            choose("Exit");
        else
            emit qApp->commitDataRequest(*qApp->findChild<QSessionManager *>());
    }

    static QMessageBox *box() { return openWindow<QMessageBox>("MessageBox"); }
    static int boxCount()
    {
        int count = 0;
        for (const QWidget *widget : QApplication::topLevelWidgets())
            count += widget->isVisible() && qobject_cast<const QMessageBox *>(widget) ? 1 : 0;
        return count;
    }
    static void answer(QMessageBox::StandardButton button)
    {
        QTest::mouseClick(box()->button(button), Qt::LeftButton);
    }

    QStringList commandLines() { return session.Main.CmdWin.text().split(QStringLiteral("\r\n")); }
    QByteArray responses() { return session.RespText.text(); }
    bool nothingWaits()
    {
        return turnsUntil(
            [this] { return session.waits.pendingCount() == 0 && !session.leases.current(); });
    }

    QTemporaryDir directory;
    std::unique_ptr<simulator::Tester> tester =
        simulator::makeDefaultTester(simulator::Settings::vorn2());
    simulator::TcpEnd end{*tester};
    simulator::FtdiDevice *ftdi = nullptr;
    DialogBoxes dialogs;
    Console console{dialogs, std::make_unique<MemoryTransport>(), std::make_unique<TcpTransport>()};
    Session &session = console.session();
    Tools tools{console, directory.path()};
    Main window{console};

private:
    static constexpr int Delay = 1'000'000; // milliseconds of the tester's clock

    bool connectConsole()
    {
        session.Main.Comm1.setChecked(false);
        session.Main.CommE.setChecked(true);
        console.names().offer(QStringLiteral("127.0.0.1"));
        console.link().setRemotePort(end.port());
        console.connectClicked();
        if (!turnsUntil([this] { return console.link().isConnected(); }))
            return false;
        tick(10);
        return turnsUntil([this] { return responses().count("Product ID: ") >= 3; });
    }

    void keepBack(const QByteArray &command)
    {
        if (m_count == 0 || !command.startsWith(static_cast<char>(m_code)) || --m_count > 0)
            return;
        tester->faults().delay = Delay;
        m_held = true;
    }

    static void closeByFrame(QWidget &widget)
    {
        QCloseEvent event;
        QCoreApplication::sendEvent(widget.windowHandle(), &event);
    }

    QObject m_receiver;
    quint8 m_code = 0;
    int m_count = 0;
    bool m_held = false;
};

} // namespace vantrel::test
