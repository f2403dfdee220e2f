// SPDX-License-Identifier: GPL-3.0-or-later

// The network names file: any contents give a list, and a file as the console writes it gives back
// the names it was written from.
#include "Input.h"
#include "console/NetworkNames.h"

using namespace vantrel;

namespace {

bool isLegal(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z') || character == '-' || character == '.';
}

void requireRoundTrip(const QByteArray &contents)
{
    QStringList names;
    QByteArray file;
    for (QByteArray name : contents.split('\n')) {
        name.removeIf([](char character) { return !isLegal(character); });
        names += QString::fromLatin1(name);
        file += name + "\r\n";
    }
    fuzz::require(NetworkNames::parse(file) == names, "a written file gives its names back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray contents = fuzz::Input(data, size).rest().toByteArray();
    qsizetype length = 0;
    const QStringList entries = NetworkNames::parse(contents);
    for (const QString &entry : entries)
        length += entry.size();
    fuzz::require(length <= contents.size(), "entries hold nothing that the file does not");
    fuzz::require(entries.size() <= contents.size(), "every entry takes at least one byte");
    requireRoundTrip(contents);
    return 0;
}
