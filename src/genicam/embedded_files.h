// The GenICam descriptions that the library carries.
#pragma once

#include <cstddef>

namespace GenTLProducer
{

/// One description. Everything has static storage.
struct EmbeddedFile {
    const char* resourceName;
    const char* data; ///< followed by a NUL that doesn't count
    std::size_t size; ///< bytes
    const char* sha1; ///< of these bytes, 40 lower-case hexadecimal digits
};

/// By resource name, for instance "System.xml"; null for an unknown one.
const EmbeddedFile* FindEmbeddedFile(const char* resourceName) noexcept;

} // namespace GenTLProducer
