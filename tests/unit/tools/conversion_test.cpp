#include <gmock/gmock.h>

#include "failure.h"
#include "image/picture.h"
#include "read_png.h"
#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using Bytes = std::vector<std::uint8_t>;
using testing::Each;
using testing::ElementsAre;

constexpr std::uint64_t kMono8 = 0x01080001;
constexpr std::uint64_t kMono12 = 0x01100005;
constexpr std::uint64_t kRgb8 = 0x02180014;
constexpr std::uint64_t kBgr8 = 0x02180015;
constexpr std::uint64_t kYuyv = 0x02100032;
constexpr std::uint64_t kUyvy = 0x0210001F;
constexpr std::uint64_t kSemiplanar = 0x020C0112;

RawImage Image(std::uint64_t format, std::size_t width, std::size_t height, const Bytes& data,
               std::size_t linePadding = 0)
{
    return {format, width, height, linePadding, data.data(), data.size()};
}

struct Colour {
    const char* name;
    std::uint8_t y, cb, cr;
    Bytes rgb;
};

// clang-format off
// The corners of the colour space by BT.601 in 8 bits, limited range.
const Colour kColours[] = {
    {"white",   235, 128, 128, {255, 255, 255}},
    {"black",    16, 128, 128, {0, 0, 0}},
    {"grey",    126, 128, 128, {128, 128, 128}},
    {"red",      81,  90, 240, {255, 0, 0}},
    {"green",   145,  54,  34, {0, 255, 0}},
    {"blue",     41, 240, 110, {0, 0, 255}},
    {"yellow",  210,  16, 146, {255, 255, 0}},
    {"cyan",    170, 166,  16, {0, 255, 255}},
    {"magenta", 106, 202, 222, {255, 0, 255}},
};
// clang-format on

TEST(Conversion, GivesTheColoursOfTheStandard)
{
    for (const Colour& c : kColours) {
        const std::pair<std::uint64_t, Bytes> images[] = {
            {kUyvy, {c.cb, c.y, c.cr, c.y, c.cb, c.y, c.cr, c.y}},
            {kYuyv, {c.y, c.cb, c.y, c.cr, c.y, c.cb, c.y, c.cr}},
            {kSemiplanar, {c.y, c.y, c.y, c.y, c.cb, c.cr}},
        };
        for (const auto& [format, data] : images) {
            const Bytes pixels = Convert(Image(format, 2, 2, data)).pixels;
            ASSERT_EQ(pixels.size(), 12U);
            for (std::size_t i = 0; i < pixels.size(); ++i)
                EXPECT_NEAR(pixels[i], c.rgb[i % 3], 2) << c.name << " in " << format;
        }
    }
}

TEST(Conversion, KeepsPlaceAndOrderOfPixels)
{
    const Bytes mono{10, 20, 0xEE, 30, 40, 0xEE}; // a byte of padding behind each line
    EXPECT_THAT(Convert(Image(kMono8, 2, 2, mono, 1)).pixels, ElementsAre(10, 20, 30, 40));
    const Bytes colours{1, 2, 3, 4, 5, 6};
    EXPECT_THAT(Convert(Image(kRgb8, 2, 1, colours)).pixels, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(Convert(Image(kBgr8, 2, 1, colours)).pixels, ElementsAre(3, 2, 1, 6, 5, 4));
    const Bytes lines{128, 16, 128, 16, 128, 235, 128, 235};
    const Bytes pixels = Convert(Image(kUyvy, 2, 2, lines)).pixels;
    EXPECT_THAT(Bytes(pixels.begin(), pixels.begin() + 6), Each(0));
    EXPECT_THAT(Bytes(pixels.begin() + 6, pixels.end()), Each(255));
}

TEST(Conversion, RefusesWhatIsNoImage)
{
    const Bytes data(24);
    EXPECT_THROW(Convert(Image(kMono12, 2, 2, data)), Failure) << "twelve bits";
    EXPECT_THROW(Convert(Image(kRgb8, 3, 3, data)), Failure) << "three bytes short";
    EXPECT_THROW(Convert(Image(kSemiplanar, 6, 3, data)), Failure) << "chroma short";
    EXPECT_THROW(Convert(Image(kUyvy, 3, 1, data)), Failure) << "half a pair of pixels";
    EXPECT_THROW(Convert(Image(kMono8, 0, 4, data)), Failure) << "empty";
    EXPECT_THROW(Convert(Image(kMono8, std::size_t{1} << 62, 4, data)), Failure) << "huge";
}

TEST(Conversion, KnowsTheNamesOfItsFormats)
{
    EXPECT_EQ(PixelFormatName(kSemiplanar), "YCbCr420_8_YY_CbCr_Semiplanar");
    EXPECT_EQ(PixelFormatName(kMono12), "0x1100005");
    EXPECT_TRUE(IsConvertible("YUV422_8_UYVY"));
    EXPECT_FALSE(IsConvertible("Mono12"));
}

TEST(Png, HoldsThePixelsThatWereWritten)
{
    const TemporaryFolder folder;
    for (const std::size_t channels : {1U, 3U}) {
        Picture picture{5, 3, channels, {}};
        for (std::size_t i = 0; i < 15 * channels; ++i)
            picture.pixels.push_back(static_cast<std::uint8_t>(i * 5));
        WritePng(folder.Path("a.png"), picture);
        const Picture read = ReadPng(folder.Path("a.png"));
        EXPECT_EQ(read.width, 5U);
        EXPECT_EQ(read.height, 3U);
        EXPECT_EQ(read.channels, channels);
        EXPECT_EQ(read.pixels, picture.pixels);
    }
}

TEST(Png, NamesTheFileThatCannotBeWritten)
{
    const Picture picture{1, 1, 1, {0}};
    try {
        WritePng("/nowhere/a.png", picture);
        FAIL() << "written";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "can't write /nowhere/a.png: No such file or directory");
    }
}

} // namespace
} // namespace zevo_tool
