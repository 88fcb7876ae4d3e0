// Byte blocks by address: the register space behind a module's port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <vector>

#include "registers/space/iregister_space.h"

namespace GenTLProducer
{

/// Register map of a GenTL module. Each register is a block of bytes that stands in the map
/// itself, with an access mask and an optional callback for consumer accesses.
///
/// An address inside a block reaches that block. The mask and the callback concern the external
/// operations (UserRead, UserWrite) alone: the module itself may read and write everything.
/// Numbers are little endian. Refusals are exceptions: std::invalid_argument for an address
/// without a register, std::out_of_range for an access past the end of one, access_error for one
/// that the mask forbids. A refused access has no effect.
///
/// No lock of its own: the module's lock covers every operation.
class CRegisterMap
{
public:
    /// The access mask of a register forbids the access.
    class access_error : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
        ~access_error() override;
    };

    static constexpr std::uint32_t kReadable = 1;
    static constexpr std::uint32_t kWritable = 2;
    static constexpr std::uint64_t kInvalidAddress = ~std::uint64_t{0};

    CRegisterMap() = default;
    CRegisterMap(const CRegisterMap&) = delete;
    CRegisterMap& operator=(const CRegisterMap&) = delete;
    virtual ~CRegisterMap();

    virtual void Clear();

    /// Adds a register: size bytes of data, zeros up to the next multiple of 4. The callback stays
    /// the caller's; null for none. Throws std::runtime_error when one stands at that address;
    /// overlaps are not looked for.
    virtual void Declare(std::uint64_t address, std::uint32_t access, const void* data,
                         std::size_t size, IRegisterSpace* callback);
    /// A register of size bytes with the text in it, cut to size without NUL when it is longer.
    virtual void DeclareString(std::uint64_t address, std::uint32_t access, const char* text,
                               std::size_t size, IRegisterSpace* callback);
    virtual void Declare32(std::uint64_t address, std::uint32_t access, std::uint32_t value,
                           IRegisterSpace* callback);
    virtual void Declare64(std::uint64_t address, std::uint32_t access, std::uint64_t value,
                           IRegisterSpace* callback);

    virtual void Read(std::uint64_t address, void* buffer, std::size_t size);
    virtual void Write(std::uint64_t address, const void* buffer, std::size_t size);
    /// Writes the text with its NUL; what stood behind it stays.
    virtual void WriteString(std::uint64_t address, const char* text);
    virtual std::uint32_t Read32(std::uint64_t address);
    virtual void Write32(std::uint64_t address, std::uint32_t value);
    virtual void Write64(std::uint64_t address, std::uint64_t value);

    /// A consumer's read. A callback refreshes the whole block first.
    virtual void UserRead(std::uint64_t address, void* buffer, std::size_t size);
    /// The same, with refusals told without the cost of an exception. Address stands for those
    /// that are std::invalid_argument and std::out_of_range, Access for access_error.
    enum class Refusal : std::uint8_t { None, Address, Access };
    Refusal TryUserRead(std::uint64_t address, void* buffer, std::size_t size);
    /// A consumer's write. A callback sees the whole block with the new bytes; when it throws, the
    /// block gets its old bytes back and the exception goes on.
    virtual void UserWrite(std::uint64_t address, const void* buffer, std::size_t size);

    virtual void DoRead(std::uint64_t address, void* buffer, std::size_t size, bool external);
    virtual void DoWrite(std::uint64_t address, const void* buffer, std::size_t size,
                         bool external);

private:
    /// Words rather than bytes, since callbacks are given the block as words.
    using Block = std::vector<std::uint32_t>;

    struct Entry {
        std::uint32_t access;
        Block block;
        IRegisterSpace* callback;

        std::size_t size() const noexcept { return block.size() * sizeof(Block::value_type); }
    };
    struct Target {
        std::uint64_t base;
        std::size_t offset;
        Entry* entry;
    };

    /// Without an entry where no register is.
    Target Look(std::uint64_t address) noexcept;
    Target Find(std::uint64_t address);
    static void Fetch(const Target& target, void* buffer, std::size_t size, bool external);

    std::map<std::uint64_t, Entry> entries_;
    Block scratch_;
};

} // namespace GenTLProducer
