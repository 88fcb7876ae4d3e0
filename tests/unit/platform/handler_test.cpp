// What the board families differ in, as far as no board is needed; the searches stand in
// handler_search_test.cpp.
#include <algorithm>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "platform/media_graph_handlers.h"
#include "platform/platform_pipeline_handler_factory.h"
#include "platform/single_node_handler.h"
#include "v4l2/error.h"

namespace GenTLProducer
{

TEST(Handlers, AreTriedInTheirOrderAndOfferTheirFormats)
{
    using namespace Pfnc;
    const struct {
        const char* name;
        std::uint32_t widthIncrement;
        std::vector<std::uint32_t> formats;
    } kExpected[] = {
        {"nvidia", 32, {YUV422_8_UYVY}},
        {"nvidia-tx2", 128, {YUV422_8_UYVY}},
        {"imx8mm",
         1,
         {Mono10, Mono12, BayerGR10, BayerGR12, YUV422_8_UYVY, YCbCr420_8_YY_CbCr_Semiplanar}},
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
        for (const std::uint32_t format :
             {Mono8, Mono10, Mono12, BayerGR10, BayerGR12, YUV422_8_UYVY, YUV422_8,
              YCbCr420_8_YY_CbCr_Semiplanar, RGB8}) {
            if (handler->IsPixelFormatSupported(format))
                formats.push_back(format);
        }
        EXPECT_TRUE(std::is_permutation(formats.begin(), formats.end(),
                                        kExpected[i].formats.begin(), kExpected[i].formats.end()))
            << handler->GetName();
    }
}

namespace
{

// A node with or without the low latency control, or one that fails to set it.
struct LatencyNode final : V4L2::IVideoDevice {
    explicit LatencyNode(std::string& newLog) : log(newLog) {}
    const std::uint32_t& GetCapabilities() const override { return capabilities; }
    const std::string& GetDriverName() const override { return log; }
    std::vector<std::unique_ptr<V4L2::Buffer>> RequestBuffers(std::uint32_t) override { return {}; }
    void StreamOn() override {}
    void StreamOff() override {}
    v4l2_format GetFormat() override { return {}; }
    void SetFormat(v4l2_format&) override {}
    std::optional<std::uint32_t> FindControl(std::string_view name) override
    {
        if (name != "Low Latency Mode" || !hasControl)
            return std::nullopt;
        return 77;
    }
    void SetControl(std::uint32_t id, std::int32_t value) override
    {
        log += std::to_string(id) + "=" + std::to_string(value);
        if (isBroken)
            throw V4L2::Error(5, "no");
    }
    void QueueBuffer(V4L2::Buffer&) override {}
    V4L2::Buffer* DequeueBuffer() override { return nullptr; }
    int GetFileDescriptor() const override { return -1; }

    std::string& log;
    std::uint32_t capabilities = 0;
    bool hasControl = true;
    bool isBroken = false;
};

} // namespace

TEST(NvidiaHandler, SetsLowLatencyWhereItCanAndGoesOnWhereItCant)
{
    const struct {
        bool hasControl;
        bool isBroken;
        const char* log;
    } kCases[] = {{true, false, "77=1"}, {false, false, ""}, {true, true, "77=1"}};
    for (const auto& row : kCases) {
        std::string log;
        const PlatformPipelineHandlerNvidia handler([&](const std::string& path) {
            EXPECT_EQ(path, "/dev/video7");
            auto node = std::make_unique<LatencyNode>(log);
            node->hasControl = row.hasControl;
            node->isBroken = row.isBroken;
            return node;
        });
        EXPECT_NO_THROW(handler.PrepareDevice("/dev/video7"));
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
