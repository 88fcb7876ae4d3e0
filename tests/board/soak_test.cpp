// Long runs: nothing torn, nothing lost without being counted, nothing that grows.
#include <cstdio>
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

} // namespace

TEST(Soak, TenThousandFramesAtFullSizeWithASlowConsumer)
{
    constexpr uint64_t kFrames = 10'000;
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
