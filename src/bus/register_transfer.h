// What both request forms of the driver share in a register transfer.
#pragma once

#include <cstdint>
#include <string>

#include "bus/kernel_interface.h"

namespace mcm
{

/// A request for size bytes, zero but for its header.
/// Throws std::runtime_error when a request can't hold so many.
tolmen_register_transfer makeReadRequest(std::uint16_t address, long size);
/// The same with the bytes to write in it.
tolmen_register_transfer makeWriteRequest(std::uint16_t address, const void* data, long size);

/// Copies the bytes that were read to the caller. Throws std::runtime_error, its text behind
/// prefix, and copies nothing when the driver delivered another number than was asked for.
void takeReadBytes(const tolmen_register_transfer& answer, const char* prefix, void* data,
                   long size);

/// Throws std::runtime_error with prefix and the text of the system error.
[[noreturn]] void throwSystemError(const char* prefix, int error);

/// 0, or what a failed ioctl left in errno as a negative number.
int resultOf(int ioctlResult) noexcept;

/// Takes the halves of an interface version word apart.
void splitVersion(std::uint32_t word, unsigned short* major, unsigned short* minor) noexcept;

} // namespace mcm
