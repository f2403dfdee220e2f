// SPDX-License-Identifier: GPL-3.0-or-later
#include "LogCheck.h"

#include "Journal.h"

#include <QRegularExpression>

namespace vantrel::soak {

namespace {

constexpr const char *DataLine = "*** Data --  Address: 0x7A   EndPoint: 0xEE";
constexpr const char *FooterStart = "\r\n%%%%%\r\n%% Log File Ended: ";

const QRegularExpression &headerPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(\A%%%%%\r\n%% Log File Started: [^\r\n]+\r\n%%%%%\r\n\r\n)"));
    return pattern;
}

const QRegularExpression &footerPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(\A\r\n%%%%%\r\n%% Log File Ended: [^\r\n]+\r\n%%%%%\r\n\z)"));
    return pattern;
}

/// Any line of a log, H standing for a hexadecimal digit.
QString linePatterns()
{
    QString all =
        QStringList{
            QString(),
            QStringLiteral(R"( (HH ){0,23})"),
            QStringLiteral(R"(\*\*\* Connect )"),
            QStringLiteral(R"(     Address: 0xHH   DevClass: 0xHH   Vendor ID: 0xHHHH   )"
                           R"(Product ID: 0xHHHH)"),
            QStringLiteral(R"(\*\*\* Disconnect)"),
            QStringLiteral(R"(     Address: 0xH?H)"),
            QStringLiteral(
                R"(\*\*\* Status -- Hub Address: 0xHH   Port #: 0xHH   Status = 0xHHHH)"),
            QStringLiteral(R"(\*\*\* Data --  Address: 0xHH   EndPoint: 0xHH)"),
            QStringLiteral(R"(\*\*\* Device Error )"),
            QStringLiteral(R"(     Address: 0xHH   EndPoint: 0xHH   Error = 0xHH: )"
                           R"((STALL|IGNORE|Data CRC Error|Data Toggle Error|Sync Error|Babble|)"
                           R"(PID Error|Short Packet Error|Configuration Error|Scheduling Error|)"
                           R"(Transmit Fail|## Unknown Error ##))"),
            QStringLiteral(R"(\*\*\* Vorn Fail )"),
            QStringLiteral(R"(\*\*\* Command Error )"),
            QStringLiteral(R"(\*\*\* Trigger Input Channel \d+)"),
            QStringLiteral(R"(\*\*\* Message -- )"),
            QStringLiteral(R"(\*\*\* Message -- Index:  \d+  Timer: [ -]\d+)"),
            QStringLiteral(R"(\*\*\* Script Response -- Index:  \d+)"),
            QStringLiteral(R"(-- Block Transfer Status Response: Running)"),
            QStringLiteral(R"(-- Block Transfer Status Response: Complete - Status = HH)"),
            QStringLiteral(R"(-- Block Transfer Response)"),
            QStringLiteral(R"(-- Stop Block Transfer)"),
            QStringLiteral(R"(-- Device (Request|Transfer) Response: Status = HH)"),
            QStringLiteral(R"(### Unrecognized Response From Tester ### )"),
            QStringLiteral(R"(\*\*\* Download Failed - Communications Timeout)"),
            QStringLiteral(R"(Reinitializing Communications\.\.\.)"),
        }
            .join(QLatin1Char('|'));
    all.replace(QStringLiteral("HHHH"), QStringLiteral("[0-9A-F]{4}"));
    all.replace(QStringLiteral("HH"), QStringLiteral("[0-9A-F]{2}"));
    all.replace(QStringLiteral("H?H"), QStringLiteral("[0-9A-F]{1,2}"));
    return QStringLiteral("\\A(?:%1)\\z").arg(all);
}

bool isLine(const QByteArray &line)
{
    static const QRegularExpression pattern(linePatterns());
    return pattern.match(QString::fromLatin1(line)).hasMatch();
}

/// 23 bytes a line, each line and each break with a blank in front.
QList<QByteArray> dumpLines(const QByteArray &data)
{
    constexpr qsizetype Width = 23;
    QList<QByteArray> lines;
    for (qsizetype at = 0; at <= data.size(); at += Width) {
        const QByteArray cells = data.mid(at, Width).toHex(' ').toUpper();
        lines.append(cells.isEmpty() ? QByteArray(" ") : ' ' + cells + ' ');
    }
    return lines;
}

[[noreturn]] void refuse(const QString &why, qsizetype line)
{
    throw SoakFailure(QStringLiteral("the log, line %1 of the body: %2").arg(line + 1).arg(why));
}

quint32 numberIn(const QByteArray &dumpLine)
{
    constexpr qsizetype Cells = 13; // a blank, and four bytes with a blank each
    bool ok = false;
    return dumpLine.left(Cells).replace(' ', "").toUInt(&ok, 16);
}

/// The body of the log, without header and footer.
QByteArray bodyOf(const QByteArray &file, qint32 size)
{
    const qsizetype footer = file.lastIndexOf(FooterStart);
    if (footer < 0 || !footerPattern().match(QString::fromLatin1(file.mid(footer))).hasMatch())
        throw SoakFailure(QStringLiteral("the log has no footer"));
    if (footer != size)
        throw SoakFailure(
            QStringLiteral("the log has %1 bytes before its footer, and %2 were counted")
                .arg(footer)
                .arg(size));
    const auto header = headerPattern().match(QString::fromLatin1(file.left(200)));
    if (!header.hasMatch())
        throw SoakFailure(QStringLiteral("the log has no header"));
    return file.mid(header.capturedLength(), footer - header.capturedLength());
}

QList<QByteArray> linesOf(const QByteArray &body)
{
    QList<QByteArray> lines = body.split('\n');
    if (!lines.takeLast().isEmpty())
        throw SoakFailure(QStringLiteral("the log's last line has no end"));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines[i].endsWith('\r'))
            refuse(QStringLiteral("not ended by CR LF"), i);
        lines[i].chop(1);
    }
    return lines;
}

} // namespace

LogContents readLog(const QByteArray &file, qint32 size)
{
    const QList<QByteArray> lines = linesOf(bodyOf(file, size));
    LogContents contents;
    contents.lines = lines.size();
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!isLine(lines[i]))
            refuse(QString::fromLatin1(lines[i]), i);
        if (lines[i] != DataLine)
            continue;
        const quint32 number = numberIn(lines.value(i + 1));
        const QList<QByteArray> data = dumpLines(Reports::dataOf(number));
        if (lines.mid(i + 1, data.size()) != data)
            refuse(QStringLiteral("report %1 has other data than was sent").arg(number), i);
        contents.numbers.append(number);
    }
    return contents;
}

void compareWithSent(const QList<quint32> &logged,
                     const QList<Reports::Conversation> &conversations)
{
    auto report = logged.begin();
    for (const Reports::Conversation &conversation : conversations) {
        quint32 next = conversation.first;
        const auto belongs = [&conversation, &next](quint32 number) {
            return conversation.mayHaveGaps ? number >= next && number < conversation.end
                                            : number == next && next < conversation.end;
        };
        while (report != logged.end() && belongs(*report))
            next = *report++ + 1;
        if (next < conversation.due && !conversation.mayHaveGaps)
            throw SoakFailure(QStringLiteral("of the reports %1 to %2 the log lacks number %3")
                                  .arg(conversation.first)
                                  .arg(conversation.due - 1)
                                  .arg(next));
    }
    if (report != logged.end())
        throw SoakFailure(
            QStringLiteral("the log holds report %1 where it does not belong").arg(*report));
}

} // namespace vantrel::soak
