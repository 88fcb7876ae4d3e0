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
    /// The nth allocation of the calling thread that counts from now on throws, once. 0 for none.
    static void FailNthHere(std::size_t nth) noexcept;
    /// True once that one has been reached.
    static bool HasFailedHere() noexcept;
    static std::size_t GetCount() noexcept;
    /// Blocks that have been counted and not been freed.
    static std::size_t GetLive() noexcept;

    /// For operator new: throws std::bad_alloc if this allocation is to fail; whether it counts.
    static bool Note();
    /// For operator delete: a block that counted goes, or wasn't to be had.
    static void NoteFree() noexcept;

    /// While it lives, its thread's allocations are neither counted nor made to fail.
    class Exemption
    {
    public:
        Exemption() noexcept;
        Exemption(const Exemption&) = delete;
        Exemption& operator=(const Exemption&) = delete;
        ~Exemption();
    };

    /// While it lives, its thread's allocations count in spite of one exemption around.
    class Counted
    {
    public:
        Counted() noexcept;
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
        ~Counted();
    };
};

} // namespace test
