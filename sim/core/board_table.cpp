#include "sim/core/board_table.h"

#include <linux/media.h>
#include <linux/videodev2.h>

#include <cstring>

namespace zevo_sim
{

namespace
{

constexpr NodeFormat kAllFormats[] = {
    {V4L2_PIX_FMT_UYVY, "UYVY 4:2:2", FrameLayout::Uyvy, 1},
    {V4L2_PIX_FMT_YUYV, "YUYV 4:2:2", FrameLayout::Yuyv, 1},
    {V4L2_PIX_FMT_NV12, "Y/CbCr 4:2:0", FrameLayout::LineInterleaved420, 1},
};
constexpr NodeFormat kUyvyAndNv12[] = {
    {V4L2_PIX_FMT_UYVY, "UYVY 4:2:2", FrameLayout::Uyvy, 1},
    {V4L2_PIX_FMT_NV12, "Y/CbCr 4:2:0", FrameLayout::LineInterleaved420, 1},
};
constexpr NodeFormat kUyvy[] = {{V4L2_PIX_FMT_UYVY, "UYVY 4:2:2", FrameLayout::Uyvy, 1}};
constexpr NodeFormat kYuyv[] = {{V4L2_PIX_FMT_YUYV, "YUYV 4:2:2", FrameLayout::Yuyv, 1}};
constexpr NodeFormat kUyvyBy64[] = {{V4L2_PIX_FMT_UYVY, "UYVY 4:2:2", FrameLayout::Uyvy, 64}};
constexpr NodeFormat kUyvyBy256[] = {{V4L2_PIX_FMT_UYVY, "UYVY 4:2:2", FrameLayout::Uyvy, 256}};

constexpr ChainEntity kGenericChain[] = {
    {"csi-receiver.%u", MEDIA_ENT_F_VID_IF_BRIDGE, true},
};
constexpr ChainEntity kImx8mpChain[] = {
    {"mxc-mipi-csi2.%u", MEDIA_ENT_F_VID_IF_BRIDGE, true},
    {"mxc_isi.%u", MEDIA_ENT_F_PROC_VIDEO_SCALER, true},
};

constexpr BoardFile kImx8mmFiles[] = {{"/sys/devices/soc0/soc_id", "i.MX8MM\n"}};
constexpr BoardFile kImx8mqFiles[] = {{"/sys/devices/soc0/soc_id", "i.MX8MQ\n"}};
constexpr BoardFile kImx8mpFiles[] = {{"/sys/devices/soc0/soc_id", "i.MX8MP\n"}};
constexpr BoardFile kNvidiaFiles[] = {{"/sys/module/tegra_fuse/parameters/tegra_chip_id", "25\n"}};
constexpr BoardFile kNvidiaTx2Files[] = {
    {"/sys/module/tegra_fuse/parameters/tegra_chip_id", "24\n"}};

using Formats = GenTLProducer::Span<const NodeFormat>;
using Chain = GenTLProducer::Span<const ChainEntity>;
using Files = GenTLProducer::Span<const BoardFile>;

constexpr BoardDefinition kBoards[] = {
    // name, description, capture driver, card, formats, width, height, planes, low latency, csi_id,
    // media driver, media model, shared graph, sensor entity, chain, capture entity, files
    {"generic", "Unknown board with a media graph", "csi-capture", "CSI capture",
     Formats(kAllFormats), 4096, 4096, false, false, false, "csi-media", "CSI media device", false,
     "tolmen-camera %u-0036", Chain(kGenericChain), "csi-capture.%u", Files()},
    {"imx8mp", "i.MX 8M Plus, media graph \"mxc-md\"", "mxc-isi-cap", "mxc-isi-cap", Formats(kYuyv),
     4096, 4096, true, false, true, "mxc-md", "FSL Capture Media Device", true,
     "tolmen-camera %u-0036", Chain(kImx8mpChain), "mxc_isi.%u.capture", Files(kImx8mpFiles)},
    {"imx8mp-viv", "i.MX 8M Plus, capture driver \"viv_v4l2_device\"", "viv_v4l2_device",
     "viv_v4l2_device", Formats(kYuyv), 4096, 4096, false, false, true, nullptr, nullptr, false,
     nullptr, Chain(), nullptr, Files(kImx8mpFiles)},
    {"imx8mm", "i.MX 8M Mini, one node for both roles", "mx6s-csi", "i.MX6S_CSI",
     Formats(kUyvyAndNv12), 4096, 4096, false, false, false, nullptr, nullptr, false, nullptr,
     Chain(), nullptr, Files(kImx8mmFiles)},
    {"imx8mq", "i.MX 8M Quad, one node for both roles", "mx6s-csi", "i.MX6S_CSI", Formats(kUyvy),
     4096, 4096, false, false, false, nullptr, nullptr, false, nullptr, Chain(), nullptr,
     Files(kImx8mqFiles)},
    {"nvidia", "Jetson with Tegra 194, lines of 64 bytes, low latency mode", "tegra-video",
     "vi-output, tolmen-camera", Formats(kUyvyBy64), 4096, 4096, false, true, false, nullptr,
     nullptr, false, nullptr, Chain(), nullptr, Files(kNvidiaFiles)},
    {"nvidia-tx2", "Jetson TX2, lines of 256 bytes", "tegra-video", "vi-output, tolmen-camera",
     Formats(kUyvyBy256), 4096, 4096, false, false, false, nullptr, nullptr, false, nullptr,
     Chain(), nullptr, Files(kNvidiaTx2Files)},
};

} // namespace

GenTLProducer::Span<const BoardDefinition> Boards()
{
    return kBoards;
}

const BoardDefinition* FindBoard(const char* name)
{
    for (const BoardDefinition& board : kBoards)
        if (std::strcmp(board.name, name) == 0)
            return &board;
    return nullptr;
}

} // namespace zevo_sim
