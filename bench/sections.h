// The parts of the table that need a camera.
#pragma once

#include "camera.h"

namespace zevo_bench
{

/// Time of calls that talk to no hardware, against locks and system calls.
void MeasureCalls(const Effort& effort, Camera& camera);
/// The capture thread's calls and time for each frame, and the way to the consumer.
void MeasureCapture(const Effort& effort, Camera& camera);
/// What IFOpenDevice sends over the bus; leaves the device open.
void MeasureOpening(Camera& camera);
/// Prints these transfers: direction, address, bytes.
int ListTransfers();
/// Loading, size and memory; in children of this program.
void MeasureStartUp(const Effort& effort);
/// A child's part of that: how much memory is resident with so many buffers.
int ServeResidentMemory(std::size_t buffers);
int ServeStartUp();

} // namespace zevo_bench
