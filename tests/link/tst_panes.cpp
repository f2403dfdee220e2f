// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/BoundedText.h"
#include "link/Utils.h"
#include "link/publicvars.h"
#include "support/FileContents.h"
#include "support/FileSizeLimit.h"
#include "support/TestProgram.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QByteArray CutMarker = "...\r\n...\r\n";

/// The response text as anyone would first write it.
QByteArray plainlyBounded(const QByteArray &text)
{
    return text.size() > 20000 ? CutMarker + text.right(20000) : text;
}

} // namespace

/// The lines of the two panes and of the log, and the link's start values.
class TestPanes : public QObject
{
    Q_OBJECT

private slots:
    void initLink();
    void startValues();
    void statusLines();
    void statusLineAppends();
    void statusLinesAreBounded();
    void statusLineLeavesTheRest();
    void responseLine();
    void responseLineWithoutLog();
    void responseLineIntoLog();
    void responseLineKeepsBytes();
    void failedLogIsTold();
    void failedLogWithoutListener();
    void cutAt20000_data();
    void cutAt20000();
    void cutAgain();
    void cutAgrees();
    void clearedTextStartsAnew();
};

void TestPanes::initLink()
{
    Session session;
    session.BaudIndex = 3;
    session.RxState = 2;

    InitLink(session);

    QCOMPARE(session.EscChar, QByteArray("\x1B"));
    QCOMPARE(session.PacketStart, QByteArray("\x1BS"));
    QCOMPARE(session.PacketEnd, QByteArray("\x1B"
                                           "E"));
    QCOMPARE(session.EscPair, QByteArray("\x1B\x1B"));
    QCOMPARE(session.BaudTable,
             (std::array<qint32, 7>{19200, 38400, 57600, 115200, 230400, 460800, 921600}));
    QCOMPARE(session.BaudIndex, qint16{0});
    QCOMPARE(session.RxState, qint16{0});
}

void TestPanes::startValues()
{
    const Session session;

    QCOMPARE(int(session.LinkState), 0);
    QCOMPARE(session.NetworkMode, false);
    QCOMPARE(session.RemoteHost, QString());
    QCOMPARE(session.TxPacket, QByteArray());
    QCOMPARE(session.RxState, qint16{0});
    QCOMPARE(session.RxPacket, QByteArray());
    QCOMPARE(session.StatusSeen, false);
    QCOMPARE(session.ScriptBusy, false);
    QCOMPARE(session.TickCount, 0);
    QCOMPARE(session.TriggerHoldoff, qint16{0});
    QCOMPARE(session.DescTimeout, qint16{0});
    QCOMPARE(session.VbusVolts, 0.0F);
    QCOMPARE(session.VbusText, QString());
    QCOMPARE(session.RespText.text(), QByteArray());
    QCOMPARE(session.RespDirty, false);
    QCOMPARE(session.Logging, false);
    QCOMPARE(session.LogBytes, 0);
    QCOMPARE(session.TesterModel, qint16{0});
    QCOMPARE(session.ScriptDone, false);
    QCOMPARE(session.ScriptError, false);
    QCOMPARE(session.DescActive, false);
    QCOMPARE(session.FtdiActive, false);
    QCOMPARE(session.FwBlockAck, false);
    QCOMPARE(session.ConfigReadDone, false);
    QCOMPARE(session.ConfigReadData, QByteArray());
    QCOMPARE(session.FlashStatus, qint16{0});
    QCOMPARE(session.FlashSlotState, qint16{0});
    QCOMPARE(session.FlashScriptName, QString());
    QCOMPARE(session.DataTimeStamps, false);
    QCOMPARE(session.MaxPacketCode, qint16{0});
    QCOMPARE(session.FullSpeedMode, false);
}

void TestPanes::statusLines()
{
    Session session;

    ShowStatusLine(session, QStringLiteral("Connecting..."));
    QCOMPARE(session.Main.CmdWin.text(), QLatin1String("\r\nConnecting..."));
    ShowStatusLine(session, QStringLiteral("Suspending"));
    QCOMPARE(session.Main.CmdWin.text(), QLatin1String("\r\nConnecting...\r\nSuspending"));
    ShowStatusLine(session, QString());
    QCOMPARE(session.Main.CmdWin.text(), QLatin1String("\r\nConnecting...\r\nSuspending\r\n"));
}

void TestPanes::statusLineAppends()
{
    Session session;
    session.Main.CmdWin.setText(QStringLiteral("before"));
    QSignalSpy appended(&session.Main.CmdWin, &Control::appended);

    ShowStatusLine(session, QStringLiteral("after"));

    QCOMPARE(session.Main.CmdWin.text(), QLatin1String("before\r\nafter"));
    QCOMPARE(appended.size(), 1);
    QCOMPARE(appended[0][0].toString(), QLatin1String("\r\nafter"));
}

void TestPanes::statusLinesAreBounded()
{
    Session session;
    QString expected;
    for (int line = 1; line <= 4999; ++line) {
        ShowStatusLine(session, QStringLiteral("line %1").arg(line));
        expected += QStringLiteral("\r\nline %1").arg(line);
    }
    QCOMPARE(session.Main.CmdWin.text(), expected); // with the empty first line 5000 lines

    for (int line = 5000; line <= 50'000; ++line)
        ShowStatusLine(session, QStringLiteral("line %1").arg(line));
    const QString text = session.Main.CmdWin.text();
    QVERIFY(text.startsWith(QLatin1String("line 45001\r\n")));
    QVERIFY(text.endsWith(QLatin1String("\r\nline 50000")));
    QCOMPARE(text.count(QLatin1Char('\n')), 4999);
}

void TestPanes::statusLineLeavesTheRest()
{
    Session session;
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.log"));
    QVERIFY(!session.log.open(path));
    session.Logging = true;

    ShowStatusLine(session, QStringLiteral("Suspending"));

    QVERIFY(session.log.close());
    QCOMPARE(contentsOf(path), QByteArray());
    QCOMPARE(session.LogBytes, 0);
    QCOMPARE(session.RespText.text(), QByteArray());
    QCOMPARE(session.RespDirty, false);
}

void TestPanes::responseLine()
{
    Session session;

    ShowResponseLine(session, "one");
    QCOMPARE(session.RespText.text(), QByteArray("one\r\n"));
    QCOMPARE(session.RespDirty, true);
    ShowResponseLine(session, "two\r\nthree");
    QCOMPARE(session.RespText.text(), QByteArray("one\r\ntwo\r\nthree\r\n"));
    ShowResponseLine(session, "");
    QCOMPARE(session.RespText.text(), QByteArray("one\r\ntwo\r\nthree\r\n\r\n"));
    QCOMPARE(session.Main.RespWin.text(), QString()); // the pane follows at the next tick
}

void TestPanes::responseLineWithoutLog()
{
    Session session;
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.log"));
    QVERIFY(!session.log.open(path));
    session.LogBytes = 7;

    ShowResponseLine(session, "*** Vorn Fail ");

    QVERIFY(session.log.close());
    QCOMPARE(contentsOf(path), QByteArray());
    QCOMPARE(session.LogBytes, 7);
    QCOMPARE(session.Main.LogSizeInfo.text(), QString());
}

void TestPanes::responseLineIntoLog()
{
    Session session;
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.log"));
    QVERIFY(!session.log.open(path));
    session.Logging = true;
    session.LogBytes = 100;

    int failures = 0;
    session.logFailed = [&failures](const QString &) { ++failures; };

    ShowResponseLine(session, "*** Vorn Fail ");
    QCOMPARE(session.LogBytes, 116);
    QCOMPARE(session.Main.LogSizeInfo.text(), QLatin1String(" 116 Bytes"));
    ShowResponseLine(session, "one\r\ntwo");
    QCOMPARE(session.LogBytes, 126);
    QCOMPARE(session.Main.LogSizeInfo.text(), QLatin1String(" 126 Bytes"));
    ShowResponseLine(session, "");
    QCOMPARE(session.LogBytes, 128);
    QCOMPARE(session.Main.LogSizeInfo.text(), QLatin1String(" 128 Bytes"));

    QVERIFY(session.log.close());
    QCOMPARE(contentsOf(path), QByteArray("*** Vorn Fail \r\none\r\ntwo\r\n\r\n"));
    QCOMPARE(session.RespText.text(), QByteArray("*** Vorn Fail \r\none\r\ntwo\r\n\r\n"));
    QCOMPARE(failures, 0);
}

void TestPanes::responseLineKeepsBytes()
{
    Session session;
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.log"));
    QVERIFY(!session.log.open(path));
    session.Logging = true;
    const char line[] = {'\0', '\x1B', '\x80', '\xFF'};

    ShowResponseLine(session, {line, sizeof line});

    QVERIFY(session.log.close());
    QCOMPARE(contentsOf(path), QByteArray::fromHex("001b80ff0d0a"));
    QCOMPARE(session.RespText.text(), QByteArray::fromHex("001b80ff0d0a"));
    QCOMPARE(session.LogBytes, 6);
}

void TestPanes::failedLogIsTold()
{
    Session session;
    const QTemporaryDir directory;
    QVERIFY(!session.log.open(directory.filePath(QStringLiteral("a.log"))));
    const FileSizeLimit full(0);
    session.Logging = true;
    QStringList reasons;
    session.logFailed = [&](const QString &reason) {
        reasons.append(reason);
        session.Logging = false;
    };

    ShowResponseLine(session, std::string(1'000'000, 'x')); // more than is ever gathered
    ShowResponseLine(session, "after");

    QCOMPARE(reasons, QStringList{QStringLiteral("File too large")});
    QVERIFY(session.RespText.text().endsWith("xx\r\nafter\r\n"));
    QCOMPARE(session.LogBytes, 1'000'002);
}

void TestPanes::failedLogWithoutListener()
{
    Session session;
    const QTemporaryDir directory;
    QVERIFY(!session.log.open(directory.filePath(QStringLiteral("a.log"))));
    const FileSizeLimit full(0);
    session.Logging = true;

    ShowResponseLine(session, std::string(1'000'000, 'x'));

    QVERIFY(session.RespText.text().endsWith("xx\r\n"));
}

void TestPanes::cutAt20000_data()
{
    QTest::addColumn<qsizetype>("lineLength");
    QTest::addColumn<bool>("cut");

    QTest::newRow("19999 characters") << qsizetype{19997} << false;
    QTest::newRow("20000 characters") << qsizetype{19998} << false;
    QTest::newRow("20001 characters") << qsizetype{19999} << true;
    QTest::newRow("20002 characters") << qsizetype{20000} << true;
    QTest::newRow("40000 characters") << qsizetype{39998} << true;
    QTest::newRow("40001 characters") << qsizetype{39999} << true;
    QTest::newRow("100000 characters") << qsizetype{99998} << true;
}

void TestPanes::cutAt20000()
{
    QFETCH(qsizetype, lineLength);
    QFETCH(bool, cut);

    QByteArray line(lineLength, 'x');
    for (qsizetype i = 0; i < line.size(); ++i)
        line[i] = static_cast<char>('a' + i % 26);
    Session session;

    ShowResponseLine(session, {line.constData(), static_cast<size_t>(line.size())});

    const QByteArray whole = line + "\r\n";
    QCOMPARE(session.RespText.text(), cut ? CutMarker + whole.right(20000) : whole);
    QCOMPARE(session.RespText.size(), session.RespText.text().size());
}

void TestPanes::cutAgain()
{
    Session session;
    ShowResponseLine(session, std::string(19999, 'x'));
    QCOMPARE(session.RespText.size(), qsizetype{20010});

    ShowResponseLine(session, "next");

    QCOMPARE(session.RespText.text(), CutMarker + QByteArray(19992, 'x') + "\r\nnext\r\n");
}

void TestPanes::cutAgrees()
{
    QRandomGenerator random(20000);
    Session session;
    QByteArray expected;

    for (int line = 0; line < 3000; ++line) {
        const int length = random.bounded(10) == 0 ? random.bounded(3000) : random.bounded(80);
        const QByteArray text(length, static_cast<char>(random.bounded(256)));
        ShowResponseLine(session, {text.constData(), static_cast<size_t>(text.size())});
        expected = plainlyBounded(expected + text + "\r\n");
        QCOMPARE(session.RespText.size(), expected.size());
        if (line % 50 == 0)
            QCOMPARE(session.RespText.text(), expected);
    }
    QCOMPARE(session.RespText.text(), expected);
}

void TestPanes::clearedTextStartsAnew()
{
    BoundedText text;
    text.append(std::string(30000, 'x'));
    text.clear();
    QCOMPARE(text.text(), QByteArray());
    QCOMPARE(text.size(), qsizetype{0});

    text.append("short");
    QCOMPARE(text.text(), QByteArray("short"));
    QCOMPARE(text.size(), qsizetype{5});
}

VANTREL_TEST(TestPanes)
#include "tst_panes.moc"
