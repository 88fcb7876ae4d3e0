// Started on a board with a media graph and two cameras: what a program's file functions see.
#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>
#include <vector>

// What programs call that are compiled with _FORTIFY_SOURCE.
extern "C" int __open_2(const char*, int);
extern "C" int __open64_2(const char*, int);
extern "C" int __openat_2(int, const char*, int);
extern "C" int __openat64_2(int, const char*, int);

namespace
{

constexpr char kSocId[] = "/sys/devices/soc0/soc_id";
constexpr char kConnection[] = "/proc/device-tree/soc@0/*/*/tolmen_camera@36/csi_id";

TEST(Opening, EveryFormLeadsToTheBoard)
{
    const struct {
        const char* name;
        int (*open)(const char*);
    } forms[] = {
        // clang-format off
        {"open", [](const char* path) { return open(path, O_RDWR); }},
        {"open64", [](const char* path) { return open64(path, O_RDWR); }},
        {"openat", [](const char* path) { return openat(AT_FDCWD, path, O_RDWR); }},
        {"openat64", [](const char* path) { return openat64(AT_FDCWD, path, O_RDWR); }},
        {"__open_2", [](const char* path) { return __open_2(path, O_RDWR); }},
        {"__open64_2", [](const char* path) { return __open64_2(path, O_RDWR); }},
        {"__openat_2", [](const char* path) { return __openat_2(AT_FDCWD, path, O_RDWR); }},
        {"__openat64_2", [](const char* path) { return __openat64_2(AT_FDCWD, path, O_RDWR); }},
        // clang-format on
    };
    for (const auto& form : forms) {
        for (const char* path : {"/dev/video0", "/dev//./video1", "/dev/../dev/media0"}) {
            const int fd = form.open(path);
            ASSERT_GE(fd, 0) << form.name << " " << path;
            struct stat status;
            EXPECT_EQ(fstat(fd, &status), 0);
            EXPECT_TRUE(S_ISCHR(status.st_mode)) << form.name;
            EXPECT_EQ(close(fd), 0);
        }
        errno = 0;
        EXPECT_EQ(form.open("/dev/video9"), -1) << form.name;
        EXPECT_EQ(errno, ENOENT) << form.name;
    }
}

TEST(Opening, RelativePathsCountFromTheirDirectory)
{
    const int dev = open("/dev", O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dev, 0);
    const int fd = openat(dev, "video0", O_RDWR);
    EXPECT_GE(fd, 0);
    close(fd);
    EXPECT_EQ(openat(dev, "video7", O_RDWR), -1);
    EXPECT_EQ(open("video0", O_RDWR), -1) << "not in the working directory";
    close(dev);
}

TEST(Opening, ForeignFilesPassWithErrnoUntouched)
{
    char name[] = "/tmp/zevo-probe-XXXXXX";
    close(mkstemp(name));
    unlink(name);
    errno = 77;
    const int fd = open(name, O_RDWR | O_CREAT, 0400);
    ASSERT_GE(fd, 0);
    struct stat status;
    EXPECT_EQ(fstat(fd, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0400u);
    EXPECT_EQ(close(fd), 0);
    EXPECT_EQ(errno, 77);
    unlink(name);
}

TEST(Reading, EveryReaderSeesTheFile)
{
    for (const auto open : {&fopen, &fopen64}) {
        FILE* file = open(kSocId, "r");
        ASSERT_NE(file, nullptr);
        char line[32] = {};
        EXPECT_STREQ(fgets(line, sizeof(line), file), "i.MX8MP\n");
        EXPECT_EQ(fgets(line, sizeof(line), file), nullptr);
        EXPECT_EQ(fclose(file), 0);
        EXPECT_EQ(open(kSocId, "r+"), nullptr);
        EXPECT_EQ(errno, EACCES);
    }
    std::string line;
    EXPECT_TRUE(std::getline(std::ifstream(kSocId), line));
    EXPECT_EQ(line, "i.MX8MP");
}

TEST(Asking, StatusTellsKindAndNumber)
{
    struct stat status;
    for (const auto ask : {&stat, &lstat}) {
        ASSERT_EQ(ask("/dev/video1", &status), 0);
        EXPECT_TRUE(S_ISCHR(status.st_mode));
        EXPECT_EQ(status.st_rdev, makedev(81, 1));
        ASSERT_EQ(ask(kSocId, &status), 0);
        EXPECT_TRUE(S_ISREG(status.st_mode));
        EXPECT_EQ(status.st_size, 8);
        EXPECT_EQ(ask("/dev/media1", &status), -1);
        EXPECT_EQ(errno, ENOENT);
    }
    struct stat64 large;
    EXPECT_EQ(stat64("/dev/media0", &large), 0);
    EXPECT_EQ(fstatat(AT_FDCWD, "/dev/media0", &status, 0), 0);
    struct statx extended;
    EXPECT_EQ(statx(AT_FDCWD, "/dev/video0", 0, STATX_BASIC_STATS, &extended), 0);
    EXPECT_EQ(extended.stx_rdev_major, 81u);
    EXPECT_EQ(access("/dev/video0", R_OK | W_OK), 0);
    EXPECT_EQ(access(kSocId, W_OK), -1);
    EXPECT_EQ(faccessat(AT_FDCWD, "/dev/video4", F_OK, 0), -1);
}

template <typename Glob, typename Expand, typename Free>
std::vector<std::string> Expanded(Expand expand, Free release, const char* pattern)
{
    Glob matches{};
    const int result = expand(pattern, GLOB_BRACE, nullptr, &matches);
    EXPECT_TRUE(result == 0 || result == GLOB_NOMATCH);
    const std::vector<std::string> paths(matches.gl_pathv, matches.gl_pathv + matches.gl_pathc);
    EXPECT_EQ(matches.gl_flags & GLOB_ALTDIRFUNC, 0);
    release(&matches);
    return paths;
}

TEST(Expanding, PatternsMatchTheBoardsPaths)
{
    const struct {
        const char* pattern;
        std::vector<std::string> paths;
    } cases[] = {
        {"/dev/{media,video}*", {"/dev/media0", "/dev/video0", "/dev/video1"}},
        {"/dev/video[1-9]", {"/dev/video1"}},
        {"/d*v/video0", {"/dev/video0"}},
        {"/dev/video0", {"/dev/video0"}},
        {"/dev/video7", {}},
        {"/sys/module/tegra_fuse/*/*", {}},
        {kConnection,
         {"/proc/device-tree/soc@0/bus@30800000/i2c@30a30000/tolmen_camera@36/csi_id",
          "/proc/device-tree/soc@0/bus@30800000/i2c@30a40000/tolmen_camera@36/csi_id"}},
        {"/dev/nul[l]", {"/dev/null"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ((Expanded<glob_t>(glob, globfree, c.pattern)), c.paths) << c.pattern;
        EXPECT_EQ((Expanded<glob64_t>(glob64, globfree64, c.pattern)), c.paths) << c.pattern;
    }
}

TEST(Listing, ShowsTheBoardAndTheRestOfTheHost)
{
    std::vector<std::string> names;
    DIR* directory = opendir("/dev");
    ASSERT_NE(directory, nullptr);
    for (int round = 0; round < 2; ++round, rewinddir(directory))
        while (const dirent* entry = readdir(directory))
            names.emplace_back(entry->d_name);
    EXPECT_EQ(closedir(directory), 0);
    for (const auto& [name, count] :
         {std::pair{"video0", 2}, {"media0", 2}, {"null", 2}, {"video2", 0}, {"media1", 0}})
        EXPECT_EQ(std::count(names.begin(), names.end(), name), count) << name;
}

TEST(KernelLog, GoesToTheFile)
{
    unlink(ZEVO_PROBE_KMSG);
    for (const char* text : {"first\n", "second\n"}) {
        FILE* log = fopen("/dev/kmsg", "w");
        ASSERT_NE(log, nullptr);
        EXPECT_GE(fputs(text, log), 0);
        EXPECT_EQ(fclose(log), 0);
    }
    std::ifstream written(ZEVO_PROBE_KMSG);
    const std::string all(std::istreambuf_iterator<char>(written), {});
    EXPECT_EQ(all, "first\nsecond\n");
}

} // namespace
