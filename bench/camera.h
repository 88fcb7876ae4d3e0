// A consumer of the built producer, for measurements.
#pragma once

#include <cstdint>
#include <vector>

#include <gentl/gentl.h>

#include "report.h"

namespace zevo_bench
{

/// The functions of the producer, loaded at the first call and kept.
struct Functions {
#define GENTL_FUNCTION(name) decltype(&::name) name = nullptr;
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
};
const Functions& Producer();

/// Names a failed call and ends the program.
void Check(GC_ERROR result, const char* call);
#define ZEVO_CHECK(call) ::zevo_bench::Check(::zevo_bench::Producer().call, #call)

/// From GCInitLib to an open device; closed at the end.
class Camera final
{
public:
    Camera();
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    void OpenDevice();
    void OpenStream();
    void Write(std::uint64_t address, std::uint32_t value) const;
    /// pixelFormat is a PFNC value.
    void SetImage(std::uint32_t pixelFormat, unsigned width, unsigned height) const;
    /// Announces and queues buffers for that image and starts.
    void Start(std::size_t buffers);
    void Stop();
    /// The next frame's buffer.
    BUFFER_HANDLE Take() const;
    std::size_t PayloadSize() const;

    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
};

namespace remote
{
constexpr std::uint64_t kPixelFormat = 0x1000054c;
constexpr std::uint64_t kWidth = 0x10000a18;
constexpr std::uint64_t kHeight = 0x10000a28;
constexpr std::uint64_t kAcquisitionStart = 0x10001b58;
constexpr std::uint64_t kAcquisitionStop = 0x10001b64;
} // namespace remote

namespace pfnc
{
constexpr std::uint32_t kUyvy = 0x0210001F;
constexpr std::uint32_t kYuyv = 0x02100032;
constexpr std::uint32_t kYuv420 = 0x020C0112;
} // namespace pfnc

} // namespace zevo_bench
