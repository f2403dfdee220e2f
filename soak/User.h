// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Dice.h"
#include "Journal.h"

#include <QStringList>

class QFileDialog;
class QMessageBox;

namespace vantrel::soak {

struct Subject;

/// What the user can do with a control.
enum class Deed { Press, Choose, Enter, Pick, Escape };

/// What the user types into a field.
enum class Text {
    None,
    Volts,
    Address,
    FtdiAddress,
    EzUsbAddress,
    RequestType,
    Request,
    Value,
    Length,
    Byte,
    Word,
    Name,
    NetworkName,
};

struct UserStep
{
    const char *window;
    int weight;
    Deed deed;
    const char *control = nullptr;
    Text text = Text::None;
};

/// All that the user does, window by window. Nothing that reaches for a serial port or another
/// machine, and nothing that ends the log or the program.
const QList<UserStep> &userSteps();

/// Whoever sits at the console. Uses what is within reach, in no order, and answers the boxes and
/// file dialogs that come up, after a while.
class User
{
public:
    /// Makes the files that the user opens in `directory`. The references must outlive the user.
    User(Subject &subject, Journal &journal, Dice &dice, const QString &directory);

    /// One action, or a moment of rest.
    void act();

    /// Refuses whatever waits for an answer, but closes a window in which something is being
    /// written. False when nothing waits.
    bool refuse();

private:
    void makeFiles();
    void write(const QString &name, const QByteArray &contents);
    void answer(QMessageBox &box);
    void answer(QFileDialog &dialog);
    QString fileFor(const QFileDialog &dialog);
    bool take(const UserStep &step);
    void checkTarget() const;
    QString typed(Text text);
    QString number(int limit);

    Subject &m_subject;
    Journal &m_journal;
    Dice &m_dice;
    QString m_directory;
};

} // namespace vantrel::soak
