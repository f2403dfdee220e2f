// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PairMatrix.h"
#include "support/TestProgram.h"

#include <QTest>

#include <array>

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr std::size_t Count = 11;

/// Row: the operation under way. Column: the one that is started then, in the same order. The
/// characters are those of Second.
constexpr std::array<const char *, Count> Effects{
    //                  download  firmw. FTDI
    //                script run flash EZ  read program verify walk request network
    /* script download   */ "- - - x x x x x w w -",
    /* script run        */ "- - r r r x x x + + +",
    /* flash download    */ "- - - x x x x x w w -",
    /* EZ-USB load       */ "x x x - x x x x w w w",
    /* firmware download */ "x x x x - x x x + + +",
    /* FTDI read         */ "x x x x x - - - w w +",
    /* FTDI program      */ "x x x x x - - - w w +",
    /* FTDI verify       */ "x x x x x - - - w w +",
    /* descriptor walk   */ "+ + + + + w w w - w +",
    /* device request    */ "+ + + + + w w w w + +",
    /* network read      */ "+ + + + + + + + + + -",
};

/// Cells in which an operation does not succeed, by the names of both.
struct Exception
{
    const char *cell;
    const char *firstOutcome;
    const char *secondOutcome;
};

constexpr std::array Exceptions{
    Exception{"script run, then flash download", "replaced", "done"},
    Exception{"script run, then EZ-USB load", "replaced", "done"},
    // The tester restarts.
    Exception{"script run, then firmware download", "replaced", "done"},
    Exception{"firmware download, then descriptor walk", "done", "Timeout"},
    Exception{"descriptor walk, then firmware download", "Timeout", "done"},
};

} // namespace

/// Each operation started while each other one is under way.
class tst_operationpairs : public QObject
{
    Q_OBJECT

private slots:
    void pair_data();
    void pair();
};

void tst_operationpairs::pair_data()
{
    QTest::addColumn<Pair>("pair");
    const QList<PairOperation> &operations = pairOperations();
    QCOMPARE(operations.size(), static_cast<qsizetype>(Count));
    for (std::size_t first = 0; first < Count; ++first) {
        for (std::size_t second = 0; second < Count; ++second) {
            Pair pair{static_cast<int>(first), static_cast<int>(second),
                      static_cast<Second>(Effects.at(first)[2 * second]), QStringLiteral("done"),
                      QStringLiteral("done")};
            const QByteArray name = (operations.at(pair.first).name + QStringLiteral(", then ") +
                                     operations.at(pair.second).name)
                                        .toLatin1();
            for (const Exception &exception : Exceptions) {
                if (name != exception.cell)
                    continue;
                pair.firstOutcome = QString::fromLatin1(exception.firstOutcome);
                pair.secondOutcome = QString::fromLatin1(exception.secondOutcome);
            }
            QTest::newRow(name.constData()) << pair;
        }
    }
}

void tst_operationpairs::pair()
{
    QFETCH(Pair, pair);
    checkPair(pair);
}

VANTREL_TEST(tst_operationpairs)
#include "tst_operationpairs.moc"
