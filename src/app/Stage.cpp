// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Stage.h"

#include "app/TourFiles.h"
#include "console/Console.h"
#include "link/DurableFile.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>

#include <cerrno>
#include <cstdio>

namespace vantrel {

namespace {

constexpr int BoxTicks = 50; // of 100 ms

/// A message box of any window of the program.
QMessageBox *openBox()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        auto *const box = qobject_cast<QMessageBox *>(window);
        if (box != nullptr && box->isVisible())
            return box;
    }
    return nullptr;
}

void strike(QWidget &widget, int key, const QString &text = {})
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &press);
    QApplication::sendEvent(&widget, &release);
}

} // namespace

Stage::Stage(Console &console, QWidget &mainWindow, QString directory)
    : m_console(console), m_main(mainWindow), m_directory(std::move(directory))
{
    printPanes();
}

void Stage::printPanes()
{
    MainControls &main = m_console.session().Main;
    QObject::connect(&main.CmdWin, &Control::appended, &m_receiver, [this](const QString &text) {
        printPane(QStringLiteral("    command  | "), text);
    });
    QObject::connect(&main.RespWin, &Control::changed, &m_receiver,
                     [this, &main](Control::Aspect aspect) {
                         if (aspect == Control::Aspect::Text)
                             printResponses(main.RespWin.text());
                     });
}

void Stage::printResponses(const QString &text)
{
    const bool continues = text.startsWith(m_printedResponses);
    printPane(QStringLiteral("    response | "),
              continues ? text.sliced(m_printedResponses.size()) : text);
    m_printedResponses = text;
}

/// Each line of a pane's new text, behind a mark that says which pane.
void Stage::printPane(const QString &mark, const QString &text)
{
    for (const QString &line : text.split(QStringLiteral("\r\n"))) {
        if (!line.isEmpty())
            print(mark + line);
    }
}

/// Also called by the panes' signals, so a failure is kept for the next step.
void Stage::print(const QString &line)
{
    const QByteArray bytes = line.toLocal8Bit() + '\n';
    const bool printed = std::fputs(bytes.constData(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!printed && m_outputError.isEmpty())
        m_outputError = qt_error_string(errno);
}

/// Why the tour cannot go on, if it cannot.
std::optional<QString> Stage::problem(Boxes boxes) const
{
    if (!m_outputError.isEmpty())
        return QStringLiteral("standard output: ") + m_outputError;
    const QMessageBox *const box = boxes == Boxes::Refused ? openBox() : nullptr;
    if (box)
        return QStringLiteral("unexpected box \"%1\": \"%2\"").arg(box->windowTitle(), box->text());
    return std::nullopt;
}

void Stage::check(Boxes boxes) const
{
    if (const auto found = problem(boxes))
        throw TourFailure(*found);
}

void Stage::reportFailure(const QString &failure)
{
    print(QStringLiteral("* FAILED: ") + failure);
    std::fprintf(stderr, "vantrel: the tour failed: %s\n", failure.toLocal8Bit().constData());
    try {
        picture(QStringLiteral("failure"));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vantrel: %s\n", error.what());
    }
}

void Stage::say(const QString &title)
{
    check(Boxes::Expected);
    print(QStringLiteral("* ") + title);
    for (const QString &pane : {QStringLiteral("CmdWin"), QStringLiteral("RespWin")})
        m_oldLines[pane] = linesOf(pane).size();
}

/// Complete lines, without what the last line end is followed by.
QStringList Stage::linesOf(const QString &pane) const
{
    const auto *const edit = m_main.findChild<QPlainTextEdit *>(pane);
    if (!edit)
        throw TourFailure(QStringLiteral("no pane %1").arg(pane));
    QStringList lines = edit->toPlainText().split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

/// In an open dialog or tool window, or else in the main window; nothing when it is in neither.
QWidget *Stage::locate(const QString &name) const
{
    QList<QWidget *> windows = QApplication::topLevelWidgets();
    windows.removeOne(&m_main);
    windows.append(&m_main);
    if (QWidget *modal = QApplication::activeModalWidget())
        windows.prepend(modal);
    for (const QWidget *window : windows) {
        if (!window->isVisible())
            continue;
        for (QWidget *widget : window->findChildren<QWidget *>(name)) {
            if (widget->window() == window)
                return widget;
        }
    }
    return nullptr;
}

QWidget &Stage::find(const char *name) const
{
    check();
    const QString objectName = QString::fromLatin1(name);
    QWidget *widget = locate(objectName);
    if (!widget)
        throw TourFailure(QStringLiteral("no control %1").arg(objectName));
    if (!widget->isEnabled())
        throw TourFailure(QStringLiteral("%1 is disabled").arg(objectName));
    return *widget;
}

void Stage::press(const char *name)
{
    auto *const button = qobject_cast<QAbstractButton *>(&find(name));
    if (!button)
        throw TourFailure(QStringLiteral("%1 is no button").arg(QString::fromLatin1(name)));
    button->setFocus(Qt::MouseFocusReason);
    button->click();
}

void Stage::choose(const char *name)
{
    check();
    auto *const action = m_main.findChild<QAction *>(QString::fromLatin1(name));
    if (!action || !action->isEnabled())
        throw TourFailure(
            QStringLiteral("menu item %1 cannot be chosen").arg(QString::fromLatin1(name)));
    action->trigger();
}

void Stage::enter(const char *name, const QString &text)
{
    auto *const field = qobject_cast<QLineEdit *>(&find(name));
    if (!field)
        throw TourFailure(QStringLiteral("%1 is no entry field").arg(QString::fromLatin1(name)));
    field->setFocus(Qt::MouseFocusReason);
    field->selectAll();
    for (const QChar character : text)
        strike(*field, 0, character);
    strike(*field, Qt::Key_Return, QStringLiteral("\r"));
}

void Stage::pick(const char *name, const QString &entry)
{
    auto *const list = qobject_cast<QComboBox *>(&find(name));
    const int index = list ? list->findText(entry) : -1;
    if (index < 0)
        throw TourFailure(QStringLiteral("no entry \"%1\"").arg(entry));
    list->setCurrentIndex(index);
    emit list->activated(index);
}

QCoro::Task<> Stage::expect(QString what, std::function<bool()> condition, int ticks)
{
    co_await awaitCondition(what, condition, ticks, Boxes::Refused);
}

/// The condition is evaluated by the timer of the main window, which no exception may reach.
QCoro::Task<> Stage::awaitCondition(QString what, std::function<bool()> condition, int ticks,
                                    Boxes boxes)
{
    Session &session = m_console.session();
    std::exception_ptr thrown;
    const auto ended = [&] {
        try {
            return problem(boxes).has_value() || condition();
        } catch (...) {
            thrown = std::current_exception();
            return true;
        }
    };
    const WaitEnd end = co_await session.waits.until(ended, deadlineIn(session, ticks));
    if (thrown)
        std::rethrow_exception(thrown);
    check(boxes);
    if (end == WaitEnd::Closed)
        throw TourFailure(QStringLiteral("the program is closed; expected: ") + what);
    if (end == WaitEnd::TimedOut)
        throw TourFailure(QStringLiteral("expected: ") + what);
    print(QStringLiteral("    seen: ") + what);
}

QCoro::Task<> Stage::expectText(QString name, QString text)
{
    const auto shows = [this, name, text] {
        const QWidget *widget = locate(name);
        return widget != nullptr && widget->property("text").toString() == text;
    };
    co_await expect(QStringLiteral("%1 shows \"%2\"").arg(name, text), shows);
}

QCoro::Task<> Stage::expectLine(QString pane, QString line, int ticks)
{
    const auto holds = [this, pane, line] {
        return linesOf(pane).indexOf(line, m_oldLines.value(pane)) >= 0;
    };
    co_await expect(QStringLiteral("%1 has got \"%2\"").arg(pane, line), holds, ticks);
}

QCoro::Task<> Stage::expectReport(QString pane, QString line)
{
    const auto holds = [this, pane, line] {
        const auto *const edit = qobject_cast<QPlainTextEdit *>(locate(pane));
        return edit != nullptr && edit->toPlainText().split(QLatin1Char('\n')).contains(line);
    };
    co_await expect(QStringLiteral("%1 holds \"%2\"").arg(pane, line), holds);
}

QCoro::Task<> Stage::expectEnabled(QString name, int ticks)
{
    const auto enabled = [this, name] {
        const QWidget *widget = locate(name);
        return widget != nullptr && widget->isEnabled();
    };
    co_await expect(QStringLiteral("%1 can be used").arg(name), enabled, ticks);
}

void Stage::closeWindow(const QString &name)
{
    QWidget *window = dialog(name);
    if (!window)
        throw TourFailure(QStringLiteral("%1 is not open").arg(name));
    strike(*window, Qt::Key_Escape);
    if (window->isVisible())
        throw TourFailure(QStringLiteral("%1 does not close").arg(name));
}

QCoro::Task<> Stage::expectClosed(QString name, int ticks)
{
    const auto closed = [this, name] { return dialog(name) == nullptr; };
    co_await expect(QStringLiteral("%1 has closed").arg(name), closed, ticks);
}

QCoro::Task<> Stage::expectBox(QString title, QString text, QString picture)
{
    co_await expectDialog(QStringLiteral("MessageBox"));
    auto *const box = qobject_cast<QMessageBox *>(dialog(QStringLiteral("MessageBox")));
    if (box == nullptr || box->windowTitle() != title || box->text() != text) {
        throw TourFailure(QStringLiteral("expected the box \"%1\": \"%2\"; open is \"%3\": \"%4\"")
                              .arg(title, text, box ? box->windowTitle() : QString(),
                                   box ? box->text() : QString()));
    }
    print(QStringLiteral("    box      | %1: %2").arg(title, text));
    if (!picture.isEmpty())
        this->picture(picture, box);
    box->button(QMessageBox::Ok)->click();
    const auto closed = [this] { return dialog(QStringLiteral("MessageBox")) == nullptr; };
    co_await awaitCondition(QStringLiteral("the box has closed"), closed, BoxTicks,
                            Boxes::Expected);
}

QCoro::Task<> Stage::answerFileDialog(QString path)
{
    co_await expectDialog(QStringLiteral("FileDial1"));
    auto *const chooser = qobject_cast<QFileDialog *>(dialog(QStringLiteral("FileDial1")));
    if (!chooser)
        throw TourFailure(QStringLiteral("no file dialog"));
    print(QStringLiteral("    dialog   | %1").arg(chooser->windowTitle()));
    chooser->setDirectory(QFileInfo(path).path());
    chooser->selectFile(QFileInfo(path).fileName());
    auto *const buttons = chooser->findChild<QDialogButtonBox *>();
    const bool saving = chooser->acceptMode() == QFileDialog::AcceptSave;
    buttons->button(saving ? QDialogButtonBox::Save : QDialogButtonBox::Open)->click();
    co_await expectClosed(QStringLiteral("FileDial1"));
}

QCoro::Task<> Stage::expectDialog(QString name)
{
    const auto open = [this, name] { return dialog(name) != nullptr; };
    const bool isBox = name == QLatin1String("MessageBox");
    co_await awaitCondition(QStringLiteral("%1 is open").arg(name), open, BoxTicks,
                            isBox ? Boxes::Expected : Boxes::Refused);
}

QWidget *Stage::dialog(const QString &name) const
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == name && window->isVisible())
            return window;
    }
    return nullptr;
}

void Stage::write(const QString &path, QByteArrayView bytes)
{
    try {
        replaceFile(path, bytes);
    } catch (const RuntimeError &error) {
        throw TourFailure(QStringLiteral("cannot write: ") + error.shortName());
    }
}

void Stage::picture(const QString &name, QWidget *window)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    const QString path = tourPicturePath(m_directory, name);
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) ||
        !(window ? window : &m_main)->grab().save(&buffer, "PNG"))
        throw TourFailure(QStringLiteral("no picture of ") + name);
    write(path, png);
    print(QStringLiteral("    picture  | ") + path);
}

} // namespace vantrel
