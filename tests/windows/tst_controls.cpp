// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/frmNewIP.h"
#include "protocol/FlashForm.h"
#include "support/ControlSets.h"
#include "support/TestProgram.h"
#include "windows/Binder.h"
#include "windows/WindowBench.h"

#include <QComboBox>
#include <QFontInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>

#include <array>

using namespace vantrel;
using namespace vantrel::test;

namespace {

struct Row
{
    const char *window;
    const char *name;
    const char *kind;
    const char *caption;
    const char *toolTip = "";
};

constexpr auto Rows = std::to_array<Row>({
    {"Main", "CommFrame", "QGroupBox", "Comm Select"},
    {"Main", "Comm1", "QRadioButton", "COM1", "Select COM1"},
    {"Main", "Comm2", "QRadioButton", "COM2", "Select COM2"},
    {"Main", "Comm3", "QRadioButton", "COM3"},
    {"Main", "Comm4", "QRadioButton", "COM4"},
    {"Main", "CommE", "QRadioButton", "Network"},
    {"Main", "cbNWName", "QComboBox", "", "elect Tester Network Name or IP Address"},
    {"Main", "Connect", "QPushButton", "Connect", "Connect to Vorn Tester"},

    {"Main", "VornStatus", "QGroupBox", "Vorn Port Status"},
    {"Main", "Label3", "QLabel", "Connect"},
    {"Main", "conxsts", "QLabel", ""},
    {"Main", "Label4", "QLabel", "Power"},
    {"Main", "power", "QLabel", ""},
    {"Main", "vornstate", "QLabel", "Active"},
    {"Main", "cbHSInhibit", "QCheckBox", "High Speed Inhibit"},
    {"Main", "Automode", "QCheckBox", "AutoMode", "Enable/Disable Automatic Mode"},

    {"Main", "USBControls", "QGroupBox", "USB Controls"},
    {"Main", "USBReset", "QPushButton", "USBReset", "Issue USB Reset"},
    {"Main", "USBResume", "QPushButton", "Resume", "Resume USB"},
    {"Main", "Suspend", "QPushButton", "Suspend", "Suspend USB"},
    {"Main", "ClrResp", "QPushButton", "Clear", "Clear the Vorn-1 Dialog Window"},

    {"Main", "FrameVolts", "QGroupBox", "USB Vcc Control"},
    {"Main", "VoltWin", "QLineEdit", ""},
    {"Main", "VoltSet", "QPushButton", "Set Vcc"},
    {"Main", "VoltEnable", "QPushButton", "Vcc Enable", "Enable USB Power"},
    {"Main", "VoltDisable", "QPushButton", "Vcc Disable", "Disable USB Power"},
    {"Main", "Vcc_AR", "QCheckBox", "AutoRecovery", "Enable / Disable Vcc AutoRecovery"},
    {"Main", "Label5", "QLabel", "Vbus Current"},
    {"Main", "CurrWin", "QLineEdit", ""},

    {"Main", "script", "QGroupBox", "VornScript"},
    {"Main", "ScriptLoad", "QPushButton", "Load", "Load a VornScript"},
    {"Main", "ScriptName", "QLineEdit", ""},
    {"Main", "ScriptIdx", "QLabel", ""},
    {"Main", "ScriptRun", "QPushButton", "Run", "Execute a VornScript"},

    {"Main", "LogFrame", "QFrame", nullptr},
    {"Main", "LogInfo", "QLabel", ""},
    {"Main", "LogSizeInfo", "QLabel", ""},
    {"Main", "CmdWin", "QPlainTextEdit", ""},
    {"Main", "RespWin", "QPlainTextEdit", ""},

    {"Main", "File", "QMenu", "&File"},
    {"Main", "FileNew", "QAction", "&New"},
    {"Main", "FileClose", "QAction", "&Close"},
    {"Main", "Exit", "QAction", "E&xit"},
    {"Main", "Utilities", "QMenu", "&Utilities"},
    {"Main", "UtilDR", "QAction", "Device &Request Builder"},
    {"Main", "UtilDV", "QAction", "Descriptor &Viewer"},
    {"Main", "UtilFM", "QAction", "&Flash Management"},
    {"Main", "EZUSB", "QAction", "EZ USB& Loader"},
    {"Main", "mnuUtilFW", "QAction", "Vorn 2 Firm&ware Loader"},
    {"Main", "mnuUtilFTDI", "QAction", "FTDI &Configuration Utility"},
    {"Main", "mnuConfigure", "QMenu", "&Configure"},
    {"Main", "mnuConfigureNetwork", "QAction", "&Network"},
    {"Main", "Help", "QMenu", "&Help"},
    {"Main", "HelpAbout", "QAction", "&About"},
    {"Main", "HelpTopics", "QAction", "&Topics"},

    {"Main", "DownloadProgress", "QProgressBar", "", "Progress of the script download"},
    {"Main", "StatusLine", "QLabel", ""},

    {"FlashForm", "Frame1", "QGroupBox", ""},
    {"FlashForm", "Label1", "QLabel", "Current Script Name"},
    {"FlashForm", "ScriptName", "QLineEdit", ""},
    {"FlashForm", "Label3", "QLabel", "Status"},
    {"FlashForm", "Status", "QLineEdit", ""},
    {"FlashForm", "Label2", "QLabel", "Script File"},
    {"FlashForm", "filename", "QLineEdit", ""},
    {"FlashForm", "ScriptEnable", "QPushButton", "Enable"},
    {"FlashForm", "BtnProgram", "QPushButton", "Program"},
    {"FlashForm", "File", "QMenu", "&File"},
    {"FlashForm", "Burn", "QAction", "&Open"},

    {"frmNewIP", "Label1", "QLabel", "Enter the network name or IP address of the new tester"},
    {"frmNewIP", "tbName", "QLineEdit", ""},
    {"frmNewIP", "btOK", "QPushButton", "OK"},
    {"frmNewIP", "btCancel", "QPushButton", "Cancel"},
});

/// What only holds the controls together.
constexpr std::array Structure{"centralwidget", "splitter", "menubar", "content"};

/// What bears the name in the window, not in other windows that belong to it.
QList<QObject *> named(const QObject &window, const QString &name)
{
    QList<QObject *> found;
    for (QObject *object : window.findChildren<QObject *>(name)) {
        const QObject *owner = object;
        while (owner != &window &&
               !(owner->isWidgetType() && static_cast<const QWidget *>(owner)->isWindow() &&
                 !qobject_cast<const QMenu *>(owner)))
            owner = owner->parent();
        if (owner == &window)
            found.append(object);
    }
    return found;
}

/// The caption of any kind of control; null for those that have none.
QString captionOf(const QObject &control)
{
    for (const char *property : {"text", "title", "plainText", "currentText"}) {
        if (control.metaObject()->indexOfProperty(property) >= 0)
            return control.property(property).toString();
    }
    return {};
}

QStringList titlesOf(const QList<QAction *> &actions)
{
    QStringList names;
    for (const QAction *action : actions)
        names.append(action->menu() ? action->menu()->objectName() : action->objectName());
    return names;
}

QStringList list(std::initializer_list<const char *> names)
{
    QStringList all;
    for (const char *name : names)
        all.append(QString::fromLatin1(name));
    return all;
}

} // namespace

/// Every window's controls and menus, letter for letter.
class TestControls : public QObject
{
    Q_OBJECT

private slots:
    void row_data();
    void row();
    void nothingElse_data();
    void nothingElse();
    void everyValueHasItsFace();
    void missingFaceIsNamed();
    void menuOrder();
    void titles();
    void ticker();
    void kindsInDetail();

private:
    QObject &window(const QString &name)
    {
        return name == m_bench.window.objectName()
                   ? static_cast<QObject &>(m_bench.window)
                   : m_bench.find<QWidget>(name.toLatin1().constData());
    }

    WindowBench m_bench;
    FlashForm m_flash{m_bench.console.flash(), &m_bench.window}; // before its first opening
};

void TestControls::row_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < static_cast<int>(Rows.size()); ++i)
        QTest::newRow(Rows.at(static_cast<std::size_t>(i)).name) << i;
}

void TestControls::row()
{
    QFETCH(int, index);
    const Row &row = Rows.at(static_cast<std::size_t>(index));
    const QList<QObject *> found =
        named(window(QString::fromLatin1(row.window)), QString::fromLatin1(row.name));
    QCOMPARE(found.size(), 1);
    QVERIFY2(found[0]->inherits(row.kind), found[0]->metaObject()->className());
    QCOMPARE(captionOf(*found[0]), QString::fromLatin1(row.caption));
    if (found[0]->isWidgetType())
        QCOMPARE(found[0]->property("toolTip").toString(), QString::fromLatin1(row.toolTip));
}

void TestControls::nothingElse_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("Main") << QStringLiteral("Main");
    QTest::newRow("FlashForm") << QStringLiteral("FlashForm");
    QTest::newRow("frmNewIP") << QStringLiteral("frmNewIP");
}

void TestControls::nothingElse()
{
    QFETCH(QString, name);
    NameSet listed;
    for (const Row &row : Rows) {
        if (name == QLatin1String(row.window))
            listed.insert(QString::fromLatin1(row.name));
    }
    for (const char *structure : Structure) {
        if (!named(window(name), QString::fromLatin1(structure)).isEmpty())
            listed.insert(QString::fromLatin1(structure));
    }

    NameSet present;
    const QObject &owner = window(name);
    const auto add = [&present](const QObject &object) {
        if (!object.objectName().isEmpty() && !object.objectName().startsWith(QLatin1String("qt_")))
            present.insert(object.objectName());
    };
    for (const QWidget *widget : owner.findChildren<QWidget *>()) {
        if (named(owner, widget->objectName()).contains(widget))
            add(*widget);
    }
    for (const QAction *action : owner.findChildren<QAction *>()) {
        if (action->parent() == &owner)
            add(*action);
    }
    QCOMPARE(present, listed);
}

void TestControls::everyValueHasItsFace()
{
    QCOMPARE(Binder::unbound(m_bench.main.all, m_bench.window), QStringList());
}

void TestControls::missingFaceIsNamed()
{
    QList<Control *> registry;
    const Control known(registry, "Connect");
    const Control unknown(registry, "Nowhere");
    QCOMPARE(Binder::unbound(registry, m_bench.window), list({"Nowhere"}));
}

void TestControls::menuOrder()
{
    const QMenuBar &bar = m_bench.find<QMenuBar>("menubar");
    QCOMPARE(titlesOf(bar.actions()), list({"File", "Utilities", "mnuConfigure", "Help"}));
    const auto items = [this](const char *menu) {
        return titlesOf(m_bench.find<QMenu>(menu).actions());
    };
    QCOMPARE(items("File"), list({"FileNew", "FileClose", "Exit"}));
    QCOMPARE(items("Utilities"),
             list({"UtilDR", "UtilDV", "UtilFM", "EZUSB", "mnuUtilFW", "mnuUtilFTDI"}));
    QCOMPARE(items("mnuConfigure"), list({"mnuConfigureNetwork"}));
    QCOMPARE(items("Help"), list({"HelpAbout", "HelpTopics"}));
}

void TestControls::titles()
{
    QCOMPARE(m_bench.window.windowTitle(), QStringLiteral("Vantrel v" VANTREL_VERSION));
    QCOMPARE(m_bench.find<frmNewIP>("frmNewIP").windowTitle(), QStringLiteral("Add Network Name"));
}

void TestControls::ticker()
{
    const Main window(m_bench.console);
    const QTimer &timer = child<QTimer>(window, "Timer1");
    QCOMPARE(timer.interval(), 100);
    QVERIFY(timer.isActive());
}

void TestControls::kindsInDetail()
{
    for (const char *name : {"CurrWin", "ScriptName"})
        QVERIFY2(m_bench.find<QLineEdit>(name).isReadOnly(), name);
    QVERIFY(!m_bench.find<QLineEdit>("VoltWin").isReadOnly());
    QVERIFY(!m_bench.find<QComboBox>("cbNWName").isEditable());
    for (const char *name : {"CmdWin", "RespWin"}) {
        const auto &pane = m_bench.find<QPlainTextEdit>(name);
        QVERIFY2(pane.isReadOnly(), name);
        QVERIFY2(!pane.isUndoRedoEnabled(), name);
        QVERIFY2(QFontInfo(pane.font()).fixedPitch(), name);
    }
}

VANTREL_WINDOW_TEST(TestControls)
#include "tst_controls.moc"
