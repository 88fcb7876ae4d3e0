#include "platform/single_node_handler.h"

#include <algorithm>

#include "base/pfnc.h"
#include "trace/gentl_trace.h"
#include "v4l2/driver_filter.h"
#include "v4l2/error.h"
#include "v4l2/files.h"
#include "v4l2/video_device.h"

namespace GenTLProducer
{

namespace
{

constexpr char kImxSocFile[] = "/sys/devices/soc0/soc_id";
constexpr char kTegraChipFile[] = "/sys/module/tegra_fuse/parameters/tegra_chip_id";

constexpr const char* kImx8mm[] = {"i.MX8MM"};
constexpr const char* kImx8mq[] = {"i.MX8MQ"};
constexpr const char* kTegra[] = {"33", "25"};
constexpr const char* kTegraTx2[] = {"24"};

constexpr std::uint32_t kImx8mmFormats[] = {
    Pfnc::Mono10,    Pfnc::Mono12,        Pfnc::BayerGR10,
    Pfnc::BayerGR12, Pfnc::YUV422_8_UYVY, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar,
};
constexpr std::uint32_t kImx8mqFormats[] = {
    Pfnc::Mono10, Pfnc::Mono12, Pfnc::BayerGR10, Pfnc::BayerGR12, Pfnc::YUV422_8_UYVY,
};
constexpr std::uint32_t kTegraFormats[] = {Pfnc::YUV422_8_UYVY};

// clang-format off
constexpr SingleNodeBoard kImx8mmBoard{
    "imx8mm", kImxSocFile, kImx8mm, "mx6s-csi", kImx8mmFormats, 1};
constexpr SingleNodeBoard kImx8mqBoard{
    "imx8mq", kImxSocFile, kImx8mq, "mx6s-csi", kImx8mqFormats, 1};
constexpr SingleNodeBoard kNvidiaBoard{
    "nvidia", kTegraChipFile, kTegra, "tegra-video", kTegraFormats, 32};
constexpr SingleNodeBoard kNvidiaTx2Board{
    "nvidia-tx2", kTegraChipFile, kTegraTx2, "tegra-video", kTegraFormats, 128};
// clang-format on

} // namespace

std::vector<PipelineDevice>
SingleNodeHandler::FindCameraDevices(const V4L2::EnumerateResult& enumeration) const
{
    const std::string identification = V4L2::ReadFirstLine(board_.identificationFile);
    if (std::none_of(board_.identifications.begin(), board_.identifications.end(),
                     [&](const char* text) { return identification == text; }))
        return {};
    std::vector<PipelineDevice> devices;
    for (const std::string& path :
         V4L2::FilterByDriverName(enumeration.videoNodes, board_.driverName))
        devices.push_back({path, path});
    return devices;
}

bool SingleNodeHandler::IsPixelFormatSupported(std::uint32_t pfncValue) const
{
    return std::find(board_.pixelFormats.begin(), board_.pixelFormats.end(), pfncValue) !=
           board_.pixelFormats.end();
}

PlatformPipelineHandlerImx8mm::PlatformPipelineHandlerImx8mm() : SingleNodeHandler(kImx8mmBoard) {}

PlatformPipelineHandlerImx8mq::PlatformPipelineHandlerImx8mq() : SingleNodeHandler(kImx8mqBoard) {}

PlatformPipelineHandlerNvidiaJetsonTx2::PlatformPipelineHandlerNvidiaJetsonTx2()
    : SingleNodeHandler(kNvidiaTx2Board)
{
}

PlatformPipelineHandlerNvidia::PlatformPipelineHandlerNvidia()
    : PlatformPipelineHandlerNvidia(
          [](const std::string& path) { return std::make_unique<V4L2::VideoDevice>(path); })
{
}

PlatformPipelineHandlerNvidia::PlatformPipelineHandlerNvidia(MakeVideoDevice makeVideoDevice)
    : SingleNodeHandler(kNvidiaBoard), makeVideoDevice_(std::move(makeVideoDevice))
{
}

void PlatformPipelineHandlerNvidia::PrepareDevice(std::string_view capturePath) const
{
    const std::string path(capturePath);
    const std::unique_ptr<V4L2::IVideoDevice> device = makeVideoDevice_(path);
    try {
        if (const auto id = device->FindControl("Low Latency Mode"))
            device->SetControl(*id, 1);
    } catch (const V4L2::Error&) {
        GENTL_TRACE(kTraceDevice, 2, "Could not activate low latency mode on '%s'", path.c_str());
    }
}

} // namespace GenTLProducer
