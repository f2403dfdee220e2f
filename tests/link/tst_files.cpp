// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Files.h"
#include "link/Words.h"
#include "support/FileSizeLimit.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "support/Thrown.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

class TestFiles : public QObject
{
    Q_OBJECT

private slots:
    void writesAndReadsBytesAsTheyAre();
    void longerFileKeepsItsTail();
    void missingFileIsNamed();
    void missingDirectoryIsNamed();
    void fullDiskIsTold();
    void removesWhatItCreated();
    void installed();
    void words_data();
    void words();
    void fieldsThatDoNotFit();

private:
    QTemporaryDir m_directory;
    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }
};

void TestFiles::writesAndReadsBytesAsTheyAre()
{
    const QByteArray bytes = "00 0d 0a 1a 1b ff 00"_hex;
    writeAtStart(path("raw"), bytes);
    QCOMPARE(readWholeFile(path("raw")), bytes);
}

void TestFiles::longerFileKeepsItsTail()
{
    writeAtStart(path("tail"), "0102030405"_hex);
    writeAtStart(path("tail"), "aabb"_hex);
    QCOMPARE(readWholeFile(path("tail")), "aabb030405"_hex);
}

void TestFiles::missingFileIsNamed()
{
    QCOMPARE(thrownBy([&] { readWholeFile(path("gone")); }),
             QStringLiteral("No such file or directory: ") + path("gone"));
}

void TestFiles::missingDirectoryIsNamed()
{
    QCOMPARE(thrownBy([&] { writeAtStart(path("no/where"), "00"_hex); }),
             QStringLiteral("No such file or directory: ") + path("no/where"));
}

void TestFiles::fullDiskIsTold()
{
    const FileSizeLimit full(1);
    QCOMPARE(thrownBy([&] { writeAtStart(path("full"), "0001"_hex); }),
             QStringLiteral("File too large: ") + path("full"));
}

void TestFiles::removesWhatItCreated()
{
    const FileSizeLimit full(1);
    for (const qsizetype size : {2, 100'000}) {
        QCOMPARE(thrownBy([&] { writeAtStart(path("new"), QByteArray(size, 'x')); }),
                 QStringLiteral("File too large: ") + path("new"));
        QVERIFY(!QFile::exists(path("new")));
    }
    writeAtStart(path("old"), "1");
    QCOMPARE(thrownBy([&] { writeAtStart(path("old"), "23"); }),
             QStringLiteral("File too large: ") + path("old"));
    QCOMPARE(readWholeFile(path("old")), QByteArray("2"));
}

void TestFiles::installed()
{
    const QTemporaryDir prefix;
    const QDir root(prefix.path());
    QVERIFY(root.mkpath(QStringLiteral("bin")));
    QVERIFY(!isInstalled(root.filePath(QStringLiteral("bin"))));
    QVERIFY(root.mkpath(QStringLiteral("share")));
    writeAtStart(root.filePath(QStringLiteral("share/vantrel")), "a file");
    QVERIFY(!isInstalled(root.filePath(QStringLiteral("bin"))));
    QVERIFY(QFile::remove(root.filePath(QStringLiteral("share/vantrel"))));
    QVERIFY(root.mkpath(QStringLiteral("share/vantrel")));
    QVERIFY(isInstalled(root.filePath(QStringLiteral("bin"))));
    QVERIFY(!isInstalled(root.path()));
}

void TestFiles::words_data()
{
    QTest::addColumn<quint8>("low");
    QTest::addColumn<quint8>("high");
    QTest::addColumn<int>("word");
    QTest::addColumn<bool>("onlyUnsigned");

    QTest::newRow("low byte first") << quint8{0x34} << quint8{0x12} << 0x1234 << false;
    QTest::newRow("largest signed") << quint8{0xFF} << quint8{0x7F} << 0x7FFF << false;
    QTest::newRow("first beyond") << quint8{0x00} << quint8{0x80} << 0x8000 << true;
    QTest::newRow("largest") << quint8{0xFF} << quint8{0xFF} << 0xFFFF << true;
}

void TestFiles::words()
{
    QFETCH(quint8, low);
    QFETCH(quint8, high);
    QFETCH(int, word);
    QFETCH(bool, onlyUnsigned);

    Session session;
    if (onlyUnsigned)
        QCOMPARE(thrownBy([&] { deviceWord(session, low, high); }), QStringLiteral("Overflow"));
    else
        QCOMPARE(int{deviceWord(session, low, high)}, word);
    session.UnsignedWords = true;
    QCOMPARE(int{deviceWord(session, low, high)}, word);
}

void TestFiles::fieldsThatDoNotFit()
{
    QCOMPARE(checked<quint8>(255), quint8{255});
    QCOMPARE(checked<quint16>(65535), quint16{65535});
    QCOMPARE(thrownBy([] { checked<quint8>(256); }), QStringLiteral("Overflow"));
    QCOMPARE(thrownBy([] { checked<quint8>(-1); }), QStringLiteral("Overflow"));
    QCOMPARE(thrownBy([] { checked<quint16>(65536); }), QStringLiteral("Overflow"));
}

VANTREL_TEST(TestFiles)
#include "tst_files.moc"
