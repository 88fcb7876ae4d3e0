// The device registers with the values of their features.
#pragma once

#include <cstdint>
#include <vector>

#include "features/register_set.h"
#include "features/register_table.h"
#include "registers/space/register_map.h"

namespace GenTLProducer
{

/// All device registers of an open camera, by name, and for each a requested value, which a
/// consumer wrote, and an effective one, which holds for the camera and which a read shows.
/// Nothing here reaches the camera.
class RegisterBank final
{
public:
    /// Builds the registers of the table. The values serve their accesses, by table row.
    explicit RegisterBank(IRegisterValues& values);

    /// Appends the addresses of all registers, in order.
    void appendTo(std::vector<RegisterMap::Entry>& entries);

    std::int64_t requested(Reg key) const { return valueOf(key).requested; }
    std::int64_t effective(Reg key) const { return valueOf(key).effective; }
    void request(Reg key, std::int64_t value) { valueOf(key).requested = value; }
    /// What a read shows from now on.
    void show(Reg key, std::int64_t value) { valueOf(key).effective = value; }
    /// Makes a value both requested and effective.
    void adopt(Reg key, std::int64_t value);
    /// Adopts the request, or what stands for it: a number is brought within its limits and onto
    /// their grid, an index that isn't valid becomes the lowest valid one. Without a valid index
    /// the request stands.
    std::int64_t adoptValid(Reg key);

    Limits limits(Reg key) const { return set_.limits(rowOf(key)); }
    void setLimits(Reg key, const Limits& limits) { set_.setLimits(rowOf(key), limits); }
    void setValidMask(Reg key, std::uint32_t mask) { set_.setValidMask(rowOf(key), mask); }
    void set(Reg key, RegisterFlag flag, bool on) { set_.at(rowOf(key)).set(flag, on); }

private:
    struct Value {
        std::int64_t requested = 0;
        std::int64_t effective = 0;
    };

    static std::size_t rowOf(Reg key) { return static_cast<std::size_t>(key); }
    Value& valueOf(Reg key) { return values_[rowOf(key)]; }
    const Value& valueOf(Reg key) const { return values_[rowOf(key)]; }

    RegisterSet set_;
    Value values_[static_cast<std::size_t>(Reg::Count)];
};

/// The index itself where its bit is set, else the lowest index whose bit is; the index itself
/// for an empty mask.
std::uint32_t FirstValid(std::int64_t index, std::uint32_t mask);

/// The nearest value below or at the requested one that the limits and their grid allow.
std::int64_t WithinLimits(std::int64_t requested, const Limits& limits);

} // namespace GenTLProducer
