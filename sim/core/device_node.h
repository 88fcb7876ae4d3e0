// Device nodes of the board, and the open files that programs have on them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "sim/core/system.h"

namespace zevo_sim
{

class DeviceNode;

/// One open file description. The program holds one end of a pair of sockets, so that select(),
/// poll(), dup() and fork() work on it; the other end stays here and tells when the last
/// descriptor has gone. A byte in the program's end makes it readable.
/// The owning node's lock guards Show(), Settle() and HangUp().
class OpenFile final
{
public:
    /// `flags` as open() got them. The program's descriptor goes to `fd`; 0 or a negative errno.
    int Create(DeviceNode& node, int flags, int& fd);

    DeviceNode& Node() const { return *node_; }
    int Flags() const { return flags_; }
    /// What fstat() tells of the program's descriptors, whatever their numbers.
    ino_t Inode() const { return inode_; }
    /// The program still has a descriptor.
    bool IsAlive() const;
    /// The end that stays here. A program that closes descriptors which it hasn't opened may take
    /// it away; the file then counts as closed.
    int OwnEnd() const { return ownEnd_.Get(); }

    /// The readiness that the node wants. A byte that has to go stays until Settle().
    void Show(bool isReady);
    /// Takes a byte that has become wrong. `fd` is any of the program's descriptors.
    void Settle(int fd);
    /// The device has gone: readable for ever.
    void HangUp();
    /// Lets the end go that stays here.
    void Close();

private:
    bool HasOwnEnd() const;

    DeviceNode* node_ = nullptr;
    int flags_ = 0;
    ino_t inode_ = 0;
    Descriptor ownEnd_;
    ino_t ownInode_ = 0;
    bool isReady_ = false;
    bool hasByte_ = false;
};

/// Identity of a node as stat() and sysfs tell it.
struct NodeIdentity {
    std::string path;
    unsigned major = 0;
    unsigned minor = 0;
};

/// All operations give 0 (or what is told) or a negative errno, from any thread.
class DeviceNode
{
public:
    explicit DeviceNode(NodeIdentity identity) : identity_(std::move(identity)) {}
    DeviceNode(const DeviceNode&) = delete;
    DeviceNode& operator=(const DeviceNode&) = delete;
    virtual ~DeviceNode() = default;

    const NodeIdentity& Identity() const { return identity_; }

    /// The node has gone with its device; opening it fails.
    virtual bool IsUnplugged() const { return false; }
    virtual void Opened(OpenFile& file) = 0;
    /// The last descriptor of the file has gone.
    virtual void Released(OpenFile& file) = 0;
    virtual int Ioctl(OpenFile& file, int fd, unsigned long request, void* argument) = 0;
    /// The address, or a negative errno.
    virtual long Map(OpenFile& /*file*/, void* /*address*/, std::size_t /*length*/,
                     int /*protection*/, int /*flags*/, long /*offset*/)
    {
        return -ENODEV;
    }
    /// The range has been unmapped by the program.
    virtual void Unmapped(const void* /*address*/, std::size_t /*length*/) {}
    /// What poll() answers for the requested events.
    virtual short Poll(OpenFile& file, int fd, short events) = 0;

private:
    NodeIdentity identity_;
};

} // namespace zevo_sim
