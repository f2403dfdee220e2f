// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Program.h"
#include "support/TestProgram.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace vantrel;

namespace {

template <typename Widget>
Widget *control(const char *name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *found = window->findChild<Widget *>(QString::fromLatin1(name)))
            return found;
    }
    qFatal("no %s", name);
}

/// The TCP port that this process listens on; 0 when there is none.
quint16 listeningPort()
{
    constexpr int Descriptors = 1024;
    for (int descriptor = 0; descriptor < Descriptors; ++descriptor) {
        int listens = 0;
        socklen_t size = sizeof listens;
        sockaddr_in address{};
        socklen_t addressSize = sizeof address;
        if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 &&
            listens != 0 &&
            ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &addressSize) == 0 &&
            address.sin_family == AF_INET)
            return ntohs(address.sin_port);
    }
    return 0;
}

} // namespace

/// The program as its options start it, in its own windows and at its own pace.
class tst_start : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void withoutOptions();
    void simulatorConnects_data();
    void simulatorConnects();
    void simulatorServesItsOwnConsole();
    void hostIsSelected();
    void unsignedWords_data();
    void unsignedWords();
};

void tst_start::initTestCase()
{
    QFile names(QCoreApplication::applicationDirPath() + QStringLiteral("/VLnetNames.dat"));
    QVERIFY(names.open(QIODevice::WriteOnly)); // so that no box about it waits for an answer
}

void tst_start::withoutOptions()
{
    Program program{Options{}};
    QVERIFY(!program.start());
    QVERIFY(control<QRadioButton>("Comm1")->isChecked());
    QCOMPARE(control<QPushButton>("Connect")->text(), QStringLiteral("Connect"));
    QCOMPARE(control<QComboBox>("cbNWName")->count(), 1);
    QVERIFY(!control<QPushButton>("USBReset")->isEnabled());
}

void tst_start::simulatorConnects_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("line");
    QTest::newRow("Vorn 1") << 1 << "** Vorn 1 Firmware Revision  2 . 17";
    QTest::newRow("Vorn 2") << 2 << "** Vorn 2 Firmware Revision  3 . 12";
}

void tst_start::simulatorConnects()
{
    QFETCH(int, model);
    QFETCH(QString, line);
    Options options;
    options.simulatedModel = model;
    options.connect = true;
    Program program(options);
    QVERIFY(!program.start());

    QVERIFY(control<QRadioButton>("CommE")->isChecked());
    QVERIFY(!control<QRadioButton>("Comm1")->isChecked());
    QCOMPARE(control<QComboBox>("cbNWName")->currentText(), QStringLiteral("127.0.0.1"));
    QCOMPARE(control<QPushButton>("Connect")->text(), QStringLiteral("Disconnect"));
    QTRY_VERIFY(control<QPlainTextEdit>("CmdWin")->toPlainText().contains(line));
    QVERIFY(control<QPushButton>("USBReset")->isEnabled());
}

/// The simulated tester of the program refuses every client but the console of the program.
void tst_start::simulatorServesItsOwnConsole()
{
    Options options;
    options.simulatedModel = 2;
    Program program(options);
    QVERIFY(!program.start());
    const quint16 port = listeningPort();
    QVERIFY(port != 0);
    QTcpSocket before;
    connect(&before, &QTcpSocket::connected, &before,
            [&before] { before.write("\x1bS\x0f\x1b\x45"); });
    QSignalSpy ends(&before, &QTcpSocket::disconnected);
    before.connectToHost(QHostAddress::LocalHost, port);
    QTRY_COMPARE(ends.size(), 1);
    QCOMPARE(before.readAll(), QByteArray());

    QTest::mouseClick(control<QPushButton>("Connect"), Qt::LeftButton);
    const auto *const pane = control<QPlainTextEdit>("CmdWin");
    QTRY_VERIFY(pane->toPlainText().contains(QLatin1String("Firmware Revision  3 . 12")));
    QTcpSocket meanwhile;
    QSignalSpy meanwhileEnds(&meanwhile, &QTcpSocket::disconnected);
    meanwhile.connectToHost(QHostAddress::LocalHost, port);
    QTRY_COMPARE(meanwhileEnds.size(), 1);
    QCOMPARE(control<QPushButton>("Connect")->text(), QStringLiteral("Disconnect"));

    QTest::mouseClick(control<QPushButton>("Connect"), Qt::LeftButton); // and at once again
    QTest::mouseClick(control<QPushButton>("Connect"), Qt::LeftButton);
    QTRY_COMPARE(pane->toPlainText().count(QLatin1String("Firmware Revision  3 . 12")), 2);
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_start::hostIsSelected()
{
    Options options;
    options.host = QStringLiteral("bench-7");
    Program program(options);
    QVERIFY(!program.start());
    QVERIFY(control<QRadioButton>("CommE")->isChecked());
    QComboBox *const names = control<QComboBox>("cbNWName");
    QCOMPARE(names->currentText(), QStringLiteral("bench-7"));
    QCOMPARE(names->itemText(names->count() - 1), QStringLiteral("<New>"));
    QCOMPARE(control<QPushButton>("Connect")->text(),
             QStringLiteral("Connect")); // nobody pressed it

    // An option is for this run: the file is not touched.
    const QFileInfo file(QCoreApplication::applicationDirPath() +
                         QStringLiteral("/VLnetNames.dat"));
    QCOMPARE(file.size(), 0);
}

void tst_start::unsignedWords_data()
{
    QTest::addColumn<bool>("lifted");
    QTest::newRow("limited") << false;
    QTest::newRow("lifted") << true;
}

/// The option reaches the windows: the gateway's vendor ID is 0x8087.
void tst_start::unsignedWords()
{
    QFETCH(bool, lifted);
    Options options;
    options.simulatedModel = 2;
    options.devices = QStringList(QStringLiteral("gateway"));
    options.connect = true;
    options.unsignedWords = lifted;
    Program program(options);
    QVERIFY(!program.start());
    QTRY_VERIFY(control<QPushButton>("USBReset")->isEnabled());

    control<QAction>("UtilDV")->trigger();
    auto *const viewer = control<QWidget>("GetDescForm");
    viewer->findChild<QLineEdit *>(QStringLiteral("DevAddr"))->setFocus();
    QTest::keyClick(viewer->focusWidget(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(viewer->focusWidget(), QStringLiteral("6"));
    viewer->findChild<QPushButton *>(QStringLiteral("GetDesc"))->click();
    if (lifted) {
        QTRY_VERIFY(control<QPlainTextEdit>("DescInfo")
                        ->toPlainText()
                        .endsWith(QLatin1String("      --- Successful\n")));
        QVERIFY(control<QPlainTextEdit>("DescInfo")
                    ->toPlainText()
                    .contains(QLatin1String("\n idVendor = 0x8087\n")));
    } else {
        QTRY_VERIFY(viewer->findChild<QMessageBox *>());
        QCOMPARE(viewer->findChild<QMessageBox *>()->text(), QStringLiteral("Overflow"));
    }
}

VANTREL_WINDOW_TEST(tst_start)
#include "tst_start.moc"
