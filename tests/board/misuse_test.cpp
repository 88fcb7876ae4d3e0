// Consumers that do everything at once, in the wrong order, or not at all.
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <pthread.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "camera.h"

namespace
{

constexpr uint32_t kWidth = 96;
constexpr uint32_t kHeight = 104;

bool isKnown(GC_ERROR result)
{
    return result == GC_ERR_SUCCESS || (result <= -1001 && result >= -1022) || result == -10001;
}

/// Handles that all threads share, whatever has become of them meanwhile.
struct Shared {
    std::atomic<TL_HANDLE> system{nullptr};
    std::atomic<IF_HANDLE> interface {
        nullptr
    };
    std::atomic<DEV_HANDLE> device{nullptr};
    std::atomic<PORT_HANDLE> port{nullptr};
    std::atomic<DS_HANDLE> stream{nullptr};
    std::atomic<EVENT_HANDLE> event{nullptr};
    std::array<std::atomic<BUFFER_HANDLE>, 4> buffers{};
};

/// One thread's way through the calls: any of them at any time, by a number of its own.
class Vandal
{
public:
    Vandal(Shared& shared, uint32_t seed) : shared_(shared), state_(seed) {}

    void operator()(int steps)
    {
        for (int step = 0; step < steps; ++step) {
            const std::size_t choice = next(kChoices);
            const GC_ERROR result = choice < 15 ? moveBuffers(choice) : doMore(choice);
            EXPECT_TRUE(isKnown(result)) << "choice " << choice << ": " << result;
            if (result == GC_ERR_INVALID_HANDLE)
                open();
        }
    }

private:
    static constexpr std::size_t kChoices = 24;

    // Higher bits of a linear congruential generator: the same ways in each run of the test.
    std::size_t next(std::size_t range)
    {
        state_ = state_ * 1664525 + 1013904223;
        return (state_ >> 16) % range;
    }
    BUFFER_HANDLE buffer() { return shared_.buffers[next(shared_.buffers.size())]; }
    GC_ERROR write(uint64_t address, uint32_t value)
    {
        return writeRegister(shared_.port, address, value);
    }

    template <typename Handle, typename Call>
    static GC_ERROR make(std::atomic<Handle>& handle, Call call)
    {
        Handle made = nullptr;
        const GC_ERROR result = call(&made);
        if (result == GC_ERR_SUCCESS)
            handle = made;
        return result;
    }

    GC_ERROR open();
    GC_ERROR announce();
    GC_ERROR moveBuffers(std::size_t choice);
    GC_ERROR doMore(std::size_t choice);
    GC_ERROR close();

    Shared& shared_;
    uint32_t state_;
};

#define MAKE(handle, function, ...)                                                                \
    make(shared_.handle, [&](auto* made) { return producer().function(__VA_ARGS__, made); })

// Whatever isn't open, with its event and a buffer.
GC_ERROR Vandal::open()
{
    make(shared_.system, [](TL_HANDLE* made) { return producer().TLOpen(made); });
    MAKE(interface, TLOpenInterface, shared_.system, kInterfaceId);
    char id[256] = {};
    size_t size = sizeof id;
    producer().IFUpdateDeviceList(shared_.interface, nullptr, 0);
    producer().IFGetDeviceID(shared_.interface, 0, id, &size);
    MAKE(device, IFOpenDevice, shared_.interface, id, DEVICE_ACCESS_EXCLUSIVE);
    MAKE(port, DevGetPort, shared_.device);
    write(remote::kWidth, kWidth);
    write(remote::kHeight, kHeight);
    MAKE(stream, DevOpenDataStream, shared_.device, "Stream0");
    MAKE(event, GCRegisterEvent, shared_.stream, EVENT_NEW_BUFFER);
    return announce();
}

GC_ERROR Vandal::announce()
{
    const std::size_t index = next(shared_.buffers.size());
    return MAKE(buffers[index], DSAllocAndAnnounceBuffer, shared_.stream, kWidth * kHeight * 2,
                nullptr);
}

// What happens most.
GC_ERROR Vandal::moveBuffers(std::size_t choice)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    const DS_HANDLE stream = shared_.stream;
    switch (choice) {
    case 0:
    case 1:
        write(remote::kAcquisitionStart, 1);
        return producer().DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    case 2:
        write(remote::kAcquisitionStop, 1);
        return producer().DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
    case 3:
    case 4:
        return producer().DSFlushQueue(
            stream, static_cast<ACQ_QUEUE_TYPE>(next(ACQ_QUEUE_ALL_DISCARD + 1)));
    case 5:
        return producer().DSRevokeBuffer(stream, buffer(), nullptr, nullptr);
    case 6:
        return announce();
    case 7:
    case 8:
    case 9:
    case 10:
        return producer().DSQueueBuffer(stream, buffer());
    default:
        return producer().EventGetData(shared_.event, &data, &size, next(5));
    }
}

GC_ERROR Vandal::doMore(std::size_t choice)
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    switch (choice) {
    case 15:
        producer().DSGetBufferInfo(shared_.stream, buffer(), BUFFER_INFO_FRAMEID, &type, &value,
                                   &size);
        return producer().DSGetInfo(shared_.stream, STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value,
                                    &(size = sizeof value));
    case 16:
        return producer().GCReadPort(shared_.port, remote::kPayloadSize, &value, &(size = 4));
    case 17:
        return write(remote::kWidth, kWidth);
    case 18:
        return write(remote::kHeight, kHeight);
    case 19:
        return producer().EventKill(shared_.event);
    case 20:
        return producer().GCUnregisterEvent(shared_.stream, EVENT_NEW_BUFFER);
    case 21:
        return close();
    default:
        return open();
    }
}

// Seldom more than the stream.
GC_ERROR Vandal::close()
{
    switch (next(16)) {
    case 0:
        return producer().TLClose(shared_.system);
    case 1:
        return producer().IFClose(shared_.interface);
    case 2:
        return producer().DevClose(shared_.device);
    default:
        return next(3) != 0 ? announce() : producer().DSClose(shared_.stream);
    }
}

/// A stream in which a thread waits for a frame that doesn't come.
class WaitingConsumer : public Streaming
{
public:
    WaitingConsumer() : Streaming(kWidth, kHeight)
    {
        start(2);
        EXPECT_TRUE(take());
        EXPECT_EQ(write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS);
        waiting_ = std::thread([this] {
            do {
                take(GENTL_INFINITE);
            } while (lastResult == GC_ERR_SUCCESS);
        });
    }

    GC_ERROR result()
    {
        waiting_.join();
        return lastResult;
    }

private:
    std::thread waiting_;
};

// Takes frames from one of several cameras.
void streamFrom(const OpenInterface& opened, uint32_t index, int frames)
{
    Streaming camera(opened, index);
    camera.setSize(kWidth + 8 * index, kHeight);
    camera.start(3);
    for (int i = 0; i < frames; ++i) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_WIDTH), kWidth + 8 * index)
            << "another camera's frame";
        camera.giveBack(buffer);
    }
    EXPECT_OK(DevClose(camera.device));
}

std::atomic<int> g_signals{0};

} // namespace

TEST(Misuse, ManyThreadsDoEverythingAtOnce)
{
    constexpr int kThreads = 4;
    constexpr int kSteps = 1000;
    ASSERT_OK(GCInitLib());
    Shared shared;
    std::vector<std::thread> threads;
    for (uint32_t seed = 1; seed <= kThreads; ++seed)
        threads.emplace_back([&shared, seed] { Vandal(shared, seed)(kSteps); });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_OK(GCCloseLib());
    Streaming camera(kWidth, kHeight);
    camera.start(3);
    EXPECT_TRUE(camera.take()) << "as if nothing had been";
    camera.stop();
}

TEST(Misuse, SeveralCamerasStreamAtOnce)
{
    constexpr int kFrames = 20;
    const OpenInterface opened;
    ASSERT_EQ(opened.numDevices(), 3u);
    std::vector<std::thread> threads;
    for (uint32_t index = 0; index < 3; ++index)
        threads.emplace_back([&opened, index] { streamFrom(opened, index, kFrames); });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Misuse, ClosingAnyLevelSendsAWaitingThreadHome)
{
    const struct {
        const char* name;
        GC_ERROR (*close)(const WaitingConsumer&);
    } kLevels[] = {
        {"stream", [](const WaitingConsumer& c) { return producer().DSClose(c.stream); }},
        {"device", [](const WaitingConsumer& c) { return producer().DevClose(c.device); }},
        {"interface", [](const WaitingConsumer& c) { return producer().IFClose(c.interface); }},
        {"system", [](const WaitingConsumer& c) { return producer().TLClose(c.system); }},
        {"library", [](const WaitingConsumer&) { return producer().GCCloseLib(); }},
    };
    for (const auto& level : kLevels) {
        WaitingConsumer consumer;
        EXPECT_EQ(level.close(consumer), GC_ERR_SUCCESS) << level.name;
        const GC_ERROR result = consumer.result();
        EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_NOT_INITIALIZED ||
                    result == GC_ERR_INVALID_HANDLE || result == GC_ERR_NO_DATA)
            << level.name << ": " << result;
        if (level.name == std::string("library")) {
            ASSERT_OK(GCInitLib()) << "for the consumer's own close";
        }
    }
}

TEST(Misuse, SignalsDontEndAWait)
{
    std::signal(SIGUSR1, [](int) { ++g_signals; });
    Streaming camera(kWidth, kHeight);
    camera.start(2);
    ASSERT_TRUE(camera.take());
    ASSERT_EQ(camera.write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS);
    while (camera.take(50)) {
    }
    std::atomic<bool> isOver{false};
    const pthread_t waiting = pthread_self();
    std::thread sender([&] {
        while (!isOver) {
            pthread_kill(waiting, SIGUSR1);
            std::this_thread::yield();
        }
    });
    do {
        EXPECT_FALSE(camera.take(20));
        EXPECT_EQ(camera.lastResult, GC_ERR_TIMEOUT);
    } while (g_signals == 0);
    isOver = true;
    sender.join();
    std::signal(SIGUSR1, SIG_DFL);
}

TEST(MisuseDeathTest, AProcessMayExitWhileFramesFlowAndAThreadWaits)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            auto* const camera = new Streaming(kWidth, kHeight);
            camera->start(2);
            camera->take();
            new std::thread([camera] {
                while (true)
                    camera->take(GENTL_INFINITE);
            });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}
