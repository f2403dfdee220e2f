// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QString>

namespace vantrel {

/// A modal message box: what it says, its title and its buttons.
struct Message
{
    enum class Buttons { Ok, YesNo };

    QString text;
    QString title;
    Buttons buttons = Buttons::Ok;
    bool noIsDefault = false;      ///< of a question: Enter answers No, not Yes
    QPointer<QObject> window = {}; ///< the window that the box belongs to; set by WindowDialogs
    /// The box is closed, as by its frame, when this object is destroyed.
    QPointer<QObject> closedWith = {};
};

/// How a message box ended. A box closed by its frame, or by the program's end, is No to a question
/// and Ok to anything else.
enum class Answer { Ok, Yes, No };

/// A file dialog. `filter` is the label and the pattern with a bar between them
/// ("Log Files|*.log").
struct FileChoice
{
    enum class Kind {
        OpenExisting,
        SaveAs,       ///< asks before it lets an existing file be overwritten
        SaveExisting, ///< an existing file is written into; offers to make one that is missing
    };

    Kind kind = Kind::OpenExisting;
    QString title;
    QString filter;
    QString defaultSuffix; ///< without the dot
    QString fileName;      ///< initial name, or a pattern such as "*.log"
    /// Start in the directory for the program's own files, until a file has been chosen.
    bool inDataDirectory = false;
    /// The file is not truncated: what a longer one holds after the new contents stays.
    bool keepsRest = false;
    QPointer<QObject> window = {}; ///< the window that the dialog belongs to; set by WindowDialogs
};

/// The questions that handlers put to the user. Nothing blocks: each answer is awaited.
class Dialogs
{
public:
    Dialogs() = default;
    Dialogs(const Dialogs &) = delete;
    Dialogs &operator=(const Dialogs &) = delete;
    virtual ~Dialogs() = default;

    virtual QCoro::Task<Answer> messageBox(Message message) = 0;

    /// The chosen path, empty when the user cancelled.
    virtual QCoro::Task<QString> fileDialog(FileChoice choice) = 0;
};

} // namespace vantrel
