#include "grab/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace zevo_tool
{

namespace
{

constexpr int kBarWidth = 40;
constexpr std::chrono::milliseconds kUpdatePeriod{100};

} // namespace

std::string ProgressText(std::uint64_t frames, std::uint64_t total, double seconds, int width)
{
    std::string text;
    if (total > 0) {
        const auto share =
            static_cast<double>(std::min(frames, total)) / static_cast<double>(total);
        const auto filled = static_cast<std::size_t>(share * width);
        text = "[" + std::string(filled, '#') +
               std::string(static_cast<std::size_t>(width) - filled, '.') + "] ";
    }
    text += std::to_string(frames);
    if (total > 0)
        text += "/" + std::to_string(total);
    char rest[40];
    std::snprintf(rest, sizeof rest, " frames, %.1f s", seconds);
    return text + rest;
}

Progress::Progress(std::uint64_t total)
    : total_(total), isShown_(isatty(STDERR_FILENO) != 0), start_(std::chrono::steady_clock::now()),
      next_(start_)
{
}

Progress::~Progress()
{
    if (isShown_)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::Update(std::uint64_t frames)
{
    const auto now = std::chrono::steady_clock::now();
    if (!isShown_ || (now < next_ && frames != total_))
        return;
    next_ = now + kUpdatePeriod;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::fprintf(stderr, "\r\x1b[K%s", ProgressText(frames, total_, seconds, kBarWidth).c_str());
    std::fflush(stderr);
}

} // namespace zevo_tool
