// Frames from a simulated camera in a consumer's buffers.
#include <thread>

#include <csignal>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "camera.h"
#include "frame_number.h"

namespace
{

using namespace GenTLProducer;

// The first format of the board that the test runs on.
uint32_t boardFormat(const OpenDevice& camera)
{
    return camera.read(remote::kPixelFormat);
}

} // namespace

TEST(Stream, DeliversWholeFramesWithTheirInfos)
{
    Streaming camera;
    const uint32_t format = boardFormat(camera);
    camera.start(4);
    uint64_t previousTime = 0;
    std::optional<uint32_t> previousNumber;
    for (uint64_t id = 1; id <= 12; ++id) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << camera.lastResult << " " << lastError();
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_NEW_DATA), 1u);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_INCOMPLETE), 0u);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_PIXELFORMAT), format);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE), 4u);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_PAYLOADTYPE), 1u);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_WIDTH), camera.read(remote::kWidth));
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_DELIVERED_IMAGEHEIGHT),
                  camera.read(remote::kHeight));
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_SIZE_FILLED), camera.read(remote::kPayloadSize));
        EXPECT_GE(camera.info(buffer, BUFFER_INFO_FRAMEID), id);
        const uint64_t time = camera.info(buffer, BUFFER_INFO_TIMESTAMP);
        EXPECT_GT(time, previousTime);
        previousTime = time;
        const auto number = numberIn(camera, buffer);
        ASSERT_TRUE(number) << "a torn frame";
        if (previousNumber) {
            EXPECT_GT(*number, *previousNumber);
        }
        previousNumber = number;
        camera.giveBack(buffer);
    }
    camera.stop();
}

TEST(Stream, KeepsTheConsumersSignalsOffItsThreads)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    {
        Streaming camera; // its poll thread runs from here on, its capture thread from the start
        camera.start(2);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        kill(getpid(), SIGUSR1); // would go to any thread that lets it through, and kill
        ASSERT_TRUE(camera.take());
        camera.stop();
    }
    EXPECT_EQ(sigwaitinfo(&signals, nullptr), SIGUSR1);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TEST(Stream, FrameIdsAndLossesAddUpForASlowConsumer)
{
    Streaming camera;
    ASSERT_EQ(camera.write(remote::kWidth, 96), GC_ERR_SUCCESS);
    ASSERT_EQ(camera.write(remote::kHeight, 104), GC_ERR_SUCCESS);
    camera.start(2);
    uint64_t lastId = 0;
    uint64_t delivered = 0;
    uint64_t held = 0;
    // Some frames are held until others must have been dropped.
    while (delivered < 60) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        ASSERT_TRUE(numberIn(camera, buffer)) << "a torn frame";
        EXPECT_GT(id, lastId);
        lastId = id;
        ++delivered;
        if (delivered % 20 == 0) {
            const uint64_t before = camera.lost();
            while (camera.lost() < before + 5)
                std::this_thread::yield();
            ++held;
        }
        camera.giveBack(buffer);
    }
    EXPECT_EQ(held, 3u);
    // Once the consumer keeps up, every number is either delivered or counted as lost.
    for (int frame = 0; frame < 5; ++frame, ++delivered) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        lastId = camera.info(buffer, BUFFER_INFO_FRAMEID);
        camera.giveBack(buffer);
    }
    EXPECT_EQ(camera.lost() + delivered, lastId);
    EXPECT_EQ(camera.lost(), camera.info(static_cast<STREAM_INFO_CMD>(STREAM_INFO_NUM_UNDERRUN)));
    camera.stop();
}

TEST(Stream, ANewAcquisitionTakesTheGeometryThenInForce)
{
    Streaming camera;
    const struct {
        uint32_t width;
        uint32_t height;
    } kSizes[] = {{640, 480}, {96, 104}, {2592, 1944}, {1008, 1000}};
    for (const auto& size : kSizes) {
        ASSERT_EQ(camera.write(remote::kWidth, size.width), GC_ERR_SUCCESS) << lastError();
        ASSERT_EQ(camera.write(remote::kHeight, size.height), GC_ERR_SUCCESS) << lastError();
        for (const BUFFER_HANDLE buffer : camera.buffers)
            EXPECT_EQ(producer().DSRevokeBuffer(camera.stream, buffer, nullptr, nullptr),
                      GC_ERR_SUCCESS);
        camera.buffers.clear();
        camera.start(3);
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_WIDTH), size.width);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_HEIGHT), size.height);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_FRAMEID), 1u) << "numbers start anew";
        EXPECT_TRUE(numberIn(camera, buffer));
        camera.stop();
        EXPECT_EQ(producer().DSFlushQueue(camera.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    }
}

TEST(Stream, NothingFlowsWhileTheCameraIsStalled)
{
    Streaming camera;
    camera.start(3);
    ASSERT_TRUE(camera.take());
    ASSERT_EQ(camera.write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS);
    while (camera.take(200)) {
    }
    EXPECT_EQ(camera.lastResult, GC_ERR_TIMEOUT);
    EXPECT_EQ(producer().EventKill(camera.event), GC_ERR_SUCCESS);
    EXPECT_FALSE(camera.take());
    EXPECT_EQ(camera.lastResult, GC_ERR_ABORT);
    EXPECT_EQ(producer().DSStopAcquisition(camera.stream, 0), GC_ERR_SUCCESS);
}

TEST(Stream, TheLastRequestedFrameEndsCapturing)
{
    Streaming camera;
    camera.start(3, 2);
    ASSERT_TRUE(camera.take());
    ASSERT_TRUE(camera.take());
    EXPECT_EQ(camera.info(static_cast<STREAM_INFO_CMD>(STREAM_INFO_IS_GRABBING)), 1u);
    EXPECT_FALSE(camera.take(100));
    EXPECT_EQ(producer().DSStartAcquisition(camera.stream, 0, 1), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(producer().DSStopAcquisition(camera.stream, 0), GC_ERR_ERROR)
        << "capturing had ended";
    EXPECT_EQ(producer().DSStartAcquisition(camera.stream, 0, 1), GC_ERR_SUCCESS) << lastError();
    ASSERT_TRUE(camera.take());
}

TEST(Stream, ABufferThatIsTooSmallComesBackMarked)
{
    constexpr BUFFER_INFO_CMD kErrorCode = 1001;
    Streaming camera;
    ASSERT_EQ(producer().DevOpenDataStream(camera.device, "Stream0", &camera.stream),
              GC_ERR_SUCCESS);
    const std::size_t payload = camera.read(remote::kPayloadSize);
    for (const std::size_t missing : {1, 0}) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_EQ(
            producer().DSAllocAndAnnounceBuffer(camera.stream, payload - missing, nullptr, &buffer),
            GC_ERR_SUCCESS);
        EXPECT_EQ(producer().DSQueueBuffer(camera.stream, buffer),
                  missing ? GC_ERR_BUFFER_TOO_SMALL : GC_ERR_SUCCESS);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_INCOMPLETE), missing);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_ACQUIRING), 1 - missing);
        EXPECT_EQ(camera.info(buffer, kErrorCode), missing ? 14u : 0u);
    }
    EXPECT_EQ(camera.info(static_cast<STREAM_INFO_CMD>(STREAM_INFO_NUM_AWAIT_DELIVERY)), 1u);
}

TEST(Stream, AfterAStopBuffersWaitUnfilledInTheInputQueue)
{
    Streaming camera;
    camera.start(4);
    ASSERT_TRUE(camera.take());
    camera.stop();
    for (const BUFFER_HANDLE buffer : camera.buffers) {
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_ACQUIRING), 0u);
        if (camera.info(buffer, BUFFER_INFO_NEW_DATA) == 0) {
            EXPECT_EQ(camera.info(buffer, 1001), 15u);
        }
    }
    EXPECT_EQ(producer().DSStopAcquisition(camera.stream, 0), GC_ERR_RESOURCE_IN_USE);
}

// A smaller image set while a larger one is captured must not let frames overrun smaller buffers.
TEST(Stream, ASmallerPayloadDoesntAdmitSmallBuffersToARunningCapture)
{
    Streaming camera;
    camera.start(3);
    ASSERT_TRUE(camera.take());
    ASSERT_EQ(camera.write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS);
    ASSERT_EQ(camera.write(remote::kWidth, 96), GC_ERR_SUCCESS) << lastError();
    std::vector<uint8_t> memory(camera.read(remote::kPayloadSize));
    BUFFER_HANDLE small = nullptr;
    uint8_t one = 1;
    uint32_t anytime = 1;
    size_t size = sizeof anytime;
    ASSERT_EQ(producer().GCWritePort(camera.stream, 0x134, &anytime, &size), GC_ERR_SUCCESS);
    ASSERT_EQ(
        producer().DSAnnounceBuffer(camera.stream, memory.data(), memory.size(), &one, &small),
        GC_ERR_SUCCESS);
    EXPECT_EQ(producer().DSQueueBuffer(camera.stream, small), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(producer().DSStopAcquisition(camera.stream, 0), GC_ERR_SUCCESS);
}

TEST(Stream, BuffersCanBeTakenBackWhileFramesFlow)
{
    Streaming camera;
    ASSERT_EQ(camera.write(remote::kWidth, 640), GC_ERR_SUCCESS);
    ASSERT_EQ(camera.write(remote::kHeight, 480), GC_ERR_SUCCESS);
    camera.start(4);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(camera.take()) << lastError();
        ASSERT_EQ(producer().DSFlushQueue(camera.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
        const BUFFER_HANDLE victim = camera.buffers.back();
        ASSERT_EQ(producer().DSRevokeBuffer(camera.stream, victim, nullptr, nullptr),
                  GC_ERR_SUCCESS)
            << "at once, and without a frame in freed memory";
        camera.buffers.pop_back();
        uint32_t anytime = 1;
        size_t size = sizeof anytime;
        ASSERT_EQ(producer().GCWritePort(camera.stream, 0x134, &anytime, &size), GC_ERR_SUCCESS);
        BUFFER_HANDLE fresh = nullptr;
        ASSERT_EQ(producer().DSAllocAndAnnounceBuffer(
                      camera.stream, camera.read(remote::kPayloadSize), nullptr, &fresh),
                  GC_ERR_SUCCESS);
        camera.buffers.push_back(fresh);
        for (const BUFFER_HANDLE buffer : camera.buffers)
            camera.giveBack(buffer);
    }
    camera.stop();
}

TEST(Stream, ClosingInTheMiddleOfAWaitSendsTheWaitingThreadHome)
{
    Streaming camera;
    camera.start(2);
    ASSERT_TRUE(camera.take());
    ASSERT_EQ(camera.write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS);
    GC_ERROR result = GC_ERR_SUCCESS;
    std::thread waiting([&] {
        do {
            camera.take(GENTL_INFINITE);
        } while (camera.lastResult == GC_ERR_SUCCESS);
        result = camera.lastResult;
    });
    EXPECT_EQ(producer().DSClose(camera.stream), GC_ERR_SUCCESS);
    waiting.join();
    EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_NOT_INITIALIZED ||
                result == GC_ERR_INVALID_HANDLE || result == GC_ERR_NO_DATA)
        << result;
}
