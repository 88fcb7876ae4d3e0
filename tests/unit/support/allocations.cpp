#include "support/allocations.h"

#include <atomic>
#include <new>

namespace test
{

namespace
{

std::atomic<std::size_t> g_count{0};
std::atomic<std::size_t> g_failing{0};
thread_local int t_exemptions = 0;

} // namespace

void Allocations::Note()
{
    if (t_exemptions == 0 && ++g_count == g_failing)
        throw std::bad_alloc();
}

void Allocations::FailNth(std::size_t nth) noexcept
{
    g_failing = nth != 0 ? g_count + nth : 0;
}

bool Allocations::HasFailed() noexcept
{
    return g_failing != 0 && g_count >= g_failing;
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

} // namespace test
