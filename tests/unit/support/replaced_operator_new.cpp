#include <cstddef>
#include <cstdlib>
#include <new>

#include "support/allocations.h"

namespace
{

/// Stands before each block.
struct alignas(std::max_align_t) Header {
    bool isCounted;
};

void Free(void* memory) noexcept
{
    if (!memory)
        return;
    Header* header = static_cast<Header*>(memory) - 1;
    if (header->isCounted)
        test::Allocations::NoteFree();
    std::free(header);
}

} // namespace

void* operator new(std::size_t size)
{
    const bool isCounted = test::Allocations::Note();
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (!header) {
        if (isCounted)
            test::Allocations::NoteFree();
        throw std::bad_alloc();
    }
    header->isCounted = isCounted;
    return header + 1;
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}
