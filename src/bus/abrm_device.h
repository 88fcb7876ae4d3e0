// The bootstrap registers of a camera module, in the layout of the GenCP bootstrap register map.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "bus/bus_device.h"

namespace mcm
{

/// Every access goes to the module; nothing is cached. A failing transfer throws.
class AbrmDevice final
{
public:
    explicit AbrmDevice(BusDevice device) : device_(std::move(device)) {}

    /// Of whatever hands out a bootstrap device. Throws std::runtime_error for a null pointer.
    template <typename CameraModule>
    explicit AbrmDevice(CameraModule* module) : AbrmDevice(bootstrapDeviceOf(module))
    {
    }

    std::uint32_t genCpVersion();
    std::uint64_t deviceCapability();
    std::uint32_t maximumDeviceResponseTime();
    std::uint64_t sbrmAddress();
    std::uint64_t deviceConfiguration();
    std::uint64_t timestamp();
    std::uint64_t timestampIncrement();

    /// The texts lie in this object, good until the next text is read.
    const char* manufacturerName();
    const char* modelName();
    const char* deviceVersion();
    const char* manufacturerInfo();
    /// As the module holds it, possibly with a prefix that ends at a colon.
    const char* serialNumber();
    const char* userDefinedName();

    /// Writes 64 bytes: the text, cut at that length, and zeros behind it.
    void setUserDefinedName(std::string_view name);
    void setDeviceConfiguration(std::uint64_t configuration);
    void setTimestampLatch(std::uint32_t latch);

    std::uint32_t read32(std::uint16_t address);
    std::uint64_t read64(std::uint16_t address);

private:
    static constexpr std::size_t kTextSize = 64;

    template <typename CameraModule>
    static BusDevice bootstrapDeviceOf(CameraModule* module)
    {
        if (!module)
            throw std::runtime_error("runtimeMCM is nullptr");
        return module->GetBootstrapDevice();
    }

    const char* readText(std::uint16_t address);

    char text_[kTextSize + 1]{}; ///< the last byte stays 0
    BusDevice device_;
};

} // namespace mcm
