// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ClosingBench.h"
#include "support/Hex.h"

#include <array>

namespace vantrel::test {

inline constexpr quint8 DeviceRequest = 0x01;
inline constexpr quint8 ScriptStart = 0x0C;
inline constexpr quint8 FlashCommand = 0x31;
inline constexpr quint8 FirmwareBlock = 0x33;
inline constexpr quint8 FirmwareProgram = 0x34;

/// 2000 bytes, 400 steps.
inline QByteArray script()
{
    return "1b53 0f 1b45"_hex.repeated(399) + "1b53 21 1b45"_hex;
}

inline QByteArray firmware()
{
    return "NV" + QByteArray(9'998, '\x5A');
}

/// A write under way, brought to a point where it waits for the tester.
struct Write
{
    const char *name;
    const char *form; ///< of the tool window; nullptr: the main window
    void (*begin)(ClosingBench &bench);
    bool (*isWhole)(ClosingBench &bench);
    const char *activity;
    const char *loss;
    const char *line;
    const char *lossOfWindow = nullptr; ///< when only the tool window is closed; nullptr: the same
    const char *lineOfWindow = nullptr;
    /// Of a write that has been interrupted; nullptr: the tester has received all of it.
    bool (*isIncomplete)(ClosingBench &bench) = nullptr;
};

inline bool hasScript(ClosingBench &bench)
{
    return bench.nothingWaits() && !bench.session.ScriptError &&
           bench.tester->state().script.steps().size() == 400;
}

inline void loadScript(ClosingBench &bench)
{
    bench.hold(ScriptStart);
    child<QPushButton>(bench.window, "ScriptLoad").click();
    bench.chooseFile(script());
}

inline void openFlash(ClosingBench &bench)
{
    bench.choose("UtilFM");
    const auto &burn = child<QAction>(*bench.tool("FlashForm"), "Burn");
    if (!turnsUntil([&burn] { return burn.isEnabled(); }))
        qFatal("no flash information");
}

inline void loadForFlash(ClosingBench &bench)
{
    openFlash(bench);
    bench.hold(ScriptStart);
    child<QAction>(*bench.tool("FlashForm"), "Burn").trigger();
    bench.chooseFile(script());
}

inline void storeInFlash(ClosingBench &bench)
{
    openFlash(bench);
    child<QAction>(*bench.tool("FlashForm"), "Burn").trigger();
    bench.chooseFile(script());
    auto &program = child<QPushButton>(*bench.tool("FlashForm"), "BtnProgram");
    if (!turnsUntil([&] { return program.isVisible() && program.isEnabled(); }))
        qFatal("the script cannot be loaded");
    bench.hold(FlashCommand);
    program.click();
}

inline void enableFlash(ClosingBench &bench)
{
    bench.tester->state().flash.program(0, "Script0 ", {"21"_hex});
    openFlash(bench);
    bench.hold(FlashCommand);
    bench.press("FlashForm", "ScriptEnable");
}

inline quint8 flashState(ClosingBench &bench)
{
    return bench.tester->state().flash.slot(0).state;
}

inline void loadEzUsb(ClosingBench &bench)
{
    bench.choose("EZUSB");
    bench.hold(ScriptStart);
    bench.press("EZUSBForm", "LoadFW");
    bench.chooseFile(":0300000002010000FA\r\n:00000001FF\r\n");
}

inline bool hasEzUsbScript(ClosingBench &bench)
{
    return turnsUntil([] { return ClosingBench::box() != nullptr; }) &&
           bench.tester->state().script.steps().size() == 5 &&
           ClosingBench::box()->windowTitle() ==
               QLatin1String("** Firmware Conversion Complete **");
}

inline void chooseFirmware(ClosingBench &bench)
{
    bench.choose("mnuUtilFW");
    bench.press("FWLoad", "fileselect");
    bench.chooseFile(firmware());
}

inline void sendFirmware(ClosingBench &bench)
{
    chooseFirmware(bench);
    bench.hold(FirmwareBlock, 2);
    bench.press("FWLoad", "btProgram");
}

inline void programFirmware(ClosingBench &bench)
{
    chooseFirmware(bench);
    bench.hold(FirmwareProgram);
    bench.press("FWLoad", "btProgram");
}

inline bool hasFirmware(ClosingBench &bench)
{
    const auto programming = [&bench] {
        return bench.tester->commandsSeen().last().startsWith(static_cast<char>(FirmwareProgram));
    };
    if (!turnsUntil(programming))
        return false;
    bench.tick(50);
    return bench.nothingWaits() && bench.tester->state().firmware.programmed() == firmware();
}

inline void programFtdi(ClosingBench &bench)
{
    bench.choose("mnuUtilFTDI");
    bench.tools.ftdi.controls().DevAddr.setText(QStringLiteral("0x07"));
    bench.tools.ftdi.controls().tbVID.setText(QStringLiteral("0x0403"));
    bench.hold(DeviceRequest, 2 + 24); // erase, latency, and 24 words
    bench.press("frmFTDI", "btProgram");
}

inline bool isWholeEeprom(ClosingBench &bench)
{
    const QByteArray &eeprom = bench.ftdi->eeprom();
    const auto word = [&eeprom](int index) {
        return static_cast<quint8>(eeprom[2 * index]) | static_cast<quint8>(eeprom[2 * index + 1])
                                                            << 8;
    };
    return word(1) == 0x0403 && word(63) == simulator::FtdiDevice::checksum(eeprom) &&
           bench.ftdi->latency() == 0x10;
}

inline bool hasEeprom(ClosingBench &bench)
{
    return bench.nothingWaits() && isWholeEeprom(bench);
}

inline constexpr auto Unreported = "Whether it succeeds will not be reported.";

inline constexpr std::array Writes{
    Write{"script", nullptr, loadScript, hasScript,
          "A script download is under way: 2000 of 2000 bytes sent.",
          "The tester will hold an incomplete script.",
          "Script download was stopped: 2000 of 2000 bytes sent"},
    Write{"script for the flash", "FlashForm", loadForFlash, hasScript,
          "A script download for the flash memory is under way: 2000 of 2000 bytes sent.",
          "The tester will hold an incomplete script, and its flash memory will not be programmed.",
          "Script download for the flash memory was stopped: 2000 of 2000 bytes sent",
          "The download continues, but the script will not be stored in the flash memory.",
          "Script was not stored in the flash memory; its download continues: 2000 of 2000 bytes "
          "sent"},
    Write{"flash program", "FlashForm", storeInFlash,
          [](ClosingBench &bench) {
              return bench.nothingWaits() && flashState(bench) == simulator::FlashMemory::Disabled;
          },
          "The tester is storing a script in its flash memory.", Unreported,
          "Storing the script in the flash memory was not confirmed"},
    Write{"flash state", "FlashForm", enableFlash,
          [](ClosingBench &bench) {
              return bench.nothingWaits() && flashState(bench) == simulator::FlashMemory::Enabled;
          },
          "The tester is changing the state of the script in its flash memory.", Unreported,
          "Changing the state of the script in the flash memory was not confirmed"},
    Write{"EZ-USB", "EZUSBForm", loadEzUsb, hasEzUsbScript,
          "An EZ-USB firmware load is under way: 21 of 34 bytes of the file converted.",
          "The script in the tester will contain only a part of the firmware.",
          "EZ-USB firmware load was stopped: 21 of 34 bytes of the file converted"},
    Write{"firmware", "FWLoad", sendFirmware, hasFirmware,
          "A download of tester firmware is under way: 1 of 3 blocks acknowledged.",
          "The tester will not receive the rest of its new firmware.",
          "Firmware download was stopped: 1 of 3 blocks acknowledged", nullptr, nullptr,
          [](ClosingBench &bench) {
              return bench.tester->state().firmware.programmed() != firmware();
          }},
    Write{"firmware restart", "FWLoad", programFirmware, hasFirmware,
          "The tester is programming its new firmware.",
          "The program will not wait until the tester has finished.",
          "Programming of the firmware was not awaited: whether it succeeded is unknown"},
    Write{"FTDI", "frmFTDI", programFtdi, hasEeprom,
          "The EEPROM of an FTDI device is being programmed: 23 of 64 words written.",
          "The EEPROM will be incomplete, and the device may not work until it has been programmed "
          "again.",
          "FTDI EEPROM programming was stopped: 23 of 64 words written", nullptr, nullptr,
          [](ClosingBench &bench) { return !isWholeEeprom(bench); }},
};

} // namespace vantrel::test
