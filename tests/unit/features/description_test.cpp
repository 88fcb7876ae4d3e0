// The GenICam descriptions against the published schema and against the register tables.
#include "description_file.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "features/bootstrap_registers.h"
#include "features/pixel_formats.h"
#include "features/register_table.h"

namespace GenTLProducer
{
namespace
{

constexpr const char* kFiles[] = {"genicam.xml", "System.xml", "Interface.xml", "DeviceMCM.xml",
                                  "DataStreamMCM.xml"};

const DescriptionFile& Remote()
{
    static const DescriptionFile file("genicam.xml");
    return file;
}

/// Order of the children by the schema, version 1.1.
const std::string kHead =
    "Extension ToolTip Description DisplayName Visibility DocuURL "
    "IsDeprecated EventID pIsImplemented pIsAvailable pIsLocked pBlockPolling "
    "ImposedAccessMode pError pAlias pCastAlias ";
const std::map<std::string, std::string> kSchema = {
    {"Category", "pInvalidator pFeature"},
    {"Integer", "pInvalidator Streamable Value pValue pIndex ValueIndexed "
                "ValueDefault pValueDefault Min pMin Max pMax Inc pInc Unit Representation "
                "ValidValueSet pSelected"},
    {"Float", "pInvalidator Streamable Value pValue pIndex ValueIndexed "
              "ValueDefault pValueDefault Min pMin Max pMax Inc pInc Unit Representation "
              "DisplayNotation DisplayPrecision"},
    {"Boolean", "pInvalidator Streamable Value pValue OnValue OffValue pSelected"},
    {"Command", "pInvalidator Value pValue CommandValue pCommandValue PollingTime"},
    {"Enumeration", "pInvalidator Streamable EnumEntry Value pValue pSelected PollingTime"},
    {"EnumEntry", "pInvalidator Value NumericValue Symbolic IsSelfClearing"},
    {"String", "pInvalidator Streamable Value pValue"},
    {"Converter", "pInvalidator Streamable pVariable Constant Expression FormulaTo FormulaFrom "
                  "pValue Unit Representation DisplayNotation DisplayPrecision Slope IsLinear"},
    {"IntSwissKnife", "pInvalidator Streamable pVariable Constant Expression Formula Unit "
                      "Representation"},
    {"IntReg", "Streamable Address IntSwissKnife pAddress pIndex Length pLength AccessMode pPort "
               "Cachable PollingTime pInvalidator Sign Endianess Unit Representation pSelected"},
    {"StringReg", "Streamable Address IntSwissKnife pAddress pIndex Length pLength AccessMode "
                  "pPort Cachable PollingTime pInvalidator"},
    {"Port", "pInvalidator ChunkID pChunkID SwapEndianess CacheChunkData"},
};

/// Calls the check with every node of every file, entries among them.
void ForEachNode(const std::function<void(const DescriptionFile&, const DescriptionNode&)>& check)
{
    for (const char* name : kFiles) {
        const DescriptionFile file(name);
        EXPECT_GT(file.nodes.size(), 30u);
        for (const DescriptionNode& node : file.nodes) {
            SCOPED_TRACE(name + (": " + node.name));
            check(file, node);
            for (const DescriptionNode& entry : node.entries)
                check(file, entry);
        }
    }
}

TEST(Descriptions, KeepTheOrderOfTheSchema)
{
    ForEachNode([](const DescriptionFile& file, const DescriptionNode& node) {
        EXPECT_NE(file.text.find("SchemaMajorVersion=\"1\""), std::string::npos);
        EXPECT_NE(file.text.find("SchemaMinorVersion=\"1\""), std::string::npos);
        EXPECT_NE(file.text.find("VendorName=\"Tolmen\""), std::string::npos);
        std::istringstream words(kHead + kSchema.at(node.kind));
        const std::vector<std::string> order(std::istream_iterator<std::string>(words), {});
        auto place = order.begin();
        for (const auto& [child, text] : node.elements) {
            // Constants and references may follow each other in any order.
            place =
                std::find(place, order.end(), child == "pValueIndexed" ? "ValueIndexed" : child);
            ASSERT_NE(place, order.end()) << child;
        }
    });
}

// An element whose name begins with a small p refers to a node.
TEST(Descriptions, ReferToNodesThatExistOnce)
{
    ForEachNode([](const DescriptionFile& file, const DescriptionNode& node) {
        EXPECT_EQ(file.byName.size(), file.nodes.size()) << "a name stands twice";
        EXPECT_TRUE(std::regex_match(node.name, std::regex("[A-Za-z][0-9A-Za-z_]*")));
        for (const auto& [element, text] : node.elements)
            EXPECT_TRUE(element[0] != 'p' || file.find(text) != nullptr) << element << " " << text;
    });
}

TEST(Descriptions, HoldValuesOfTheSchema)
{
    const std::map<std::string, std::set<std::string>> kValues = {
        {"Visibility", {"Beginner", "Expert", "Guru", "Invisible"}},
        {"AccessMode", {"RO", "WO", "RW"}},
        {"ImposedAccessMode", {"RO", "WO", "RW"}},
        {"Cachable", {"WriteThrough", "WriteAround", "NoCache"}},
        {"Sign", {"Signed", "Unsigned"}},
        {"Endianess", {"LittleEndian"}},
        {"Streamable", {"Yes", "No"}},
        {"Representation", {"Linear", "Logarithmic", "PureNumber", "HexNumber"}},
        {"Slope", {"Automatic"}},
        {"DisplayNotation", {"Fixed"}},
    };
    ForEachNode([&](const DescriptionFile&, const DescriptionNode& node) {
        for (const auto& [element, text] : node.elements) {
            const auto values = kValues.find(element);
            EXPECT_TRUE(values == kValues.end() || values->second.count(text) == 1) << text;
        }
    });
}

// Every feature is found by a consumer: it hangs in one category, or more, of the tree.
TEST(Descriptions, PutEveryFeatureIntoACategory)
{
    const std::set<std::string> kOutside = {
        "Root",
        "DeviceAccessStatus",
        "IsGevInterface",
        "AnnounceAnytimeEnable",
        "AutoBufferProperties",
        "BufferParamsIsLocked",
        "StreamGrabberIsLocked",
    };
    ForEachNode([&](const DescriptionFile& file, const DescriptionNode& node) {
        if (node.kind == "EnumEntry" || node.kind == "Port")
            return;
        const bool isMember =
            file.text.find("<pFeature>" + node.name + "</pFeature>") != std::string::npos;
        if (node.has("Visibility") && kOutside.count(node.name) == 0) {
            EXPECT_TRUE(isMember);
        }
        if (isMember) {
            EXPECT_TRUE(node.has("DisplayName") && node.has("Description"));
        }
    });
}

/// Kind, access and length of a register's node.
using Access = std::tuple<std::string, std::string, std::uint32_t>;

Access AccessOf(const RegisterShape& shape)
{
    const RegisterFamily family = shape.family;
    const bool isText = family == RegisterFamily::StringRO || family == RegisterFamily::StringRW;
    const bool isReadOnly = family == RegisterFamily::BoolRO || family == RegisterFamily::EnumRO ||
                            family == RegisterFamily::NumericRO ||
                            family == RegisterFamily::StringRO;
    const char* const writable = shape.isReadLocked ? "WO" : "RW";
    return {isText ? "StringReg" : "IntReg", isReadOnly ? "RO" : writable, ValueSize(shape)};
}

TEST(RemoteDescription, HasEachRegisterOfTheTablesOnceAndNoOther)
{
    std::map<std::uint32_t, Access> values, companions;
    const auto expect = [&](std::uint32_t address, const RegisterShape& shape) {
        const std::uint32_t value = address + PrefixSize(shape);
        for (; address < value; address += 4)
            companions[address] = {"IntReg", "RO", 4};
        // The 64-bit words of the bootstrap map have no node.
        if (shape.family != RegisterFamily::Uint64RO)
            values[value] = AccessOf(shape);
    };
    for (const BootstrapRow& row : BootstrapRegisterRows())
        expect(row.address, row.shape);
    for (const RegisterRow& row : DeviceRegisterRows())
        expect(row.address, row.shape);
    for (const DescriptionNode& node : Remote().nodes) {
        if (!node.has("Address"))
            continue;
        const std::uint32_t address = node.number("Address");
        auto& expected = values.count(address) != 0 ? values : companions;
        ASSERT_EQ(expected.count(address), 1u) << node.name;
        EXPECT_EQ(Access(node.kind, node["AccessMode"], node.number("Length")), expected[address])
            << node.name;
        EXPECT_EQ(node["pPort"], "Device") << node.name;
        expected.erase(address);
    }
    EXPECT_TRUE(values.empty()) << std::hex << values.begin()->first;
}

TEST(RemoteDescription, StreamsTheFeaturesThatTakeUncheckedValues)
{
    const auto isFeature = [](Role role) { return role == Role::Feature || role == Role::Live; };
    std::map<std::uint32_t, Role> roles;
    for (const RegisterRow& row : DeviceRegisterRows())
        roles[row.address + PrefixSize(row.shape)] = row.behaviour.role;
    std::set<std::uint32_t> reached;
    for (const DescriptionNode& node : Remote().nodes) {
        if (!node.has("Visibility"))
            continue;
        for (const std::uint32_t address : Remote().registersOf(&node)) {
            const Role role = roles.count(address) != 0 ? roles[address] : Role::Word;
            EXPECT_EQ(node["Streamable"] == "Yes", isFeature(role)) << node.name;
            EXPECT_EQ(node.kind == "Command", role == Role::Command) << node.name;
            reached.insert(address);
        }
    }
    for (const auto& [address, role] : roles)
        EXPECT_TRUE(!isFeature(role) || reached.count(address) != 0) << std::hex << address;
}

TEST(RemoteDescription, PixelFormatEntriesAreTheTable)
{
    const DescriptionNode* format = Remote().find("PixelFormat");
    ASSERT_NE(format, nullptr);
    ASSERT_EQ(format->entries.size(), kPixelFormatCount);
    for (std::uint32_t i = 0; i < kPixelFormatCount; ++i) {
        const DescriptionNode& entry = format->entries[i];
        EXPECT_EQ(entry.number("Value"), kPixelFormatValues[i]) << entry.name;
        const DescriptionNode* word = Remote().find(entry["pIsAvailable"]);
        ASSERT_NE(word, nullptr) << entry.name;
        EXPECT_EQ(word->number("Address"), 0x100004cc + 4 * i) << entry.name;
    }
}

// What a consumer may cache for good, and what it has to read afresh.
TEST(RemoteDescription, CachesOnlyWhatNeverChanges)
{
    const std::regex kFixed("PixelFormat_.*_AvailableReg|(Width|Height)_(Min|Max|Inc)Reg|"
                            "Offset[XY]_MinReg|(Width|Height)Max_Reg|TlmScalingFactor_IncReg|"
                            "TriggerMode._Off_AvailableReg");
    for (const DescriptionNode& node : Remote().nodes) {
        if (!node.has("Address"))
            continue;
        const bool isCommand = node["AccessMode"] == "WO" || node.name == "DeviceReset_Reg";
        const bool isLive = !isCommand && !std::regex_match(node.name, kFixed);
        EXPECT_EQ(node["Cachable"], isLive ? "NoCache" : "") << node.name;
        EXPECT_EQ(node["PollingTime"], isLive ? "1000" : "") << node.name;
    }
}

} // namespace
} // namespace GenTLProducer
