#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "sections.h"

namespace zevo_bench
{

namespace
{

/// What a child of this program with these arguments prints: one number.
double numberOf(const char* option, const char* value)
{
    int ends[2];
    Require(::pipe(ends) == 0, "no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(ends[1], 1);
        ::execl("/proc/self/exe", "zevo-bench", option, value, nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    double number = -1;
    std::FILE* output = ::fdopen(ends[0], "r");
    const int count = output ? std::fscanf(output, "%lf", &number) : 0;
    if (output)
        std::fclose(output);
    ::waitpid(child, nullptr, 0);
    Require(count == 1, std::string("no answer to ") + option);
    return number;
}

double residentBytes()
{
    std::ifstream file("/proc/self/statm");
    double size = 0;
    double resident = 0;
    file >> size >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

/// Entries of the relocation tables of the loaded producer.
double relocations()
{
    void* library = ::dlopen(ZEVO_PRODUCER, RTLD_NOW);
    link_map* map = nullptr;
    Require(library && ::dlinfo(library, RTLD_DI_LINKMAP, &map) == 0, "can't load the producer");
    std::size_t bytes = 0;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_RELASZ || entry->d_tag == DT_PLTRELSZ)
            bytes += entry->d_un.d_val;
    }
    ::dlclose(library);
    return static_cast<double>(bytes / sizeof(ElfW(Rela)));
}

} // namespace

int ServeStartUp()
{
    const double start = Seconds();
    ZEVO_CHECK(GCInitLib());
    std::printf("%f\n", (Seconds() - start) * 1e3);
    Producer().GCCloseLib();
    return 0;
}

// The simulated board makes itself in this process too, at the first look at a node.
int ServeResidentMemory(std::size_t buffers)
{
    ::close(::open("/dev/video0", O_RDWR));
    const double before = residentBytes();
    Camera camera;
    camera.OpenDevice();
    camera.OpenStream();
    for (std::size_t i = 0; i < buffers; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        ZEVO_CHECK(DSAllocAndAnnounceBuffer(camera.stream, camera.PayloadSize(), nullptr, &buffer));
    }
    std::printf("%f\n", (residentBytes() - before) / (1024 * 1024));
    return 0;
}

void MeasureStartUp(const Effort& effort)
{
    Title("Start-up");
    Samples times;
    for (int round = 0; round < effort.rounds; ++round)
        times.push_back(numberOf("--start-up", nullptr));
    Row("dlopen and GCInitLib", MedianOf(times), Limit::None, 0, "ms");
    struct stat status {
    };
    Require(::stat(ZEVO_PRODUCER, &status) == 0, "no producer");
    Row("library", static_cast<double>(status.st_size) / 1024, Limit::None, 0, "KiB");
    Row("relocations", relocations());
    Row("resident with one open stream, board included", numberOf("--resident", "0"), Limit::AtMost,
        4, "MiB");
    for (const char* buffers : {"4", "16", "100"})
        Row(std::string("  and with ") + buffers + " announced buffers",
            numberOf("--resident", buffers), Limit::None, 0, "MiB");
}

} // namespace zevo_bench
