// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ToolWindows.h"
#include "support/TestProgram.h"
#include "windows/WindowBench.h"

#include <QApplication>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The main window with every tool window behind its menu item, connected to a Vorn 2.
struct ToolBench : ConsoleBench
{
    ToolBench()
    {
        stopTicks(window);
        addToolWindows(tools, console, window);
        window.show();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window does not become active");
    }

    void choose(const char *item) const { child<QAction>(window, item).trigger(); }

    /// All windows of this name, open or not.
    QList<QWidget *> named(const char *name) const
    {
        return window.findChildren<QWidget *>(QString::fromLatin1(name),
                                              Qt::FindDirectChildrenOnly);
    }

    int openWindows() const
    {
        int count = 0;
        for (const QWidget *widget : QApplication::topLevelWidgets())
            count += widget->isVisible() ? 1 : 0;
        return count;
    }

    Tools tools{console, directory.path()};
    Main window{console};
};

} // namespace

class TestToolWindows : public QObject
{
    Q_OBJECT

private slots:
    void menuItems_data();
    void menuItems();
    void helpNeedsNoTester();
    void viewerNeedsAutomaticMode();
    void mainWindowClosesThemAll();
    void programEndsWithWaitsUnderWay();
};

void TestToolWindows::menuItems_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("title");

    const auto row = [](const char *item, const char *name, const char *title) {
        QTest::newRow(item) << QByteArray(item) << QByteArray(name) << QString::fromLatin1(title);
    };
    row("UtilDR", "DevRqstForm", "Device Request Builder");
    row("UtilDV", "GetDescForm", "Descriptor Viewer");
    row("UtilFM", "FlashForm", "Flash Management");
    row("EZUSB", "EZUSBForm", "EZ USB Support");
    row("mnuUtilFW", "FWLoad", "Download Firmware to Vorn 2");
    row("mnuUtilFTDI", "frmFTDI", "FTDI Configuration Utility");
    row("mnuConfigureNetwork", "frmNWCfg", "Network Configuration");
    row("HelpAbout", "frmAbout", "About Vantrel");
    row("HelpTopics", "HelpForm", "Vantrel Help");
}

void TestToolWindows::menuItems()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, name);
    QFETCH(QString, title);

    ToolBench bench;
    bench.run();
    bench.choose(item);
    const QList<QWidget *> windows = bench.named(name);
    QCOMPARE(windows.size(), 1);
    QVERIFY(windows.first()->isVisible());
    QVERIFY(!windows.first()->isModal());
    QCOMPARE(windows.first()->windowTitle(), title);

    bench.choose(item); // it is open already
    QCOMPARE(bench.openWindows(), 2);
    QTest::keyClick(windows.first(), Qt::Key_Escape);
    QCOMPARE(bench.openWindows(), 1);
    bench.choose(item);
    QCOMPARE(bench.named(name), windows);
    QVERIFY(windows.first()->isVisible());
}

void TestToolWindows::helpNeedsNoTester()
{
    ToolBench bench;
    QTest::keyClick(&bench.window, Qt::Key_F1);
    QCOMPARE(bench.named("HelpForm").size(), 1);
    bench.choose("HelpAbout");
    QCOMPARE(bench.openWindows(), 3);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestToolWindows::viewerNeedsAutomaticMode()
{
    ToolBench bench;
    bench.run();
    bench.main.Automode.setChecked(false);
    bench.choose("UtilDV");
    QCOMPARE(bench.openWindows(), 1);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text,
             QStringLiteral("Descriptor Viewer Only works in Automatic Mode"));
}

void TestToolWindows::mainWindowClosesThemAll()
{
    ToolBench bench;
    bench.run();
    for (const char *item : {"UtilDR", "UtilDV", "EZUSB", "mnuUtilFW", "mnuUtilFTDI",
                             "mnuConfigureNetwork", "HelpAbout", "HelpTopics"})
        bench.choose(item);
    QCOMPARE(bench.openWindows(), 9);
    bench.window.close();
    QCOMPARE(bench.openWindows(), 0);
    QCOMPARE(bench.session.waits.pendingCount(), 0);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestToolWindows::programEndsWithWaitsUnderWay()
{
    ToolBench bench;
    bench.run();
    bench.choose("mnuConfigureNetwork"); // waits for the network record
    bench.choose("mnuUtilFTDI");
    bench.tools.ftdi.readClicked();
    bench.choose("UtilDV");
    bench.tools.viewer.getDescClicked();
    QCOMPARE(bench.session.waits.pendingCount(), 2);
    // All of it goes in the order in which the program's parts go.
}

VANTREL_WINDOW_TEST(TestToolWindows)
#include "tst_toolwindows.moc"
