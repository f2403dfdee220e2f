// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiLayout.h"

#include "maintenance/FtdiEeprom.h"

#include <algorithm>

namespace vantrel {

namespace {

constexpr int DescriptorHead = 2; // its length and its type
constexpr quint8 Erased = 0xFF;
constexpr std::array<int, 3> Fields = {FtdiByte::Manufacturer, FtdiByte::Product, FtdiByte::Serial};

/// The bytes that an entry of the string table refers to.
struct Span
{
    int field = 0;
    int offset = 0;
    int length = 0;

    int end() const { return offset + length; }
    bool holds(int position) const { return position >= offset && position < end(); }
    bool overlaps(const Span &other) const { return offset < other.end() && other.offset < end(); }
    /// A descriptor of whole characters inside the area of the strings.
    bool isDescriptor() const
    {
        return offset >= FtdiByte::Strings && length >= DescriptorHead && length % 2 == 0 &&
               end() <= FtdiByte::Checksum;
    }
};

/// Nothing when there is no string, or when the entry is erased.
std::optional<Span> spanOf(const FtdiEeprom &image, int field)
{
    const std::optional<int> offset = image.textOffset(field);
    const int length = image.byte(field + 1);
    if (!offset || (image.byte(field) == Erased && length == Erased))
        return std::nullopt;
    return Span{field, *offset, length};
}

QList<Span> spansOf(const FtdiEeprom &image)
{
    QList<Span> spans;
    for (const int field : Fields) {
        if (const std::optional<Span> span = spanOf(image, field))
            spans.append(*span);
    }
    std::stable_sort(spans.begin(), spans.end(),
                     [](const Span &a, const Span &b) { return a.offset < b.offset; });
    return spans;
}

bool overlap(const QList<Span> &sorted)
{
    for (qsizetype i = 0; i < sorted.size(); ++i) {
        for (qsizetype j = i + 1; j < sorted.size(); ++j) {
            if (sorted[i].overlaps(sorted[j]))
                return true;
        }
    }
    return false;
}

/// Whether an empty string may be written there without loss.
bool isFree(const FtdiEeprom &image, int position)
{
    if (position + DescriptorHead > FtdiByte::Checksum)
        return false;
    const quint16 word = image.number(position);
    return word == 0x0000 || word == 0xFFFF || word == 0x0302; // the last: an empty string
}

QByteArray descriptorOf(const QString &text)
{
    QByteArray bytes;
    bytes.append(static_cast<char>(DescriptorHead + 2 * text.size())).append('\x03');
    for (const QChar character : text)
        bytes.append(character.toLatin1()).append('\0');
    return bytes;
}

/// A string of a new image.
struct Placed
{
    Span span;
    QByteArray descriptor;
    bool isChanged = false;
};

/// Writes strings that follow each other without a gap. False when they do not fit.
bool writeRun(FtdiEeprom &image, const QList<Placed> &run)
{
    qsizetype needed = 0;
    bool stay = true;
    for (const Placed &string : run) {
        needed += string.descriptor.size();
        stay = stay && string.descriptor.size() <= string.span.length;
    }
    int position = run.first().span.offset;
    if (!stay && position + needed > run.last().span.end())
        return false;
    for (const Placed &string : run) {
        if (stay && !string.isChanged)
            continue;
        const int offset = stay ? string.span.offset : position;
        image.setTextEntry(string.span.field, offset, static_cast<int>(string.descriptor.size()));
        position = offset;
        for (const char byte : string.descriptor)
            image.setByte(position++, static_cast<quint8>(byte));
    }
    return true;
}

} // namespace

bool hasOtherLayout(const FtdiEeprom &image)
{
    int position = FtdiByte::Strings;
    for (const int field : Fields) {
        const std::optional<Span> span = spanOf(image, field);
        if (!span) {
            if (!isFree(image, position))
                return true;
            position += DescriptorHead;
            continue;
        }
        if (span->offset != position || !span->isDescriptor())
            return true;
        position = span->end();
    }
    return false;
}

QList<int> lostBytes(const FtdiEeprom &before, const FtdiEeprom &after)
{
    const QList<Span> strings = spansOf(before);
    QList<int> lost;
    for (int position = FtdiByte::Strings; position < FtdiByte::Checksum; ++position) {
        const quint8 byte = before.byte(position);
        const bool isString =
            std::any_of(strings.begin(), strings.end(), [position](const Span &span) {
                return span.isDescriptor() && span.holds(position);
            });
        if (!isString && byte != Erased && byte != after.byte(position))
            lost.append(position);
    }
    return lost;
}

QString positionRanges(const QList<int> &positions)
{
    QStringList ranges;
    for (qsizetype first = 0, next = 0; first < positions.size(); first = next) {
        for (next = first + 1; next < positions.size(); ++next) {
            if (positions[next] != positions[next - 1] + 1)
                break;
        }
        const QString begin = QString::number(positions[first]);
        ranges.append(next == first + 1
                          ? begin
                          : begin + QStringLiteral(" to ") + QString::number(positions[next - 1]));
    }
    return ranges.join(QStringLiteral(", "));
}

std::optional<FtdiEeprom> withTextsInPlace(const FtdiEeprom &image, const FtdiTexts &texts)
{
    const QList<Span> spans = spansOf(image);
    QList<Placed> strings;
    int missing = 0; // changed strings that have no place
    int changed = 0;
    for (std::size_t i = 0; i < Fields.size(); ++i) {
        const int field = Fields.at(i);
        const std::optional<QString> &text = texts.at(i);
        const QString before =
            image.isTextInside(field) ? image.text(field).value_or(QString()) : QString();
        const bool isChanged = text && *text != before;
        changed += isChanged ? 1 : 0;
        const std::optional<Span> span = spanOf(image, field);
        if (!span || !span->isDescriptor()) {
            missing += isChanged ? 1 : 0;
            continue;
        }
        const QByteArray bytes = image.bytes().sliced(span->offset, span->length);
        strings.append({*span, isChanged ? descriptorOf(*text) : bytes, isChanged});
    }
    if (changed == 0)
        return image;
    if (missing > 0 || overlap(spans))
        return std::nullopt;

    std::sort(strings.begin(), strings.end(),
              [](const Placed &a, const Placed &b) { return a.span.offset < b.span.offset; });
    FtdiEeprom result = image;
    for (qsizetype first = 0, next = 0; first < strings.size(); first = next) {
        next = first + 1;
        while (next < strings.size() && strings[next - 1].span.end() == strings[next].span.offset)
            ++next;
        if (!writeRun(result, strings.sliced(first, next - first)))
            return std::nullopt;
    }
    return result;
}

} // namespace vantrel
