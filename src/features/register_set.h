// The register objects of one table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <variant>

#include "features/register_shape.h"
#include "registers/space/bool_register.h"
#include "registers/space/enum_register.h"
#include "registers/space/numeric_register.h"
#include "registers/space/string_register.h"
#include "registers/space/uint64_register.h"

namespace GenTLProducer
{

/// Where the registers of a set get their values from and bring what is written, by row.
/// An enumeration's value is its index.
class IRegisterValues
{
public:
    virtual std::int64_t readValue(std::size_t row) = 0;
    virtual void writeValue(std::size_t row, std::int64_t value) = 0;
    /// The text must stay good until the next call.
    virtual const char* readText(std::size_t row) = 0;
    virtual void writeText(std::size_t row, const char* text) = 0;

protected:
    ~IRegisterValues() = default;
};

/// Registers by row number, at addresses that stay good, bound to one IRegisterValues. They read
/// and write nothing before a map reaches them.
class RegisterSet final
{
public:
    /// The values stay the caller's and must outlive the set.
    explicit RegisterSet(IRegisterValues& values) : values_(values) {}
    RegisterSet(const RegisterSet&) = delete;
    RegisterSet& operator=(const RegisterSet&) = delete;

    /// Adds the register of the next row.
    RegisterBase& add(const RegisterShape& shape);

    RegisterBase& at(std::size_t row);
    /// Limits of a number.
    Limits limits(std::size_t row) const;
    void setLimits(std::size_t row, const Limits& limits);
    /// Valid indices of an enumeration.
    std::uint32_t validMask(std::size_t row) const;
    void setValidMask(std::size_t row, std::uint32_t mask);

private:
    /// A family whose value is read through the set's owner.
    template <typename Family>
    class Shown : public Family
    {
    public:
        Shown(IRegisterValues& values, std::size_t row) : values_(values), row_(row) {}
        typename Family::Value getValue() final;

    protected:
        IRegisterValues& values_;
        std::size_t row_;
    };
    /// The same for a family that can be written.
    template <typename Family>
    class Writable final : public Shown<Family>
    {
    public:
        using Shown<Family>::Shown;
        void setValue(typename Family::Value value) override;
    };

    using Register = std::variant<
        Shown<BoolRORegister>, Writable<BoolRWRegister>, Shown<NumericRORegister<std::uint32_t>>,
        Writable<NumericRWRegister<std::uint32_t>>, Writable<NumericRWRegister<std::int32_t>>,
        Shown<EnumRORegister<std::uint32_t>>, Writable<EnumRWRegister<std::uint32_t>>,
        Shown<StringRORegister>, Writable<StringRWRegister>, Shown<Uint64RORegister>>;

    template <typename Type>
    Register& emplace();
    Register& emplace(RegisterFamily family);

    IRegisterValues& values_;
    std::deque<Register> registers_;
};

} // namespace GenTLProducer
