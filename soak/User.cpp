// SPDX-License-Identifier: GPL-3.0-or-later
#include "User.h"

#include "Hands.h"
#include "Subject.h"

#include "simulator/BuiltInDevices.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QRegularExpression>

#include <array>

namespace vantrel::soak {

namespace {

constexpr const char *Loopback = "127.0.0.1";

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

/// An image of 10,000 bytes for the model, with the revision 3.13.
QByteArray firmwareImage(int model)
{
    QByteArray image(10'000, '\xA5');
    if (model == 2)
        image.replace(0, 2, "NV");
    else
        image.replace(6, 2, QByteArray("\x04\0", 2));
    image[8] = 3;
    image[9] = 13;
    return image;
}

/// As much code as a small EZ-USB holds, in records of 16 bytes.
QByteArray hexFile()
{
    QByteArray lines;
    for (int address = 0; address < 0x800; address += 16) {
        QByteArray record;
        record.append('\x10');
        record.append(static_cast<char>(address >> 8)).append(static_cast<char>(address & 0xFF));
        record.append('\0');
        record.append(QByteArray(16, static_cast<char>(address >> 4)));
        char sum = 0;
        for (const char byte : record)
            sum = static_cast<char>(sum + byte);
        record.append(static_cast<char>(-sum));
        lines += ':' + record.toHex().toUpper() + "\r\n";
    }
    return lines + ":00000001FF\r\n";
}

} // namespace

User::User(Subject &subject, Journal &journal, Dice &dice, const QString &directory)
    : m_subject(subject), m_journal(journal), m_dice(dice), m_directory(directory)
{
    makeFiles();
}

void User::makeFiles()
{
    const QDir scripts(QStringLiteral(SCRIPTS));
    for (const QString &name : scripts.entryList({text("*.vn")}))
        QFile::copy(scripts.filePath(name), QDir(m_directory).filePath(name));
    write(text("broken.vn"), m_dice.bytes(3000));
    write(text("whole.hex"), hexFile());
    write(text("broken.hex"), hexFile().left(1001));
    write(text("vorn1.bin"), firmwareImage(1));
    write(text("vorn2.bin"), firmwareImage(2));
    write(text("other.bin"), m_dice.bytes(5000));
    write(text("device.dr"), QByteArray::fromHex("02800600010000120000"));
    write(text("short.dr"), QByteArray::fromHex("0280060001"));
    write(text("report.txt"), {});
}

void User::write(const QString &name, const QByteArray &contents)
{
    QFile file(QDir(m_directory).filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        throw SoakFailure(text("cannot write ") + file.fileName());
}

void User::act()
{
    if (QMessageBox *box = hands::messageBox()) {
        if (m_dice.oneIn(4))
            answer(*box);
        return;
    }
    if (QFileDialog *dialog = hands::fileDialog()) {
        if (m_dice.oneIn(4))
            answer(*dialog);
        return;
    }
    const bool closed = m_subject.console.session().Main.Connect.text() == text("Connect");
    if (closed && m_dice.oneIn(3) && take({"Main", 1, Deed::Press, "Connect"}))
        return;

    QStringList windows = hands::reachableWindows();
    if (windows.isEmpty())
        return;
    const bool elsewhere = windows.size() > 1 && m_dice.oneIn(2) && windows.removeOne(text("Main"));
    const QString window = elsewhere || windows.size() == 1 ? m_dice.oneOf(windows) : text("Main");
    QList<UserStep> steps;
    for (const UserStep &step : userSteps()) {
        if (window == QLatin1String(step.window))
            steps.append(step);
    }
    if (steps.isEmpty())
        throw SoakFailure(text("the user knows nothing to do in the window ") + window);
    // Much of a window may be disabled.
    constexpr int Tries = 5;
    for (int i = 0; i < Tries && !take(m_dice.weighted(steps)); ++i) {
    }
}

bool User::take(const UserStep &step)
{
    const QString window = text(step.window);
    const QString control = text(step.control);
    const QString input = typed(step.text);
    m_journal.attempt(window + QLatin1Char('.') + control + QLatin1Char(' ') + input);
    bool done = false;
    switch (step.deed) {
    case Deed::Press:
        checkTarget();
        done = hands::press(window, control);
        break;
    case Deed::Choose:
        done = hands::choose(window, control);
        break;
    case Deed::Enter:
        done = hands::enter(window, control, input);
        break;
    case Deed::Pick:
        done = hands::pick(window, control, m_dice.oneIn(3) ? text("<New>") : text(Loopback));
        break;
    case Deed::Escape:
        done = hands::escape(window);
        break;
    }
    if (done)
        m_journal.note(Journal::Group::Action,
                       window + QLatin1Char('.') + (step.control ? control : text("Escape")),
                       input);
    return done;
}

/// Nothing is ever dialled but this machine.
void User::checkTarget() const
{
    if (m_subject.console.link().remoteHost() != QLatin1String(Loopback))
        throw SoakFailure(text("the console points at ") + m_subject.console.link().remoteHost());
}

bool User::refuse()
{
    if (QMessageBox *box = hands::messageBox()) {
        // A write that waits for a silent tester would otherwise keep its window open for ever.
        const bool closes = box->text().endsWith(text("Close the window nevertheless?"));
        QAbstractButton *const yes = box->button(QMessageBox::Yes);
        (closes ? yes : box->buttons().last())->click();
        return true;
    }
    QFileDialog *const dialog = hands::fileDialog();
    if (dialog)
        dialog->reject();
    return dialog != nullptr;
}

void User::answer(QMessageBox &box)
{
    const QString title = box.windowTitle();
    m_journal.note(Journal::Group::Answer, title, box.text());
    if (m_dice.oneIn(6))
        hands::escape(text("MessageBox"));
    else
        m_dice.oneOf(box.buttons())->click();
}

void User::answer(QFileDialog &dialog)
{
    const QString path = m_dice.oneIn(6) ? QString() : fileFor(dialog);
    m_journal.note(Journal::Group::Answer, dialog.windowTitle(), path);
    if (path.isEmpty())
        dialog.reject();
    else
        hands::answer(dialog, path);
}

/// A file of the kind that is asked for; to save, now and then a new one.
QString User::fileFor(const QFileDialog &dialog)
{
    static const QRegularExpression ending(text(R"(\*(\.\w+))"));
    const QString suffix = ending.match(dialog.nameFilters().value(0)).captured(1);
    const QDir directory(m_directory);
    if (dialog.acceptMode() == QFileDialog::AcceptSave)
        return directory.filePath(text("saved-%1%2").arg(m_dice.below(3)).arg(suffix));
    const QStringList files = directory.entryList({QLatin1Char('*') + suffix}, QDir::Files);
    return files.isEmpty() ? QString() : directory.filePath(m_dice.oneOf(files));
}

QString User::number(int limit)
{
    const int value = m_dice.below(limit);
    return m_dice.oneIn(2) ? QString::number(value) : text("0x") + QString::number(value, 16);
}

QString User::typed(Text kind)
{
    static const std::array Odd{"",      "abc",  "-1",  "99999999999", "0x",
                                "1e400", "&h1F", " 7 ", "3,5"};
    if (kind != Text::None && kind != Text::NetworkName && m_dice.oneIn(15))
        return text(m_dice.oneOf(Odd));

    constexpr std::array RequestTypes{"0x80", "0x80", "0x80", "0x00",
                                      "0x81", "0xA1", "0x40", "0xC0"};
    constexpr std::array Requests{"6", "6", "6", "6", "0", "1", "3", "5", "8", "9", "10", "0xFE"};
    constexpr std::array Values{"0x100", "0x100", "0x200", "0x301", "0x302", "0x300", "0", "1"};
    constexpr std::array Lengths{"18", "18", "9", "255", "0", "8", "64", "1000"};
    constexpr std::array NetworkNames{Loopback, Loopback, "a/b", "a\"b"};
    switch (kind) {
    case Text::None:
        return {};
    case Text::Volts:
        return QString::number(m_dice.between(400, 575) / 100.0, 'f', 2);
    case Text::Address:
        return QString::number(m_dice.oneOf(simulator::builtInDevices()).address);
    case Text::FtdiAddress:
        return m_dice.oneIn(5) ? typed(Text::Address) : text("7");
    case Text::EzUsbAddress:
        return m_dice.oneIn(5) ? typed(Text::Address) : QString::number(m_dice.between(8, 9));
    case Text::RequestType:
        return text(m_dice.oneOf(RequestTypes));
    case Text::Request:
        return text(m_dice.oneOf(Requests));
    case Text::Value:
        return text(m_dice.oneOf(Values));
    case Text::Length:
        return text(m_dice.oneOf(Lengths));
    case Text::Byte:
        return number(256);
    case Text::Word:
        return number(65536);
    case Text::Name:
        return text("Bench %1").arg(m_dice.below(100));
    case Text::NetworkName:
        return text(m_dice.oneOf(NetworkNames));
    }
    return {};
}

} // namespace vantrel::soak
