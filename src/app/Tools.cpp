// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Tools.h"

#include "console/Console.h"

namespace vantrel {

Tools::Tools(Console &console, const QString &dataFolder)
    : viewerBoundary(console.dialogs()), builderBoundary(console.dialogs()),
      converterBoundary(console.dialogs()), loaderBoundary(console.dialogs()),
      networkBoundary(console.dialogs()), ftdiBoundary(console.dialogs()),
      viewer(console.session(), console.requests(), viewerBoundary.dialogs, viewerBoundary.errors),
      builder(console.session(), console.requests(), builderBoundary.dialogs,
              builderBoundary.errors),
      converter(console.session(), console.link(), console.commands(), converterBoundary.dialogs,
                converterBoundary.errors),
      loader(console.session(), console.link(), console.commands(), loaderBoundary.dialogs,
             loaderBoundary.errors),
      network(console.session(), console.commands(), networkBoundary.dialogs,
              networkBoundary.errors),
      ftdi(console.session(), console.requests(), ftdiBoundary.dialogs, ftdiBoundary.errors,
           dataFolder)
{
}

} // namespace vantrel
