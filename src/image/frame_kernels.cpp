#include "image/frame_kernels.h"

#include <sys/mman.h>
#include <unistd.h>

namespace V4lX
{

namespace
{

// Smaller frames may stay in a cache until the consumer reads them.
constexpr std::size_t kStreamedSize = 4 * 1024 * 1024;

// Each needs what the one before it needs.
constexpr const FrameKernels* kKernels[] = {
    &kPortableKernels,
#if defined(ZEVO_X86_64_KERNELS)
    &kSse2Kernels,
    &kAvx2Kernels,
    &kAvx512Kernels,
#elif defined(ZEVO_ARM64_KERNELS)
    &kNeonKernels,
#endif
};

std::size_t countAvailable() noexcept
{
#if defined(ZEVO_X86_64_KERNELS)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2"))
        return 2;
    // Processors with AVX-512 but without VBMI lower their clock for it.
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi") ? 4 : 3;
#else
    return sizeof kKernels / sizeof kKernels[0];
#endif
}

// Of the page in the middle: a heap's header may have touched the first one.
bool wasTouched(const void* memory, std::size_t size) noexcept
{
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto middle = reinterpret_cast<std::uintptr_t>(memory) + size / 2;
    unsigned char state = 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    auto* page = reinterpret_cast<void*>(middle / pageSize * pageSize);
    return ::mincore(page, 1, &state) == 0 && (state & 1) != 0;
}

} // namespace

GenTLProducer::Span<const FrameKernels* const> AvailableFrameKernels() noexcept
{
    static const std::size_t count = countAvailable();
    return {kKernels, count};
}

bool IsStreamingWorthwhile(const void* destination, std::size_t size) noexcept
{
    return size >= kStreamedSize && wasTouched(destination, size);
}

} // namespace V4lX
