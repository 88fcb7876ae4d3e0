// The bootstrap registers: a window on the camera module.
#pragma once

#include <cstdint>
#include <vector>

#include "bus/abrm_device.h"
#include "features/register_set.h"
#include "registers/space/register_map.h"

namespace GenTLProducer
{

/// A bootstrap register and the operations of the module device behind it.
struct BootstrapRow {
    std::uint32_t address;
    RegisterShape shape;
    std::uint32_t (*read)(mcm::AbrmDevice&) = nullptr;
    void (*write)(mcm::AbrmDevice&, std::uint32_t) = nullptr;
    const char* (*readText)(mcm::AbrmDevice&) = nullptr;
    void (*writeText)(mcm::AbrmDevice&, const char*) = nullptr;
};

Span<const BootstrapRow> BootstrapRegisterRows();

/// The registers in the layout of the GenCP bootstrap register map. Every access goes to the
/// module, nothing is cached; a failing transfer throws.
class BootstrapRegisters final : private IRegisterValues
{
public:
    explicit BootstrapRegisters(mcm::AbrmDevice device);
    BootstrapRegisters(const BootstrapRegisters&) = delete;
    BootstrapRegisters& operator=(const BootstrapRegisters&) = delete;

    /// Lives as long as this object.
    IRegister& map() { return map_; }

private:
    std::int64_t readValue(std::size_t row) override;
    void writeValue(std::size_t row, std::int64_t value) override;
    const char* readText(std::size_t row) override;
    void writeText(std::size_t row, const char* text) override;

    mcm::AbrmDevice device_;
    RegisterSet set_;
    std::vector<RegisterMap::Entry> entries_;
    BootstrapRegisterConfig config_;
    RegisterMap map_;
};

} // namespace GenTLProducer
