// What the producers have: systems, interfaces, cameras, each with what it tells of itself.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "producer/modules.h"

namespace zevo_tool
{

struct Info {
    const char* label;
    std::string value;
};

struct CameraEntry {
    const System* system;
    const Interface* interface;
    std::string id;
    std::string serialNumber;
    std::string userDefinedName;
    std::vector<Info> infos;
};

struct InterfaceEntry {
    std::unique_ptr<Interface> module;
    std::vector<Info> infos;
    std::vector<CameraEntry> cameras;
};

struct SystemEntry {
    std::unique_ptr<Producer> producer;
    std::unique_ptr<System> module;
    std::vector<Info> infos;
    std::vector<InterfaceEntry> interfaces;
};

/// All systems and interfaces are open as long as the inventory lives, and devices have to be
/// closed before.
class Inventory final
{
public:
    /// Loads the producers and looks for cameras. What doesn't work is a problem of the
    /// inventory, never an exception.
    explicit Inventory(const std::vector<std::string>& producerFiles);

    const std::vector<SystemEntry>& Systems() const { return systems_; }
    /// What couldn't be loaded or opened, a sentence each.
    const std::vector<std::string>& Problems() const { return problems_; }

    /// All cameras in the order in which they are listed.
    std::vector<const CameraEntry*> Cameras() const;
    /// The camera of that index, identifier, serial number or user-defined name; the first for an
    /// empty selector. Failure when there is none, or more than one.
    const CameraEntry& Find(const std::string& selector) const;

private:
    void Add(const std::string& file);
    void AddInterface(SystemEntry& system, const std::string& id);

    std::vector<SystemEntry> systems_;
    std::vector<std::string> problems_;
};

/// Finds producers, those of the environment when no file is named, and their cameras. Failure
/// with all that was looked at when there is no camera.
Inventory TakeInventory(const std::vector<std::string>& producerFiles);

} // namespace zevo_tool
