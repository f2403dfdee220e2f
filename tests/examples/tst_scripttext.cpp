// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScriptText.h"
#include "protocol/ScriptFile.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeTo(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

struct Outcome
{
    int code;
    QString errors;
};

Outcome runProgram(const QStringList &arguments)
{
    QProcess process;
    process.start(QString::fromLatin1(PROGRAM), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {-1, process.errorString()};
    return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardError())};
}

QStringList examples(const QString &suffix)
{
    QStringList names;
    const QDir directory(QString::fromLatin1(EXAMPLES));
    for (const QFileInfo &file : directory.entryInfoList({QLatin1String("*.") + suffix}))
        names.append(file.completeBaseName());
    return names;
}

QString example(const QString &name, const char *suffix)
{
    return QStringLiteral("%1/%2.%3").arg(QLatin1String(EXAMPLES), name, QLatin1String(suffix));
}

} // namespace

class tst_scripttext : public QObject
{
    Q_OBJECT

private slots:
    void builds_data();
    void builds();
    void refuses_data();
    void refuses();
    void everyExampleHasItsText();
    void exampleIsWhatItsTextSays_data();
    void exampleIsWhatItsTextSays();
    void programTellsTheLine();
    void programTellsWhatItCannotRead();
    void programTellsWhatItCannotWrite();
    void programTellsItsUsage();
};

void tst_scripttext::builds_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("script");

    QTest::newRow("only its end") << QByteArray("21") << "1b53 21 1b45"_hex;
    QTest::newRow("steps") << QByteArray("02 00\n0b\n21\n")
                           << "1b53 0200 1b45 1b53 0b 1b45 1b53 21 1b45"_hex;
    QTest::newRow("comments and empty lines")
        << QByteArray("# 0b\n\n \t\n0b#21\n 21  # the end # 0b") << "1b53 0b 1b45 1b53 21 1b45"_hex;
    QTest::newRow("line ends of two bytes")
        << QByteArray("0B\r\n\r\n21\r\n") << "1b53 0b 1b45 1b53 21 1b45"_hex;
    QTest::newRow("tabs and cases")
        << QByteArray("28\taA  Bb\n21") << "1b53 28aabb 1b45 1b53 21 1b45"_hex;
    QTest::newRow("ESC is doubled")
        << QByteArray("28 1B 53 1B 1B\n21") << "1b53 28 1b1b 53 1b1b1b1b 1b45 1b53 21 1b45"_hex;
    QTest::newRow("ESC as the code") << QByteArray("1B\n21") << "1b53 1b1b 1b45 1b53 21 1b45"_hex;
    QTest::newRow("the end's code inside a step")
        << QByteArray("28 21\n21") << "1b53 2821 1b45 1b53 21 1b45"_hex;
}

void tst_scripttext::builds()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, script);
    const ScriptBuild built = buildScript(text);
    QCOMPARE(built.error, QString());
    QCOMPARE(built.script.toHex(' '), script.toHex(' '));
    QVERIFY(!oddityOfScript(built.script));
}

void tst_scripttext::refuses_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("error");
    const auto notAByte = [](const char *word) {
        return QStringLiteral("\"%1\" is not a byte of two hexadecimal digits")
            .arg(QString::fromUtf8(word));
    };
    const auto noEnd = QStringLiteral("the script does not end: its last step must be 21");
    const auto behindTheEnd = QStringLiteral("a step behind the end of the script");

    QTest::newRow("nothing") << QByteArray() << 1 << noEnd;
    QTest::newRow("only comments") << QByteArray("# a\n# b") << 2 << noEnd;
    QTest::newRow("no end") << QByteArray("0B\n0E") << 2 << noEnd;
    QTest::newRow("one digit") << QByteArray("0B\n\n02 1\n21") << 3 << notAByte("1");
    QTest::newRow("three digits") << QByteArray("0B0\n21") << 1 << notAByte("0B0");
    QTest::newRow("no digit") << QByteArray("0B\n0G\n21") << 2 << notAByte("0G");
    QTest::newRow("a prefix") << QByteArray("0x0B\n21") << 1 << notAByte("0x0B");
    QTest::newRow("a comment without its sign")
        << QByteArray("0B status\n21") << 1 << notAByte("status");
    QTest::newRow("a long word") << QByteArray("0123456789012345678901234\n21") << 1
                                 << notAByte("01234567890123456789");
    QTest::newRow("two ends") << QByteArray("21\n21") << 2 << behindTheEnd;
    QTest::newRow("a step behind the end") << QByteArray("21\n#\n0B") << 3 << behindTheEnd;
    QTest::newRow("an end with more")
        << QByteArray("0B\n21 00") << 2 << QStringLiteral("the end of the script is 21 alone");
    QTest::newRow("a download inside")
        << QByteArray("0C\n21") << 1 << QStringLiteral("0C would start the download anew");
}

void tst_scripttext::refuses()
{
    QFETCH(QByteArray, text);
    const ScriptBuild built = buildScript(text);
    QTEST(built.line, "line");
    QTEST(built.error, "error");
    QVERIFY(built.script.isEmpty());
}

void tst_scripttext::everyExampleHasItsText()
{
    const QStringList scripts = examples(QStringLiteral("vn"));
    QStringList texts = examples(QStringLiteral("txt"));
    texts.removeOne(QStringLiteral("CMakeLists"));
    QVERIFY(scripts.size() >= 4);
    QCOMPARE(texts, scripts);
}

void tst_scripttext::exampleIsWhatItsTextSays_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : examples(QStringLiteral("vn")))
        QTest::newRow(qPrintable(name)) << name;
}

void tst_scripttext::exampleIsWhatItsTextSays()
{
    QFETCH(QString, name);
    const QTemporaryDir directory;
    const QString built = directory.filePath(QStringLiteral("built.vn"));
    const Outcome outcome = runProgram({example(name, "txt"), built});
    QCOMPARE(outcome.errors, QString());
    QCOMPARE(outcome.code, 0);

    const QByteArray script = contentsOf(example(name, "vn"));
    QCOMPARE(script.toHex(' '), contentsOf(built).toHex(' '));
    const auto oddity = oddityOfScript(script);
    QVERIFY2(!oddity, qPrintable(oddity.value_or(QString())));
}

void tst_scripttext::programTellsTheLine()
{
    const QTemporaryDir directory;
    const QString text = directory.filePath(QStringLiteral("wrong.txt"));
    const QString script = directory.filePath(QStringLiteral("wrong.vn"));
    QVERIFY(writeTo(text, "0B # status\n02 on\n21\n"));
    QVERIFY(writeTo(script, "as it was"));

    const Outcome outcome = runProgram({text, script});
    QCOMPARE(outcome.errors,
             text + QStringLiteral(":2: \"on\" is not a byte of two hexadecimal digits\n"));
    QCOMPARE(outcome.code, 1);
    QCOMPARE(contentsOf(script), QByteArray("as it was"));
}

void tst_scripttext::programTellsWhatItCannotRead()
{
    const QTemporaryDir directory;
    const QString text = directory.filePath(QStringLiteral("nowhere.txt"));
    const Outcome outcome = runProgram({text, directory.filePath(QStringLiteral("out.vn"))});
    QCOMPARE(outcome.errors, text + QStringLiteral(": No such file or directory\n"));
    QCOMPARE(outcome.code, 1);
}

void tst_scripttext::programTellsWhatItCannotWrite()
{
    const QTemporaryDir directory;
    const QString text = directory.filePath(QStringLiteral("in.txt"));
    const QString script = directory.filePath(QStringLiteral("nowhere/out.vn"));
    QVERIFY(writeTo(text, "21\n"));
    const Outcome outcome = runProgram({text, script});
    QVERIFY2(outcome.errors.startsWith(script + QStringLiteral(": ")), qPrintable(outcome.errors));
    QCOMPARE(outcome.code, 1);
}

void tst_scripttext::programTellsItsUsage()
{
    for (const QStringList &arguments :
         {QStringList{}, QStringList{QStringLiteral("a")},
          QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}}) {
        const Outcome outcome = runProgram(arguments);
        QCOMPARE(outcome.errors, QStringLiteral("Usage: vantrel-script IN.txt OUT.vn\n"));
        QCOMPARE(outcome.code, 2);
    }
}

VANTREL_TEST(tst_scripttext)
#include "tst_scripttext.moc"
