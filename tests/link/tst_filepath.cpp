// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FilePath.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;

class TestFilePath : public QObject
{
    Q_OBJECT

private slots:
    void convertsWithoutLoss_data();
    void convertsWithoutLoss();
    void showsInOneLine_data();
    void showsInOneLine();
};

void TestFilePath::convertsWithoutLoss_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("plain") << QByteArray("/tmp/a b.vn") << QStringLiteral("/tmp/a b.vn");
    QTest::newRow("UTF-8") << QByteArray("caf\xC3\xA9.vn") << QStringLiteral(u"caf\u00E9.vn");
    QTest::newRow("two surrogates")
        << QByteArray("\xF0\x9F\x98\x80.vn") << QStringLiteral(u"\U0001F600.vn");
    QTest::newRow("Latin-1") << QByteArray("caf\xE9.vn")
                             << QStringLiteral("caf") + QChar(0xDCE9) + QStringLiteral(".vn");
    QTest::newRow("cut sequence") << QByteArray("\xC3\xA9\xC3")
                                  << QStringLiteral(u"\u00E9") + QChar(0xDCC3);
    QTest::newRow("too long a form")
        << QByteArray("\xC0\x80") << QString(QChar(0xDCC0)) + QChar(0xDC80);
    // U+DC80 encoded as if it were a character is not valid UTF-8.
    QTest::newRow("encoded surrogate")
        << QByteArray("\xED\xB2\x80") << QString(QChar(0xDCED)) + QChar(0xDCB2) + QChar(0xDC80);
    QTest::newRow("after two surrogates")
        << QByteArray("\xF0\x9F\x98\x80\xFF") << QStringLiteral(u"\U0001F600") + QChar(0xDCFF);
}

void TestFilePath::convertsWithoutLoss()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QString, path);
    QCOMPARE(pathFromBytes(bytes), path);
    QCOMPARE(pathBytes(path), bytes);
}

void TestFilePath::showsInOneLine_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << QByteArray("/tmp/a b.vn") << QStringLiteral("/tmp/a b.vn");
    QTest::newRow("UTF-8") << QByteArray("caf\xC3\xA9") << QStringLiteral(u"caf\u00E9");
    QTest::newRow("quote, backslash") << QByteArray("a\"b\\c") << QStringLiteral("a\\\"b\\\\c");
    QTest::newRow("line ends, tab") << QByteArray("a\nb\rc\td") << QStringLiteral("a\\nb\\rc\\td");
    QTest::newRow("control characters")
        << QByteArray("\x1B\x7F\xC2\x85") << QStringLiteral("\\x1B\\x7F\\u0085");
    QTest::newRow("line separator") << QByteArray("a\xE2\x80\xA8") << QStringLiteral("a\\u2028");
    QTest::newRow("not UTF-8") << QByteArray("caf\xE9\xFF") << QStringLiteral("caf\\xE9\\xFF");
}

void TestFilePath::showsInOneLine()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QString, shown);
    QCOMPARE(shownPath(pathFromBytes(bytes)), shown);
}

VANTREL_TEST(TestFilePath)
#include "tst_filepath.moc"
