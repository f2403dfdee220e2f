// SPDX-License-Identifier: GPL-3.0-or-later
#include "User.h"

namespace vantrel::soak {

namespace {

const QList<UserStep> &mainSteps()
{
    static const QList<UserStep> steps{
        {"Main", 2, Deed::Press, "Connect"},
        {"Main", 8, Deed::Enter, "VoltWin", Text::Volts},
        {"Main", 3, Deed::Press, "VoltSet"},
        {"Main", 4, Deed::Press, "VoltDisable"},
        {"Main", 8, Deed::Press, "VoltEnable"},
        {"Main", 3, Deed::Press, "Vcc_AR"},
        {"Main", 2, Deed::Press, "cbHSInhibit"},
        {"Main", 2, Deed::Press, "Automode"},
        {"Main", 6, Deed::Press, "USBReset"},
        {"Main", 5, Deed::Press, "Suspend"},
        {"Main", 8, Deed::Press, "USBResume"},
        {"Main", 2, Deed::Press, "ClrResp"},
        {"Main", 5, Deed::Press, "ScriptLoad"},
        {"Main", 10, Deed::Press, "ScriptRun"},
        {"Main", 1, Deed::Pick, "cbNWName", Text::NetworkName},
        {"Main", 4, Deed::Choose, "UtilFM"},
        {"Main", 6, Deed::Choose, "UtilDV"},
        {"Main", 6, Deed::Choose, "UtilDR"},
        {"Main", 4, Deed::Choose, "EZUSB"},
        {"Main", 2, Deed::Choose, "mnuUtilFW"},
        {"Main", 5, Deed::Choose, "mnuUtilFTDI"},
        {"Main", 4, Deed::Choose, "mnuConfigureNetwork"},
        {"Main", 1, Deed::Choose, "HelpTopics"},
        {"Main", 1, Deed::Choose, "HelpAbout"},
        {"frmNewIP", 3, Deed::Press, "btCancel"},
        {"frmNewIP", 2, Deed::Enter, "tbName", Text::NetworkName},
        {"frmNewIP", 1, Deed::Escape},
    };
    return steps;
}

const QList<UserStep> &toolSteps()
{
    static const QList<UserStep> steps{
        {"GetDescForm", 6, Deed::Enter, "DevAddr", Text::Address},
        {"GetDescForm", 12, Deed::Press, "GetDesc"},
        {"GetDescForm", 2, Deed::Press, "Save"},
        {"GetDescForm", 2, Deed::Escape},
        {"DevRqstForm", 6, Deed::Enter, "Address", Text::Address},
        {"DevRqstForm", 6, Deed::Enter, "bmReqType", Text::RequestType},
        {"DevRqstForm", 6, Deed::Enter, "bReq", Text::Request},
        {"DevRqstForm", 6, Deed::Enter, "wValue", Text::Value},
        {"DevRqstForm", 3, Deed::Enter, "windex", Text::Word},
        {"DevRqstForm", 6, Deed::Enter, "wLength", Text::Length},
        {"DevRqstForm", 1, Deed::Press, "mp8"},
        {"DevRqstForm", 1, Deed::Press, "mp64"},
        {"DevRqstForm", 1, Deed::Press, "FullSpeed"},
        {"DevRqstForm", 2, Deed::Enter, "Data0_0", Text::Byte},
        {"DevRqstForm", 2, Deed::Enter, "Data0_17", Text::Byte},
        {"DevRqstForm", 15, Deed::Press, "Send"},
        {"DevRqstForm", 2, Deed::Press, "Save"},
        {"DevRqstForm", 3, Deed::Press, "Open"},
        {"DevRqstForm", 3, Deed::Escape},
        {"HelpForm", 1, Deed::Press, "OKButton"},
        {"frmAbout", 1, Deed::Press, "cmdOK"},
    };
    return steps;
}

const QList<UserStep> &maintenanceSteps()
{
    static const QList<UserStep> steps{
        {"FlashForm", 3, Deed::Choose, "Burn"},
        {"FlashForm", 4, Deed::Enter, "ScriptName", Text::Name},
        {"FlashForm", 8, Deed::Press, "BtnProgram"},
        {"FlashForm", 5, Deed::Press, "ScriptEnable"},
        {"FlashForm", 2, Deed::Escape},
        {"EZUSBForm", 2, Deed::Press, "optEZUSB"},
        {"EZUSBForm", 3, Deed::Press, "optFX2"},
        {"EZUSBForm", 3, Deed::Enter, "Address", Text::EzUsbAddress},
        {"EZUSBForm", 5, Deed::Press, "LoadFW"},
        {"EZUSBForm", 1, Deed::Escape},
        {"FWLoad", 5, Deed::Press, "fileselect"},
        {"FWLoad", 5, Deed::Press, "btProgram"},
        {"FWLoad", 1, Deed::Press, "btCancel"},
        {"FWLoad", 1, Deed::Escape},
        {"frmFTDI", 6, Deed::Enter, "DevAddr", Text::FtdiAddress},
        {"frmFTDI", 10, Deed::Press, "btRead"},
        {"frmFTDI", 8, Deed::Press, "btProgram"},
        {"frmFTDI", 5, Deed::Press, "btVerify"},
        {"frmFTDI", 1, Deed::Enter, "tbVID", Text::Word},
        {"frmFTDI", 2, Deed::Enter, "tbMaxPower", Text::Byte},
        {"frmFTDI", 1, Deed::Press, "cbSelfPower"},
        {"frmFTDI", 1, Deed::Press, "cbRemoteWake"},
        {"frmFTDI", 3, Deed::Enter, "tbProduct", Text::Name},
        {"frmFTDI", 1, Deed::Enter, "tbMfr", Text::Name},
        {"frmFTDI", 1, Deed::Press, "cbSerial"},
        {"frmFTDI", 2, Deed::Press, "cbKeepLayout"},
        {"frmFTDI", 1, Deed::Enter, "tbSerial", Text::Name},
        {"frmFTDI", 3, Deed::Escape},
        {"frmNWCfg", 4, Deed::Enter, "tbIP_3", Text::Byte},
        {"frmNWCfg", 3, Deed::Enter, "tbMask_2", Text::Byte},
        {"frmNWCfg", 2, Deed::Press, "cbMACEnbl"},
        {"frmNWCfg", 2, Deed::Enter, "tbMAC_5", Text::Byte},
        {"frmNWCfg", 4, Deed::Press, "btUpdate"},
        {"frmNWCfg", 2, Deed::Press, "btCancel"},
    };
    return steps;
}

} // namespace

const QList<UserStep> &userSteps()
{
    static const QList<UserStep> steps = mainSteps() + toolSteps() + maintenanceSteps();
    return steps;
}

} // namespace vantrel::soak
