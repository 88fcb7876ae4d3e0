// The board behind the interposed functions, one per process.
//
// Nothing here throws, touches errno, or can be cancelled. Results are those of system calls: 0 or
// a value, or a negative errno; kForeign for what isn't the board's, which goes to the C library.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <climits>
#include <cstddef>
#include <string>
#include <vector>

namespace zevo_shim
{

constexpr long kForeign = LONG_MIN;

/// The board has been made and has descriptors of the program: others needn't be looked at. Costs
/// next to nothing, and is false in a forked child.
bool HasDescriptors();

/// A path as the program gives it, relative to a directory's descriptor as openat() takes it.
struct PathArgument {
    int directory;
    const char* path;
};

long OpenPath(PathArgument path, int flags);
long StatPath(PathArgument path, struct stat& status);
long AccessPath(PathArgument path, int mode);

/// The error of an opendir() that the board lets fail; kForeign for none.
long OpenDirectory(const char* path);

bool Owns(int fd);
long Ioctl(int fd, unsigned long request, void* argument);
long Map(int fd, void* address, std::size_t length, int protection, int flags, long offset);
void NoteUnmap(const void* address, std::size_t length);
/// Told once for each poll() on the descriptor: 0, or the errno that it ends with.
long BeginPoll(int fd);
/// The events that poll() is to show.
long Poll(int fd, short events);
/// Refuses a descriptor that the board holds for itself, as one that isn't open.
long Close(int fd);
/// Turns the status of a descriptor's socket into that of its node.
void DescribeDescriptor(struct stat& status);

/// What the board adds to a directory of the host, and which of its names are hidden.
struct Overlay {
    std::vector<std::string> entries;
    std::string directory;

    bool Hides(const char* name) const;
};
/// False for a directory that the board has nothing to do with.
bool FindOverlay(const char* directory, Overlay& overlay);

} // namespace zevo_shim
