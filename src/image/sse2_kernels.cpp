#include <emmintrin.h>

#include "image/streamed_frames.h"

namespace V4lX
{

namespace
{

struct Sse2 {
    struct Block {
        __m128i part[4];
    };
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kUnroll = 1;

    static Block load(const std::uint8_t* from) noexcept
    {
        const auto* parts = reinterpret_cast<const __m128i*>(from);
        return {{_mm_loadu_si128(parts), _mm_loadu_si128(parts + 1), _mm_loadu_si128(parts + 2),
                 _mm_loadu_si128(parts + 3)}};
    }

    static void store(std::uint8_t* to, const Block& block) noexcept
    {
        for (int i = 0; i < 4; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + i, block.part[i]);
    }

    static void stream(std::uint8_t* to, const Block& block) noexcept
    {
        for (int i = 0; i < 4; ++i)
            _mm_stream_si128(reinterpret_cast<__m128i*>(to) + i, block.part[i]);
    }

    static Block luma(const std::uint8_t* from) noexcept
    {
        const Block low = load(from);
        const Block high = load(from + 64);
        return {{oddBytes(low.part[0], low.part[1]), oddBytes(low.part[2], low.part[3]),
                 oddBytes(high.part[0], high.part[1]), oddBytes(high.part[2], high.part[3])}};
    }

    static Block chroma(const std::uint8_t* from) noexcept
    {
        const Block low = load(from);
        const Block high = load(from + 64);
        return {{evenBytes(low.part[0], low.part[1]), evenBytes(low.part[2], low.part[3]),
                 evenBytes(high.part[0], high.part[1]), evenBytes(high.part[2], high.part[3])}};
    }

    static void fence() noexcept { _mm_sfence(); }

private:
    static __m128i oddBytes(__m128i first, __m128i second) noexcept
    {
        return _mm_packus_epi16(_mm_srli_epi16(first, 8), _mm_srli_epi16(second, 8));
    }

    static __m128i evenBytes(__m128i first, __m128i second) noexcept
    {
        const __m128i mask = _mm_set1_epi16(0xFF);
        return _mm_packus_epi16(_mm_and_si128(first, mask), _mm_and_si128(second, mask));
    }
};

} // namespace

const FrameKernels kSse2Kernels = makeStreamingKernels<Sse2>("SSE2");

} // namespace V4lX
