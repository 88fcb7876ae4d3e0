// The interposed function behind ours.
#pragma once

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <type_traits>

namespace zevo_shim
{

/// Looks the name up once; null if nobody else has it. errno stays.
template <typename Signature>
Signature* FindNext(std::atomic<Signature*>& cache, const char* name)
{
    Signature* function = cache.load(std::memory_order_relaxed);
    if (!function) {
        const int saved = errno;
        function = reinterpret_cast<Signature*>(dlsym(RTLD_NEXT, name));
        cache.store(function, std::memory_order_relaxed);
        errno = saved;
    }
    return function;
}

} // namespace zevo_shim

/// The next definition of a function, with its type. A static without a constructor each.
#define ZEVO_NEXT(name, ...)                                                                       \
    ([] {                                                                                          \
        static std::atomic<std::add_pointer_t<__VA_ARGS__>> cache;                                 \
        return ::zevo_shim::FindNext(cache, #name);                                                \
    }())

/// Declares the function that takes the place of the C library's of that name. Ours has a name of
/// its own for the compiler, so that the C library's declarations don't bind it.
#define ZEVO_INTERPOSE(result, name, ...)                                                          \
    extern "C" __attribute__((visibility("default")))                                              \
    result Board_##name(__VA_ARGS__) __asm__(#name);                                               \
    result Board_##name(__VA_ARGS__)
