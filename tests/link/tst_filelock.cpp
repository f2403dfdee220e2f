// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FileLock.h"
#include "support/ForkedProcess.h"
#include "support/TestProgram.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using namespace vantrel;
using namespace vantrel::test;
using namespace std::chrono_literals;

/// Locks between processes.
class TestFileLock : public QObject
{
    Q_OBJECT

private slots:
    void exclusive_data();
    void exclusive();
    void waitsForTheOther();
    void waitsForALimitedTime();
    void withoutSupport();

private:
    bool open(QFile &file) const
    {
        file.setFileName(m_directory.filePath(QStringLiteral("file")));
        return file.open(QIODevice::ReadWrite);
    }

    QTemporaryDir m_directory;
};

void TestFileLock::exclusive_data()
{
    QTest::addColumn<FileLock>("held");
    QTest::addColumn<FileLock>("wanted");
    QTest::addColumn<bool>("obtained");
    QTest::newRow("two writers") << FileLock::Exclusive << FileLock::Exclusive << false;
    QTest::newRow("reader of a writer's") << FileLock::Exclusive << FileLock::Shared << false;
    QTest::newRow("writer of a reader's") << FileLock::Shared << FileLock::Exclusive << false;
    QTest::newRow("two readers") << FileLock::Shared << FileLock::Shared << true;
}

void TestFileLock::exclusive()
{
    QFETCH(FileLock, held);
    QFETCH(FileLock, wanted);
    QFETCH(bool, obtained);
    QFile file;
    QVERIFY(open(file));
    QVERIFY(lockFile(file, held));
    const auto canLock = [this, wanted] {
        QFile own;
        return open(own) && lockFile(own, wanted);
    };
    QCOMPARE(ForkedProcess(canLock).succeeded(), obtained);
    file.close();
    QVERIFY(ForkedProcess(canLock).succeeded());
}

void TestFileLock::waitsForTheOther()
{
    QFile first;
    QFile second;
    QVERIFY(open(first) && open(second));
    QVERIFY(lockFile(first, FileLock::Exclusive));
    std::thread release([&first] {
        std::this_thread::sleep_for(20ms);
        first.close();
    });
    const bool obtained = lockFile(second, FileLock::Exclusive, 20s);
    release.join();
    QVERIFY(obtained);
}

void TestFileLock::waitsForALimitedTime()
{
    QFile first;
    QFile second;
    QVERIFY(open(first) && open(second));
    QVERIFY(lockFile(first, FileLock::Exclusive));
    QElapsedTimer time;
    time.start();
    QVERIFY(!lockFile(second, FileLock::Exclusive, 20ms));
    QVERIFY(time.elapsed() >= 20);
}

void TestFileLock::withoutSupport()
{
    QFile closed;
    QVERIFY(lockFile(closed, FileLock::Exclusive));
}

VANTREL_TEST(TestFileLock)
#include "tst_filelock.moc"
