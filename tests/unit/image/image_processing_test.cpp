#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include "../support/outcome.h"
#include "base/pfnc.h"
#include "image/ap1302_image_processing.h"
#include "image/copy_processing.h"
#include "image/yuv420_image_processing.h"

namespace V4lX
{
namespace
{

namespace Pfnc = GenTLProducer::Pfnc;

using testing::ElementsAreArray;

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUntouched = 0xEE;

/// Destination bytes behind one Process, the source and the destination being heap blocks of
/// exactly the sizes given.
Bytes Processed(IImageProcessing& processing, const Bytes& source, std::size_t destinationSize)
{
    Bytes destination(destinationSize, kUntouched);
    EXPECT_TRUE(processing.Process(source.data(), destination.data(), source.size()));
    return destination;
}

Bytes Counting(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    return bytes;
}

TEST(CopyProcessing, CopiesTheSmallerOfFrameAndPayload)
{
    CopyProcessing copy;
    copy.Prepare({4, 2, 0, 99}, {4, 2, 0, 8});
    for (const std::size_t size : {0u, 1u, 7u, 8u, 9u, 99u}) {
        Bytes expected(8, kUntouched);
        const Bytes source = Counting(size);
        std::copy_n(source.begin(), std::min<std::size_t>(size, 8), expected.begin());
        EXPECT_EQ(Processed(copy, source, 8), expected) << size;
    }
}

TEST(CopyProcessing, BothSidesMustHaveOneSize)
{
    const struct {
        ImageProperties source;
        const char* text;
    } rows[] = {
        {{4, 2, 0, 8}, ""},
        {{5, 2, 0, 8}, "dstImageProperties.width != srcImageProperties.width"},
        {{4, 3, 0, 8}, "dstImageProperties.height != srcImageProperties.height"},
        {{3, 1, 0, 8}, "dstImageProperties.width != srcImageProperties.width"},
    };
    for (const auto& row : rows) {
        CopyProcessing copy;
        EXPECT_EQ(errorOf([&] { copy.Prepare(row.source, {4, 2, 0, 8}); }), row.text);
    }
}

TEST(Yuv420ImageProcessing, SortsAPairOfLinesIntoPlanes)
{
    enum : std::uint8_t { y0 = 0x10, y1, y2, y3, y4, y5, y6, y7, u0 = 0x40, u1, v0 = 0x80, v1 };
    Yuv420ImageProcessing yuv420;
    yuv420.Prepare({4, 2, 0, 12}, {4, 2, 0, 12});
    EXPECT_THAT(Processed(yuv420, {y0, y1, y2, y3, u0, y4, v0, y5, u1, y6, v1, y7}, 12),
                ElementsAreArray({y0, y1, y2, y3, y4, y5, y6, y7, u0, v0, u1, v1}));
}

TEST(Yuv420ImageProcessing, KeepsEveryPixelInItsPlace)
{
    std::mt19937 random(20);
    for (const std::size_t width : {2u, 6u, 64u, 130u}) {
        for (const std::size_t height : {2u, 4u, 10u}) {
            Bytes source(width * height * 3 / 2);
            for (std::uint8_t& byte : source)
                byte = static_cast<std::uint8_t>(random());
            Yuv420ImageProcessing yuv420;
            const ImageProperties image = {static_cast<std::uint32_t>(width),
                                           static_cast<std::uint32_t>(height), 0, source.size()};
            yuv420.Prepare(image, image);
            const Bytes result = Processed(yuv420, source, source.size());
            for (std::size_t y = 0; y < height; ++y) {
                for (std::size_t x = 0; x < width; ++x) {
                    const std::size_t pair = y / 2 * 3 * width;
                    const std::size_t luma = y % 2 == 0 ? pair + x : pair + width + 2 * x + 1;
                    const std::size_t chroma = pair + width + 2 * x;
                    ASSERT_EQ(result[y * width + x], source[luma]);
                    ASSERT_EQ(result[width * height + y / 2 * width + x], source[chroma]);
                }
            }
        }
    }
}

TEST(Yuv420ImageProcessing, WhatIsNoWholeImageOfEvenSizeIsCopied)
{
    const struct {
        const char* name;
        ImageProperties image;
        std::size_t sourcePayload;
        std::size_t size;
        std::size_t copied;
    } rows[] = {
        {"a byte short", {4, 2, 0, 12}, 12, 11, 11},
        {"a byte long", {4, 2, 0, 12}, 12, 13, 12},
        {"empty", {4, 2, 0, 12}, 12, 0, 0},
        {"odd width", {3, 2, 0, 9}, 9, 9, 9},
        {"odd height", {4, 3, 0, 18}, 18, 18, 18},
        {"destination too small", {4, 2, 0, 11}, 12, 12, 11},
        {"source too small", {4, 2, 0, 12}, 11, 11, 11},
        {"product beyond 64 bits", {0xFFFFFFFE, 0xFFFFFFFE, 0, 12}, 12, 12, 12},
    };
    for (const auto& row : rows) {
        Yuv420ImageProcessing yuv420;
        ImageProperties source = row.image;
        source.payloadSize = row.sourcePayload;
        yuv420.Prepare(source, row.image);
        const Bytes bytes = Counting(row.size);
        Bytes expected(row.image.payloadSize, kUntouched);
        std::copy_n(bytes.begin(), row.copied, expected.begin());
        EXPECT_EQ(Processed(yuv420, bytes, expected.size()), expected) << row.name;
    }
}

TEST(AP1302ImageProcessing, FormatsSelectTheOperation)
{
    const struct {
        std::uint32_t pfncValue;
        std::uint32_t fourcc;
        bool converts;
    } rows[] = {
        {Pfnc::YUV422_8_UYVY, V4L2_PIX_FMT_UYVY, false},
        {Pfnc::YCbCr420_8_YY_CbCr_Semiplanar, V4L2_PIX_FMT_NV12, true},
        {Pfnc::YUV422_8, V4L2_PIX_FMT_YUYV, false},
    };
    const Bytes source = {1, 2, 3, 4, 5, 6};
    AP1302ImageProcessing processing;
    for (const auto& row : rows) {
        processing.Prepare({2, 2, row.fourcc, 6}, {2, 2, row.pfncValue, 6});
        EXPECT_EQ(Processed(processing, source, 6),
                  row.converts ? (Bytes{1, 2, 4, 6, 3, 5}) : source);
    }
}

TEST(AP1302ImageProcessing, PairWithoutOperationIsRefusedAndDoesNothing)
{
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {
        {Pfnc::YUV422_8_UYVY, V4L2_PIX_FMT_YUYV},
        {Pfnc::YUV422_8, V4L2_PIX_FMT_NV12},
        {Pfnc::Mono8, V4L2_PIX_FMT_SBGGR8},
        {0, 0},
    };
    AP1302ImageProcessing processing;
    for (const auto& [pfncValue, fourcc] : rows) {
        processing.Prepare({2, 2, V4L2_PIX_FMT_UYVY, 8}, {2, 2, Pfnc::YUV422_8_UYVY, 8});
        EXPECT_THROW(processing.Prepare({2, 2, fourcc, 8}, {2, 2, pfncValue, 8}),
                     UnsupportedFormats);
        EXPECT_EQ(Processed(processing, Counting(8), 8), Bytes(8, kUntouched));
    }
}

} // namespace
} // namespace V4lX
