// A bridge over plain memory that writes down what passes it.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "../support/outcome.h"
#include "base/endian.h"
#include "bus/bus_device.h"
#include "bus/bus_device_implementation.h"
#include "bus/imcm_bridge.h"

struct Transfer {
    char kind; ///< r or w
    unsigned address;
    long size;

    bool operator==(const Transfer& other) const
    {
        return kind == other.kind && address == other.address && size == other.size;
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Transfer& transfer)
{
    return stream << transfer.kind << " 0x" << std::hex << transfer.address << std::dec << " "
                  << transfer.size << " bytes";
}

/// 64 KiB that wrap at the end. Refuses transfers outside the lock and transfers that the kernel
/// driver would refuse, and fails the one that it is told to.
class MemoryBridge final : public mcm::IMcmBridge
{
public:
    void write(std::uint16_t cciAddress, const void* data, long size) override
    {
        record('w', cciAddress, size);
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        for (long i = 0; i < size; ++i)
            memory[static_cast<std::uint16_t>(cciAddress + i)] = bytes[i];
    }
    void read(std::uint16_t cciAddress, void* data, long size) override
    {
        record('r', cciAddress, size);
        auto* bytes = static_cast<std::uint8_t*>(data);
        for (long i = 0; i < size; ++i)
            bytes[i] = memory[static_cast<std::uint16_t>(cciAddress + i)];
    }
    void lock() override
    {
        if (isLocked)
            throw std::logic_error("locked twice");
        isLocked = true;
        ++lockCount;
    }
    void unlock() override { isLocked = false; }

    template <typename T>
    void put(std::uint16_t address, T value)
    {
        GenTLProducer::storeBigEndian(&memory.at(address), value);
    }
    void putText(std::uint16_t address, const std::string& text)
    {
        std::copy(text.begin(), text.end(), memory.begin() + address);
    }
    template <typename T>
    T get(std::uint16_t address) const
    {
        return GenTLProducer::loadBigEndian<T>(&memory.at(address));
    }

    std::array<std::uint8_t, 0x10000> memory{};
    std::vector<Transfer> transfers;
    unsigned failingTransfer = 0; ///< counted from 1; 0 means none
    unsigned lockCount = 0;
    bool isLocked = false;

private:
    void record(char kind, std::uint16_t address, long size)
    {
        if (!isLocked)
            throw std::logic_error("transfer without lock");
        if (size < 1 || size > 256)
            throw std::runtime_error("Illegal transfer size requested");
        if (transfers.size() > 100'000)
            throw std::logic_error("transfers without end");
        transfers.push_back({kind, address, size});
        if (transfers.size() == failingTransfer)
            throw std::runtime_error("no answer");
    }
};

/// A device on the bus of the bridge, which it sees as it is unless told another mapping.
inline mcm::BusDevice deviceOn(const std::shared_ptr<MemoryBridge>& bridge,
                               mcm::TransferLimits limits = {},
                               std::initializer_list<mcm::MappingEntry> entries = {{0, 0, 0x10000}})
{
    auto implementation =
        std::make_unique<mcm::BusDeviceImplementation>(mcm::ChunkedConnection(bridge, limits));
    for (const mcm::MappingEntry& entry : entries)
        implementation->addMapping(entry);
    return mcm::BusDevice(std::move(implementation));
}
