// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PairOperations.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const PairOperation &operation(const char *name)
{
    for (const PairOperation &each : pairOperations()) {
        if (each.name == QLatin1String(name))
            return each;
    }
    qFatal("no operation %s", name);
}

/// A connected console with all devices.
struct LinkBench : FaultBench
{
    LinkBench() : FaultBench(Windows::None)
    {
        attachPairDevices(*this);
        if (!connectNow())
            qFatal("the console does not connect");
    }

    /// Presses what starts the operation and waits for its end.
    QString doneBy(const PairOperation &operation)
    {
        if (operation.press(*this) != Press::Started)
            return QStringLiteral("not started");
        turn([&] { return operation.hasEnded(*this); }, 100);
        rest();
        return operation.outcome(*this);
    }
};

QByteArray badHexFile()
{
    return ":1000000001010101010101010101010101010101F0\r\nnot a record\r\n";
}

} // namespace

/// Windows that work over one link, in cases that the matrix of pairs does not have.
class tst_linkowners : public QObject
{
    Q_OBJECT

private slots:
    void sendDuringFtdiRead();
    void requestsKeepTheirOrder();
    void fileChosenDuringExchange_data();
    void fileChosenDuringExchange();
};

/// The words are those of the device afterwards, and so are the backup and what is programmed.
void tst_linkowners::sendDuringFtdiRead()
{
    LinkBench bench;
    const PairOperation &read = operation("FTDI read");
    const PairOperation &request = operation("device request");
    const PairOperation &program = operation("FTDI program");
    read.prepare(bench);
    request.prepare(bench);
    bench.session().RespText.clear();

    QObject context;
    int requests = 0;
    QObject::connect(bench.tester.get(), &simulator::Tester::commandReceived, &context,
                     [&](const QByteArray &body) {
                         if (body.startsWith('\x01') && ++requests % 10 == 0 && requests <= 50)
                             request.press(bench);
                     });
    QCOMPARE(bench.doneBy(read), QStringLiteral("done"));
    QCOMPARE(bench.responses().count("-- Device Request Response: Status = 00\r\n 12 01 10 01"), 5);
    QCOMPARE(bench.doneBy(program), QStringLiteral("done"));
    QCOMPARE(bench.takeBoxes(), QString());
}

/// What waits for the end of a download is sent in the order of the user's actions.
void tst_linkowners::requestsKeepTheirOrder()
{
    LinkBench bench;
    const PairOperation &download = operation("script download");
    const PairOperation &request = operation("device request");
    const PairOperation &walk = operation("descriptor walk");
    walk.prepare(bench);
    request.prepare(bench);
    bench.session().RespText.clear();
    bench.tester->clearCommandsSeen();

    QObject context;
    int received = 0;
    QObject::connect(bench.tester.get(), &simulator::Tester::commandReceived, &context, [&] {
        if (++received != 100)
            return;
        request.press(bench);
        walk.press(bench);
        bench.tools.builder.controls().Address.setText(QStringLiteral("0x09"));
        request.press(bench);
    });
    QCOMPARE(bench.doneBy(download), QStringLiteral("done"));
    QVERIFY(bench.turn([&] { return walk.hasEnded(bench); }, 1));
    bench.rest();
    QCOMPARE(walk.outcome(bench), QStringLiteral("done"));

    QByteArray addresses;
    for (const QByteArray &command : bench.tester->commandsSeen()) {
        if (command.startsWith('\x01') && !addresses.endsWith(command[1]))
            addresses += command[1];
    }
    QCOMPARE(addresses.toHex(), QByteArray("020309"));
    QVERIFY(bench.responses().contains("Status = 00\r\n 12 01 10 01 00 00 00 08 F3 05 07 00"));
    QCOMPARE(bench.responses().count("-- Device Request Response: Status = 00\r\n 12 01"), 2);
}

void tst_linkowners::fileChosenDuringExchange_data()
{
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QString>("chooser");
    for (const char *exchange : {"firmware download", "FTDI program", "FTDI read"}) {
        for (const char *chooser : {"EZ-USB load", "script download"})
            QTest::addRow("%s, %s", exchange, chooser)
                << QString::fromLatin1(exchange) << QString::fromLatin1(chooser);
    }
}

/// The file dialog was opened before the exchange began. The file that is chosen, good or bad, is
/// not read, and nothing is sent.
void tst_linkowners::fileChosenDuringExchange()
{
    QFETCH(QString, exchange);
    QFETCH(QString, chooser);
    LinkBench bench;
    const PairOperation &first = operation(qPrintable(exchange));
    const PairOperation &second = operation(qPrintable(chooser));
    first.prepare(bench);
    if (second.prepare)
        second.prepare(bench);
    const bool converts = second.name == QLatin1String("EZ-USB load");

    bench.dialogs.onChoice = [&] {
        bench.dialogs.onChoice = {};
        first.press(bench);
        bench.dialogs.paths = {bench.fileOf("bad.hex", badHexFile())};
    };
    bench.tester->clearCommandsSeen();
    QCOMPARE(second.press(bench), Press::Started);
    bench.turn([&] { return first.hasEnded(bench); }, 100);
    bench.rest();
    QCOMPARE(first.outcome(bench), QStringLiteral("done"));
    QCOMPARE(bench.takeBoxes(),
             QLatin1String(first.refusal) +
                 QStringLiteral(" is under way. Nothing was sent: try again when it has ended."));
    for (const QByteArray &command : bench.tester->commandsSeen())
        QVERIFY(!command.startsWith('\x0C')); // begins a script download
    QCOMPARE(bench.isOpen("EZUSBForm"), converts);
    QVERIFY(!converts || bench.tools.converter.controls().LoadFW.isEnabled());
    QCOMPARE(bench.standing(), QString());

    const auto connected = [&] { return bench.session().LinkState == LinkStates::Running; };
    QVERIFY(bench.turn(connected, 80));
    bench.rest();
    QCOMPARE(bench.doneBy(second), QStringLiteral("done"));
}

VANTREL_TEST(tst_linkowners)
#include "tst_linkowners.moc"
