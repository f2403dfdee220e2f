// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tools/DevRqstForm.h"
#include "tools/RequestBuilder.h"
#include "windows/WindowBench.h"

#include <QApplication>
#include <QLineEdit>

#include <initializer_list>

namespace vantrel::test {

/// A connected console in automatic mode, and the window over it, shown and active.
struct RequestFormBench : WindowBench
{
    RequestFormBench()
    {
        run();
        present();
    }

    void present()
    {
        form.present();
        activate();
    }
    void activate()
    {
        form.activateWindow();
        waitUntilActive(form);
    }

    template <typename Type>
    Type &get(const char *name)
    {
        return child<Type>(form, name);
    }
    QString text(const char *name) { return get<QWidget>(name).property("text").toString(); }
    QLineEdit &data(int index)
    {
        return get<QLineEdit>(qPrintable(QStringLiteral("Data0_%1").arg(index)));
    }
    /// Texts of the first `fields` data fields, with a blank after each.
    QString dataTexts(int fields)
    {
        QString texts;
        for (int index = 0; index < fields; ++index)
            texts += data(index).text() + QLatin1Char(' ');
        return texts;
    }
    int enabledFields()
    {
        int count = 0;
        while (count < 32 && data(count).isEnabled())
            ++count;
        for (int index = count; index < 32; ++index) {
            if (data(index).isEnabled())
                qFatal("a field is enabled behind one that is not");
        }
        return count;
    }

    static QString focus()
    {
        const QWidget *widget = QApplication::focusWidget();
        return widget ? widget->objectName() : QStringLiteral("nothing");
    }
    static void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    /// Into the field of the user.
    static void keys(const char *text)
    {
        QTest::keyClicks(QApplication::focusWidget(), QString::fromLatin1(text));
    }
    /// Each text into the next field, with Tab behind it.
    static void fillIn(std::initializer_list<const char *> texts)
    {
        for (const char *text : texts) {
            keys(text);
            key(Qt::Key_Tab);
        }
    }
    /// Address, setup packet.
    static void fillInRequest()
    {
        key(Qt::Key_A, Qt::ControlModifier);
        fillIn({"5", "0x40", "0xA0", "0x1234", "0x5678", "2"});
    }

    QString writeFile(const QByteArray &bytes)
    {
        QFile file(directory.filePath(QStringLiteral("a.dr")));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no file");
        return file.fileName();
    }

    RequestBuilder builder{session, console.requests(), dialogs, console.errors()};
    DevRqstForm form{builder, &window};
};

} // namespace vantrel::test
