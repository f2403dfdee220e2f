// SPDX-License-Identifier: GPL-3.0-or-later

// What becomes of the entry fields when the user leaves them.
#include "link/ErrorBoundary.h"
#include "maintenance/FtdiUtility.h"

namespace vantrel {

namespace {

/// A negative number stays, and cannot be programmed.
constexpr NumberFormat MajorRevision{Notation::Prefixed, NumberFormat::NoLimit, 255, decimalText};
constexpr NumberFormat MinorRevision{Notation::Prefixed, 0, 255, decimalText};

/// The EEPROM holds units of 2 mA.
QString powerText(qint32 milliamperes)
{
    return decimalText(milliamperes / 2 * 2);
}

constexpr NumberFormat MaximumPower{Notation::Decimal, 0, 500, powerText};

} // namespace

bool FtdiUtility::devAddrLeft()
{
    return leave(m_controls.DevAddr, NumberFormats::DeviceAddress);
}

bool FtdiUtility::majRevLeft()
{
    return leave(m_controls.tbMajRev, MajorRevision);
}

bool FtdiUtility::minRevLeft()
{
    return leave(m_controls.tbMinRev, MinorRevision);
}

bool FtdiUtility::maxPowerLeft()
{
    return leave([this] {
        const qint32 power = commitNumber(m_controls.tbMaxPower, MaximumPower);
        m_image.setByte(FtdiByte::MaxPower, static_cast<quint8>(power / 2));
    });
}

bool FtdiUtility::textLeft(Control &box)
{
    bool storable = true;
    const bool checked = leave([this, &box, &storable] {
        const QString refusal = textRefusal(box.text());
        storable = refusal.isEmpty();
        if (storable) {
            m_accepted[&box] = box.text();
            return;
        }
        box.setText(m_accepted.value(&box));
        m_errors.run([this, refusal] { return tell(refusal); });
    });
    return checked && storable;
}

/// A window that goes leaves its field too; there is nothing to correct any more.
bool FtdiUtility::leave(const std::function<void()> &check)
{
    return !m_open || m_running || m_errors.runNow(check);
}

bool FtdiUtility::leave(Control &box, const NumberFormat &format)
{
    return leave([&] { commitNumber(box, format); });
}

} // namespace vantrel
