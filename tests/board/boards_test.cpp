// What sets the boards apart, as a consumer sees it.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "camera.h"
#include "frame_number.h"

namespace
{

using namespace GenTLProducer;

constexpr uint64_t kValidity = 0x100004cc;
constexpr uint64_t kWidthLimits = remote::kWidth - 12;

struct Board {
    const char* name;
    uint32_t minWidth;
    uint32_t maxWidth;
    uint32_t increment;
    std::vector<uint32_t> formats;
};

const Board kBoards[] = {
    // clang-format off
    {"generic",    96, 2592,   8, {Pfnc::YUV422_8, Pfnc::YUV422_8_UYVY,
                                   Pfnc::YCbCr420_8_YY_CbCr_Semiplanar}},
    {"imx8mm",     96, 2592,   8, {Pfnc::YUV422_8_UYVY, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar}},
    {"imx8mq",     96, 2592,   8, {Pfnc::YUV422_8_UYVY}},
    {"imx8mp",     96, 2592,   8, {Pfnc::YUV422_8}},
    {"imx8mp-viv", 96, 2592,   8, {Pfnc::YUV422_8}},
    {"nvidia",     96, 2592,  32, {Pfnc::YUV422_8_UYVY}},
    {"nvidia-tx2", 128, 2560, 128, {Pfnc::YUV422_8_UYVY}},
    // clang-format on
};

// The row of the board that the test was started on.
const Board& thisBoard()
{
    const char* name = std::getenv("ZEVO_TEST_BOARD");
    for (const Board& board : kBoards) {
        if (name && name == std::string(board.name))
            return board;
    }
    throw std::runtime_error("no row for this board");
}

} // namespace

TEST(Boards, LimitsAndFormatsAreThoseOfCameraAndBoard)
{
    const Board& board = thisBoard();
    const OpenDevice camera;
    EXPECT_EQ(camera.numDevices(), 1u);
    EXPECT_EQ(camera.read(kWidthLimits), board.minWidth);
    EXPECT_EQ(camera.read(kWidthLimits + 4), board.maxWidth);
    EXPECT_EQ(camera.read(kWidthLimits + 8), board.increment);
    EXPECT_EQ(camera.read(remote::kWidth), board.maxWidth);
    EXPECT_EQ(camera.read(remote::kHeight), 1944u);
    EXPECT_EQ(camera.write(remote::kWidth, board.minWidth + board.increment / 2), GC_ERR_ERROR);
    unsigned valid = 0;
    for (unsigned index = 0; index < 32; ++index)
        valid += camera.read(kValidity + 4 * index);
    EXPECT_EQ(valid, board.formats.size());
}

TEST(Boards, EveryFormatArrivesInEveryWidth)
{
    const Board& board = thisBoard();
    for (const uint32_t format : board.formats) {
        for (const uint32_t width :
             {board.minWidth, board.minWidth + board.increment, board.maxWidth}) {
            Streaming camera;
            ASSERT_EQ(camera.write(remote::kPixelFormat, format), GC_ERR_SUCCESS);
            camera.setSize(width, 1944);
            camera.start(3);
            const BUFFER_HANDLE buffer = camera.take();
            ASSERT_TRUE(buffer) << lastError();
            EXPECT_EQ(camera.info(buffer, BUFFER_INFO_PIXELFORMAT), format);
            EXPECT_EQ(camera.info(buffer, BUFFER_INFO_WIDTH), width);
            EXPECT_TRUE(numberIn(camera, buffer)) << std::hex << format << " " << std::dec << width;
            camera.stop();
        }
    }
}
