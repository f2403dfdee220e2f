// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/BuiltInDevices.h"
#include "simulator/Talk.h"
#include "support/TestProgram.h"

#include <QTest>

#include <functional>

using namespace vantrel::test;
using namespace vantrel::simulator;

/// What the tester says unasked: on demand, and when something happens on the bus.
class tst_testerreports : public QObject
{
    Q_OBJECT

private slots:
    void onDemand_data();
    void onDemand();
    void connectOfNobody();
    void rawBytes();
    void silentUntilAutomatic();
    void automaticReportsOnce();
    void attachAndDetach();
    void vbus();
    void overload();
    void movedDevice();
    void nothingWithoutAutomaticMode();
    void replyComesFirst();
    void packetsAreTold();

private:
    const QByteArray m_keyboardCame = packet("90 00 02 00 f305 0700"_hex);
    const QByteArray m_phoneCame = packet("90 00 03 00 ce0f 6601"_hex);
    const QByteArray m_keyboardWent = packet("90 01 02"_hex);
    const QByteArray m_phoneWent = packet("90 01 03"_hex);
    const QByteArray m_configured = packet("87"_hex);
};

using Action = std::function<void(Tester &)>;

void tst_testerreports::onDemand_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const Action &action, const QByteArray &body) {
        QTest::newRow(name) << action << body;
    };
    row(
        "connect", [](Tester &t) { t.reportConnect(3); }, "90 00 03 00 ce0f 6601"_hex);
    row(
        "disconnect", [](Tester &t) { t.reportDisconnect(0x1B); }, "90 01 1b1b"_hex);
    row(
        "status", [](Tester &t) { t.reportStatus(1, 2, 0x0103); }, "91 01 02 0301"_hex);
    row(
        "data", [](Tester &t) { t.reportData(2, 0x81, "001b"_hex); }, "92 02 81 001b1b"_hex);
    row(
        "no data", [](Tester &t) { t.reportData(2, 0x81, {}); }, "92 02 81"_hex);
    row(
        "device error", [](Tester &t) { t.reportDeviceError(2, 0x82, 0x0E); }, "93 02 82 0e"_hex);
    row(
        "fail", [](Tester &t) { t.reportFail(); }, "94"_hex);
    row(
        "command error", [](Tester &t) { t.reportCommandError(); }, "95"_hex);
    row(
        "trigger", [](Tester &t) { t.reportTrigger(3); }, "96 03"_hex);
    row(
        "load error", [](Tester &t) { t.reportScriptLoadError(); }, "97"_hex);
    row(
        "script step", [](Tester &t) { t.reportScript(0x1B2A, "8d"_hex); }, "a0 1b1b2a 8d"_hex);
    row(
        "message", [](Tester &t) { t.reportMessage("0102"_hex); }, "a8 0102"_hex);
    row(
        "transfer reply", [](Tester &t) { t.reportDeviceTransfer(0, "55"_hex); }, "89 00 55"_hex);
    row(
        "block running", [](Tester &t) { t.reportBlockTransferStatus(0); }, "b8 00 00"_hex);
    row(
        "block complete", [](Tester &t) { t.reportBlockTransferStatus(1, 0x0E, "aabb"_hex); },
        "b8 01 0e aabb"_hex);
    row(
        "block transfer", [](Tester &t) { t.reportBlockTransfer(); }, "b9"_hex);
    row(
        "block stopped", [](Tester &t) { t.reportStopBlockTransfer(); }, "ba"_hex);
    row(
        "any body", [](Tester &t) { t.sendPacket("86 1b"_hex); }, "86 1b1b"_hex);
    row(
        "no body", [](Tester &t) { t.sendPacket({}); }, QByteArray());
}

void tst_testerreports::onDemand()
{
    QFETCH(Action, action);
    QFETCH(QByteArray, body);
    Talk talk;
    action(talk.tester());
    QCOMPARE(talk.writes, QList<QByteArray>{packet(body)});
}

void tst_testerreports::connectOfNobody()
{
    Talk talk;
    QVERIFY(!talk.tester().reportConnect(9));
    QCOMPARE(talk.take(), QByteArray());
}

void tst_testerreports::rawBytes()
{
    Talk talk;
    talk.tester().sendRaw("1b53 88 1b"_hex);
    QCOMPARE(talk.writes, QList<QByteArray>{"1b53 88 1b"_hex});
}

void tst_testerreports::silentUntilAutomatic()
{
    Talk talk;
    QCOMPARE(talk.take(), QByteArray());
    QCOMPARE(talk.ask("07 00 01"_hex), m_configured + m_keyboardCame + m_phoneCame);
}

void tst_testerreports::automaticReportsOnce()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("07 00 01"_hex), m_configured); // another set-up
    QCOMPARE(talk.ask("08"_hex), packet("88"_hex));
    QCOMPARE(talk.ask("07 00 00"_hex), m_configured);
    QCOMPARE(talk.ask("07 00 01"_hex), m_configured + m_keyboardCame + m_phoneCame);
}

void tst_testerreports::attachAndDetach()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    auto phone = talk.tester().detach(3);
    QCOMPARE(talk.take(), m_phoneWent);
    talk.tester().detach(3);
    QCOMPARE(talk.take(), QByteArray());
    talk.tester().attach(std::move(phone), 0x1B);
    QCOMPARE(talk.take(), packet("90 00 1b1b 00 ce0f 6601"_hex));
}

void tst_testerreports::vbus()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("02 00"_hex), packet("82"_hex) + m_keyboardWent + m_phoneWent);
    talk.tester().detach(2); // nobody sees it
    QCOMPARE(talk.take(), QByteArray());
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex) + m_phoneCame);
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex));
}

void tst_testerreports::overload()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    talk.ask("07 02 01"_hex);
    talk.tester().overloadVbus();
    QCOMPARE(talk.take(), m_keyboardWent + m_phoneWent);
    talk.tester().clock().advance(Tester::RecoveryTime);
    QCOMPARE(talk.take(), m_keyboardCame + m_phoneCame);
}

void tst_testerreports::movedDevice()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    QCOMPARE(talk.ask("01 03 00 05 0900 0000 0000"_hex), packet("81 00"_hex));
    talk.tester().detach(9);
    QCOMPARE(talk.take(), packet("90 01 09"_hex));
}

void tst_testerreports::nothingWithoutAutomaticMode()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    talk.ask("07 00 00"_hex);
    const auto phone = talk.tester().detach(3);
    talk.tester().attach(findBuiltInDevice(QStringLiteral("phone"))->make(), 4);
    QCOMPARE(talk.take(), QByteArray());
    QCOMPARE(talk.ask("02 00"_hex), packet("82"_hex));
    QCOMPARE(talk.ask("02 01"_hex), packet("82"_hex));
}

void tst_testerreports::replyComesFirst()
{
    Talk talk;
    talk.ask("07 00 01"_hex);
    talk.ask("02 00"_hex);
    talk.tester().receive(packet("02 01"_hex) + packet("0b"_hex));
    QCOMPARE(talk.writes, (QList<QByteArray>{packet("82"_hex), m_keyboardCame, m_phoneCame,
                                             packet("8b 44"_hex)}));
}

void tst_testerreports::packetsAreTold()
{
    Talk talk;
    QList<QByteArray> received;
    QList<QByteArray> sent;
    QObject::connect(&talk.tester(), &Tester::commandReceived,
                     [&](const QByteArray &body) { received.append(body); });
    QObject::connect(&talk.tester(), &Tester::packetSent,
                     [&](const QByteArray &body) { sent.append(body); });
    talk.ask("05 1b1b"_hex);
    talk.tester().reportMessage("1b"_hex);
    QCOMPARE(received, QList<QByteArray>{"05 1b"_hex});
    QCOMPARE(sent, (QList<QByteArray>{"85"_hex, "a8 1b"_hex}));
}

VANTREL_TEST(tst_testerreports)
#include "tst_testerreports.moc"
