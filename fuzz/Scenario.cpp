// SPDX-License-Identifier: GPL-3.0-or-later
#include "Scenario.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel::fuzz {

namespace {

constexpr qsizetype FileLimit = 2048; // bytes of the input that one chosen file takes

/// What begins an operation; the next byte or bytes are its argument.
enum class Operation : quint8 {
    Act,
    ActAgain, // actions are what leads furthest
    Tick,
    ReceivePacket,
    ReceiveExpected,
    ReceiveBytes,
    Turn,
    Leave,
    Disturb,
    AnswerBox,
    TickLong,
    Count
};

QByteArray validScript()
{
    return QByteArray("\x1BS\x01\x02\x80\x06\0\x01\0\0\x12\0\x1B"
                      "E\x1BS\x21\x1B"
                      "E",
                      20);
}

QByteArray longScript()
{
    return QByteArray("\x1BS\x08\x1B"
                      "E",
                      5)
               .repeated(300) +
           validScript();
}

QByteArray validHex()
{
    return ":03000000020003F8\r\n:040100007580907AFC\r\n:00000001FF\r\n";
}

QByteArray firmware(qsizetype size)
{
    QByteArray image(size, '\x5A');
    image.replace(0, 8, QByteArray("NV\0\0\0\0\x04\0", 8));
    return image;
}

QByteArray validRequest()
{
    return QByteArray("\x02\x80\x06\0\x01\0\0\x12\0\0", 10);
}

} // namespace

QString takeText(Input &input)
{
    return QString::fromLatin1(input.take(input.choice() % 16));
}

QString takePath(Input &input)
{
    const QString path = WholeConsole::file("chosen.bin");
    const std::array contents{
        validScript(),    longScript(),   validHex(),   firmware(64),
        firmware(10'000), validRequest(), QByteArray(), QByteArray(0x20001, '\xFF')};
    const quint8 choice = input.choice();
    const std::size_t special = choice % (contents.size() + 4);
    if (special < contents.size()) {
        WholeConsole::writeFile(path, contents.at(special));
        return path;
    }
    if (special == contents.size())
        return {};
    if (special == contents.size() + 1)
        return WholeConsole::file("missing.bin");
    if (special == contents.size() + 2)
        return WholeConsole::directory().path();
    const qsizetype size = 16 * input.choice() + input.choice() % 16;
    WholeConsole::writeFile(path, input.take(std::min(size, FileLimit)));
    return path;
}

QString takeScript(Input &input)
{
    const QString path = WholeConsole::file("chosen.vn");
    WholeConsole::writeFile(path, input.choice() % 2 == 0 ? validScript() : longScript());
    return path;
}

Scenario::Scenario(WholeConsole &subject, std::initializer_list<Window> windows)
    : m_subject(subject)
{
    addMain();
    const auto concerns = [&windows](Window window) {
        return std::ranges::find(windows, window) != windows.end();
    };
    if (concerns(Window::Flash))
        addFlash();
    if (concerns(Window::Viewer))
        addViewer();
    if (concerns(Window::Builder))
        addBuilder();
    if (concerns(Window::Converter))
        addConverter();
    if (concerns(Window::Loader))
        addLoader();
    if (concerns(Window::Network))
        addNetwork();
    if (concerns(Window::Ftdi))
        addFtdi();
    for (const Window window : windows)
        add(window, nullptr, [this, window](Input &) { m_subject.close(window); });
}

void Scenario::add(Window window, const Control *control, std::function<void(Input &)> act)
{
    m_actions.append({window, control, std::move(act)});
}

void Scenario::run(Input &input)
{
    while (!input.atEnd()) {
        m_subject.dialogs.holdChoices = m_subject.dialogs.holdChoices && anyScripts;
        operate(input);
        m_subject.requireSound();
        m_invariant();
    }
}

void Scenario::operate(Input &input)
{
    switch (static_cast<Operation>(input.choice() % static_cast<quint8>(Operation::Count))) {
    case Operation::Act:
    case Operation::ActAgain:
        act(input);
        break;
    case Operation::Tick:
        m_subject.tick();
        break;
    case Operation::TickLong:
        m_subject.tick(10 * (1 + input.choice() % 8));
        break;
    case Operation::ReceivePacket:
        m_subject.receivePacket(input.take(input.choice()).toByteArray());
        break;
    case Operation::ReceiveExpected:
        receiveExpected(input.choice());
        break;
    case Operation::ReceiveBytes:
        m_subject.receive(input.take(input.choice()));
        break;
    case Operation::Turn:
        m_subject.turn();
        break;
    case Operation::Leave: {
        const quint8 amount = input.choice();
        m_subject.transport().leaveSystem(qint64{amount} * amount);
        m_subject.transport().leave(qint64{amount} * amount, amount % 4 == 0);
        break;
    }
    case Operation::Disturb:
        disturb(input);
        break;
    case Operation::AnswerBox:
        answer(input.choice());
        break;
    case Operation::Count:
        break;
    }
}

void Scenario::act(Input &input)
{
    const Action &action = m_actions.at(input.choice() % m_actions.size());
    const bool possible =
        m_subject.isReachable(action.window) &&
        (!action.control || (action.control->isEnabled() && action.control->isVisible()));
    if (!possible)
        return;
    ++m_subject.causes;
    action.act(input);
}

/// What a tester answers when all goes well.
void Scenario::receiveExpected(quint8 which)
{
    static const std::array expected{
        QByteArray::fromHex("8f02030c0040"),     // version: Vorn 2
        QByteArray::fromHex("8f00030c0020"),     // version: Vorn 1
        QByteArray::fromHex("a0000721"),         // a script has been stored
        QByteArray::fromHex("a00007a10007"),     // a script has stopped
        QByteArray::fromHex("a00003"),           // a step has been stored
        QByteArray::fromHex("97"),               // a script is refused
        QByteArray::fromHex("b101536372697074"), // flash: enabled, with its name
        QByteArray::fromHex("b1"),               // flash: success
        QByteArray::fromHex("b300001000"),       // a block of firmware
        QByteArray::fromHex("b6c0a8010ac0a80101ffffff00001122334455aabb"), // network settings
        QByteArray::fromHex("8100"),     // a device request without data
        QByteArray::fromHex("81000403"), // a word of an EEPROM
        QByteArray::fromHex("810012011001000000080912010a000100000001"), // a device descriptor
        QByteArray::fromHex("81000902090000010080"), // the start of a configuration
        QByteArray::fromHex("8100090209000001008032"),
        QByteArray::fromHex("810e"), // a stall
        QByteArray::fromHex("8b06"), // the port status
    };
    m_subject.receivePacket(expected.at(which % expected.size()));
}

/// Failures of the link, and how it takes bytes.
void Scenario::disturb(Input &input)
{
    test::MemoryTransport &port = m_subject.transport();
    switch (input.choice() % 8) {
    case 0:
        if (port.isConnected() && m_subject.session().NetworkMode) {
            ++m_subject.causes;
            port.fail(QStringLiteral("The remote host closed the connection"));
        }
        break;
    case 1:
        if (port.isConnected() && !m_subject.session().NetworkMode)
            port.reportVanished();
        break;
    case 2:
        port.vanish();
        break;
    case 3:
        if (m_subject.session().LinkState != LinkStates::Closed)
            port.connectNow();
        break;
    case 4:
        port.holdsWrites = !port.holdsWrites;
        break;
    case 5:
        port.connectsAtOnce = !port.connectsAtOnce;
        break;
    case 6:
        if (port.openError)
            port.openError.reset();
        else
            port.openError = QStringLiteral("Permission denied");
        break;
    default:
        port.drain();
    }
}

void Scenario::answer(quint8 choice)
{
    test::FakeDialogs &dialogs = m_subject.dialogs;
    ++m_subject.causes;
    if (choice >= 0xF0)
        dialogs.holdAnswers = dialogs.holdChoices = choice % 2 != 0;
    else if (dialogs.heldChoiceCount() > 0 && choice % 4 == 3)
        dialogs.chooseHeld(WholeConsole::file("chosen.bin"));
    else if (dialogs.heldChoiceCount() > 0 && choice % 4 == 2)
        dialogs.chooseHeld({});
    else if (dialogs.heldCount() > 0)
        dialogs.answerHeld(choice % 2 != 0 ? Answer::Yes : Answer::No);
}

} // namespace vantrel::fuzz
