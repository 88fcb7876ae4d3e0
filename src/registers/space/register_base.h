// State and checks that all registers of the remote device share.
#pragma once

#include <cstdint>

#include "base/span.h"
#include "registers/space/iregister.h"

namespace GenTLProducer
{

enum class RegisterFlag : std::uint8_t {
    Implemented = 1, ///< the register exists on this camera
    Available = 2,   ///< may be accessed at the moment
    WriteLocked = 4, ///< writes are refused at the moment
    ReadLocked = 8,  ///< reads are refused: commands
    ValueOnly = 16,  ///< no companion words in front of the value
    Unchecked = 32,  ///< writes pass every check: feature streaming
};

/// Base of the typed registers. A register may have a prefix, companion words (limits or valid
/// values) that stand in front of its value; all words are little endian.
///
/// No class of this family throws, traces or allocates; a refused access changes nothing. What a
/// bound value operation throws passes through. No lock: the remote port's covers every access.
class RegisterBase : public IRegister
{
public:
    /// Refuses. What read-only registers answer to a write, with the reason of their state.
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;

    bool has(RegisterFlag flag) const noexcept
    {
        return (flags_ & static_cast<std::uint8_t>(flag)) != 0;
    }
    void set(RegisterFlag flag, bool on) noexcept;

protected:
    static constexpr std::uint32_t kWordSize = 4;

    /// The part of a read that is still to be served.
    struct Request {
        std::uint32_t offset;
        std::uint8_t* buffer;
        std::uint32_t length;
    };

    RegisterStatus checkRead() const noexcept;
    RegisterStatus checkWrite() const noexcept;

    /// Serves a read from the prefix as far as it reaches; gives what is left for the value.
    static Request readPrefix(Span<const std::uint32_t> words, std::uint32_t offset, void* buffer,
                              std::uint32_t length) noexcept;
    /// Copies from the bytes of a value, as far as they reach.
    static void readBytes(Span<const std::uint8_t> bytes, std::uint32_t offset, void* buffer,
                          std::uint32_t length) noexcept;
    /// Copies over the bytes of a value, as far as they reach.
    static void writeBytes(Span<std::uint8_t> bytes, std::uint32_t offset, const void* buffer,
                           std::uint32_t length) noexcept;
    /// The same for a value of one word: shown, or merged with what is written.
    static void readWord(std::uint32_t word, std::uint32_t offset, void* buffer,
                         std::uint32_t length) noexcept;
    static std::uint32_t mergeWord(std::uint32_t word, std::uint32_t offset, const void* buffer,
                                   std::uint32_t length) noexcept;

private:
    std::uint8_t flags_ = static_cast<std::uint8_t>(RegisterFlag::Implemented) |
                          static_cast<std::uint8_t>(RegisterFlag::Available);
};

} // namespace GenTLProducer
