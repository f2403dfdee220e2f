// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/CancelToken.h"
#include "link/TesterIdentity.h"
#include "link/publicvars.h"
#include "support/TestProgram.h"

#include <QTest>

#include <utility>

using namespace vantrel;

/// Who has the link for a long exchange, and what ScriptBusy says of it.
class TestLinkLease : public QObject
{
    Q_OBJECT

private slots:
    void oneAtATime();
    void refusalNamesTheExchange_data();
    void refusalNamesTheExchange();
    void busyOnlyWhenSet();
    void released();
    void movedLeaseReleasesOnce();
    void assignedLeaseReleasesItsOwn();
    void leftBusyForTheRun();
    void runAndLeaseDoNotReleaseEachOther();
    void runningScriptPreventsFtdi();
    void endOfTheConnection();

    void tokenOfTheConnection();
    void tokenOfAWindow();
    void tokenOutlivesItsWindow();
    void identity();
};

void TestLinkLease::oneAtATime()
{
    Session session;
    std::optional<LinkLease> first = session.leases.acquire(LongExchange::EzUsbLoad);
    QVERIFY(first);
    QCOMPARE(session.leases.current(), std::optional(LongExchange::EzUsbLoad));
    QCOMPARE(session.leases.conflict(LongExchange::FtdiRead),
             std::optional(LongExchange::EzUsbLoad));
    QVERIFY(!session.leases.acquire(LongExchange::FtdiRead));
    QVERIFY(!session.leases.acquire(LongExchange::EzUsbLoad));
    QCOMPARE(session.leases.current(), std::optional(LongExchange::EzUsbLoad));
    first.reset();
    QVERIFY(!session.leases.current());
    QVERIFY(session.leases.acquire(LongExchange::FtdiRead));
}

void TestLinkLease::refusalNamesTheExchange_data()
{
    QTest::addColumn<LongExchange>("exchange");
    QTest::addColumn<QString>("name");
    QTest::newRow("script") << LongExchange::ScriptDownload << QStringLiteral("A script download");
    QTest::newRow("flash") << LongExchange::FlashDownload
                           << QStringLiteral("A script download of the flash management");
    QTest::newRow("EZ-USB") << LongExchange::EzUsbLoad << QStringLiteral("An EZ-USB firmware load");
    QTest::newRow("firmware") << LongExchange::FirmwareDownload
                              << QStringLiteral("A download of tester firmware");
    QTest::newRow("read") << LongExchange::FtdiRead << QStringLiteral("Reading an FTDI EEPROM");
    QTest::newRow("program") << LongExchange::FtdiProgram
                             << QStringLiteral("Programming an FTDI EEPROM");
    QTest::newRow("verify") << LongExchange::FtdiVerify
                            << QStringLiteral("Verifying an FTDI EEPROM");
    QTest::newRow("run") << LongExchange::ScriptRun << QStringLiteral("A script run");
}

void TestLinkLease::refusalNamesTheExchange()
{
    QFETCH(LongExchange, exchange);
    QFETCH(QString, name);

    const Message box = refusalBox(exchange);
    QCOMPARE(box.title, QStringLiteral("Vantrel - Illegal Operation"));
    QCOMPARE(box.text, name + QStringLiteral(
                                  " is under way. Nothing was sent: try again when it has ended."));
    QCOMPARE(box.buttons, Message::Buttons::Ok);
}

void TestLinkLease::busyOnlyWhenSet()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::FtdiProgram);
    QVERIFY(!session.ScriptBusy);
    lease->setBusy();
    QVERIFY(session.ScriptBusy);
    lease->clearBusy();
    QVERIFY(!session.ScriptBusy);
    QVERIFY(session.leases.current());
    lease->setBusy();
    lease.reset();
    QVERIFY(!session.ScriptBusy);
}

void TestLinkLease::released()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::ScriptDownload);
    lease->release();
    QVERIFY(!session.leases.current());
    lease->setBusy(); // no effect any more
    QVERIFY(!session.ScriptBusy);

    const std::optional<LinkLease> next = session.leases.acquire(LongExchange::EzUsbLoad);
    lease.reset();
    QCOMPARE(session.leases.current(), std::optional(LongExchange::EzUsbLoad));
}

void TestLinkLease::movedLeaseReleasesOnce()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::ScriptDownload);
    lease->setBusy();
    {
        const LinkLease moved = std::move(*lease);
        lease.reset();
        QVERIFY(session.ScriptBusy);
    }
    QVERIFY(!session.ScriptBusy);
    QVERIFY(!session.leases.current());
}

void TestLinkLease::assignedLeaseReleasesItsOwn()
{
    Session one;
    Session other;
    std::optional<LinkLease> lease = one.leases.acquire(LongExchange::ScriptDownload);
    std::optional<LinkLease> another = other.leases.acquire(LongExchange::EzUsbLoad);
    *lease = std::move(*another);
    QVERIFY(!one.leases.current());
    QVERIFY(other.leases.current());
    lease.reset();
    QVERIFY(!other.leases.current());
}

void TestLinkLease::leftBusyForTheRun()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::EzUsbLoad);
    lease->setBusy();
    lease->releaseForRun();
    QVERIFY(!session.leases.current());
    QVERIFY(session.ScriptBusy);
    session.leases.endRun();
    QVERIFY(!session.ScriptBusy);
}

void TestLinkLease::runAndLeaseDoNotReleaseEachOther()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::FirmwareDownload);
    lease->setBusy();
    session.leases.beginRun();
    session.leases.endRun();
    QVERIFY(session.ScriptBusy);
    session.leases.beginRun();
    lease.reset();
    QVERIFY(session.ScriptBusy);
    session.leases.endRun();
    QVERIFY(!session.ScriptBusy);
}

void TestLinkLease::runningScriptPreventsFtdi()
{
    Session session;
    session.Script = ScriptState::Running;
    for (const LongExchange exchange :
         {LongExchange::FtdiRead, LongExchange::FtdiProgram, LongExchange::FtdiVerify}) {
        QCOMPARE(session.leases.conflict(exchange), std::optional(LongExchange::ScriptRun));
        QVERIFY(!session.leases.acquire(exchange));
    }
    QVERIFY(session.leases.acquire(LongExchange::ScriptDownload)); // a download replaces it
    session.Script = ScriptState::Idle;
    QVERIFY(session.leases.acquire(LongExchange::FtdiRead));
}

void TestLinkLease::endOfTheConnection()
{
    Session session;
    std::optional<LinkLease> lease = session.leases.acquire(LongExchange::ScriptDownload);
    lease->setBusy();
    session.leases.beginRun();
    session.leases.endConnection();
    QVERIFY(!session.ScriptBusy);
    QVERIFY(!session.leases.current());
    lease->setBusy(); // no effect any more
    QVERIFY(!session.ScriptBusy);

    std::optional<LinkLease> next = session.leases.acquire(LongExchange::EzUsbLoad);
    next->setBusy();
    lease->clearBusy(); // of the connection before
    lease.reset();
    QVERIFY(session.ScriptBusy);
    QCOMPARE(session.leases.current(), std::optional(LongExchange::EzUsbLoad));
}

void TestLinkLease::tokenOfTheConnection()
{
    Session session;
    const CancelToken token(session);
    QVERIFY(token.isActive() && token.isLinkKept() && token.isWindowOpen());
    session.connection.cancel();
    QVERIFY(!token.isActive() && !token.isLinkKept() && token.isWindowOpen());
    QVERIFY(CancelToken(session).isActive());
}

void TestLinkLease::tokenOfAWindow()
{
    Session session;
    CancelSource window;
    const CancelToken token(session, window);
    QVERIFY(token.isActive());
    window.cancel();
    QVERIFY(!token.isActive() && token.isLinkKept() && !token.isWindowOpen());
    const CancelToken next(session, window);
    session.connection.cancel();
    QVERIFY(!next.isActive() && !next.isLinkKept() && next.isWindowOpen());
}

void TestLinkLease::tokenOutlivesItsWindow()
{
    Session session;
    std::optional<CancelSource> window(std::in_place);
    const CancelToken token(session, *window);
    window->cancel();
    window.reset();
    QVERIFY(!token.isWindowOpen());
}

void TestLinkLease::identity()
{
    Session session;
    const TesterIdentity before = currentTester(session);
    QVERIFY(before == currentTester(session));
    session.connection.cancel();
    QVERIFY(before != currentTester(session));

    const TesterIdentity unknown = currentTester(session);
    session.TesterModel = 2;
    const TesterIdentity vorn2 = currentTester(session);
    QVERIFY(unknown != vorn2);
    session.FirmwareMajor = 3;
    const TesterIdentity major = currentTester(session);
    session.FirmwareMinor = 12;
    const TesterIdentity minor = currentTester(session);
    session.TesterRamK = 64;
    QVERIFY(vorn2 != major && major != minor && minor != currentTester(session));
}

VANTREL_TEST(TestLinkLease)
#include "tst_linklease.moc"
