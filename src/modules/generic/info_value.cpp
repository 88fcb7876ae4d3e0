#include "modules/generic/info_value.h"

#include <cstring>

#include "trace/gentl_trace.h"

namespace GenTLProducer
{

InfoValue::InfoValue(INFO_DATATYPE type, const char* name, std::uint64_t number, std::size_t width)
    : type_(type), name_(name), number_(number), size_(width)
{
}

InfoValue InfoValue::String(const char* name, const char* value)
{
    InfoValue result(INFO_DATATYPE_STRING, name, 0, std::strlen(value) + 1);
    result.text_ = value;
    return result;
}

InfoValue InfoValue::String(const char* name, const std::string& value)
{
    return String(name, value.c_str());
}

InfoValue InfoValue::Int32(const char* name, std::int32_t value)
{
    return {INFO_DATATYPE_INT32, name, static_cast<std::uint32_t>(value), sizeof value};
}

InfoValue InfoValue::Uint32(const char* name, std::uint32_t value)
{
    return {INFO_DATATYPE_UINT32, name, value, sizeof value};
}

InfoValue InfoValue::Uint64(const char* name, std::uint64_t value)
{
    return {INFO_DATATYPE_UINT64, name, value, sizeof value};
}

InfoValue InfoValue::SizeT(const char* name, std::size_t value)
{
    return {INFO_DATATYPE_SIZET, name, value, sizeof value};
}

InfoValue InfoValue::Bool8(const char* name, bool value)
{
    return {INFO_DATATYPE_BOOL8, name, value, sizeof(bool8_t)};
}

InfoValue InfoValue::Pointer(const void* value)
{
    return {INFO_DATATYPE_PTR, "-", reinterpret_cast<std::uintptr_t>(value), sizeof value};
}

GC_ERROR InfoValue::Answer(INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) const
{
    *piType = type_;
    if (!isKnown()) {
        *piSize = 0;
        return GC_ERR_NOT_IMPLEMENTED;
    }
    if (!pBuffer) {
        *piSize = size_;
        return GC_ERR_SUCCESS;
    }
    if (*piSize < size_)
        return GC_ERR_BUFFER_TOO_SMALL;
    *piSize = size_;
    if (text_) {
        std::memcpy(pBuffer, text_, size_);
    } else if (size_ == sizeof(std::uint64_t)) {
        std::memcpy(pBuffer, &number_, sizeof number_);
    } else if (size_ == sizeof(std::uint32_t)) {
        const auto word = static_cast<std::uint32_t>(number_);
        std::memcpy(pBuffer, &word, sizeof word);
    } else {
        const auto byte = static_cast<bool8_t>(number_);
        std::memcpy(pBuffer, &byte, sizeof byte);
    }
    if (IsGenTLTraced(kTraceResults, 4))
        Trace();
    return GC_ERR_SUCCESS;
}

void InfoValue::Trace() const
{
    const auto size = static_cast<unsigned long long>(size_);
    switch (type_) {
    case INFO_DATATYPE_STRING:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_STRING type, %llu size) : %s ", name_, size,
                   text_);
        break;
    case INFO_DATATYPE_INT32:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_INT32 type, %llu size) : %d ", name_, size,
                   static_cast<int>(number_));
        break;
    case INFO_DATATYPE_UINT32:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_UINT32 type, %llu size) : %u ", name_, size,
                   static_cast<unsigned>(number_));
        break;
    case INFO_DATATYPE_UINT64:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_UINT64 type, %llu size) : %lu ", name_, size,
                   static_cast<unsigned long>(number_));
        break;
    case INFO_DATATYPE_SIZET:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_SIZET type, %llu size) : %llu ", name_, size,
                   static_cast<unsigned long long>(number_));
        break;
    case INFO_DATATYPE_PTR:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_PTR type, %llu size) : %p ", name_, size,
                   reinterpret_cast<void*>(static_cast<std::uintptr_t>(number_)));
        break;
    case INFO_DATATYPE_BOOL8:
        GenTLTrace("Identifier '%s' (INFO_DATATYPE_BOOL8 type, %llu size) : %d", name_, size,
                   static_cast<int>(number_));
        break;
    default:
        break;
    }
}

} // namespace GenTLProducer
