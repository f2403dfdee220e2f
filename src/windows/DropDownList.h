// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QComboBox>

namespace vantrel {

/// A drop-down list whose entry is not changed by the mouse wheel while the list is closed. The
/// wheel goes to the widget behind it.
class DropDownList : public QComboBox
{
    Q_OBJECT

public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent *event) override;
};

} // namespace vantrel
