#include <arm_neon.h>

#include "image/block_conversion.h"
#include "image/frame_kernels.h"

namespace V4lX
{

namespace
{

struct Neon {
    static constexpr std::size_t kBlock = 32;

    static void split(const std::uint8_t* from, std::uint8_t* lumaTo,
                      std::uint8_t* chromaTo) noexcept
    {
        const uint8x16x2_t low = vld2q_u8(from);
        const uint8x16x2_t high = vld2q_u8(from + 32);
        vst1q_u8(chromaTo, low.val[0]);
        vst1q_u8(chromaTo + 16, high.val[0]);
        vst1q_u8(lumaTo, low.val[1]);
        vst1q_u8(lumaTo + 16, high.val[1]);
    }
};

} // namespace

const FrameKernels kNeonKernels = {"NEON", convertYuv420<Neon>, nullptr, nullptr};

} // namespace V4lX
