#include "genapi/description.h"

#include <gtest/gtest.h>

#include "failure.h"
#include "genapi/feature_map.h"

namespace zevo_tool
{
namespace
{

TEST(DescriptionUrl, ReadsWhatProducersPublish)
{
    using Scheme = DescriptionUrl::Scheme;
    const struct {
        const char* url;
        DescriptionUrl expected;
    } kRows[] = {
        {"local:genicam.xml;1000;2a", {Scheme::Local, "genicam.xml", 0x1000, 0x2a}},
        {"local:///a;b.zip;0xF0000000;0x10", {Scheme::Local, "a;b.zip", 0xf0000000, 0x10}},
        {"Local:a.xml;1;2?SchemaVersion=1.1.0", {Scheme::Local, "a.xml", 1, 2}},
        {"file:///tmp/a%20b.xml?SchemaVersion=1.0.0", {Scheme::File, "/tmp/a b.xml", 0, 0}},
        {"file:relative.xml", {Scheme::File, "relative.xml", 0, 0}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.url);
        const DescriptionUrl url = ParseDescriptionUrl(row.url);
        EXPECT_EQ(url.scheme, row.expected.scheme);
        EXPECT_EQ(url.name, row.expected.name);
        EXPECT_EQ(url.address, row.expected.address);
        EXPECT_EQ(url.size, row.expected.size);
    }
}

TEST(DescriptionUrl, RefusesOthers)
{
    for (const char* url :
         {"", "http://example.org/a.xml", "local:a.xml", "local:a.xml;12", "local:;;",
          "local:a.xml;12;zz", "local:a.xml;12;1ffffffffffffffff", "file:", "file://"})
        EXPECT_THROW(ParseDescriptionUrl(url), Failure) << url;
}

TEST(Description, IsRefusedWhenItIsNone)
{
    class NoPort final : public Port
    {
        void Read(std::uint64_t, void*, std::size_t) override { throw Failure("read"); }
        void Write(std::uint64_t, const void*, std::size_t) override { throw Failure("written"); }
    };
    NoPort port;
    for (const char* text : {"", "<a/>", "<RegisterDescription/>"})
        EXPECT_THROW(FeatureMap(port, text), Failure) << text;
}

} // namespace
} // namespace zevo_tool
