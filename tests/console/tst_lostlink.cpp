// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray Version = "1b53 0f 1b45"_hex;
const QByteArray Vorn2Answer = "8f 02 03 0c 00 40"_hex;
const QByteArray BootstrapAnswer = "8f 82 01 00 00 40"_hex;

} // namespace

/// What the timer does once a second when nothing can be sent.
class TestLostLink : public QObject
{
    Q_OBJECT

private slots:
    void disconnectLetsGoOfExchanges();
    void goneLinkIsNotPolled_data();
    void goneLinkIsNotPolled();
    void deafTesterIsNotAsked();
    void vanishedPortIsReopened();
    void vanishedPortDuringTheFirstProbe();
    void disconnectAfterThePortVanished();
};

/// A converted script that was never run, a request that was never answered: the next connection is
/// probed all the same, and hears its own answers.
void TestLostLink::disconnectLetsGoOfExchanges()
{
    ConsoleBench bench;
    bench.run();
    bench.session.leases.beginRun();
    bench.console.requests().send(DeviceRequests::Client::Ftdi, QByteArray::fromHex("02c0"));
    QVERIFY(bench.session.FtdiActive);
    bench.console.connectClicked();
    QVERIFY(!bench.session.ScriptBusy);
    QVERIFY(!bench.session.FtdiActive);

    bench.connect();
    bench.transport().takeWritten();
    bench.second();
    QCOMPARE(bench.transport().takeWritten(), QByteArray::fromHex("1b530f1b45"));
}

void TestLostLink::goneLinkIsNotPolled_data()
{
    QTest::addColumn<bool>("network");
    QTest::addColumn<bool>("bootstrap");
    QTest::newRow("serial, running") << false << false;
    QTest::newRow("serial, bootstrap") << false << true;
    QTest::newRow("network, running") << true << false;
    QTest::newRow("network, bootstrap") << true << true;
}

/// It has been told already, or needs no telling: the steps go on without a word about it.
void TestLostLink::goneLinkIsNotPolled()
{
    QFETCH(bool, network);
    QFETCH(bool, bootstrap);

    ConsoleBench bench;
    bench.connect(network);
    bench.second();
    bench.answer(bootstrap ? BootstrapAnswer : Vorn2Answer);
    bench.transport().takeWritten();
    QCOMPARE(bench.session.StatusSeen, true);
    bench.transport().vanish();
    bench.transport().openError = QStringLiteral("gone");
    const QString pane = bench.main.CmdWin.text();

    bench.second();
    QCOMPARE(bench.session.StatusSeen, false);
    QCOMPARE(int(bench.session.LinkState), bootstrap ? 4 : 3);
    QCOMPARE(bench.main.CmdWin.text(), pane);
    bench.second();
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.second();
    QCOMPARE(bench.main.CmdWin.text(), pane + QLatin1String("\r\nConnecting..."));
    QCOMPARE(bench.transport().written, QList<QByteArray>());
}

void TestLostLink::deafTesterIsNotAsked()
{
    ConsoleBench bench;
    bench.run();
    bench.serial->heldUp = VornComm::UnsentLimit;
    const QString pane = bench.main.CmdWin.text();
    bench.second();
    bench.second();
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.tick(30);
    QCOMPARE(bench.main.CmdWin.text(), pane + QLatin1String("\r\nConnecting..."));
    QCOMPARE(bench.serial->written, QList<QByteArray>());

    bench.serial->heldUp = VornComm::UnsentLimit - 1; // it has begun to read
    bench.second();
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
}

void TestLostLink::vanishedPortIsReopened()
{
    ConsoleBench bench;
    bench.run();
    bench.tick(20);
    QCOMPARE(int(bench.session.LinkState), 2);
    bench.serial->takeWritten();
    bench.serial->vanish();
    bench.serial->openError = QStringLiteral("No such file or directory");
    const QString pane = bench.main.CmdWin.text();

    bench.tick(30); // away for three probes
    QCOMPARE(bench.serial->opened.size(), 4);
    for (const Endpoint &endpoint : bench.serial->opened)
        QCOMPARE(endpoint.address, QLatin1String("/dev/serial1"));
    QCOMPARE(bench.serial->written, QList<QByteArray>());
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.main.CmdWin.text(), pane);
    QCOMPARE(int(bench.session.LinkState), 2);

    bench.serial->openError.reset(); // back
    bench.second();
    QCOMPARE(bench.serial->opened.size(), 5);
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    QCOMPARE(bench.serial->opened.last().settings, bench.console.link().lineSettings());
    bench.answer(Vorn2Answer);
    QCOMPARE(int(bench.session.LinkState), 3);
    bench.tick(10);
    QCOMPARE(bench.serial->opened.size(), 5);
}

void TestLostLink::vanishedPortDuringTheFirstProbe()
{
    ConsoleBench bench;
    bench.connect();
    bench.serial->vanish();
    bench.second();
    QCOMPARE(bench.serial->opened.size(), 2);
    QCOMPARE(bench.serial->written, QList<QByteArray>{Version});
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestLostLink::disconnectAfterThePortVanished()
{
    ConsoleBench bench;
    bench.run();
    bench.serial->vanish();
    bench.serial->openError = QStringLiteral("No such file or directory");
    bench.tick(40);
    bench.console.connectClicked();
    QCOMPARE(int(bench.session.LinkState), 0);
    QCOMPARE(bench.main.Connect.text(), QLatin1String("Connect"));
    const qsizetype opened = bench.serial->opened.size();
    bench.tick(40);
    QCOMPARE(bench.serial->opened.size(), opened);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

VANTREL_TEST(TestLostLink)
#include "tst_lostlink.moc"
