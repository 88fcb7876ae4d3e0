#include <libyuv.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "failure.h"
#include "image/picture.h"

namespace zevo_tool
{

namespace
{

/// One converter call; strides are in bytes, results of the library 0 for success.
struct Conversion {
    const std::uint8_t* source;
    int sourceStride;
    std::uint8_t* target;
    int targetStride;
    int width;
    int height;
};

int ConvertViaArgb(const Conversion& c, decltype(&libyuv::UYVYToARGB) toArgb)
{
    const int argbStride = c.width * 4;
    std::vector<std::uint8_t> argb(static_cast<std::size_t>(argbStride) *
                                   static_cast<std::size_t>(c.height));
    const int result = toArgb(c.source, c.sourceStride, argb.data(), argbStride, c.width, c.height);
    if (result != 0)
        return result;
    return libyuv::ARGBToRAW(argb.data(), argbStride, c.target, c.targetStride, c.width, c.height);
}

int FromUyvy(const Conversion& c)
{
    return ConvertViaArgb(c, &libyuv::UYVYToARGB);
}

int FromYuyv(const Conversion& c)
{
    return ConvertViaArgb(c, &libyuv::YUY2ToARGB);
}

int FromSemiplanar(const Conversion& c)
{
    const std::uint8_t* chroma =
        c.source + static_cast<std::size_t>(c.sourceStride) * static_cast<std::size_t>(c.height);
    return libyuv::NV12ToRAW(c.source, c.sourceStride, chroma, c.sourceStride, c.target,
                             c.targetStride, c.width, c.height);
}

int CopyLines(const Conversion& c)
{
    libyuv::CopyPlane(c.source, c.sourceStride, c.target, c.targetStride, c.targetStride, c.height);
    return 0;
}

int FromBgr(const Conversion& c)
{
    return libyuv::RAWToRGB24(c.source, c.sourceStride, c.target, c.targetStride, c.width,
                              c.height);
}

struct PixelFormat {
    std::uint64_t value;
    const char* name;
    std::size_t lineBytesPerPixel; ///< of the first plane
    bool hasChromaPlane;           ///< of half the height behind the first one
    bool isPairwise;               ///< two pixels share their chroma: even widths only
    std::size_t channels;
    int (*convert)(const Conversion&);
};

// clang-format off
constexpr PixelFormat kFormats[] = {
//   value       name                            bytes chroma pairwise channels convert
    {0x01080001, "Mono8",                         1,   false, false,   1,       CopyLines},
    {0x02180014, "RGB8",                          3,   false, false,   3,       CopyLines},
    {0x02180015, "BGR8",                          3,   false, false,   3,       FromBgr},
    {0x02100032, "YUV422_8",                      2,   false, true,    3,       FromYuyv},
    {0x0210001F, "YUV422_8_UYVY",                 2,   false, true,    3,       FromUyvy},
    {0x0210003B, "YCbCr422_8",                    2,   false, true,    3,       FromYuyv},
    {0x020C0112, "YCbCr420_8_YY_CbCr_Semiplanar", 1,   true,  true,    3,       FromSemiplanar},
};
// clang-format on

const PixelFormat* FindFormat(std::uint64_t value)
{
    for (const PixelFormat& format : kFormats)
        if (format.value == value)
            return &format;
    return nullptr;
}

} // namespace

bool IsConvertible(const std::string& pixelFormat)
{
    return std::any_of(std::begin(kFormats), std::end(kFormats),
                       [&](const PixelFormat& format) { return pixelFormat == format.name; });
}

std::string PixelFormatName(std::uint64_t pixelFormat)
{
    if (const PixelFormat* format = FindFormat(pixelFormat))
        return format->name;
    char text[16];
    const auto [end, error] = std::to_chars(text, text + sizeof text, pixelFormat, 16);
    return error == std::errc() ? "0x" + std::string(text, end) : std::string("unknown");
}

Picture Convert(const RawImage& image)
{
    constexpr std::size_t kMaxSide = 1 << 15;
    const PixelFormat* format = FindFormat(image.pixelFormat);
    if (format == nullptr)
        throw Failure("pixel format " + PixelFormatName(image.pixelFormat) +
                      " can't be turned into a picture");
    const std::size_t stride = image.width * format->lineBytesPerPixel + image.linePadding;
    if (image.width == 0 || image.height == 0 || image.width > kMaxSide ||
        image.height > kMaxSide || image.linePadding > kMaxSide ||
        (format->isPairwise && image.width % 2 != 0))
        throw Failure("an image of " + std::to_string(image.width) + "x" +
                      std::to_string(image.height) + " pixels can't be turned into a picture");
    const std::size_t lines = image.height + (format->hasChromaPlane ? (image.height + 1) / 2 : 0);
    if (image.size < stride * lines)
        throw Failure("the frame has " + std::to_string(image.size) + " bytes, its image " +
                      std::to_string(stride * lines));
    Picture picture{image.width, image.height, format->channels, {}};
    picture.pixels.resize(image.width * image.height * format->channels);
    const Conversion conversion{image.data,
                                static_cast<int>(stride),
                                picture.pixels.data(),
                                static_cast<int>(image.width * format->channels),
                                static_cast<int>(image.width),
                                static_cast<int>(image.height)};
    if (format->convert(conversion) != 0)
        throw Failure("the frame can't be converted from " + std::string(format->name));
    return picture;
}

} // namespace zevo_tool
