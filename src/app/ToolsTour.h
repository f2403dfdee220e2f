// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoroTask>
#include <QString>

namespace vantrel {

class Stage;

/// The part of the tour that shows what can be asked of a device: its descriptors and single
/// control requests; and the help windows. The console is connected to the tester.
class ToolsTour
{
public:
    explicit ToolsTour(Stage &stage) : m_stage(stage) {}

    QCoro::Task<> walk();

private:
    QCoro::Task<> readDescriptors();
    QCoro::Task<> sendRequest();
    QCoro::Task<> keepRequest();
    QCoro::Task<> lookForHelp();

    QString path(const char *fileName) const;

    Stage &m_stage;
};

} // namespace vantrel
