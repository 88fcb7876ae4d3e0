// A GenTL producer: a shared library with the 57 functions of the C interface.
#pragma once

#include <string>

#include "failure.h"
#include <gentl/gentl.h>

namespace zevo_tool
{

/// The functions of one loaded library, under their own names.
struct GenTLFunctions {
#define GENTL_FUNCTION(name) decltype(&::name) name = nullptr; // NOLINT(bugprone-macro-parentheses)
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
};

/// A GenTL function has answered with an error.
class GenTLFailure : public Failure
{
public:
    GenTLFailure(const std::string& text, GC_ERROR code) : Failure(text), code_(code) {}
    GC_ERROR Code() const { return code_; }

private:
    GC_ERROR code_;
};

/// A loaded and initialised producer; ended and unloaded by the destructor. Everything opened
/// through it has to be closed before. Any thread, as far as the producer allows it.
class Producer final
{
public:
    /// Failure with the loader's words, the missing function, or the producer's answer.
    explicit Producer(const std::string& path);
    ~Producer();
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

    const std::string& Path() const { return path_; }
    const GenTLFunctions* operator->() const { return &functions_; }

    /// GenTLFailure, with the producer's last error, for everything but GC_ERR_SUCCESS.
    void Check(const char* function, GC_ERROR result) const;

private:
    void Resolve();
    std::string LastErrorText(GC_ERROR result) const;

    std::string path_;
    void* library_ = nullptr;
    GenTLFunctions functions_;
};

} // namespace zevo_tool
