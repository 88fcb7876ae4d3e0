// A line on the terminal that shows how far an acquisition is.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace zevo_tool
{

/// Silent unless standard error is a terminal. The line goes away with the object.
class Progress final
{
public:
    /// `total` is 0 when there is no end.
    explicit Progress(std::uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Update(std::uint64_t frames);

private:
    std::uint64_t total_;
    bool isShown_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point next_;
};

/// The line's text, `width` characters of bar.
std::string ProgressText(std::uint64_t frames, std::uint64_t total, double seconds, int width);

} // namespace zevo_tool
