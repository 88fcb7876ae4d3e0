#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <functional>
#include <mutex>

#include "sections.h"

namespace zevo_bench
{

namespace
{

template <typename Call>
double timeOf(int count, Call call)
{
    const double start = ThreadSeconds();
    for (int i = 0; i < count; ++i)
        call();
    return (ThreadSeconds() - start) / count;
}

/// A call that is compared with locks.
struct Timed {
    const char* name;
    std::function<void()> call;
    Samples samples{};
};

std::vector<Timed> quickCalls(Camera& camera, BUFFER_HANDLE buffer)
{
    const auto read = [](PORT_HANDLE port, std::uint64_t address, GC_ERROR expected) {
        return [=] {
            std::uint32_t value = 0;
            std::size_t size = sizeof value;
            Require(Producer().GCReadPort(port, address, &value, &size) == expected, "GCReadPort");
        };
    };
    const auto info = [&camera, buffer](std::int32_t command, GC_ERROR expected) {
        return [=, &camera] {
            std::uint64_t value = 0;
            std::size_t size = sizeof value;
            INFO_DATATYPE type = 0;
            Require(Producer().DSGetBufferInfo(camera.stream, buffer, command, &type, &value,
                                               &size) == expected,
                    "DSGetBufferInfo");
        };
    };
    return {
        {"GCReadPort of 4 bytes, stream", read(camera.stream, 0x13C, GC_ERR_SUCCESS)},
        {"GCReadPort of 4 bytes, system", read(camera.system, 0x1000, GC_ERR_SUCCESS)},
        {"GCReadPort of 4 bytes, remote device", read(camera.port, remote::kWidth, GC_ERR_SUCCESS)},
        {"GCReadPort that fails, stream", read(camera.stream, 0x90000000, GC_ERR_INVALID_ADDRESS)},
        {"GCReadPort that fails, remote device",
         read(camera.port, 0x10000004'00000000, GC_ERR_INVALID_PARAMETER)},
        {"DSGetBufferInfo, width", info(BUFFER_INFO_WIDTH, GC_ERR_SUCCESS)},
        {"DSGetBufferInfo that fails, frame ID", info(BUFFER_INFO_FRAMEID, GC_ERR_NOT_AVAILABLE)},
        {"DSGetBufferInfo that fails, unknown", info(900, GC_ERR_NOT_IMPLEMENTED)},
    };
}

void measureQuickCalls(const Effort& effort, Camera& camera)
{
    BUFFER_HANDLE buffer = nullptr;
    ZEVO_CHECK(DSAllocAndAnnounceBuffer(camera.stream, 4096, nullptr, &buffer));
    std::vector<Timed> calls = quickCalls(camera, buffer);
    std::recursive_mutex mutex;
    Samples locks;
    for (int round = 0; round < effort.rounds; ++round) {
        locks.push_back(timeOf(effort.calls, [&] {
            mutex.lock();
            mutex.unlock();
        }));
        for (Timed& timed : calls)
            timed.samples.push_back(timeOf(effort.calls, timed.call));
    }
    ZEVO_CHECK(DSRevokeBuffer(camera.stream, buffer, nullptr, nullptr));
    Row("recursive mutex, lock and unlock", MedianOf(locks) * 1e9, Limit::None, 0, "ns");
    for (const Timed& timed : calls)
        Row(timed.name, MedianOf(timed.samples) / MedianOf(locks), Limit::AtMost, 12, "pairs");
}

/// The system calls that a frame needs between the capture thread and the consumer.
class BareCalls final
{
public:
    BareCalls()
    {
        for (auto& ends : pipes_)
            Require(::pipe2(ends, O_NONBLOCK) == 0, "no pipe");
    }
    BareCalls(const BareCalls&) = delete;
    BareCalls& operator=(const BareCalls&) = delete;
    ~BareCalls()
    {
        for (const auto& ends : pipes_) {
            ::close(ends[0]);
            ::close(ends[1]);
        }
    }

    /// A frame that has come: wait for three pipes, signal the output queue's, clear the wake-up,
    /// clear the output queue's.
    double TimeOfNewFrame()
    {
        put(2);
        const double start = Seconds();
        wait();
        pollfd entry{pipes_[1][0], POLLIN, 0};
        ::poll(&entry, 1, 0);
        put(1);
        take(2);
        take(1);
        return Seconds() - start;
    }

    /// One that the output queue holds with others: wait, and look for a wake-up.
    double TimeOfHeldFrame()
    {
        put(1);
        const double start = Seconds();
        wait();
        char byte = 0;
        Require(::read(pipes_[2][0], &byte, 1) == -1, "a wake-up that nobody has sent");
        const double seconds = Seconds() - start;
        take(1);
        return seconds;
    }

private:
    void wait()
    {
        pollfd entries[] = {
            {pipes_[0][0], POLLIN, 0}, {pipes_[1][0], POLLIN, 0}, {pipes_[2][0], POLLIN, 0}};
        Require(::poll(entries, 3, 1000) == 1, "poll");
    }
    void put(int index)
    {
        const char byte = 1;
        Require(::write(pipes_[index][1], &byte, 1) == 1, "a full pipe");
    }
    void take(int index)
    {
        char byte = 0;
        Require(::read(pipes_[index][0], &byte, 1) == 1, "an empty pipe");
    }

    int pipes_[3][2];
};

double timeOfNextFrame(Camera& camera)
{
    const double start = Seconds();
    ZEVO_CHECK(DSQueueBuffer(camera.stream, camera.Take()));
    return Seconds() - start;
}

void measureWaitingBuffers(const Effort& effort, Camera& camera)
{
    constexpr std::size_t kBuffers = 8;
    constexpr useconds_t kPauseUs = 400'000; // every buffer is filled meanwhile
    camera.SetImage(pfnc::kUyvy, 640, 480);
    camera.Start(kBuffers);
    BareCalls bare;
    Samples first;
    Samples bareFirst;
    Samples others;
    Samples bareOthers;
    for (int round = 0; round < effort.rounds; ++round) {
        ::usleep(kPauseUs);
        first.push_back(timeOfNextFrame(camera));
        for (std::size_t i = 2; i < kBuffers; ++i)
            others.push_back(timeOfNextFrame(camera));
        timeOfNextFrame(camera); // the last one clears the queue's pipe
        ::usleep(kPauseUs / 8);
        bareFirst.push_back(bare.TimeOfNewFrame());
        for (std::size_t i = 2; i < kBuffers; ++i)
            bareOthers.push_back(bare.TimeOfHeldFrame());
    }
    camera.Stop();
    Row("EventGetData and DSQueueBuffer of a waiting buffer", MedianOf(others) * 1e6, Limit::None,
        0, "us");
    Row("  / their bare system calls", MedianOf(others) / MedianOf(bareOthers), Limit::AtMost, 2.5);
    Row("the first behind a pause, caches cold", MedianOf(first) * 1e6, Limit::None, 0, "us");
    Row("  / their bare system calls, as cold", MedianOf(first) / MedianOf(bareFirst));
}

} // namespace

void MeasureCalls(const Effort& effort, Camera& camera)
{
    Title("Calls");
    measureQuickCalls(effort, camera);
    measureWaitingBuffers(effort, camera);
}

} // namespace zevo_bench
