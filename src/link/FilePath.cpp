// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FilePath.h"

#include <QStringDecoder>

#include <algorithm>

namespace vantrel {

namespace {

constexpr char16_t FirstUndecoded = 0xDC80;
constexpr char16_t LastUndecoded = 0xDCFF;
constexpr char16_t UndecodedBase = 0xDC00;

/// Length of the valid UTF-8 sequence at the start of the bytes; 0 if there is none.
qsizetype sequenceLength(QByteArrayView bytes)
{
    for (qsizetype length = 1; length <= 4 && length <= bytes.size(); ++length) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString character = decoder(bytes.first(length));
        if (!decoder.hasError() && !character.isEmpty())
            return length;
    }
    return 0;
}

/// A surrogate that stands for a byte: not the second half of a pair.
bool isUndecodedByte(QStringView text, qsizetype position)
{
    const char16_t code = text[position].unicode();
    const bool secondOfPair = position > 0 && text[position - 1].isHighSurrogate();
    return code >= FirstUndecoded && code <= LastUndecoded && !secondOfPair;
}

QString escaped(QChar character)
{
    switch (character.unicode()) {
    case u'\n':
        return QStringLiteral("\\n");
    case u'\r':
        return QStringLiteral("\\r");
    case u'\t':
        return QStringLiteral("\\t");
    case u'"':
    case u'\\':
        return QLatin1Char('\\') + QString(character);
    default:
        return {character};
    }
}

QString escapedByte(char16_t byte)
{
    return QStringLiteral("\\x%1")
        .arg(uint{byte}, 2, 16, QLatin1Char('0'))
        .toUpper()
        .replace(QLatin1Char('X'), QLatin1Char('x'));
}

/// Marks, embeddings, overrides and isolates: the text after them may be shown in another order.
bool changesDirection(QChar character)
{
    const char16_t code = character.unicode();
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool isControl(QChar character)
{
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph || changesDirection(character);
}

/// What the escape sequence behind a backslash stands for.
struct Unescaped
{
    QChar character;
    qsizetype length; ///< of the sequence, without the backslash
};

std::optional<Unescaped> unescapedNumber(QStringView sequence, qsizetype digits)
{
    const QStringView number = sequence.sliced(1).first(std::min(digits, sequence.size() - 1));
    const bool complete = number.size() == digits && std::ranges::all_of(number, [](QChar digit) {
                              return (digit >= u'0' && digit <= u'9') ||
                                     (digit >= u'a' && digit <= u'f') ||
                                     (digit >= u'A' && digit <= u'F');
                          });
    bool isNumber = false;
    const auto code = static_cast<char16_t>(number.toUInt(&isNumber, 16));
    if (!complete || !isNumber || code == 0)
        return std::nullopt;
    const bool isByte = digits == 2 && code >= 0x80;
    return Unescaped{QChar(static_cast<char16_t>(isByte ? UndecodedBase + code : code)),
                     digits + 1};
}

std::optional<Unescaped> unescaped(QStringView sequence)
{
    if (sequence.isEmpty())
        return std::nullopt;
    switch (sequence.front().unicode()) {
    case u'n':
        return Unescaped{u'\n', 1};
    case u'r':
        return Unescaped{u'\r', 1};
    case u't':
        return Unescaped{u'\t', 1};
    case u'"':
    case u'\\':
        return Unescaped{sequence.front(), 1};
    case u'x':
        return unescapedNumber(sequence, 2);
    case u'u':
        return unescapedNumber(sequence, 4);
    default:
        return std::nullopt;
    }
}

} // namespace

QString pathFromBytes(const QByteArray &bytes)
{
    QStringDecoder whole(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString path = whole(bytes);
    if (!whole.hasError())
        return path;
    path.clear();
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype length = sequenceLength(QByteArrayView(bytes).sliced(at));
        if (length > 0)
            path += QString::fromUtf8(QByteArrayView(bytes).sliced(at, length));
        else
            path += QChar(static_cast<char16_t>(UndecodedBase + static_cast<quint8>(bytes[at])));
        at += std::max<qsizetype>(1, length);
    }
    return path;
}

QByteArray pathBytes(const QString &path)
{
    QByteArray bytes;
    qsizetype start = 0;
    for (qsizetype at = 0; at < path.size(); ++at) {
        if (!isUndecodedByte(path, at))
            continue;
        bytes += QStringView(path).sliced(start, at - start).toUtf8();
        bytes += static_cast<char>(path[at].unicode() - UndecodedBase);
        start = at + 1;
    }
    return bytes + QStringView(path).sliced(start).toUtf8();
}

QString shownPath(const QString &path)
{
    QString shown;
    for (qsizetype at = 0; at < path.size(); ++at) {
        const QChar character = path[at];
        const QString visible = escaped(character);
        const bool isControlCharacter = visible == character && isControl(character);
        if (isUndecodedByte(path, at)) {
            shown += escapedByte(character.unicode() - UndecodedBase);
        } else if (isControlCharacter && character.unicode() < 0x80) {
            shown += escapedByte(character.unicode());
        } else if (isControlCharacter) {
            const uint code = character.unicode();
            shown += QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
        } else {
            shown += visible;
        }
    }
    return shown;
}

QString shownName(const QString &path)
{
    return shownPath(path.sliced(path.lastIndexOf(QLatin1Char('/')) + 1));
}

std::optional<QString> pathFromShown(const QString &shown)
{
    QString path;
    for (qsizetype at = 0; at < shown.size(); ++at) {
        if (shown[at] != QLatin1Char('\\')) {
            path += shown[at];
            continue;
        }
        const auto sequence = unescaped(QStringView(shown).sliced(at + 1));
        if (!sequence)
            return std::nullopt;
        path += sequence->character;
        at += sequence->length;
    }
    return pathFromBytes(pathBytes(path)); // the bytes of one character may be escaped one by one
}

bool isDecoded(const QString &path)
{
    for (qsizetype at = 0; at < path.size(); ++at) {
        if (isUndecodedByte(path, at))
            return false;
    }
    return true;
}

} // namespace vantrel
