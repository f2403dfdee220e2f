// SPDX-License-Identifier: GPL-3.0-or-later

// What becomes of the entry fields when the user leaves them.
#include "link/ErrorBoundary.h"
#include "link/Utils.h"
#include "link/Words.h"
#include "maintenance/FtdiUtility.h"

#include <algorithm>
#include <limits>

namespace vantrel {

namespace {

constexpr qint32 HighestAddress = 127;
constexpr qint32 HighestId = 0xFFFF;
constexpr qint32 HighestRevision = 255;
constexpr qint32 HighestPower = 500; // mA

qint32 number(const Control &box)
{
    QString text = box.text();
    return ParseNumber(text);
}

} // namespace

void FtdiUtility::devAddrLeft()
{
    leave([this] {
        const qint32 address = std::min(number(m_controls.DevAddr), HighestAddress);
        if (address < std::numeric_limits<qint16>::min())
            throw RuntimeError::overflow();
        m_controls.DevAddr.setText(QStringLiteral("0x") + Hex2(static_cast<qint16>(address)));
    });
}

void FtdiUtility::idLeft(Control &box)
{
    leave([&box] { box.setText(QStringLiteral("0x") + Hex4(std::min(number(box), HighestId))); });
}

/// A negative number stays, and cannot be programmed.
void FtdiUtility::majRevLeft()
{
    leave([this] {
        const qint32 revision = std::min(number(m_controls.tbMajRev), HighestRevision);
        m_controls.tbMajRev.setText(QString::number(revision));
    });
}

void FtdiUtility::minRevLeft()
{
    leave([this] {
        const qint32 revision = std::clamp(number(m_controls.tbMinRev), 0, HighestRevision);
        m_controls.tbMinRev.setText(QString::number(revision));
    });
}

void FtdiUtility::maxPowerLeft()
{
    leave([this] {
        const qint32 entered = roundToLong(numericValue(m_controls.tbMaxPower.text()));
        const qint32 units = std::clamp(entered, 0, HighestPower) / 2;
        m_controls.tbMaxPower.setText(QString::number(2 * units));
        m_image.setByte(FtdiByte::MaxPower, static_cast<quint8>(units));
    });
}

void FtdiUtility::textLeft(Control &box)
{
    leave([this, &box] {
        const QString refusal = textRefusal(box.text());
        if (refusal.isEmpty()) {
            m_accepted[&box] = box.text();
            return;
        }
        ++m_refusals;
        box.setText(m_accepted.value(&box));
        m_errors.run([this, refusal] { return tell(refusal); });
    });
}

/// A window that goes leaves its field too; there is nothing to correct any more.
void FtdiUtility::leave(const std::function<void()> &check)
{
    if (!m_open || m_running)
        return;
    m_errors.runNow([this, &check] {
        ++m_refusals;
        check();
        --m_refusals;
    });
}

} // namespace vantrel
