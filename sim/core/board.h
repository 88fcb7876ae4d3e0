// A whole board: its nodes and files under their paths, and the programs' descriptors.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/core/board_options.h"
#include "sim/core/board_table.h"
#include "sim/core/camera.h"
#include "sim/core/capture_node.h"
#include "sim/core/device_node.h"
#include "sim/core/fault_injector.h"
#include "sim/core/media_node.h"
#include "sim/core/sub_device_node.h"

namespace zevo_sim
{

/// What the board has under a path.
enum class PathKind : std::uint8_t {
    Foreign,   ///< nothing of the board's concern
    Absent,    ///< in the board's realm, but it has no such thing: real ones stay hidden
    Node,      ///< a device node
    File,      ///< a file with fixed content
    Directory, ///< a folder that only the board has
    KernelLog  ///< /dev/kmsg
};

/// The board's realm of paths: everything in it is answered by the board, whatever the host has.
/// Lexical, without state.
bool IsBoardPath(std::string_view absolutePath);

/// Any thread. Operations that stand for system calls give their result or a negative errno.
class Board final
{
public:
    /// `firmware` as in CameraOptions. std::invalid_argument for a board that doesn't exist.
    Board(const BoardOptions& options, GenTLProducer::Span<const std::uint8_t> firmware, Pace pace);
    /// The pace that the options ask for.
    Board(const BoardOptions& options, GenTLProducer::Span<const std::uint8_t> firmware);
    ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    // Paths, absolute and without "." and "..".
    PathKind Kind(std::string_view path) const;
    /// What the board adds to a directory, and all that a PathKind::Directory has.
    std::vector<std::string> Entries(std::string_view directory) const;
    /// As stat() fills it, for a path that isn't foreign or absent; false otherwise.
    bool Describe(std::string_view path, struct stat& status) const;
    /// All nodes and files.
    std::vector<std::string> Paths() const;

    /// open(): a descriptor that works with select(), poll(), dup() and fork().
    int Open(std::string_view path, int flags);

    // Descriptors: -EBADF for one that isn't the board's.
    /// A descriptor of the program on a node of the board. Takes no lock.
    bool Owns(int fd) const;
    /// A descriptor that the board holds for itself. Takes no lock.
    bool IsOwnDescriptor(int fd) const;
    int Ioctl(int fd, unsigned long request, void* argument);
    /// What the faults of the options make of a call that isn't answered by one of the operations
    /// here: 0, or the negative errno that it ends with.
    int FaultOf(FaultPlace place, int fd);
    int FaultOf(FaultPlace place, std::string_view path);
    /// The address, or a negative errno.
    long Map(int fd, void* address, std::size_t length, int protection, int flags, long offset);
    void Unmapped(const void* address, std::size_t length);
    /// Whether Unmapped() needs to be told at all.
    bool HasMappings() const { return hasMappings_.load(std::memory_order_relaxed); }
    /// What poll() is to show; nothing for a descriptor that isn't the board's.
    std::optional<short> Poll(int fd, short events);
    /// Turns what fstat() has told of the descriptor's socket into what it tells of the node;
    /// false for a foreign one.
    bool Describe(struct stat& status) const;
    /// close() of one of the program's descriptors.
    int Close(int fd);
    /// Lets go of the files whose last descriptor has been closed, whoever has closed it.
    void Reap();
    /// Whether descriptors have to be looked at at all.
    bool HasOpenFiles() const { return openFiles_.load(std::memory_order_acquire) != 0; }

    std::size_t CameraCount() const { return cameras_.size(); }
    Camera& GetCamera(std::size_t index) { return *cameras_[index]; }
    CaptureNode& GetCaptureNode(std::size_t index) { return *captureNodes_[index]; }
    const BoardOptions& Options() const { return options_; }

    /// Pulls a camera with its nodes.
    void Unplug(std::size_t index);

private:
    static constexpr std::size_t kMaxFiles = 64;
    static constexpr unsigned kVideoMajor = 81;
    static constexpr unsigned kMediaMajor = 510;

    struct VirtualFile {
        std::string path;
        std::string content;
    };

    CameraOptions MakeCameraOptions(unsigned index,
                                    GenTLProducer::Span<const std::uint8_t> firmware) const;
    CaptureOptions MakeCaptureOptions(unsigned index, Pace pace) const;
    std::uint32_t ConnectionOf(unsigned index) const;
    NodeIdentity NextIdentity(const char* name, unsigned number);
    void AddGraph(unsigned firstCamera, unsigned cameras);
    void AddFiles();
    /// The camera whose node this is; nothing for others.
    std::optional<unsigned> CameraOf(const DeviceNode* node) const;
    const DeviceNode* FindNode(std::string_view path) const;
    const VirtualFile* FindFile(std::string_view path) const;

    const BoardOptions options_;
    const BoardDefinition& definition_;
    const std::shared_ptr<FaultInjector> faults_;
    SceneStore scenes_;
    std::vector<std::unique_ptr<Camera>> cameras_;
    std::vector<CaptureNode*> captureNodes_;
    std::vector<SubDeviceNode*> cameraNodes_; ///< null where the capture node has both roles
    std::vector<VirtualFile> files_;
    unsigned videoMinors_ = 0;
    unsigned subDeviceNodes_ = 0;
    unsigned mediaNodes_ = 0;

    /// Place of an open file. Found by its inode and without a lock, so that foreign descriptors
    /// pay little; users keep a file whose last descriptor goes meanwhile.
    struct Slot {
        std::atomic<ino_t> inode{0};
        std::atomic<unsigned> users{0};
        std::atomic<int> ownEnd{-1};
        OpenFile file;
    };
    class FileUser;

    const Slot* FindSlot(const struct stat& status) const;
    static int OpenFileCopy(const std::string& content, int flags);

    std::mutex mutex_; ///< opening and letting go
    std::array<Slot, kMaxFiles> slots_;
    std::atomic<unsigned> openFiles_{0};
    std::atomic<bool> isReapDue_{false};
    std::atomic<bool> hasMappings_{false};

    // Last, so that the nodes go first.
    std::vector<std::unique_ptr<DeviceNode>> nodes_;
};

} // namespace zevo_sim
