// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/Crc.h"
#include "maintenance/FirmwareLoader.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QString library(const char *folder)
{
    return QStringLiteral(CRC_LIBRARIES "/") + QLatin1String(folder);
}

} // namespace

class tst_crc : public QObject
{
    Q_OBJECT

private slots:
    void builtIn_data();
    void builtIn();
    void inPieces();
    void library_data();
    void library();
    void libraryWithoutTheFunction();
    void fileThatIsNoLibrary();
    void loaderUsesTheLibrary();
};

void tst_crc::builtIn_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<quint32>("value");
    QTest::newRow("the nine digits") << QByteArray("123456789") << 0xCBF43926U;
    QTest::newRow("one zero") << QByteArray(1, '\0') << 0xD202EF8DU;
    QTest::newRow("none") << QByteArray("") << 0U;
}

void tst_crc::builtIn()
{
    QFETCH(QByteArray, bytes);
    const QTemporaryDir empty;
    const Crc crc(empty.path());
    QTEST(crc.update(0, bytes), "value");
    QCOMPARE(crc.origin(), QStringLiteral("CRC-32 (built in)"));
}

void tst_crc::inPieces()
{
    const QTemporaryDir empty;
    const Crc crc(empty.path());
    QCOMPARE(crc.update(crc.update(0, "12345"), "6789"), 0xCBF43926U);
}

void tst_crc::library_data()
{
    QTest::addColumn<QString>("directory");
    QTest::newRow("_update_crc") << ::library("underscore");
    QTest::newRow("update_crc") << ::library("plain");
}

void tst_crc::library()
{
    QFETCH(QString, directory);
    const Crc crc(directory);
    QCOMPARE(crc.update(0, "01 02 ff"_hex), 0x80000102U);
    QCOMPARE(crc.update(0x1000, "01"_hex), 0x80001001U);
    QCOMPARE(crc.origin(), QStringLiteral("CRC by ") + directory + QStringLiteral("/libcrc.so"));
}

void tst_crc::libraryWithoutTheFunction()
{
    const Crc crc(::library("other"));
    QCOMPARE(crc.update(0, "123456789"), 0xCBF43926U);
    QCOMPARE(crc.origin(), QStringLiteral("CRC-32 (built in)"));
}

void tst_crc::fileThatIsNoLibrary()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("libcrc.so")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not a library");
    file.close();
    const Crc crc(directory.path());
    QCOMPARE(crc.update(0, "123456789"), 0xCBF43926U);
    QCOMPARE(crc.origin(), QStringLiteral("CRC-32 (built in)"));
}

void tst_crc::loaderUsesTheLibrary()
{
    ConsoleBench bench;
    bench.run();
    FirmwareLoader loader(bench.session, bench.console.link(), bench.console.commands(),
                          bench.dialogs, bench.console.errors(), ::library("underscore"));
    loader.opened();
    QVERIFY(loader.controls().lblCRC.toolTip().startsWith(QLatin1String("CRC by ")));

    QFile image(bench.directory.filePath(QStringLiteral("new.bin")));
    QVERIFY(image.open(QIODevice::WriteOnly));
    image.write("NV\x1B\x01");
    image.close();
    bench.dialogs.paths = {image.fileName()};
    loader.fileSelectClicked();
    QCOMPARE(loader.controls().lblCRC.text(), QStringLiteral("Image CRC = 800000C0"));

    loader.programClicked();
    bench.serial->takeWritten();
    bench.answer("b3 00000004"_hex);
    QCOMPARE(bench.serial->takeWritten(), "1b53 34 800000c0 1b45"_hex);
    bench.console.shutDown();
}

VANTREL_TEST(tst_crc)
#include "tst_crc.moc"
