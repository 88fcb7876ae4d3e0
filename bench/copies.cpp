#include "copies.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "image/copy_processing.h"
#include "image/frame_kernels.h"
#include "image/yuv420_image_processing.h"
#include "plain_loop.h"

namespace zevo_bench
{

namespace
{

constexpr int kRepetitions = 5;

std::uint8_t* mapMemory(std::size_t size)
{
    void* memory =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    Require(memory != MAP_FAILED, "no memory for frames");
    return static_cast<std::uint8_t*>(memory);
}

void readOnce(const std::uint8_t* memory, std::size_t size)
{
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i + sizeof sum <= size; i += sizeof sum) {
        std::uint64_t word = 0;
        std::memcpy(&word, memory + i, sizeof word);
        sum += word;
    }
    asm volatile("" : : "r"(sum));
}

/// An operation, its bytes, and the samples of all that it is compared with.
struct Race {
    std::size_t size;
    FrameMemory::Transport transport;
    Samples plain{};
    Samples shifted{};
    Samples withReader{};
    Samples yardstick{};
    Samples yardstickWithReader{};
    Samples fresh{};
    Samples freshMemcpy{};
};

/// Into memory that was never written before.
double timeFresh(const FrameMemory::Transport& transport, std::size_t size,
                 const std::uint8_t* source)
{
    std::uint8_t* fresh = mapMemory(size + 64);
    const double start = ThreadSeconds();
    transport(source, fresh + 16);
    const double seconds = ThreadSeconds() - start;
    ::munmap(fresh, size + 64);
    return seconds;
}

void runRound(Race& race, FrameMemory& memory, FrameMemory& shifted, const std::uint8_t* source)
{
    const auto copy = [&](const std::uint8_t* from, std::uint8_t* to) {
        std::memcpy(to, from, race.size);
    };
    race.plain.push_back(memory.TimeOf(race.transport));
    race.yardstick.push_back(memory.TimeOf(copy));
    race.shifted.push_back(shifted.TimeOf(race.transport));
    race.withReader.push_back(memory.TimeOf(race.transport, race.size));
    race.yardstickWithReader.push_back(memory.TimeOf(copy, race.size));
    race.fresh.push_back(timeFresh(race.transport, race.size, source));
    race.freshMemcpy.push_back(timeFresh(copy, race.size, source));
}

Samples ratios(const Samples& of, const Samples& to)
{
    Samples result(of.size());
    std::transform(of.begin(), of.end(), to.begin(), result.begin(),
                   [](double a, double b) { return a / b; });
    return result;
}

void show(const std::string& name, const Race& race, double bound)
{
    Row(name + ", time", MedianOf(race.plain) * 1e3, Limit::None, 0, "ms");
    Row(name + ", speed / memcpy", MedianOf(ratios(race.yardstick, race.plain)), Limit::AtLeast,
        bound);
    Row(name + " and a reader / memcpy and a reader",
        MedianOf(ratios(race.yardstickWithReader, race.withReader)), Limit::AtLeast, bound);
    Row(name + ", fresh memory, time / memcpy's", MedianOf(ratios(race.fresh, race.freshMemcpy)),
        Limit::AtMost, 1.1);
    Row(name + ", odd source, user buffer 16 mod 64, time / aligned",
        MedianOf(ratios(race.shifted, race.plain)), Limit::AtMost, 1.1);
}

} // namespace

FrameMemory::FrameMemory(const Effort& effort, std::size_t sourceOffset,
                         std::size_t destinationOffset)
    : mappedSize_(std::size_t{2} * effort.width * effort.height + 4096),
      sourceOffset_(sourceOffset), destinationOffset_(destinationOffset)
{
    for (int i = 0; i < effort.kernelBuffers + effort.userBuffers; ++i) {
        std::uint8_t* memory = mapMemory(mappedSize_);
        std::memset(memory, i, mappedSize_);
        (i < effort.kernelBuffers ? sources_ : destinations_).push_back(memory);
    }
}

FrameMemory::~FrameMemory()
{
    for (const auto* side : {&sources_, &destinations_}) {
        for (std::uint8_t* memory : *side)
            ::munmap(memory, mappedSize_);
    }
}

double FrameMemory::TimeOf(const Transport& transport, std::size_t readSize)
{
    const double start = ThreadSeconds();
    for (int i = 0; i < kRepetitions; ++i, ++next_) {
        std::uint8_t* destination = destinations_[next_ % destinations_.size()];
        transport(sources_[next_ % sources_.size()] + sourceOffset_,
                  destination + destinationOffset_);
        readOnce(destination + destinationOffset_, readSize);
    }
    return (ThreadSeconds() - start) / kRepetitions;
}

void MeasureCopies(const Effort& effort)
{
    const std::size_t area = std::size_t{effort.width} * effort.height;
    V4lX::CopyProcessing copy;
    V4lX::Yuv420ImageProcessing conversion;
    copy.Prepare({effort.width, effort.height, 0, 2 * area},
                 {effort.width, effort.height, 0, 2 * area});
    const V4lX::ImageProperties planar = {effort.width, effort.height, 0, area * 3 / 2};
    conversion.Prepare(planar, planar);

    Race copied = {2 * area, [&](const std::uint8_t* source, std::uint8_t* destination) {
                       copy.Process(source, destination, 2 * area);
                   }};
    Race converted = {area * 3 / 2, [&](const std::uint8_t* source, std::uint8_t* destination) {
                          conversion.Process(source, destination, area * 3 / 2);
                      }};
    const auto portable = [&](const std::uint8_t* source, std::uint8_t* destination) {
        V4lX::kPortableKernels.convertYuv420(source, destination, effort.width, effort.height);
    };

    const auto plain = [&](const std::uint8_t* source, std::uint8_t* destination) {
        ConvertByPlainLoop(source, destination, effort.width, effort.height);
    };

    FrameMemory memory(effort, 0, 0);
    FrameMemory shifted(effort, 3, 16);
    std::uint8_t* source = mapMemory(2 * area);
    std::memset(source, 1, 2 * area);
    Samples portableTimes;
    Samples plainTimes;
    for (int round = 0; round < effort.rounds; ++round) {
        runRound(copied, memory, shifted, source);
        runRound(converted, memory, shifted, source);
        portableTimes.push_back(memory.TimeOf(portable));
        plainTimes.push_back(memory.TimeOf(plain));
    }
    ::munmap(source, 2 * area);

    const auto kernels = V4lX::AvailableFrameKernels();
    const bool isTuned = std::getenv("GLIBC_TUNABLES") != nullptr;
    Title(std::string("Frames of ") + std::to_string(effort.width) + " x " +
          std::to_string(effort.height) + ", " + kernels[kernels.size() - 1]->name +
          (isTuned ? ", memcpy past the caches from 1 MiB on" : ", memcpy as it is"));
    show("copy", copied, 0.97);
    show("4:2:0", converted, 0.95);
    Row("4:2:0, speed / plain loop at -O2", MedianOf(ratios(plainTimes, converted.plain)),
        Limit::AtLeast, 3);
    Row("4:2:0, speed / portable loop", MedianOf(ratios(portableTimes, converted.plain)));
}

int MeasureCopiesTuned(const Effort& effort)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("GLIBC_TUNABLES", "glibc.cpu.x86_non_temporal_threshold=1048576", 1);
        const bool isQuick = effort.rounds == 1;
        ::execl("/proc/self/exe", "zevo-bench", "--copies", isQuick ? "--quick" : nullptr, nullptr);
        ::_exit(255);
    }
    int status = 0;
    Require(child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
                WEXITSTATUS(status) != 255,
            "no copies in a child");
    return WEXITSTATUS(status);
}

} // namespace zevo_bench
