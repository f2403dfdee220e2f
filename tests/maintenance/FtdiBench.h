// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "maintenance/FtdiUtility.h"
#include "maintenance/RealEeprom.h"
#include "support/ConsoleBench.h"
#include "support/Hex.h"

#include <QDateTime>
#include <QDir>

#include <optional>

namespace vantrel::test {

/// A packet on its way over the wire: ESC bytes of the body doubled, framed.
inline QByteArray framed(QByteArray body)
{
    return "1b53"_hex + body.replace("1b"_hex, "1b1b"_hex) + "1b45"_hex;
}

/// The body of a framed packet.
inline QByteArray unframed(const QByteArray &packet)
{
    return packet.sliced(2, packet.size() - 4).replace("1b1b"_hex, "1b"_hex);
}

/// A running console and the FTDI utility beside it, its window open. Requests are answered by the
/// test, or, once serve() was called, by an FTDI device, before the send returns.
struct FtdiBench : ConsoleBench
{
    FtdiBench()
    {
        run();
        ftdi.opened();
    }
    ~FtdiBench() { console.shutDown(); }

    /// Answers every device request from now on, but for the one (counted from 0) that fails.
    void serve()
    {
        requests = 0;
        serial->onWrite = [this](const QByteArray &packet) {
            const QByteArray body = unframed(packet);
            if (body.startsWith('\x01'))
                serveRequest(body.sliced(1));
        };
    }

    /// The tester's answer to a device request: status, then data.
    void reply(const QByteArray &statusAndData)
    {
        transport().receive(framed("81"_hex + statusAndData));
    }

    /// Answers reads by hand with the words of the image, from `first` on, `count` of them.
    void replyWords(const QByteArray &image, int first, int count)
    {
        for (int i = first; i < first + count; ++i)
            reply("00"_hex + image.sliced(2 * i, 2));
    }

    void readAll(const QByteArray &image)
    {
        ftdi.readClicked();
        replyWords(image, 0, 64);
        serial->takeWritten();
    }

    /// Device requests among what was sent, each without its frame, as hexadecimal digits.
    QStringList sentRequests()
    {
        QStringList sent;
        for (const QByteArray &packet : std::exchange(serial->written, {})) {
            const QByteArray body = unframed(packet);
            if (body.startsWith('\x01'))
                sent.append(QString::fromLatin1(body.sliced(1).toHex()));
        }
        return sent;
    }

    void enter(Control &box, const char *text) { box.adoptText(QString::fromUtf8(text)); }
    void tickBox(Control &box, bool on, void (FtdiUtility::*clicked)())
    {
        box.adoptChecked(on);
        (ftdi.*clicked)();
    }

    /// Ticks "Keep layout", which the real EEPROM needs to be programmed without a question.
    void keepLayout() { controls.cbKeepLayout.adoptChecked(true); }

    void enterProduct()
    {
        enter(controls.tbVID, "0x0403");
        enter(controls.tbPID, "0x6001");
        enter(controls.tbMajRev, "6");
        enter(controls.tbMinRev, "0");
        enter(controls.tbMfr, "ABC");
        enter(controls.tbProduct, "Widget");
    }

    /// Nothing was sent, and the window can be used.
    bool untouched()
    {
        return sentRequests().isEmpty() && controls.btProgram.isEnabled() && !session.FtdiActive;
    }

    /// The text of the only box there was; its title is checked.
    QString onlyMessage(const QString &title = Title)
    {
        if (dialogs.messages.size() != 1)
            return QStringLiteral("%1 boxes").arg(dialogs.messages.size());
        const Message message = dialogs.messages.takeFirst();
        if (message.title != title || message.buttons != Message::Buttons::Ok)
            return QStringLiteral("box of the title %1").arg(message.title);
        return message.text;
    }
    QString onlyError() { return onlyMessage(QStringLiteral("Vantrel - Error")); }

    QStringList backups() const { return QDir(backupFolder).entryList(QDir::Files, QDir::Name); }

    static inline const QString Title = QStringLiteral("Vantrel - FTDI Configuration Utility");

    QByteArray device = realEeprom();
    int requests = 0;                  ///< served so far
    std::optional<int> refusedRequest; ///< the one that the device refuses
    std::optional<int> silentRequest;  ///< the one that nobody answers

    QString backupFolder = directory.filePath(QStringLiteral("data/backups"));
    QDateTime now{QDate(2026, 11, 21), QTime(14, 22, 33)};
    FtdiUtility ftdi{session,          console.requests(), dialogs,
                     console.errors(), backupFolder,       [this] { return now; }};
    FtdiControls &controls = ftdi.controls();

private:
    void serveRequest(const QByteArray &block)
    {
        const int number = requests++;
        if (number == silentRequest)
            return;
        if (number == refusedRequest) {
            reply("05"_hex);
            return;
        }
        const auto request = static_cast<quint8>(block[2]);
        const int word = static_cast<quint8>(block[5]);
        if (request == 0x90) {
            reply("00"_hex + device.sliced(2 * word, 2));
            return;
        }
        if (request == 0x92)
            device.fill('\xFF');
        else if (request == 0x91)
            device.replace(2 * word, 2, block.sliced(3, 2));
        reply("00"_hex);
    }
};

} // namespace vantrel::test
