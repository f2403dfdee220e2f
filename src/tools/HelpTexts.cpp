// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/HelpTexts.h"

#include "link/Utils.h"
#include "link/Version.h"

namespace vantrel {

QStringList helpTopics()
{
    return {QStringLiteral("Vantrel"),
            QStringLiteral("... Comm Port"),
            QStringLiteral("... Vcc Control"),
            QStringLiteral("... Suspend/Resume"),
            QStringLiteral("... USB Reset"),
            QStringLiteral("... Current Measurement"),
            QStringLiteral("Device Request Builder"),
            QStringLiteral("Descriptor Viewer")};
}

QString helpText(int topic)
{
    return QStringLiteral("This is help item ") + numberText(topic);
}

QString programTitle()
{
    return QStringLiteral("Vantrel");
}

QString versionText()
{
    return QStringLiteral("Version %1.%2.%3")
        .arg(version::Major)
        .arg(version::Minor)
        .arg(version::Revision);
}

} // namespace vantrel
