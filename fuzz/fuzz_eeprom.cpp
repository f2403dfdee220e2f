// SPDX-License-Identifier: GPL-3.0-or-later

// Any 128 bytes of an FTDI device are read and shown, and what is shown is programmed into a new
// image. Then any answers come at any time.
#include "Input.h"
#include "link/ErrorBoundary.h"
#include "maintenance/FtdiUtility.h"
#include "support/FakeDialogs.h"
#include "support/ProtocolBench.h"

#include <QTemporaryDir>

#include <initializer_list>

using namespace vantrel;

namespace {

class Device
{
public:
    explicit Device(QByteArray image) : m_image(std::move(image))
    {
        m_utility.opened();
        m_bench.serial->onWrite = [this](const QByteArray &packet) { serve(packet); };
    }
    ~Device() { m_bench.session.waits.closeAll(); }

    void requireReading()
    {
        m_utility.readClicked();
        fuzz::require(m_utility.image().bytes() == m_image, "the image is what was read");
        fuzz::require(m_dialogs.messages.isEmpty(), "any image can be shown");
    }

    /// Only the checksum may change, unless the strings are too long for any program.
    void requireKeeping()
    {
        FtdiControls &controls = m_utility.controls();
        const QByteArray before = m_image;
        if (!controls.cbKeepLayout.isVisible())
            return;
        controls.cbKeepLayout.adoptChecked(true);
        m_utility.programClicked();
        for (const Message &message : std::exchange(m_dialogs.messages, {})) {
            fuzz::require(message.text.startsWith(QLatin1String("Total available string length")),
                          "what was read fits where it was");
        }
        fuzz::require(m_image.first(126) == before.first(126), "the layout is kept");
    }

    /// Into a device that has not been read, so that no backup is made.
    void requireProgramming()
    {
        FtdiControls &controls = m_utility.controls();
        const QStringList texts = {controls.tbMfr.text(), controls.tbProduct.text(),
                                   controls.tbSerial.text()};
        m_utility.closed();
        m_utility.opened();
        controls.tbMfr.adoptText(texts[0]);
        controls.tbProduct.adoptText(texts[1]);
        controls.tbSerial.adoptText(texts[2]);
        m_utility.programClicked();
        const bool fits = texts.join(QString()).size() <= FtdiEeprom::LongestStrings;
        fuzz::require(m_dialogs.messages.isEmpty() == fits, "strings that fit are programmed");
        m_dialogs.messages.clear();
        if (!fits)
            return;
        fuzz::require(m_image == m_utility.image().bytes(), "the device holds the image");
        fuzz::require(sumOf(m_image) == m_utility.image().word(63), "the checksum is right");
        requireReading();
        fuzz::require(texts == QStringList({controls.tbMfr.text(), controls.tbProduct.text(),
                                            controls.tbSerial.text()}),
                      "the strings come back");
    }

    void tick()
    {
        m_bench.tick();
        m_bench.requests.tick();
        m_bench.session.waits.check();
    }

    /// Each answer is cut from the bytes; a length of 0 is a tick.
    void answerAnyhow(QByteArrayView bytes)
    {
        m_serving = false;
        m_utility.readClicked();
        while (!bytes.isEmpty()) {
            const qsizetype length =
                std::min<qsizetype>(static_cast<quint8>(bytes.front()) % 8, bytes.size() - 1);
            if (length == 0)
                tick();
            else
                m_bench.requests.receive(bytes.sliced(1, length));
            bytes = bytes.sliced(1 + length);
            m_bench.session.waits.check();
            if (m_utility.controls().btRead.isEnabled())
                m_utility.readClicked();
        }
        // In the end each request is given up, or was answered.
        for (int i = 0; i < 700 && !m_utility.controls().btRead.isEnabled(); ++i)
            tick();
        fuzz::require(m_utility.controls().btRead.isEnabled(), "no wait lasts for ever");
        fuzz::require(m_bench.session.waits.pendingCount() == 0, "nothing is left waiting");
    }

private:
    void serve(const QByteArray &packet)
    {
        if (!m_serving)
            return;
        QByteArray block = packet.sliced(3, packet.size() - 5);
        block.replace(QByteArray("\x1B\x1B"), QByteArray("\x1B"));
        const auto request = static_cast<quint8>(block[2]);
        const int word = static_cast<quint8>(block[5]);
        QByteArray answer("\x81\0", 2);
        if (request == 0x90)
            answer += m_image.sliced(2 * word, 2);
        else if (request == 0x91)
            m_image.replace(2 * word, 2, block.sliced(3, 2));
        m_bench.dispatch(answer);
    }

    /// The checksum, the long way.
    static quint32 sumOf(const QByteArray &image)
    {
        quint32 sum = 0xAAAA;
        for (int i = 0; i < 126; i += 2) {
            sum ^= static_cast<quint8>(image[i]) + 256U * static_cast<quint8>(image[i + 1]);
            sum *= 2;
            if (sum > 65535)
                sum -= 65535;
        }
        return sum;
    }

    QByteArray m_image;
    bool m_serving = true;
    test::ProtocolBench m_bench;
    QTemporaryDir m_backups;
    test::FakeDialogs m_dialogs;
    ErrorBoundary m_errors{m_dialogs};
    FtdiUtility m_utility{m_bench.session, m_bench.requests, m_dialogs, m_errors, m_backups.path()};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArrayView input = fuzz::Input(data, size).rest();
    QByteArray image = input.first(std::min<qsizetype>(128, input.size())).toByteArray();
    image.resize(128, '\0');

    Device device(image);
    device.requireReading();
    device.requireKeeping();
    device.requireProgramming();
    device.answerAnyhow(input.sliced(std::min<qsizetype>(128, input.size())));
    return 0;
}
