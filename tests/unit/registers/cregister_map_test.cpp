#include "registers/space/cregister_map.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "registers/space/register_data.h"

namespace GenTLProducer
{
namespace
{

constexpr std::uint32_t kNone = 0;
constexpr std::uint32_t kRead = CRegisterMap::kReadable;
constexpr std::uint32_t kWrite = CRegisterMap::kWritable;
constexpr std::uint64_t kTop = 0xFFFFFFFFFFFFFFFE;

/// Result of an access: kind of exception and its text, or empty.
template <typename Function>
std::string Outcome(Function access)
{
    try {
        access();
    } catch (const CRegisterMap::access_error& error) {
        return std::string("access: ") + error.what();
    } catch (const std::invalid_argument& error) {
        return std::string("invalid: ") + error.what();
    } catch (const std::out_of_range& error) {
        return std::string("range: ") + error.what();
    } catch (const std::runtime_error& error) {
        return std::string("runtime: ") + error.what();
    }
    return {};
}

/// What TryUserRead tells in place of that outcome.
CRegisterMap::Refusal RefusalOf(const std::string& outcome)
{
    if (outcome.empty())
        return CRegisterMap::Refusal::None;
    return outcome.rfind("access", 0) == 0 ? CRegisterMap::Refusal::Access
                                           : CRegisterMap::Refusal::Address;
}

std::vector<std::uint8_t> Bytes(CRegisterMap& map, std::uint64_t address, std::size_t size)
{
    std::vector<std::uint8_t> bytes(size, 0xAA);
    map.UserRead(address, bytes.data(), size);
    return bytes;
}

/// Logs the calls; can change what is read and refuse what is written.
struct RecordingSpace final : IRegisterSpace {
    bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* data,
                         std::size_t size) override
    {
        calls.push_back("write " + std::to_string(address) + " " + std::to_string(size) + " " +
                        std::to_string(ReadRegisterValue(data, size)));
        if (isRefusing)
            throw std::runtime_error("refused");
        return false;
    }
    bool OnRegisterRead(std::uint64_t address, std::uint32_t* data, std::size_t size) override
    {
        calls.push_back("read " + std::to_string(address) + " " + std::to_string(size));
        if (size == 4)
            WriteRegisterValue(data, size, fresh);
        return false;
    }

    std::vector<std::string> calls;
    std::uint32_t fresh = 0x11223344;
    bool isRefusing = false;
};

TEST(CRegisterMap, RefusesWhatLiesOutsideARegister)
{
    CRegisterMap map;
    const std::vector<char> block(256, 'x');
    map.Declare(0x100, kRead | kWrite, block.data(), block.size(), nullptr);
    map.Declare(0x300, kRead | kWrite, block.data(), 0, nullptr);
    map.Declare(0xFFFFFFFFFFFFFFFC, kRead | kWrite, block.data(), 8, nullptr);

    const struct {
        std::uint64_t address;
        std::size_t size;
        const char* read;
    } kCases[] = {
        {0x100, 256, ""},
        {0x100, 0, ""},
        {0x100, 257, "range: Register 256 read access range error."},
        {0x1FD, 4, "range: Register 509 read access range error."},
        {0x100, SIZE_MAX, "range: Register 256 read access range error."},
        {0x104, SIZE_MAX - 3, "range: Register 260 read access range error."},
        {0xFF, 1, "invalid: Register 255 is not available."},
        {0x200, 0, "invalid: Register 512 is not available."},
        {0x300, 0, ""},
        {0x300, 1, "range: Register 768 read access range error."},
        {0x301, 0, "invalid: Register 769 is not available."},
        {0xFFFFFFFFFFFFFFFB, 1, "invalid: Register 18446744073709551611 is not available."},
        {0xFFFFFFFFFFFFFFFC, 8, ""},
        {kTop, 6, ""},
        {kTop, 7, "range: Register 18446744073709551614 read access range error."},
        {~0ull, 0, "invalid: Address is invalid."},
    };
    for (const auto& c : kCases) {
        char buffer[256];
        std::string write = c.read;
        if (const auto at = write.find("read access"); at != std::string::npos)
            write.replace(at, 4, "write");
        EXPECT_EQ(Outcome([&] { map.UserRead(c.address, buffer, c.size); }), c.read);
        EXPECT_EQ(map.TryUserRead(c.address, buffer, c.size), RefusalOf(c.read)) << c.address;
        EXPECT_EQ(Outcome([&] { map.Read(c.address, buffer, c.size); }), c.read);
        EXPECT_EQ(Outcome([&] { map.UserWrite(c.address, buffer, c.size); }), write);
        EXPECT_EQ(Outcome([&] { map.Write(c.address, buffer, c.size); }), write);
    }
}

// The mask is looked at before the range, both before the callback.
TEST(CRegisterMap, MaskConcernsTheConsumerAlone)
{
    const char* const kNotReadable = "access: Register 8 is not readable.";
    const char* const kNotWritable = "access: Register 8 is not writable.";
    const struct {
        std::uint32_t access;
        const char* read;
        const char* write;
    } kCases[] = {{kNone, kNotReadable, kNotWritable},
                  {kRead, "", kNotWritable},
                  {kWrite, kNotReadable, ""},
                  {kRead | kWrite, "", ""}};
    for (const auto& [access, read, write] : kCases) {
        CRegisterMap map;
        RecordingSpace space;
        map.Declare32(8, access, 5, &space);
        map.Write32(8, 6);
        EXPECT_EQ(map.Read32(8), 6u);
        std::uint64_t value = 0;
        EXPECT_EQ(Outcome([&] { map.UserRead(8, &value, 8); }),
                  *read != 0 ? read : "range: Register 8 read access range error.");
        EXPECT_EQ(Outcome([&] { map.UserWrite(8, &value, 8); }),
                  *write != 0 ? write : "range: Register 8 write access range error.");
        EXPECT_TRUE(space.calls.empty());
        EXPECT_EQ(map.Read32(8), 6u);
        EXPECT_EQ(Outcome([&] { map.UserRead(8, &value, 4); }), read);
        EXPECT_EQ(Outcome([&] { map.UserWrite(8, &value, 4); }), write);
        EXPECT_EQ(space.calls.size(), std::size_t{*read == 0} + std::size_t{*write == 0});
        value = 0;
        EXPECT_EQ(map.TryUserRead(8, &value, 4), RefusalOf(read));
        EXPECT_EQ(value != 0, *read == 0);
    }
}

TEST(CRegisterMap, DeclarationsRoundUpAndMayOverlapButNotMeet)
{
    CRegisterMap map;
    map.Declare(0x10, kRead, "abcdef", 6, nullptr);
    EXPECT_EQ(Bytes(map, 0x10, 8), (std::vector<std::uint8_t>{'a', 'b', 'c', 'd', 'e', 'f', 0, 0}));
    EXPECT_EQ(Outcome([&] { map.Declare32(0x10, kRead, 0, nullptr); }),
              "runtime: Register 16 already declared.");
    EXPECT_EQ(Outcome([&] { map.Declare32(~0ull, kRead, 0, nullptr); }),
              "invalid: Address is invalid.");

    // An exact address wins over the block around it; behind the inner block the outer one
    // shows again, because the search begins at the lowest address.
    map.Declare(0x12, kRead, "XY", 2, nullptr);
    EXPECT_EQ(Bytes(map, 0x12, 4), (std::vector<std::uint8_t>{'X', 'Y', 0, 0}));
    EXPECT_EQ(Bytes(map, 0x13, 2), (std::vector<std::uint8_t>{'d', 'e'}));

    map.Clear();
    EXPECT_EQ(Outcome([&] { map.Read32(0x10); }), "invalid: Register 16 is not available.");
    EXPECT_EQ(Outcome([&] { map.Declare64(0x10, kRead, 0x0102030405060708, nullptr); }), "");
    EXPECT_EQ(Bytes(map, 0x10, 8), (std::vector<std::uint8_t>{8, 7, 6, 5, 4, 3, 2, 1}));
    map.Write64(0x10, 0x1122334455667788);
    EXPECT_EQ(map.Read32(0x14), 0x11223344u);
}

TEST(CRegisterMap, StringsAreCutToTheirRegister)
{
    CRegisterMap map;
    map.DeclareString(0, kRead, "abc", 16, nullptr);
    map.DeclareString(0x20, kRead, "abcde", 4, nullptr);
    map.DeclareString(0x30, kRead, "abcd", 5, nullptr);
    std::vector<std::uint8_t> text(16, 0);
    std::memcpy(text.data(), "abc", 3);
    EXPECT_EQ(Bytes(map, 0, 16), text);
    EXPECT_EQ(Bytes(map, 0x20, 4), (std::vector<std::uint8_t>{'a', 'b', 'c', 'd'}));
    EXPECT_EQ(Bytes(map, 0x30, 8), (std::vector<std::uint8_t>{'a', 'b', 'c', 'd', 0, 0, 0, 0}));

    map.WriteString(0, "Z");
    EXPECT_EQ(Bytes(map, 0, 4), (std::vector<std::uint8_t>{'Z', 0, 'c', 0}));
    EXPECT_EQ(Outcome([&] { map.WriteString(0x20, "wxyz"); }),
              "range: Register 32 write access range error.");
}

TEST(CRegisterMap, CallbackIsGivenTheWholeRegisterAndMayRefuse)
{
    CRegisterMap map;
    RecordingSpace space;
    map.Declare32(0x40, kRead | kWrite, 0x04030201, &space);
    EXPECT_EQ(Bytes(map, 0x42, 2), (std::vector<std::uint8_t>{0x22, 0x11}));
    const std::uint8_t upper[] = {0xBB, 0xAA};
    map.UserWrite(0x42, upper, 2);
    EXPECT_EQ(map.Read32(0x40), 0xAABB3344u);
    space.isRefusing = true;
    EXPECT_EQ(Outcome([&] { map.UserWrite(0x40, upper, 2); }), "runtime: refused");
    EXPECT_EQ(map.Read32(0x40), 0xAABB3344u);
    EXPECT_EQ(space.calls,
              (std::vector<std::string>{"read 64 4", "write 64 4 " + std::to_string(0xAABB3344u),
                                        "write 64 4 " + std::to_string(0xAABBAABBu)}));
}

TEST(RegisterData, ChecksTheBlock)
{
    std::uint32_t block[2] = {0, 0};
    const char* const kInvalid = "invalid: pUiRegisterData is not valid.";
    const char* const kSize = "invalid: uiRegisterDataSize not match needed size";
    EXPECT_EQ(Outcome([&] { ReadRegisterValue(nullptr, 4); }), kInvalid);
    EXPECT_EQ(Outcome([&] { ReadRegisterValue(block, 3); }),
              "invalid: uiRegisterDataSize is to small");
    EXPECT_EQ(Outcome([&] { WriteRegisterValue<std::uint32_t>(nullptr, 4, 1); }), kInvalid);
    EXPECT_EQ(Outcome([&] { WriteRegisterValue<std::uint32_t>(block, 8, 1); }), kSize);
    EXPECT_EQ(Outcome([&] { WriteRegisterValue<std::uint32_t>(block, 3, 1); }), kSize);
    EXPECT_EQ(Outcome([&] { WriteRegisterValue<std::uint64_t>(block, 4, 1); }), kSize);

    WriteRegisterValue<std::uint64_t>(block, 8, 0x8877665544332211);
    EXPECT_EQ(reinterpret_cast<const std::uint8_t*>(block)[0], 0x11);
    EXPECT_EQ(reinterpret_cast<const std::uint8_t*>(block)[7], 0x88);
    EXPECT_EQ(ReadRegisterValue(block, 8), 0x44332211u);
}

} // namespace
} // namespace GenTLProducer
