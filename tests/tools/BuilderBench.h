// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/ConsoleBench.h"
#include "tools/RequestBuilder.h"

#include <initializer_list>

namespace vantrel::test {

/// A request builder over a console that is connected to a Vorn 2, in automatic mode.
struct BuilderBench : ConsoleBench
{
    BuilderBench()
    {
        run();
        main.Automode.adoptChecked(true);
    }

    /// What the user does in a field: types, then goes elsewhere.
    void enter(Control &field, const char *text, bool (RequestBuilder::*left)())
    {
        field.adoptText(QString::fromLatin1(text));
        (builder.*left)();
    }
    void enterRequestType(const char *text)
    {
        enter(controls.bmReqType, text, &RequestBuilder::bmReqTypeLeft);
    }
    void enterData(int index, const QString &text)
    {
        builder.dataEntered(index);
        controls.dataField(index).adoptText(text);
        builder.dataLeft(index);
    }
    /// From the first field on.
    void enterData(std::initializer_list<const char *> texts)
    {
        int index = 0;
        for (const char *text : texts)
            enterData(index++, QString::fromLatin1(text));
    }
    /// Enters 0, 1, 2, ... in so many fields from the first on.
    void enterCounted(int fields)
    {
        for (int index = 0; index < fields; ++index)
            enterData(index, QString::number(index));
    }

    /// Texts of the first `fields` data fields, with a blank after each.
    QString data(int fields)
    {
        QString texts;
        for (int index = 0; index < fields; ++index)
            texts += controls.dataField(index).text() + QLatin1Char(' ');
        return texts;
    }
    /// The data fields that are enabled, one character a field from the first on.
    QString enabledData()
    {
        QString fields;
        for (const Control &field : controls.Data0)
            fields += field.isEnabled() ? QLatin1Char('#') : QLatin1Char('.');
        return fields;
    }
    static QString enabled(int fields)
    {
        return QString(fields, QLatin1Char('#')).leftJustified(32, QLatin1Char('.'));
    }

    QByteArray sent() { return transport().takeWritten(); }

    QString path(const char *name) { return directory.filePath(QLatin1String(name)); }
    void write(const char *name, const QByteArray &bytes)
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no file %s", name);
    }
    QByteArray contents(const char *name)
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }
    void open(const char *name)
    {
        dialogs.paths = {path(name)};
        builder.openClicked();
    }
    void open(const char *name, const QByteArray &bytes)
    {
        write(name, bytes);
        open(name);
    }
    void save(const char *name)
    {
        dialogs.paths = {path(name)};
        builder.saveClicked();
    }

    /// The one box that has come up since the last call: its text, a bar and its title.
    QString takeBox()
    {
        if (dialogs.messages.size() != 1)
            return QStringLiteral("%1 boxes").arg(dialogs.messages.size());
        const Message box = dialogs.messages.takeFirst();
        if (box.buttons != Message::Buttons::Ok)
            return QStringLiteral("a question");
        return box.text + QLatin1Char('|') + box.title;
    }

    RequestBuilder builder{session, console.requests(), dialogs, console.errors()};
    RequestControls &controls = builder.controls();
};

inline const QString Overflow = QStringLiteral("Overflow|Vantrel - Error");
inline const QString OutOfRange = QStringLiteral("Subscript out of range|Vantrel - Error");

} // namespace vantrel::test
