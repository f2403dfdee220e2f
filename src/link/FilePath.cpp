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
        return QString(character);
    }
}

QString escapedByte(char16_t byte)
{
    return QStringLiteral("\\x%1")
        .arg(uint{byte}, 2, 16, QLatin1Char('0'))
        .toUpper()
        .replace(QLatin1Char('X'), QLatin1Char('x'));
}

bool isControl(QChar character)
{
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
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
        if (isUndecodedByte(path, at))
            shown += escapedByte(character.unicode() - UndecodedBase);
        else if (visible == character && isControl(character) && character.unicode() < 0x80)
            shown += escapedByte(character.unicode());
        else if (visible == character && isControl(character))
            shown +=
                QStringLiteral("\\u%1").arg(uint{character.unicode()}, 4, 16, QLatin1Char('0'));
        else
            shown += visible;
    }
    return shown;
}

} // namespace vantrel
