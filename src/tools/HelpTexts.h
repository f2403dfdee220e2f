// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// What the windows `HelpForm` and `frmAbout` say.
namespace vantrel {

/// The topics in the order of the list. The number of a topic is its place, from 0.
QStringList helpTopics();

/// The help on the topic of this number. No topic has a text of its own yet.
QString helpText(int topic);

/// The program's title.
QString programTitle();

/// "Version 1.0.0"
QString versionText();

} // namespace vantrel
