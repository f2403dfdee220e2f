// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/LogFile.h"
#include "support/FileContents.h"
#include "support/TestProgram.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include "support/FileSizeLimit.h"
#include "support/ForkedProcess.h"

#include <sys/stat.h>
#endif

using namespace vantrel;
using namespace vantrel::test;

/// The session log on disk.
class TestLogFile : public QObject
{
    Q_OBJECT

private slots:
    void init() { QVERIFY(m_directory.isValid()); }

    void bytesAsGiven();
    void replacesWhatWasThere();
    void flushedBytesCanBeRead();
    void muchText();
    void usableAgain();
    void cannotOpen_data();
    void cannotOpen();
    void nothingGatheredNothingWritten();
    void nothingLostWithoutClose();
#ifdef Q_OS_UNIX
    void diskFullAtFlush();
    void diskFullAtClose();
    void diskFullInMidText();
    void keepsWhatWasWritten();
    void deletedFile_data();
    void deletedFile();
    void oneWriterAtATime();
    void everyWriterKeepsItsOwnLog();
    void truncatedByAnotherProgram();
#endif

private:
    QTemporaryDir m_directory;
    QString m_path = m_directory.filePath(QStringLiteral("session.log"));
};

void TestLogFile::bytesAsGiven()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    const char bytes[] = {'a', '\0', '\r', '\n', '\n', '\xFF', '\x80'};
    QVERIFY(log.write({bytes, sizeof bytes}));
    QVERIFY(log.write("end"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray(bytes, sizeof bytes) + "end");
}

void TestLogFile::replacesWhatWasThere()
{
    QFile old(m_path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("a much longer text than the new one");
    old.close();

    LogFile log;
    QVERIFY(!log.open(m_path));
    QCOMPARE(contentsOf(m_path), QByteArray());
    QVERIFY(log.write("new"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("new"));
}

void TestLogFile::flushedBytesCanBeRead()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.write("one\r\n"));
    QVERIFY(log.flush());
    QCOMPARE(contentsOf(m_path), QByteArray("one\r\n"));
    QVERIFY(log.write("two\r\n"));
    QVERIFY(log.flush());
    QVERIFY(log.flush());
    QCOMPARE(contentsOf(m_path), QByteArray("one\r\ntwo\r\n"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("one\r\ntwo\r\n"));
}

void TestLogFile::muchText()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    QByteArray expected;
    for (int line = 0; line < 50000; ++line) {
        const QByteArray text = QByteArray::number(line) + " line\r\n";
        QVERIFY(log.write({text.constData(), static_cast<size_t>(text.size())}));
        expected += text;
    }
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), expected);
}

void TestLogFile::usableAgain()
{
    const QString second = m_directory.filePath(QStringLiteral("second.log"));
    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.write("one"));
    QVERIFY(log.close());
    QVERIFY(!log.open(second));
    QVERIFY(log.write("two"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("one"));
    QCOMPARE(contentsOf(second), QByteArray("two"));
}

void TestLogFile::cannotOpen_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no directory") << m_directory.filePath(QStringLiteral("none/session.log"))
                                  << QStringLiteral("No such file or directory");
    QTest::newRow("a directory") << m_directory.path() << QStringLiteral("Not a regular file");
#ifdef Q_OS_UNIX
    const QString fifo = m_directory.filePath(QStringLiteral("fifo"));
    QVERIFY(QFile::exists(fifo) || ::mkfifo(qPrintable(fifo), 0600) == 0);
    QTest::newRow("a FIFO") << fifo << QStringLiteral("Not a regular file");
    QTest::newRow("a device") << QStringLiteral("/dev/full")
                              << QStringLiteral("Not a regular file");
#endif
}

void TestLogFile::cannotOpen()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);

    LogFile log;
    QCOMPARE(log.open(path), std::optional(reason));
    QVERIFY(!log.open(m_path)); // usable all the same
    QVERIFY(log.close());
}

void TestLogFile::nothingGatheredNothingWritten()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.flush());
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray());
}

void TestLogFile::nothingLostWithoutClose()
{
    {
        LogFile log;
        QVERIFY(!log.open(m_path));
        QVERIFY(log.write("the last line\r\n"));
    }
    QCOMPARE(contentsOf(m_path), QByteArray("the last line\r\n"));
}

#ifdef Q_OS_UNIX
void TestLogFile::diskFullAtFlush()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    const FileSizeLimit full(0);
    log.write("lost");
    QVERIFY(!log.flush());
    QCOMPARE(log.error(), QLatin1String("File too large"));
}

void TestLogFile::diskFullAtClose()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    const FileSizeLimit full(0);
    log.write("lost");
    QVERIFY(!log.close());
    QCOMPARE(log.error(), QLatin1String("File too large"));
}

void TestLogFile::diskFullInMidText()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    const FileSizeLimit full(0);
    bool allTaken = true;
    for (int line = 0; line < 100'000; ++line)
        allTaken = log.write("a line of the session\r\n") && allTaken;
    QVERIFY2(!allTaken, "megabytes were gathered without a word about the full disk");
}

void TestLogFile::keepsWhatWasWritten()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    {
        const FileSizeLimit limit(1000);
        QVERIFY(log.write(std::string(600, 'a')));
        QVERIFY(log.flush());
        log.write(std::string(600, 'b'));
        QVERIFY(!log.flush());
        QCOMPARE(log.error(), QLatin1String("File too large"));
        log.close();
    }
    QCOMPARE(contentsOf(m_path), QByteArray(600, 'a') + QByteArray(400, 'b'));
}

void TestLogFile::deletedFile_data()
{
    QTest::addColumn<bool>("atClose");
    QTest::newRow("flush") << false;
    QTest::newRow("close") << true;
}

void TestLogFile::deletedFile()
{
    QFETCH(bool, atClose);

    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.write("one"));
    QVERIFY(log.flush());
    QVERIFY(QFile::remove(m_path));
    QVERIFY(log.flush()); // nothing was to be written, nothing is lost
    QVERIFY(log.write("two"));
    QVERIFY(!(atClose ? log.close() : log.flush()));
    QCOMPARE(log.error(), QLatin1String("No such file or directory"));
    log.close();

    QVERIFY(!log.open(m_path)); // usable again
    QVERIFY(log.write("three"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("three"));
}

void TestLogFile::oneWriterAtATime()
{
    const auto refusal =
        std::optional(QStringLiteral("Another instance of the program is writing this log"));
    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.write("one"));
    QVERIFY(log.flush());
    ForkedProcess other([this, &refusal] { return LogFile().open(m_path) == refusal; });
    QVERIFY(other.succeeded());
    QCOMPARE(contentsOf(m_path), QByteArray("one")); // not truncated by the other
    QVERIFY(log.write("two"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("onetwo"));

    ForkedProcess next([this] { return !LogFile().open(m_path); });
    QVERIFY(next.succeeded());
    QCOMPARE(contentsOf(m_path), QByteArray());
}

/// Several processes that write a log each, all of the same name: one has the file, and everything
/// that it wrote is in there.
void TestLogFile::everyWriterKeepsItsOwnLog()
{
    constexpr int Lines = 2000;
    StartSignal start;
    StartSignal end;
    int attempts[2] = {};
    QCOMPARE(::pipe(attempts), 0);
    std::vector<std::unique_ptr<ForkedProcess>> writers;
    for (char mark = 'a'; mark < 'e'; ++mark) {
        writers.push_back(std::make_unique<ForkedProcess>([&, mark] {
            start.wait();
            LogFile log;
            const bool opened = !log.open(m_path);
            static_cast<void>(::write(attempts[1], "", 1));
            if (!opened)
                return false;
            bool complete = true;
            for (int line = 0; line < Lines; ++line)
                complete = log.write(std::string(40, mark) + '\n') && log.flush() && complete;
            end.wait();
            return log.close() && complete;
        }));
    }
    start.give();
    char attempt = 1;
    for (std::size_t i = 0; i < writers.size(); ++i)
        QCOMPARE(::read(attempts[0], &attempt, 1), ssize_t{1});
    end.give();
    QByteArray expected;
    for (std::size_t i = 0; i < writers.size(); ++i) {
        if (writers[i]->succeeded())
            expected += (QByteArray(40, static_cast<char>('a' + i)) + '\n').repeated(Lines);
    }
    for (const int descriptor : attempts)
        ::close(descriptor);
    QCOMPARE(expected.size(), qsizetype{Lines} * 41); // of one writer
    QCOMPARE(contentsOf(m_path), expected);
}

void TestLogFile::truncatedByAnotherProgram()
{
    LogFile log;
    QVERIFY(!log.open(m_path));
    QVERIFY(log.write("a long text that is cut off"));
    QVERIFY(log.flush());
    QCOMPARE(::truncate(qPrintable(m_path), 0), 0);
    QVERIFY(log.write("after"));
    QVERIFY(log.flush());
    QCOMPARE(contentsOf(m_path), QByteArray("after"));
    QCOMPARE(::truncate(qPrintable(m_path), 2), 0);
    QVERIFY(log.write("wards"));
    QVERIFY(log.close());
    QCOMPARE(contentsOf(m_path), QByteArray("afwards"));
}
#endif

VANTREL_TEST(TestLogFile)
#include "tst_logfile.moc"
