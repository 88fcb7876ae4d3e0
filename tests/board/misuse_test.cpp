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

constexpr const char* kInterface = "Tolmen ZEVO GenTL Interface Module";

void makeSmall(const OpenDevice& camera)
{
    ASSERT_EQ(camera.write(remote::kWidth, 96), GC_ERR_SUCCESS);
    ASSERT_EQ(camera.write(remote::kHeight, 104), GC_ERR_SUCCESS);
}

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
            const std::size_t choice = next(kActions.size());
            const GC_ERROR result = (this->*kActions[choice])();
            EXPECT_TRUE(isKnown(result)) << "action " << choice << ": " << result;
            if (result == GC_ERR_INVALID_HANDLE)
                open();
        }
    }

private:
    // Higher bits of a linear congruential generator: the same ways in each run of the test.
    std::size_t next(std::size_t range)
    {
        state_ = state_ * 1664525 + 1013904223;
        return (state_ >> 16) % range;
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

    // Whatever isn't open, with its event and a buffer.
    GC_ERROR open()
    {
        make(shared_.system, [](TL_HANDLE* made) { return producer().TLOpen(made); });
        make(shared_.interface, [this](IF_HANDLE* made) {
            return producer().TLOpenInterface(shared_.system, kInterface, made);
        });
        char id[256] = {};
        size_t size = sizeof id;
        producer().IFUpdateDeviceList(shared_.interface, nullptr, 0);
        producer().IFGetDeviceID(shared_.interface, 0, id, &size);
        make(shared_.device, [&](DEV_HANDLE* made) {
            return producer().IFOpenDevice(shared_.interface, id, DEVICE_ACCESS_EXCLUSIVE, made);
        });
        make(shared_.port,
             [this](PORT_HANDLE* made) { return producer().DevGetPort(shared_.device, made); });
        setWidth();
        setHeight();
        make(shared_.stream, [this](DS_HANDLE* made) {
            return producer().DevOpenDataStream(shared_.device, "Stream0", made);
        });
        make(shared_.event, [this](EVENT_HANDLE* made) {
            return producer().GCRegisterEvent(shared_.stream, EVENT_NEW_BUFFER, made);
        });
        return announce();
    }
    GC_ERROR announce()
    {
        return make(shared_.buffers[next(shared_.buffers.size())], [this](BUFFER_HANDLE* made) {
            return producer().DSAllocAndAnnounceBuffer(shared_.stream, 96 * 104 * 2, nullptr, made);
        });
    }
    GC_ERROR queue() { return producer().DSQueueBuffer(shared_.stream, buffer()); }
    GC_ERROR revoke()
    {
        return producer().DSRevokeBuffer(shared_.stream, buffer(), nullptr, nullptr);
    }
    GC_ERROR start()
    {
        write(remote::kAcquisitionStart, 1);
        return producer().DSStartAcquisition(shared_.stream, ACQ_START_FLAGS_DEFAULT,
                                             GENTL_INFINITE);
    }
    GC_ERROR stop()
    {
        write(remote::kAcquisitionStop, 1);
        return producer().DSStopAcquisition(shared_.stream, ACQ_STOP_FLAGS_DEFAULT);
    }
    GC_ERROR flush()
    {
        return producer().DSFlushQueue(
            shared_.stream, static_cast<ACQ_QUEUE_TYPE>(next(ACQ_QUEUE_ALL_DISCARD + 1)));
    }
    GC_ERROR take()
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        return producer().EventGetData(shared_.event, &data, &size, next(5));
    }
    GC_ERROR kill() { return producer().EventKill(shared_.event); }
    GC_ERROR look()
    {
        uint64_t value = 0;
        size_t size = sizeof value;
        INFO_DATATYPE type = 0;
        producer().DSGetBufferInfo(shared_.stream, buffer(), BUFFER_INFO_FRAMEID, &type, &value,
                                   &size);
        return producer().DSGetInfo(shared_.stream, STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value,
                                    &(size = sizeof value));
    }
    GC_ERROR setWidth() { return write(remote::kWidth, 96); }
    GC_ERROR setHeight() { return write(remote::kHeight, 104); }
    GC_ERROR read()
    {
        uint32_t value = 0;
        size_t size = sizeof value;
        return producer().GCReadPort(shared_.port, remote::kPayloadSize, &value, &size);
    }
    GC_ERROR unregister() { return producer().GCUnregisterEvent(shared_.stream, EVENT_NEW_BUFFER); }
    GC_ERROR close()
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

    BUFFER_HANDLE buffer() { return shared_.buffers[next(shared_.buffers.size())]; }
    GC_ERROR write(uint64_t address, uint32_t value)
    {
        size_t size = sizeof value;
        return producer().GCWritePort(shared_.port, address, &value, &size);
    }

    using Action = GC_ERROR (Vandal::*)();
    static constexpr std::array<Action, 24> kActions = {
        &Vandal::open,      &Vandal::open,  &Vandal::announce,   &Vandal::queue, &Vandal::queue,
        &Vandal::queue,     &Vandal::queue, &Vandal::revoke,     &Vandal::start, &Vandal::start,
        &Vandal::stop,      &Vandal::flush, &Vandal::flush,      &Vandal::take,  &Vandal::take,
        &Vandal::take,      &Vandal::take,  &Vandal::kill,       &Vandal::look,  &Vandal::setWidth,
        &Vandal::setHeight, &Vandal::read,  &Vandal::unregister, &Vandal::close,
    };

    Shared& shared_;
    uint32_t state_;
};

/// A stream in which a thread waits for a frame that doesn't come.
class WaitingConsumer : public Streaming
{
public:
    WaitingConsumer()
    {
        makeSmall(*this);
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

// Opens one of several cameras, takes some frames and closes it.
void streamFrom(const OpenInterface& opened, uint32_t index, int frames)
{
    Producer& p = producer();
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
    const auto write = [&](uint64_t address, uint32_t value) {
        size_t size = sizeof value;
        EXPECT_EQ(p.GCWritePort(port, address, &value, &size), GC_ERR_SUCCESS) << lastError();
    };
    EXPECT_EQ(p.IFOpenDevice(opened.interface, opened.deviceId(index).c_str(),
                             DEVICE_ACCESS_EXCLUSIVE, &device),
              GC_ERR_SUCCESS)
        << lastError();
    EXPECT_EQ(p.DevGetPort(device, &port), GC_ERR_SUCCESS);
    write(remote::kWidth, 96 + 8 * index);
    write(remote::kHeight, 104);
    EXPECT_EQ(p.DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
    EXPECT_EQ(p.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    for (int i = 0; i < 3; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_EQ(p.DSAllocAndAnnounceBuffer(stream, 112 * 104 * 2, nullptr, &buffer),
                  GC_ERR_SUCCESS);
        EXPECT_EQ(p.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(p.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
              GC_ERR_SUCCESS);
    write(remote::kAcquisitionStart, 1);
    for (int i = 0; i < frames; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        ASSERT_EQ(p.EventGetData(event, &data, &size, 30'000), GC_ERR_SUCCESS) << lastError();
        uint64_t width = 0;
        INFO_DATATYPE type = 0;
        EXPECT_EQ(p.DSGetBufferInfo(stream, data.BufferHandle, BUFFER_INFO_WIDTH, &type, &width,
                                    &(size = sizeof width)),
                  GC_ERR_SUCCESS);
        EXPECT_EQ(width, 96 + 8 * index) << "another camera's frame";
        EXPECT_EQ(p.DSQueueBuffer(stream, data.BufferHandle), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(p.DevClose(device), GC_ERR_SUCCESS);
}

std::atomic<int> g_signals{0};

} // namespace

TEST(Misuse, ManyThreadsDoEverythingAtOnce)
{
    constexpr int kThreads = 4;
    constexpr int kSteps = 1000;
    ASSERT_EQ(producer().GCInitLib(), GC_ERR_SUCCESS);
    Shared shared;
    std::vector<std::thread> threads;
    for (uint32_t seed = 1; seed <= kThreads; ++seed)
        threads.emplace_back([&shared, seed] { Vandal(shared, seed)(kSteps); });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_EQ(producer().GCCloseLib(), GC_ERR_SUCCESS);
    Streaming camera;
    makeSmall(camera);
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

TEST(Misuse, AConsumerThatNeverQueuesLosesAllFramesAndNothingElse)
{
    Streaming camera;
    makeSmall(camera);
    camera.start(2);
    ASSERT_TRUE(camera.take() && camera.take());
    while (camera.lost() < 20) {
        EXPECT_FALSE(camera.take(1));
        ASSERT_EQ(camera.lastResult, GC_ERR_TIMEOUT);
    }
    camera.stop();
    camera.start(2);
    EXPECT_TRUE(camera.take());
}

TEST(Misuse, ClosingAnyLevelSendsAWaitingThreadHome)
{
    const struct {
        const char* name;
        GC_ERROR (*close)(const WaitingConsumer&);
    } kLevels[] = {
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
            ASSERT_EQ(producer().GCInitLib(), GC_ERR_SUCCESS) << "for the consumer's own close";
        }
    }
}

TEST(Misuse, SignalsDontEndAWait)
{
    std::signal(SIGUSR1, [](int) { ++g_signals; });
    Streaming camera;
    makeSmall(camera);
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

TEST(MisuseDeathTest, AProcessMayExitWhileAThreadWaits)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            new WaitingConsumer;
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}
