// The register space of a GenTL module or of a camera.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "producer/producer.h"

namespace zevo_tool
{

/// Registers by address. Failure when an access is refused.
class Port
{
public:
    virtual ~Port() = default;
    virtual void Read(std::uint64_t address, void* data, std::size_t size) = 0;
    virtual void Write(std::uint64_t address, const void* data, std::size_t size) = 0;
};

/// A port of a producer; the handle isn't owned.
class GenTLPort final : public Port
{
public:
    GenTLPort(const Producer& producer, PORT_HANDLE handle) : producer_(producer), handle_(handle)
    {
    }

    void Read(std::uint64_t address, void* data, std::size_t size) override;
    void Write(std::uint64_t address, const void* data, std::size_t size) override;

    /// Where the port's descriptions are, best first.
    std::vector<std::string> Urls() const;

private:
    const Producer& producer_;
    PORT_HANDLE handle_;
};

} // namespace zevo_tool
