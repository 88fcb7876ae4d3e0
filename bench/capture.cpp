#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "counter.h"
#include "sections.h"

namespace zevo_bench
{

namespace
{

double perFrame(std::uint64_t calls, std::uint64_t frames)
{
    return static_cast<double>(calls) / static_cast<double>(frames);
}

void measureFormat(const Effort& effort, Camera& camera, const char* name, std::uint32_t format)
{
    camera.SetImage(format, effort.width, effort.height);
    camera.Start(8);
    for (int i = 0; i < 8; ++i) // until each buffer's memory is there
        ZEVO_CHECK(DSQueueBuffer(camera.stream, camera.Take()));
    const CaptureCalls before = ReadCaptureCalls();
    for (int i = 0; i < effort.frames / 2; ++i)
        ZEVO_CHECK(DSQueueBuffer(camera.stream, camera.Take()));
    const CaptureCalls after = ReadCaptureCalls();
    camera.Stop();

    const std::uint64_t delivered = after.delivered - before.delivered;
    const double own = after.ownSeconds - before.ownSeconds;
    const double copy = after.copySeconds - before.copySeconds;
    Row(std::string(name) + ", capture thread", own / static_cast<double>(delivered) * 1e3,
        Limit::None, 0, "ms");
    Row(std::string(name) + ", part of it from dequeue to wake-up", copy / own, Limit::AtLeast,
        0.9);
    Row(std::string(name) + ", system calls a delivered frame",
        perFrame(after.calls - before.calls, after.frames - before.frames), Limit::AtMost, 7);
}

// With no buffer queued every frame is dropped.
void measureDropped(const Effort& effort, Camera& camera)
{
    camera.SetImage(pfnc::kUyvy, 640, 480);
    camera.Start(1);
    camera.Take();
    const CaptureCalls before = ReadCaptureCalls();
    CaptureCalls after = before;
    while (after.frames < before.frames + static_cast<unsigned>(effort.frames) / 4) {
        ::usleep(10'000);
        after = ReadCaptureCalls();
    }
    camera.Stop();
    Row("system calls a dropped frame",
        perFrame(after.calls - before.calls, after.frames - before.frames), Limit::AtMost, 5);
}

/// Another thread that writes to a pipe now and then, and the time until poll and read are done.
Samples measureBareWakeUps(int count)
{
    int ends[2];
    Require(::pipe2(ends, O_NONBLOCK) == 0, "no pipe");
    std::atomic<double> written{0};
    std::thread writer([&] {
        for (int i = 0; i < count; ++i) {
            ::usleep(10'000);
            const char byte = 1;
            written = Seconds();
            Require(::write(ends[1], &byte, 1) == 1, "a full pipe");
        }
    });
    Samples times;
    for (int i = 0; i < count; ++i) {
        pollfd entry{ends[0], POLLIN, 0};
        ::poll(&entry, 1, -1);
        char byte = 0;
        Require(::read(ends[0], &byte, 1) == 1, "an empty pipe");
        times.push_back(Seconds() - written);
    }
    writer.join();
    ::close(ends[0]);
    ::close(ends[1]);
    return times;
}

void measureWakeUps(const Effort& effort, Camera& camera, const char* load)
{
    camera.SetImage(pfnc::kUyvy, 640, 480);
    Samples times;
    Samples bare;
    for (int block = 0; block < 4; ++block) {
        camera.Start(8);
        for (int i = 0; i < effort.frames / 4; ++i) {
            const BUFFER_HANDLE buffer = camera.Take();
            const double now = Seconds();
            times.push_back(now - ReadCaptureCalls().lastSignal);
            ZEVO_CHECK(DSQueueBuffer(camera.stream, buffer));
        }
        camera.Stop();
        const Samples more = measureBareWakeUps(effort.frames / 4);
        bare.insert(bare.end(), more.begin(), more.end());
    }
    const std::string name = std::string("wake-up to EventGetData's return, ") + load;
    Row(name, MedianOf(times) * 1e6, Limit::None, 0, "us");
    Row(name + " / bare pipe", MedianOf(times) / MedianOf(bare), Limit::AtMost, 1.5);
    Row(name + ", 99th percentile / bare pipe", PercentileOf(times, 99) / PercentileOf(bare, 99));
}

/// A thread that does nothing but compute.
class Load final
{
public:
    Load()
        : thread_([this] {
              while (!isOver_)
                  ++work_;
          })
    {
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;
    ~Load()
    {
        isOver_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> isOver_{false};
    std::atomic<std::uint64_t> work_{0};
    std::thread thread_;
};

} // namespace

void MeasureCapture(const Effort& effort, Camera& camera)
{
    Title("Capture thread");
    measureFormat(effort, camera, "YUV422_8_UYVY", pfnc::kUyvy);
    measureFormat(effort, camera, "YUV422_8", pfnc::kYuyv);
    measureFormat(effort, camera, "YCbCr420_8_YY_CbCr_Semiplanar", pfnc::kYuv420);
    measureDropped(effort, camera);
    measureWakeUps(effort, camera, "idle");
    const Load load;
    measureWakeUps(effort, camera, "one core loaded");
}

} // namespace zevo_bench
