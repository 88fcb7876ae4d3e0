#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "registers/space/bool_register.h"
#include "registers/space/enum_register.h"
#include "registers/space/numeric_register.h"
#include "registers/space/string_register.h"
#include "registers/space/uint64_register.h"

namespace GenTLProducer
{
namespace
{

/// A register over a plain member, which counts what it is handed.
template <typename Family>
struct Stored : Family {
    typename Family::Value getValue() override { return value; }
    typename Family::Value value{};
};

template <typename Family>
struct StoredRW final : Stored<Family> {
    void setValue(typename Family::Value next) override
    {
        this->value = next;
        ++writes;
    }
    int writes = 0;
};

struct StoredText final : StringRWRegister {
    const char* getValue() override { return text.c_str(); }
    void setValue(const char* next) override
    {
        text = next;
        ++writes;
    }
    std::string text;
    int writes = 0;
};

using Words = std::vector<std::uint32_t>;

/// Reads whole words over a pattern, which shows what wasn't delivered.
Words ReadWords(IRegister& target, std::uint32_t offset, std::size_t count,
                RegisterStatus expected = kStatusSuccess)
{
    std::vector<std::uint8_t> bytes(count * 4, 0xEE);
    EXPECT_EQ(target.read(offset, bytes.data(), static_cast<std::uint32_t>(bytes.size())),
              expected);
    Words words;
    for (std::size_t i = 0; i < count; ++i)
        words.push_back(loadLittleEndian<std::uint32_t>(&bytes[4 * i]));
    return words;
}

RegisterStatus WriteWord(IRegister& target, std::uint32_t offset, std::uint32_t word)
{
    std::uint8_t bytes[4];
    storeLittleEndian(bytes, word);
    return target.write(offset, bytes, sizeof(bytes));
}

constexpr std::uint32_t kUntouched = 0xEEEEEEEE;

TEST(TypedRegisters, ShowPrefixAndValueInOneRead)
{
    StoredRW<NumericRWRegister<std::uint32_t>> width;
    width.min = 96, width.max = 2592, width.inc = 8, width.value = 1000;
    StoredRW<NumericRWRegister<std::int32_t>> brightness;
    brightness.min = -100, brightness.max = 100, brightness.inc = 1, brightness.value = -7;
    StoredRW<BoolRWRegister> command;
    command.allowedValues = BoolRORegister::kTrueAllowed, command.value = true;
    StoredRW<EnumRWRegister<std::uint32_t>> format;
    constexpr std::uint32_t kTable[] = {70, 71, 72};
    format.valueTable = kTable, format.valueCount = 3, format.validMask = 0x80000005;
    format.value = 2;
    Words formatWords(33, 0);
    formatWords[0] = formatWords[2] = formatWords[31] = 1;
    formatWords[32] = 72;
    StoredText name;
    name.setMaxLength(5);
    name.text = "abcd";
    const struct {
        RegisterBase& target;
        Words all, value;
    } kCases[] = {
        {width, {96, 2592, 8, 1000}, {1000}},
        {brightness, {0xFFFFFF9C, 100, 1, 0xFFFFFFF9}, {0xFFFFFFF9}},
        {command, {0, 1, 1}, {1}},
        {format, formatWords, {72}},
        {name, {5, 0x64636261, kUntouched}, {0x64636261, kUntouched}},
    };
    for (const auto& [target, all, value] : kCases) {
        for (const Words& words : {all, value}) {
            EXPECT_EQ(target.size(), 4 * words.size());
            for (auto from = words.begin(); from != words.end(); ++from) {
                const auto offset = static_cast<std::uint32_t>(from - words.begin()) * 4;
                const Words rest(from, words.end());
                EXPECT_EQ(ReadWords(target, offset, rest.size()), rest);
            }
            target.set(RegisterFlag::ValueOnly, true);
        }
    }
}

TEST(TypedRegisters, ReadOnlyFamiliesAreTheirValue)
{
    Stored<BoolRORegister> flag;
    Stored<NumericRORegister<std::uint32_t>> number;
    Stored<EnumRORegister<std::uint32_t>> choice;
    Stored<Uint64RORegister> wide;
    flag.value = true, number.value = 7, choice.value = 3, wide.value = 0x89ABCDEF;
    EXPECT_EQ(ReadWords(flag, 0, 1), (Words{1}));
    EXPECT_EQ(ReadWords(number, 0, 1), (Words{7}));
    EXPECT_EQ(ReadWords(choice, 0, 1), (Words{3}));
    EXPECT_EQ(ReadWords(wide, 0, 2), (Words{0x89ABCDEF, 0}));
    EXPECT_EQ(flag.size() + number.size() + choice.size() + wide.size(), 20u);
    // Past the end of a value there is nothing, whatever the length says.
    EXPECT_EQ(ReadWords(wide, 6, 2), (Words{0xEEEE0000, kUntouched}));
    EXPECT_EQ(ReadWords(number, 0xFFFFFFFF, 1), (Words{kUntouched}));
}

// Every state of the flags, for a read, a write, and a write of a read-only register.
TEST(TypedRegisters, RefuseByTheirState)
{
    const struct {
        bool isImplemented, isAvailable, isWriteLocked, isReadLocked, isUnchecked;
        RegisterStatus read, write, writeReadOnly;
    } kCases[] = {
        {true, true, false, false, false, 0, 0, kStatusWriteLocked},
        {true, true, true, false, false, 0, kStatusWriteLocked, kStatusWriteLocked},
        {true, true, false, true, false, kStatusReadLocked, 0, kStatusWriteLocked},
        {true, false, true, true, false, kStatusReadUnavailable, kStatusWriteUnavailable,
         kStatusWriteUnavailable},
        {false, true, true, true, false, kStatusNotImplemented, kStatusNotImplemented,
         kStatusNotImplemented},
        {false, false, true, true, true, kStatusNotImplemented, 0, kStatusWriteLocked},
        {true, false, true, true, true, kStatusReadUnavailable, 0, kStatusWriteLocked},
        {true, true, true, true, true, kStatusReadLocked, 0, kStatusWriteLocked},
    };
    for (const auto& c : kCases) {
        const auto apply = [&c](RegisterBase& target) {
            target.set(RegisterFlag::Implemented, c.isImplemented);
            target.set(RegisterFlag::Available, c.isAvailable);
            target.set(RegisterFlag::WriteLocked, c.isWriteLocked);
            target.set(RegisterFlag::ReadLocked, c.isReadLocked);
            target.set(RegisterFlag::Unchecked, c.isUnchecked);
        };
        StoredRW<NumericRWRegister<std::uint32_t>> number;
        StoredRW<EnumRWRegister<std::uint32_t>> choice;
        StoredRW<BoolRWRegister> flag;
        StoredText text;
        Stored<BoolRORegister> readOnly;
        number.max = number.inc = 1;
        choice.validMask = 3;
        text.setMaxLength(4);
        text.text = "t";
        const std::pair<RegisterBase*, std::uint32_t> targets[] = {
            {&number, 12}, {&choice, 128}, {&flag, 8}, {&text, 4}};
        for (const auto& [target, prefix] : targets) {
            apply(*target);
            EXPECT_EQ(WriteWord(*target, prefix, 1), c.write);
            EXPECT_EQ(WriteWord(*target, prefix - 1, 1), kStatusWriteLocked);
            // The prefix is delivered in any state.
            EXPECT_NE(ReadWords(*target, 0, 1, c.read)[0], kUntouched);
            EXPECT_EQ(ReadWords(*target, prefix, 1, c.read)[0] == kUntouched, c.read != 0);
        }
        EXPECT_EQ(number.writes + choice.writes + flag.writes + text.writes, c.write == 0 ? 4 : 0);
        apply(readOnly);
        ReadWords(readOnly, 0, 1, c.read);
        EXPECT_EQ(WriteWord(readOnly, 0, 1), c.writeReadOnly);
    }
}

/// Writes the word checked, and then unchecked, which nothing refuses.
template <typename Register>
void CheckWrites(Register& target, std::uint32_t word, RegisterStatus status)
{
    const std::uint32_t offset = target.size() - 4;
    EXPECT_EQ(WriteWord(target, offset, word), status) << word;
    EXPECT_EQ(target.writes, status == 0 ? 1 : 0) << word;
    target.set(RegisterFlag::Unchecked, true);
    EXPECT_EQ(WriteWord(target, offset, word), 0) << word;
}

template <typename T>
struct NumericCase {
    T min, max, inc;
    std::uint32_t written;
    RegisterStatus status;
};

template <typename T>
void CheckNumericWrites(Span<const NumericCase<T>> cases)
{
    for (const auto& c : cases) {
        StoredRW<NumericRWRegister<T>> number;
        number.min = number.value = c.min, number.max = c.max, number.inc = c.inc;
        CheckWrites(number, c.written, c.status);
        EXPECT_EQ(number.value, static_cast<T>(c.written));
    }
}

TEST(TypedRegisters, NumbersKeepLimitsAndGrid)
{
    constexpr std::uint32_t kMinInt = 0x80000000;
    constexpr RegisterStatus kRejected = kStatusValueRejected;
    const NumericCase<std::uint32_t> kUnsigned[] = {
        {96, 2592, 8, 96, 0},           {96, 2592, 8, 2592, 0},
        {96, 2592, 8, 1003, kRejected}, {96, 2592, 8, 95, kRejected},
        {96, 2592, 8, 2600, kRejected}, {5, 9, 0, 5, 0},
        {5, 9, 0, 6, kRejected},        {9, 5, 1, 7, kRejected},
        {0, 0xFFFFFFFF, 1, kMinInt, 0}, {0, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0},
    };
    const NumericCase<std::int32_t> kSigned[] = {
        {-100, 100, 1, 0xFFFFFF9C, 0},
        {-100, 100, 1, 0xFFFFFF9B, kRejected},
        {-1000000000, 1000000000, 1000, 1000000000, 0},
        {-1000000000, 1000000000, 1000, 500, kRejected},
        {INT32_MIN, INT32_MAX, 1, kMinInt, 0},
        {INT32_MIN, INT32_MAX, INT32_MAX, 0x7FFFFFFF, kRejected},
        {13, 300, 1, kMinInt, kRejected},
    };
    CheckNumericWrites<std::uint32_t>(kUnsigned);
    CheckNumericWrites<std::int32_t>(kSigned);
}

TEST(TypedRegisters, PartialWritesMergeWithTheValue)
{
    StoredRW<NumericRWRegister<std::uint32_t>> number;
    number.max = 0x0002FFFF, number.inc = 1, number.value = 0x0000BEEF;
    EXPECT_EQ(number.write(14, "\1", 2), 0);
    EXPECT_EQ(number.value, 0x0001BEEFu);
    EXPECT_EQ(number.write(14, "\3", 2), kStatusValueRejected);
    EXPECT_EQ(number.value, 0x0001BEEFu);

    StoredRW<BoolRWRegister> flag;
    flag.value = true;
    EXPECT_EQ(flag.write(9, "", 1), 0);
    EXPECT_TRUE(flag.value);
    EXPECT_EQ(flag.write(8, "", 1), 0);
    EXPECT_FALSE(flag.value);
}

TEST(TypedRegisters, EnumerationsTranslateAndCheckTheirIndex)
{
    constexpr std::uint32_t kTable[] = {70, 71, 72, 71};
    const struct {
        bool hasTable;
        std::uint32_t written;
        RegisterStatus status;
        std::uint32_t index; ///< that an unchecked write hands over
    } kCases[] = {
        {true, 70, 0, 0},   {true, 71, kStatusValueRejected, 1},
        {true, 72, 0, 2},   {true, 2, kStatusValueRejected, 4},
        {false, 2, 0, 2},   {false, 1, kStatusValueRejected, 1},
        {false, 34, 0, 34}, {false, 0xFFFFFFFF, kStatusValueRejected, 0xFFFFFFFF},
    };
    for (const auto& c : kCases) {
        StoredRW<EnumRWRegister<std::uint32_t>> choice;
        choice.valueTable = c.hasTable ? kTable : nullptr;
        choice.valueCount = 4, choice.validMask = 5;
        CheckWrites(choice, c.written, c.status);
        EXPECT_EQ(choice.value, c.index) << c.written;
    }
    // An index that the table lacks, as an unchecked write leaves it, shows as 0.
    StoredRW<EnumRWRegister<std::uint32_t>> choice;
    choice.valueTable = kTable, choice.valueCount = 4, choice.value = 4;
    EXPECT_EQ(ReadWords(choice, 128, 1), (Words{0}));
}

TEST(TypedRegisters, BooleansKeepTheirAllowedValues)
{
    for (std::uint8_t allowed = 0; allowed < 4; ++allowed) {
        for (const std::uint32_t word : {0u, 1u, 0x100u}) {
            StoredRW<BoolRWRegister> flag;
            flag.allowedValues = allowed;
            const bool isAllowed = (allowed & (word != 0 ? 2 : 1)) != 0;
            CheckWrites(flag, word, isAllowed ? kStatusSuccess : kStatusValueRejected);
        }
    }
}

TEST(TypedRegisters, StringsMergeAndEndInTheirWorkspace)
{
    StoredText name;
    name.setMaxLength(8);
    name.set(RegisterFlag::ValueOnly, true);
    name.text = "camera";
    EXPECT_EQ(name.write(3, "EL", 2), 0);
    EXPECT_EQ(name.text, "camELa");
    EXPECT_EQ(name.write(6, "42junk", 6), 0);
    EXPECT_EQ(name.text, "camELa42");
    EXPECT_EQ(name.write(0, "x", 2), 0);
    EXPECT_EQ(name.text, "x");
    char bytes[8] = {'?', '?', '?', '?', '?', '?', '?', '?'};
    EXPECT_EQ(name.read(0, bytes, 8), 0);
    EXPECT_EQ(std::string(bytes, 8), "x???????");

    name.setMaxLength(1000);
    name.text.assign(600, 'a');
    const std::string longText(600, 'b');
    EXPECT_EQ(name.write(1, longText.data(), 600), 0);
    EXPECT_EQ(name.text, "a" + std::string(511, 'b'));
    EXPECT_EQ(name.write(900, longText.data(), 4), 0);
    EXPECT_EQ(name.text, "a" + std::string(511, 'b'));
}

} // namespace
} // namespace GenTLProducer
