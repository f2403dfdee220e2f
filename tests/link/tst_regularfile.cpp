// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FilePath.h"
#include "link/RegularFile.h"
#include "support/TestProgram.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace vantrel;

namespace {

const QString NotRegular = QStringLiteral("Not a regular file");

} // namespace

/// Nothing here may block: without its check, openRegularFile() would wait for the other end of the
/// FIFO for ever.
class TestRegularFile : public QObject
{
    Q_OBJECT

private slots:
    void rejectsWhatIsNoFile_data();
    void rejectsWhatIsNoFile();
    void truncatesAndAppends();
    void createsExclusively();
    void opensNamesThatAreNotUtf8();

private:
    QTemporaryDir m_directory;
    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }
};

void TestRegularFile::rejectsWhatIsNoFile_data()
{
    QTest::addColumn<QString>("path");
    QCOMPARE(::mkfifo(path("fifo").toLocal8Bit().constData(), 0600), 0);
    QTest::newRow("FIFO") << path("fifo");
    QTest::newRow("directory") << m_directory.path();
    QTest::newRow("device") << QStringLiteral("/dev/zero");
}

void TestRegularFile::rejectsWhatIsNoFile()
{
    QFETCH(const QString, path);
    for (const QIODevice::OpenMode mode :
         {QIODevice::OpenMode(QIODevice::ReadOnly), QIODevice::OpenMode(QIODevice::ReadWrite),
          QIODevice::WriteOnly | QIODevice::Append, QIODevice::WriteOnly | QIODevice::Truncate}) {
        QFile file;
        QCOMPARE(openRegularFile(file, path, mode).value_or(QString()), NotRegular);
        QVERIFY(!file.isOpen());
    }
}

void TestRegularFile::truncatesAndAppends()
{
    const auto write = [this](QIODevice::OpenMode mode, const char *text) {
        QFile file;
        QVERIFY(!openRegularFile(file, path("file"), mode));
        QVERIFY(file.write(text) > 0);
    };
    const auto contents = [this] {
        QFile file;
        return openRegularFile(file, path("file"), QIODevice::ReadOnly)
                       .value_or(QString())
                       .isEmpty()
                   ? file.readAll()
                   : QByteArray("not open");
    };
    write(QIODevice::WriteOnly | QIODevice::Truncate, "first");
    write(QIODevice::WriteOnly | QIODevice::Append, " second");
    QCOMPARE(contents(), "first second");
    write(QIODevice::ReadWrite, "F");
    QCOMPARE(contents(), "First second");
    write(QIODevice::WriteOnly | QIODevice::Truncate, "third");
    QCOMPARE(contents(), "third");
}

void TestRegularFile::createsExclusively()
{
    QFile first;
    QVERIFY(!openRegularFile(first, path("new"), QIODevice::WriteOnly | QIODevice::NewOnly, 0600));
    struct stat status = {};
    QCOMPARE(::stat(path("new").toLocal8Bit().constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
    QFile second;
    QCOMPARE(openRegularFile(second, path("new"), QIODevice::WriteOnly | QIODevice::NewOnly)
                 .value_or(QString()),
             QStringLiteral("File exists"));
    QFile missing;
    QCOMPARE(openRegularFile(missing, path("gone"), QIODevice::WriteOnly | QIODevice::ExistingOnly)
                 .value_or(QString()),
             QStringLiteral("No such file or directory"));
}

void TestRegularFile::opensNamesThatAreNotUtf8()
{
    const QByteArray name = m_directory.path().toLocal8Bit() + "/caf\xE9\n\".vn";
    QFile file;
    QVERIFY(!openRegularFile(file, pathFromBytes(name), QIODevice::WriteOnly));
    struct stat status = {};
    QCOMPARE(::stat(name.constData(), &status), 0);
}

VANTREL_TEST(TestRegularFile)
#include "tst_regularfile.moc"
