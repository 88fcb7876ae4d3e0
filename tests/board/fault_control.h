// Makes one system call of the producer fail. The library that does it is preloaded ahead of
// everything else; these are its two controls, found at run time.
#pragma once

#include <cstddef>

/// Fails the call with this number, counted from 1, among those that the producer makes from now
/// on; 0 lets all pass and only counts. error is the errno that the call reports.
using FaultArm = void (*)(std::size_t number, int error);

/// How many calls there have been since the last FaultArm.
using FaultCount = std::size_t (*)();

/// Name of the call that failed; null if none did.
using FaultedCall = const char* (*)();
