#include "producer/info.h"

#include <array>
#include <cstring>
#include <vector>

namespace zevo_tool
{

namespace
{

template <typename T>
T As(const void* data)
{
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

struct Number {
    std::uint64_t value; ///< two's complement where it is signed
    bool isSigned;
};

template <typename T>
std::optional<Number> NumberAs(const void* data, std::size_t size)
{
    if (size < sizeof(T))
        return std::nullopt;
    const T value = As<T>(data);
    return Number{static_cast<std::uint64_t>(value), static_cast<T>(-1) < static_cast<T>(0)};
}

std::optional<Number> Decode(INFO_DATATYPE type, const void* data, std::size_t size)
{
    switch (type) {
    case INFO_DATATYPE_BOOL8:
        return NumberAs<std::uint8_t>(data, size);
    case INFO_DATATYPE_INT16:
        return NumberAs<std::int16_t>(data, size);
    case INFO_DATATYPE_UINT16:
        return NumberAs<std::uint16_t>(data, size);
    case INFO_DATATYPE_INT32:
        return NumberAs<std::int32_t>(data, size);
    case INFO_DATATYPE_UINT32:
        return NumberAs<std::uint32_t>(data, size);
    case INFO_DATATYPE_INT64:
        return NumberAs<std::int64_t>(data, size);
    case INFO_DATATYPE_UINT64:
        return NumberAs<std::uint64_t>(data, size);
    case INFO_DATATYPE_SIZET:
        return NumberAs<std::size_t>(data, size);
    case INFO_DATATYPE_PTRDIFF:
        return NumberAs<std::ptrdiff_t>(data, size);
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<std::string> InfoText(const InfoQuery& query, std::int32_t command)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::size_t size = 0;
    if (query(command, &type, nullptr, &size) != GC_ERR_SUCCESS)
        return std::nullopt;
    std::vector<char> data(size + 1);
    if (query(command, &type, data.data(), &size) != GC_ERR_SUCCESS || size >= data.size())
        return std::nullopt;
    if (type == INFO_DATATYPE_STRING)
        return std::string(data.data());
    if (type == INFO_DATATYPE_FLOAT64 && size >= sizeof(double))
        return std::to_string(As<double>(data.data()));
    const std::optional<Number> number = Decode(type, data.data(), size);
    if (!number)
        return std::nullopt;
    return number->isSigned ? std::to_string(static_cast<std::int64_t>(number->value))
                            : std::to_string(number->value);
}

std::optional<std::uint64_t> InfoNumber(const InfoQuery& query, std::int32_t command)
{
    alignas(8) std::array<char, 64> data{};
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::size_t size = data.size();
    if (query(command, &type, data.data(), &size) != GC_ERR_SUCCESS)
        return std::nullopt;
    const std::optional<Number> number = Decode(type, data.data(), size);
    if (!number)
        return std::nullopt;
    return number->value;
}

void* InfoPointer(const InfoQuery& query, std::int32_t command)
{
    void* pointer = nullptr;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::size_t size = sizeof pointer;
    const bool isTold =
        query(command, &type, &pointer, &size) == GC_ERR_SUCCESS && type == INFO_DATATYPE_PTR;
    return isTold ? pointer : nullptr;
}

} // namespace zevo_tool
