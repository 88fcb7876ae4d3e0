// Listing directories and expanding patterns.
#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/shim/board_calls.h"
#include "sim/shim/directory_stream.h"
#include "sim/shim/next_function.h"

using namespace zevo_shim;

namespace
{

static_assert(sizeof(dirent) == sizeof(dirent64), "both forms share their functions");

DIR* OpenOnHost(const char* path)
{
    return ZEVO_NEXT(opendir, DIR * (const char*))(path);
}

int CloseOnHost(DIR* directory)
{
    return ZEVO_NEXT(closedir, int(DIR*))(directory);
}

/// Null, with errno, for a directory that neither the host nor the board has.
DirectoryStream* OpenStream(const char* path)
{
    if (const long result = OpenDirectory(path); result != kForeign) {
        errno = static_cast<int>(-result);
        return nullptr;
    }
    Overlay overlay;
    FindOverlay(path, overlay);
    const int saved = errno;
    DIR* host = OpenOnHost(path);
    if (!host && overlay.entries.empty())
        return nullptr;
    errno = saved;
    auto* stream = new (std::nothrow) DirectoryStream(host, std::move(overlay));
    if (!stream && host)
        CloseOnHost(host);
    return stream;
}

// Streams of opendir(), by the C library's stream that the program holds.
struct Registered {
    std::atomic<DIR*> key{nullptr};
    DirectoryStream* stream = nullptr;
};
constexpr std::size_t kMaxStreams = 64;
Registered streams[kMaxStreams];
std::atomic<unsigned> streamCount{0};

Registered* FindStream(DIR* key)
{
    if (streamCount == 0 || !key)
        return nullptr;
    for (Registered& entry : streams)
        if (entry.key == key)
            return &entry;
    return nullptr;
}

/// Finds a free place; false if there is none.
bool Register(DIR* key, DirectoryStream* stream)
{
    for (Registered& entry : streams) {
        DIR* expected = nullptr;
        if (!entry.key.compare_exchange_strong(expected, key))
            continue;
        entry.stream = stream;
        ++streamCount;
        return true;
    }
    return false;
}

/// Lets the program's stream list what the overlay says, over the host's, if there is one.
DIR* AddOverlay(DIR* key, DIR* host, Overlay overlay)
{
    auto* stream = new (std::nothrow) DirectoryStream(host, std::move(overlay));
    if (key && stream && !Register(key, stream))
        delete stream;
    return key;
}

// What glob() is given in place of the C library's own.

void* GlobOpen(const char* path)
{
    return OpenStream(path);
}

dirent* GlobRead(void* stream)
{
    return static_cast<DirectoryStream*>(stream)->Next();
}

void GlobClose(void* argument)
{
    const std::unique_ptr<DirectoryStream> stream(static_cast<DirectoryStream*>(argument));
    if (stream->Host())
        CloseOnHost(stream->Host());
}

using Stat = int(const char*, struct stat*);

int GlobStatWith(Stat* next, const char* path, void* target)
{
    auto& status = *static_cast<struct stat*>(target);
    const long result = StatPath({AT_FDCWD, path}, status);
    if (result == kForeign)
        return next(path, &status);
    errno = result < 0 ? static_cast<int>(-result) : errno;
    return result < 0 ? -1 : 0;
}

template <typename Status>
int GlobStat(const char* path, Status* status)
{
    return GlobStatWith(ZEVO_NEXT(stat, Stat), path, status);
}

template <typename Status>
int GlobLinkStat(const char* path, Status* status)
{
    return GlobStatWith(ZEVO_NEXT(lstat, Stat), path, status);
}

/// Whether the matches may lie where the board has something to say.
bool ConcernsBoard(const char* pattern)
{
    if (!pattern || pattern[0] != '/')
        return false;
    const std::string_view text(pattern);
    const std::string_view literal = text.substr(0, text.find_first_of("*?[{\\"));
    for (const std::string_view root : {"/dev/", "/sys/", "/proc/"}) {
        const std::size_t common = std::min(literal.size(), root.size());
        if (literal.substr(0, common) == root.substr(0, common))
            return true;
    }
    return false;
}

template <typename Glob, typename Entry, typename Next, typename ErrorFunction>
int Expand(Next next, const char* pattern, int flags, ErrorFunction onError, Glob* result)
{
    if ((flags & GLOB_ALTDIRFUNC) != 0 || !ConcernsBoard(pattern))
        return next(pattern, flags, onError, result);
    const auto opened = result->gl_opendir;
    const auto readNext = result->gl_readdir;
    const auto closed = result->gl_closedir;
    const auto status = result->gl_stat;
    const auto linkStatus = result->gl_lstat;
    result->gl_opendir = GlobOpen;
    result->gl_readdir = reinterpret_cast<Entry* (*)(void*)>(GlobRead);
    result->gl_closedir = GlobClose;
    result->gl_stat = GlobStat;
    result->gl_lstat = GlobLinkStat;
    const int answer = next(pattern, flags | GLOB_ALTDIRFUNC, onError, result);
    result->gl_opendir = opened;
    result->gl_readdir = readNext;
    result->gl_closedir = closed;
    result->gl_stat = status;
    result->gl_lstat = linkStatus;
    result->gl_flags &= ~GLOB_ALTDIRFUNC;
    return answer;
}

using Filter = int(const dirent*);
using Compare = int(const dirent**, const dirent**);

int ReadAll(DirectoryStream& stream, dirent*** names, Filter* filter, Compare* compare)
{
    std::vector<dirent*> list;
    while (const dirent* entry = stream.Next()) {
        if (filter && filter(entry) == 0)
            continue;
        auto* copy = static_cast<dirent*>(malloc(sizeof(dirent)));
        if (!copy)
            return -1;
        memset(copy, 0, sizeof(dirent));
        memcpy(copy, entry, std::min<std::size_t>(entry->d_reclen, sizeof(dirent)));
        list.push_back(copy);
    }
    *names = static_cast<dirent**>(malloc((list.size() + 1) * sizeof(void*)));
    if (!*names)
        return -1;
    std::copy(list.begin(), list.end(), *names);
    if (compare)
        qsort(*names, list.size(), sizeof(void*),
              reinterpret_cast<int (*)(const void*, const void*)>(compare));
    return static_cast<int>(list.size());
}

int Scan(const char* path, dirent*** names, Filter* filter, Compare* compare)
{
    DirectoryStream* stream = OpenStream(path);
    if (!stream)
        return -1;
    const int count = ReadAll(*stream, names, filter, compare);
    GlobClose(stream);
    return count;
}

} // namespace

ZEVO_INTERPOSE(DIR*, opendir, const char* path)
{
    if (const long result = OpenDirectory(path); result != kForeign) {
        errno = static_cast<int>(-result);
        return nullptr;
    }
    Overlay overlay;
    if (!FindOverlay(path, overlay))
        return OpenOnHost(path);
    const int saved = errno;
    DIR* host = OpenOnHost(path);
    if (host)
        return AddOverlay(host, host, std::move(overlay));
    if (overlay.entries.empty())
        return nullptr;
    // The program needs a stream of the C library's; what it lists isn't looked at.
    errno = saved;
    return AddOverlay(OpenOnHost("/"), nullptr, std::move(overlay));
}

ZEVO_INTERPOSE(DIR*, fdopendir, int fd)
{
    DIR* host = ZEVO_NEXT(fdopendir, DIR * (int))(fd);
    char link[40];
    char path[PATH_MAX];
    snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
    const int saved = errno;
    const ssize_t size = host ? readlink(link, path, sizeof(path) - 1) : -1;
    errno = saved;
    if (size < 0)
        return host;
    path[size] = '\0';
    Overlay overlay;
    return FindOverlay(path, overlay) ? AddOverlay(host, host, std::move(overlay)) : host;
}

ZEVO_INTERPOSE(dirent*, readdir, DIR* directory)
{
    if (const Registered* entry = FindStream(directory))
        return entry->stream->Next();
    return ZEVO_NEXT(readdir, dirent * (DIR*))(directory);
}

ZEVO_INTERPOSE(dirent64*, readdir64, DIR* directory)
{
    if (const Registered* entry = FindStream(directory))
        return reinterpret_cast<dirent64*>(entry->stream->Next());
    return ZEVO_NEXT(readdir64, dirent64 * (DIR*))(directory);
}

ZEVO_INTERPOSE(void, rewinddir, DIR* directory)
{
    if (const Registered* entry = FindStream(directory))
        entry->stream->Rewind();
    else
        ZEVO_NEXT(rewinddir, void(DIR*))(directory);
}

ZEVO_INTERPOSE(int, closedir, DIR* directory)
{
    if (Registered* entry = FindStream(directory)) {
        delete std::exchange(entry->stream, nullptr);
        --streamCount;
        entry->key = nullptr;
    }
    return CloseOnHost(directory);
}

// The C library reads directories for this one past readdir().
#define ZEVO_SCANDIR(name)                                                                         \
    ZEVO_INTERPOSE(int, name, const char* path, dirent*** names, Filter* filter, Compare* compare) \
    {                                                                                              \
        Overlay overlay;                                                                           \
        if (FindOverlay(path, overlay))                                                            \
            return Scan(path, names, filter, compare);                                             \
        return ZEVO_NEXT(name, int(const char*, dirent***, Filter*, Compare*))(path, names,        \
                                                                               filter, compare);   \
    }

ZEVO_SCANDIR(scandir)
ZEVO_SCANDIR(scandir64)

ZEVO_INTERPOSE(int, glob, const char* pattern, int flags, int (*onError)(const char*, int),
               glob_t* result)
{
    return Expand<glob_t, dirent>(
        ZEVO_NEXT(glob, int(const char*, int, int (*)(const char*, int), glob_t*)), pattern, flags,
        onError, result);
}

ZEVO_INTERPOSE(int, glob64, const char* pattern, int flags, int (*onError)(const char*, int),
               glob64_t* result)
{
    return Expand<glob64_t, dirent64>(
        ZEVO_NEXT(glob64, int(const char*, int, int (*)(const char*, int), glob64_t*)), pattern,
        flags, onError, result);
}
