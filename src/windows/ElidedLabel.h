// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

namespace vantrel {

/// A label of one line of plain text that takes what room it gets and cuts its text in the middle.
/// While text is selected, the label shows the start of the whole text.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace vantrel
