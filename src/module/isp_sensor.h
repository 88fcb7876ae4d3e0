// The typed view of the ISP's register file.
#pragma once

#include <cstdint>
#include <utility>

#include "bus/bus_device.h"
#include "module/isp_register.h"

#undef CTRL // of <sys/ttydefaults.h>, which other headers bring along

namespace mcm
{

/// The ISP's bus device with an accessor for each register and field of isp_registers.inc: called
/// without an argument it reads, with one it writes. A setter throws std::range_error, before any
/// transfer, for a value that register or field can't hold. Setting a field is a read and a write
/// of its register, and isn't atomic. Failing transfers throw as those of a BusDevice.
class IspSensor : public BusDevice
{
public:
    explicit IspSensor(BusDevice device) noexcept : BusDevice(std::move(device)) {}

    // clang-format off
#define STATUS(address, name, format)                                                              \
    format::Value name() { return get(isp_registers::name); }
#define REGISTER(address, name, format)                                                            \
    STATUS(address, name, format)                                                                  \
    void name(format::Value value) { set(isp_registers::name, value); }
#define FIELD(owner, name, high, low)                                                              \
    std::uint32_t name() { return getBits(isp_registers::name); }                                  \
    void name(std::uint32_t value) { setField(isp_registers::name, value); }
#define HALVES(owner, name, high, low)                                                             \
    double name() { return getBits(isp_registers::name) * 0.5; }                                   \
    void name(double value) { setHalves(isp_registers::name, value); }
#define FLAG(owner, name, bit)                                                                     \
    bool name() { return getBits(isp_registers::name) != 0; }                                      \
    void name(bool value) { replaceBits(isp_registers::name, value ? 1 : 0); }
    // clang-format on
#include "module/isp_registers.inc"
#undef STATUS
#undef REGISTER
#undef FIELD
#undef HALVES
#undef FLAG

private:
    template <typename Format>
    typename Format::Value get(const IspRegister<Format>& source)
    {
        typename Format::Raw raw = 0;
        read(source.address, &raw);
        return Format::toValue(raw);
    }

    template <typename Format>
    void set(const IspRegister<Format>& target, typename Format::Value value)
    {
        write(target.address, Format::toRaw(target.name, value));
    }

    template <typename Format>
    std::uint32_t getBits(const IspField<Format>& field)
    {
        return get(field.owner) >> field.low & field.maximum();
    }

    template <typename Format>
    void setField(const IspField<Format>& field, std::uint32_t value)
    {
        if (value > field.maximum())
            throwOutsideRange(field.name, value, 0, field.maximum());
        replaceBits(field, value);
    }

    template <typename Format>
    void setHalves(const IspField<Format>& field, double value)
    {
        const double steps = roundHalfAway(value * 2);
        if (!(steps >= 0 && steps <= field.maximum()))
            throwOutsideRange(field.name, steps * 0.5, 0, field.maximum() * 0.5);
        replaceBits(field, lowBits(steps));
    }

    template <typename Format>
    void replaceBits(const IspField<Format>& field, std::uint32_t bits)
    {
        const std::uint32_t others = get(field.owner) & ~(field.maximum() << field.low);
        set(field.owner, others | bits << field.low);
    }
};
static_assert(sizeof(IspSensor) == sizeof(BusDevice), "an IspSensor is a view, without data");

} // namespace mcm
