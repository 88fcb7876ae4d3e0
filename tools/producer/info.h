// Info commands of GenTL modules: values of any type, as text or number.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <gentl/gentl.h>

namespace zevo_tool
{

/// One of GenTL's info functions with its handles filled in.
using InfoQuery = std::function<GC_ERROR(std::int32_t command, INFO_DATATYPE* type, void* buffer,
                                         std::size_t* size)>;

/// The value as text, numbers in decimal; nothing when the module doesn't tell.
std::optional<std::string> InfoText(const InfoQuery& query, std::int32_t command);

/// The value of a pointer; null when the module doesn't tell.
void* InfoPointer(const InfoQuery& query, std::int32_t command);

/// The value of a number or Boolean; nothing for others, or when the module doesn't tell.
std::optional<std::uint64_t> InfoNumber(const InfoQuery& query, std::int32_t command);

} // namespace zevo_tool
