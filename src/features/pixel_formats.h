// Pixel formats of the feature layer, by their codes in the PFNC standard.
#pragma once

#include <cstdint>

#include "base/pfnc.h"

namespace GenTLProducer
{

/// Register values of PixelFormat; the position is the entry's index.
constexpr std::uint32_t kPixelFormatValues[] = {
    Pfnc::Mono8,      Pfnc::Mono10,    Pfnc::Mono12,        Pfnc::Mono16,
    Pfnc::RGB8,       Pfnc::YUV422_8,  Pfnc::YUV422_8_UYVY, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar,
    Pfnc::YCbCr422_8, Pfnc::BayerGR8,  Pfnc::BayerRG8,      Pfnc::BayerGB8,
    Pfnc::BayerBG8,   Pfnc::BayerGR10, Pfnc::BayerRG10,     Pfnc::BayerGB10,
    Pfnc::BayerBG10,  Pfnc::BayerGR12, Pfnc::BayerRG12,     Pfnc::BayerGB12,
    Pfnc::BayerBG12,  Pfnc::BayerGR16, Pfnc::BayerRG16,     Pfnc::BayerGB16,
    Pfnc::BayerBG16,
};
constexpr std::uint32_t kPixelFormatCount = sizeof(kPixelFormatValues) / sizeof(std::uint32_t);

/// Entries of PixelSize.
enum class PixelSize : std::uint32_t { Bpp8, Bpp10, Bpp12, Bpp16, Bpp24 };

constexpr std::uint32_t BitsPerPixel(PixelSize size)
{
    constexpr std::uint32_t kBits[] = {8, 10, 12, 16, 24};
    return kBits[static_cast<std::uint32_t>(size)];
}

/// A format that the feature layer can handle.
struct HandledFormat {
    std::uint32_t pfncValue;
    bool isCandidate; ///< the ISP can send it
    PixelSize pixelSize;
    std::uint32_t dynamicRangeMax;
};

constexpr HandledFormat kHandledFormats[] = {
    // clang-format off
    // format                             candidate  pixel size        dynamic range
    {Pfnc::Mono8,                         false,    PixelSize::Bpp8,   255},
    {Pfnc::Mono10,                        false,    PixelSize::Bpp16,  1023},
    {Pfnc::Mono12,                        false,    PixelSize::Bpp16,  4095},
    {Pfnc::Mono16,                        false,    PixelSize::Bpp16,  65535},
    {Pfnc::RGB8,                          false,    PixelSize::Bpp24,  255},
    {Pfnc::YUV422_8,                      true,     PixelSize::Bpp16,  255},
    {Pfnc::YUV422_8_UYVY,                 true,     PixelSize::Bpp16,  255},
    {Pfnc::YCbCr420_8_YY_CbCr_Semiplanar, true,     PixelSize::Bpp12,  255},
    {Pfnc::YCbCr422_8,                    false,    PixelSize::Bpp16,  255},
    {Pfnc::BayerGR8,                      false,    PixelSize::Bpp8,   255},
    {Pfnc::BayerGR10,                     false,    PixelSize::Bpp16,  1023},
    {Pfnc::BayerGR12,                     false,    PixelSize::Bpp16,  4095},
    {Pfnc::BayerGR16,                     false,    PixelSize::Bpp16,  65535},
    // clang-format on
};
constexpr std::uint32_t kHandledFormatCount = sizeof(kHandledFormats) / sizeof(HandledFormat);

/// Index of a format among the entries; kPixelFormatCount for one that isn't there.
constexpr std::uint32_t PixelFormatIndex(std::uint32_t pfncValue)
{
    std::uint32_t index = 0;
    while (index < kPixelFormatCount && kPixelFormatValues[index] != pfncValue)
        ++index;
    return index;
}

} // namespace GenTLProducer
