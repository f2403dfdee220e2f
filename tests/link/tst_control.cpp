// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Control.h"
#include "link/publicvars.h"
#include "support/TestProgram.h"

#include <QSet>
#include <QSignalSpy>
#include <QTest>

using namespace vantrel;
using Aspect = Control::Aspect;

namespace {

/// A control and the notices it gives.
struct Watched
{
    QList<Control *> registry;
    Control control{registry, "Watched"};
    QList<Aspect> changes;
    QStringList appended;

    Watched()
    {
        QObject::connect(&control, &Control::changed, &control,
                         [this](Aspect aspect) { changes.append(aspect); });
        QObject::connect(&control, &Control::appended, &control,
                         [this](const QString &text) { appended.append(text); });
    }
};

} // namespace

/// Controls as plain values.
class TestControl : public QObject
{
    Q_OBJECT

private slots:
    void registersItself();
    void mainControls();
    void startsWithNothingOwned();
    void everyAspect();
    void sameValueIsNoNotice();
    void firstValueIsANotice();
    void adoptIsSilent();
    void settingTheAdoptedValueOwnsIt();
    void appendText();
    void insertItem();
    void redrawText();
    void lineLimit_data();
    void lineLimit();
    void staleness();
};

void TestControl::registersItself()
{
    QList<Control *> registry;
    Control first(registry, "First");
    Control second(registry, "Second");
    QCOMPARE(registry, (QList<Control *>{&first, &second}));
    QCOMPARE(first.name(), QLatin1String("First"));
    QCOMPARE(second.objectName(), QLatin1String("Second"));
}

void TestControl::mainControls()
{
    const char *const names[] = {
        "Comm1",           "Comm2",    "Comm3",      "Comm4",       "CommE",
        "cbNWName",        "Connect",  "conxsts",    "power",       "vornstate",
        "cbHSInhibit",     "Automode", "USBReset",   "USBResume",   "Suspend",
        "ClrResp",         "VoltWin",  "VoltSet",    "VoltEnable",  "VoltDisable",
        "Vcc_AR",          "CurrWin",  "ScriptLoad", "ScriptName",  "ScriptIdx",
        "ScriptRun",       "LogFrame", "LogInfo",    "LogSizeInfo", "CmdWin",
        "RespWin",         "FileNew",  "FileClose",  "UtilDR",      "UtilDV",
        "UtilFM",          "EZUSB",    "mnuUtilFW",  "mnuUtilFTDI", "mnuConfigureNetwork",
        "DownloadProgress"};
    QSet<QString> expected;
    for (const char *name : names)
        expected.insert(QString::fromLatin1(name));

    const Session session;
    QSet<QString> registered;
    for (const Control *control : session.Main.all)
        registered.insert(control->name());

    QCOMPARE(registered, expected);
    QCOMPARE(session.Main.all.size(), expected.size());
}

void TestControl::startsWithNothingOwned()
{
    const Watched watched;
    const Control &control = watched.control;

    QCOMPARE(control.ownedAspects(), Control::Aspects());
    QCOMPARE(control.text(), QString());
    QCOMPARE(control.toolTip(), QString());
    QVERIFY(control.isEnabled());
    QVERIFY(control.isVisible());
    QVERIFY(!control.isChecked());
    QVERIFY(!control.colour());
    QCOMPARE(control.items(), QStringList());
    QCOMPARE(control.index(), -1);
}

void TestControl::everyAspect()
{
    Watched watched;
    Control &control = watched.control;

    control.setText(QStringLiteral("Connect"));
    control.setToolTip(QStringLiteral("Connect to Vorn Tester"));
    control.setEnabled(false);
    control.setVisible(false);
    control.setChecked(true);
    control.setColour(Colour{255, 0, 0});
    control.setItems({QStringLiteral("<New>")});
    control.setIndex(0);

    QCOMPARE(control.text(), QLatin1String("Connect"));
    QCOMPARE(control.toolTip(), QLatin1String("Connect to Vorn Tester"));
    QVERIFY(!control.isEnabled());
    QVERIFY(!control.isVisible());
    QVERIFY(control.isChecked());
    QCOMPARE(control.colour(), std::optional(Colour{255, 0, 0}));
    QCOMPARE(control.items(), QStringList{QStringLiteral("<New>")});
    QCOMPARE(control.index(), 0);
    QCOMPARE(watched.changes,
             (QList<Aspect>{Aspect::Text, Aspect::ToolTip, Aspect::Enabled, Aspect::Visible,
                            Aspect::Checked, Aspect::Colour, Aspect::Items, Aspect::Index}));
    QCOMPARE(control.ownedAspects(), Aspect::Text | Aspect::ToolTip | Aspect::Enabled |
                                         Aspect::Visible | Aspect::Checked | Aspect::Colour |
                                         Aspect::Items | Aspect::Index);
}

void TestControl::sameValueIsNoNotice()
{
    Watched watched;
    watched.control.setText(QStringLiteral("On"));
    watched.control.setText(QStringLiteral("On"));
    watched.control.setEnabled(true);
    watched.control.setEnabled(true);
    watched.control.setText(QStringLiteral("Off"));
    QCOMPARE(watched.changes, (QList<Aspect>{Aspect::Text, Aspect::Enabled, Aspect::Text}));
}

void TestControl::firstValueIsANotice()
{
    Watched watched;
    watched.control.setText(QString()); // the form may show something else
    watched.control.setEnabled(true);
    QCOMPARE(watched.changes, (QList<Aspect>{Aspect::Text, Aspect::Enabled}));
    QCOMPARE(watched.control.ownedAspects(), Aspect::Text | Aspect::Enabled);
}

void TestControl::adoptIsSilent()
{
    Watched watched;
    Control &control = watched.control;

    control.adoptText(QStringLiteral("4.75"));
    control.adoptToolTip(QStringLiteral("tip"));
    control.adoptChecked(true);
    control.adoptIndex(2);

    QCOMPARE(control.text(), QLatin1String("4.75"));
    QCOMPARE(control.toolTip(), QLatin1String("tip"));
    QVERIFY(control.isChecked());
    QCOMPARE(control.index(), 2);
    QCOMPARE(watched.changes, QList<Aspect>());
    QCOMPARE(control.ownedAspects(), Control::Aspects());
}

void TestControl::settingTheAdoptedValueOwnsIt()
{
    Watched watched;
    watched.control.adoptText(QStringLiteral("Connect"));
    watched.control.setText(QStringLiteral("Connect"));
    QCOMPARE(watched.changes, QList<Aspect>{Aspect::Text});
    QCOMPARE(watched.control.ownedAspects(), Control::Aspects(Aspect::Text));
}

void TestControl::appendText()
{
    Watched watched;
    watched.control.setText(QStringLiteral("one"));
    watched.changes.clear();

    watched.control.appendText(QStringLiteral("\r\ntwo"));

    QCOMPARE(watched.control.text(), QLatin1String("one\r\ntwo"));
    QCOMPARE(watched.appended, QStringList{QStringLiteral("\r\ntwo")});
    QCOMPARE(watched.changes, QList<Aspect>());
    QCOMPARE(watched.control.ownedAspects(), Control::Aspects(Aspect::Text));
}

void TestControl::insertItem()
{
    Watched watched;
    watched.control.setItems({QStringLiteral("a"), QStringLiteral("<New>")});
    watched.changes.clear();

    watched.control.insertItem(1, QStringLiteral("b"));

    QCOMPARE(watched.control.items(),
             (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("<New>")}));
    QCOMPARE(watched.changes, QList<Aspect>{Aspect::Items});
}

void TestControl::redrawText()
{
    Watched watched;
    watched.control.redrawText(QStringLiteral("a"));
    watched.control.redrawText(QStringLiteral("a"));
    QCOMPARE(watched.changes, (QList<Aspect>{Aspect::Text, Aspect::Text}));
    watched.control.redrawText(QStringLiteral("b"));
    QCOMPARE(watched.control.text(), QStringLiteral("b"));
}

void TestControl::lineLimit_data()
{
    QTest::addColumn<int>("appended");
    for (const int lines : {0, 1, 2, 3, 4, 5, 6, 7, 8, 100})
        QTest::addRow("%d lines", lines) << lines;
}

void TestControl::lineLimit()
{
    constexpr int Limit = 3;
    QFETCH(int, appended);

    QList<Control *> registry;
    Control limited(registry, "Limited", Control::Pace::AtOnce, Limit);
    Control unlimited(registry, "Unlimited");
    for (Control *control : registry) {
        control->setText(QStringLiteral("zero"));
        for (int line = 1; line <= appended; ++line)
            control->appendText(QStringLiteral("\r\nline %1").arg(line));
    }
    const QStringList lines = unlimited.text().split(QStringLiteral("\r\n"));
    QCOMPARE(lines.size(), appended + 1);
    QCOMPARE(limited.text().split(QStringLiteral("\r\n")),
             lines.last(std::min(Limit, appended + 1)));

    limited.setText(unlimited.text()); // set as a whole
    QCOMPARE(limited.text().split(QStringLiteral("\r\n")),
             lines.last(std::min(Limit, appended + 1)));
    limited.setText({});
    limited.appendText(QStringLiteral("\r\nagain"));
    QCOMPARE(limited.text(), QStringLiteral("\r\nagain"));
}

void TestControl::staleness()
{
    Watched watched;
    watched.control.setStale(); // nothing was received yet
    QVERIFY(!watched.control.isStale());
    QVERIFY(!watched.control.freshAt());

    watched.control.setFresh(QTime(9, 5));
    QVERIFY(!watched.control.isStale());
    watched.control.setStale();
    QVERIFY(watched.control.isStale());
    QCOMPARE(watched.control.freshAt(), QTime(9, 5));
    watched.changes.clear();
    watched.control.setStale();
    QCOMPARE(watched.changes, QList<Aspect>());
    watched.control.setFresh(QTime(9, 6));
    QCOMPARE(watched.changes, QList<Aspect>{Aspect::Stale});
    QVERIFY(!watched.control.isStale());
    QCOMPARE(watched.control.freshAt(), QTime(9, 6));
}

VANTREL_TEST(TestControl)
#include "tst_control.moc"
