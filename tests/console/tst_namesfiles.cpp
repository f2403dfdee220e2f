// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NamesBench.h"
#include "support/ConsoleBench.h"
#include "support/FileSizeLimit.h"
#include "support/TestProgram.h"

#include <QDir>

using namespace vantrel;
using namespace vantrel::test;

namespace {

const QString NewEntry = QStringLiteral("<New>");

/// A user without a file, and three places where an administrator may provide one.
struct SharedBench : NamesBench
{
    SharedBench()
    {
        path = directory.filePath(QStringLiteral("data/made on demand/VLnetNames.dat"));
        for (const char *name : {"first", "second", "third"})
            sharedPaths.append(directory.filePath(QString::fromLatin1(name)));
    }
    bool hasOwnDirectory() const { return QFileInfo::exists(QFileInfo(path).path()); }
};

/// Sets an environment variable while it lives.
class Environment
{
public:
    Environment(const char *name, const QByteArray &value) : m_name(name), m_previous(qgetenv(name))
    {
        qputenv(name, value);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment()
    {
        if (m_previous.isNull())
            qunsetenv(m_name);
        else
            qputenv(m_name, m_previous);
    }

private:
    const char *m_name;
    QByteArray m_previous;
};

/// A console that waits at the box about the missing names file.
struct WaitingConsole : ConsoleBench
{
    WaitingConsole() : ConsoleBench(Start::Bare)
    {
        dialogs.holdAnswers = true;
        console.load(namesFile);
    }
};

} // namespace

/// The files behind the list of network names: the user's own and those for all users.
class TestNamesFiles : public QObject
{
    Q_OBJECT

private slots:
    void besideTheProgram();
    void directoryCannotBeWritten();
    void installedProgram();
    void sharedFiles();
    void sharedFilesByDefault();
    void ownFileAlone();
    void firstSharedFile();
    void unreadableSharedFileIsSkipped();
    void noSharedFileCanBeRead();
    void unreadableOwnFile();
    void noListAtAll();
    void fileAppearsDuringTheBox();
    void addToSharedList_data();
    void addToSharedList();
    void addTwiceToSharedList();
    void offeredNameIsNotWritten();
    void ownFileAppears();
    void unterminatedLastEntry_data();
    void unterminatedLastEntry();
    void ownListIsWrittenWholeOrNotAtAll();
    void offerDuringTheBox();
    void offerDuringTheBoxOfAnEntry();
    void connectDuringTheBox();
    void disconnectDuringTheBox();
};

void TestNamesFiles::besideTheProgram()
{
    QTemporaryDir program;
    QTemporaryDir data;
    QCOMPARE(NetworkNames::filePath(program.path(), data.path()),
             program.path() + QLatin1String("/VLnetNames.dat"));
    QVERIFY(QDir(program.path()).isEmpty()); // trying leaves nothing behind
    QVERIFY(QDir(data.path()).isEmpty());
}

void TestNamesFiles::directoryCannotBeWritten()
{
    QTemporaryDir data;
    const QString directory = data.filePath(QStringLiteral("made/on demand"));
    for (const char *program : {"/proc", "/no/such/directory"})
        QCOMPARE(NetworkNames::filePath(QString::fromLatin1(program), directory),
                 directory + QLatin1String("/VLnetNames.dat"));
    QVERIFY(!QFileInfo::exists(directory)); // nothing is to be written yet
}

void TestNamesFiles::installedProgram()
{
    QTemporaryDir prefix;
    const QString program = prefix.filePath(QStringLiteral("bin"));
    const QString data = prefix.filePath(QStringLiteral("home"));
    QVERIFY(QDir().mkpath(program));
    QVERIFY(QDir().mkpath(prefix.filePath(QStringLiteral("share"))));
    write(prefix.filePath(QStringLiteral("share/vantrel")), "a file");
    QCOMPARE(NetworkNames::filePath(program, data), program + QLatin1String("/VLnetNames.dat"));

    QVERIFY(QFile::remove(prefix.filePath(QStringLiteral("share/vantrel"))));
    QVERIFY(QDir().mkpath(prefix.filePath(QStringLiteral("share/vantrel"))));
    QCOMPARE(NetworkNames::filePath(program, data), data + QLatin1String("/VLnetNames.dat"));
    QVERIFY(QDir(program).isEmpty());
}

void TestNamesFiles::sharedFiles()
{
    const Environment configHome("XDG_CONFIG_HOME", "/user/config");
    const Environment dataHome("XDG_DATA_HOME", "/user/data");
    const Environment config("XDG_CONFIG_DIRS", "/site/config:/vendor/config");
    const Environment data("XDG_DATA_DIRS", "/site/data:/vendor/data");
    QCOMPARE(NetworkNames::sharedFiles(QStringLiteral("/program")),
             listOf({"/program/VLnetNames.dat", "/site/config/vantrel/VLnetNames.dat",
                     "/vendor/config/vantrel/VLnetNames.dat", "/site/data/vantrel/VLnetNames.dat",
                     "/vendor/data/vantrel/VLnetNames.dat"}));
}

void TestNamesFiles::sharedFilesByDefault()
{
    const Environment config("XDG_CONFIG_DIRS", "");
    const Environment data("XDG_DATA_DIRS", "");
    QCOMPARE(
        NetworkNames::sharedFiles(QStringLiteral("/program")),
        listOf({"/program/VLnetNames.dat", "/etc/xdg/vantrel/VLnetNames.dat",
                "/usr/local/share/vantrel/VLnetNames.dat", "/usr/share/vantrel/VLnetNames.dat"}));
}

void TestNamesFiles::ownFileAlone()
{
    SharedBench bench;
    write(bench.sharedPaths[0], "shared\r\n");
    bench.path = bench.directory.filePath(QStringLiteral("own"));
    for (const QByteArray &contents : {QByteArray("mine\r\n"), QByteArray()}) {
        write(bench.path, contents);
        QCOMPARE(bench.load(), QString());
        QCOMPARE(bench.cbNWName.items(), NetworkNames::parse(contents) << NewEntry);
    }
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QVERIFY(bench.add(QStringLiteral("b")).value.value_or(false));
    QCOMPARE(contentsOf(bench.path), QByteArray("b\r\n"));
}

void TestNamesFiles::firstSharedFile()
{
    SharedBench bench;
    for (int last = 2; last >= 0; --last) {
        write(bench.sharedPaths[last], "from-" + QByteArray::number(last) + "\r\nother\r\n");
        QCOMPARE(bench.load(), QString());
        QCOMPARE(bench.cbNWName.items(), QStringList({QStringLiteral("from-%1").arg(last),
                                                      QStringLiteral("other"), NewEntry}));
        QVERIFY(bench.cbNWName.isEnabled());
    }
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QVERIFY(!bench.hasOwnDirectory());
}

void TestNamesFiles::unreadableSharedFileIsSkipped()
{
    SharedBench bench;
    QVERIFY(QDir().mkdir(bench.sharedPaths[0]));
    QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), bench.sharedPaths[1]));
    write(bench.sharedPaths[2], "third\r\n");
    QCOMPARE(bench.load(), QString());
    QCOMPARE(bench.cbNWName.items(), listOf({"third", "<New>"}));
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QVERIFY(!bench.hasOwnDirectory());
}

/// An empty list of the user's own would hide the shared one for good.
void TestNamesFiles::noSharedFileCanBeRead()
{
    SharedBench bench;
    QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), bench.sharedPaths[1]));
    QVERIFY(QDir().mkdir(bench.sharedPaths[2]));
    QCOMPARE(bench.load(), QLatin1String("Input/output error: ") + bench.sharedPaths[1]);
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
    QVERIFY(bench.cbNWName.isEnabled());
    QVERIFY(!bench.hasOwnDirectory());

    QVERIFY(bench.add(QStringLiteral("mine")).value.value_or(false));
    QCOMPARE(contentsOf(bench.path), QByteArray("mine\r\n"));
}

void TestNamesFiles::unreadableOwnFile()
{
    SharedBench bench;
    write(bench.sharedPaths[0], "shared\r\n");
    QVERIFY(QDir().mkpath(bench.path));
    QCOMPARE(bench.load(), QLatin1String("Not a regular file: ") + bench.path);
    QCOMPARE(bench.dialogs.messages.size(), 0);
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
    QVERIFY(bench.cbNWName.isEnabled());
}

void TestNamesFiles::noListAtAll()
{
    SharedBench bench;
    bench.dialogs.onMessage = [&] { QVERIFY(!bench.hasOwnDirectory()); };
    QCOMPARE(bench.load(), QString());
    QCOMPARE(bench.dialogs.messages.size(), 1);
    QCOMPARE(bench.dialogs.messages[0].text, QLatin1String("Creating Network Name File"));
    QCOMPARE(bench.dialogs.messages[0].title, QLatin1String("Vantrel Initialization"));
    QCOMPARE(contentsOf(bench.path), QByteArray());
    QCOMPARE(bench.cbNWName.items(), QStringList{NewEntry});
}

/// Another instance of the program may have been used while the box was open.
void TestNamesFiles::fileAppearsDuringTheBox()
{
    NamesBench bench;
    QVERIFY(QFile::remove(bench.path));
    bench.dialogs.onMessage = [&] { write(bench.path, "elsewhere\r\n"); };
    QCOMPARE(bench.load(), QString());
    QCOMPARE(contentsOf(bench.path), QByteArray("elsewhere\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"elsewhere", "<New>"}));
}

void TestNamesFiles::addToSharedList_data()
{
    QTest::addColumn<QByteArray>("shared");
    QTest::addColumn<QByteArray>("own");

    QTest::newRow("plain") << QByteArray("a\r\nb\r\na\r\n") << QByteArray("a\r\nb\r\na\r\nnew\r\n");
    QTest::newRow("no last line end") << QByteArray("a\nb") << QByteArray("a\r\nb\r\nnew\r\n");
    QTest::newRow("empty line") << QByteArray("a\r\n\r\nb\r\n")
                                << QByteArray("a\r\n\r\nb\r\nnew\r\n");
    QTest::newRow("commas and quotes")
        << QByteArray("a,\"b\"\r\nc\"d\r\n") << QByteArray("a\r\nb\r\nc\"d\r\nnew\r\n");
    QTest::newRow("entries that need quotes")
        << QByteArray("\"a,b\"\r\n\" c\"\r\n\"d\re\"\r\n\"f\ng\"\r\n")
        << QByteArray("\"a,b\"\r\n\" c\"\r\n\"d\re\"\r\n\"f\ng\"\r\nnew\r\n");
    QTest::newRow("quote without end") << QByteArray("\"a,b") << QByteArray("\"a,b\"\r\nnew\r\n");
    QTest::newRow("one byte a character")
        << QByteArray("\xC4\r\n") << QByteArray("\xC4\r\nnew\r\n");
    QTest::newRow("no entries") << QByteArray() << QByteArray("new\r\n");
}

void TestNamesFiles::addToSharedList()
{
    QFETCH(QByteArray, shared);
    QFETCH(QByteArray, own);

    SharedBench bench;
    write(bench.sharedPaths[1], shared);
    bench.load();
    QVERIFY(!bench.hasOwnDirectory());
    QCOMPARE(bench.add(QStringLiteral("new")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), own);
    QCOMPARE(contentsOf(bench.sharedPaths[1]), shared);
    QCOMPARE(QDir(QFileInfo(bench.path).path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("new"));

    const QStringList shown = bench.cbNWName.items();
    QCOMPARE(shown, NetworkNames::parse(shared) << QStringLiteral("new") << NewEntry);
    QCOMPARE(bench.load(), QString()); // the next start
    QCOMPARE(bench.cbNWName.items(), shown);
    QCOMPARE(bench.dialogs.messages.size(), 0);
}

void TestNamesFiles::addTwiceToSharedList()
{
    SharedBench bench;
    write(bench.sharedPaths[0], "a\r\n");
    bench.load();
    bench.add(QStringLiteral("b"));
    bench.add(QStringLiteral("c"));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\nb\r\nc\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "b", "c", "<New>"}));
}

void TestNamesFiles::offeredNameIsNotWritten()
{
    SharedBench bench;
    write(bench.sharedPaths[0], "a\r\n");
    bench.load();
    bench.names.offer(QStringLiteral("127.0.0.1"));
    bench.add(QStringLiteral("b"));
    QCOMPARE(contentsOf(bench.path), QByteArray("a\r\nb\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "127.0.0.1", "b", "<New>"}));
}

void TestNamesFiles::ownFileAppears()
{
    SharedBench bench;
    write(bench.sharedPaths[0], "a\r\n");
    bench.load();
    QVERIFY(QDir().mkpath(QFileInfo(bench.path).path()));
    write(bench.path, "x\n\xC4,y\r\n"); // by another instance, or by hand
    bench.add(QStringLiteral("b"));
    QCOMPARE(contentsOf(bench.path), QByteArray("x\n\xC4,y\r\nb\r\n"));
}

void TestNamesFiles::unterminatedLastEntry_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("no line end") << QByteArray("\"a\",b") << QByteArray("\"a\",b\r\nnew\r\n");
    QTest::newRow("quoted") << QByteArray("\"a\"") << QByteArray("\"a\"\r\nnew\r\n");
    QTest::newRow("one character") << QByteArray("a") << QByteArray("a\r\nnew\r\n");
    QTest::newRow("line feed alone") << QByteArray("a\n") << QByteArray("a\nnew\r\n");
    QTest::newRow("carriage return alone") << QByteArray("a\r") << QByteArray("a\rnew\r\n");
    QTest::newRow("comma") << QByteArray("a,") << QByteArray("a,new\r\n");
    QTest::newRow("empty") << QByteArray() << QByteArray("new\r\n");
}

void TestNamesFiles::unterminatedLastEntry()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    NamesBench bench(before);
    const QStringList entries = NetworkNames::parse(before);
    QCOMPARE(bench.add(QStringLiteral("new")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), after);
    QCOMPARE(NetworkNames::parse(after), entries + listOf({"new"}));
}

void TestNamesFiles::ownListIsWrittenWholeOrNotAtAll()
{
    SharedBench bench;
    const QByteArray shared = QByteArray("tester.lab\r\n").repeated(10'000);
    write(bench.sharedPaths[0], shared);
    bench.load();
    {
        const FileSizeLimit full(static_cast<rlim_t>(shared.size()));
        const Outcome<bool> outcome = bench.add(QStringLiteral("new"));
        QVERIFY(!outcome.value);
        QCOMPARE(outcome.error, QLatin1String("File too large: ") + bench.path);
    }
    QVERIFY(QDir(QFileInfo(bench.path).path()).isEmpty(QDir::Files | QDir::Hidden));
    QCOMPARE(bench.cbNWName.items().size(), 10'002); // for this run, the name is in the list
    QCOMPARE(bench.session.RemoteHost, QLatin1String("new"));

    QCOMPARE(bench.add(QStringLiteral("other")).value, std::optional(true)); // there is room again
    QCOMPARE(contentsOf(bench.path), shared + "other\r\n");
}

void TestNamesFiles::offerDuringTheBox()
{
    WaitingConsole bench;
    bench.console.names().offer(QStringLiteral("127.0.0.1"));
    QCOMPARE(bench.main.cbNWName.items(), listOf({"127.0.0.1"}));
    QCOMPARE(bench.main.cbNWName.index(), 0);
    QCOMPARE(bench.console.link().remoteHost(), QLatin1String("127.0.0.1"));
    QVERIFY(!bench.main.cbNWName.isEnabled());

    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.main.cbNWName.items(), listOf({"127.0.0.1", "<New>"}));
    QCOMPARE(bench.main.cbNWName.index(), 0);
    QVERIFY(bench.main.cbNWName.isEnabled());
    QCOMPARE(bench.session.RemoteHost, QLatin1String("127.0.0.1"));
    QCOMPARE(contentsOf(bench.namesFile), QByteArray());

    bench.main.cbNWName.adoptIndex(1);
    bench.console.networkNameClicked(); // "<New>"
    bench.console.names().cancelNew();
    QCOMPARE(bench.main.cbNWName.index(), 0);
}

void TestNamesFiles::offerDuringTheBoxOfAnEntry()
{
    WaitingConsole bench;
    bench.console.names().offer(QStringLiteral("b"));
    write(bench.namesFile, "a\r\nb\r\nc\r\n"); // by another instance
    bench.dialogs.answerHeld(Answer::Ok);
    QCOMPARE(bench.main.cbNWName.items(), listOf({"a", "b", "c", "<New>"}));
    QCOMPARE(bench.main.cbNWName.index(), 1);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("b"));
}

void TestNamesFiles::connectDuringTheBox()
{
    WaitingConsole bench;
    bench.console.names().offer(QStringLiteral("127.0.0.1"));
    bench.connect(true);
    QCOMPARE(bench.tcp->opened.size(), 1);
    QCOMPARE(bench.tcp->opened[0].address, QLatin1String("127.0.0.1"));

    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(!bench.main.cbNWName.isEnabled());
    QCOMPARE(bench.main.cbNWName.items(), listOf({"127.0.0.1", "<New>"}));
    QCOMPARE(bench.main.cbNWName.index(), 0);

    bench.console.connectClicked(); // disconnects
    QVERIFY(bench.main.cbNWName.isEnabled());
}

void TestNamesFiles::disconnectDuringTheBox()
{
    WaitingConsole bench;
    bench.connect(true);
    bench.console.connectClicked();
    QVERIFY(bench.main.CommE.isEnabled());
    QVERIFY(!bench.main.cbNWName.isEnabled());

    bench.dialogs.answerHeld(Answer::Ok);
    QVERIFY(bench.main.cbNWName.isEnabled());
    QCOMPARE(bench.main.cbNWName.items(), QStringList{NewEntry});
    QCOMPARE(bench.main.cbNWName.index(), -1);
}

VANTREL_TEST(TestNamesFiles)
#include "tst_namesfiles.moc"
