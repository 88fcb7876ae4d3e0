#include "grab/picture_writer.h"

#include <gtest/gtest.h>

#include "failure.h"
#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

constexpr std::uint64_t kMono8 = 0x01080001;

std::size_t NumberOfFiles(const std::string& folder)
{
    const std::filesystem::directory_iterator first(folder);
    return static_cast<std::size_t>(std::distance(first, std::filesystem::directory_iterator()));
}

TEST(PictureWriter, WritesEveryFrameIntoANewFolder)
{
    const TemporaryFolder folder;
    PictureWriter writer(folder.Path("deep/down"));
    for (std::uint8_t i = 0; i < 50; ++i) {
        const std::vector<std::uint8_t> data(64, i); // gone before the file is written
        writer.Write(i, {kMono8, 8, 8, 0, data.data(), data.size()});
    }
    writer.Finish();
    EXPECT_EQ(NumberOfFiles(folder.Path("deep/down")), 50U);
    EXPECT_TRUE(std::filesystem::exists(folder.Path("deep/down/frame-000049.png")));
}

TEST(PictureWriter, TellsAFailureAtTheEnd)
{
    const TemporaryFolder folder;
    PictureWriter writer(folder.Path());
    const std::uint8_t pixel = 0;
    writer.Write(0, {kMono8, 8, 8, 0, &pixel, 1});
    EXPECT_THROW(writer.Finish(), Failure);
    EXPECT_EQ(NumberOfFiles(folder.Path()), 0U);
}

} // namespace
} // namespace zevo_tool
