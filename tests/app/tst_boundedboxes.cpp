// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OwnerBench.h"
#include "support/TestProgram.h"

#include <QPlainTextEdit>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QList<QMessageBox *> openBoxes()
{
    QList<QMessageBox *> boxes;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *box = qobject_cast<QMessageBox *>(window); box && box->isVisible())
            boxes.append(box);
    }
    return boxes;
}

QByteArray packet(const OwnerBench &bench, const char *hex)
{
    return bench.session.PacketStart + QByteArray::fromHex(hex) + bench.session.PacketEnd;
}

} // namespace

/// How many boxes received bytes can open, with the real windows and boxes.
class tst_boundedboxes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void failingReplies();
    void repliesToAScript();
    void walkAfterWalk();
    void failuresOfTheLink();
};

void tst_boundedboxes::failingReplies()
{
    OwnerBench bench;
    QWidget &viewer = bench.open("UtilDV");
    child<QPushButton>(viewer, "GetDesc").click();
    QVERIFY(bench.session.DescActive);
    bench.serial->receive(packet(bench, "810012").repeated(5000));
    QCOMPARE(openBoxes().size(), 1);
    QCOMPARE(openBoxes()[0]->text(), QStringLiteral("Subscript out of range"));
    QCOMPARE(openBoxes()[0]->informativeText(), QString());
    QCOMPARE(openBoxes()[0]->parentWidget(), &viewer);
    QVERIFY(!bench.session.DescActive);
    QVERIFY(child<QPlainTextEdit>(viewer, "DescInfo")
                .toPlainText()
                .endsWith(QLatin1String("\n*** Get Descriptors Terminated\n"
                                        "      --- Subscript out of range\n")));
    QVERIFY(bench.session.RespText.text().endsWith(
        "-- Device Request Response: Status = 00\r\n 12 \r\n"));
}

/// A script asks a device that does not answer GET_DESCRIPTOR for its status, 74 times a second.
void tst_boundedboxes::repliesToAScript()
{
    OwnerBench bench;
    QWidget &viewer = bench.open("UtilDV");
    child<QPushButton>(viewer, "GetDesc").click();
    for (int i = 0; i < 371; ++i) {
        bench.serial->receive(packet(bench, "81000000"));
        if (i % 8 == 7)
            bench.tick();
    }
    QCOMPARE(openBoxes().size(), 1);
}

/// One retrieval after the other fails while the box of the first one is open.
void tst_boundedboxes::walkAfterWalk()
{
    OwnerBench bench;
    bench.open("UtilDV");
    for (int i = 0; i < 100; ++i) {
        bench.tools.viewer.getDescClicked();
        bench.serial->receive(packet(bench, "810012").repeated(2));
    }
    QCOMPARE(openBoxes().size(), 1);
    QTRY_COMPARE(openBoxes()[0]->informativeText(), QStringLiteral("(100 times)"));
    openBoxes()[0]->button(QMessageBox::Ok)->click();
    QVERIFY(openBoxes().isEmpty());
}

void tst_boundedboxes::failuresOfTheLink()
{
    OwnerBench bench;
    for (int i = 0; i < 100; ++i)
        emit bench.console.link().socketError(QStringLiteral("gone"));
    QCOMPARE(openBoxes().size(), 1);
    QTRY_COMPARE(openBoxes()[0]->informativeText(), QStringLiteral("(100 times)"));
    openBoxes()[0]->button(QMessageBox::Ok)->click();
    QCOMPARE(bench.session.LinkState, LinkStates::Closed);
}

VANTREL_WINDOW_TEST(tst_boundedboxes)
#include "tst_boundedboxes.moc"
