#include "registers/space/register_map.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "registers/space/register_base.h"

namespace GenTLProducer
{
namespace
{

/// Delivers 'A', 'B', ... from its start on, logs each access, and can answer with a status.
struct Letters final : IRegister {
    Letters(std::string* journal, std::uint32_t bytes) : log(journal), length(bytes) {}
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t count) override
    {
        *log += "r" + std::to_string(offset) + "+" + std::to_string(count) + " ";
        for (std::uint32_t i = 0; i < count && status == 0; ++i)
            static_cast<char*>(buffer)[i] = static_cast<char>('A' + offset + i);
        return status;
    }
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t count) override
    {
        *log += "w" + std::to_string(offset) + "=" +
                std::string(static_cast<const char*>(buffer), count) + " ";
        return status;
    }
    std::uint32_t size() const override { return length; }

    std::string* log;
    std::uint32_t length;
    RegisterStatus status = 0;
};

struct Space {
    std::string log;
    Letters first{&log, 4};
    Letters second{&log, 8};
    Letters top{&log, 4};
    RegisterMap::Entry entries[3] = {{4, &first}, {12, &second}, {0xFFFFFFF0, &top}};
};

std::string Read(RegisterMap& map, std::uint32_t offset, std::uint32_t length,
                 RegisterStatus expected)
{
    std::string bytes(length, '?');
    EXPECT_EQ(map.read(offset, bytes.data(), length), expected);
    std::replace(bytes.begin(), bytes.end(), '\0', '.');
    return bytes;
}

TEST(RegisterMap, ReadsAcrossRegistersAndGaps)
{
    Space space;
    RegisterMap map(0xFFFFFFFC, space.entries);
    const struct {
        std::uint32_t offset, length;
        const char* bytes;
        const char* log;
    } kCases[] = {
        {6, 1, "C", "r2+1 "},
        {0, 4, "....", ""},
        {0, 5, "....A", "r0+1 "},
        {2, 20, "..ABCD....ABCDEFGH..", "r0+4 r0+8 "},
        {7, 6, "D....A", "r3+1 r0+1 "},
        {20, 4, "....", ""},
        {0xFFFFFFEE, 8, "..ABCD..", "r0+4 "},
        {0xFFFFFFFC, 8, "........", ""},
        {12, 0, "", ""},
    };
    for (const auto& c : kCases) {
        space.log.clear();
        EXPECT_EQ(Read(map, c.offset, c.length, 0), c.bytes) << c.offset;
        EXPECT_EQ(space.log, c.log) << c.offset;
    }
    EXPECT_EQ(map.size(), 0xFFFFFFFCu);
}

TEST(RegisterMap, WritesAcrossRegistersAndGaps)
{
    Space space;
    RegisterMap map(0xFFFFFFFC, space.entries);
    EXPECT_EQ(map.write(2, "abcdefghijklmnopqrst", 20), 0);
    EXPECT_EQ(map.write(8, "abcd", 4), 0);
    EXPECT_EQ(map.write(4, "", 0), 0);
    EXPECT_EQ(space.log, "w0=cdef w0=klmnopqr ");
}

TEST(RegisterMap, GapsOfTheBootstrapMapAreErrors)
{
    const BootstrapRegisterConfig config;
    Space space;
    RegisterMap map(0x20, {space.entries, 2}, &config);
    const struct {
        std::uint32_t offset, length;
        RegisterStatus status;
        const char* log; ///< what is reached before the gap ends the access
    } kCases[] = {
        {4, 4, 0, "r0+4 "},
        {0, 4, kGenCpInvalidAddress, ""},
        {2, 8, kGenCpInvalidAddress, ""},
        {4, 5, kGenCpInvalidAddress, "r0+4 "},
        {4, 12, kGenCpInvalidAddress, "r0+4 "},
        {12, 9, kGenCpInvalidAddress, "r0+8 "},
        {20, 1, kGenCpInvalidAddress, ""},
        {20, 0, 0, ""},
    };
    for (const auto& c : kCases) {
        space.log.clear();
        Read(map, c.offset, c.length, c.status);
        EXPECT_EQ(space.log, c.log) << c.offset;
    }
    RegisterMap empty(0x10, {}, &config);
    Read(empty, 0, 1, kGenCpInvalidAddress);
    EXPECT_EQ(empty.write(0, "x", 1), kGenCpInvalidAddress);
}

TEST(RegisterMap, TranslatesTheStatusOfItsRegisters)
{
    const DefaultRegisterConfig device;
    const BootstrapRegisterConfig bootstrap;
    const struct {
        RegisterStatus status, device, bootstrap;
    } kCases[] = {
        {kStatusSuccess, 0, 0},
        {kStatusNotImplemented, 0, 0x8003},
        {kStatusWriteUnavailable, 0x8004, 0x8006},
        {kStatusReadUnavailable, 0, 0x8006},
        {kStatusWriteLocked, 0x8004, 0x8004},
        {kStatusReadLocked, 0x8006, 0x8006},
        {kStatusValueRejected, 0x8002, 0x8006},
        {0x8003, 0x8003, 0x8003},
        {0xE007, 0xE007, 0xE007},
    };
    for (const auto& c : kCases) {
        Space space;
        space.first.status = c.status;
        RegisterMap main(0x100, space.entries, &device);
        RegisterMap other(0x100, space.entries, &bootstrap);
        Read(main, 4, 4, c.device);
        Read(other, 4, 4, c.bootstrap);
        EXPECT_EQ(main.write(4, "abcd", 4), c.device);
    }
}

// A refusal ends the access: what lies behind it is neither read nor written.
TEST(RegisterMap, StopsAtTheFirstRefusal)
{
    Space space;
    space.first.status = kStatusReadLocked;
    RegisterMap map(0xFFFFFFFC, space.entries);
    EXPECT_EQ(Read(map, 0, 16, kGenCpAccessDenied), std::string(16, '.'));
    EXPECT_EQ(map.write(0, "abcdefghijklmnop", 16), kGenCpAccessDenied);
    EXPECT_EQ(space.log, "r0+4 w0=efgh ");
}

} // namespace
} // namespace GenTLProducer
