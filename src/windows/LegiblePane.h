// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

class QPlainTextEdit;

namespace vantrel {

/// Lets a pane keep its colours while it is disabled: it takes no input then, but what it shows is
/// there to be read. Follows the palette of the pane's window for as long as it lives; it belongs
/// to the pane.
class LegiblePane : public QObject
{
    Q_OBJECT

public:
    explicit LegiblePane(QPlainTextEdit &pane);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void colour() const;

    QPlainTextEdit &m_pane;
};

} // namespace vantrel
