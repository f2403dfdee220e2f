// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FaultTable.h"
#include "simulator/OperatorCommands.h"
#include "simulator/Talk.h"
#include "simulator/TextValues.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel::test;
using namespace vantrel::simulator;

class tst_operatorcommands : public QObject
{
    Q_OBJECT

private slots:
    void reports_data();
    void reports();
    void bus();
    void complaints_data();
    void complaints();
    void faults_data();
    void faults();
    void badFaultValues_data();
    void badFaultValues();
    void ownCommands();
    void help();
    void numbers();
    void hex();
};

void tst_operatorcommands::reports_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *line, const QByteArray &bytes) {
        QTest::newRow(line) << QString::fromLatin1(line) << bytes;
    };
    row("status 1 2 1 3", packet("91 01 02 0301"_hex));
    row("data 2 0x81 00 01 1b", packet("92 02 81 00011b1b"_hex));
    row("data 2 0x81 00011B", packet("92 02 81 00011b1b"_hex));
    row("data 0x02 129", packet("92 02 81"_hex));
    row("error 2 0x81 14", packet("93 02 81 0e"_hex));
    row("disconnect 5", packet("90 01 05"_hex));
    row("fail", packet("94"_hex));
    row("refuse", packet("95"_hex));
    row("  trigger\t3 ", packet("96 03"_hex));
    row("message 48 69", packet("a8 4869"_hex));
    row("transfer 0 0", packet("b8 0000"_hex));
    row("transfer 1 14 aa", packet("b8 010e aa"_hex));
    row("packet ba", packet("ba"_hex));
    row("raw 1b53", "1b53"_hex);
    row("", QByteArray());
    row("   ", QByteArray());
}

void tst_operatorcommands::reports()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, bytes);
    Talk talk;
    const OperatorCommands commands(talk.tester());
    QCOMPARE(commands.run(line), QString());
    QCOMPARE(talk.take().toHex(), bytes.toHex());
}

void tst_operatorcommands::bus()
{
    Talk talk;
    const OperatorCommands commands(talk.tester());
    talk.ask("07 00 01"_hex);
    QCOMPARE(commands.run(QStringLiteral("detach 0x03")), QString());
    QCOMPARE(talk.take(), packet("90 01 03"_hex));
    QCOMPARE(commands.run(QStringLiteral("detach 3")), QStringLiteral("no device at that address"));
    QCOMPARE(commands.run(QStringLiteral("attach 3")), QString());
    QCOMPARE(talk.take(), packet("90 00 03 00 ce0f 6601"_hex));
    QCOMPARE(commands.run(QStringLiteral("attach phone")), QStringLiteral("the address is taken"));
    QCOMPARE(commands.run(QStringLiteral("attach phone 7")), QString());
    QCOMPARE(talk.take(), packet("90 00 07 00 ce0f 6601"_hex));
    QCOMPARE(commands.run(QStringLiteral("attach many-strings")), QString());
    QCOMPARE(talk.take(), packet("90 00 2a 00 0d1d 2a00"_hex));
    QCOMPARE(commands.run(QStringLiteral("detach 42")), QString());
    QCOMPARE(talk.take(), packet("90 01 2a"_hex));
    QCOMPARE(commands.run(QStringLiteral("attach toaster")), QStringLiteral("no such device"));
    commands.run(QStringLiteral("overload"));
    QCOMPARE(talk.take(), packet("90 01 02"_hex) + packet("90 01 03"_hex) + packet("90 01 07"_hex));
    commands.run(QStringLiteral("drop"));
    QCOMPARE(talk.drops, 1);
}

void tst_operatorcommands::complaints_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("answer");
    const auto row = [](const char *line, const char *answer) {
        QTest::newRow(line) << QString::fromLatin1(line) << QString::fromLatin1(answer);
    };
    row("nonsense", "no such command, try help");
    row("TRIGGER 1", "no such command, try help");
    row("trigger", "usage: trigger CHANNEL");
    row("trigger 256", "usage: trigger CHANNEL");
    row("trigger 1 2", "usage: trigger CHANNEL");
    row("trigger -1", "usage: trigger CHANNEL");
    row("trigger one", "usage: trigger CHANNEL");
    row("fail 1", "usage: fail ");
    row("data 2 0x81 0", "usage: data ADDRESS ENDPOINT HEX...");
    row("data 2", "usage: data ADDRESS ENDPOINT HEX...");
    row("message zz", "usage: message HEX...");
    row("attach", "usage: attach NAME|ADDRESS [ADDRESS]");
    row("attach phone 128", "usage: attach NAME|ADDRESS [ADDRESS]");
    row("attach phone 3 4", "usage: attach NAME|ADDRESS [ADDRESS]");
    row("detach phone", "usage: detach ADDRESS");
    row("fault", "usage: fault NAME VALUE|off");
    row("fault delay", "usage: fault NAME VALUE|off");
    row("fault delay soon", "usage: fault NAME VALUE|off");
    row("fault sleep 3", "usage: fault NAME VALUE|off");
}

void tst_operatorcommands::complaints()
{
    QFETCH(QString, line);
    QFETCH(QString, answer);
    Talk talk;
    const OperatorCommands commands(talk.tester());
    QCOMPARE(commands.run(line), answer);
    QCOMPARE(talk.take(), QByteArray());
}

namespace {

/// The faults as text, one field after the other.
QByteArray shown(const Faults &faults)
{
    const auto set = [](const CommandSet &commands) {
        QList<int> codes(commands.codes.begin(), commands.codes.end());
        std::sort(codes.begin(), codes.end());
        QByteArray text = commands.all ? "all" : "";
        for (const int code : codes)
            text += QByteArray::number(code, 16) + ' ';
        return text.trimmed();
    };
    return "silence=" + set(faults.silence) + " refusal=" + set(faults.refusal) +
           " delay=" + QByteArray::number(faults.delay) +
           " status=" + QByteArray::number(faults.deviceStatus ? *faults.deviceStatus : -1) +
           " step=" + QByteArray::number(faults.refusedStep.value_or(-1)) +
           " flash=" + set(faults.flashFailure) +
           " state=" + QByteArray::number(faults.flashState ? *faults.flashState : -1) +
           " short=" + QByteArray::number(faults.shortReply.value_or(-1)) +
           " double=" + QByteArray::number(static_cast<int>(faults.doubleReply)) +
           " garbage=" + faults.garbage.toHex() +
           " fragment=" + QByteArray::number(faults.fragment) +
           " pause=" + QByteArray::number(faults.fragmentPause) +
           " drop=" + QByteArray::number(faults.dropAfter.value_or(-1));
}

const QByteArray Healthy =
    "silence= refusal= delay=0 status=-1 step=-1 flash= state=-1 short=-1 double=0 garbage= "
    "fragment=0 pause=0 drop=-1";

} // namespace

void tst_operatorcommands::faults_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("before"); // part of the healthy text
    QTest::addColumn<QByteArray>("after");  // what it becomes
    const auto row = [](const char *line, const char *before, const char *after) {
        QTest::newRow(line) << QString::fromLatin1(line) << QByteArray(before) << QByteArray(after);
    };
    row("fault silence all", "silence=", "silence=all");
    row("fault silence 0x0e,11", "silence=", "silence=b e");
    row("fault refusal 0x31", "refusal=", "refusal=31");
    row("fault delay 1500", "delay=0", "delay=1500");
    row("fault status 0x0E", "status=-1", "status=14");
    row("fault refuse-step 300", "step=-1", "step=300");
    row("fault flash-fails all", "flash=", "flash=all");
    row("fault flash-fails 2,0x03", "flash=", "flash=2 3");
    row("fault flash-state 0", "state=-1", "state=0");
    row("fault flash-state 255", "state=-1", "state=255");
    row("fault short-reply 0", "short=-1", "short=0");
    row("fault short-reply 2", "short=-1", "short=2");
    row("fault double on", "double=0", "double=1");
    row("fault garbage 00 1b ff", "garbage=", "garbage=001bff");
    row("fault fragment 1", "fragment=0", "fragment=1");
    row("fault pause 20", "pause=0", "pause=20");
    row("fault drop-after 3", "drop=-1", "drop=3");
}

void tst_operatorcommands::faults()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    Talk talk;
    const OperatorCommands commands(talk.tester());
    QCOMPARE(shown(talk.tester().faults()), Healthy);
    QCOMPARE(commands.run(line), QString());
    QCOMPARE(shown(talk.tester().faults()), QByteArray(Healthy).replace(before, after));
    const QString off = line.section(QLatin1Char(' '), 0, 1) + QStringLiteral(" off");
    QCOMPARE(commands.run(off), QString());
    QCOMPARE(shown(talk.tester().faults()), Healthy);
}

void tst_operatorcommands::badFaultValues_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("value");
    const auto row = [](const char *fault, const char *value) {
        QTest::addRow("%s %s", fault, value)
            << QString::fromLatin1(fault) << QString::fromLatin1(value);
    };
    row("silence", "");
    row("silence", "256");
    row("silence", "1,,2");
    row("refusal", "everything");
    row("delay", "-1");
    row("delay", "3600001");
    row("status", "0x100");
    row("flash-fails", "program");
    row("flash-state", "256");
    row("flash-state", "");
    row("short-reply", "-1");
    row("short-reply", "2147483648");
    row("double", "");
    row("double", "2");
    row("garbage", "");
    row("garbage", "1");
    row("garbage", "gg");
    row("fragment", "65536");
    row("pause", "1.5");
    row("drop-after", "x");
}

void tst_operatorcommands::badFaultValues()
{
    QFETCH(QString, fault);
    QFETCH(QString, value);
    Faults faults;
    QVERIFY(!findFault(fault)->set(faults, value));
    QCOMPARE(shown(faults), Healthy);
}

void tst_operatorcommands::ownCommands()
{
    Talk talk;
    OperatorCommands commands(talk.tester());
    commands.add(QStringLiteral("echo"), QStringLiteral("WORD"), QStringLiteral("say it"),
                 [](const QStringList &arguments) -> std::optional<QString> {
                     if (arguments.size() != 1)
                         return std::nullopt;
                     return arguments.first();
                 });
    QCOMPARE(commands.run(QStringLiteral("echo hello")), QStringLiteral("hello"));
    QCOMPARE(commands.run(QStringLiteral("echo")), QStringLiteral("usage: echo WORD"));
    QVERIFY(commands.run(QStringLiteral("help")).contains(QLatin1String("echo WORD")));
}

void tst_operatorcommands::help()
{
    Talk talk;
    const QString text = OperatorCommands(talk.tester()).run(QStringLiteral("help"));
    for (const FaultEntry &fault : faultTable())
        QVERIFY(text.contains(fault.name + QLatin1Char(' ') + fault.values));
    for (const char *name : {"attach", "detach", "data", "error", "trigger", "message", "keyboard"})
        QVERIFY2(text.contains(QLatin1String(name)), name);
    for (const QString &line : text.split(QLatin1Char('\n')))
        QVERIFY2(line.size() <= 100, qPrintable(line));
}

void tst_operatorcommands::numbers()
{
    QCOMPARE(parseNumber(QStringLiteral("10")), std::optional<quint32>(10));
    QCOMPARE(parseNumber(QStringLiteral("010")), std::optional<quint32>(10));
    QCOMPARE(parseNumber(QStringLiteral("0X1f")), std::optional<quint32>(31));
    QCOMPARE(parseNumber(QStringLiteral("4294967295")), std::optional<quint32>(0xFFFFFFFF));
    QCOMPARE(parseNumber(QStringLiteral("127"), 127), std::optional<quint32>(127));
    for (const char *bad : {"", "0x", "4294967296", "1f", " ", "-0x1", "1 2"})
        QVERIFY2(!parseNumber(QString::fromLatin1(bad)), bad);
    QVERIFY(!parseNumber(QStringLiteral("128"), 127));
}

void tst_operatorcommands::hex()
{
    QCOMPARE(parseHex(QString()), std::optional<QByteArray>(QByteArray()));
    QCOMPARE(parseHex(QStringLiteral("0aFF 1 b")), std::optional<QByteArray>("0aff1b"_hex));
    for (const char *bad : {"0", "0x", "0g", "aa,bb"})
        QVERIFY2(!parseHex(QString::fromLatin1(bad)), bad);
}

VANTREL_TEST(tst_operatorcommands)
#include "tst_operatorcommands.moc"
