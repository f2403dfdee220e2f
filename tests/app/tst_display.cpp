// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DrivenProcess.h"
#include "support/TestProgram.h"

#include <csignal>

using namespace vantrel::test;

namespace {

using Variables = QMap<QString, QString>;

/// An environment without a display, and the variables.
QProcessEnvironment environment(const Variables &variables)
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_SESSION_TYPE"})
        result.remove(QString::fromLatin1(name));
    for (auto each = variables.cbegin(); each != variables.cend(); ++each)
        result.insert(each.key(), each.value());
    return result;
}

/// An X server without a screen, on a display that is free.
class XServer
{
public:
    XServer()
    {
        process.start(QStringLiteral("Xvfb"),
                      {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                       QStringLiteral("0"), QStringLiteral("1280x1024x24"),
                       QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        while (!process.canReadLine() && process.waitForReadyRead(20'000)) {
        }
        const QString number = QString::fromLatin1(process.readLine()).trimmed();
        display = number.isEmpty() ? QString() : QLatin1Char(':') + number;
    }
    ~XServer()
    {
        process.kill();
        process.waitForFinished();
    }
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    QProcessEnvironment variables() const
    {
        return environment({{QStringLiteral("DISPLAY"), display},
                            {QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb")}});
    }
    void end(int signal)
    {
        ::kill(static_cast<pid_t>(process.processId()), signal);
        process.waitForFinished();
    }

    QProcess process;
    QString display;
};

} // namespace

/// The program without a display, and with one that ends.
class tst_display : public QObject
{
    Q_OBJECT

private slots:
    void noDisplay_data();
    void noDisplay();
    void endOfXServer_data();
    void endOfXServer();
    void endOfXServerWhileFirmwareIsWritten();
};

void tst_display::noDisplay_data()
{
    QTest::addColumn<Variables>("variables");
    const auto row = [](const char *name, const char *variable, const char *value) {
        QTest::newRow(name) << Variables{
            {QString::fromLatin1(variable), QString::fromLatin1(value)}};
    };
    QTest::newRow("none") << Variables();
    row("unreachable X server", "DISPLAY", ":98765");
    row("empty", "DISPLAY", "");
    row("unreachable compositor", "WAYLAND_DISPLAY", "none");
    row("unknown plug-in", "QT_QPA_PLATFORM", "nonsense");
    row("plug-in without a screen", "QT_QPA_PLATFORM", "linuxfb:fb=/nonexistent");
}

void tst_display::noDisplay()
{
    QFETCH(Variables, variables);
    QProcess process;
    process.setProcessEnvironment(environment(variables));
    process.start(QStringLiteral(VANTREL), {QStringLiteral("--simulator")});
    QVERIFY(process.waitForFinished(20'000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("vantrel: cannot show windows: "));
}

void tst_display::endOfXServer_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("dialog");
    QTest::newRow("ended") << SIGTERM << false;
    QTest::newRow("killed") << SIGKILL << false;
    QTest::newRow("ended, with an open file dialog") << SIGTERM << true;
}

void tst_display::endOfXServer()
{
    QFETCH(int, signal);
    QFETCH(bool, dialog);
    XServer server;
    QVERIFY2(!server.display.isEmpty(), "Xvfb does not start: script/bootstrap test");
    DrivenProcess program(server.variables());
    program.ask("ok");
    program.startLog();
    if (dialog) {
        QTRY_VERIFY(
            (program.ask("press ScriptLoad"), program.ask("directory") != QLatin1String("none")));
    }
    QVERIFY(!program.isLogComplete());
    server.end(signal);
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process.exitCode(), 1);
    QVERIFY2(program.isLogComplete(), program.log().constData());
}

void tst_display::endOfXServerWhileFirmwareIsWritten()
{
    XServer server;
    DrivenProcess program(server.variables());
    program.ask("ok");
    program.writeFirmware();
    server.end(SIGKILL);
    QVERIFY(program.process.waitForFinished(20'000));
    QCOMPARE(program.process.exitCode(), 1);
    const QStringList errors = program.errors();
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors[0].startsWith(QLatin1String("vantrel: Programming of the firmware")) ||
                 errors[0].startsWith(QLatin1String("vantrel: Firmware download was stopped")),
             qPrintable(errors[0]));
}

VANTREL_TEST(tst_display)
#include "tst_display.moc"
