// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/ScriptFile.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

#include <QTest>

using namespace vantrel;
using namespace vantrel::test;

class tst_scriptfile : public QObject
{
    Q_OBJECT

private slots:
    void oddities_data();
    void oddities();
    void inPieces_data() { oddities_data(); }
    void inPieces();
};

void tst_scriptfile::oddities_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("oddity"); // empty: there is none

    QTest::newRow("only the end") << "1b53 21 1b45"_hex
                                  << "";
    QTest::newRow("two packets") << "1b53 08 1b45 1b53 21 1b45"_hex
                                 << "";
    QTest::newRow("doubled ESC") << "1b53 05 1b1b 1b45 1b53 21 1b45"_hex
                                 << "";
    QTest::newRow("S and E are data") << "1b53 31 53 45 1b45 1b53 21 1b45"_hex
                                      << "";
    QTest::newRow("empty file") << QByteArray() << "the script is empty, at byte 0";
    QTest::newRow("no frame") << "08 21"_hex
                              << "no packet starts here, at byte 0";
    QTest::newRow("byte between packets") << "1b53 08 1b45 0a 1b53 21 1b45"_hex
                                          << "no packet starts here, at byte 5";
    QTest::newRow("double ESC between packets") << "1b53 08 1b45 1b1b 53 21 1b45"_hex
                                                << "no packet starts here, at byte 5";
    QTest::newRow("byte after the end") << "1b53 21 1b45 00"_hex
                                        << "no packet starts here, at byte 5";
    QTest::newRow("empty packet") << "1b53 1b45 1b53 21 1b45"_hex
                                  << "an empty packet, at byte 0";
    QTest::newRow("stray ESC") << "1b53 05 1b41 1b45 1b53 21 1b45"_hex
                               << "a stray ESC in a packet, at byte 3";
    QTest::newRow("packet begun inside a packet") << "1b53 08 1b53 21 1b45"_hex
                                                  << "a stray ESC in a packet, at byte 3";
    QTest::newRow("cut in a body") << "1b53 08 1b45 1b53 21"_hex
                                   << "the packet does not end, at byte 5";
    QTest::newRow("cut after an ESC") << "1b53 21 1b"_hex
                                      << "a stray ESC in a packet, at byte 3";
    QTest::newRow("cut in a start") << "1b53 21 1b45 1b"_hex
                                    << "no packet starts here, at byte 5";
    QTest::newRow("no end of script") << "1b53 21 1b45 1b53 08 1b45"_hex
                                      << "the last packet is not the end of the script, at byte 5";
    QTest::newRow("end with a field") << "1b53 21 00 1b45"_hex
                                      << "the last packet is not the end of the script, at byte 0";
}

void tst_scriptfile::oddities()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, oddity);
    QCOMPARE(oddityOfScript(script).value_or(QString()), oddity);
}

/// The same, wherever the pieces end.
void tst_scriptfile::inPieces()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, oddity);
    for (qsizetype size = 1; size <= script.size(); ++size) {
        ScriptCheck check;
        for (qsizetype at = 0; at < script.size(); at += size)
            check.examine(script.mid(at, size));
        QCOMPARE(check.oddity().value_or(QString()), oddity);
    }
}

VANTREL_TEST(tst_scriptfile)
#include "tst_scriptfile.moc"
