// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/FtdiDevice.h"
#include "simulator/Talk.h"

namespace vantrel::test {

inline const QByteArray Ok = packet("81 00"_hex);
inline const QByteArray Stall = packet("81 0e"_hex);

// As the device comes, and what Converter::program() makes of it.
inline const QByteArray Shipped =
    "00400304 01600006 a0320800 0002980a a22cce12 32110500 0a034600 54004400"
    "49002c03 55004d00 32003300 32005200 20005500 53004200 20003c00 2d003e00"
    "20005300 65007200 69006100 6c001203 46005400 47005800 53005900 57004a00"
    "02030000 00000000 00000000 00000000 00000000 00000000 00000000 00000913"_hex;
inline const QByteArray Programmed =
    "0000c410 60ea0502 80321000 10019408 9c0eaa02 08034100 42004300 0e035700"
    "69006400 67006500 74000203 00000000 00000000 00000000 00000000 00000000"
    "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000"
    "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00007ef5"_hex;

/// The image with its checksum put right.
inline QByteArray sealed(const QByteArray &image)
{
    const quint16 sum = simulator::FtdiDevice::checksum(image);
    return image.left(126) + ByteWriter().wordLowFirst(sum).take();
}

/// A tester with one serial converter at 0x07, and the converter.
struct Converter : Talk
{
    explicit Converter(const QByteArray &image = simulator::FtdiDevice::shippedImage())
        : Talk(std::make_unique<simulator::Tester>(simulator::Settings::vorn2()))
    {
        auto owned = std::make_unique<simulator::FtdiDevice>(image);
        device = owned.get();
        tester().attach(std::move(owned), 0x07);
    }

    QByteArray read(int word) { return request("c0 90 0000"_hex, word, "0200"_hex); }
    QByteArray erase() { return ask("01 07 40 92 0000 0000 0000"_hex); }
    QByteArray slow() { return ask("01 07 40 09 7700 0000 0000"_hex); }
    QByteArray fast() { return ask("01 07 40 09 1000 0000 0000"_hex); }
    QByteArray write(int word, const QByteArray &value)
    {
        return request("40 91"_hex + value, word, "0000"_hex);
    }
    QByteArray program(const QByteArray &image)
    {
        QByteArray answers = erase() + slow();
        for (int word = 0; word < 64; ++word)
            answers += write(word, image.mid(2 * word, 2));
        return answers + fast();
    }
    QByteArray descriptor(const QByteArray &value)
    {
        return ask("01 07 80 06"_hex + value + "0904 ff00"_hex);
    }

    simulator::FtdiDevice *device;

private:
    QByteArray request(const QByteArray &head, int word, const QByteArray &length)
    {
        QByteArray block = "01 07"_hex + head;
        block.append(static_cast<char>(word)).append('\0').append(length);
        return ask(block.replace("\x1B", "\x1B\x1B"));
    }
};

} // namespace vantrel::test
