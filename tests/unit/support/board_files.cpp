#include "board_files.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <glob.h>
#include <sys/stat.h>

namespace
{

test::BoardFiles* g_board = nullptr;
std::string g_root;

std::string Bent(const char* path)
{
    const std::string text(path);
    const bool isBoardPath = text.rfind("/dev/", 0) == 0 || text.rfind("/sys/", 0) == 0 ||
                             text.rfind("/proc/device-tree/", 0) == 0;
    return g_board && isBoardPath ? g_root + text : text;
}

template <typename Function>
Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// The definitions of a program stand before those of the C library.
extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int mode = va_arg(arguments, int);
    va_end(arguments);
    return Next<int(const char*, int, ...)>("open")(Bent(path).c_str(), flags, mode);
}

FILE* fopen(const char* path, const char* mode)
{
    return Next<FILE*(const char*, const char*)>("fopen")(Bent(path).c_str(), mode);
}

int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    int result = 0;
    if (g_board && g_board->onIoctl && g_board->onIoctl(fd, request, argument, result))
        return result;
    return Next<int(int, unsigned long, ...)>("ioctl")(fd, request, argument);
}

int glob(const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result) noexcept
{
    const std::string bent = Bent(pattern);
    const auto next = Next<int(const char*, int, int (*)(const char*, int), glob_t*)>("glob");
    const int code = next(bent.c_str(), flags, onError, result);
    for (std::size_t i = 0; code == 0 && bent != pattern && i < result->gl_pathc; ++i) {
        std::string path(result->gl_pathv[i] + g_root.size());
        path.copy(result->gl_pathv[i], path.size());
        result->gl_pathv[i][path.size()] = '\0';
    }
    return code;
}

} // extern "C"

namespace test
{

BoardFiles::BoardFiles()
{
    char folder[] = "/tmp/zevo-board-XXXXXX";
    if (!::mkdtemp(folder))
        std::abort();
    g_root = folder;
    g_board = this;
}

BoardFiles::~BoardFiles()
{
    g_board = nullptr;
    std::filesystem::remove_all(g_root);
}

void BoardFiles::Write(const std::string& boardPath, const std::string& content)
{
    const std::filesystem::path path = g_root + boardPath;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << content;
}

bool BoardFiles::IsOpenAs(int fd, const std::string& boardPath) const
{
    struct stat opened {
    };
    struct stat wanted {
    };
    return ::fstat(fd, &opened) == 0 && ::stat((g_root + boardPath).c_str(), &wanted) == 0 &&
           opened.st_ino == wanted.st_ino && opened.st_dev == wanted.st_dev;
}

} // namespace test
