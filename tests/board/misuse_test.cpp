// Consumers that do everything at once, in the wrong order, or not at all.
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iterator>
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
    std::atomic<TL_HANDLE> system;
    std::atomic<IF_HANDLE> interfaces;
    std::atomic<DEV_HANDLE> device;
    std::atomic<PORT_HANDLE> port;
    std::atomic<DS_HANDLE> stream;
    std::atomic<EVENT_HANDLE> event;
    std::atomic<BUFFER_HANDLE> buffers[4];
};

/// One thread's way through the calls: any of them at any time, by a number of its own.
class Vandal
{
public:
    Vandal(Shared& shared, uint32_t seed) : shared_(shared), state_(seed) {}

    void operator()(int steps);

private:
    struct Action {
        const char* name;
        std::size_t weight;
        GC_ERROR (*call)(Vandal&, const Producer&, Shared&);
    };
    static const Action kActions[];

    // Higher bits of a linear congruential generator: the same ways in each run of the test.
    std::size_t next(std::size_t range)
    {
        state_ = state_ * 1664525 + 1013904223;
        return (state_ >> 16) % range;
    }
    BUFFER_HANDLE buffer() { return shared_.buffers[next(std::size(shared_.buffers))]; }
    const Action& anyAction();
    void open();
    GC_ERROR announce();

    Shared& shared_;
    uint32_t state_;
};

// clang-format off
const Vandal::Action Vandal::kActions[] = {
    {"queue", 32, [](auto& v, auto& p, auto& s) { return p.DSQueueBuffer(s.stream, v.buffer()); }},
    {"take", 32, [](auto& v, auto& p, auto& s) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        return p.EventGetData(s.event, &data, &size, v.next(5));
    }},
    {"start", 16, [](auto&, auto& p, auto& s) {
        writeRegister(s.port, remote::kAcquisitionStart, 1);
        return p.DSStartAcquisition(s.stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    }},
    {"stop", 8, [](auto&, auto& p, auto& s) {
        writeRegister(s.port, remote::kAcquisitionStop, 1);
        return p.DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT);
    }},
    {"flush", 16, [](auto& v, auto& p, auto& s) {
        return p.DSFlushQueue(s.stream, static_cast<int32_t>(v.next(ACQ_QUEUE_ALL_DISCARD + 1)));
    }},
    {"revoke", 8, [](auto& v, auto& p, auto& s) {
        return p.DSRevokeBuffer(s.stream, v.buffer(), nullptr, nullptr);
    }},
    {"announce", 13, [](auto& v, auto&, auto&) { return v.announce(); }},
    {"look at a buffer", 8, [](auto& v, auto& p, auto& s) {
        uint64_t id = 0;
        size_t size = sizeof id;
        INFO_DATATYPE type = 0;
        return p.DSGetBufferInfo(s.stream, v.buffer(), BUFFER_INFO_FRAMEID, &type, &id, &size);
    }},
    {"look at the stream", 8, [](auto&, auto& p, auto& s) {
        uint64_t number = 0;
        size_t size = sizeof number;
        INFO_DATATYPE type = 0;
        return p.DSGetInfo(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &number, &size);
    }},
    {"read", 8, [](auto&, auto& p, auto& s) {
        uint32_t value = 0;
        size_t size = sizeof value;
        return p.GCReadPort(s.port, remote::kPayloadSize, &value, &size);
    }},
    {"width", 8, [](auto&, auto&, auto& s) { return writeRegister(s.port, remote::kWidth, kWidth); }},
    {"height", 8, [](auto&, auto&, auto& s) { return writeRegister(s.port, remote::kHeight, kHeight); }},
    {"kill", 8, [](auto&, auto& p, auto& s) { return p.EventKill(s.event); }},
    {"unregister", 8, [](auto&, auto& p, auto& s) { return p.GCUnregisterEvent(s.stream, EVENT_NEW_BUFFER); }},
    {"close the stream", 2, [](auto&, auto& p, auto& s) { return p.DSClose(s.stream); }},
    {"close the device", 1, [](auto&, auto& p, auto& s) { return p.DevClose(s.device); }},
    {"close the interface", 1, [](auto&, auto& p, auto& s) { return p.IFClose(s.interfaces); }},
    {"close the system", 1, [](auto&, auto& p, auto& s) { return p.TLClose(s.system); }},
};
// clang-format on

void Vandal::operator()(int steps)
{
    open();
    for (int step = 0; step < steps; ++step) {
        const Action& action = anyAction();
        const GC_ERROR result = action.call(*this, producer(), shared_);
        EXPECT_TRUE(isKnown(result)) << action.name << ": " << result;
        if (result == GC_ERR_INVALID_HANDLE)
            open();
    }
}

const Vandal::Action& Vandal::anyAction()
{
    std::size_t all = 0;
    for (const Action& action : kActions)
        all += action.weight;
    std::size_t left = next(all);
    const Action* action = kActions;
    for (; left >= action->weight; ++action)
        left -= action->weight;
    return *action;
}

// Stores what a call has made.
template <typename Handle, typename Call>
GC_ERROR make(std::atomic<Handle>& handle, Call call)
{
    Handle made = nullptr;
    const GC_ERROR result = call(&made);
    if (result == GC_ERR_SUCCESS)
        handle = made;
    return result;
}

#define MAKE(handle, function, ...)                                                                \
    make(handle, [&](auto* made) { return producer().function(__VA_ARGS__, made); })

// Whatever isn't open, with its event and a buffer.
void Vandal::open()
{
    Shared& s = shared_;
    make(s.system, [](TL_HANDLE* made) { return producer().TLOpen(made); });
    MAKE(s.interfaces, TLOpenInterface, s.system, kInterfaceId);
    char id[256] = {};
    size_t size = sizeof id;
    producer().IFUpdateDeviceList(s.interfaces, nullptr, 0);
    producer().IFGetDeviceID(s.interfaces, 0, id, &size);
    MAKE(s.device, IFOpenDevice, s.interfaces, id, DEVICE_ACCESS_EXCLUSIVE);
    MAKE(s.port, DevGetPort, s.device);
    writeRegister(s.port, remote::kWidth, kWidth);
    writeRegister(s.port, remote::kHeight, kHeight);
    MAKE(s.stream, DevOpenDataStream, s.device, "Stream0");
    MAKE(s.event, GCRegisterEvent, s.stream, EVENT_NEW_BUFFER);
    announce();
}

GC_ERROR Vandal::announce()
{
    return MAKE(shared_.buffers[next(std::size(shared_.buffers))], DSAllocAndAnnounceBuffer,
                shared_.stream, kWidth * kHeight * 2, nullptr);
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
    Shared shared{};
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
