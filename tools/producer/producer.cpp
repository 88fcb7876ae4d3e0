#include "producer/producer.h"

#include <dlfcn.h>

#include <array>

#include "producer/error_name.h"

namespace zevo_tool
{

Producer::Producer(const std::string& path) : path_(path)
{
    library_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library_ == nullptr)
        throw Failure("it can't be loaded: " + std::string(dlerror()));
    try {
        Resolve();
        Check("GCInitLib", functions_.GCInitLib());
    } catch (...) {
        dlclose(library_);
        throw;
    }
}

Producer::~Producer()
{
    functions_.GCCloseLib();
    dlclose(library_);
}

void Producer::Resolve()
{
#define GENTL_FUNCTION(name)                                                                       \
    functions_.name = reinterpret_cast<decltype(functions_.name)>(dlsym(library_, #name));         \
    if (functions_.name == nullptr)                                                                \
        throw Failure("it isn't a GenTL producer: it has no function " #name);
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
}

void Producer::Check(const char* function, GC_ERROR result) const
{
    if (result == GC_ERR_SUCCESS)
        return;
    std::string text = std::string(function) + ": " + ErrorName(result);
    if (const std::string reason = LastErrorText(result); !reason.empty())
        text += ": " + reason;
    throw GenTLFailure(text, result);
}

std::string Producer::LastErrorText(GC_ERROR result) const
{
    std::array<char, 1024> text{};
    std::size_t size = text.size();
    GC_ERROR code = GC_ERR_SUCCESS;
    if (functions_.GCGetLastError(&code, text.data(), &size) != GC_ERR_SUCCESS ||
        code == GC_ERR_SUCCESS)
        return {};
    text.back() = '\0';
    if (code == result)
        return text.data();
    return ErrorName(code) + ": " + text.data();
}

} // namespace zevo_tool
