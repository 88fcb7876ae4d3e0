// Compiled for processors with AVX-512 BW and VBMI.
#include <immintrin.h>

#include "image/streamed_frames.h"

namespace V4lX
{

namespace
{

// Numbers of every second byte of two registers, and how to get from the even ones to the odd.
alignas(64) constexpr std::uint8_t kEvenBytes[] = {
    0,  2,  4,   6,   8,   10,  12,  14,  16,  18,  20,  22,  24,  26,  28,  30,
    32, 34, 36,  38,  40,  42,  44,  46,  48,  50,  52,  54,  56,  58,  60,  62,
    64, 66, 68,  70,  72,  74,  76,  78,  80,  82,  84,  86,  88,  90,  92,  94,
    96, 98, 100, 102, 104, 106, 108, 110, 112, 114, 116, 118, 120, 122, 124, 126,
};

struct Avx512 {
    using Block = __m512i;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kUnroll = 2;

    static Block load(const std::uint8_t* from) noexcept { return _mm512_loadu_si512(from); }
    static void store(std::uint8_t* to, Block block) noexcept { _mm512_storeu_si512(to, block); }
    static void stream(std::uint8_t* to, Block block) noexcept
    {
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to), block);
    }

    static Block luma(const std::uint8_t* from) noexcept
    {
        const Block odd = _mm512_or_si512(load(kEvenBytes), _mm512_set1_epi8(1));
        return _mm512_permutex2var_epi8(load(from), odd, load(from + 64));
    }

    static Block chroma(const std::uint8_t* from) noexcept
    {
        return _mm512_permutex2var_epi8(load(from), load(kEvenBytes), load(from + 64));
    }

    static void fence() noexcept { _mm_sfence(); }
};

} // namespace

const FrameKernels kAvx512Kernels = makeStreamingKernels<Avx512>("AVX-512");

} // namespace V4lX
