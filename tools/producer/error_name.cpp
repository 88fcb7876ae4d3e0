#include "producer/error_name.h"

namespace zevo_tool
{

namespace
{

struct NamedError {
    GC_ERROR code;
    const char* name;
};

// clang-format off
constexpr NamedError kErrors[] = {
    {GC_ERR_SUCCESS,            "GC_ERR_SUCCESS"},
    {GC_ERR_ERROR,              "GC_ERR_ERROR"},
    {GC_ERR_NOT_INITIALIZED,    "GC_ERR_NOT_INITIALIZED"},
    {GC_ERR_NOT_IMPLEMENTED,    "GC_ERR_NOT_IMPLEMENTED"},
    {GC_ERR_RESOURCE_IN_USE,    "GC_ERR_RESOURCE_IN_USE"},
    {GC_ERR_ACCESS_DENIED,      "GC_ERR_ACCESS_DENIED"},
    {GC_ERR_INVALID_HANDLE,     "GC_ERR_INVALID_HANDLE"},
    {GC_ERR_INVALID_ID,         "GC_ERR_INVALID_ID"},
    {GC_ERR_NO_DATA,            "GC_ERR_NO_DATA"},
    {GC_ERR_INVALID_PARAMETER,  "GC_ERR_INVALID_PARAMETER"},
    {GC_ERR_IO,                 "GC_ERR_IO"},
    {GC_ERR_TIMEOUT,            "GC_ERR_TIMEOUT"},
    {GC_ERR_ABORT,              "GC_ERR_ABORT"},
    {GC_ERR_INVALID_BUFFER,     "GC_ERR_INVALID_BUFFER"},
    {GC_ERR_NOT_AVAILABLE,      "GC_ERR_NOT_AVAILABLE"},
    {GC_ERR_INVALID_ADDRESS,    "GC_ERR_INVALID_ADDRESS"},
    {GC_ERR_BUFFER_TOO_SMALL,   "GC_ERR_BUFFER_TOO_SMALL"},
    {GC_ERR_INVALID_INDEX,      "GC_ERR_INVALID_INDEX"},
    {GC_ERR_PARSING_CHUNK_DATA, "GC_ERR_PARSING_CHUNK_DATA"},
    {GC_ERR_INVALID_VALUE,      "GC_ERR_INVALID_VALUE"},
    {GC_ERR_RESOURCE_EXHAUSTED, "GC_ERR_RESOURCE_EXHAUSTED"},
    {GC_ERR_OUT_OF_MEMORY,      "GC_ERR_OUT_OF_MEMORY"},
    {GC_ERR_BUSY,               "GC_ERR_BUSY"},
};
// clang-format on

} // namespace

std::string ErrorName(GC_ERROR code)
{
    const std::string number = std::to_string(code);
    for (const NamedError& error : kErrors)
        if (error.code == code)
            return std::string(error.name) + " (" + number + ")";
    return "error " + number;
}

} // namespace zevo_tool
