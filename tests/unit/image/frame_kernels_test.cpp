#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "image/copy_bytes.h"
#include "image/frame_kernels.h"
#include "image/yuv420_conversion.h"

namespace V4lX
{
namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kGuard = 0xA5;

/// Memory between two pages that can't be touched. What is placed in it lies at some bytes'
/// distance from one of them, the rest being filled with a pattern.
class GuardedMemory
{
public:
    explicit GuardedMemory(std::size_t size)
        : page_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
          size_((size + page_ - 1) / page_ * page_)
    {
        void* all =
            ::mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        begin_ = static_cast<std::uint8_t*>(all) + page_;
        EXPECT_EQ(::mprotect(begin_, size_, PROT_READ | PROT_WRITE), 0);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() { ::munmap(begin_ - page_, size_ + 2 * page_); }

    std::uint8_t* Place(std::size_t size, std::size_t distance, bool isAtEnd)
    {
        std::memset(begin_, kGuard, size_);
        return isAtEnd ? begin_ + size_ - size - distance : begin_ + distance;
    }

    bool isIntactAround(const std::uint8_t* placed, std::size_t size) const
    {
        const auto isGuard = [](std::uint8_t byte) { return byte == kGuard; };
        return std::all_of<const std::uint8_t*>(begin_, placed, isGuard) &&
               std::all_of<const std::uint8_t*>(placed + size, begin_ + size_, isGuard);
    }

private:
    std::size_t page_;
    std::size_t size_;
    std::uint8_t* begin_ = nullptr;
};

/// Runs loops on random contents at random places and compares with what is expected.
class Workbench
{
public:
    explicit Workbench(std::size_t largest) : source_(largest), destination_(largest) {}

    std::size_t Random(std::size_t least, std::size_t most)
    {
        return std::uniform_int_distribution<std::size_t>(least, most)(random_);
    }

    template <typename Expected, typename Loop>
    testing::AssertionResult Run(std::size_t size, Expected expected, Loop loop)
    {
        constexpr std::size_t kFurthest = 130;
        const std::size_t from = Random(0, kFurthest);
        const std::size_t to = Random(0, kFurthest);
        std::uint8_t* source = source_.Place(size, from, Random(0, 1) == 1);
        std::uint8_t* destination = destination_.Place(size, to, Random(0, 1) == 1);
        std::generate_n(source, size, [this] { return static_cast<std::uint8_t>(random_()); });
        Bytes wanted(size);
        expected(source, wanted.data());
        loop(source, destination);
        if (!std::equal(wanted.begin(), wanted.end(), destination))
            return testing::AssertionFailure() << "other bytes, " << from << " to " << to;
        if (!destination_.isIntactAround(destination, size))
            return testing::AssertionFailure() << "wrote beyond, " << from << " to " << to;
        return testing::AssertionSuccess();
    }

private:
    std::mt19937 random_{42};
    GuardedMemory source_;
    GuardedMemory destination_;
};

TEST(FrameKernels, EveryConversionGivesTheReferencesBytes)
{
    Workbench bench(64 * 1024);
    for (const FrameKernels* kernels : AvailableFrameKernels()) {
        for (int round = 0; round < 300; ++round) {
            const std::size_t width = 2 * bench.Random(1, round % 4 == 0 ? 400 : 100);
            const std::size_t height = 2 * bench.Random(1, 20);
            const auto expected = [&](const std::uint8_t* source, std::uint8_t* wanted) {
                kPortableKernels.convertYuv420(source, wanted, width, height);
            };
            for (const auto convert : {kernels->convertYuv420, kernels->convertYuv420Streamed}) {
                const bool isStreamed = convert != kernels->convertYuv420;
                if (!convert || (isStreamed && width < kStreamedWidth))
                    continue;
                EXPECT_TRUE(bench.Run(width * height / 2 * 3, expected,
                                      [&](const std::uint8_t* source, std::uint8_t* destination) {
                                          convert(source, destination, width, height);
                                      }))
                    << kernels->name << (isStreamed ? " streamed " : " ") << width << "x" << height;
            }
        }
    }
}

TEST(FrameKernels, EveryCopyGivesTheSourcesBytes)
{
    constexpr std::size_t kLargest = 100'000;
    Workbench bench(kLargest + 200);
    for (const FrameKernels* kernels : AvailableFrameKernels()) {
        for (int round = 0; kernels->copyStreamed && round < 100; ++round) {
            const std::size_t size = bench.Random(0, round % 2 == 0 ? 300 : kLargest);
            EXPECT_TRUE(bench.Run(
                size,
                [&](const std::uint8_t* source, std::uint8_t* wanted) {
                    std::copy_n(source, size, wanted);
                },
                [&](const std::uint8_t* source, std::uint8_t* destination) {
                    kernels->copyStreamed(source, destination, size);
                }))
                << kernels->name << " " << size;
        }
    }
}

// Large enough to be streamed where the processor can, into memory of both kinds.
TEST(FrameKernels, LargeFramesComeOutTheSameInFreshAndInUsedMemory)
{
    constexpr std::size_t kWidth = 2592;
    constexpr std::size_t kHeight = 1944;
    constexpr std::size_t kSize = kWidth * kHeight * 3 / 2;
    Bytes source(kSize);
    std::mt19937 random(7);
    std::generate(source.begin(), source.end(),
                  [&] { return static_cast<std::uint8_t>(random()); });
    Bytes wanted(kSize);
    kPortableKernels.convertYuv420(source.data(), wanted.data(), kWidth, kHeight);

    void* fresh =
        ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(fresh, MAP_FAILED);
    auto* destination = static_cast<std::uint8_t*>(fresh);
    for (const bool isUsed : {false, true}) {
        EXPECT_EQ(IsStreamingWorthwhile(fresh, kSize), isUsed);
        ConvertYuv420(source.data(), destination, kWidth, kHeight);
        EXPECT_EQ(std::memcmp(destination, wanted.data(), kSize), 0) << isUsed;
        CopyBytes(source.data(), destination, kSize);
        EXPECT_EQ(std::memcmp(destination, source.data(), kSize), 0) << isUsed;
    }
    EXPECT_FALSE(IsStreamingWorthwhile(fresh, 100'000)); // small enough for a cache
    ::munmap(fresh, kSize);
}

} // namespace
} // namespace V4lX
