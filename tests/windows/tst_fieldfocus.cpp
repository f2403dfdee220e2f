// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/FieldFocus.h"
#include "windows/ToolWindow.h"
#include "windows/WindowBench.h"

#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QStringList>
#include <QTest>
#include <QVBoxLayout>

using namespace vantrel;
using namespace vantrel::test;

namespace {

/// A tool window with two fields and a button that tells what happens to it.
class Window : public ToolWindow
{
public:
    explicit Window(QWidget *parent) : ToolWindow(parent)
    {
        auto *content = new QWidget;
        auto *rows = new QVBoxLayout(content);
        for (QWidget *each : std::initializer_list<QWidget *>{first, second, button})
            rows->addWidget(each);
        setCentralWidget(content);
        focus.onClicked(*button, [this] { events.append(QStringLiteral("clicked")); });
        for (QLineEdit *field : {first, second}) {
            const QString name =
                field == first ? QStringLiteral("first") : QStringLiteral("second");
            focus.onEntered(*field,
                            [this, name] { events.append(name + QLatin1String(" entered")); });
            focus.onLeft(*field, [this, name] {
                events.append(name + QLatin1String(" left"));
                return takes;
            });
        }
    }

    QStringList take() { return std::exchange(events, {}); }

    QLineEdit *first = new QLineEdit;
    QLineEdit *second = new QLineEdit;
    QPushButton *button = new QPushButton;
    FieldFocus focus{*this};
    QStringList events;
    bool takes = true;

protected:
    void opened() override { events.append(QStringLiteral("opened")); }
    void closed() override { events.append(QStringLiteral("closed")); }
    void activated() override
    {
        if (!events.endsWith(QStringLiteral("activated")))
            events.append(QStringLiteral("activated"));
    }
};

struct Bench
{
    Bench()
    {
        parent.show();
        window.first->setFocus();
        window.present();
        waitUntilActive(window);
    }

    QWidget parent;
    Window &window = *new Window(&parent);
};

} // namespace

class TestFieldFocus : public QObject
{
    Q_OBJECT

private slots:
    void openingAndClosing();
    void escapeCloses();
    void goingFromFieldToField();
    void enterLeavesAndStays();
    void commitLeavesTheFieldOfTheUser();
    void rejectedFieldIsCommittedAgain();
    void correctedFieldIsNotCommittedAgain();
    void rejectionStopsTheClick();
    void rejectionStopsOneClickOnly();
    void handlerThatDoesNotTell();
    void anotherWindowLeavesTheField();
    void anotherWindowAfterAnotherProgram();
    void boxLeavesNothing();
    void closedWindowLeavesNothing();
    void disabledTargetGivesTheFocusBack();
    void disabledTargetIsNotLeft();
    void contextMenuLeavesNothing();
    void comesToTheFront();
};

void TestFieldFocus::openingAndClosing()
{
    Bench bench;
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("opened"), QStringLiteral("activated")}));
    bench.window.present(); // it is open already
    QCOMPARE(bench.window.take(), QStringList());
    bench.window.close();
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("closed")));
    bench.window.present();
    waitUntilActive(bench.window);
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("opened"), QStringLiteral("activated")}));
}

void TestFieldFocus::escapeCloses()
{
    Bench bench;
    bench.window.take();
    QTest::keyClick(bench.window.first, Qt::Key_Escape);
    QVERIFY(!bench.window.isVisible());
    QVERIFY(bench.window.events.contains(QStringLiteral("closed")));
}

void TestFieldFocus::goingFromFieldToField()
{
    Bench bench;
    bench.window.take();
    QTest::keyClick(bench.window.first, Qt::Key_Tab);
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("first left"), QStringLiteral("second entered")}));
    QTest::keyClick(bench.window.second, Qt::Key_Tab);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("second left")));
    QTest::mouseClick(bench.window.first, Qt::LeftButton);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first entered")));
    bench.window.first->setEnabled(false);
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("first left"), QStringLiteral("second entered")}));
}

void TestFieldFocus::enterLeavesAndStays()
{
    Bench bench;
    bench.window.take();
    QTest::keyClick(bench.window.first, Qt::Key_Return);
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("first left"), QStringLiteral("first entered")}));
    QVERIFY(bench.window.first->hasFocus());
}

void TestFieldFocus::commitLeavesTheFieldOfTheUser()
{
    Bench bench;
    bench.window.take();
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("first left"), QStringLiteral("first entered")}));
    bench.window.button->setFocus();
    bench.window.take();
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList());
}

void TestFieldFocus::rejectedFieldIsCommittedAgain()
{
    Bench bench;
    bench.window.takes = false;
    QVERIFY(!bench.window.focus.commit());
    bench.window.button->setFocus();
    bench.window.take();
    QVERIFY(!bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    bench.window.takes = true;
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList());
}

void TestFieldFocus::correctedFieldIsNotCommittedAgain()
{
    Bench bench;
    bench.window.takes = false;
    QVERIFY(!bench.window.focus.commit());
    bench.window.button->setFocus();
    bench.window.take();
    bench.window.first->setText(QStringLiteral("another"));
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList());
}

/// The press leaves the field, so that the rejection comes before the click.
void TestFieldFocus::rejectionStopsTheClick()
{
    Bench bench;
    bench.window.takes = false;
    bench.window.take();
    QTest::mouseClick(bench.window.button, Qt::LeftButton);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    QTest::mouseClick(bench.window.button, Qt::LeftButton);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    bench.window.takes = true;
    QTest::mouseClick(bench.window.button, Qt::LeftButton);
    QCOMPARE(bench.window.take(),
             QStringList({QStringLiteral("first left"), QStringLiteral("clicked")}));
}

/// A box that opens at the press gets the release, and there is no click to stop.
void TestFieldFocus::rejectionStopsOneClickOnly()
{
    Bench bench;
    bench.window.takes = false;
    QTest::mousePress(bench.window.button, Qt::LeftButton);
    QDialog box(&bench.window);
    box.setModal(true);
    box.show();
    box.activateWindow();
    waitUntilActive(box);
    box.close();
    bench.window.activateWindow();
    waitUntilActive(bench.window);
    bench.window.button->setDown(false);
    bench.window.takes = true;
    bench.window.take();
    QTest::mouseClick(bench.window.button, Qt::LeftButton);
    QVERIFY(bench.window.take().contains(QStringLiteral("clicked")));
}

void TestFieldFocus::handlerThatDoesNotTell()
{
    Bench bench;
    int leavings = 0;
    bench.window.focus.onLeft(*bench.window.first, [&leavings] { ++leavings; });
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(leavings, 1);
}

void TestFieldFocus::anotherWindowLeavesTheField()
{
    Bench bench;
    bench.window.take();
    QWidget other;
    other.show();
    other.activateWindow();
    waitUntilActive(other);
    QCOMPARE(bench.window.take(), // it is the field of its window still
             QStringList({QStringLiteral("first left"), QStringLiteral("first entered")}));
    bench.window.activateWindow();
    waitUntilActive(bench.window);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("activated")));
}

void TestFieldFocus::anotherWindowAfterAnotherProgram()
{
    Bench bench;
    bench.window.take();
    QFocusEvent event(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(bench.window.first, &event);
    QCOMPARE(bench.window.take(), QStringList());
    QWidget other;
    other.show();
    other.activateWindow();
    waitUntilActive(other);
    QVERIFY(bench.window.take().contains(QStringLiteral("first left")));
}

void TestFieldFocus::boxLeavesNothing()
{
    Bench bench;
    bench.window.take();
    QDialog box(&bench.window);
    box.setModal(true);
    box.show();
    box.activateWindow();
    waitUntilActive(box);
    box.close();
    bench.window.activateWindow();
    waitUntilActive(bench.window);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("activated")));
}

void TestFieldFocus::closedWindowLeavesNothing()
{
    Bench bench;
    bench.parent.activateWindow();
    waitUntilActive(bench.parent);
    bench.window.present();
    waitUntilActive(bench.window);
    bench.window.take();
    bench.window.close();
    bench.parent.activateWindow();
    waitUntilActive(bench.parent);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("closed")));
}

void TestFieldFocus::disabledTargetGivesTheFocusBack()
{
    Bench bench;
    bench.window.focus.onLeft(*bench.window.first,
                              [&bench] { bench.window.second->setEnabled(false); });
    QTest::mouseClick(bench.window.second, Qt::LeftButton);
    QVERIFY(bench.window.first->hasFocus());

    bench.window.second->setEnabled(true);
    QTest::keyClick(bench.window.first, Qt::Key_Tab); // must not hold the focus for good
    QVERIFY(bench.window.button->hasFocus());
}

void TestFieldFocus::disabledTargetIsNotLeft()
{
    Bench bench;
    bench.window.focus.onLeft(*bench.window.first,
                              [&bench] { bench.window.second->setEnabled(false); });
    bench.window.take();
    QTest::keyClick(bench.window.first, Qt::Key_Tab);
    QVERIFY(bench.window.button->hasFocus());
    QCOMPARE(bench.window.take(), QStringList()); // the second field was never entered
}

void TestFieldFocus::contextMenuLeavesNothing()
{
    Bench bench;
    bench.window.take();
    for (const QEvent::Type type : {QEvent::FocusOut, QEvent::FocusIn}) {
        QFocusEvent event(type, Qt::PopupFocusReason);
        QApplication::sendEvent(bench.window.first, &event);
    }
    QCOMPARE(bench.window.take(), QStringList());
}

void TestFieldFocus::comesToTheFront()
{
    Bench bench;
    bench.parent.activateWindow();
    waitUntilActive(bench.parent);
    bench.window.present();
    waitUntilActive(bench.window);
}

VANTREL_WINDOW_TEST(TestFieldFocus)
#include "tst_fieldfocus.moc"
