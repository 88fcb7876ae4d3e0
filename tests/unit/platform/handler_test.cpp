// What the board families differ in, as far as no board is needed; the searches stand in
// handler_search_test.cpp.
#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "platform/media_graph_handlers.h"
#include "platform/platform_pipeline_handler_factory.h"
#include "platform/single_node_handler.h"
#include "support/fake_capture_node.h"
#include "v4l2/error.h"
#include "v4l2/video_device.h"

namespace GenTLProducer
{

TEST(Handlers, AreTriedInTheirOrderAndOfferTheirFormats)
{
    using namespace Pfnc;
    constexpr std::uint32_t kYuv420 = YCbCr420_8_YY_CbCr_Semiplanar;
    const struct {
        const char* name;
        std::uint32_t widthIncrement;
        std::vector<std::uint32_t> formats;
    } kExpected[] = {
        {"nvidia", 32, {YUV422_8_UYVY}},
        {"nvidia-tx2", 128, {YUV422_8_UYVY}},
        {"imx8mm", 1, {Mono10, Mono12, BayerGR10, BayerGR12, YUV422_8_UYVY, kYuv420}},
        {"imx8mq", 1, {Mono10, Mono12, BayerGR10, BayerGR12, YUV422_8_UYVY}},
        {"imx8mp", 1, {YUV422_8}},
    };
    const auto makers = PlatformPipelineHandlerFactory();
    ASSERT_EQ(makers.size(), std::size(kExpected));
    for (std::size_t i = 0; i < makers.size(); ++i) {
        const auto handler = makers[i]();
        EXPECT_STREQ(handler->GetName(), kExpected[i].name);
        EXPECT_EQ(handler->GetWidthIncrement(), kExpected[i].widthIncrement);
        EXPECT_EQ(handler->GetMaxHeight(), 0xFFFFFFFFu);
        std::vector<std::uint32_t> formats;
        for (const std::uint32_t format : {Mono8, Mono10, Mono12, BayerGR10, BayerGR12,
                                           YUV422_8_UYVY, YUV422_8, kYuv420, RGB8}) {
            if (handler->IsPixelFormatSupported(format))
                formats.push_back(format);
        }
        EXPECT_EQ(formats, kExpected[i].formats) << handler->GetName();
    }
}

TEST(NvidiaHandler, SetsLowLatencyWhereItCanAndGoesOnWhereItCant)
{
    const struct {
        const char* control;
        int error;
        const char* log;
    } kCases[] = {
        {"Low Latency Mode", 0, "77=1"}, {"Low Latency", 0, ""}, {"Low Latency Mode", EIO, "77=1"}};
    for (const auto& row : kCases) {
        test::FakeCaptureNode node;
        node.handlers[VIDIOC_QUERYCTRL] = [&](void* argument) {
            auto& query = *static_cast<v4l2_queryctrl*>(argument);
            if (query.id != V4L2_CTRL_FLAG_NEXT_CTRL)
                return EINVAL;
            query.id = 77;
            std::memcpy(query.name, row.control, std::strlen(row.control));
            return 0;
        };
        std::string log;
        node.handlers[VIDIOC_S_CTRL] = [&](void* argument) {
            const auto& control = *static_cast<v4l2_control*>(argument);
            log += std::to_string(control.id) + "=" + std::to_string(control.value);
            return row.error;
        };
        const PlatformPipelineHandlerNvidia handler([&](const std::string& path) {
            return std::make_unique<V4L2::VideoDevice>(path, node.Calls());
        });
        EXPECT_NO_THROW(handler.PrepareDevice("/dev/video7"));
        EXPECT_EQ(node.GetLog().front(), "open /dev/video7");
        EXPECT_EQ(log, row.log);
    }
}

TEST(NvidiaHandler, ANodeThatCantBeOpenedFailsTheOpening)
{
    const PlatformPipelineHandlerNvidia handler(
        [](const std::string&) -> std::unique_ptr<V4L2::IVideoDevice> {
            throw V4L2::Error(2, "Failed to open device /dev/video7");
        });
    EXPECT_THROW(handler.PrepareDevice("/dev/video7"), V4L2::Error);
}

} // namespace GenTLProducer
