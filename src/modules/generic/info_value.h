// One answer of an info function, and the protocol that hands it out.
#pragma once

#include <cstdint>
#include <string>

#include <gentl/gentl.h>

namespace GenTLProducer
{

/// A typed value with the name of the command that asked for it. A default-made one stands for
/// an unknown command. Borrows strings: it must not outlive the record that it was made from.
class InfoValue final
{
public:
    InfoValue() = default;
    static InfoValue String(const char* name, const char* value);
    static InfoValue String(const char* name, const std::string& value);
    static InfoValue Int32(const char* name, std::int32_t value);
    static InfoValue Uint32(const char* name, std::uint32_t value);
    static InfoValue Uint64(const char* name, std::uint64_t value);
    static InfoValue SizeT(const char* name, std::size_t value);
    static InfoValue Bool8(const char* name, bool value);
    static InfoValue Pointer(const void* value);

    bool isKnown() const noexcept { return type_ != INFO_DATATYPE_UNKNOWN; }
    INFO_DATATYPE type() const noexcept { return type_; }

    /// The GenTL info protocol: sets *piType; with pBuffer null *piSize becomes the needed size;
    /// a smaller *piSize gives GC_ERR_BUFFER_TOO_SMALL and stays; else the value is copied,
    /// *piSize becomes its size and the value is traced. An unknown command sets both to 0 and
    /// gives GC_ERR_NOT_IMPLEMENTED.
    GC_ERROR Answer(INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) const;

private:
    InfoValue(INFO_DATATYPE type, const char* name, std::uint64_t number, std::size_t width);
    void Trace() const;

    INFO_DATATYPE type_ = INFO_DATATYPE_UNKNOWN;
    const char* name_ = "";
    const char* text_ = nullptr;
    std::uint64_t number_ = 0; ///< numbers, Booleans and pointers alike
    std::size_t size_ = 0;     ///< bytes of the answer
};

} // namespace GenTLProducer
