#include <cerrno>
#include <cstring>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/grabber/pixel_format_table.h"
#include "grabber_fixture.h"
#include "image/ap1302_image_processing.h"

namespace V4lX
{
namespace
{

using test::FakeCaptureNode;
using test::GrabberTest;
using test::kPayload;
using test::TestGrabber;
using testing::ElementsAre;
using testing::HasSubstr;

namespace Pfnc = GenTLProducer::Pfnc;

constexpr std::uint32_t kSingle = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
constexpr std::uint32_t kMulti = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;

TEST(PixelFormatTable, NamesTheFormatsOfTheCaptureNode)
{
    const std::pair<std::uint32_t, const char*> rows[] = {
        {0x01080001, "BA81"}, {0x01080008, "BA81"}, {0x010A0046, "Y10B"}, {0x010A0056, "pBAA"},
        {0x010C0047, "pBCC"}, {0x010C0057, "pBCC"}, {0x01100003, "BG10"}, {0x0110000C, "BG10"},
        {0x01100005, "BG12"}, {0x01100010, "BG12"}, {0x01100007, "BYR2"}, {0x0110002E, "BYR2"},
        {0x020C0112, "NV12"}, {0x0210001F, "UYVY"}, {0x02100032, "YUYV"}, {0x02180014, "RGB3"},
    };
    for (const auto& [pfncValue, c] : rows)
        EXPECT_EQ(FindFourcc(pfncValue), v4l2_fourcc(c[0], c[1], c[2], c[3])) << c;
    for (const std::uint32_t unknown : {0u, 0x01080009u, 0x01080000u, 0x31384142u})
        EXPECT_EQ(FindFourcc(unknown), std::nullopt);
}

/// Result and trace of the first preparation of a grabber.
struct Preparation {
    Result result;
    std::string trace;
};

Preparation Prepare(TestGrabber& grabber)
{
    grabber->Open();
    testing::internal::CaptureStderr();
    const Result result = grabber->prepareCapturing();
    return {result, testing::internal::GetCapturedStderr()};
}

TEST(GrabberPreparation, AsksForTheImage)
{
    for (const std::uint32_t capabilities : {kSingle, kMulti}) {
        const bool isMulti = capabilities == kMulti;
        FakeCaptureNode node;
        node.capabilities = capabilities;
        node.handlers[VIDIOC_G_FMT] = [](void* argument) {
            auto& format = *static_cast<v4l2_format*>(argument);
            const auto type = format.type;
            std::memset(&format, 0x77, sizeof format);
            format.type = type;
            return 0;
        };
        v4l2_format asked{};
        node.handlers[VIDIOC_S_FMT] = [&](void* argument) {
            asked = *static_cast<v4l2_format*>(argument);
            return EIO;
        };
        TestGrabber grabber(node);
        EXPECT_EQ(Prepare(grabber).result, Result::Failure);
        const v4l2_pix_format& pix = asked.fmt.pix;
        EXPECT_THAT(
            (std::vector<std::uint32_t>{pix.width, pix.height, pix.pixelformat, pix.field,
                                        pix.bytesperline, pix.sizeimage}),
            ElementsAre(test::kWidth, test::kHeight, V4L2_PIX_FMT_UYVY, V4L2_FIELD_NONE, 0, 0));
        const v4l2_pix_format_mplane& planes = asked.fmt.pix_mp;
        EXPECT_EQ(planes.plane_fmt[0].sizeimage, 0u);
        EXPECT_EQ(planes.plane_fmt[0].bytesperline, isMulti ? 0u : 0x77777777u);
        EXPECT_EQ(planes.num_planes, isMulti ? 1 : 0x77);
    }
}

TEST(GrabberPreparation, BusyNodeIsStoppedOnce)
{
    const struct {
        int first;
        int second;
        Result result;
        std::size_t streamOffs;
    } rows[] = {
        {EBUSY, 0, Result::Success, 1},
        {EBUSY, EBUSY, Result::Failure, 1},
        {EBUSY, EIO, Result::Failure, 1},
        {EINVAL, 0, Result::Failure, 0},
    };
    for (const auto& row : rows) {
        FakeCaptureNode node;
        int calls = 0;
        node.handlers[VIDIOC_S_FMT] = [&](void* argument) {
            auto& format = *static_cast<v4l2_format*>(argument);
            EXPECT_EQ(format.fmt.pix.sizeimage, 0u) << "what the driver left behind";
            const int error = calls++ == 0 ? row.first : row.second;
            format.fmt.pix.sizeimage = error == 0 ? static_cast<__u32>(kPayload) : 1;
            return error;
        };
        TestGrabber grabber(node);
        EXPECT_EQ(Prepare(grabber).result, row.result);
        EXPECT_EQ(node.CountLog("STREAMOFF"), row.streamOffs);
        EXPECT_EQ(calls, row.first == EBUSY ? 2 : 1);
    }
}

/// Has the driver answer with another image than it is asked for.
void Adjust(FakeCaptureNode& node, std::uint32_t width, std::uint32_t height, std::uint32_t size)
{
    node.handlers[VIDIOC_S_FMT] = [=](void* argument) {
        v4l2_pix_format_mplane& image = static_cast<v4l2_format*>(argument)->fmt.pix_mp;
        image.width = width;
        image.height = height;
        image.plane_fmt[0].sizeimage = size;
        image.plane_fmt[0].bytesperline = 62;
        return 0;
    };
}

TEST(GrabberPreparation, FailureIsToldAndKeepsTheGrabberFromStartingUntilItIsFinished)
{
    const struct {
        void (*spoil)(FakeCaptureNode& node, V4lX::StreamGrabber& grabber);
        const char* trace;
        const char* lastCall; ///< of the preparation
    } rows[] = {
        {[](auto&, auto& g) { g.SetPixelFormat(0x01080009); },
         " Failed, didn't get correct pixelformat.\n", "G_FMT"},
        {[](auto& node, auto&) { Adjust(node, 31, 4, 256); },
         "Width=31 (exp=32) Height=4 (exp=4) Bytesperline=62 Size=256 (exp=256)\n", "S_FMT"},
        {[](auto& node, auto&) { Adjust(node, 32, 5, 256); },
         "Width=32 (exp=32) Height=5 (exp=4) Bytesperline=62 Size=256 (exp=256)\n", "S_FMT"},
        {[](auto& node, auto&) { Adjust(node, 32, 4, 255); },
         "Width=32 (exp=32) Height=4 (exp=4) Bytesperline=62 Size=255 (exp=256)\n", "S_FMT"},
        {[](auto&, auto& g) { g.SetIoMethod(IoMethod::UserPointer); },
         " I/O method user pointer not yet implemented\n", "S_FMT"},
        {[](auto&, auto& g) { g.SetIoMethod(static_cast<IoMethod>(2)); }, " Unknown I/O method 2\n",
         "S_FMT"},
        {[](auto&, auto& g) { g.SetIoMethod(static_cast<IoMethod>(-1)); },
         " Unknown I/O method -1\n", "S_FMT"},
        {[](auto& node, auto&) { node.mostBuffers = 1; },
         "Insufficient buffer memory. Could require only 1 buffers.\n", "REQBUFS 0"},
        {[](auto& node, auto&) { node.mostBuffers = 0; },
         "Insufficient buffer memory. Could require only 0 buffers.\n", "REQBUFS 0"},
        {[](auto& node, auto&) { node.planesPerBuffer = 2; },
         "Got buffer with more than one plane. Not supported.\n", "REQBUFS 0"},
        {[](auto&, auto& g) { g.SetPixelFormat(Pfnc::Mono8); },
         "No operation from V4L2 format 0x31384142 to pixel format 0x01080001\n", "mmap 256 at 3"},
    };
    for (const auto& row : rows) {
        FakeCaptureNode node;
        node.capabilities = kMulti;
        TestGrabber grabber(node, std::make_shared<AP1302ImageProcessing>());
        row.spoil(node, grabber.grabber);
        const Preparation preparation = Prepare(grabber);
        EXPECT_EQ(preparation.result, Result::Failure) << row.trace;
        EXPECT_THAT(preparation.trace, HasSubstr(row.trace));
        EXPECT_EQ(node.GetLog().back(), row.lastCall) << row.trace;
        EXPECT_TRUE(grabber->IsPrepared());
        EXPECT_EQ(grabber->GetPreparedPayloadSize(), 0u);
        EXPECT_EQ(grabber->prepareCapturing(), Result::BadState);
        EXPECT_EQ(grabber->startCapturing(), Result::Failure);
        EXPECT_EQ(node.CountLog("STREAMON"), 0u);
        EXPECT_EQ(grabber->finishCapturing(), Result::Success);
        EXPECT_EQ(node.mappings, 0) << row.trace;
    }
}

TEST_F(GrabberTest, ImageProcessingLearnsBothFormats)
{
    std::vector<ImageProperties> sides;
    processing->onPrepare = [&](const auto& from, const auto& to) { sides = {from, to}; };
    EXPECT_EQ(Prepare(grabber).result, Result::Success);
    for (const ImageProperties& side : sides)
        EXPECT_EQ(std::tie(side.width, side.height, side.payloadSize),
                  std::tie(test::kWidth, test::kHeight, kPayload));
    EXPECT_EQ(sides.at(0).pixelFormat, V4L2_PIX_FMT_UYVY);
    EXPECT_EQ(sides.at(1).pixelFormat, Pfnc::YUV422_8_UYVY);
}

TEST_F(GrabberTest, ContradictingPropertiesPassUpAndLeaveNothing)
{
    bool isContradicting = true;
    processing->onPrepare = [&](auto&&...) {
        if (isContradicting)
            throw std::invalid_argument("widths");
    };
    grabber->Open();
    EXPECT_THROW(grabber->prepareCapturing(), std::invalid_argument);
    EXPECT_FALSE(grabber->IsPrepared());
    isContradicting = false;
    EXPECT_EQ(grabber->prepareCapturing(), Result::Success);
    EXPECT_EQ(node.mappings, 4);
    grabber->finishCapturing();
    isContradicting = true;
    EXPECT_THROW(grabber->prepareCapturing(), std::invalid_argument);
    grabber->Close();
    EXPECT_EQ(node.mappings, 0);
}

} // namespace
} // namespace V4lX
