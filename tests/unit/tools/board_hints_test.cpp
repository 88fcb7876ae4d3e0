#include "board_hints.h"

#include <gmock/gmock.h>

#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;
using testing::StartsWith;

TEST(BoardHints, SayWhichNodesAreMissingUnusableOrThere)
{
    const TemporaryFolder folder;
    folder.Write("media0", "");
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(StartsWith("there is no " + folder.Path() + "/video* node")));
    // Root may open everything, so a link to nowhere stands for a node that can't be opened.
    std::filesystem::create_symlink("/nowhere/at/all", folder.Path("video0"));
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(folder.Path("video0") + ": No such file or directory"));
    std::filesystem::remove(folder.Path("video0"));
    folder.Write("video0", "");
    folder.Write("video1", "");
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(StartsWith(folder.Path("video0") + " and its like are there")));
}

} // namespace
} // namespace zevo_tool
