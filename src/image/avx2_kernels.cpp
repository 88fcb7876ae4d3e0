// Compiled for processors with AVX2.
#include <immintrin.h>

#include "image/streamed_frames.h"

namespace V4lX
{

namespace
{

struct Avx2 {
    struct Block {
        __m256i low;
        __m256i high;
    };
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kUnroll = 1;

    static Block load(const std::uint8_t* from) noexcept
    {
        const auto* parts = reinterpret_cast<const __m256i*>(from);
        return {_mm256_loadu_si256(parts), _mm256_loadu_si256(parts + 1)};
    }

    static void store(std::uint8_t* to, const Block& block) noexcept
    {
        auto* parts = reinterpret_cast<__m256i*>(to);
        _mm256_storeu_si256(parts, block.low);
        _mm256_storeu_si256(parts + 1, block.high);
    }

    static void stream(std::uint8_t* to, const Block& block) noexcept
    {
        auto* parts = reinterpret_cast<__m256i*>(to);
        _mm256_stream_si256(parts, block.low);
        _mm256_stream_si256(parts + 1, block.high);
    }

    static Block luma(const std::uint8_t* from) noexcept
    {
        return {oddBytes(load(from)), oddBytes(load(from + 64))};
    }

    static Block chroma(const std::uint8_t* from) noexcept
    {
        return {evenBytes(load(from)), evenBytes(load(from + 64))};
    }

    static void fence() noexcept { _mm_sfence(); }

private:
    static __m256i oddBytes(const Block& block) noexcept
    {
        return pack(_mm256_srli_epi16(block.low, 8), _mm256_srli_epi16(block.high, 8));
    }

    static __m256i evenBytes(const Block& block) noexcept
    {
        const __m256i mask = _mm256_set1_epi16(0xFF);
        return pack(_mm256_and_si256(block.low, mask), _mm256_and_si256(block.high, mask));
    }

    // The pack works on the halves of a register: its quarters come in the order 0, 2, 1, 3.
    static __m256i pack(__m256i first, __m256i second) noexcept
    {
        return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    }
};

} // namespace

const FrameKernels kAvx2Kernels = makeStreamingKernels<Avx2>("AVX2");

} // namespace V4lX
