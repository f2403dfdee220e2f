// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/DurableFile.h"
#include "link/Files.h"
#include "support/FileSizeLimit.h"
#include "support/ForkedProcess.h"
#include "support/Hex.h"
#include "support/SyncRecorder.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <sys/stat.h>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// An empty directory and the umask 022.
struct DirectoryBench
{
    DirectoryBench() : m_previousUmask(::umask(022)) {}
    DirectoryBench(const DirectoryBench &) = delete;
    DirectoryBench &operator=(const DirectoryBench &) = delete;
    ~DirectoryBench() { ::umask(m_previousUmask); }

    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }
    QStringList files() const
    {
        return QDir(m_directory.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

private:
    QTemporaryDir m_directory;
    mode_t m_previousUmask;
};

int modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(qPrintable(path), &status) == 0 ? static_cast<int>(status.st_mode & 0777U) : -1;
}

const QString FileThenDirectory = QStringLiteral("file directory");

} // namespace

/// Files that are written as a whole or not at all.
class TestDurableFile : public QObject
{
    Q_OBJECT

private slots:
    void creates();
    void takenPathIsKept_data();
    void takenPathIsKept();
    void createsNothingOnAFullDisk();
    void createsNothingWhenKilled();
    void createsNothingThatIsNotOnTheDisk_data();
    void createsNothingThatIsNotOnTheDisk();
    void onlyOneProcessCreates();
    void replacesWhole();
    void replacesNothingOnAFullDisk();
    void replacesNothingThatIsNotOnTheDisk();
    void replacingKeepsPermissions();
    void replacingFollowsLinks();
    void cannotReplace_data();
    void cannotReplace();
    void privateDirectories();
    void noDirectoryBelowAFile();
};

void TestDurableFile::creates()
{
    const DirectoryBench bench;
    SyncRecorder syncs;
    QVERIFY(createFile(bench.path("shared"), "0d0a1aff00"_hex, FileAccess::Everybody));
    QCOMPARE(syncs.events.join(QLatin1Char(' ')), FileThenDirectory);
    QVERIFY(createFile(bench.path("own"), {}, FileAccess::OwnerOnly));
    QCOMPARE(readWholeFile(bench.path("shared")), "0d0a1aff00"_hex);
    QCOMPARE(readWholeFile(bench.path("own")), QByteArray());
    QCOMPARE(modeOf(bench.path("shared")), 0644);
    QCOMPARE(modeOf(bench.path("own")), 0600);
    QCOMPARE(bench.files().size(), 2);
}

void TestDurableFile::takenPathIsKept_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"file", "directory", "link without a target"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void TestDurableFile::takenPathIsKept()
{
    QFETCH(QString, kind);
    const DirectoryBench bench;
    const QString path = bench.path("taken");
    if (kind == QLatin1String("file"))
        writeAtStart(path, "before");
    else if (kind == QLatin1String("directory"))
        QVERIFY(QDir().mkdir(path));
    else
        QVERIFY(QFile::link(bench.path("nowhere"), path));
    QVERIFY(!createFile(path, "after", FileAccess::OwnerOnly));
    QCOMPARE(bench.files(), QStringList{QStringLiteral("taken")});
    if (kind == QLatin1String("file"))
        QCOMPARE(readWholeFile(path), QByteArray("before"));
}

void TestDurableFile::createsNothingOnAFullDisk()
{
    const DirectoryBench bench;
    for (const qsizetype size : {101, 100'000}) {
        const FileSizeLimit full(100);
        QCOMPARE(thrownBy([&] {
                     static_cast<void>(createFile(bench.path("full"), QByteArray(size, 'x'),
                                                  FileAccess::OwnerOnly));
                 }),
                 QStringLiteral("File too large: ") + bench.path("full"));
    }
    QCOMPARE(bench.files(), QStringList());
}

/// By the signal of a file that becomes too large, between two writes.
void TestDurableFile::createsNothingWhenKilled()
{
    const DirectoryBench bench;
    ForkedProcess process([&] {
        const FileSizeLimit full(100);
        std::signal(SIGXFSZ, SIG_DFL);
        return createFile(bench.path("killed"), QByteArray(200, 'x'), FileAccess::OwnerOnly);
    });
    const int status = process.status();
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), SIGXFSZ);
    QVERIFY(!QFile::exists(bench.path("killed")));
    QCOMPARE(bench.files().size(), 1); // the temporary file
}

void TestDurableFile::createsNothingThatIsNotOnTheDisk_data()
{
    QTest::addColumn<QString>("failing");
    QTest::newRow("file") << QStringLiteral("file");
    QTest::newRow("directory") << QStringLiteral("directory");
}

void TestDurableFile::createsNothingThatIsNotOnTheDisk()
{
    QFETCH(QString, failing);
    const DirectoryBench bench;
    SyncRecorder syncs;
    syncs.failing = failing;
    QCOMPARE(thrownBy([&] {
                 static_cast<void>(createFile(bench.path("lost"), "bytes", FileAccess::OwnerOnly));
             }),
             QStringLiteral("Input/output error: ") + bench.path("lost"));
    QCOMPARE(bench.files(), QStringList());
}

void TestDurableFile::onlyOneProcessCreates()
{
    constexpr int Processes = 8;
    for (int round = 0; round < 20; ++round) {
        const DirectoryBench bench;
        StartSignal start;
        std::vector<std::unique_ptr<ForkedProcess>> processes;
        for (int i = 0; i < Processes; ++i) {
            processes.push_back(std::make_unique<ForkedProcess>([&bench, &start, i] {
                start.wait();
                return createFile(bench.path("once"), QByteArray(100, static_cast<char>('a' + i)),
                                  FileAccess::OwnerOnly);
            }));
        }
        start.give();
        QByteArray expected;
        int created = 0;
        for (int i = 0; i < Processes; ++i) {
            if (processes[static_cast<std::size_t>(i)]->succeeded()) {
                ++created;
                expected.fill(static_cast<char>('a' + i), 100);
            }
        }
        QCOMPARE(created, 1);
        QCOMPARE(readWholeFile(bench.path("once")), expected);
        QCOMPARE(bench.files().size(), 1);
    }
}

void TestDurableFile::replacesWhole()
{
    const DirectoryBench bench;
    const QString path = bench.path("whole");
    {
        SyncRecorder syncs;
        replaceFile(path, "0102030405"_hex);
        QCOMPARE(syncs.events.join(QLatin1Char(' ')), FileThenDirectory);
    }
    QCOMPARE(readWholeFile(path), "0102030405"_hex);
    QCOMPARE(modeOf(path), 0644);
    replaceFile(path, "0d0a"_hex);
    QCOMPARE(readWholeFile(path), "0d0a"_hex);
    replaceFile(path, {});
    QCOMPARE(readWholeFile(path), QByteArray());
    QCOMPARE(bench.files().size(), 1);
}

void TestDurableFile::replacesNothingOnAFullDisk()
{
    const DirectoryBench bench;
    const QString kept = bench.path("kept");
    replaceFile(kept, "before");
    for (const qsizetype size : {101, 100'000}) {
        const FileSizeLimit full(100);
        QCOMPARE(thrownBy([&] { replaceFile(kept, QByteArray(size, 'x')); }),
                 QStringLiteral("File too large: ") + kept);
    }
    QCOMPARE(readWholeFile(kept), QByteArray("before"));
    QCOMPARE(bench.files().size(), 1);
}

void TestDurableFile::replacesNothingThatIsNotOnTheDisk()
{
    const DirectoryBench bench;
    const QString kept = bench.path("kept");
    replaceFile(kept, "before");
    SyncRecorder syncs;
    syncs.failing = QStringLiteral("file");
    QCOMPARE(thrownBy([&] { replaceFile(kept, "after"); }),
             QStringLiteral("Input/output error: ") + kept);
    QCOMPARE(readWholeFile(kept), QByteArray("before"));
    QCOMPARE(bench.files().size(), 1);
}

void TestDurableFile::replacingKeepsPermissions()
{
    const DirectoryBench bench;
    for (const int mode : {0600, 0640, 0666}) {
        writeAtStart(bench.path("file"), "before");
        QCOMPARE(::chmod(qPrintable(bench.path("file")), static_cast<mode_t>(mode)), 0);
        replaceFile(bench.path("file"), "after");
        QCOMPARE(modeOf(bench.path("file")), mode);
    }
}

void TestDurableFile::replacingFollowsLinks()
{
    const DirectoryBench bench;
    QVERIFY(QFile::link(bench.path("target"), bench.path("link")));
    QVERIFY(QFile::link(bench.path("link"), bench.path("second link")));
    for (const QByteArray bytes : {"created", "replaced"}) {
        replaceFile(bench.path("second link"), bytes);
        QCOMPARE(readWholeFile(bench.path("target")), bytes);
        QCOMPARE(bench.files().size(), 3);
    }
    QCOMPARE(withoutLinks(bench.path("second link")), bench.path("target"));
    QCOMPARE(withoutLinks(bench.path("target")), bench.path("target"));
}

void TestDurableFile::cannotReplace_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no directory") << QStringLiteral("no/where")
                                  << QStringLiteral("No such file or directory");
    QTest::newRow("below a file") << QStringLiteral("file/name")
                                  << QStringLiteral("Not a directory");
    QTest::newRow("a directory") << QStringLiteral("directory") << QStringLiteral("Is a directory");
}

void TestDurableFile::cannotReplace()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const DirectoryBench bench;
    writeAtStart(bench.path("file"), "before");
    QVERIFY(QDir().mkdir(bench.path("directory")));
    const QString path = bench.path(qPrintable(name));
    QCOMPARE(thrownBy([&] { replaceFile(path, "after"); }), reason + QLatin1String(": ") + path);
    QCOMPARE(bench.files().size(), 2);
}

void TestDurableFile::privateDirectories()
{
    const DirectoryBench bench;
    QVERIFY(QDir().mkdir(bench.path("before")));
    QVERIFY(!makePrivateDirectory(bench.path("before/one/two")));
    QCOMPARE(modeOf(bench.path("before")), 0755);
    QCOMPARE(modeOf(bench.path("before/one")), 0700);
    QCOMPARE(modeOf(bench.path("before/one/two")), 0700);
    QVERIFY(!makePrivateDirectory(bench.path("before/one/two"))); // it exists
    QVERIFY(!makePrivateDirectory(bench.path("before")));
    QCOMPARE(modeOf(bench.path("before")), 0755);
    QVERIFY(makePrivateDirectory(QString()));
}

void TestDurableFile::noDirectoryBelowAFile()
{
    const DirectoryBench bench;
    writeAtStart(bench.path("file"), "before");
    QVERIFY(QFile::link(bench.path("nowhere"), bench.path("link")));
    const auto notDirectory = std::optional(QStringLiteral("Not a directory"));
    QCOMPARE(makePrivateDirectory(bench.path("file")), notDirectory);
    QCOMPARE(makePrivateDirectory(bench.path("file/one/two")), notDirectory);
    QCOMPARE(makePrivateDirectory(bench.path("link")),
             std::optional(QStringLiteral("File exists")));
}

VANTREL_TEST(TestDurableFile)
#include "tst_durablefile.moc"
