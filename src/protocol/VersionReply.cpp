// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/Utils.h"
#include "link/Wire.h"
#include "link/publicvars.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "protocol/VornScript.h"

#include <algorithm>
#include <array>

namespace vantrel {

using namespace wire;

namespace {

struct Kind
{
    quint8 code;
    qint16 model;
    LinkStates linkState;
    const char *text;
};

constexpr std::array Kinds{
    Kind{VersionKind::Vorn1Revision, 1, LinkStates::Running, "** Vorn 1 Firmware Revision "},
    Kind{VersionKind::Vorn1Special, 1, LinkStates::Running, "** Vorn 1 Firmware Special Release "},
    Kind{VersionKind::Vorn2Revision, 2, LinkStates::Running, "** Vorn 2 Firmware Revision "},
    Kind{VersionKind::Vorn2Special, 2, LinkStates::Running, "** Vorn 2 Firmware Special Release "},
    Kind{VersionKind::Vorn2Bootstrap, 2, LinkStates::Bootstrap, "** Vorn 2 Bootstrap "},
};

const Kind *kindOf(quint8 code)
{
    const auto kind = std::ranges::find(Kinds, code, &Kind::code);
    return kind != Kinds.end() ? &*kind : nullptr;
}

constexpr int FirstVersionWithLoader = 217; // major * 100 + minor, of a Vorn 1
constexpr int DefaultDataPort = 255;
constexpr int DefaultConfigValue = 3;
constexpr float DefaultVolts = 5.0F;

} // namespace

void RecvDecode::DecodeVersion(const ByteReader &packet)
{
    // A short reply lacks its last fields: what depends on them is neither changed nor shown.
    const auto kindCode = packet.at(2);
    const auto major = packet.at(3);
    const auto minor = packet.at(4);
    const auto ram = packet.word(5);
    MainControls &main = m_session.Main;

    m_session.StatusSeen = true;
    m_session.LinkState = LinkStates::Running;
    if (major)
        m_session.FirmwareMajor = *major;

    QString message;
    if (const Kind *kind = kindCode ? kindOf(*kindCode) : nullptr) {
        m_session.TesterModel = kind->model;
        m_session.LinkState = kind->linkState;
        message = QLatin1String(kind->text);
        if (major)
            message += numberText(*major) + QLatin1String(" .");
    }

    const bool isVorn2 = m_session.TesterModel == 2;
    main.mnuUtilFW.setText(isVorn2 ? QStringLiteral("Vorn 2 Firm&ware Loader")
                                   : QStringLiteral("Vorn 1 Firm&ware Loader"));
    main.mnuUtilFW.setEnabled(isVorn2);

    if (minor) {
        m_session.FirmwareMinor = *minor;
        message += numberText(*minor) + QLatin1String("\r\n");
    }
    if (ram) {
        // A high byte of 0x80 or more is no RAM size; the number wraps, as 16 bits do.
        m_session.TesterRamK = static_cast<qint16>(*ram);
        message +=
            QLatin1String("    ") + numberText(m_session.TesterRamK) + QLatin1String("K RAM\r\n");
    }

    enableByVersion(major, minor);

    bringToDefaultState();
    refreshConnectedControls();
    markScriptStopped(m_session); // the tester is asked for its version when it does not report
    if (!message.isEmpty())
        ShowStatusLine(m_session, message);
}

void RecvDecode::enableByVersion(std::optional<quint8> major, std::optional<quint8> minor)
{
    MainControls &main = m_session.Main;
    const bool isVorn2 = m_session.TesterModel == 2;
    const bool isLateVorn1 = m_session.TesterModel == 1 && major && minor &&
                             *major * 100 + *minor >= FirstVersionWithLoader;
    if (isVorn2 || isLateVorn1) {
        main.mnuUtilFW.setEnabled(true);
        main.cbHSInhibit.setEnabled(true);
    }

    // The minor number alone, not the version number: 2.11 has these, 2.9 has not.
    const bool hasAutoRecovery = (minor && *minor >= 11) || (major && *major > 2) || isVorn2;
    if (hasAutoRecovery || (major && minor)) {
        main.Vcc_AR.setEnabled(hasAutoRecovery);
        main.mnuUtilFTDI.setEnabled(hasAutoRecovery);
    }
}

void RecvDecode::bringToDefaultState()
{
    MainControls &main = m_session.Main;
    main.VoltWin.setText(QStringLiteral("5.00"));
    m_session.VbusVolts = DefaultVolts;
    m_commands.SendVbusVoltage();
    m_commands.SendAutoMode(true);
    main.Automode.setChecked(true);
    m_commands.SendDataPort(DefaultDataPort);
    m_commands.SendConfigValue(DefaultConfigValue);
    m_commands.SendVbusAutoRecovery(false);
    main.Vcc_AR.setChecked(false);
}

void RecvDecode::refreshConnectedControls()
{
    MainControls &main = m_session.Main;
    for (Control *control : {&main.VoltWin, &main.VoltEnable, &main.VoltDisable, &main.Suspend,
                             &main.USBResume, &main.USBReset, &main.ScriptLoad, &main.Automode,
                             &main.UtilDR, &main.UtilDV, &main.UtilFM, &main.EZUSB})
        control->setEnabled(true);
    if (m_session.TesterModel == 2)
        main.mnuConfigureNetwork.setEnabled(true);
}

} // namespace vantrel
