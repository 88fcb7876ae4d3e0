#include "capture/grabber/repeated_failure.h"

#include <utility>

namespace V4lX
{

std::uint64_t RepeatedFailure::Note(int code, Clock::time_point now) noexcept
{
    if (code != m_code) {
        m_code = code;
        m_untold = 0;
        m_lastLine = now - std::chrono::seconds(1);
    }
    ++m_untold;
    if (now - m_lastLine < std::chrono::seconds(1))
        return 0;
    m_lastLine = now;
    return std::exchange(m_untold, 0);
}

} // namespace V4lX
