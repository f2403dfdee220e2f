// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DrivenLayout.h"
#include "support/TestProgram.h"

using namespace vantrel::test;

namespace {

/// An installed program with a list of names for all users, so that no box opens at the start.
class SharedLayout : public Layout
{
public:
    SharedLayout() : Layout(Kind::Installed)
    {
        write("config1/vantrel/VLnetNames.dat", "lab-1\r\nlab-2\r\n");
    }
};

/// Chooses File, New and this file, and agrees to replace it if it exists.
void startLog(Running &program, const QString &path)
{
    program.ask("press FileNew");
    program.ask(text("choose ") + path);
    program.ask("yes");
}

int modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(qPrintable(path), &status) == 0 ? static_cast<int>(status.st_mode & 0777U) : -1;
}

} // namespace

/// Two running programs and their files.
class tst_twoinstances : public QObject
{
    Q_OBJECT

private slots:
    void oneLog();
    void oneNamesFile();
    void twoFirstStarts();
};

void tst_twoinstances::oneLog()
{
    const SharedLayout layout;
    const QString path = layout.path("work/session.log");
    const QString other = layout.path("work/other.log");
    const QStringList options{text("--simulator")};
    Running first(layout, options);
    startLog(first, path);
    QCOMPARE(first.ask("box"), text("none"));
    first.ask("press Connect");
    QTRY_VERIFY_WITH_TIMEOUT(contentsOf(path).contains("*** Connect"), 20'000);

    Running second(layout, options);
    startLog(second, path);
    QCOMPARE(second.ask("box"), text("Vantrel - Error: Another instance of the program is writing "
                                     "this log: ") +
                                    path);
    second.ask("ok");
    startLog(second, other); // its menu item can be chosen again
    QCOMPARE(second.ask("box"), text("none"));

    first.ask("press FileClose");
    second.ask("press FileClose");
    for (const QString &log : {path, other}) {
        const QByteArray contents = contentsOf(log);
        QVERIFY(contents.startsWith("%%%%%\r\n%% Log File Started: "));
        QCOMPARE(contents.count("%% Log File Started: "), 1);
        QCOMPARE(contents.count("%% Log File Ended: "), 1);
        QVERIFY(contents.endsWith("%%%%%\r\n"));
    }

    startLog(second, path); // it is free now
    QCOMPARE(second.ask("box"), text("none"));
    second.ask("press FileClose");
    QVERIFY(!contentsOf(path).contains("*** Connect"));
}

void tst_twoinstances::oneNamesFile()
{
    constexpr int Names = 30;
    const SharedLayout layout;
    Running first(layout);
    Running second(layout);
    first.ask("names");
    second.ask("names");
    for (int i = 0; i < Names; ++i) {
        first.send(QStringLiteral("add first-%1").arg(i));
        second.send(QStringLiteral("add second-%1").arg(i));
    }
    for (int i = 0; i < Names; ++i) {
        first.answer();
        second.answer();
    }
    QCOMPARE(first.ask("box"), text("none"));
    QCOMPARE(second.ask("box"), text("none"));

    const QByteArray contents = contentsOf(layout.ownList());
    QVERIFY(contents.startsWith("lab-1\r\nlab-2\r\n"));
    QCOMPARE(contents.count('\n'), 2 + 2 * Names);
    for (int i = 0; i < Names; ++i) {
        for (const char *name : {"first", "second"}) {
            const QByteArray line = "\n" + QByteArray(name) + '-' + QByteArray::number(i) + "\r\n";
            QVERIFY2(contents.contains(line), line.constData());
        }
    }
    QCOMPARE(modeOf(layout.ownList()), 0600);
    QCOMPARE(modeOf(layout.path("home/.local/share/Vantrel")), 0700);
    QCOMPARE(layout.listing("home/.local/share/Vantrel"), QStringList{text("VLnetNames.dat")});
}

/// Both show the box; the second user closes it after the first has added a name.
void tst_twoinstances::twoFirstStarts()
{
    const Layout layout(Layout::Kind::Installed);
    Running first(layout);
    Running second(layout);
    const QString creating = text("Vantrel Initialization: Creating Network Name File");
    QCOMPARE(first.ask("box"), creating);
    QCOMPARE(second.ask("box"), creating);
    first.ask("ok");
    first.ask("add 10.0.0.7");
    second.ask("ok");
    QCOMPARE(second.ask("names"), text("enabled, -1: 10.0.0.7, <New>"));
    second.ask("add 10.0.0.8");
    QCOMPARE(contentsOf(layout.ownList()), QByteArray("10.0.0.7\r\n10.0.0.8\r\n"));
}

VANTREL_TEST(tst_twoinstances)
#include "tst_twoinstances.moc"
