// Undoes a half-done step.
#pragma once

#include <utility>

namespace GenTLProducer
{

/// Runs a callable when the scope is left, unless release() was called before. The callable
/// must not throw.
template <typename Function>
class ScopeExit final
{
public:
    explicit ScopeExit(Function function) : function_(std::move(function)) {}
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;
    ~ScopeExit()
    {
        if (armed_)
            function_();
    }

    void release() noexcept { armed_ = false; }

private:
    Function function_;
    bool armed_ = true;
};

} // namespace GenTLProducer
