// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QString>

#include <exception>
#include <functional>
#include <optional>

class QWidget;

namespace vantrel {

class Console;

/// A step of the tour did not show what it should.
class TourFailure : public std::exception
{
public:
    explicit TourFailure(const QString &what) : m_what(what.toUtf8()) {}
    const char *what() const noexcept override { return m_what.constData(); }

private:
    QByteArray m_what;
};

/// Drives the program's own windows as a user would, by the names of their controls, and prints on
/// standard output what they show. Everything throws TourFailure when it cannot be done, when a
/// message box is open that no step expects, and when standard output cannot be written to. No wait
/// is longer than its ticks.
class Stage
{
public:
    /// Pictures go to `directory`, which must exist.
    Stage(Console &console, QWidget &mainWindow, QString directory);

    /// Throws TourFailure if the tour cannot go on.
    void check() const { check(Boxes::Refused); }

    /// Prints what failed, on standard output and standard error, and takes a picture of the main
    /// window if that is possible. Throws nothing.
    void reportFailure(const QString &failure);

    /// Announces a step. Lines that are expected from now on must be new ones.
    void say(const QString &title);

    /// Presses a button, option or check box of the main window or of an open dialog.
    void press(const char *name);
    /// Chooses a menu item.
    void choose(const char *name);
    /// Types over what an entry field holds, then presses Enter.
    void enter(const char *name, const QString &text);
    /// Chooses an entry of a drop-down list.
    void pick(const char *name, const QString &entry);

    /// Waits, `ticks` of 100 ms at most, until the condition holds.
    QCoro::Task<> expect(QString what, std::function<bool()> condition, int ticks = 50);
    /// Waits until the control of the main window shows the text.
    QCoro::Task<> expectText(QString name, QString text);
    /// Waits until a line has been added to the command pane or to the response pane since the step
    /// was announced.
    QCoro::Task<> expectLine(QString pane, QString line, int ticks = 50);
    /// Waits until the pane of an open tool window holds the line.
    QCoro::Task<> expectReport(QString pane, QString line);
    /// Waits until a control can be used.
    QCoro::Task<> expectEnabled(QString name, int ticks = 50);
    /// Closes a tool window as the user would, by Escape.
    void closeWindow(const QString &name);
    /// Waits until a tool window has closed.
    QCoro::Task<> expectClosed(QString name, int ticks = 50);
    /// Waits for a message box, checks title and text, takes its picture if `picture` is not empty,
    /// and presses OK.
    QCoro::Task<> expectBox(QString title, QString text, QString picture = {});
    /// Waits for the file dialog, answers it with the path and waits until it has closed.
    QCoro::Task<> answerFileDialog(QString path);
    /// Waits until a dialog of this name is open.
    QCoro::Task<> expectDialog(QString name);

    /// Creates or replaces a file as a whole.
    static void write(const QString &path, QByteArrayView bytes);
    /// Saves a picture of the window as NAME.png and says so.
    void picture(const QString &name, QWidget *window = nullptr);
    QWidget *dialog(const QString &name) const;

    QString directory() const { return m_directory; }

private:
    /// Whether a message box may be open while a step waits.
    enum class Boxes { Refused, Expected };

    QCoro::Task<> awaitCondition(QString what, std::function<bool()> condition, int ticks,
                                 Boxes boxes);
    void check(Boxes boxes) const;
    std::optional<QString> problem(Boxes boxes) const;
    void print(const QString &line);
    void printPane(const QString &mark, const QString &text);
    QWidget *locate(const QString &name) const;
    QWidget &find(const char *name) const;
    QStringList linesOf(const QString &pane) const;
    void printPanes();
    void printResponses(const QString &text);

    Console &m_console;
    QWidget &m_main;
    QString m_directory;
    QString m_printedResponses;
    QString m_outputError;                // of the first line that could not be printed
    QHash<QString, qsizetype> m_oldLines; // by pane, at the start of the step
    QObject m_receiver;                   // of the panes' signals, as long as this object exists
};

} // namespace vantrel
