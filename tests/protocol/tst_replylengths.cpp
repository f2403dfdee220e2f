// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/BoundedText.h"
#include "protocol/ReportText.h"
#include "support/FileSizeLimit.h"
#include "support/Hex.h"
#include "support/ProtocolBench.h"
#include "support/RecordingClient.h"
#include "support/TestProgram.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

using Client = DeviceRequests::Client;

constexpr qsizetype Largest = 65'535;

/// A request of a descriptor, for so many bytes.
QByteArray requestFor(qsizetype length)
{
    return "02 80 06 00 01 00 00"_hex + static_cast<char>(length) + static_cast<char>(length >> 8);
}

/// The data of a dump.
qsizetype dumped(const QByteArray &responses, char byte)
{
    return responses.count(QByteArray(1, byte).toHex().toUpper() + ' ');
}

struct LengthBench : ProtocolBench
{
    LengthBench()
    {
        requests.setHandler(Client::Viewer, &viewer);
        requests.setHandler(Client::Ftdi, &ftdi);
    }

    void reply(qsizetype length) { dispatch("81 00"_hex + QByteArray(length, '\x5A')); }

    RecordingClient viewer;
    RecordingClient ftdi;
};

} // namespace

/// How much of a reply is passed on and shown.
class tst_replylengths : public QObject
{
    Q_OBJECT

private slots:
    void clientsGetWhatTheyAskedFor_data();
    void clientsGetWhatTheyAskedFor();
    void repliesInOrder();
    void replyWithoutARequest();
    void shownReplies_data();
    void shownReplies();
    void reportsAreWhole_data();
    void reportsAreWhole();
    void longReportOnAFullDisk();
};

void tst_replylengths::clientsGetWhatTheyAskedFor_data()
{
    QTest::addColumn<qsizetype>("asked");
    QTest::addColumn<qsizetype>("sent");
    QTest::addColumn<qsizetype>("received");
    const auto row = [](const char *name, qsizetype asked, qsizetype sent, qsizetype received) {
        QTest::newRow(name) << asked << sent << received;
    };
    row("less", 18, 17, 17);
    row("as much", 18, 18, 18);
    row("one more", 18, 19, 18);
    row("a low byte of 0", 256, 300, 256);
    row("none", 0, 4, 0);
    row("largest", Largest, 655'350, Largest);
}

void tst_replylengths::clientsGetWhatTheyAskedFor()
{
    QFETCH(qsizetype, asked);
    QFETCH(qsizetype, sent);
    QFETCH(qsizetype, received);
    LengthBench bench;
    bench.requests.beginWalk(requestFor(asked));
    bench.reply(sent);
    QCOMPARE(bench.viewer.replies, QList{"81 00"_hex + QByteArray(received, '\x5A')});
    bench.requests.endWalk();
    bench.requests.send(Client::Ftdi, requestFor(asked));
    bench.reply(sent);
    QCOMPARE(bench.ftdi.replies, QList{"81 00"_hex + QByteArray(received, '\x5A')});
    QCOMPARE(bench.responses(), QByteArray());
}

/// Each to its own length.
void tst_replylengths::repliesInOrder()
{
    LengthBench bench;
    bench.requests.send(Client::Ftdi, requestFor(2));
    bench.requests.send(Client::Ftdi, requestFor(5));
    bench.reply(9);
    bench.reply(9);
    QCOMPARE(bench.ftdi.replies, QList({"81 00 5A 5A"_hex, "81 00 5A 5A 5A 5A 5A"_hex}));
}

/// The reply to a request of a script.
void tst_replylengths::replyWithoutARequest()
{
    LengthBench bench;
    bench.requests.beginWalk(requestFor(18));
    bench.requests.send(Client::Viewer, requestFor(8));
    bench.reply(18);
    bench.reply(8);
    bench.reply(1'000'000);
    QCOMPARE(bench.viewer.replies.size(), 3);
    QCOMPARE(bench.viewer.replies[2].size(), 2 + 8);
}

void tst_replylengths::shownReplies_data()
{
    QTest::addColumn<QByteArray>("code");
    for (const char *code : {"81", "89"})
        QTest::newRow(code) << QByteArray::fromHex(code);
}

void tst_replylengths::shownReplies()
{
    QFETCH(QByteArray, code);
    LengthBench bench;
    LogFile &log = bench.session.log;
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("log"));
    const auto logged = [&](qsizetype length) {
        if (log.open(path))
            qFatal("no log");
        bench.session.Logging = true;
        bench.dispatch(code + "00"_hex + QByteArray(length, '\x5A'));
        bench.session.Logging = false;
        log.close();
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray whole = logged(Largest);
    QCOMPARE(dumped(whole, '\x5A'), Largest);
    QVERIFY(whole.endsWith("\r\n 5A 5A 5A 5A 5A 5A 5A 5A \r\n"));

    const QByteArray oneMore = logged(Largest + 1);
    QCOMPARE(oneMore, whole + "*** Bytes not shown: 1\r\n");
    const QByteArray many = logged(1 << 24);
    QCOMPARE(many, whole + "*** Bytes not shown: 16711681\r\n");
    QVERIFY(bench.responses().endsWith(" 5A \r\n*** Bytes not shown: 16711681\r\n"));
}

/// Messages and block transfers may be longer than a transfer: shown and logged as dumps of the
/// whole.
void tst_replylengths::reportsAreWhole_data()
{
    QTest::addColumn<qsizetype>("length");
    for (const qsizetype length :
         {1, 23, 23'551, 23'552, 47'103, 47'104, 47'105, 100'000, 1'000'000})
        QTest::addRow("%lld", static_cast<long long>(length)) << length;
}

void tst_replylengths::reportsAreWhole()
{
    QFETCH(qsizetype, length);
    QByteArray data(length, '\0');
    for (qsizetype at = 0; at < length; ++at)
        data[at] = static_cast<char>(at * 7 + at / 251);
    ReportText expected;
    expected.text("*** Message -- ").dump(data).text("\r\n");
    const QByteArray whole(expected.view().data(), static_cast<qsizetype>(expected.view().size()));
    for (const bool logging : {false, true}) {
        LengthBench bench;
        QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("log")));
        QVERIFY(!bench.session.log.open(file.fileName()));
        bench.session.Logging = logging;
        bench.dispatch("A8"_hex + data);
        bench.session.log.close();
        QCOMPARE(bench.responses().right(10'000), whole.right(10'000));
        QCOMPARE(bench.session.RespText.size(),
                 whole.size() > BoundedText::Limit ? BoundedText::Limit + 10 : whole.size());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), logging ? whole : QByteArray());
        QCOMPARE(qsizetype{bench.session.LogBytes}, logging ? whole.size() : 0);
    }
}

/// The whole entry is counted, and the failure is reported once.
void tst_replylengths::longReportOnAFullDisk()
{
    LengthBench bench;
    QTemporaryDir directory;
    QVERIFY(!bench.session.log.open(directory.filePath(QStringLiteral("log"))));
    bench.session.Logging = true;
    int failures = 0;
    bench.session.logFailed = [&](const QString &) {
        ++failures;
        bench.session.Logging = false;
    };
    const FileSizeLimit disk(100'000);
    bench.dispatch("A8"_hex + QByteArray(1 << 24, '\x5A'));
    QCOMPARE(failures, 1);
    QVERIFY(bench.responses().endsWith(" 5A 5A \r\n"));
}

VANTREL_TEST(tst_replylengths)
#include "tst_replylengths.moc"
