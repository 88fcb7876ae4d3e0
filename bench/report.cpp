#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace zevo_bench
{

namespace
{

int g_missed = 0;
bool g_areLimitsIgnored = false;

double readClock(clockid_t clock)
{
    timespec now{};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace

double PercentileOf(Samples samples, double percentile)
{
    Require(!samples.empty(), "a measurement without a sample");
    const auto index =
        static_cast<std::size_t>(static_cast<double>(samples.size() - 1) * percentile / 100 + 0.5);
    std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(index),
                     samples.end());
    return samples[index];
}

double MedianOf(Samples samples)
{
    return PercentileOf(std::move(samples), 50);
}

double ThreadSeconds()
{
    return readClock(CLOCK_THREAD_CPUTIME_ID);
}

double Seconds()
{
    return readClock(CLOCK_MONOTONIC);
}

void Row(const std::string& name, double value, Limit limit, double bound, const std::string& unit)
{
    std::printf("  %-58s %10.3f %-6s", name.c_str(), value, unit.c_str());
    if (limit != Limit::None && !g_areLimitsIgnored) {
        const bool isKept = limit == Limit::AtLeast ? value >= bound : value <= bound;
        std::printf(" %s %g: %s", limit == Limit::AtLeast ? "at least" : "at most", bound,
                    isKept ? "kept" : "MISSED");
        g_missed += isKept ? 0 : 1;
    }
    std::putchar('\n');
    std::fflush(stdout);
}

void Title(const std::string& text)
{
    std::printf("\n%s\n", text.c_str());
}

void IgnoreLimits()
{
    g_areLimitsIgnored = true;
}

int MissedRows()
{
    return g_missed;
}

void Require(bool condition, const std::string& words)
{
    if (condition)
        return;
    std::fprintf(stderr, "zevo-bench: %s\n", words.c_str());
    std::exit(1);
}

} // namespace zevo_bench
