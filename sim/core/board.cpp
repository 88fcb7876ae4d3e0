#include "sim/core/board.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include "base/endian.h"

namespace zevo_sim
{

namespace
{

constexpr std::string_view kKernelLog = "/dev/kmsg";

/// Names of nodes: any rest without a slash belongs to the board.
constexpr std::string_view kNodePrefixes[] = {"/dev/video", "/dev/media", "/dev/v4l-subdev"};
/// Folders, with all below them; one that ends in a colon takes any rest of the name, too.
constexpr std::string_view kFolders[] = {"/sys/devices/soc0", "/sys/module/tegra_fuse",
                                         "/proc/device-tree/soc@0",
                                         "/sys/dev/char/81:", "/sys/dev/char/510:"};

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

/// `path` lies in the folder or below.
bool IsBelow(std::string_view path, std::string_view folder)
{
    return StartsWith(path, folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

std::string Numbered(const char* format, unsigned number)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, number);
    return text;
}

/// The serial number of a further camera: the number at its end counts up.
std::string SerialOf(const std::string& first, unsigned index)
{
    if (index == 0)
        return first;
    const std::size_t stem = first.find_last_not_of("0123456789") + 1;
    if (stem == first.size() || first.size() - stem > 9)
        return first + "-" + std::to_string(index + 1);
    const std::string digits = first.substr(stem);
    std::string number = std::to_string(std::stoul(digits) + index);
    if (number.size() < digits.size())
        number.insert(0, digits.size() - number.size(), '0');
    return first.substr(0, stem) + number;
}

const BoardDefinition& Definition(const BoardOptions& options)
{
    const BoardDefinition* definition = FindBoard(options.board.c_str());
    if (!definition)
        throw std::invalid_argument("there is no board \"" + options.board + "\"");
    return *definition;
}

Pace PaceOf(const BoardOptions& options)
{
    if (!options.fps)
        return Pace::Programmed;
    return *options.fps == 0 ? Pace::AsTaken : Pace::Fixed;
}

} // namespace

bool IsBoardPath(std::string_view path)
{
    if (path == kKernelLog)
        return true;
    for (const std::string_view prefix : kNodePrefixes)
        if (StartsWith(path, prefix) && path.find('/', prefix.size()) == std::string_view::npos)
            return true;
    for (const std::string_view folder : kFolders)
        if (path == folder || IsBelow(path, folder) ||
            (folder.back() == ':' && StartsWith(path, folder)))
            return true;
    return false;
}

Board::Board(const BoardOptions& options, GenTLProducer::Span<const std::uint8_t> firmware)
    : Board(options, firmware, PaceOf(options))
{
}

Board::Board(const BoardOptions& options, GenTLProducer::Span<const std::uint8_t> firmware,
             Pace pace)
    : options_(options), definition_(Definition(options)),
      faults_(std::make_shared<FaultInjector>(options.faults)), scenes_(options.scene)
{
    const bool hasGraph = definition_.mediaDriver != nullptr;
    for (unsigned i = 0; i < options_.cameras; ++i) {
        cameras_.push_back(std::make_unique<Camera>(MakeCameraOptions(i, firmware)));
        auto node = std::make_unique<CaptureNode>(NextIdentity("video", i), definition_,
                                                  MakeCaptureOptions(i, pace), *cameras_[i],
                                                  scenes_, hasGraph ? nullptr : cameras_[i].get());
        captureNodes_.push_back(node.get());
        nodes_.push_back(std::move(node));
    }
    cameraNodes_.resize(options_.cameras);
    if (hasGraph && definition_.isGraphShared)
        AddGraph(0, options_.cameras);
    for (unsigned i = 0; hasGraph && !definition_.isGraphShared && i < options_.cameras; ++i)
        AddGraph(i, 1);
    AddFiles();
    faults_->SetUnplugListener([this](unsigned camera) {
        if (camera < cameras_.size())
            Unplug(camera);
    });
}

Board::~Board()
{
    // Slots may still name nodes; a program's descriptors just lose their other end.
    for (Slot& slot : slots_)
        slot.inode = 0;
}

CameraOptions Board::MakeCameraOptions(unsigned index,
                                       GenTLProducer::Span<const std::uint8_t> firmware) const
{
    CameraOptions camera;
    camera.firmware = firmware;
    camera.logsTransfers = false;
    camera.serialNumber = SerialOf(options_.serial.value_or(camera.serialNumber), index);
    camera.userDefinedName = options_.userName.value_or("");
    camera.modelName = options_.model.value_or(camera.modelName);
    camera.form = options_.form.value_or(RequestForm::Native);
    camera.laneCount = static_cast<std::uint8_t>(options_.lanes.value_or(camera.laneCount));
    camera.laneRateBps = options_.laneRateBps.value_or(camera.laneRateBps);
    camera.driverVersion = options_.driverVersion.value_or(camera.driverVersion);
    camera.informationVersion = options_.informationVersion.value_or(camera.informationVersion);
    camera.moduleVersion = options_.moduleVersion.value_or(camera.moduleVersion);
    camera.misbehaviour = MisbehaviourOf(options_.faults, index);
    camera.faults = faults_;
    camera.index = index;
    camera.light.level = options_.light.value_or(camera.light.level);
    camera.light.temperature = options_.lightTemperature.value_or(camera.light.temperature);
    return camera;
}

CaptureOptions Board::MakeCaptureOptions(unsigned index, Pace pace) const
{
    const std::string& serial = cameras_[index]->Options().serialNumber;
    CaptureOptions capture;
    capture.isMultiPlanar = options_.isMultiPlanar.value_or(definition_.isMultiPlanar);
    capture.pace = pace;
    capture.fps = options_.fps.value_or(0);
    capture.maxWidth = definition_.maxWidth;
    capture.maxHeight = definition_.maxHeight;
    if (definition_.hasConnectionFile && ConnectionOf(index) != 0)
        capture.maxWidth = 2048;
    capture.maxWidth = std::min(capture.maxWidth, options_.maxWidth.value_or(capture.maxWidth));
    capture.maxBuffers = options_.maxBuffers.value_or(capture.maxBuffers);
    capture.widthStep = options_.widthStep.value_or(capture.widthStep);
    capture.faults = faults_;
    capture.index = index;
    capture.busInfo = Numbered("platform:csi.%u", index);
    capture.cameraName = serial.substr(serial.find(':') + 1);
    return capture;
}

/// Content of csi_id: which of the board's receivers the camera is at.
std::uint32_t Board::ConnectionOf(unsigned index) const
{
    return index == 0 ? options_.csiId.value_or(0) : index;
}

NodeIdentity Board::NextIdentity(const char* name, unsigned number)
{
    return {"/dev/" + std::string(name) + std::to_string(number), kVideoMajor, videoMinors_++};
}

/// A media device for some of the cameras. Capture entities are registered first, sensors last;
/// the interfaces come before the links.
void Board::AddGraph(unsigned firstCamera, unsigned cameras)
{
    struct Registered {
        std::uint32_t entity;
        const DeviceNode* node;
    };
    MediaGraph graph;
    std::vector<Registered> subDevices;
    std::vector<std::vector<std::uint32_t>> chains;

    const auto addSubDevice = [&](const std::string& name, std::uint32_t function, unsigned sinks,
                                  Camera* camera) {
        const std::uint32_t entity = graph.AddEntity(name, function, sinks, 1);
        auto node =
            std::make_unique<SubDeviceNode>(NextIdentity("v4l-subdev", subDeviceNodes_++), camera);
        subDevices.push_back({entity, node.get()});
        if (camera)
            cameraNodes_[chains.size() + firstCamera] = node.get();
        nodes_.push_back(std::move(node));
        return entity;
    };
    for (unsigned i = firstCamera; i < firstCamera + cameras; ++i) {
        const NodeIdentity& capture = captureNodes_[i]->Identity();
        std::vector<std::uint32_t> chain;
        chain.push_back(
            graph.AddEntity(Numbered(definition_.captureEntity, i), MEDIA_ENT_F_IO_V4L, 1, 0));
        graph.AddInterface(chain.back(), MEDIA_INTF_T_V4L_VIDEO, capture.major, capture.minor);
        for (std::size_t step = definition_.chain.size(); step-- > 0;) {
            const ChainEntity& entity = definition_.chain[step];
            chain.push_back(addSubDevice(Numbered(entity.name, i), entity.function, 1, nullptr));
        }
        chain.push_back(addSubDevice(Numbered(definition_.sensorEntity, i), MEDIA_ENT_F_CAM_SENSOR,
                                     0, cameras_[i].get()));
        chains.push_back(std::move(chain));
    }
    for (const Registered& device : subDevices)
        graph.AddInterface(device.entity, MEDIA_INTF_T_V4L_SUBDEV, device.node->Identity().major,
                           device.node->Identity().minor);
    for (const std::vector<std::uint32_t>& chain : chains)
        for (std::size_t i = chain.size() - 1; i > 0; --i)
            graph.AddLink(chain[i], chain[i - 1]);

    NodeIdentity identity{"/dev/media" + std::to_string(mediaNodes_), kMediaMajor, mediaNodes_};
    nodes_.push_back(std::make_unique<MediaNode>(
        std::move(identity), definition_.mediaDriver, definition_.mediaModel,
        Numbered("platform:media.%u", mediaNodes_), std::move(graph)));
    ++mediaNodes_;
}

void Board::AddFiles()
{
    for (const auto& node : nodes_) {
        const NodeIdentity& identity = node->Identity();
        const std::string number =
            std::to_string(identity.major) + ":" + std::to_string(identity.minor);
        files_.push_back({"/sys/dev/char/" + number + "/uevent",
                          "MAJOR=" + std::to_string(identity.major) +
                              "\nMINOR=" + std::to_string(identity.minor) +
                              "\nDEVNAME=" + identity.path.substr(5) + "\n"});
    }
    for (const BoardFile& file : definition_.files)
        files_.push_back({file.path, file.content});
    for (unsigned i = 0; definition_.hasConnectionFile && i < options_.cameras; ++i) {
        std::string bytes(4, '\0');
        GenTLProducer::storeBigEndian(bytes.data(), ConnectionOf(i));
        files_.push_back({"/proc/device-tree/soc@0/bus@30800000/i2c@30a" + std::to_string(3 + i) +
                              "0000/tolmen_camera@36/csi_id",
                          bytes});
    }
}

// Paths.

const DeviceNode* Board::FindNode(std::string_view path) const
{
    for (const auto& node : nodes_)
        if (node->Identity().path == path && !node->IsUnplugged())
            return node.get();
    return nullptr;
}

const Board::VirtualFile* Board::FindFile(std::string_view path) const
{
    for (const VirtualFile& file : files_)
        if (file.path == path)
            return &file;
    return nullptr;
}

PathKind Board::Kind(std::string_view path) const
{
    if (!IsBoardPath(path))
        return PathKind::Foreign;
    if (path == kKernelLog)
        return PathKind::KernelLog;
    if (FindNode(path))
        return PathKind::Node;
    if (FindFile(path))
        return PathKind::File;
    const bool isFolder = std::any_of(files_.begin(), files_.end(), [&](const VirtualFile& file) {
        return IsBelow(file.path, path);
    });
    return isFolder ? PathKind::Directory : PathKind::Absent;
}

std::vector<std::string> Board::Paths() const
{
    std::vector<std::string> paths{std::string(kKernelLog)};
    for (const auto& node : nodes_)
        if (!node->IsUnplugged())
            paths.push_back(node->Identity().path);
    for (const VirtualFile& file : files_)
        paths.push_back(file.path);
    return paths;
}

std::vector<std::string> Board::Entries(std::string_view directory) const
{
    std::vector<std::string> entries;
    for (const std::string& path : Paths()) {
        if (!IsBelow(path, directory))
            continue;
        const std::size_t start = directory.size() + 1;
        const std::string_view child = std::string_view(path).substr(0, path.find('/', start));
        if (IsBoardPath(child) || directory == "/proc" || directory == "/proc/device-tree")
            entries.emplace_back(child.substr(start));
    }
    std::sort(entries.begin(), entries.end());
    entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
    return entries;
}

bool Board::Describe(std::string_view path, struct stat& status) const
{
    const PathKind kind = Kind(path);
    if (kind == PathKind::Foreign || kind == PathKind::Absent)
        return false;
    status = {};
    status.st_nlink = 1;
    status.st_blksize = 4096;
    status.st_ino = 0x5A000000 + std::hash<std::string_view>()(path) % 0xFFFFFF;
    if (kind == PathKind::Node) {
        const NodeIdentity& identity = FindNode(path)->Identity();
        status.st_mode = S_IFCHR | 0666;
        status.st_rdev = makedev(identity.major, identity.minor);
    } else if (kind == PathKind::KernelLog) {
        status.st_mode = S_IFCHR | 0644;
        status.st_rdev = makedev(1, 11);
    } else if (kind == PathKind::File) {
        status.st_mode = S_IFREG | 0444;
        status.st_size = static_cast<off_t>(FindFile(path)->content.size());
    } else {
        status.st_mode = S_IFDIR | 0555;
        status.st_nlink = 2;
    }
    return true;
}

// Descriptors.

/// Keeps a slot's file while a call works on it.
class Board::FileUser
{
public:
    FileUser(Board& board, int fd) : board_(board)
    {
        struct stat status;
        if (!board.HasOpenFiles() || sys::Stat(fd, status) != 0)
            return;
        Slot* slot = const_cast<Slot*>(board.FindSlot(status));
        if (!slot)
            return;
        ++slot->users;
        if (slot->inode == status.st_ino)
            slot_ = slot;
        else
            --slot->users;
    }
    FileUser(const FileUser&) = delete;
    FileUser& operator=(const FileUser&) = delete;
    ~FileUser()
    {
        if (slot_ && --slot_->users == 0 && board_.isReapDue_)
            board_.Reap();
    }

    explicit operator bool() const { return slot_ != nullptr; }
    OpenFile& File() const { return slot_->file; }
    DeviceNode& Node() const { return slot_->file.Node(); }

private:
    Board& board_;
    Slot* slot_ = nullptr;
};

const Board::Slot* Board::FindSlot(const struct stat& status) const
{
    if (!S_ISSOCK(status.st_mode))
        return nullptr;
    for (const Slot& slot : slots_)
        if (slot.inode.load(std::memory_order_acquire) == status.st_ino)
            return &slot;
    return nullptr;
}

bool Board::Owns(int fd) const
{
    struct stat status;
    return HasOpenFiles() && sys::Stat(fd, status) == 0 && FindSlot(status);
}

bool Board::IsOwnDescriptor(int fd) const
{
    if (!HasOpenFiles())
        return false;
    return std::any_of(slots_.begin(), slots_.end(),
                       [&](const Slot& slot) { return slot.ownEnd == fd; });
}

std::optional<unsigned> Board::CameraOf(const DeviceNode* node) const
{
    for (unsigned i = 0; node && i < cameras_.size(); ++i)
        if (captureNodes_[i] == node || cameraNodes_[i] == node)
            return i;
    return std::nullopt;
}

int Board::FaultOf(FaultPlace place, int fd)
{
    const FileUser user(*this, fd);
    return user ? faults_->OnCall(place, CameraOf(&user.Node())) : 0;
}

int Board::FaultOf(FaultPlace place, std::string_view path)
{
    return faults_->OnCall(place, CameraOf(FindNode(path)));
}

int Board::Open(std::string_view path, int flags)
{
    if (const int result = FaultOf(FaultPlace::Open, path); result != 0)
        return result;
    switch (Kind(path)) {
    case PathKind::Foreign:
    case PathKind::Absent:
        return -ENOENT;
    case PathKind::Directory:
        return -EACCES;
    case PathKind::KernelLog: {
        const char* file = options_.kmsg.empty() ? "/dev/null" : options_.kmsg.c_str();
        return sys::Open(file, (flags & ~(O_TRUNC | O_EXCL)) | O_APPEND | O_CREAT, 0644);
    }
    case PathKind::File: {
        const std::string& content = FindFile(path)->content;
        return OpenFileCopy(content.substr(0, faults_->OnFile(content.size())), flags);
    }
    case PathKind::Node:
        break;
    }

    Reap();
    const std::lock_guard lock(mutex_);
    const auto slot = std::find_if(slots_.begin(), slots_.end(), [](const Slot& candidate) {
        return candidate.inode == 0 && candidate.users == 0;
    });
    if (slot == slots_.end())
        return -ENFILE;
    auto& node = const_cast<DeviceNode&>(*FindNode(path));
    int fd = -1;
    if (const int result = slot->file.Create(node, flags, fd); result < 0)
        return result;
    node.Opened(slot->file);
    slot->ownEnd = slot->file.OwnEnd();
    slot->inode.store(slot->file.Inode(), std::memory_order_release);
    ++openFiles_;
    return fd;
}

/// A read-only descriptor on a copy of the content.
int Board::OpenFileCopy(const std::string& content, int flags)
{
    if ((flags & O_ACCMODE) != O_RDONLY)
        return -EACCES;
    Descriptor memory(sys::CreateMemoryFile("zevo-board-file"));
    if (!memory.IsValid())
        return memory.Get();
    if (const long result = sys::WriteFully(memory.Get(), content.data(), content.size());
        result < 0)
        return static_cast<int>(result);
    const std::string link = "/proc/self/fd/" + std::to_string(memory.Get());
    return sys::Open(link.c_str(), O_RDONLY | (flags & O_CLOEXEC));
}

int Board::Ioctl(int fd, unsigned long request, void* argument)
{
    request &= 0xFFFFFFFF;
    const FileUser user(*this, fd);
    if (!user)
        return -EBADF;
    switch (request) {
    case FIOCLEX:
    case FIONCLEX:
    case FIONBIO:
    case FIOASYNC:
        // The kernel answers these before the driver is asked.
        return static_cast<int>(sys::Call(SYS_ioctl, fd, request, argument));
    default:
        break;
    }
    const int fault = faults_->OnCall(FaultPlace::Request, CameraOf(&user.Node()), request);
    if (fault != 0)
        return fault;
    const int result = user.Node().Ioctl(user.File(), fd, request, argument);
    if (result != -EBUSY)
        return result;
    // Perhaps the file that is in the way has gone in silence.
    Reap();
    return user.Node().Ioctl(user.File(), fd, request, argument);
}

long Board::Map(int fd, void* address, std::size_t length, int protection, int flags, long offset)
{
    const FileUser user(*this, fd);
    if (!user)
        return -EBADF;
    if (const int fault = faults_->OnCall(FaultPlace::Map, CameraOf(&user.Node())); fault != 0)
        return fault;
    hasMappings_ = true;
    return user.Node().Map(user.File(), address, length, protection, flags, offset);
}

void Board::Unmapped(const void* address, std::size_t length)
{
    for (CaptureNode* node : captureNodes_)
        node->Unmapped(address, length);
}

std::optional<short> Board::Poll(int fd, short events)
{
    const FileUser user(*this, fd);
    if (!user)
        return std::nullopt;
    return user.Node().Poll(user.File(), fd, events);
}

bool Board::Describe(struct stat& status) const
{
    const Slot* slot = HasOpenFiles() ? FindSlot(status) : nullptr;
    return slot && Describe(slot->file.Node().Identity().path, status);
}

int Board::Close(int fd)
{
    // The descriptor has gone even where close() fails.
    const int fault = FaultOf(FaultPlace::Close, fd);
    const int result = sys::Close(fd);
    Reap();
    return fault != 0 ? fault : result;
}

void Board::Reap()
{
    if (!HasOpenFiles())
        return;
    const std::lock_guard lock(mutex_);
    isReapDue_ = false;
    for (Slot& slot : slots_) {
        if (slot.inode == 0 || slot.file.IsAlive())
            continue;
        if (slot.users != 0) {
            isReapDue_ = true;
            continue;
        }
        slot.inode = 0;
        slot.ownEnd = -1;
        slot.file.Node().Released(slot.file);
        slot.file.Close();
        --openFiles_;
    }
}

void Board::Unplug(std::size_t index)
{
    captureNodes_[index]->Unplug();
    if (cameraNodes_[index])
        cameraNodes_[index]->Unplug();
}

} // namespace zevo_sim
