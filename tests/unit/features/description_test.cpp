// The GenICam descriptions against the published schema and against the register tables.
#include "description_file.h"

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

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
struct SchemaRow {
    const char* kind;
    const char* elements;
};

constexpr char kHead[] = "Extension ToolTip Description DisplayName Visibility DocuURL "
                         "IsDeprecated EventID pIsImplemented pIsAvailable pIsLocked pBlockPolling "
                         "ImposedAccessMode pError pAlias pCastAlias ";
constexpr SchemaRow kSchema[] = {
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

std::vector<std::string> SchemaOrder(const std::string& kind)
{
    std::vector<std::string> order;
    for (const SchemaRow& row : kSchema) {
        if (kind != row.kind)
            continue;
        std::istringstream words(std::string(kHead) + row.elements);
        for (std::string word; words >> word;)
            order.push_back(word);
    }
    return order;
}

void CheckOrder(const DescriptionNode& node)
{
    const std::vector<std::string> order = SchemaOrder(node.kind);
    ASSERT_FALSE(order.empty()) << "unknown element " << node.kind;
    auto place = order.begin();
    for (const std::string& child : node.order) {
        // Constants and references may follow each other in any order.
        const auto next =
            std::find(place, order.end(), child == "pValueIndexed" ? "ValueIndexed" : child);
        ASSERT_NE(next, order.end()) << child << " of " << node.name;
        place = next;
    }
    for (const DescriptionNode& entry : node.entries)
        CheckOrder(entry);
}

TEST(Descriptions, KeepTheOrderOfTheSchema)
{
    for (const char* name : kFiles) {
        SCOPED_TRACE(name);
        const DescriptionFile file(name);
        EXPECT_GT(file.nodes.size(), 30u);
        for (const DescriptionNode& node : file.nodes)
            CheckOrder(node);
        EXPECT_EQ(file.attributes.at("SchemaMajorVersion"), "1");
        EXPECT_EQ(file.attributes.at("SchemaMinorVersion"), "1");
        EXPECT_EQ(file.attributes.at("VendorName"), "Tolmen");
    }
}

// An element whose name begins with a small p refers to a node.
void CheckReferences(const DescriptionFile& file, const DescriptionNode& node)
{
    for (const auto& [element, text] : node.elements) {
        if (element[0] == 'p') {
            EXPECT_NE(file.find(text), nullptr) << element << " of " << node.name << ": " << text;
        }
    }
    for (const DescriptionNode& entry : node.entries)
        CheckReferences(file, entry);
}

TEST(Descriptions, ReferToNodesThatExist)
{
    const std::regex kName("[A-Za-z][0-9A-Za-z_]*");
    for (const char* name : kFiles) {
        SCOPED_TRACE(name);
        const DescriptionFile file(name);
        EXPECT_EQ(file.byName.size(), file.nodes.size()) << "a name stands twice";
        for (const DescriptionNode& node : file.nodes) {
            EXPECT_TRUE(std::regex_match(node.name, kName)) << node.name;
            CheckReferences(file, node);
        }
    }
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
    for (const char* name : kFiles) {
        for (const DescriptionNode& node : DescriptionFile(name).nodes) {
            for (const auto& [element, text] : node.elements) {
                const auto values = kValues.find(element);
                if (values != kValues.end()) {
                    EXPECT_EQ(values->second.count(text), 1u) << node.name << ": " << text;
                }
            }
        }
    }
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
    for (const char* name : kFiles) {
        const DescriptionFile file(name);
        std::set<std::string> members;
        for (const DescriptionNode& node : file.nodes) {
            for (const auto& [element, text] : node.elements) {
                if (element == "pFeature")
                    members.insert(text);
            }
        }
        for (const DescriptionNode& node : file.nodes) {
            const bool isFeature = node.has("Visibility") && node.kind != "Port";
            if (isFeature && kOutside.count(node.name) == 0) {
                EXPECT_EQ(members.count(node.name), 1u) << name << ": " << node.name;
            }
            if (members.count(node.name) != 0) {
                EXPECT_TRUE(node.has("DisplayName") && node.has("Description")) << node.name;
            }
        }
    }
}

/// A register of the remote device, of either table.
struct TableRegister {
    std::uint32_t address;
    RegisterShape shape;

    std::uint32_t value() const { return address + PrefixSize(shape); }
    std::uint32_t end() const { return value() + ValueSize(shape); }
};

std::vector<TableRegister> TableRegisters()
{
    std::vector<TableRegister> registers;
    for (const BootstrapRow& row : BootstrapRegisterRows())
        registers.push_back({row.address, row.shape});
    for (const RegisterRow& row : DeviceRegisterRows())
        registers.push_back({row.address, row.shape});
    return registers;
}

bool IsReadOnly(RegisterFamily family)
{
    return family == RegisterFamily::BoolRO || family == RegisterFamily::NumericRO ||
           family == RegisterFamily::EnumRO || family == RegisterFamily::StringRO ||
           family == RegisterFamily::Uint64RO;
}

bool IsText(RegisterFamily family)
{
    return family == RegisterFamily::StringRO || family == RegisterFamily::StringRW;
}

std::string AccessOf(const TableRegister& target, std::uint32_t address)
{
    if (IsReadOnly(target.shape.family) || address < target.value())
        return "RO";
    return target.shape.isReadLocked ? "WO" : "RW";
}

TEST(RemoteDescription, HasOnlyRegistersOfTheTables)
{
    const std::vector<TableRegister> registers = TableRegisters();
    for (const DescriptionNode& node : Remote().nodes) {
        if (node.kind != "IntReg" && node.kind != "StringReg")
            continue;
        const auto address = static_cast<std::uint32_t>(node.number("Address"));
        const auto target =
            std::find_if(registers.begin(), registers.end(), [address](const TableRegister& r) {
                return address >= r.address && address < r.end();
            });
        ASSERT_NE(target, registers.end()) << node.name;
        EXPECT_EQ(node.kind == "StringReg", IsText(target->shape.family)) << node.name;
        EXPECT_EQ((address - target->address) % 4, 0u) << node.name;
        EXPECT_EQ(node["AccessMode"], AccessOf(*target, address)) << node.name;
        EXPECT_EQ(node.number("Length"),
                  IsText(target->shape.family) ? ValueSize(target->shape) : 4)
            << node.name;
        EXPECT_EQ(node["pPort"], "Device");
    }
}

TEST(RemoteDescription, ReachesTheValueOfEveryRegister)
{
    std::map<std::uint32_t, int> nodes;
    for (const DescriptionNode& node : Remote().nodes) {
        if (node.has("Address"))
            ++nodes[static_cast<std::uint32_t>(node.number("Address"))];
    }
    for (const TableRegister& target : TableRegisters()) {
        // The 64-bit words of the bootstrap map have no node.
        const int expected = target.shape.family == RegisterFamily::Uint64RO ? 0 : 1;
        EXPECT_EQ(nodes[target.value()], expected) << std::hex << target.address;
    }
    for (const auto& [address, count] : nodes)
        EXPECT_LE(count, 1) << std::hex << address << " stands twice";
}

TEST(RemoteDescription, StreamsTheFeaturesThatTakeUncheckedValues)
{
    std::map<std::uint32_t, Role> roles;
    std::set<std::uint32_t> unreached;
    for (const RegisterRow& row : DeviceRegisterRows()) {
        const Role role = row.behaviour.role;
        roles[row.address + PrefixSize(row.shape)] = role;
        if (role == Role::Feature || role == Role::Live)
            unreached.insert(row.address + PrefixSize(row.shape));
    }
    for (const DescriptionNode& node : Remote().nodes) {
        if (!node.has("Visibility"))
            continue;
        for (const std::uint32_t address : Remote().registersOf(&node)) {
            const auto role = roles.find(address);
            const bool isKnown = role != roles.end();
            const bool isFeature =
                isKnown && (role->second == Role::Feature || role->second == Role::Live);
            EXPECT_EQ(node["Streamable"] == "Yes", isFeature) << node.name;
            EXPECT_EQ(node.kind == "Command", isKnown && role->second == Role::Command)
                << node.name;
            unreached.erase(address);
        }
    }
    EXPECT_TRUE(unreached.empty()) << std::hex << *unreached.begin();
}

/// Checks a limit of an integer: a constant of the table's, or the companion word.
void CheckLimit(const DescriptionNode& node, const char* limit, std::uint32_t word,
                std::int64_t constant)
{
    if (node.has(limit)) {
        EXPECT_EQ(std::stoll(node[limit], nullptr, 0), constant) << limit << " of " << node.name;
        return;
    }
    const DescriptionNode* companion = Remote().find(node[std::string("p") + limit]);
    ASSERT_NE(companion, nullptr) << limit << " of " << node.name;
    EXPECT_EQ(companion->number("Address"), word) << limit << " of " << node.name;
}

TEST(RemoteDescription, LimitsAreThoseOfTheRegisters)
{
    int checked = 0;
    for (const RegisterRow& row : DeviceRegisterRows()) {
        if (row.shape.family != RegisterFamily::NumericRW &&
            row.shape.family != RegisterFamily::IntRW)
            continue;
        for (const DescriptionNode& node : Remote().nodes) {
            const std::vector<std::uint32_t> targets = Remote().registersOf(&node);
            if (node.kind != "Integer" || !(node.has("Min") || node.has("pMin")) ||
                std::find(targets.begin(), targets.end(), row.address + PrefixSize(row.shape)) ==
                    targets.end())
                continue;
            CheckLimit(node, "Min", row.address, row.shape.limits.min);
            CheckLimit(node, "Max", row.address + 4, row.shape.limits.max);
            CheckLimit(node, "Inc", row.address + 8, row.shape.limits.inc);
            ++checked;
        }
    }
    EXPECT_EQ(checked, 28);
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
