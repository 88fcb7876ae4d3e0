#include "support/allocations.h"

#include <atomic>
#include <new>

namespace test
{

namespace
{

std::atomic<std::size_t> g_count{0};
std::atomic<std::size_t> g_live{0};
thread_local int t_exemptions = 0;
thread_local std::size_t t_left = 0; ///< until the one that fails
thread_local bool t_hasFailed = false;

} // namespace

bool Allocations::Note()
{
    if (t_exemptions > 0)
        return false;
    ++g_count;
    if (t_left != 0 && --t_left == 0) {
        t_hasFailed = true;
        throw std::bad_alloc();
    }
    ++g_live;
    return true;
}

void Allocations::NoteFree() noexcept
{
    --g_live;
}

std::size_t Allocations::GetLive() noexcept
{
    return g_live;
}

void Allocations::FailNthHere(std::size_t nth) noexcept
{
    t_left = nth;
    t_hasFailed = false;
}

bool Allocations::HasFailedHere() noexcept
{
    return t_hasFailed;
}

std::size_t Allocations::GetCount() noexcept
{
    return g_count;
}

Allocations::Exemption::Exemption() noexcept
{
    ++t_exemptions;
}

Allocations::Exemption::~Exemption()
{
    --t_exemptions;
}

Allocations::Counted::Counted() noexcept
{
    --t_exemptions;
}

Allocations::Counted::~Counted()
{
    ++t_exemptions;
}

} // namespace test
