#include "capture/grabber/pixel_format_table.h"

#include "base/pfnc.h"

namespace V4lX
{

namespace
{

namespace Pfnc = GenTLProducer::Pfnc;

struct PixelFormatRow {
    std::uint32_t pfncValue;
    char fourcc[5]; ///< its characters in memory order
};

constexpr PixelFormatRow kPixelFormats[] = {
    // clang-format off
    {Pfnc::Mono8,                          "BA81"},
    {Pfnc::BayerGR8,                       "BA81"},
    {Pfnc::Mono10p,                        "Y10B"},
    {Pfnc::BayerGR10p,                     "pBAA"},
    {Pfnc::Mono12p,                        "pBCC"},
    {Pfnc::BayerGR12p,                     "pBCC"},
    {Pfnc::Mono10,                         "BG10"},
    {Pfnc::BayerGR10,                      "BG10"},
    {Pfnc::Mono12,                         "BG12"},
    {Pfnc::BayerGR12,                      "BG12"},
    {Pfnc::Mono16,                         "BYR2"},
    {Pfnc::BayerGR16,                      "BYR2"},
    {Pfnc::YCbCr420_8_YY_CbCr_Semiplanar,  "NV12"},
    {Pfnc::YUV422_8_UYVY,                  "UYVY"},
    {Pfnc::YUV422_8,                       "YUYV"},
    {Pfnc::RGB8,                           "RGB3"},
    // clang-format on
};

// The first character stands in the lowest byte whatever the host's byte order.
constexpr std::uint32_t valueOf(const char (&fourcc)[5])
{
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | static_cast<std::uint8_t>(fourcc[i]);
    return value;
}
static_assert(valueOf("BA81") == 0x31384142);

} // namespace

std::optional<std::uint32_t> FindFourcc(std::uint32_t pfncValue) noexcept
{
    for (const PixelFormatRow& row : kPixelFormats) {
        if (row.pfncValue == pfncValue)
            return valueOf(row.fourcc);
    }
    return std::nullopt;
}

} // namespace V4lX
