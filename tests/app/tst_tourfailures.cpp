// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <csignal>
#include <functional>

#include <sys/resource.h>
#include <unistd.h>

namespace {

/// A tour in a process of its own.
class TourProcess
{
public:
    explicit TourProcess(const QString &directory, std::function<void()> inChild = {})
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        process.setProcessEnvironment(variables);
        if (inChild)
            process.setChildProcessModifier(std::move(inChild));
        process.start(QStringLiteral(VANTREL), {QStringLiteral("--tour"), directory});
    }
    ~TourProcess()
    {
        process.kill();
        process.waitForFinished();
    }
    TourProcess(const TourProcess &) = delete;
    TourProcess &operator=(const TourProcess &) = delete;

    /// Whether it has ended by itself, with exit status 1 and a message.
    bool hasFailed()
    {
        const bool failed = process.waitForFinished(20'000) &&
                            process.exitStatus() == QProcess::NormalExit && process.exitCode() == 1;
        errors = process.readAllStandardError();
        if (!failed)
            qWarning("%s", process.readAllStandardOutput().constData());
        return failed && errors.contains("vantrel: ");
    }
    bool hasPrinted(const char *text)
    {
        return QTest::qWaitFor(
            [&] {
                m_output += process.readAllStandardOutput();
                return m_output.contains(text);
            },
            20'000);
    }

    QProcess process;
    QByteArray errors;

private:
    QByteArray m_output;
};

void limitFiles(rlim_t bytes)
{
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

/// Standard output becomes a pipe that nobody reads.
void closeOutput()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0 || ::dup2(ends[1], STDOUT_FILENO) < 0)
        ::_exit(3);
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace

/// A tour that cannot do what it shows ends, with a status other than 0.
class tst_tourfailures : public QObject
{
    Q_OBJECT

private slots:
    void fileIsDirectory_data();
    void fileIsDirectory();
    void directoryCannotBeUsed_data();
    void directoryCannotBeUsed();
    void fullDisk_data();
    void fullDisk();
    void directoryVanishes();
    void fileChangesMeanwhile_data();
    void fileChangesMeanwhile();
    void outputCannotBeWritten_data();
    void outputCannotBeWritten();
    void stoppedBySignal_data();
    void stoppedBySignal();
};

void tst_tourfailures::fileIsDirectory_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"VLnetNames.dat",
                             "tour.log",
                             "read-all-descriptors.vn",
                             "phone.txt",
                             "blink.hex",
                             "vorn2-3.13.bin",
                             "device-descriptor.dr",
                             "main.png",
                             "main-closed.png",
                             "main-suspended.png",
                             "main-script.png",
                             "frmNewIP.png",
                             "box-names-file.png",
                             "box-verified.png",
                             "box-automatic-mode.png",
                             "FlashForm.png",
                             "GetDescForm.png",
                             "DevRqstForm.png",
                             "HelpForm.png",
                             "frmAbout.png",
                             "EZUSBForm.png",
                             "frmFTDI.png",
                             "frmNWCfg.png",
                             "FWLoad.png"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void tst_tourfailures::fileIsDirectory()
{
    QFETCH(QString, name);
    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir(name));
    TourProcess tour(directory.path());
    QVERIFY(tour.hasFailed());
    QVERIFY2(tour.errors.contains("cannot replace " + directory.filePath(name).toUtf8() +
                                  ": Is a directory"),
             tour.errors.constData());
}

void tst_tourfailures::directoryCannotBeUsed_data()
{
    QTest::addColumn<QString>("path");
    const auto file = QFile::encodeName(QCoreApplication::applicationFilePath());
    QTest::newRow("a file") << QString::fromLocal8Bit(file);
    QTest::newRow("below a file") << QString::fromLocal8Bit(file + "/tour");
    QTest::newRow("cannot be created") << QStringLiteral("/proc/tour");
    QTest::newRow("nothing can be created in it") << QStringLiteral("/proc");
}

void tst_tourfailures::directoryCannotBeUsed()
{
    QFETCH(QString, path);
    TourProcess tour(path);
    QVERIFY(tour.hasFailed());
}

void tst_tourfailures::fullDisk_data()
{
    QTest::addColumn<int>("bytes"); // that a file can have
    QTest::newRow("nothing fits") << 0;
    QTest::newRow("names fit") << 20;
    QTest::newRow("small pictures fit") << 6000;
}

void tst_tourfailures::fullDisk()
{
    QFETCH(int, bytes);
    const QTemporaryDir directory;
    TourProcess tour(directory.path(), [bytes] { limitFiles(static_cast<rlim_t>(bytes)); });
    QVERIFY(tour.hasFailed());
    QVERIFY2(tour.errors.contains("File too large"), tour.errors.constData());
    const QDir files(directory.path());
    for (const QString &picture : files.entryList({QStringLiteral("*.png*")}, QDir::Files))
        QVERIFY2(!QImage(files.filePath(picture)).isNull(),
                 qPrintable(picture)); // not a part of one
}

/// The directory itself is removed in the middle.
void tst_tourfailures::directoryVanishes()
{
    QTemporaryDir directory;
    TourProcess tour(directory.path());
    QVERIFY(tour.hasPrinted("* Connect to the simulated tester"));
    QVERIFY(directory.remove());
    QVERIFY(tour.hasFailed());
    QVERIFY(tour.errors.contains("vantrel: the tour failed: "));
}

/// After the check before the first step.
void tst_tourfailures::fileChangesMeanwhile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("directory");
    QTest::addColumn<QByteArray>("failure");
    QTest::newRow("a box") << QStringLiteral("tour.log") << false
                           << QByteArray("unexpected box \"");
    QTest::newRow("a dialog that stays open")
        << QStringLiteral("tour.log") << true << QByteArray("expected: FileDial1 has closed");
    QTest::newRow("a file that cannot be written")
        << QStringLiteral("phone.txt") << true << QByteArray("cannot write: Is a directory: ");
}

void tst_tourfailures::fileChangesMeanwhile()
{
    QFETCH(QString, name);
    QFETCH(bool, directory);
    QFETCH(QByteArray, failure);
    const QTemporaryDir files;
    TourProcess tour(files.path());
    QVERIFY(tour.hasPrinted("* Connect to the simulated tester"));
    if (directory)
        QVERIFY(QDir(files.path()).mkdir(name));
    else
        QVERIFY(QFile::link(QStringLiteral("/dev/full"), files.filePath(name)));
    QVERIFY(tour.hasFailed());
    QVERIFY2(tour.errors.contains("vantrel: the tour failed: " + failure), tour.errors.constData());
}

void tst_tourfailures::outputCannotBeWritten_data()
{
    QTest::addColumn<bool>("pipe");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("closed pipe") << true << QByteArray("Broken pipe");
    QTest::newRow("full device") << false << QByteArray("No space left on device");
}

void tst_tourfailures::outputCannotBeWritten()
{
    QFETCH(bool, pipe);
    QFETCH(QByteArray, reason);
    const QTemporaryDir directory;
    TourProcess tour(directory.path(), [pipe] {
        if (pipe)
            closeOutput();
        else if (std::freopen("/dev/full", "w", stdout) == nullptr)
            ::_exit(3);
    });
    QVERIFY(tour.hasFailed());
    QVERIFY2(tour.errors.contains("standard output: " + reason), tour.errors.constData());
}

void tst_tourfailures::stoppedBySignal_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_tourfailures::stoppedBySignal()
{
    QFETCH(int, signal);
    const QTemporaryDir directory;
    TourProcess tour(directory.path());
    QVERIFY(tour.hasPrinted("    seen: LogInfo shows \"Logging: tour.log\""));
    QCOMPARE(::kill(static_cast<pid_t>(tour.process.processId()), signal), 0);
    QVERIFY(tour.process.waitForFinished(20'000));
    QCOMPARE(tour.process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(tour.process.exitCode(), signal);
    QFile log(directory.filePath(QStringLiteral("tour.log")));
    QVERIFY(log.open(QIODevice::ReadOnly));
    QVERIFY(log.readAll().contains("\r\n%% Log File Ended: "));
}

VANTREL_TEST(tst_tourfailures)
#include "tst_tourfailures.moc"
