// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/Settings.h"

#include "link/Wire.h"

namespace vantrel::simulator {

Settings Settings::vorn1()
{
    Settings settings;
    settings.model = 1;
    settings.major = 2;
    settings.minor = 17;
    settings.ramK = 32;
    return settings;
}

Settings Settings::vorn2()
{
    return {};
}

quint8 Settings::versionKind() const
{
    using namespace wire;
    if (inBootstrap())
        return VersionKind::Vorn2Bootstrap;
    if (model == 1)
        return special ? VersionKind::Vorn1Special : VersionKind::Vorn1Revision;
    return special ? VersionKind::Vorn2Special : VersionKind::Vorn2Revision;
}

bool Settings::knowsVersionQuery() const
{
    return model != 1 || major * 100 + minor > 208;
}

} // namespace vantrel::simulator
