// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FilePath.h"
#include "link/FileStatus.h"
#include "link/Files.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace vantrel;
using namespace vantrel::test;

/// Files that are read whole, and what paths name.
class TestWholeFile : public QObject
{
    Q_OBJECT

private slots:
    void slices_data();
    void slices();
    void limit_data();
    void limit();
    void growsBeyondTheLimit();
    void fileWithoutASize();
    void start();
    void status_data();
    void status();
    void statusOfAnOpenFile();
    void readOnly();

private:
    QTemporaryDir m_directory;
    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }
    QString file(const char *name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no file");
        return file.fileName();
    }
};

void TestWholeFile::slices_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("reads");
    QTest::newRow("empty") << 0 << 1;
    QTest::newRow("one byte") << 1 << 1;
    QTest::newRow("below a slice") << 1'048'575 << 1;
    QTest::newRow("a slice") << 1'048'576 << 2;
    QTest::newRow("two and a half") << 2'621'440 << 3;
}

void TestWholeFile::slices()
{
    QFETCH(int, size);
    QFETCH(int, reads);
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(i * 7 + i / 512);
    WholeFile whole(file("slices", bytes), size);
    QCOMPARE(whole.size(), size);
    QByteArray seen;
    int count = 0;
    for (; !whole.atEnd(); ++count)
        seen += whole.readSlice();
    QCOMPARE(count, reads);
    QVERIFY(seen == bytes);
    QVERIFY(whole.take() == bytes);
}

void TestWholeFile::limit_data()
{
    QTest::addColumn<qint64>("size");
    QTest::newRow("one byte more") << Q_INT64_C(1'048'577);
    QTest::newRow("1 TiB") << Q_INT64_C(1'099'511'627'776);
}

void TestWholeFile::limit()
{
    QFETCH(qint64, size);
    const QString large = file("large", {});
    QVERIFY(QFile::resize(large, size));
    QCOMPARE(thrownBy([&] { readWholeFile(large); }),
             QStringLiteral("The file has %1 bytes, at most 1048576 are read: ").arg(size) + large);
    QVERIFY(QFile::resize(large, 1'048'576));
    QCOMPARE(readWholeFile(large).size(), 1'048'576);
}

void TestWholeFile::growsBeyondTheLimit()
{
    const QString growing = file("growing", "1234");
    WholeFile whole(growing, 4);
    file("growing", "12345");
    QCOMPARE(thrownBy([&] { whole.readSlice(); }),
             QStringLiteral("The file has 5 bytes, at most 4 are read: ") + growing);
}

/// A regular file may state no size and have contents all the same.
void TestWholeFile::fileWithoutASize()
{
    const QString version = QStringLiteral("/proc/version");
    QCOMPARE(fileStatus(version).size, 0);
    QVERIFY(readWholeFile(version).startsWith("Linux"));
    QVERIFY(thrownBy([&] {
                readWholeFile(version, 5);
            }).endsWith(QLatin1String("at most 5 are read: /proc/version")));
}

void TestWholeFile::start()
{
    const QString some = file("some", "123456");
    QCOMPARE(readStartOfFile(some, 4), QByteArray("1234"));
    QCOMPARE(readStartOfFile(some, 10), QByteArray("123456"));
    QVERIFY(QFile::resize(some, Q_INT64_C(1'099'511'627'776)));
    QCOMPARE(readStartOfFile(some, 3), QByteArray("123"));
    QCOMPARE(thrownBy([&] { readStartOfFile(path("gone"), 1); }),
             QStringLiteral("No such file or directory: ") + path("gone"));
}

void TestWholeFile::status_data()
{
    using Type = FileStatus::Type;
    QTest::addColumn<QString>("path");
    QTest::addColumn<FileStatus::Type>("type");
    QTest::addColumn<qint64>("size");
    file("regular", "12345");
    QCOMPARE(::mkfifo(path("fifo").toLocal8Bit().constData(), 0600), 0);
    QVERIFY(QFile::link(path("regular"), path("link")));
    QVERIFY(QFile::link(path("gone"), path("dangling")));
    const QString latin1 = m_directory.path() + pathFromBytes("/caf\xE9");
    QCOMPARE(::symlink(pathBytes(path("regular")).constData(), pathBytes(latin1).constData()), 0);
    QTest::newRow("file") << path("regular") << Type::Regular << qint64{5};
    QTest::newRow("link") << path("link") << Type::Regular << qint64{5};
    QTest::newRow("not UTF-8") << latin1 << Type::Regular << qint64{5};
    QTest::newRow("directory") << m_directory.path() << Type::Directory << qint64{0};
    QTest::newRow("FIFO") << path("fifo") << Type::Other << qint64{0};
    QTest::newRow("device") << QStringLiteral("/dev/null") << Type::Other << qint64{0};
    QTest::newRow("nothing") << path("gone") << Type::None << qint64{0};
    QTest::newRow("dangling link") << path("dangling") << Type::None << qint64{0};
}

void TestWholeFile::status()
{
    QFETCH(const QString, path);
    QFETCH(const FileStatus::Type, type);
    QFETCH(const qint64, size);
    const FileStatus status = fileStatus(path);
    QCOMPARE(status.type, type);
    QCOMPARE(status.size, size);
    QCOMPARE(status.exists(), type != FileStatus::Type::None);
    QCOMPARE(status.isRegular(), type == FileStatus::Type::Regular);
    QCOMPARE(status.isDirectory(), type == FileStatus::Type::Directory);
}

void TestWholeFile::statusOfAnOpenFile()
{
    QFile open(file("open", "123"));
    QVERIFY(open.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    const QDateTime time(QDate(2001, 2, 3), QTime(4, 5, 6, 7), Qt::UTC);
    QVERIFY(open.setFileTime(time, QFileDevice::FileModificationTime));
    QCOMPARE(fileStatus(open).modified, time.toMSecsSinceEpoch() * 1'000'000);
    QCOMPARE(fileStatus(open).size, 3);
    QVERIFY(open.resize(7));
    QCOMPARE(fileStatus(open).size, 7);
    QVERIFY(fileStatus(open).modified > time.toMSecsSinceEpoch() * 1'000'000);
}

/// For a superuser as well, who may write everything.
void TestWholeFile::readOnly()
{
    const QString locked = file("locked", "1");
    QVERIFY(fileStatus(locked).writable);
    QVERIFY(QFile::setPermissions(locked, QFile::ReadOwner | QFile::ReadUser));
    QVERIFY(!fileStatus(locked).writable);
}

VANTREL_TEST(TestWholeFile)
#include "tst_wholefile.moc"
