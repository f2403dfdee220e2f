// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Program.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace vantrel;

namespace {

template <typename Widget>
Widget *control(const char *name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *found = window->findChild<Widget *>(QString::fromLatin1(name)))
            return found;
    }
    qFatal("no %s", name);
}

} // namespace

/// The program as its options start it, in its own windows and at its own pace.
class tst_start : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void withoutOptions();
    void simulatorConnects_data();
    void simulatorConnects();
    void hostIsSelected();
};

void tst_start::initTestCase()
{
    QFile names(QCoreApplication::applicationDirPath() + QStringLiteral("/VLnetNames.dat"));
    QVERIFY(names.open(QIODevice::WriteOnly)); // so that no box about it waits for an answer
}

void tst_start::withoutOptions()
{
    Program program{Options{}};
    QVERIFY(!program.start());
    QVERIFY(control<QRadioButton>("Comm1")->isChecked());
    QCOMPARE(control<QPushButton>("Connect")->text(), QStringLiteral("Connect"));
    QCOMPARE(control<QComboBox>("cbNWName")->count(), 1);
    QVERIFY(!control<QPushButton>("USBReset")->isEnabled());
}

void tst_start::simulatorConnects_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("line");
    QTest::newRow("Vorn 1") << 1 << "** Vorn 1 Firmware Revision  2 . 17";
    QTest::newRow("Vorn 2") << 2 << "** Vorn 2 Firmware Revision  3 . 12";
}

void tst_start::simulatorConnects()
{
    QFETCH(int, model);
    QFETCH(QString, line);
    Options options;
    options.simulatedModel = model;
    options.connect = true;
    Program program(options);
    QVERIFY(!program.start());

    QVERIFY(control<QRadioButton>("CommE")->isChecked());
    QVERIFY(!control<QRadioButton>("Comm1")->isChecked());
    QCOMPARE(control<QComboBox>("cbNWName")->currentText(), QStringLiteral("127.0.0.1"));
    QCOMPARE(control<QPushButton>("Connect")->text(), QStringLiteral("Disconnect"));
    QTRY_VERIFY(control<QPlainTextEdit>("CmdWin")->toPlainText().contains(line));
    QVERIFY(control<QPushButton>("USBReset")->isEnabled());
}

void tst_start::hostIsSelected()
{
    Options options;
    options.host = QStringLiteral("bench-7");
    Program program(options);
    QVERIFY(!program.start());
    QVERIFY(control<QRadioButton>("CommE")->isChecked());
    QComboBox *const names = control<QComboBox>("cbNWName");
    QCOMPARE(names->currentText(), QStringLiteral("bench-7"));
    QCOMPARE(names->itemText(names->count() - 1), QStringLiteral("<New>"));
    QCOMPARE(control<QPushButton>("Connect")->text(),
             QStringLiteral("Connect")); // nobody pressed it

    // An option is for this run: the file is not touched.
    const QFileInfo file(QCoreApplication::applicationDirPath() +
                         QStringLiteral("/VLnetNames.dat"));
    QCOMPARE(file.size(), 0);
}

QTEST_MAIN(tst_start)
#include "tst_start.moc"
