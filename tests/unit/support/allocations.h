// The program's allocations, counted and made to fail.
#pragma once

#include <cstddef>

namespace test
{

/// Works in programs that replace operator new by replaced_operator_new.cpp. Any thread; the
/// numbers are those of all threads together.
class Allocations
{
public:
    /// The nth allocation from now on throws, once. 0 for none.
    static void FailNth(std::size_t nth) noexcept;
    /// True once that one has been reached.
    static bool HasFailed() noexcept;
    static std::size_t GetCount() noexcept;

    /// For operator new: throws std::bad_alloc if this allocation is to fail.
    static void Note();

    /// While it lives, its thread's allocations are neither counted nor made to fail.
    class Exemption
    {
    public:
        Exemption() noexcept;
        Exemption(const Exemption&) = delete;
        Exemption& operator=(const Exemption&) = delete;
        ~Exemption();
    };
};

} // namespace test
