#include "producer/producer_search.h"

#include <gmock/gmock.h>

#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ProducerSearch, FindsProducersInTheOrderOfTheFolders)
{
    const TemporaryFolder first;
    const TemporaryFolder second;
    first.Write("b.cti", "");
    first.Write("a.cti", "");
    first.Write("a.cti.txt", "");
    second.Write("c.cti", "");
    const std::string folders = second.Path() + "::" + first.Path() + ":" + second.Path() + "/.";
    const ProducerSearch search = SearchProducers(folders.c_str());
    EXPECT_THAT(search.files,
                ElementsAre(second.Path("c.cti"), first.Path("a.cti"), first.Path("b.cti")));
    EXPECT_THAT(search.problems, IsEmpty());
}

TEST(ProducerSearch, TellsWhyThereIsNone)
{
    const TemporaryFolder empty;
    const std::string folders = "/nowhere:" + empty.Path();
    EXPECT_THAT(SearchProducers(nullptr).problems, ElementsAre(HasSubstr("isn't set")));
    EXPECT_THAT(SearchProducers("").problems, ElementsAre(HasSubstr("is empty")));
    EXPECT_THAT(
        SearchProducers(folders.c_str()).problems,
        ElementsAre("/nowhere: No such file or directory", empty.Path() + " has no *.cti file"));
}

} // namespace
} // namespace zevo_tool
