// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QApplication>

#include <memory>

namespace vantrel {

/// Creates the application object. Without a display that windows can be shown on, Qt would abort
/// the process: then a message on standard error states why, and the process ends with exit status
/// 1.
std::unique_ptr<QApplication> startApplication(int &argc, char **argv);

} // namespace vantrel
