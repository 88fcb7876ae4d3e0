// Long runs: nothing torn, nothing lost without being counted, nothing that grows.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "frame_number.h"
#include "resources.h"

namespace
{

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

struct Course {
    std::size_t buffers;
    uint64_t frames;
    uint64_t warmUp; ///< frames until all is allocated that stays
    uint64_t pause;  ///< frames until one is held till others have been dropped; 0 for never
};

void expectFramesInOrder(Streaming& camera, const Course& course)
{
    camera.start(course.buffers);
    Holdings before;
    uint64_t lastId = 0;
    uint32_t lastNumber = 0;
    for (uint64_t delivered = 1; delivered <= course.frames; ++delivered) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << "frame " << delivered << ": " << lastError();
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        ASSERT_GT(id, lastId);
        ASSERT_EQ(camera.info(buffer, BUFFER_INFO_IS_INCOMPLETE), 0u);
        const auto number = numberIn(camera, buffer);
        ASSERT_TRUE(number) << "frame " << id << " is torn";
        if (delivered > 1) {
            ASSERT_EQ(*number - lastNumber, id - lastId) << "a gap that the IDs don't show";
        }
        lastId = id;
        lastNumber = *number;
        // The last ones aren't held.
        if (course.pause && delivered % course.pause == 0 &&
            delivered + course.pause < course.frames) {
            const uint64_t lost = camera.lost();
            while (camera.lost() < lost + 10)
                std::this_thread::yield();
        }
        camera.giveBack(buffer);
        if (delivered == course.warmUp)
            before = Holdings();
    }
    expectNoGrowth(before);
    camera.stop();
    std::printf("%lu delivered, %lu lost, last number %lu\n", course.frames, camera.lost(), lastId);
    EXPECT_GE(camera.lost() + course.frames, lastId);
}

} // namespace

TEST(Soak, FullSizeFramesWithASlowConsumer)
{
    constexpr uint64_t kPause = 200;
    const uint64_t frames = count("ZEVO_SOAK_FULL_SIZE_FRAMES", 10'000);
    Streaming camera;
    expectFramesInOrder(camera, {4, frames, kPause, kPause});
    EXPECT_GT(camera.lost(), 10 * (frames / kPause - 2));
}

// As fast as they are taken: at 30 frames per second a day has 2,592,000.
TEST(Soak, SmallFramesAsFastAsTheyAreTaken)
{
    const uint64_t frames = count("ZEVO_SOAK_SMALL_FRAMES", 20'000);
    Streaming camera(96, 104);
    expectFramesInOrder(camera, {8, frames, frames / 20, 0});
}

TEST(Soak, FiveHundredCyclesOfOpeningStreamingAndClosing)
{
    constexpr int kCycles = 500;
    Holdings before;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        {
            Streaming camera(96, 104);
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
