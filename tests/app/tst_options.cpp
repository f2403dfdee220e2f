// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Options.h"
#include "support/TestProgram.h"

#include <QTest>

#include <vector>

using namespace vantrel;

namespace {

std::variant<Options, ExitCode> parse(const QByteArray &commandLine)
{
    QList<QByteArray> words = commandLine.split(' ');
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    return parseOptions(static_cast<int>(arguments.size()), arguments.data());
}

Options parsed(const QByteArray &commandLine)
{
    const auto result = parse(commandLine);
    if (!std::holds_alternative<Options>(result))
        qFatal("refused: %s", commandLine.constData());
    return std::get<Options>(result);
}

/// The exit code of a command line that is complained about, 0 of any other.
ExitCode refusal(const QByteArray &commandLine)
{
    const auto result = parse(commandLine);
    const auto *const code = std::get_if<ExitCode>(&result);
    return code != nullptr ? *code : 0;
}

} // namespace

class tst_options : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void simulator_data();
    void simulator();
    void network();
    void serialDevices();
    void tourBringsTheSimulator();
    void devices();
    void unsignedWords();
    void refusals_data();
    void refusals();
};

void tst_options::defaults()
{
    const Options options = parsed("vantrel");
    QVERIFY(!options.simulatedModel);
    QVERIFY(!options.connect);
    QVERIFY(options.host.isEmpty());
    QCOMPARE(int{options.port}, 7);
    QVERIFY(!options.listPorts);
    QVERIFY(options.tourDirectory.isEmpty());
    QCOMPARE(options.serialDevices[0], QStringLiteral("/dev/ttyS0"));
    QCOMPARE(options.serialDevices[1], QStringLiteral("/dev/ttyS1"));
    QCOMPARE(options.serialDevices[2], QStringLiteral("/dev/ttyS2"));
    QCOMPARE(options.serialDevices[3], QStringLiteral("/dev/ttyS3"));
}

void tst_options::simulator_data()
{
    QTest::addColumn<QByteArray>("commandLine");
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("connect");

    QTest::newRow("alone") << QByteArray("vantrel --simulator") << 2 << false;
    QTest::newRow("before a flag") << QByteArray("vantrel --simulator --connect") << 2 << true;
    QTest::newRow("vorn1") << QByteArray("vantrel --simulator vorn1") << 1 << false;
    QTest::newRow("vorn2") << QByteArray("vantrel --connect --simulator vorn2") << 2 << true;
    QTest::newRow("with =") << QByteArray("vantrel --simulator=vorn1 --connect") << 1 << true;
}

void tst_options::simulator()
{
    QFETCH(QByteArray, commandLine);
    QFETCH(int, model);
    QFETCH(bool, connect);
    const Options options = parsed(commandLine);
    QCOMPARE(options.simulatedModel.value_or(0), model);
    QCOMPARE(options.connect, connect);
}

void tst_options::network()
{
    const Options options = parsed("vantrel --host bench-7.local --port 65535 --connect");
    QCOMPARE(options.host, QStringLiteral("bench-7.local"));
    QCOMPARE(int{options.port}, 65535);
    QVERIFY(options.connect);
}

void tst_options::serialDevices()
{
    const Options options = parsed("vantrel --com2 /dev/ttyUSB0 --com4 /dev/pts/9 --list-ports");
    QCOMPARE(options.serialDevices[0], QStringLiteral("/dev/ttyS0"));
    QCOMPARE(options.serialDevices[1], QStringLiteral("/dev/ttyUSB0"));
    QCOMPARE(options.serialDevices[3], QStringLiteral("/dev/pts/9"));
    QVERIFY(options.listPorts);
}

void tst_options::tourBringsTheSimulator()
{
    const Options options = parsed("vantrel --tour some/where");
    QCOMPARE(options.tourDirectory, QStringLiteral("some/where"));
    QCOMPARE(options.simulatedModel.value_or(0), 2);
}

void tst_options::devices()
{
    QVERIFY(!parsed("vantrel --simulator").devices);
    const QStringList two{QStringLiteral("mouse"), QStringLiteral("keyboard")};
    QCOMPARE(parsed("vantrel --simulator --devices mouse,2").devices, two);
    QCOMPARE(parsed("vantrel --simulator --devices none").devices, QStringList());
}

void tst_options::unsignedWords()
{
    QVERIFY(!parsed("vantrel").unsignedWords);
    QVERIFY(parsed("vantrel --unsigned-words").unsignedWords);
}

void tst_options::refusals_data()
{
    QTest::addColumn<QByteArray>("commandLine");

    QTest::newRow("model") << QByteArray("vantrel --simulator vorn3");
    QTest::newRow("device") << QByteArray("vantrel --simulator --devices toaster");
    QTest::newRow("devices of nobody") << QByteArray("vantrel --devices mouse");
    QTest::newRow("host and simulator") << QByteArray("vantrel --simulator --host bench");
    QTest::newRow("port") << QByteArray("vantrel --port 65536");
    QTest::newRow("unknown") << QByteArray("vantrel --colour");
}

void tst_options::refusals()
{
    QFETCH(QByteArray, commandLine);
    QVERIFY(refusal(commandLine) != 0);
}

VANTREL_TEST(tst_options)
#include "tst_options.moc"
