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
    void shownFormNamesThePath_data() { showsInOneLine_data(); }
    void shownFormNamesThePath();
    void typedForms_data();
    void typedForms();
    void nameWithoutDirectory();
    void undecoded();
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
    QTest::newRow("direction of writing")
        << QByteArray("a\xE2\x80\xAEnv.b\xE2\x81\xA9") << QStringLiteral("a\\u202env.b\\u2069");
}

void TestFilePath::showsInOneLine()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QString, shown);
    QCOMPARE(shownPath(pathFromBytes(bytes)), shown);
}

void TestFilePath::shownFormNamesThePath()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QString, shown);
    QCOMPARE(pathBytes(pathFromShown(shown).value_or(QString())), bytes);
}

void TestFilePath::typedForms_data()
{
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("isForm");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *shown, bool isForm, const QByteArray &bytes) {
        QTest::newRow(shown) << QString::fromLatin1(shown) << isForm << bytes;
    };
    row("plain.vn", true, "plain.vn");
    row("a\"b", true, "a\"b"); // a quote need not be escaped
    row("\\xe9", true, "\xE9");
    row("\\x41", true, "A");
    row("\\xC3\\xA9", true, "\xC3\xA9"); // one character
    row("\\u00E9", true, "\xC3\xA9");
    row("\\", false, {});
    row("a\\q", false, {});
    row("\\x4", false, {});
    row("\\x4G", false, {});
    row("\\x+4", false, {});
    row("\\x", false, {});
    row("\\u12", false, {});
    row("\\u", false, {});
    row("\\x00", false, {}); // no path has a zero byte
    row("\\u0000", false, {});
}

void TestFilePath::typedForms()
{
    QFETCH(const QString, shown);
    QFETCH(const bool, isForm);
    QFETCH(const QByteArray, bytes);
    const auto path = pathFromShown(shown);
    QCOMPARE(path.has_value(), isForm);
    QCOMPARE(path.value_or(QString()), pathFromBytes(bytes));
}

void TestFilePath::nameWithoutDirectory()
{
    QCOMPARE(shownName(QStringLiteral("/a\n/b\"c.vn")), QStringLiteral("b\\\"c.vn"));
    QCOMPARE(shownName(QStringLiteral("plain")), QStringLiteral("plain"));
    QCOMPARE(shownName(QString()), QString());
}

void TestFilePath::undecoded()
{
    QVERIFY(isDecoded(QStringLiteral(u"/caf\u00E9/\U0001F600")));
    QVERIFY(!isDecoded(pathFromBytes("/caf\xE9")));
}

VANTREL_TEST(TestFilePath)
#include "tst_filepath.moc"
