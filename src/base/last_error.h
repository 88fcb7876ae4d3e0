// The per-thread last-error record behind GCGetLastError.
#pragma once

#include <cstdint>
#include <string>

namespace GenTLProducer
{

/// Result that says that code and text of the failure are stored already. It reaches the
/// consumer as it is; GCGetLastError then gives what was stored.
constexpr std::int32_t kErrorAlreadyStored = -10001;

/// Fixed English text of a GenTL 1.5 error code, for any number. Static storage.
const char* ErrorText(std::int32_t code) noexcept;

/// Stores a failure for the calling thread. With kErrorAlreadyStored nothing changes and the
/// stored code comes back (-1001 if that is 0, kErrorAlreadyStored if the thread has none);
/// otherwise gives back the code, also when storing fails. text may be null: the record then
/// has no text of its own.
std::int32_t SetLastError(std::int32_t code, const char* text = nullptr) noexcept;

/// What the calling thread's record says.
struct LastError {
    std::int32_t code = 0;
    std::string text; ///< the stored text, or the code's fixed one
};

/// Reads the record and leaves it unchanged; code 0 for a thread without one.
LastError GetLastError();

/// Frees the calling thread's record.
void DropLastError() noexcept;

} // namespace GenTLProducer
