#include "board_hints.h"

#include <gmock/gmock.h>

#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(BoardHints, NameTheNodeThatIsMissing)
{
    const TemporaryFolder folder;
    folder.Write("media0", "");
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(HasSubstr("no " + folder.Path() + "/video* node")));
}

TEST(BoardHints, NameTheNodeThatCannotBeUsed)
{
    const TemporaryFolder folder;
    // Root may open everything, so a link to nowhere stands for a node that can't be opened.
    std::filesystem::create_symlink("/nowhere/at/all", folder.Path("video0"));
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(AllOf(HasSubstr(folder.Path("video0")), HasSubstr("No such file"))));
}

TEST(BoardHints, SayThatNodesAreThere)
{
    const TemporaryFolder folder;
    folder.Write("video0", "");
    folder.Write("video1", "");
    EXPECT_THAT(BoardHints(folder.Path()),
                ElementsAre(HasSubstr(folder.Path("video0") + " and its like are there")));
}

} // namespace
} // namespace zevo_tool
