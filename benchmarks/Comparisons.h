// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vantrel::bench {

/// One line of the table. Both sides do the same work in an iteration and tell its bytes
/// (SetBytesProcessed).
struct Comparison
{
    std::string name;
    double atLeast; ///< of the yardstick's rate
    std::function<void(benchmark::State &)> ours;
    std::string yardstickName;
    std::function<void(benchmark::State &)> yardstick;
    /// By the clock on the wall, not by processor time: a program of its own is not ours to count.
    bool realTime = false;
};

/// Measures both sides of every comparison by turns and prints the table of their medians.
class Comparisons : public benchmark::BenchmarkReporter
{
public:
    void add(Comparison comparison);

    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;

    /// True when every line that was measured reached its ratio.
    bool print() const;

private:
    double medianRate(const std::string &side) const;

    std::vector<Comparison> m_comparisons;
    std::map<std::string, std::vector<double>> m_rates; // bytes a second of each repetition
};

} // namespace vantrel::bench
