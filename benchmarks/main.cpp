// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks.h"
#include "Comparisons.h"

#include <cstdlib>

using namespace vantrel::bench;

int main(int argc, char *argv[])
{
    // By turns: what else the machine does falls on both sides alike.
    char alternating[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, alternating);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return EXIT_FAILURE;

    Comparisons comparisons;
    addDeframer(comparisons);
    addResponses(comparisons);
    benchmark::RunSpecifiedBenchmarks(&comparisons);
    return comparisons.print() ? EXIT_SUCCESS : EXIT_FAILURE;
}
