// SPDX-License-Identifier: GPL-3.0-or-later

// Two instances of the program and one names file: each loads it, and adds names to it, while other
// programs put it back, cut it or delete it. Nothing but the others removes an entry.
#include "Input.h"
#include "WholeConsole.h"
#include "link/RuntimeError.h"
#include "support/FakeDialogs.h"
#include "support/LinkBench.h"

#include <QFile>

using namespace vantrel;

namespace {

QString ownFile()
{
    return fuzz::WholeConsole::file("own/VLnetNames.dat");
}
QString sharedFile()
{
    return fuzz::WholeConsole::file("shared.dat");
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QCoro::Task<> swallow(QCoro::Task<> task)
{
    try {
        co_await task;
    } catch (const RuntimeError &) { // shown as a box by the console
    }
}

class Instance
{
public:
    Instance() { m_dialogs.holdAnswers = true; }
    ~Instance() { answer(); }

    void load()
    {
        if (m_bench.session.NamesLoading)
            return;
        const QByteArray before = contentsOf(ownFile());
        swallow(m_names.load(ownFile(), {sharedFile()}));
        fuzz::require(contentsOf(ownFile()) == before, "reading the list changes no file");
        fuzz::require(m_bench.session.NamesLoading == (m_dialogs.heldCount() > 0),
                      "the list is loading while the box is open");
    }

    /// The file may have been put back while the box was open.
    void answer()
    {
        const QByteArray before = contentsOf(ownFile());
        while (m_dialogs.heldCount() > 0)
            m_dialogs.answerHeld(Answer::Ok);
        fuzz::require(contentsOf(ownFile()) == before, "a list that was put back stays as it is");
        fuzz::require(!m_bench.session.NamesLoading, "the list has been loaded");
    }

    void add(const QString &name)
    {
        if (m_bench.session.NamesLoading)
            return;
        const QByteArray before = contentsOf(ownFile());
        bool saved = true;
        try {
            m_names.add(name);
        } catch (const RuntimeError &) {
            saved = false;
        }
        const QByteArray after = contentsOf(ownFile());
        fuzz::require(after.startsWith(before), "nothing that the file held is lost");
        if (saved)
            fuzz::require(after.endsWith(name.toLatin1() + "\r\n"),
                          "a name that is saved is there");
        else
            fuzz::require(after == before, "a name that is not saved leaves no part");
        const Control &list = m_bench.session.Main.cbNWName;
        fuzz::require(list.items().value(list.index()) == name, "the name is chosen");
    }

private:
    test::LinkBench m_bench;
    test::FakeDialogs m_dialogs;
    NetworkNames m_names{m_bench.session, m_bench.link, m_dialogs};
};

void disturb(fuzz::Input &input)
{
    const QDir directory = fuzz::WholeConsole::directory();
    switch (input.choice() % 6) {
    case 0:
        directory.mkpath(QStringLiteral("own"));
        fuzz::WholeConsole::writeFile(ownFile(), input.take(input.choice()));
        break;
    case 1:
        fuzz::WholeConsole::writeFile(sharedFile(), input.take(input.choice()));
        break;
    case 2:
        QFile::remove(ownFile());
        break;
    case 3:
        QFile::remove(sharedFile());
        break;
    case 4: // cut within an entry
        QFile::resize(ownFile(), QFile(ownFile()).size() / 2);
        break;
    default:
        directory.rmdir(QStringLiteral("own")); // as long as nothing lies in it
    }
}

/// Names as the console accepts them, and so without characters that a list quotes.
QString takeName(fuzz::Input &input)
{
    QString name = QStringLiteral("n");
    for (const char byte : input.take(input.choice() % 16))
        name +=
            QLatin1Char("0123456789abcdefghijklmnopqrstuvwxyz-."[static_cast<quint8>(byte) % 38]);
    return name;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::WholeConsole::clearDirectory();
    Instance instances[2];
    while (!input.atEnd()) {
        const quint8 operation = input.choice();
        Instance &instance = instances[operation % 2];
        switch (operation / 2 % 4) {
        case 0:
            instance.load();
            break;
        case 1:
            instance.answer();
            break;
        case 2:
            instance.add(takeName(input));
            break;
        default:
            disturb(input);
        }
    }
    return 0;
}
