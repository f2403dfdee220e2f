// SPDX-License-Identifier: GPL-3.0-or-later
#include "Journal.h"

#include <algorithm>

namespace vantrel::soak {

namespace {

constexpr qsizetype LastEntries = 60;
constexpr qsizetype LineWidth = 96;

} // namespace

void Journal::note(Group group, const QString &kind, const QString &detail)
{
    ++m_counts[group][kind];
    m_last.append(QStringLiteral("%1 s  %2 %3").arg(seconds(), 8, 'f', 2).arg(kind, detail));
    if (m_last.size() > LastEntries)
        m_last.removeFirst();
}

int Journal::total(Group group) const
{
    int sum = 0;
    for (const int count : m_counts.value(group))
        sum += count;
    return sum;
}

QStringList Journal::table(Group group) const
{
    const QMap<QString, int> counts = m_counts.value(group);
    QStringList kinds = counts.keys();
    std::ranges::stable_sort(kinds, [&counts](const QString &left, const QString &right) {
        return counts.value(left) > counts.value(right);
    });
    QStringList lines{QString()};
    for (const QString &kind : kinds) {
        const QString cell = QStringLiteral("%1 %2, ").arg(kind).arg(counts.value(kind));
        if (lines.last().size() + cell.size() > LineWidth)
            lines.append(QString());
        lines.last() += cell;
    }
    lines.last().chop(2);
    return lines;
}

} // namespace vantrel::soak
