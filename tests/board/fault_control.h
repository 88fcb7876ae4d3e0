// Makes system calls of the producer fail. The library that does it is preloaded ahead of
// everything else; these are its controls, found at run time.
#pragma once

#include <cstddef>

/// Fails the call with this number, counted from 1, among those that the producer makes from now
/// on; 0 lets all pass and only counts. error is the errno that the call reports. With isForGood
/// the camera is gone from that call on: requests and mappings of nodes fail with the error, and
/// so does opening them.
using FaultArm = void (*)(std::size_t number, int error, bool isForGood);

/// Ends what FaultArm has begun; how many calls there have been since.
using FaultCount = std::size_t (*)();

/// Name of the first call that failed since FaultArm; null if none did.
using FaultedCall = const char* (*)();
