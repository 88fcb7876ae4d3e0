// The loops over a frame, each alone: what a change of them does.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "image/frame_kernels.h"
#include "plain_loop.h"

namespace
{

constexpr std::size_t kWidth = 2592;
constexpr std::size_t kHeight = 1944;
constexpr std::size_t kBuffers = 20;

using Bytes = std::vector<std::uint8_t>;

// Runs a loop over buffers in turn, more than the caches hold.
template <typename Loop>
void run(benchmark::State& state, std::size_t size, Loop loop)
{
    static const std::vector<Bytes> sources(kBuffers, Bytes(2 * kWidth * kHeight, 1));
    static std::vector<Bytes> destinations(2 * kBuffers, Bytes(2 * kWidth * kHeight, 2));
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        loop(sources[next % kBuffers].data(), destinations[next % (2 * kBuffers)].data());
        ++next;
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

void add(const std::string& name, std::size_t size,
         const std::function<void(const std::uint8_t*, std::uint8_t*)>& loop)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { run(state, size, loop); });
}

} // namespace

int main(int argc, char** argv)
{
    constexpr std::size_t kCopied = 2 * kWidth * kHeight;
    constexpr std::size_t kConverted = kWidth * kHeight * 3 / 2;
    add("copy/memcpy", kCopied, [](const std::uint8_t* source, std::uint8_t* destination) {
        std::memcpy(destination, source, kCopied);
    });
    add("convert/plain loop", kConverted,
        [](const std::uint8_t* source, std::uint8_t* destination) {
            zevo_bench::ConvertByPlainLoop(source, destination, kWidth, kHeight);
        });
    for (const V4lX::FrameKernels* kernels : V4lX::AvailableFrameKernels()) {
        const std::string name = kernels->name;
        if (kernels->copyStreamed)
            add("copy/" + name + "/streamed", kCopied, [=](const auto* source, auto* destination) {
                kernels->copyStreamed(source, destination, kCopied);
            });
        add("convert/" + name, kConverted, [=](const auto* source, auto* destination) {
            kernels->convertYuv420(source, destination, kWidth, kHeight);
        });
        if (kernels->convertYuv420Streamed)
            add("convert/" + name + "/streamed", kConverted,
                [=](const auto* source, auto* destination) {
                    kernels->convertYuv420Streamed(source, destination, kWidth, kHeight);
                });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
