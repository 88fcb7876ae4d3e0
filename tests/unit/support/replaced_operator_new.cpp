#include <cstdlib>
#include <new>

#include "support/allocations.h"

void* operator new(std::size_t size)
{
    test::Allocations::Note();
    void* memory = std::malloc(size != 0 ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
