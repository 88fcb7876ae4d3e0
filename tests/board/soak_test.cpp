// Long runs: nothing torn, nothing lost without being counted, nothing that grows.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "camera.h"
#include "resources.h"
#include "sim/core/frame_counter.h"

namespace
{

using zevo_sim::CounterPlace;
using zevo_sim::FrameLayout;

struct Holdings : Resources {
    long residentPages = pages();

    static long pages()
    {
        long total = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        return resident;
    }
};

// Growth by a page or two is the C library's; a leak per frame or per cycle is far above.
constexpr long kPagesOfNoise = 256;

void expectNoGrowth(const Holdings& before)
{
    const Holdings after;
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LT(after.residentPages, before.residentPages + kPagesOfNoise);
    std::printf("resident pages: %ld, then %ld\n", before.residentPages, after.residentPages);
}

// How long the run is to be: from the environment, or the number that the tests take.
uint64_t count(const char* variable, uint64_t usual)
{
    const char* text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : usual;
}

} // namespace

TEST(Soak, FullSizeFramesWithASlowConsumer)
{
    const uint64_t kFrames = count("ZEVO_SOAK_FULL_SIZE_FRAMES", 10'000);
    constexpr uint64_t kPause = 200;
    constexpr unsigned kWidth = 2592;
    constexpr unsigned kHeight = 1944;
    Streaming camera;
    ASSERT_EQ(camera.read(remote::kPixelFormat), GenTLProducer::Pfnc::YUV422_8_UYVY);
    camera.start(4);
    uint64_t lastId = 0;
    uint32_t lastNumber = 0;
    Holdings before;
    for (uint64_t delivered = 1; delivered <= kFrames; ++delivered) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        ASSERT_GT(id, lastId);
        const auto read = [&](CounterPlace place) {
            return zevo_sim::ReadCounter(camera.data(buffer), FrameLayout::Uyvy, kWidth, kHeight,
                                         place);
        };
        const auto number = read(CounterPlace::Top);
        ASSERT_TRUE(number && number == read(CounterPlace::Bottom)) << "frame " << id << " is torn";
        if (delivered > 1) {
            ASSERT_EQ(*number - lastNumber, id - lastId) << "a gap that the IDs don't show";
        }
        lastId = id;
        lastNumber = *number;
        // Some frames are held until others have been dropped; the last ones are not.
        if (delivered % kPause == 0 && delivered + kPause < kFrames) {
            const uint64_t lost = camera.lost();
            while (camera.lost() < lost + 10)
                std::this_thread::yield();
        }
        camera.giveBack(buffer);
        if (delivered == kPause)
            before = Holdings();
    }
    expectNoGrowth(before);
    camera.stop();
    const uint64_t lost = camera.lost();
    std::printf("%lu delivered, %lu lost, last number %lu\n", kFrames, lost, lastId);
    EXPECT_GE(lost + kFrames, lastId);
    EXPECT_GT(lost, 10 * (kFrames / kPause - 2));
}

// As fast as they are taken: at 30 frames per second a day has 2,592,000.
TEST(Soak, SmallFramesAsFastAsTheyAreTaken)
{
    const uint64_t frames = count("ZEVO_SOAK_SMALL_FRAMES", 20'000);
    Streaming camera;
    ASSERT_EQ(camera.write(remote::kWidth, 96), GC_ERR_SUCCESS);
    ASSERT_EQ(camera.write(remote::kHeight, 104), GC_ERR_SUCCESS);
    camera.start(8);
    Holdings before;
    uint64_t lastId = 0;
    for (uint64_t delivered = 1; delivered <= frames; ++delivered) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << "frame " << delivered << ": " << lastError();
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        ASSERT_GT(id, lastId);
        ASSERT_EQ(camera.info(buffer, BUFFER_INFO_IS_INCOMPLETE), 0u);
        lastId = id;
        camera.giveBack(buffer);
        if (delivered == frames / 20)
            before = Holdings();
    }
    expectNoGrowth(before);
    camera.stop();
    std::printf("%lu delivered, %lu lost, last number %lu\n", frames, camera.lost(), lastId);
    EXPECT_GE(camera.lost() + frames, lastId);
}

TEST(Soak, FiveHundredCyclesOfOpeningStreamingAndClosing)
{
    constexpr int kCycles = 500;
    Holdings before;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        {
            Streaming camera;
            ASSERT_EQ(camera.write(remote::kWidth, 96), GC_ERR_SUCCESS);
            ASSERT_EQ(camera.write(remote::kHeight, 104), GC_ERR_SUCCESS);
            camera.start(3);
            for (int frame = 0; frame < 3; ++frame)
                ASSERT_TRUE(camera.take()) << "cycle " << cycle << ": " << lastError();
            if (cycle % 2 == 0)
                camera.stop();
        }
        if (cycle == kCycles / 10)
            before = Holdings();
    }
    expectNoGrowth(before);
}
