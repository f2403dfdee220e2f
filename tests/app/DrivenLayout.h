// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/FileContents.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::test {

inline constexpr uid_t Nobody = 65534;

inline QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

/// A copy of a program in a "bin" of its own, a user's home and the directories of a system.
class Layout
{
public:
    enum class Kind { Installed, Copied };

    explicit Layout(Kind kind, const char *program = DRIVEN_PROGRAM)
    {
        for (const char *directory : {"prefix/bin", "home", "work", "config1", "config2", "data1"})
            make(directory);
        if (kind == Kind::Installed)
            make("prefix/share/vantrel");
        if (!QFile::copy(text(program), path("prefix/bin/vantrel")))
            qFatal("cannot copy %s", program);
    }

    QString path(const char *name) const { return m_root.filePath(text(name)); }
    QString program() const { return path("prefix/bin/vantrel"); }
    QString ownList() const { return path("home/.local/share/Vantrel/VLnetNames.dat"); }

    void write(const char *name, const QByteArray &contents) const { write(path(name), contents); }
    static void write(const QString &path, const QByteArray &contents)
    {
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(contents), contents.size());
    }

    /// What lies in a directory, hidden files too.
    QStringList listing(const char *directory) const
    {
        return QDir(path(directory))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert(text("QT_QPA_PLATFORM"), text("offscreen"));
        variables.insert(text("HOME"), path("home"));
        variables.insert(text("XDG_CONFIG_DIRS"),
                         path("config1") + QLatin1Char(':') + path("config2"));
        variables.insert(text("XDG_DATA_DIRS"), path("data1") + QLatin1Char(':') + path("data2"));
        variables.insert(text("XDG_RUNTIME_DIR"), path("home/runtime")); // made by Qt
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            variables.remove(text(name));
        return variables;
    }

    /// Nobody who runs a program from now on can write beside it.
    void protectProgram() const
    {
        m_protected = true;
        if (::geteuid() == 0) {
            for (const QString &directory : {m_root.path(), path("home"), path("prefix")})
                QVERIFY(::chmod(qPrintable(directory), 0755) == 0);
            QVERIFY(::chown(qPrintable(path("home")), Nobody, Nobody) == 0);
        } else {
            QVERIFY(::chmod(qPrintable(path("prefix/bin")), 0555) == 0);
        }
    }
    bool runsAsNobody() const { return m_protected && ::geteuid() == 0; }

    Layout(const Layout &) = delete;
    Layout &operator=(const Layout &) = delete;
    ~Layout() { ::chmod(qPrintable(path("prefix/bin")), 0755); } // it can be removed then

private:
    void make(const char *directory) const
    {
        if (!QDir().mkpath(path(directory)))
            qFatal("cannot make %s", directory);
    }

    QTemporaryDir m_root;
    mutable bool m_protected = false;
};

/// The running program of a layout; it ends with the object.
class Running
{
public:
    explicit Running(const Layout &layout, const QStringList &arguments = {})
    {
        m_process.setProcessEnvironment(layout.environment());
        m_process.setWorkingDirectory(layout.path("work"));
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        if (layout.runsAsNobody()) {
            m_process.setChildProcessModifier([] {
                if (::setgid(Nobody) != 0 || ::setuid(Nobody) != 0)
                    ::_exit(1);
            });
        }
        m_process.start(layout.program(), arguments);
    }
    ~Running() { end(); }

    /// Without waiting for the answer.
    void send(const QString &command) { m_process.write(command.toUtf8() + '\n'); }
    QString answer()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(20'000)) {
        }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }
    QString ask(const QString &command)
    {
        send(command);
        return answer();
    }
    QString ask(const char *command) { return ask(text(command)); }

    /// The exit code.
    int end()
    {
        if (m_process.state() == QProcess::NotRunning)
            return m_process.exitCode();
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(20'000)) {
            m_process.kill();
            m_process.waitForFinished();
            return -1;
        }
        return m_process.exitCode();
    }
    /// For a program that does not read its input.
    void terminate()
    {
        m_process.terminate();
        m_process.waitForFinished(20'000);
    }

private:
    QProcess m_process;
};

} // namespace vantrel::test
