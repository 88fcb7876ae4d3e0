#include "capture/grabber/stream_grabber.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include "grabber_fixture.h"
#include "v4l2/error.h"

namespace V4lX
{
namespace
{

using test::FakeCaptureNode;
using test::Frame;
using test::GrabberTest;
using test::kHeight;
using test::kPayload;
using test::kWidth;
using test::TestGrabber;
using testing::Each;
using testing::ElementsAreArray;

using Log = std::vector<std::string>;

const Log kSetUp = {"open /dev/null", "QUERYCAP",   "G_FMT",         "S_FMT",
                    "REQBUFS 4",      "QUERYBUF 0", "mmap 256 at 0", "QUERYBUF 1",
                    "mmap 256 at 1",  "QUERYBUF 2", "mmap 256 at 2", "QUERYBUF 3",
                    "mmap 256 at 3"};
const Log kStart = {"QBUF 0", "QBUF 1", "QBUF 2", "QBUF 3", "STREAMON"};
const Log kTearDown = {"STREAMOFF", "munmap", "munmap", "munmap", "munmap", "REQBUFS 0", "close"};

/// The node's log without what depends on the capture thread's pace.
Log LogWithoutDequeues(FakeCaptureNode& node)
{
    Log log = node.GetLog();
    const auto isDequeue = [](const std::string& entry) { return entry.rfind("DQBUF", 0) == 0; };
    log.erase(std::remove_if(log.begin(), log.end(), isDequeue), log.end());
    return log;
}

TEST(StreamGrabber, CallsTheNodeInOrder)
{
    for (const bool isStarted : {true, false}) {
        FakeCaptureNode node;
        TestGrabber grabber(node);
        grabber->Open();
        grabber->prepareCapturing();
        EXPECT_TRUE(grabber->IsPrepared());
        if (isStarted)
            grabber->startCapturing();
        grabber->Close();
        EXPECT_FALSE(grabber->IsPrepared());
        Log expected = kSetUp;
        for (const Log& calls : {isStarted ? kStart : Log(), kTearDown})
            expected.insert(expected.end(), calls.begin(), calls.end());
        EXPECT_THAT(LogWithoutDequeues(node), ElementsAreArray(expected));
    }
}

TEST_F(GrabberTest, CallsInTheWrongStateAreRefused)
{
    EXPECT_EQ(grabber->prepareCapturing(), Result::Failure) << "closed";
    grabber->Open();
    EXPECT_EQ(grabber->startCapturing(), Result::BadState);
    EXPECT_EQ(grabber->finishCapturing(), Result::BadState);
    grabber->prepareCapturing();
    const auto log = node.GetLog();
    EXPECT_EQ(grabber->prepareCapturing(), Result::BadState);
    EXPECT_EQ(node.GetLog(), log) << "a refused call reached the node";
    grabber->startCapturing();
    EXPECT_EQ(grabber->startCapturing(), Result::BadState);
    EXPECT_EQ(grabber->prepareCapturing(), Result::BadState);
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    EXPECT_EQ(grabber->finishCapturing(), Result::BadState);
    EXPECT_EQ(grabber->prepareCapturing(), Result::Success) << "again";
}

TEST_F(GrabberTest, OpenOfARunningGrabberEndsWhatRuns)
{
    grabber.Start();
    EXPECT_EQ(grabber->Open(), Result::Success);
    EXPECT_FALSE(grabber->IsPrepared());
    EXPECT_EQ(node.openDescriptors, 1);
    EXPECT_EQ(node.mappings, 0);
}

TEST(StreamGrabber, OpenNeedsACharacterDevice)
{
    const char* const rows[][2] = {
        {"/nowhere/video0", " There is no /nowhere/video0 device. (2 No such file or directory)\n"},
        {"/tmp", " Device /tmp is not a valid character device\n"},
        {"/dev/null", " VIDIOC_QUERYCAP failed for /dev/null: "},
    };
    for (const auto& [path, trace] : rows) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(CreateStreamGrabber(path, nullptr)->Open(), Result::Failure);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(trace));
    }
}

TEST_F(GrabberTest, BufferHandlesAndTheirErrors)
{
    grabber->Open();
    EXPECT_EQ(grabber->RegisterBuffer(nullptr, 1, nullptr), Result::BadArgument);
    EXPECT_EQ(grabber.Register(), 1u);
    EXPECT_EQ(grabber.Register(), 2u);
    EXPECT_EQ(grabber->QueueBuffer(3, 0), Result::BadArgument);
    EXPECT_EQ(grabber->DeregisterBuffer(3, nullptr), Result::BadArgument);
    EXPECT_EQ(grabber->RetrieveBuffer(nullptr, nullptr), Result::BadArgument);
    GrabResult result{};
    result.frameId = 77;
    std::size_t remaining = 88;
    EXPECT_EQ(grabber->RetrieveBuffer(&result, &remaining), Result::NoFrame);
    EXPECT_TRUE(result.frameId == 77 && remaining == 88) << "written to";
    EXPECT_EQ(grabber->QueueBuffer(1, 0), Result::Success);
    EXPECT_EQ(grabber->QueueBuffer(1, 0), Result::BadState) << "twice";
    void* address = nullptr;
    EXPECT_EQ(grabber->DeregisterBuffer(1, &address), Result::BadState) << "still queued";
    EXPECT_EQ(address, grabber.memory[0].data());
    EXPECT_EQ(grabber->DeregisterBuffer(1, nullptr), Result::BadArgument) << "gone all the same";
    grabber->prepareCapturing();
    grabber->finishCapturing();
    EXPECT_EQ(grabber.bell.GetCount(), 0u) << "out of the queue, too";
    grabber->Open();
    EXPECT_EQ(grabber.Register(), 1u);
    EXPECT_EQ(grabber.Register(), 3u) << "2 is in use";
    EXPECT_EQ(grabber->DeregisterBuffer(2, nullptr), Result::Success);
}

TEST(StreamGrabber, FrameReachesTheUserBuffer)
{
    for (const std::uint32_t capability : {V4L2_CAP_VIDEO_CAPTURE, V4L2_CAP_VIDEO_CAPTURE_MPLANE}) {
        FakeCaptureNode node;
        node.capabilities = capability | V4L2_CAP_STREAMING;
        TestGrabber grabber(node);
        grabber->Open();
        grabber->SetOffsetX(8);
        grabber->SetOffsetY(6);
        const std::uint64_t handle = grabber.Register(kPayload + 10);
        grabber->QueueBuffer(handle, 4711);
        grabber->prepareCapturing();
        grabber->startCapturing();
        node.PushFrame({41});
        grabber.bell.WaitFor(1);
        const GrabResult result = grabber.Retrieve();
        EXPECT_EQ(result.error, Result::Success);
        EXPECT_EQ(result.frameId, 1u);
        EXPECT_EQ(result.timestamp, 41'000'007'000u);
        EXPECT_EQ(result.pixelFormat, test::Pfnc::YUV422_8_UYVY);
        EXPECT_EQ(result.width, kWidth);
        EXPECT_EQ(result.height, kHeight);
        EXPECT_EQ(result.offsetX, 8u);
        EXPECT_EQ(result.offsetY, 6u);
        EXPECT_EQ(result.size, kPayload + 10);
        EXPECT_EQ(result.handle, handle);
        EXPECT_EQ(result.address, grabber.memory[0].data());
        EXPECT_EQ(result.context, 4711u);
        std::vector<std::uint8_t> expected(kPayload, 41);
        expected.resize(kPayload + 10, 0xEE);
        EXPECT_EQ(grabber.memory[0], expected);
    }
}

TEST(StreamGrabber, FramesAreNumberedFromOneWithTheGapsOfTheKernel)
{
    const struct {
        std::vector<std::uint32_t> sequences;
        std::vector<std::uint64_t> numbers;
        std::uint64_t lost;
    } rows[] = {
        {{}, {}, 0},
        {{5, 6, 9}, {1, 2, 5}, 2},
        {{0, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5, 6}, 0},
        {{0, 7}, {1, 8}, 6},
        {{0xFFFFFFF0, 0xFFFFFFFF}, {1, 16}, 14},
    };
    for (const auto& row : rows) {
        FakeCaptureNode node;
        TestGrabber grabber(node);
        grabber.Start(static_cast<int>(row.sequences.size()));
        for (const std::uint32_t sequence : row.sequences)
            node.PushFrame({sequence});
        node.WaitForLog("QBUF", 4 + row.sequences.size());
        grabber->finishCapturing();
        for (const std::uint64_t number : row.numbers)
            EXPECT_EQ(grabber.Retrieve().frameId, number);
        EXPECT_EQ(grabber->GetLostFrameCount(), row.lost);
    }
}

TEST_F(GrabberTest, DamagedAndMissingFramesAreTold)
{
    grabber.Start(3);
    for (const Frame& frame : {Frame{5}, Frame{6, true}, Frame{9}, Frame{10}})
        node.PushFrame(frame);
    // The fourth finds no buffer; all four come back to the node.
    node.WaitForLog("QBUF", 4 + 4);
    grabber->finishCapturing();
    EXPECT_EQ(grabber.Retrieve().frameId, 1u);
    const GrabResult damaged = grabber.Retrieve();
    EXPECT_EQ(damaged.frameId, kNoFrameId);
    EXPECT_EQ(damaged.error, Result::Failure);
    EXPECT_EQ(damaged.timestamp, 6'000'007'000u);
    EXPECT_EQ(grabber.Retrieve().frameId, 5u);
    EXPECT_EQ(grabber->GetLostFrameCount(), 3u);
    grabber->prepareCapturing();
    grabber->startCapturing();
    grabber->finishCapturing();
    EXPECT_EQ(grabber->GetLostFrameCount(), 0u) << "of the new acquisition";
}

TEST(StreamGrabber, FinishReturnsWhatIsStillQueuedInItsOrder)
{
    for (const Result stopped : {Result::Success, Result::Failure}) {
        FakeCaptureNode node;
        if (stopped == Result::Failure)
            node.handlers[VIDIOC_STREAMOFF] = [](void*) { return ENODEV; };
        TestGrabber grabber(node);
        grabber->Open();
        grabber->prepareCapturing();
        grabber.Register();
        grabber.Register();
        for (const std::uint64_t handle : {2, 1})
            grabber->QueueBuffer(handle, 100 + handle);
        EXPECT_EQ(grabber->finishCapturing(), stopped);
        EXPECT_EQ(grabber.bell.GetCount(), 2u);
        for (const std::uint64_t handle : {2, 1}) {
            GrabResult result{};
            std::size_t remaining = 99;
            ASSERT_EQ(grabber->RetrieveBuffer(&result, &remaining), Result::Success);
            EXPECT_EQ(remaining, handle - 1);
            EXPECT_EQ(result.error, Result::Unfilled);
            EXPECT_EQ(result.frameId, kNoFrameId);
            EXPECT_EQ(result.timestamp, 0u);
            EXPECT_EQ(result.handle, handle);
            EXPECT_EQ(result.context, 100 + handle);
            EXPECT_EQ(result.width, kWidth);
            EXPECT_EQ(grabber->QueueBuffer(1, 0), handle == 2 ? Result::Success : Result::BadState)
                << "its result may still wait";
        }
        grabber->prepareCapturing();
        grabber->finishCapturing();
        EXPECT_EQ(grabber.bell.GetCount(), 3u);
        grabber->prepareCapturing();
        EXPECT_EQ(grabber.Retrieve().error, test::kNone) << "old results are dropped";
    }
}

TEST_F(GrabberTest, BufferSmallerThanThePayloadIsNotWrittenTo)
{
    grabber->Open();
    grabber->QueueBuffer(grabber.Register(kPayload - 1), 0);
    grabber->prepareCapturing();
    grabber->SetPayloadSize(16);
    grabber->startCapturing();
    node.PushFrame({1});
    grabber.bell.WaitFor(1);
    EXPECT_EQ(grabber.Retrieve().error, Result::BufferTooSmall);
    EXPECT_THAT(grabber.memory[0], Each(0xEE));
    EXPECT_EQ(grabber->GetPayloadSize(), 16u);
    EXPECT_EQ(grabber->GetPreparedPayloadSize(), kPayload);
    grabber->finishCapturing();
    EXPECT_EQ(grabber->GetPreparedPayloadSize(), 0u);
}

TEST_F(GrabberTest, BytesUsedAreBoundedByTheMapping)
{
    std::vector<std::size_t> sizes;
    processing->onProcess = [&](const void*, void*, std::size_t size) { sizes.push_back(size); };
    grabber.Start(2);
    testing::internal::CaptureStderr();
    node.PushFrame({1, false, 0x7FFFFFFF});
    node.PushFrame({2, false, 100});
    grabber.bell.WaitFor(2);
    grabber->finishCapturing();
    EXPECT_THAT(sizes, testing::ElementsAre(kPayload, 100));
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_THAT(trace,
                testing::HasSubstr("Got unexpected buffer size 2147483647. Expected: 256 bytes\n"));
    EXPECT_THAT(trace, testing::HasSubstr("Got unexpected buffer size 100. Expected: 256 bytes\n"));
}

TEST_F(GrabberTest, UnknownKernelBufferEndsTheThreadOnly)
{
    grabber->Open();
    grabber.Queue(1);
    grabber->prepareCapturing();
    testing::internal::CaptureStderr();
    node.PushFrame({1, false, 0, 4});
    grabber->startCapturing();
    node.WaitForLog("DQBUF 4", 1);
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    EXPECT_EQ(grabber.Retrieve().error, Result::Unfilled);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("Got unexpected buffer index 4: Numerical result out of range "
                                   "Working with 4 buffers only. Bailing out\n"));
}

TEST_F(GrabberTest, ExceptionOnTheCaptureThreadReturnsItsBuffer)
{
    processing->onProcess = [](auto&&...) { throw std::logic_error("broken"); };
    grabber.Start(2);
    node.PushFrame({1});
    grabber.bell.WaitFor(1);
    EXPECT_EQ(grabber.Retrieve().error, Result::Unfilled);
    grabber->TakeBackBuffers();
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    EXPECT_EQ(grabber.Retrieve().error, test::kNone) << "the second was taken back";
}

TEST_F(GrabberTest, HooksStandAroundTheStreamCalls)
{
    std::vector<std::string> seen;
    const auto note = [&](const char* name) {
        return [&, name] {
            seen.push_back(name + std::string(" ") + std::to_string(node.CountLog("STREAMON")) +
                           std::to_string(node.CountLog("STREAMOFF")));
        };
    };
    grabber->SetStreamHooks(
        {note("before on"), note("after on"), note("before off"), note("after off")});
    grabber.Start();
    grabber->finishCapturing();
    EXPECT_THAT(
        seen, testing::ElementsAre("before on 00", "after on 10", "before off 10", "after off 11"));
}

/// Captures two frames under the even frame rule, the first with sequence number 1; the trace of
/// the stop. Both frames find no buffer.
std::string StopByEvenFrameRule(TestGrabber& grabber, std::uint32_t lastSequence)
{
    grabber->SetEvenFrameRule(true);
    grabber->SetStopDelay(std::chrono::milliseconds(0));
    grabber.Start();
    grabber.node.PushFrame({1});
    grabber.node.PushFrame({lastSequence});
    // Dropped and skipped ones, told together with the number of frames.
    while (grabber->GetLostFrameCount() != lastSequence)
        std::this_thread::yield();
    testing::internal::CaptureStderr();
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    return testing::internal::GetCapturedStderr();
}

TEST(StreamGrabber, EvenFrameRuleAsksForOneMoreFrame)
{
    for (const std::uint32_t lastSequence : {3u, 4u}) {
        FakeCaptureNode node;
        TestGrabber grabber(node);
        unsigned generated = 0;
        grabber->SetSingleFrameGenerator([&] {
            ++generated;
            node.PushFrame({lastSequence + 1});
        });
        StopByEvenFrameRule(grabber, lastSequence);
        EXPECT_EQ(generated, lastSequence % 2);
        EXPECT_EQ(node.CountLog("QBUF"), 4u + 2u) << "a frame during stop goes nowhere";
    }
}

TEST_F(GrabberTest, EvenFrameRuleGivesUpAndTheNextAcquisitionDelivers)
{
    const std::string trace = StopByEvenFrameRule(grabber, 3);
    EXPECT_THAT(trace, testing::HasSubstr(" Cannot generate single frame\n"));
    EXPECT_THAT(trace, testing::HasSubstr(" Could not ensure to grab even count of frames in "));
    grabber->SetEvenFrameRule(false);
    grabber->prepareCapturing();
    grabber.Queue(1);
    grabber->startCapturing();
    node.PushFrame({1});
    grabber.bell.WaitFor(1);
    EXPECT_EQ(grabber.Retrieve().frameId, 1u);
}

} // namespace
} // namespace V4lX
