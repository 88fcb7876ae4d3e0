#include "producer.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

std::string producerPath()
{
    return ZEVO_PRODUCER;
}

Producer loadProducer(int flags)
{
    Producer loaded{};
    loaded.library = ::dlopen(ZEVO_PRODUCER, flags);
    if (!loaded.library) {
        std::fprintf(stderr, "%s\n", ::dlerror());
        std::abort();
    }
#define GENTL_FUNCTION(name)                                                                       \
    loaded.name = reinterpret_cast<decltype(loaded.name)>(::dlsym(loaded.library, #name));         \
    if (!loaded.name) {                                                                            \
        std::fprintf(stderr, "%s is missing\n", #name);                                            \
        std::abort();                                                                              \
    }
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
    return loaded;
}

void unloadProducer(Producer& producer)
{
    ::dlclose(producer.library);
    producer = {};
}

Producer& producer()
{
    static Producer loaded = loadProducer(RTLD_NOW | RTLD_LOCAL);
    return loaded;
}

std::string lastError()
{
    GC_ERROR code = 0;
    char text[256] = {};
    size_t size = sizeof text;
    if (producer().GCGetLastError(&code, text, &size) != GC_ERR_SUCCESS)
        return "no last error";
    return std::to_string(code) + " " + text;
}

GC_ERROR writeRegister(PORT_HANDLE port, uint64_t address, uint32_t value)
{
    size_t size = sizeof value;
    return producer().GCWritePort(port, address, &value, &size);
}

uint32_t readRegister(PORT_HANDLE port, uint64_t address)
{
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_OK(GCReadPort(port, address, &value, &size)) << " at 0x" << std::hex << address;
    return value;
}
