// Frames from a simulated camera in a consumer's buffers.
#include <thread>

#include <csignal>
#include <unistd.h>

#include <gtest/gtest.h>

#include "camera.h"
#include "frame_number.h"

namespace
{

// Lets buffers be announced while a stream is open and used.
constexpr uint64_t kAnnounceAnytime = 0x134;

} // namespace

TEST(Stream, DeliversWholeFramesWithTheirInfos)
{
    Streaming camera;
    const std::pair<BUFFER_INFO_CMD, uint64_t> expected[] = {
        {BUFFER_INFO_NEW_DATA, 1},
        {BUFFER_INFO_IS_INCOMPLETE, 0},
        {BUFFER_INFO_PIXELFORMAT, camera.read(remote::kPixelFormat)},
        {BUFFER_INFO_PIXELFORMAT_NAMESPACE, 4},
        {BUFFER_INFO_PAYLOADTYPE, 1},
        {BUFFER_INFO_WIDTH, camera.read(remote::kWidth)},
        {BUFFER_INFO_DELIVERED_IMAGEHEIGHT, camera.read(remote::kHeight)},
        {BUFFER_INFO_SIZE_FILLED, camera.read(remote::kPayloadSize)},
    };
    camera.start(4);
    uint64_t previousTime = 0;
    uint64_t sentBefore = 0; ///< by the camera, ahead of the stream's first frame
    for (uint64_t frame = 1; frame <= 12; ++frame) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << camera.lastResult << " " << lastError();
        for (const auto& [command, value] : expected)
            EXPECT_EQ(camera.info(buffer, command), value) << command;
        const uint64_t time = camera.info(buffer, BUFFER_INFO_TIMESTAMP);
        EXPECT_GT(time, previousTime);
        previousTime = time;
        const auto number = numberIn(camera, buffer);
        ASSERT_TRUE(number) << "a torn frame";
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        EXPECT_GE(id, frame);
        if (frame == 1)
            sentBefore = *number - id;
        EXPECT_EQ(*number, sentBefore + id) << "a gap that the IDs don't show";
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
    constexpr unsigned kFrames = 65;
    constexpr unsigned kMaxFrames = 1000;
    Streaming camera(96, 104);
    camera.start(2);
    uint64_t lastId = 0;
    uint64_t lost = 0;
    unsigned delivered = 0;
    // Until no frame has been lost behind the last one that was delivered.
    while (delivered < kFrames || (lost + delivered != lastId && delivered < kMaxFrames)) {
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        ASSERT_TRUE(numberIn(camera, buffer)) << "a torn frame";
        const uint64_t id = camera.info(buffer, BUFFER_INFO_FRAMEID);
        EXPECT_GT(id, lastId);
        lastId = id;
        lost = camera.lost();
        // Some frames are held until others must have been dropped; the last ones are not.
        if (++delivered % 20 == 0 && delivered < kFrames) {
            while (camera.lost() < lost + 5)
                std::this_thread::yield();
        }
        camera.giveBack(buffer);
    }
    EXPECT_GE(lost, 15u);
    EXPECT_EQ(lost + delivered, lastId);
    camera.stop();
    lost = camera.lost(); // which the stream's info then shows
    EXPECT_EQ(camera.streamInfo(STREAM_INFO_NUM_UNDERRUN), lost);
}

TEST(Stream, ANewAcquisitionTakesTheGeometryThenInForce)
{
    Streaming camera;
    const std::pair<uint32_t, uint32_t> kSizes[] = {
        {640, 480}, {96, 104}, {2592, 1944}, {1008, 1000}};
    for (const auto& [width, height] : kSizes) {
        camera.setSize(width, height);
        for (const BUFFER_HANDLE buffer : camera.buffers)
            EXPECT_OK(DSRevokeBuffer(camera.stream, buffer, nullptr, nullptr));
        camera.buffers.clear();
        camera.start(3);
        const BUFFER_HANDLE buffer = camera.take();
        ASSERT_TRUE(buffer) << lastError();
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_WIDTH), width);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_HEIGHT), height);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_FRAMEID), 1u) << "numbers start anew";
        EXPECT_TRUE(numberIn(camera, buffer));
        camera.stop();
        EXPECT_OK(DSFlushQueue(camera.stream, ACQ_QUEUE_ALL_DISCARD));
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
    EXPECT_OK(EventKill(camera.event));
    EXPECT_FALSE(camera.take());
    EXPECT_EQ(camera.lastResult, GC_ERR_ABORT);
    EXPECT_FALSE(camera.take(1));
    EXPECT_EQ(camera.lastResult, GC_ERR_TIMEOUT) << "one kill ends one wait";
    EXPECT_OK(DSStopAcquisition(camera.stream, 0));
}

TEST(Stream, TheLastRequestedFrameEndsCapturing)
{
    Streaming camera;
    camera.start(3, 2);
    ASSERT_TRUE(camera.take());
    ASSERT_TRUE(camera.take());
    EXPECT_EQ(camera.streamInfo(STREAM_INFO_IS_GRABBING), 1u);
    EXPECT_FALSE(camera.take(100));
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, DSStartAcquisition(camera.stream, 0, 1));
    EXPECT_RESULT(GC_ERR_ERROR, DSStopAcquisition(camera.stream, 0)) << "capturing had ended";
    EXPECT_OK(DSStartAcquisition(camera.stream, 0, 1));
    ASSERT_TRUE(camera.take());
}

TEST(Stream, ABufferThatIsTooSmallComesBackMarked)
{
    constexpr BUFFER_INFO_CMD kErrorCode = 1001;
    Streaming camera;
    camera.openStream();
    const std::size_t payload = camera.read(remote::kPayloadSize);
    for (const std::size_t missing : {1, 0}) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(DSAllocAndAnnounceBuffer(camera.stream, payload - missing, nullptr, &buffer));
        EXPECT_RESULT(missing ? GC_ERR_BUFFER_TOO_SMALL : GC_ERR_SUCCESS,
                      DSQueueBuffer(camera.stream, buffer));
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_INCOMPLETE), missing);
        EXPECT_EQ(camera.info(buffer, BUFFER_INFO_IS_ACQUIRING), 1 - missing);
        EXPECT_EQ(camera.info(buffer, kErrorCode), missing ? 14u : 0u);
    }
    EXPECT_EQ(camera.streamInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 1u);
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
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, DSStopAcquisition(camera.stream, 0));
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
    ASSERT_EQ(writeRegister(camera.stream, kAnnounceAnytime, 1), GC_ERR_SUCCESS);
    ASSERT_OK(DSAnnounceBuffer(camera.stream, memory.data(), memory.size(), &one, &small));
    EXPECT_RESULT(GC_ERR_BUFFER_TOO_SMALL, DSQueueBuffer(camera.stream, small));
    EXPECT_OK(DSStopAcquisition(camera.stream, 0));
}

TEST(Stream, BuffersCanBeTakenBackWhileFramesFlow)
{
    Streaming camera(640, 480);
    camera.start(4);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(camera.take()) << lastError();
        ASSERT_OK(DSFlushQueue(camera.stream, ACQ_QUEUE_ALL_DISCARD));
        const BUFFER_HANDLE victim = camera.buffers.back();
        ASSERT_OK(DSRevokeBuffer(camera.stream, victim, nullptr, nullptr))
            << "at once, and without a frame in freed memory";
        camera.buffers.pop_back();
        ASSERT_EQ(writeRegister(camera.stream, kAnnounceAnytime, 1), GC_ERR_SUCCESS);
        BUFFER_HANDLE fresh = nullptr;
        ASSERT_OK(DSAllocAndAnnounceBuffer(camera.stream, camera.read(remote::kPayloadSize),
                                           nullptr, &fresh));
        camera.buffers.push_back(fresh);
        for (const BUFFER_HANDLE buffer : camera.buffers)
            camera.giveBack(buffer);
    }
    camera.stop();
}
