#include "sim/shim/board_calls.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "data/camera_data.h"
#include "sim/core/board.h"
#include "sim/core/board_options.h"

namespace zevo_shim
{

namespace
{

using zevo_sim::Board;
using zevo_sim::FaultPlace;
using zevo_sim::PathKind;

// The state of the process: plain data, made when the first path of a board is touched and never
// freed, since threads of the host may outlive everything.
std::atomic<Board*> theBoard{nullptr};
std::atomic<bool> isOff{false};    // no board is asked for
std::atomic<bool> isForked{false}; // a child that has inherited the state of its parent
pthread_mutex_t creation = PTHREAD_MUTEX_INITIALIZER;

/// Keeps errno, and the thread from being cancelled in the middle of the board.
class Call
{
public:
    Call() : errno_(errno) { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call()
    {
        pthread_setcancelstate(cancelState_, nullptr);
        errno = errno_;
    }

private:
    int errno_;
    int cancelState_ = 0;
};

template <typename Function>
long Guarded(Function function) noexcept
{
    const Call call;
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (...) {
        return -EIO;
    }
}

Board* MakeBoard()
{
    const char* text = getenv(zevo_sim::kBoardVariable);
    if (!text || *text == '\0')
        return nullptr;
    try {
        return new Board(zevo_sim::BoardOptions::FromText(text), mcm::firmwareImage());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zevo-board: %s: %s\n", zevo_sim::kBoardVariable, error.what());
        return nullptr;
    }
}

/// Makes the board at the first call. Null where none is asked for.
Board* TouchBoard()
{
    if (Board* board = theBoard.load(std::memory_order_acquire))
        return board;
    if (isOff)
        return nullptr;
    pthread_mutex_lock(&creation);
    Board* board = theBoard.load(std::memory_order_relaxed);
    if (!board && !isOff) {
        board = MakeBoard();
        isOff = board == nullptr;
        if (board)
            pthread_atfork(nullptr, nullptr, [] { isForked = true; });
        theBoard.store(board, std::memory_order_release);
    }
    pthread_mutex_unlock(&creation);
    return board;
}

/// The board for a call on a descriptor; null where there is nothing to do.
Board* ActiveBoard()
{
    return isForked.load(std::memory_order_relaxed) ? nullptr
                                                    : theBoard.load(std::memory_order_acquire);
}

// Paths.

/// An absolute path without "." and "..", as far as that can be told from the text.
class Path
{
public:
    /// Appends the parts of a path; false if there is no room.
    bool Append(std::string_view text)
    {
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = std::min(text.find('/', start), text.size());
            const std::string_view part = text.substr(start, end - start);
            start = end + 1;
            if (part.empty() || part == ".")
                continue;
            if (part == "..") {
                size_ = std::max<std::size_t>(View().rfind('/') + 1, 1) - 1;
                continue;
            }
            if (size_ + 1 + part.size() > text_.size())
                return false;
            text_[size_++] = '/';
            part.copy(&text_[size_], part.size());
            size_ += part.size();
        }
        return true;
    }

    std::string_view View() const { return {text_.data(), size_}; }

private:
    std::array<char, PATH_MAX> text_;
    std::size_t size_ = 0;
};

/// Whether a relative path may lead to a board at all, by its last name.
bool MayBeRelative(std::string_view path)
{
    constexpr std::string_view names[] = {"video",  "media",  "v4l-subdev",    "kmsg",
                                          "uevent", "soc_id", "tegra_chip_id", "csi_id"};
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return std::any_of(std::begin(names), std::end(names), [&](std::string_view candidate) {
        return name.substr(0, candidate.size()) == candidate;
    });
}

bool AppendDirectory(Path& path, int directory)
{
    std::array<char, PATH_MAX> text;
    if (directory == AT_FDCWD)
        return getcwd(text.data(), text.size()) && path.Append(text.data());
    char link[40];
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", directory);
    const ssize_t size = readlink(link, text.data(), text.size());
    return size > 0 && text[0] == '/' && path.Append({text.data(), static_cast<std::size_t>(size)});
}

bool Resolve(PathArgument argument, Path& path)
{
    if (!argument.path || *argument.path == '\0')
        return false;
    const std::string_view text(argument.path);
    if (text[0] == '/')
        return path.Append(text);
    return MayBeRelative(text) && AppendDirectory(path, argument.directory) && path.Append(text);
}

/// Runs the function with the board and the path, if the path is the board's. In a forked child
/// such paths lead nowhere.
template <typename Function>
long OnBoardPath(PathArgument argument, Function function)
{
    return Guarded([&]() -> long {
        Path path;
        if (!Resolve(argument, path) || !zevo_sim::IsBoardPath(path.View()))
            return kForeign;
        Board* board = TouchBoard();
        if (!board)
            return kForeign;
        if (isForked)
            return -ENOENT;
        return function(*board, path.View());
    });
}

template <typename Function>
long OnDescriptor(Function function)
{
    Board* board = ActiveBoard();
    if (!board || !board->HasOpenFiles())
        return kForeign;
    return Guarded([&]() -> long {
        const long result = function(*board);
        return result == -EBADF ? kForeign : result;
    });
}

} // namespace

bool HasDescriptors()
{
    const Board* board = ActiveBoard();
    return board && board->HasOpenFiles();
}

long OpenPath(PathArgument path, int flags)
{
    return OnBoardPath(
        path, [&](Board& board, std::string_view name) -> long { return board.Open(name, flags); });
}

long StatPath(PathArgument path, struct stat& status)
{
    return OnBoardPath(path, [&](Board& board, std::string_view name) -> long {
        if (const int fault = board.FaultOf(FaultPlace::Stat, name); fault != 0)
            return fault;
        return board.Describe(name, status) ? 0 : -ENOENT;
    });
}

long AccessPath(PathArgument path, int mode)
{
    return OnBoardPath(path, [&](Board& board, std::string_view name) -> long {
        if (const int fault = board.FaultOf(FaultPlace::Access, name); fault != 0)
            return fault;
        const PathKind kind = board.Kind(name);
        if (kind == PathKind::Absent)
            return -ENOENT;
        const bool isWritable = kind == PathKind::Node || kind == PathKind::KernelLog;
        const int refused = (isWritable ? 0 : W_OK) | (kind == PathKind::Directory ? 0 : X_OK);
        return (mode & refused) != 0 ? -EACCES : 0;
    });
}

long OpenDirectory(const char* path)
{
    Overlay overlay;
    if (!FindOverlay(path, overlay))
        return kForeign;
    const long fault = Guarded([&]() -> long {
        Board* board = ActiveBoard();
        return board ? board->FaultOf(FaultPlace::Directory, overlay.directory) : 0;
    });
    return fault != 0 ? fault : kForeign;
}

bool Owns(int fd)
{
    return OnDescriptor([&](Board& board) -> long { return board.Owns(fd) ? 1 : 0; }) == 1;
}

long Ioctl(int fd, unsigned long request, void* argument)
{
    return OnDescriptor([&](Board& board) -> long { return board.Ioctl(fd, request, argument); });
}

long Map(int fd, void* address, std::size_t length, int protection, int flags, long offset)
{
    return OnDescriptor(
        [&](Board& board) { return board.Map(fd, address, length, protection, flags, offset); });
}

void NoteUnmap(const void* address, std::size_t length)
{
    Board* board = ActiveBoard();
    if (board && board->HasMappings())
        Guarded([&]() -> long {
            board->Unmapped(address, length);
            return 0;
        });
}

long BeginPoll(int fd)
{
    return OnDescriptor([&](Board& board) -> long { return board.FaultOf(FaultPlace::Poll, fd); });
}

long Poll(int fd, short events)
{
    return OnDescriptor([&](Board& board) -> long {
        const std::optional<short> shown = board.Poll(fd, events);
        return shown ? *shown : kForeign;
    });
}

long Close(int fd)
{
    const long isOwn =
        OnDescriptor([&](Board& board) -> long { return board.IsOwnDescriptor(fd) ? 1 : 0; });
    if (isOwn == 1)
        return -EBADF;
    return OnDescriptor(
        [&](Board& board) -> long { return board.Owns(fd) ? board.Close(fd) : kForeign; });
}

void DescribeDescriptor(struct stat& status)
{
    OnDescriptor([&](Board& board) -> long { return board.Describe(status) ? 0 : kForeign; });
}

bool Overlay::Hides(const char* name) const
{
    return zevo_sim::IsBoardPath(directory + "/" + name);
}

bool FindOverlay(const char* directory, Overlay& overlay)
{
    return Guarded([&]() -> long {
               Path path;
               if (!directory || directory[0] != '/' || !path.Append(directory))
                   return 0;
               overlay.directory = std::string(path.View());
               constexpr std::string_view roots[] = {"/dev", "/sys", "/proc"};
               const bool isNear =
                   std::any_of(std::begin(roots), std::end(roots), [&](std::string_view root) {
                       return path.View().substr(0, root.size()) == root;
                   });
               Board* board = isNear ? TouchBoard() : nullptr;
               if (!board)
                   return 0;
               if (!isForked)
                   overlay.entries = board->Entries(overlay.directory);
               return overlay.directory == "/dev" || overlay.directory == "/sys/dev/char" ||
                              !overlay.entries.empty() || overlay.Hides("x")
                          ? 1
                          : 0;
           }) == 1;
}

} // namespace zevo_shim
