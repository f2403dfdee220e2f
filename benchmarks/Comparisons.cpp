// SPDX-License-Identifier: GPL-3.0-or-later
#include "Comparisons.h"

#include <algorithm>
#include <cstdio>

namespace vantrel::bench {

namespace {

constexpr int Repetitions = 9;
constexpr double SecondsEach = 0.1;

std::string oursOf(const Comparison &comparison)
{
    return comparison.name + " / ours";
}

std::string yardstickOf(const Comparison &comparison)
{
    return comparison.name + " / " + comparison.yardstickName;
}

void measure(const std::string &side, const std::function<void(benchmark::State &)> &run,
             bool realTime)
{
    auto *const measured = benchmark::RegisterBenchmark(side.c_str(), run);
    measured->Repetitions(Repetitions)->MinTime(SecondsEach);
    if (realTime)
        measured->UseRealTime();
}

// Google Benchmark 1.8 replaced `error_occurred` and `error_message`.
template <typename Run>
bool hasFailed(const Run &run)
{
    if constexpr (requires { run.error_occurred; })
        return run.error_occurred;
    else
        return static_cast<bool>(run.skipped);
}

template <typename Run>
std::string messageOf(const Run &run)
{
    if constexpr (requires { run.error_message; })
        return run.error_message;
    else
        return run.skip_message;
}

std::string rateText(double bytesPerSecond)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f MB/s", bytesPerSecond / 1e6);
    return text;
}

} // namespace

void Comparisons::add(Comparison comparison)
{
    measure(oursOf(comparison), comparison.ours, comparison.realTime);
    measure(yardstickOf(comparison), comparison.yardstick, comparison.realTime);
    m_comparisons.push_back(std::move(comparison));
}

bool Comparisons::ReportContext(const Context & /*context*/)
{
    return true;
}

void Comparisons::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        if (hasFailed(run))
            std::fprintf(stderr, "%s: %s\n", run.run_name.function_name.c_str(),
                         messageOf(run).c_str());
        else if (run.run_type == Run::RT_Iteration)
            m_rates[run.run_name.function_name].push_back(run.counters.at("bytes_per_second"));
    }
}

/// 0 when the side was not measured.
double Comparisons::medianRate(const std::string &side) const
{
    const auto found = m_rates.find(side);
    if (found == m_rates.end())
        return 0;
    std::vector<double> rates = found->second;
    const auto middle = rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2);
    std::nth_element(rates.begin(), middle, rates.end());
    return *middle;
}

bool Comparisons::print() const
{
    bool allReached = true;
    std::printf("%-36s %11s  %-28s %11s %6s %9s\n", "", "ours", "yardstick", "", "ratio",
                "required");
    for (const Comparison &comparison : m_comparisons) {
        const double ours = medianRate(oursOf(comparison));
        const double yardstick = medianRate(yardstickOf(comparison));
        if (ours == 0 || yardstick == 0)
            continue;
        const double ratio = ours / yardstick;
        const bool reached = ratio >= comparison.atLeast;
        allReached = allReached && reached;
        std::printf("%-36s %11s  %-28s %11s %6.2f %9.2f  %s\n", comparison.name.c_str(),
                    rateText(ours).c_str(), comparison.yardstickName.c_str(),
                    rateText(yardstick).c_str(), ratio, comparison.atLeast, reached ? "ok" : "NOT");
    }
    return allReached;
}

} // namespace vantrel::bench
