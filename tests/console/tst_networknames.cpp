// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NamesBench.h"
#include "support/ConsoleBench.h"
#include "support/TestProgram.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString NewEntry = QStringLiteral("<New>");
const QByteArray Legal = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-.";

} // namespace

/// The network names: file, list and dialog.
class TestNetworkNames : public QObject
{
    Q_OBJECT

private slots:
    void parse_data();
    void parse();
    void loadsInFileOrder();
    void loadsAgain();
    void missingFile();
    void enabledOnlyAfterTheBox();
    void unreadableFile();
    void fileCannotBeCreated();
    void add();
    void addTwice();
    void addEmpty();
    void everyLegalCharacter();
    void illegal_data();
    void illegal();
    void everyOtherCharacterIsIllegal();
    void dialogWaitsForTheBox();
    void fileCannotBeWritten();
    void addedNamesAreThereNextTime();
    void deletedFile();
    void choosing();
    void newIsNotAHost();
    void cancelNew();
    void offer();
    void consoleUsesTheChosenName();
    void consoleAsksForTheDialog();
};

void TestNetworkNames::parse_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QStringList>("entries");

    const auto row = [](const char *name, const QByteArray &contents, const QStringList &entries) {
        QTest::newRow(name) << contents << entries;
    };
    row("empty", "", {});
    row("one", "tester\r\n", listOf({"tester"}));
    row("two", "tester-7.lab\r\n10.0.0.7\r\n", listOf({"tester-7.lab", "10.0.0.7"}));
    row("duplicates", "a\r\nb\r\na\r\n", listOf({"a", "b", "a"}));
    row("empty line", "a\r\n\r\nb\r\n", listOf({"a", "", "b"}));
    row("only an empty line", "\r\n", listOf({""}));
    row("no last line end", "a\r\nb", listOf({"a", "b"}));
    row("line feeds alone", "a\nb\n", listOf({"a", "b"}));
    row("commas", "a,b\r\nc\r\n", listOf({"a", "b", "c"}));
    row("leading blanks", "  a\r\n b, c\r\n", listOf({"a", "b", "c"}));
    row("quotes", "\"a\"\r\n\"b\"\r\n", listOf({"a", "b"}));
    row("comma inside quotes", "\"a,b\"\r\nc\r\n", listOf({"a,b", "c"}));
    row("blanks inside quotes", "\" a b \"\r\n", listOf({" a b "}));
    row("blanks before quotes", "  \"a\",\"b\"\r\n", listOf({"a", "b"}));
    row("quote without end", "\"a", listOf({"a"}));
    row("one byte a character", "\xC4\r\n", {QString::fromLatin1("\xC4")});
}

void TestNetworkNames::parse()
{
    QFETCH(QByteArray, contents);
    QFETCH(QStringList, entries);

    QCOMPARE(NetworkNames::parse(contents), entries);
}

void TestNetworkNames::loadsInFileOrder()
{
    NamesBench bench("zeta\r\n10.0.0.7\r\nalpha\r\nzeta\r\n");
    QCOMPARE(bench.cbNWName.items(), listOf({"zeta", "10.0.0.7", "alpha", "zeta", "<New>"}));
    QVERIFY(bench.cbNWName.isEnabled());
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.session.RemoteHost, QString());
}

void TestNetworkNames::loadsAgain()
{
    NamesBench bench("a\r\n");
    write(bench.path, "b\r\n");
    bench.load();
    QCOMPARE(bench.cbNWName.items(), listOf({"b", "<New>"}));
}

void TestNetworkNames::missingFile()
{
    NamesBench bench;
    QVERIFY(QFile::remove(bench.path));
    bool existsAtTheBox = true;
    bench.dialogs.onMessage = [&] { existsAtTheBox = QFile::exists(bench.path); };

    QCOMPARE(bench.load(), QString());

    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("Creating Network Name File"));
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel Initialization"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::Ok);
    QVERIFY(!existsAtTheBox);
    QCOMPARE(contentsOf(bench.path), QByteArray());
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});

    bench.load(); // there now
    QCOMPARE(bench.dialogs.messages.size(), 1);
}

void TestNetworkNames::enabledOnlyAfterTheBox()
{
    NamesBench bench;
    QVERIFY(QFile::remove(bench.path));
    bench.cbNWName.setEnabled(false);
    bench.dialogs.holdAnswers = true;
    bench.load();
    QVERIFY(!bench.cbNWName.isEnabled());
    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.cbNWName.isEnabled());
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
}

void TestNetworkNames::unreadableFile()
{
    NamesBench bench("a\r\n");
    QVERIFY(QFile::remove(bench.path));
    QVERIFY(QDir().mkdir(bench.path));
    QCOMPARE(bench.load(), QLatin1String("Not a regular file: ") + bench.path);
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
    QVERIFY(bench.cbNWName.isEnabled());
}

void TestNetworkNames::fileCannotBeCreated()
{
    NamesBench bench;
    bench.path += QLatin1String("/a file in place of a directory");
    QCOMPARE(bench.load(), QLatin1String("Not a directory: ") + bench.path);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("Creating Network Name File"));
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
    QVERIFY(bench.cbNWName.isEnabled());
}

void TestNetworkNames::add()
{
    NamesBench bench("first\r\n");
    const Outcome<bool> outcome = bench.add(QStringLiteral("tester-7.lab"));
    QCOMPARE(outcome.value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("first\r\ntester-7.lab\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"first", "tester-7.lab", "<New>"}));
    QCOMPARE(bench.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("tester-7.lab"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("tester-7.lab"));
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.tcp->opened.size(), 0); // the connection is Connect's
}

void TestNetworkNames::addTwice()
{
    NamesBench bench;
    bench.add(QStringLiteral("a"));
    bench.add(QStringLiteral("b"));
    bench.add(QStringLiteral("a"));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\nb\r\na\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "b", "a", "<New>"}));
    QCOMPARE(bench.cbNWName.index(), 2);
}

void TestNetworkNames::addEmpty()
{
    NamesBench bench("a\r\n");
    bench.choose(0);
    const Outcome<bool> outcome = bench.add(QString());
    QCOMPARE(outcome.value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\n\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "", "<New>"}));
    QCOMPARE(bench.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QString());
    QCOMPARE(bench.link.remoteHost(), QString());
}

void TestNetworkNames::everyLegalCharacter()
{
    NamesBench bench;
    for (const char character : Legal) {
        const Outcome<bool> outcome = bench.add(QString(QLatin1Char(character)));
        QCOMPARE(outcome.value, std::optional(true));
    }
    QCOMPARE(bench.add(QString::fromLatin1(Legal)).value, std::optional(true));
    QCOMPARE(bench.cbNWName.items().size(), 64 + 1 + 1);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestNetworkNames::illegal_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *name, const QString &typed, const QString &character) {
        QTest::newRow(name) << typed
                            << QStringLiteral("Illegal Character in Network Name: '") + character +
                                   QStringLiteral("'");
    };
    row("blank between words", QStringLiteral("two words"), QStringLiteral(" "));
    row("blank in front, not trimmed", QStringLiteral(" tester"), QStringLiteral(" "));
    row("blank behind, not trimmed", QStringLiteral("tester "), QStringLiteral(" "));
    row("comma", QStringLiteral("a,b"), QStringLiteral(","));
    row("quote", QStringLiteral("\"a\""), QStringLiteral("\""));
    row("apostrophe", QStringLiteral("it's"), QStringLiteral("'"));
    row("the first is reported", QStringLiteral("a_b c"), QStringLiteral("_"));
    row("colon of a port", QStringLiteral("10.0.0.7:7"), QStringLiteral(":"));
    row("<New>", QStringLiteral("<New>"), QStringLiteral("<"));
    row("umlaut", QStringLiteral("pr\u00FCfer"), QStringLiteral("\u00FC"));
    row("full-width digit", QStringLiteral("\uFF11"), QStringLiteral("\uFF11"));
    row("beyond 16 bits", QStringLiteral("a\U0001F600"), QStringLiteral("\U0001F600"));
    row("line end", QStringLiteral("a\r\nb"), QStringLiteral("\r"));
    row("tab", QStringLiteral("a\tb"), QStringLiteral("\t"));
}

void TestNetworkNames::illegal()
{
    QFETCH(QString, name);
    QFETCH(QString, text);

    NamesBench bench("a\r\n");
    bench.choose(0);
    const Outcome<bool> outcome = bench.add(name);
    QCOMPARE(outcome.value, std::optional(false));
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, text);
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Error Adding Network Name"));
    QCOMPARE(bench.dialogs.messages[0].buttons, Message::Buttons::Ok);
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "<New>"}));
    QCOMPARE(bench.session.RemoteHost, QLatin1String("a"));
}

void TestNetworkNames::everyOtherCharacterIsIllegal()
{
    NamesBench bench;
    for (char16_t code = 0; code < 0x180; ++code) {
        const QChar character(code);
        const bool legal = code < 0x80 && Legal.contains(static_cast<char>(code));
        if (legal && code != 0)
            continue;
        QCOMPARE(bench.add(QString(character)).value, std::optional(false));
    }
    QCOMPARE(bench.dialogs.messages.size(), 0x180 - 64);
    QCOMPARE(contentsOf(bench.path), QByteArray());
}

void TestNetworkNames::dialogWaitsForTheBox()
{
    NamesBench bench;
    bench.dialogs.holdAnswers = true;
    Outcome<bool> outcome;
    settle(bench.names.isAccepted(QStringLiteral("a b")), outcome);
    QVERIFY(!outcome.value);
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(outcome.value, std::optional(false));
}

void TestNetworkNames::fileCannotBeWritten()
{
    NamesBench bench("a\r\n");
    QVERIFY(QFile::remove(bench.path));
    QVERIFY(QDir().mkdir(bench.path));
    const Outcome<bool> outcome = bench.add(QStringLiteral("b"));
    QVERIFY(!outcome.value);
    QCOMPARE(outcome.error, QLatin1String("Not a regular file: ") + bench.path);
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "b", "<New>"})); // used for this run
    QCOMPARE(bench.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("b"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("b"));
}

void TestNetworkNames::addedNamesAreThereNextTime()
{
    NamesBench bench;
    bench.add(QStringLiteral("a"));
    bench.add(QStringLiteral("b"));
    const QByteArray contents = contentsOf(bench.path);
    NamesBench next(contents);
    QCOMPARE(next.cbNWName.items(), listOf({"a", "b", "<New>"}));
}

void TestNetworkNames::deletedFile()
{
    ConsoleBench bench;
    bench.console.names().add(QStringLiteral("a"));
    QVERIFY(QFile::remove(bench.namesFile));
    bench.console.load(bench.namesFile);
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("Creating Network Name File"));
    QCOMPARE(bench.main.cbNWName.items(), QStringList{NewEntry});
}

void TestNetworkNames::choosing()
{
    NamesBench bench("a\r\nb\r\n");
    QCOMPARE(bench.choose(1), false);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("b"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("b"));
    QCOMPARE(bench.choose(0), false);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("a"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("a"));
    QCOMPARE(bench.tcp->opened.size(), 0);
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\nb\r\n"));
}

void TestNetworkNames::newIsNotAHost()
{
    NamesBench bench("a\r\n");
    bench.choose(0);
    QCOMPARE(bench.choose(1), true);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("a"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("a"));
}

void TestNetworkNames::cancelNew()
{
    NamesBench bench("a\r\nb\r\n");
    bench.choose(1);
    QVERIFY(bench.choose(2));
    bench.names.cancelNew();
    QCOMPARE(bench.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("b"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "b", "<New>"}));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\nb\r\n"));
}

void TestNetworkNames::offer()
{
    NamesBench bench("a\r\n");
    bench.names.offer(QStringLiteral("127.0.0.1"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "127.0.0.1", "<New>"}));
    QCOMPARE(bench.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("127.0.0.1"));
    QCOMPARE(bench.link.remoteHost(), QLatin1String("127.0.0.1"));

    bench.names.offer(QStringLiteral("a")); // there already
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "127.0.0.1", "<New>"}));
    QCOMPARE(bench.cbNWName.index(), 0);
    QCOMPARE(bench.link.remoteHost(), QLatin1String("a"));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\n"));
}

void TestNetworkNames::consoleUsesTheChosenName()
{
    ConsoleBench bench;
    write(bench.namesFile, "tester-1\r\ntester-2\r\n");
    bench.console.load(bench.namesFile);
    bench.main.cbNWName.adoptIndex(1);
    bench.console.networkNameClicked();
    bench.connect(true);
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.tcp->opened[0].address, QLatin1String("tester-2"));
    QVERIFY(!bench.main.cbNWName.isEnabled());
}

void TestNetworkNames::consoleAsksForTheDialog()
{
    ConsoleBench bench;
    QSignalSpy wanted(&bench.console, &Console::newNetworkNameWanted);
    bench.main.cbNWName.adoptIndex(0);
    bench.console.networkNameClicked();
    QCOMPARE(wanted.size(), 1);
    bench.console.names().offer(QStringLiteral("a"));
    bench.main.cbNWName.adoptIndex(0);
    bench.console.networkNameClicked();
    QCOMPARE(wanted.size(), 1);
}

VANTREL_TEST(TestNetworkNames)
#include "tst_networknames.moc"
