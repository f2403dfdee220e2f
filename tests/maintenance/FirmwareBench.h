// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "maintenance/FirmwareLoader.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QTest>

namespace vantrel::test {

inline const QByteArray BlockAck = "b3 00001000"_hex;

/// A running console, of a Vorn 2, whose firmware window has just been opened.
struct FirmwareBench : ConsoleBench
{
    explicit FirmwareBench(bool network = false)
    {
        QObject::connect(&loader, &FirmwareLoader::closeWanted, &loader, [this] {
            ++closings;
            loader.closed();
        });
        run(network);
        loader.opened();
    }
    ~FirmwareBench() { console.shutDown(); } // before the loader goes
    FirmwareBench(const FirmwareBench &) = delete;
    FirmwareBench &operator=(const FirmwareBench &) = delete;

    /// Opens the window anew for a tester of this model.
    void openFor(qint16 model)
    {
        session.TesterModel = model;
        loader.closed();
        loader.opened();
    }

    QString file(const QByteArray &content, const char *name = "new.bin")
    {
        QFile image(directory.filePath(QString::fromLatin1(name)));
        if (!image.open(QIODevice::WriteOnly) || image.write(content) != content.size())
            qFatal("no image file");
        return image.fileName();
    }

    void choose(const QByteArray &content, const char *name = "new.bin")
    {
        dialogs.paths = {file(content, name)};
        loader.fileSelectClicked();
    }

    /// Sends an image of a few bytes and has it acknowledged: the pause has begun.
    void programSmall()
    {
        choose("NVxxxxxx");
        loader.programClicked();
        answer(BlockAck);
        transport().takeWritten();
    }

    bool buttonsEnabled() const
    {
        const bool enabled = controls.btCancel.isEnabled();
        if (controls.fileselect.isEnabled() != enabled || controls.btProgram.isEnabled() != enabled)
            qFatal("the buttons disagree");
        return enabled;
    }

    int closings = 0; ///< how often the window was asked to close
    FirmwareLoader loader{session, console.link(),   console.commands(),
                          dialogs, console.errors(), directory.path()};
    FirmwareControls &controls = loader.controls();
};

} // namespace vantrel::test
