// Answers from below with bytes in them that nobody expects.
#pragma once

#include <cstddef>
#include <string>

#include "bytes.h"

namespace fuzz
{

/// Overwrites up to three runs of bytes with the input's; nothing once that is at its end.
void scribble(Bytes& input, void* target, std::size_t size);
void scribble(Bytes& input, std::string& text);

/// The same for what an ioctl has answered: its argument, and the arrays that this pointed to when
/// it was asked.
void disturbAnswer(Bytes& input, unsigned long request, const void* asked, void* answer);

} // namespace fuzz
