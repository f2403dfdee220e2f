// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OwnerBench.h"
#include "support/TestProgram.h"
#include "windows/FileDialog.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

/// Each box and file dialog belongs to the window whose action raised it.
class TestBoxOwners : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void fileDialogs_data();
    void fileDialogs();
    void boxAfterAFileDialog();
    void errorBoundary();
    void delayedBoxes_data();
    void delayedBoxes();
    void delayedBoxOfAClosedWindow();
    void mainWindow();
};

void TestBoxOwners::fileDialogs_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("request builder") << QByteArray("UtilDR") << QByteArray("Open");
    QTest::newRow("firmware") << QByteArray("mnuUtilFW") << QByteArray("fileselect");
    QTest::newRow("EZ-USB") << QByteArray("EZUSB") << QByteArray("LoadFW");
}

void TestBoxOwners::fileDialogs()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, button);
    OwnerBench bench;
    QWidget &tool = bench.open(item);
    OwnerBench::activate(bench.window);
    child<QPushButton>(tool, button).click();
    auto *const dialog = openWindow<FileDialog>("FileDial1");
    QVERIFY(dialog);
    QCOMPARE(dialog->parentWidget(), &tool);
    QTRY_COMPARE(QApplication::activeWindow(), dialog);
}

void TestBoxOwners::boxAfterAFileDialog()
{
    OwnerBench bench;
    QWidget &tool = bench.open("UtilDR");
    child<QPushButton>(tool, "Open").click();
    const QPointer<FileDialog> dialog = openWindow<FileDialog>("FileDial1");
    QVERIFY(dialog);
    QTRY_COMPARE(QApplication::activeWindow(), dialog.data());
    QTest::keyClick(dialog, Qt::Key_Escape);
    auto *const box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Error Opening File"));
    QCOMPARE(box->parentWidget(), &tool);
    QTRY_VERIFY(!dialog);
    QTRY_COMPARE(QApplication::activeWindow(), box);
    QTest::keyClick(box, Qt::Key_Return);
    QVERIFY(!openWindow<QMessageBox>("MessageBox"));
}

void TestBoxOwners::errorBoundary()
{
    OwnerBench bench;
    QWidget &tool = bench.open("UtilDR");
    OwnerBench::activate(bench.window);
    child<QPushButton>(tool, "Open").click();
    QFile request(bench.directory.filePath(QStringLiteral("bad.dr")));
    QVERIFY(request.open(QIODevice::WriteOnly));
    request.write(QByteArray(10, '\xff'));
    request.close();
    auto *const dialog = openWindow<FileDialog>("FileDial1");
    child<QLineEdit>(*dialog, "fileNameEdit").setText(request.fileName());
    dialog->accept();
    auto *const box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Overflow"));
    QCOMPARE(box->parentWidget(), &tool);
}

void TestBoxOwners::delayedBoxes_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::newRow("FTDI") << QByteArray("mnuUtilFTDI") << QByteArray("btRead")
                          << QStringLiteral("Vantrel - FTDI Configuration Utility");
    QTest::newRow("network") << QByteArray("mnuConfigureNetwork") << QByteArray()
                             << QStringLiteral("Read Configuration");
    QTest::newRow("flash") << QByteArray("UtilFM") << QByteArray()
                           << QStringLiteral("Vantrel - Error");
}

/// The user is in the main window, or in no window of the program, when the time is over.
void TestBoxOwners::delayedBoxes()
{
    QFETCH(QByteArray, item);
    QFETCH(QByteArray, button);
    QFETCH(QString, title);
    OwnerBench bench;
    QWidget &tool = bench.open(item);
    if (!button.isEmpty())
        child<QPushButton>(tool, button).click();
    QWidget other;
    other.show();
    OwnerBench::activate(other);
    const auto *const box = bench.boxInTime();
    QVERIFY(box);
    QCOMPARE(box->windowTitle(), title);
    QCOMPARE(box->parentWidget(), &tool);
    QTRY_COMPARE(QApplication::activeWindow(), box);
}

void TestBoxOwners::delayedBoxOfAClosedWindow()
{
    OwnerBench bench;
    QWidget &tool = bench.open("UtilDR");
    tool.close();
    bench.tools.builder.openClicked();
    auto *const dialog = openWindow<FileDialog>("FileDial1");
    QVERIFY(dialog);
    QCOMPARE(dialog->parentWidget(), &bench.window);
}

/// The console's own boxes, while the user is in a tool window.
void TestBoxOwners::mainWindow()
{
    OwnerBench bench;
    bench.open("mnuUtilFTDI");
    emit bench.console.link().socketError(QStringLiteral("gone"));
    const auto *box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Network Error Detected: gone"));
    QCOMPARE(box->parentWidget(), &bench.window);
}

VANTREL_WINDOW_TEST(TestBoxOwners)
#include "tst_boxowners.moc"
