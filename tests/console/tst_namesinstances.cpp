// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/NamesBench.h"
#include "link/FileLock.h"
#include "support/FileSizeLimit.h"
#include "support/ForkedProcess.h"
#include "support/TestProgram.h"

#include <QDir>

#include <sys/stat.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

int modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(qPrintable(path), &status) == 0 ? static_cast<int>(status.st_mode & 0777U) : -1;
}

/// Runs the function in several processes at the same time, with their numbers. Returns how many
/// succeeded.
int inProcesses(int count, const std::function<bool(int)> &run)
{
    StartSignal start;
    std::vector<std::unique_ptr<ForkedProcess>> processes;
    for (int i = 0; i < count; ++i) {
        processes.push_back(std::make_unique<ForkedProcess>([&start, &run, i] {
            start.wait();
            return run(i);
        }));
    }
    start.give();
    int succeeded = 0;
    for (const auto &process : processes)
        succeeded += process->succeeded() ? 1 : 0;
    return succeeded;
}

/// A user without a file of names, and a list for all users.
struct FirstNameBench : NamesBench
{
    explicit FirstNameBench(const QByteArray &shared = "lab-1\r\nlab-2\r\n")
    {
        path = directory.filePath(QStringLiteral("data/VLnetNames.dat"));
        sharedPaths = {directory.filePath(QStringLiteral("shared"))};
        write(sharedPaths[0], shared);
        load();
    }
    /// Of the user's own directory, hidden ones too.
    QStringList files() const
    {
        return QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::Hidden);
    }
};

/// On a machine under load, an instance may be stopped while it has the lock.
bool addPatiently(NamesBench &bench, const QString &name)
{
    Outcome<bool> outcome;
    do {
        outcome = bench.add(name);
    } while (outcome.error.startsWith(QLatin1String("Locked by another program")));
    return outcome.value.value_or(false);
}

const QString OwnFileOnly = QStringLiteral("VLnetNames.dat");

} // namespace

/// Several instances of the program on one file of network names, and what else happens to it while
/// the program runs.
class TestNamesInstances : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_previousUmask = ::umask(022); }
    void cleanup() { ::umask(m_previousUmask); }

    void namesOfAllInstances();
    void firstNamesAtTheSameTime();
    void firstStartsAtTheSameTime();
    void putBackDuringTheBox();
    void removedWhileTheProgramRuns();
    void replacedWhileTheProgramRuns();
    void linkWithoutTarget();
    void fullDisk_data();
    void fullDisk();
    void lockedByAnotherProgram();
    void readWhileLocked();
    void specialFile_data();
    void specialFile();
    void permissions();

private:
    mode_t m_previousUmask = 0;
};

void TestNamesInstances::namesOfAllInstances()
{
    constexpr int Instances = 6;
    constexpr int Names = 50;
    NamesBench bench("first"); // without a line end
    QCOMPARE(inProcesses(Instances,
                         [&bench](int number) {
                             for (int i = 0; i < Names; ++i) {
                                 const QString name =
                                     QStringLiteral("instance-%1-name-%2").arg(number).arg(i);
                                 if (!addPatiently(bench, name))
                                     return false;
                             }
                             return true;
                         }),
             Instances);

    const QByteArray contents = contentsOf(bench.path);
    QVERIFY(contents.startsWith("first\r\ninstance-"));
    QCOMPARE(contents.count('\r'), 1 + Instances * Names);
    QStringList names = NetworkNames::parse(contents);
    QCOMPARE(names.size(), 1 + Instances * Names);
    for (int number = 0; number < Instances; ++number) {
        // Those of one instance are in the order in which they were added.
        const QStringList own = names.filter(QStringLiteral("instance-%1-").arg(number));
        QCOMPARE(own.size(), Names);
        QCOMPARE(own.last(), QStringLiteral("instance-%1-name-%2").arg(number).arg(Names - 1));
    }
}

void TestNamesInstances::firstNamesAtTheSameTime()
{
    constexpr int Instances = 6;
    for (int round = 0; round < 20; ++round) {
        FirstNameBench bench;
        QCOMPARE(
            inProcesses(
                Instances,
                [&bench](int number) {
                    return bench.add(QStringLiteral("own-%1").arg(number)).value.value_or(false);
                }),
            Instances);
        QStringList names = NetworkNames::parse(contentsOf(bench.path));
        QCOMPARE(names.size(), 2 + Instances);
        QCOMPARE(names.first(2), listOf({"lab-1", "lab-2"}));
        names.sort();
        QCOMPARE(names.last(), QStringLiteral("own-%1").arg(Instances - 1));
        QCOMPARE(names.removeDuplicates(), 0);
        QCOMPARE(bench.files(), QStringList{OwnFileOnly});
    }
}

/// Each shows the box, and some users add a name before the others have closed theirs.
void TestNamesInstances::firstStartsAtTheSameTime()
{
    constexpr int Instances = 6;
    for (int round = 0; round < 20; ++round) {
        NamesBench bench;
        QVERIFY(QFile::remove(bench.path));
        QCOMPARE(
            inProcesses(
                Instances,
                [&bench](int number) {
                    return bench.load().isEmpty() && bench.dialogs.messages.size() <= 1 &&
                           bench.add(QStringLiteral("own-%1").arg(number)).value.value_or(false);
                }),
            Instances);
        QCOMPARE(NetworkNames::parse(contentsOf(bench.path)).size(), Instances);
    }
}

void TestNamesInstances::putBackDuringTheBox()
{
    NamesBench bench;
    QVERIFY(QFile::remove(bench.path));
    bench.dialogs.onMessage = [&bench] { write(bench.path, "one\r\ntwo\r\n"); };
    QCOMPARE(bench.load(), QString());
    QCOMPARE(bench.cbNWName.items(), listOf({"one", "two", "<New>"}));
    QCOMPARE(bench.add(QStringLiteral("three")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("one\r\ntwo\r\nthree\r\n"));
}

void TestNamesInstances::removedWhileTheProgramRuns()
{
    NamesBench bench("one\r\n");
    QVERIFY(QFile::remove(bench.path));
    QCOMPARE(bench.add(QStringLiteral("two")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("two\r\n"));
}

/// As editors save: a new file is renamed to the old one.
void TestNamesInstances::replacedWhileTheProgramRuns()
{
    constexpr int Rounds = 200;
    NamesBench bench("edited\r\n");
    const QString edited = bench.directory.filePath(QStringLiteral("edited"));
    ForkedProcess editor([&bench, &edited] {
        bool replaced = true;
        for (int i = 0; i < Rounds; ++i) {
            write(edited, "edited\r\n");
            replaced = ::rename(qPrintable(edited), qPrintable(bench.path)) == 0 && replaced;
        }
        return replaced;
    });
    for (int i = 0; i < Rounds; ++i)
        QVERIFY(addPatiently(bench, QStringLiteral("a")));
    QVERIFY(editor.succeeded());
    const QByteArray before = contentsOf(bench.path);
    QVERIFY(before.startsWith("edited\r\n"));
    QCOMPARE(bench.add(QStringLiteral("last")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), before + "last\r\n");
}

/// The first name creates what the link is to lead to, with the shared entries.
void TestNamesInstances::linkWithoutTarget()
{
    FirstNameBench bench;
    const QString target = bench.directory.filePath(QStringLiteral("target"));
    QVERIFY(QDir().mkpath(QFileInfo(bench.path).path()));
    QVERIFY(QFile::link(target, bench.path));
    QCOMPARE(bench.load(), QString());
    QCOMPARE(bench.add(QStringLiteral("own")).value, std::optional(true));
    QCOMPARE(contentsOf(target), QByteArray("lab-1\r\nlab-2\r\nown\r\n"));
    QVERIFY(QFileInfo(bench.path).isSymLink());
}

void TestNamesInstances::fullDisk_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<int>("room");
    for (const int room : {0, 1, 5, 10}) {
        QTest::addRow("%d bytes left", room) << QByteArray("one\r\ntwo\r\n") << room;
        QTest::addRow("%d bytes left after an unfinished line", room)
            << QByteArray("one\r\ntwo") << room;
    }
}

void TestNamesInstances::fullDisk()
{
    QFETCH(QByteArray, before);
    QFETCH(int, room);
    NamesBench bench(before);
    {
        const FileSizeLimit full(static_cast<rlim_t>(before.size() + room));
        const Outcome<bool> outcome = bench.add(QStringLiteral("much-too-long"));
        QCOMPARE(outcome.error, QLatin1String("File too large: ") + bench.path);
    }
    QCOMPARE(contentsOf(bench.path), before);
    QCOMPARE(bench.session.RemoteHost, QLatin1String("much-too-long")); // for this run
    QCOMPARE(bench.add(QStringLiteral("three")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("one\r\ntwo\r\nthree\r\n"));
}

void TestNamesInstances::lockedByAnotherProgram()
{
    NamesBench bench("one\r\n");
    QFile file(bench.path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(lockFile(file, FileLock::Exclusive));
    const Outcome<bool> outcome = bench.add(QStringLiteral("two"));
    QCOMPARE(outcome.error, QLatin1String("Locked by another program: ") + bench.path);
    QCOMPARE(contentsOf(bench.path), QByteArray("one\r\n"));
    QCOMPARE(bench.cbNWName.items(), listOf({"one", "two", "<New>"}));

    file.close();
    QCOMPARE(bench.add(QStringLiteral("three")).value, std::optional(true));
    QCOMPARE(contentsOf(bench.path), QByteArray("one\r\nthree\r\n"));
}

/// A program that keeps its lock does not keep this one from starting.
void TestNamesInstances::readWhileLocked()
{
    NamesBench bench("one\r\n");
    QFile file(bench.path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(lockFile(file, FileLock::Exclusive));
    QCOMPARE(bench.load(), QString());
    QCOMPARE(bench.cbNWName.items(), listOf({"one", "<New>"}));
}

void TestNamesInstances::specialFile_data()
{
    QTest::addColumn<QString>("target"); // of a link; empty: a FIFO
    QTest::newRow("FIFO") << QString();
    QTest::newRow("directory") << QStringLiteral("/");
    QTest::newRow("device") << QStringLiteral("/dev/zero");
}

void TestNamesInstances::specialFile()
{
    QFETCH(QString, target);
    NamesBench bench;
    QVERIFY(QFile::remove(bench.path));
    if (target.isEmpty())
        QCOMPARE(::mkfifo(qPrintable(bench.path), 0600), 0);
    else
        QVERIFY(QFile::link(target, bench.path));
    const QString refusal = QLatin1String("Not a regular file: ") + bench.path;
    QCOMPARE(bench.load(), refusal);
    QCOMPARE(bench.add(QStringLiteral("a")).error, refusal);
    QCOMPARE(bench.cbNWName.items(), listOf({"a", "<New>"}));
}

void TestNamesInstances::permissions()
{
    FirstNameBench own;
    own.add(QStringLiteral("a"));
    QCOMPARE(modeOf(own.path), 0600);
    QCOMPARE(modeOf(QFileInfo(own.path).path()), 0700);

    NamesBench first;
    QVERIFY(QFile::remove(first.path));
    first.load();
    QCOMPARE(modeOf(first.path), 0600);

    // Beside the program, where the list for all users is looked for
    NamesBench shared;
    QVERIFY(QFile::remove(shared.path));
    shared.sharedPaths = {shared.path};
    shared.load();
    QCOMPARE(modeOf(shared.path), 0644);
    QCOMPARE(::chmod(qPrintable(shared.path), 0664), 0);
    shared.add(QStringLiteral("a"));
    QCOMPARE(modeOf(shared.path), 0664);
}

VANTREL_TEST(TestNamesInstances)
#include "tst_namesinstances.moc"
