// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/frmNewIP.h"
#include "link/Utils.h"
#include "support/TestProgram.h"
#include "windows/DialogBench.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A wait of 50 ticks that nothing answers.
QCoro::Task<> waitForNothing(Session &session, std::optional<WaitEnd> &end)
{
    const qint32 deadline = deadlineIn(session, 50);
    end = co_await session.waits.until([] { return false; }, deadline);
}

/// Runs the program's event loop, in which the window closes; true when that ends the program.
bool endsByClosing(QWidget &window)
{
    constexpr int Forced = 1;
    QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
    QTimer limit;
    limit.callOnTimeout([] { QApplication::exit(Forced); });
    limit.start(10'000);
    return QApplication::exec() != Forced;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The ends of the program.
class TestClosing : public QObject
{
    Q_OBJECT

private slots:
    void init() { QApplication::setQuitOnLastWindowClosed(true); }
    void byFrameLeavesNoFooter();
    void exitWritesTheFooter();
    void endsTheProgram();
    void endsWaitsAndTicks();
    void closesTheLink();
    void closesOpenDialogs_data();
    void closesOpenDialogs();
    void boxOverDialog();
    void destroyedWithoutClosing();
    void voltageBeingTyped_data();
    void voltageBeingTyped();
};

void TestClosing::byFrameLeavesNoFooter()
{
    DialogBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("bench.log"));
    bench.console->log().start(path);
    ShowResponseLine(bench.console->session(), "the last line");
    bench.window->close();
    bench.window.reset();
    bench.console.reset();

    const QByteArray log = contents(path);
    QVERIFY(log.startsWith("%%%%%\r\n%% Log File Started: "));
    QVERIFY(log.endsWith("\r\n%%%%%\r\n\r\nthe last line\r\n"));
    QVERIFY(!log.contains("Log File Ended"));
}

void TestClosing::exitWritesTheFooter()
{
    DialogBench bench;
    const QString path = bench.directory.filePath(QStringLiteral("bench.log"));
    bench.console->log().start(path);
    ShowResponseLine(bench.console->session(), "the last line");
    child<QAction>(*bench.window, "Exit").trigger();
    QVERIFY(!bench.window->isVisible());

    const QByteArray log = contents(path);
    QVERIFY(log.contains("\r\nthe last line\r\n\r\n%%%%%\r\n%% Log File Ended: "));
    QVERIFY(log.contains("%%%%%"));
}

void TestClosing::endsTheProgram()
{
    DialogBench bench;
    QVERIFY(endsByClosing(*bench.window));
}

void TestClosing::endsWaitsAndTicks()
{
    DialogBench bench;
    auto &timer = child<QTimer>(*bench.window, "Timer1");
    timer.start();
    std::optional<WaitEnd> end;
    waitForNothing(bench.console->session(), end);
    bench.window->close();
    QVERIFY(end.has_value());
    QCOMPARE(static_cast<int>(*end), static_cast<int>(WaitEnd::Closed));
    QVERIFY(!timer.isActive());
}

void TestClosing::closesTheLink()
{
    DialogBench bench;
    bench.console->connectClicked();
    QVERIFY(bench.serial->isConnected());
    bench.window->close();
    QVERIFY(!bench.serial->isConnected());
}

void TestClosing::closesOpenDialogs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("opener");
    QTest::newRow("box") << QStringLiteral("MessageBox") << 0;
    QTest::newRow("file dialog") << QStringLiteral("FileDial1") << 1;
    QTest::newRow("new name") << QStringLiteral("frmNewIP") << 2;
}

void TestClosing::closesOpenDialogs()
{
    QFETCH(QString, name);
    QFETCH(int, opener);
    DialogBench bench;
    if (opener == 0)
        bench.console->descriptorViewerClicked();
    else if (opener == 1)
        bench.console->fileNewClicked();
    else
        emit bench.console->newNetworkNameWanted();
    QVERIFY(openWindow<QWidget>(name.toLatin1().constData()));

    QVERIFY(endsByClosing(*bench.window));
    QVERIFY(!openWindow<QWidget>(name.toLatin1().constData()));
    if (opener == 1)
        QVERIFY2(bench.main.FileNew.isEnabled(), "the waiting handler has gone on");
}

void TestClosing::boxOverDialog()
{
    DialogBench bench;
    emit bench.console->newNetworkNameWanted();
    auto &form = child<frmNewIP>(*bench.window, "frmNewIP");
    QTRY_COMPARE(QApplication::activeWindow(), &form);
    QTest::keyClicks(form.focusWidget(), QStringLiteral("a b"));
    QTest::keyClick(form.focusWidget(), Qt::Key_Return);
    QVERIFY(openWindow<QMessageBox>("MessageBox"));
    bench.window->close();
    QVERIFY(!form.isVisible());
    QVERIFY(!openWindow<QMessageBox>("MessageBox"));
}

void TestClosing::destroyedWithoutClosing()
{
    DialogBench bench;
    bench.console->fileNewClicked();
    QVERIFY(openWindow<QFileDialog>("FileDial1"));
    QVERIFY(!bench.main.FileNew.isEnabled());
    bench.window.reset();
    QVERIFY2(bench.main.FileNew.isEnabled(), "the waiting handler has gone on");
}

void TestClosing::voltageBeingTyped_data()
{
    QTest::addColumn<bool>("closed");
    QTest::newRow("closed") << true;
    QTest::newRow("destroyed") << false;
}

void TestClosing::voltageBeingTyped()
{
    QFETCH(bool, closed);
    DialogBench bench;
    bench.console->connectClicked();
    bench.main.VoltWin.setEnabled(true);
    auto &field = child<QLineEdit>(*bench.window, "VoltWin");
    field.setFocus();
    QTest::keyClicks(&field, QStringLiteral("5.2"));
    if (closed)
        bench.window->close();
    bench.window.reset();
    QCOMPARE(bench.serial->writtenBytes(), QByteArray());
}

VANTREL_WINDOW_TEST(TestClosing)
#include "tst_closing.moc"
