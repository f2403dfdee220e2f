// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/FtdiDevice.h"

#include "simulator/Faults.h"

#include <algorithm>
#include <array>

namespace vantrel::simulator {

namespace {

constexpr qsizetype ImageSize = qsizetype{2} * FtdiDevice::WordCount;
constexpr quint16 ChecksumSeed = 0xAAAA;

/// Positions inside the image, counted from 1.
namespace Field {
constexpr qsizetype Identity = 3; // vendor, product and release, as in a device descriptor
constexpr qsizetype IdentityLength = 6;
constexpr qsizetype Attributes = 9;
constexpr qsizetype MaxPower = 10;
constexpr qsizetype ChipOptions = 11;
constexpr qsizetype UsbVersion = 13;
constexpr qsizetype Strings = 15; // of each its offset, marked, and the length of its descriptor
constexpr qsizetype Checksum = 127;
} // namespace Field

constexpr quint8 OffsetMark = 0x80;
constexpr quint8 SerialEnabled = 0x08;
constexpr quint8 SerialString = 3;

/// Where a word is in the image, counted from 0.
constexpr qsizetype offsetOf(quint16 word)
{
    return qsizetype{2} * word;
}

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

QByteArray configurationDescriptor(quint8 attributes, quint8 maxPower)
{
    return ByteWriter{9, DescriptorType::Configuration, 0x20, 0, 1, 1, 0, attributes, maxPower}
        .bytes(hex("0904000002FFFFFF00"
                   "07058102400000"
                   "07050202400000"))
        .take();
}

DeviceDescriptors ownDescriptors()
{
    return {hex("120100020000000817 5A32F0000100000001"), {configurationDescriptor(0x80, 45)}, {}};
}

/// The string of that index, 1 to 3; nothing when the image has none or it does not lie inside.
std::optional<QString> stringOf(const ByteReader &image, quint8 index)
{
    const qsizetype entry = Field::Strings + qsizetype{2} * (index - 1);
    const quint8 marked = image.at(entry).value_or(0);
    const qsizetype length = image.at(entry + 1).value_or(0);
    const qsizetype offset = marked - OffsetMark;
    if (offset <= 0 || length < 2 || offset + length > image.size())
        return std::nullopt;
    QString text;
    for (qsizetype at = offset + 2; at + 1 < offset + length; at += 2)
        text.append(QChar(image.wordLowFirst(at + 1).value_or(0)));
    return text;
}

DeviceDescriptors descriptorsOf(const QByteArray &eeprom)
{
    const ByteReader image(eeprom);
    if (image.wordLowFirst(Field::Checksum) != FtdiDevice::checksum(eeprom))
        return ownDescriptors();

    const bool hasSerial = (image.at(Field::ChipOptions).value_or(0) & SerialEnabled) != 0;
    QMap<quint8, QString> strings;
    for (quint8 index = 1; index <= SerialString; ++index) {
        const std::optional<QString> text = stringOf(image, index);
        if (text && (index != SerialString || hasSerial))
            strings.insert(index, *text);
    }
    ByteWriter device{18, DescriptorType::Device};
    device.wordLowFirst(image.wordLowFirst(Field::UsbVersion).value_or(0));
    device.bytes(hex("00000008")); // class of each interface, packets of 8 bytes
    device.bytes(eeprom.mid(Field::Identity - 1, Field::IdentityLength));
    for (quint8 index = 1; index <= SerialString; ++index)
        device.byte(strings.contains(index) ? index : quint8{0});
    return {device.byte(1).take(),
            {configurationDescriptor(image.at(Field::Attributes).value_or(0),
                                     image.at(Field::MaxPower).value_or(0))},
            strings};
}

} // namespace

FtdiDevice::FtdiDevice(const QByteArray &image)
    : VirtualDevice(descriptorsOf(image)), m_eeprom(image)
{
    Q_ASSERT(image.size() == ImageSize);
}

void FtdiDevice::reset()
{
    VirtualDevice::reset();
    m_latency = UsualLatency;
    m_hasBeenErased = false;
    setDescriptors(descriptorsOf(m_eeprom));
}

QByteArray FtdiDevice::shippedImage()
{
    return hex("0040030401600006A03208000002980A"
               "A22CCE12321105000A03460054004400"
               "49002C0355004D003200330032005200"
               "200055005300420020003C002D003E00"
               "2000530065007200690061006C001203"
               "46005400470058005300590057004A00"
               "02030000000000000000000000000000"
               "00000000000000000000000000000913");
}

QByteArray FtdiDevice::plainImage()
{
    return hex("0000030401600004802D08000002940A"
               "9E1AB8120A0356006F0072006E001A03"
               "530065007200690061006C0020006300"
               "610062006C0065001203560043003000"
               "30003000310032003300000000000000"
               "00000000000000000000000000000000"
               "00000000000000000000000000000000"
               "0000000000000000000000000000ACA0");
}

QByteArray FtdiDevice::blankImage()
{
    QByteArray image(ImageSize, '\xFF');
    return image;
}

quint16 FtdiDevice::checksum(QByteArrayView image)
{
    const ByteReader words(image);
    unsigned sum = ChecksumSeed;
    for (qsizetype position = 1; position < Field::Checksum; position += 2) {
        sum ^= words.wordLowFirst(position).value_or(0);
        sum = (sum << 1U | sum >> 15U) & 0xFFFFU;
    }
    return static_cast<quint16>(sum);
}

DeviceAnswer FtdiDevice::vendorRequest(const SetupPacket &setup, QByteArrayView /*data*/)
{
    struct Entry
    {
        quint8 requestType;
        quint8 request;
        DeviceAnswer (FtdiDevice::*answer)(const SetupPacket &);
    };
    static constexpr std::array<Entry, 4> Requests = {{
        {0x40, 0x09, &FtdiDevice::setLatency},
        {0xC0, 0x90, &FtdiDevice::readWord},
        {0x40, 0x91, &FtdiDevice::writeWord},
        {0x40, 0x92, &FtdiDevice::erase},
    }};
    const auto *const entry = std::find_if(Requests.begin(), Requests.end(), [&](const Entry &e) {
        return e.requestType == setup.requestType && e.request == setup.request;
    });
    return entry == Requests.end() ? DeviceAnswer::stall() : (this->*entry->answer)(setup);
}

DeviceAnswer FtdiDevice::readWord(const SetupPacket &setup)
{
    if (setup.index >= WordCount || faults().eepromReadFails == setup.index)
        return DeviceAnswer::stall();
    const qsizetype length = faults().eepromReadShort.value_or(2);
    return {RequestStatus::Ok, m_eeprom.mid(offsetOf(setup.index), length)};
}

DeviceAnswer FtdiDevice::erase(const SetupPacket & /*setup*/)
{
    if (faults().eepromEraseFails)
        return DeviceAnswer::stall();
    m_eeprom.fill('\xFF');
    m_hasBeenErased = true;
    return {};
}

DeviceAnswer FtdiDevice::setLatency(const SetupPacket &setup)
{
    m_latency = setup.valueLow();
    return {};
}

DeviceAnswer FtdiDevice::writeWord(const SetupPacket &setup)
{
    const auto word = ByteReader(m_eeprom).wordLowFirst(offsetOf(setup.index) + 1);
    if (word != Erased || !m_hasBeenErased || m_latency != WritingLatency ||
        faults().eepromWriteFails == setup.index)
        return DeviceAnswer::stall();
    m_eeprom.replace(offsetOf(setup.index), 2, ByteWriter().wordLowFirst(setup.value).take());
    return {};
}

std::unique_ptr<VirtualDevice> makeFtdi()
{
    return std::make_unique<FtdiDevice>();
}

std::unique_ptr<VirtualDevice> makePlainFtdi()
{
    return std::make_unique<FtdiDevice>(FtdiDevice::plainImage());
}

std::unique_ptr<VirtualDevice> makeEepromBlank()
{
    return std::make_unique<FtdiDevice>(FtdiDevice::blankImage());
}

std::unique_ptr<VirtualDevice> makeEepromChecksum()
{
    QByteArray image = FtdiDevice::plainImage();
    image.replace(ImageSize - 2, 2, QByteArray(2, '\0'));
    return std::make_unique<FtdiDevice>(image);
}

} // namespace vantrel::simulator
