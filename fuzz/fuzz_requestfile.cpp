// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes opened as a device request file: the builder shows what can be read, and what it then
// sends and saves is what the file held.
#include "Input.h"
#include "link/ErrorBoundary.h"
#include "link/Files.h"
#include "support/FakeDialogs.h"
#include "support/ProtocolBench.h"
#include "tools/RequestBuilder.h"

#include <QTemporaryDir>

#include <algorithm>
#include <utility>

using namespace vantrel;

namespace {

/// What the first choice of an input switches on.
namespace Switch {
constexpr quint8 UnsignedWords = 0x01;
constexpr quint8 Automatic = 0x02;
constexpr quint8 DeletesAByte = 0x04;
} // namespace Switch

constexpr qsizetype DataOffset = 9;

const QTemporaryDir &directory()
{
    static const QTemporaryDir made;
    return made;
}

class Builder
{
public:
    explicit Builder(quint8 switches)
    {
        m_bench.session.UnsignedWords = (switches & Switch::UnsignedWords) != 0;
        m_bench.session.Main.Automode.adoptChecked((switches & Switch::Automatic) != 0);
        m_bench.session.TesterModel = 2;
    }

    /// False when a box came up.
    bool open(const QString &path)
    {
        m_dialogs.paths = {path};
        m_builder.openClicked();
        return noBox();
    }
    bool save(const QString &path)
    {
        m_dialogs.paths = {path};
        m_builder.saveClicked();
        return noBox();
    }
    bool send()
    {
        m_bench.serial->written.clear();
        m_builder.sendClicked();
        return noBox();
    }
    QByteArray sent() const { return m_bench.serial->writtenBytes(); }

    void deleteByte(int index)
    {
        m_builder.dataEntered(index);
        m_builder.controls().dataField(index).adoptText({});
        m_builder.dataLeft(index);
    }

    void requireSound()
    {
        const int count = m_builder.dataCount();
        fuzz::require(count >= 0 && count <= 32, "the count of data bytes is in its range");
        RequestControls &controls = m_builder.controls();
        const bool entry = controls.dsize.isEnabled();
        for (int index = 0; index < RequestControls::DataFieldCount; ++index)
            fuzz::require(controls.dataField(index).isEnabled() == (entry && index <= count),
                          "the fields in use and one more are enabled");
    }

private:
    bool noBox() { return std::exchange(m_dialogs.messages, {}).isEmpty(); }

    test::ProtocolBench m_bench;
    test::FakeDialogs m_dialogs;
    ErrorBoundary m_errors{m_dialogs};
    RequestBuilder m_builder{m_bench.session, m_bench.requests, m_dialogs, m_errors};
};

bool wordsFit(QByteArrayView file, bool unsignedWords)
{
    for (const qsizetype high : {4, 6, 8}) {
        if (static_cast<quint8>(file[high]) >= 0x80 && !unsignedWords)
            return false;
    }
    return true;
}

/// What a request that came whole from the file is saved as.
QByteArray savedAs(QByteArrayView file)
{
    QByteArray bytes = file.first(std::min<qsizetype>(file.size(), DataOffset + 32)).toByteArray();
    if (static_cast<quint8>(file[1]) >= 0x80)
        std::fill(bytes.begin() + DataOffset, bytes.end(), '\0');
    return bytes.append('\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const quint8 switches = input.choice();
    const QByteArrayView file = input.rest();
    const QString opened = directory().filePath(QStringLiteral("opened.dr"));
    const QString saved = directory().filePath(QStringLiteral("saved.dr"));
    QFile::remove(opened);
    QFile::remove(saved);
    writeAtStart(opened, file);

    Builder builder(switches);
    const bool loaded = builder.open(opened);
    builder.requireSound();
    const bool whole =
        file.size() >= DataOffset && wordsFit(file, (switches & Switch::UnsignedWords) != 0);
    fuzz::require(loaded == whole, "a file is refused when it is short or has a high word");

    const bool automatic = (switches & Switch::Automatic) != 0;
    const bool fits = automatic || file.isEmpty() || static_cast<quint8>(file[0]) < 0x80;
    fuzz::require(builder.send() == fits, "what a file holds can be sent");
    fuzz::require(builder.sent().isEmpty() != fits, "what is refused is not sent");
    fuzz::require(builder.save(saved), "what a file holds can be saved");
    if (whole)
        fuzz::require(readWholeFile(saved) == savedAs(file), "it is saved as it was opened");

    if ((switches & Switch::DeletesAByte) != 0) {
        builder.deleteByte(switches >> 3U);
        builder.requireSound();
        builder.send();
    }
    return 0;
}
