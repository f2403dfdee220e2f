// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"
#include "windows/FieldFocus.h"
#include "windows/ToolWindow.h"
#include "windows/WindowBench.h"

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
    void commitTellsOfARefusal();
    void handlerThatDoesNotTell();
    void anotherWindowLeavesNothing();
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
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    QVERIFY(bench.window.first->hasFocus());
}

void TestFieldFocus::commitLeavesTheFieldOfTheUser()
{
    Bench bench;
    bench.window.take();
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("first left")));
    bench.window.button->setFocus();
    bench.window.take();
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(bench.window.take(), QStringList());
}

void TestFieldFocus::commitTellsOfARefusal()
{
    Bench bench;
    bench.window.takes = false;
    QVERIFY(!bench.window.focus.commit());
    bench.window.button->setFocus();
    QVERIFY(bench.window.focus.commit()); // the field was left before
}

void TestFieldFocus::handlerThatDoesNotTell()
{
    Bench bench;
    int leavings = 0;
    bench.window.focus.onLeft(*bench.window.first, [&leavings] { ++leavings; });
    QVERIFY(bench.window.focus.commit());
    QCOMPARE(leavings, 1);
}

void TestFieldFocus::anotherWindowLeavesNothing()
{
    Bench bench;
    bench.window.take();
    QWidget other;
    other.show();
    other.activateWindow();
    waitUntilActive(other);
    bench.window.activateWindow();
    waitUntilActive(bench.window);
    QCOMPARE(bench.window.take(), QStringList(QStringLiteral("activated")));
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
