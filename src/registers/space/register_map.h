// A stretch of the remote register space that is made of registers.
#pragma once

#include "base/span.h"
#include "registers/space/iregister.h"
#include "registers/space/register_map_config.h"

namespace GenTLProducer
{

/// Decodes addresses into registers. One access may cross several of them, and gaps, which the
/// configuration judges; the first status that isn't success ends it, with what came before
/// done. A map is a register itself and may stand in another map.
class RegisterMap final : public IRegister
{
public:
    struct Entry {
        std::uint32_t address; ///< relative to the map
        IRegister* target;
    };

    /// Entries are sorted by address and don't overlap. They, their registers and the
    /// configuration are borrowed; null takes the one default configuration.
    RegisterMap(std::uint32_t size, Span<const Entry> entries,
                const IRegisterMapConfig* config = nullptr);

    /// Zeros what no register delivers.
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override { return size_; }

private:
    template <typename Access, typename Gap>
    RegisterStatus walk(std::uint32_t offset, std::uint32_t length, Access access, Gap gap) const;

    std::uint32_t size_;
    Span<const Entry> entries_;
    const IRegisterMapConfig* config_;
};

} // namespace GenTLProducer
