// What a measurement shows: samples, their middle, and a table of ratios with their limits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zevo_bench
{

/// How much is measured: all that medians need, or once through everything.
struct Effort {
    int rounds = 11;
    unsigned width = 2592;
    unsigned height = 1944;
    int kernelBuffers = 20;
    int userBuffers = 40;
    int frames = 200;
    int calls = 20000;
};

/// Seconds, calls or bytes, one number for each round.
using Samples = std::vector<double>;

double MedianOf(Samples samples);
double PercentileOf(Samples samples, double percentile);

/// Seconds of a clock.
double ThreadSeconds();
double Seconds();

enum class Limit : std::uint8_t { AtLeast, AtMost, None };

/// One row of the table: a figure and what it may be. Prints at once.
void Row(const std::string& name, double value, Limit limit = Limit::None, double bound = 0,
         const std::string& unit = "");
void Title(const std::string& text);
/// From now on nothing is compared with a limit.
void IgnoreLimits();
/// Rows so far that didn't keep their limit.
int MissedRows();

/// Ends the program unless the condition holds.
void Require(bool condition, const std::string& words);

} // namespace zevo_bench
