#include "plain_loop.h"

namespace zevo_bench
{

void ConvertByPlainLoop(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                        std::size_t height) noexcept
{
    std::uint8_t* chroma = destination + width * height;
    for (std::size_t line = 0; line < height; line += 2) {
        for (std::size_t i = 0; i < width; ++i)
            *destination++ = *source++;
        for (std::size_t i = 0; i < width; i += 2) {
            *chroma++ = *source++;
            *destination++ = *source++;
            *chroma++ = *source++;
            *destination++ = *source++;
        }
    }
}

} // namespace zevo_bench
