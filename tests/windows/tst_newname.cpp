// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/frmNewIP.h"
#include "support/TestProgram.h"
#include "windows/DialogBench.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QWheelEvent>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// The window with two names in its list, and what the user does there.
struct NamesBench : DialogBench
{
    NamesBench()
    {
        QFile file(namesFile);
        file.open(QIODevice::WriteOnly);
        file.write("first.local\r\n10.0.0.2\r\n");
        file.close();
        console->load(namesFile);
    }

    /// Chooses from the list by its arrow keys.
    void choose(const QString &entry)
    {
        list.setFocus();
        while (list.currentText() != entry) {
            const bool below = list.findText(entry) > list.currentIndex();
            QTest::keyClick(&list, below ? Qt::Key_Down : Qt::Key_Up);
        }
    }

    void add(const QString &name)
    {
        field.setText(name);
        QTest::keyClick(&field, Qt::Key_Return);
    }

    QByteArray fileContents() const
    {
        QFile file(namesFile);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }

    QComboBox &list = child<QComboBox>(*window, "cbNWName");
    frmNewIP &form = child<frmNewIP>(*window, "frmNewIP");
    QLineEdit &field = child<QLineEdit>(form, "tbName");
};

const QString NewEntry = QStringLiteral("<New>");

} // namespace

/// The list of network names and the dialog that adds one.
class TestNewName : public QObject
{
    Q_OBJECT

private slots:
    void missingFileIsTold();
    void choosing();
    void wheelChoosesNothing();
    void newOpensTheDialog();
    void adding();
    void addingByButton();
    void addingNothing();
    void refusal();
    void fileCannotBeWritten();
    void completesTheFile();
    void leaving_data();
    void leaving();
    void leavingWithNothingChosen();
    void opensEmptyAgain();
};

void TestNewName::missingFileIsTold()
{
    DialogBench bench;
    QFile::remove(bench.namesFile);
    bench.console->load(bench.namesFile);
    auto *box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Creating Network Name File"));
    QCOMPARE(box->windowTitle(), QStringLiteral("Vantrel Initialization"));
    QCOMPARE(box->parentWidget(), bench.window.get());
    QVERIFY(!QFile::exists(bench.namesFile));
    QVERIFY(!bench.main.cbNWName.isEnabled());

    box->button(QMessageBox::Ok)->click();
    QVERIFY(QFile::exists(bench.namesFile));
    QVERIFY(child<QComboBox>(*bench.window, "cbNWName").isEnabled());
}

void TestNewName::choosing()
{
    NamesBench bench;
    bench.choose(QStringLiteral("10.0.0.2"));
    QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("10.0.0.2"));
    QCOMPARE(bench.console->link().remoteHost(), QStringLiteral("10.0.0.2"));
    QVERIFY(!bench.form.isVisible());
}

void TestNewName::wheelChoosesNothing()
{
    NamesBench bench;
    bench.choose(QStringLiteral("10.0.0.2"));
    for (const int notch : {120, -120}) {
        const QPointF spot = bench.list.rect().center();
        QWheelEvent turn(spot, bench.list.mapToGlobal(spot), {}, {0, notch}, Qt::NoButton, {},
                         Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&bench.list, &turn);
        QCOMPARE(bench.list.currentText(), QStringLiteral("10.0.0.2"));
        QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("10.0.0.2"));
        QVERIFY(!bench.form.isVisible());
    }
}

void TestNewName::newOpensTheDialog()
{
    NamesBench bench;
    bench.choose(QStringLiteral("10.0.0.2"));
    bench.choose(NewEntry);
    QVERIFY(bench.form.isVisible());
    QCOMPARE(bench.form.windowModality(), Qt::WindowModal);
    QVERIFY(bench.field.hasFocus() || bench.form.focusWidget() == &bench.field);
    QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("10.0.0.2"));
}

void TestNewName::adding()
{
    NamesBench bench;
    bench.choose(NewEntry);
    bench.add(QStringLiteral("tester-3.bench"));
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.list.count(), 4);
    QCOMPARE(bench.list.currentText(), QStringLiteral("tester-3.bench"));
    QCOMPARE(bench.list.itemText(3), NewEntry);
    QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("tester-3.bench"));
    QCOMPARE(bench.fileContents(), QByteArray("first.local\r\n10.0.0.2\r\ntester-3.bench\r\n"));
}

void TestNewName::addingByButton()
{
    NamesBench bench;
    bench.choose(NewEntry);
    bench.field.setText(QStringLiteral("10.0.0.9"));
    QTest::mouseClick(&child<QPushButton>(bench.form, "btOK"), Qt::LeftButton);
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.list.currentText(), QStringLiteral("10.0.0.9"));
}

void TestNewName::addingNothing()
{
    NamesBench bench;
    bench.choose(NewEntry);
    bench.add({});
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.list.count(), 4);
    QCOMPARE(bench.list.currentIndex(), 2);
    QCOMPARE(bench.fileContents(), QByteArray("first.local\r\n10.0.0.2\r\n\r\n"));
}

void TestNewName::refusal()
{
    NamesBench bench;
    bench.choose(NewEntry);
    QTRY_COMPARE(QApplication::activeWindow(), &bench.form);
    bench.add(QStringLiteral("two words"));
    auto *box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->text(), QStringLiteral("Illegal Character in Network Name: ' '"));
    QCOMPARE(box->windowTitle(), QStringLiteral("Error Adding Network Name"));
    QCOMPARE(box->parentWidget(), &bench.form);

    box->button(QMessageBox::Ok)->click();
    QVERIFY(bench.form.isVisible());
    QCOMPARE(bench.field.text(), QStringLiteral("two words"));
    QCOMPARE(bench.list.count(), 3);

    bench.add(QStringLiteral("twowords"));
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.list.currentText(), QStringLiteral("twowords"));
}

void TestNewName::fileCannotBeWritten()
{
    NamesBench bench;
    bench.choose(NewEntry);
    QFile::remove(bench.namesFile);
    QVERIFY(QDir().mkdir(bench.namesFile));
    bench.add(QStringLiteral("third"));
    auto *box = openWindow<QMessageBox>("MessageBox");
    QVERIFY(box);
    QCOMPARE(box->windowTitle(), QStringLiteral("Vantrel - Error"));
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(box->parentWidget(), bench.window.get());
    box->button(QMessageBox::Ok)->click();
    QCOMPARE(bench.list.currentText(), QStringLiteral("third")); // used for this run
    QCOMPARE(bench.list.count(), 4);
    QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("third"));
    QCOMPARE(bench.console->link().remoteHost(), QStringLiteral("third"));
}

void TestNewName::completesTheFile()
{
    NamesBench bench;
    QFile file(bench.namesFile);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("first.local\r\n10.0.0.2");
    file.close();
    bench.choose(NewEntry);
    bench.add(QStringLiteral("third"));
    QCOMPARE(bench.fileContents(), QByteArray("first.local\r\n10.0.0.2\r\nthird\r\n"));
}

void TestNewName::leaving_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("btCancel") << 0;
    QTest::newRow("Escape") << 1;
    QTest::newRow("frame") << 2;
}

void TestNewName::leaving()
{
    QFETCH(int, way);
    NamesBench bench;
    bench.choose(QStringLiteral("10.0.0.2"));
    bench.choose(NewEntry);
    bench.field.setText(QStringLiteral("never"));
    if (way == 0)
        QTest::mouseClick(&child<QPushButton>(bench.form, "btCancel"), Qt::LeftButton);
    else if (way == 1)
        QTest::keyClick(&bench.form, Qt::Key_Escape);
    else
        bench.form.close();
    QVERIFY(!bench.form.isVisible());
    QCOMPARE(bench.list.currentText(), QStringLiteral("10.0.0.2"));
    QCOMPARE(bench.list.count(), 3);
    QCOMPARE(bench.console->session().RemoteHost, QStringLiteral("10.0.0.2"));
    QCOMPARE(bench.fileContents(), QByteArray("first.local\r\n10.0.0.2\r\n"));
}

void TestNewName::leavingWithNothingChosen()
{
    DialogBench bench;
    auto &list = child<QComboBox>(*bench.window, "cbNWName");
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Down);
    auto &form = child<frmNewIP>(*bench.window, "frmNewIP");
    QVERIFY(form.isVisible());
    QTest::keyClick(&form, Qt::Key_Escape);
    QCOMPARE(list.currentIndex(), -1);

    QTest::keyClick(&list, Qt::Key_Down);
    QVERIFY2(form.isVisible(), "the entry can be chosen again");
}

void TestNewName::opensEmptyAgain()
{
    NamesBench bench;
    bench.choose(NewEntry);
    bench.field.setText(QStringLiteral("never"));
    QTest::keyClick(&bench.form, Qt::Key_Escape);
    bench.choose(NewEntry);
    QVERIFY(bench.form.isVisible());
    QCOMPARE(bench.field.text(), QString());
}

VANTREL_WINDOW_TEST(TestNewName)
#include "tst_newname.moc"
