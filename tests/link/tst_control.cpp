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

VANTREL_TEST(TestControl)
#include "tst_control.moc"
