// Registers under an independent GenApi implementation, as a consumer has them under its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <arv.h>

namespace test
{

/// Accesses of registers by address; false for a refused one.
struct RegisterAccess {
    std::function<bool(std::uint64_t address, void* buffer, std::size_t size)> read;
    std::function<bool(std::uint64_t address, const void* buffer, std::size_t size)> write;
};

/// A description with the registers that it describes. Nodes are named; an access to a node that
/// doesn't exist, or to a value of another kind than asked for, ends the program.
class GenApiDevice final
{
public:
    GenApiDevice(const std::string& description, RegisterAccess access);
    GenApiDevice(const GenApiDevice&) = delete;
    GenApiDevice& operator=(const GenApiDevice&) = delete;

    bool has(const std::string& name) const { return nodeOrNull(name) != nullptr; }
    /// The features below the root, in the order of their categories, which aren't among them.
    std::vector<std::string> features() const;
    bool isCommand(const std::string& name) const;
    bool isImplemented(const std::string& name) const;
    bool isAvailable(const std::string& name) const;
    bool isLocked(const std::string& name) const;

    // Values; a failing access throws std::runtime_error with the implementation's words.
    std::string text(const std::string& name) const;
    std::int64_t integer(const std::string& name) const;
    double number(const std::string& name) const;
    std::int64_t minimum(const std::string& name) const;
    std::int64_t maximum(const std::string& name) const;
    std::int64_t increment(const std::string& name) const;
    void set(const std::string& name, std::int64_t value) const;
    void setNumber(const std::string& name, double value) const;
    void select(const std::string& name, const std::string& entry) const;
    /// Writes an entry's value, whether it is available or not.
    void choose(const std::string& name, std::int64_t value) const;
    void execute(const std::string& command) const;
    /// Entries of an enumeration that can be chosen at the moment.
    std::vector<std::string> availableEntries(const std::string& name) const;

    /// Accesses so far.
    std::size_t accesses() const { return *accesses_; }

private:
    struct Release {
        void operator()(void* object) const { g_object_unref(object); }
    };

    ArvGcNode* nodeOrNull(const std::string& name) const;
    ArvGcFeatureNode* node(const std::string& name) const;

    std::shared_ptr<std::size_t> accesses_ = std::make_shared<std::size_t>(0);
    RegisterAccess access_;
    std::unique_ptr<ArvDevice, Release> device_;
    std::string description_;
    std::unique_ptr<ArvGc, Release> genicam_;
};

} // namespace test
