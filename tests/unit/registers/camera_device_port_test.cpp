#include "registers/port/camera_device_port.h"

#include <pthread.h>

#include <cstdlib>
#include <future>
#include <optional>
#include <string>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../features/recording_camera.h"
#include "../platform/fake_handler.h"
#include "base/pfnc.h"
#include "genicam/embedded_files.h"

namespace GenTLProducer
{
namespace
{

using testing::HasSubstr;

constexpr std::uint64_t kDescription = 0xC0000000;

/// Ahead of the static objects that read the trace settings.
__attribute__((constructor(101))) void SetTraceVariables()
{
    ::setenv("GENTL_TRACE_FLAGS", "0x10", 1);
    ::setenv("GENTL_TRACE_LEVEL", "2", 1);
}

constexpr std::uint64_t kWidth = 0x10000a18;
constexpr std::uint64_t kStreamingEnd = 0x10001b4c;
constexpr std::uint64_t kAcquisitionStart = 0x10001b58;

class PortTest : public testing::Test
{
protected:
    PortTest() { platform_.supported = Pfnc::YUV422_8_UYVY; }
    CameraDevicePort& MakePort(DEVICE_ACCESS_STATUS status = DEVICE_ACCESS_STATUS_OPEN_READWRITE)
    {
        CDefaultDeviceInfo::Fields fields;
        fields.vendor = "Tolmen";
        fields.model = "zvK1800-45tqr";
        return port_.emplace(boost::make_shared<CDefaultDeviceInfo>(fields), &platform_, &grabber_,
                             &module_, status);
    }
    CameraDevicePort& OpenPort(DEVICE_ACCESS_STATUS status = DEVICE_ACCESS_STATUS_OPEN_READWRITE)
    {
        EXPECT_EQ(MakePort(status).Open(), GC_ERR_SUCCESS);
        journal_.take();
        return *port_;
    }
    GC_ERROR Read(std::uint64_t address, std::size_t size = 4)
    {
        buffer_.assign(size, '?');
        std::size_t inOut = size;
        const GC_ERROR result = port_->ReadPort(address, buffer_.data(), &inOut);
        EXPECT_EQ(inOut, size);
        return result;
    }
    GC_ERROR Write(std::uint64_t address, std::uint32_t value, std::size_t size = 4)
    {
        std::string bytes(std::max<std::size_t>(size, 4), '\0');
        storeLittleEndian(bytes.data(), value);
        std::size_t inOut = size;
        const GC_ERROR result = port_->WritePort(address, bytes.data(), &inOut);
        EXPECT_EQ(inOut, size);
        return result;
    }

    Journal journal_;
    RecordingModule module_{journal_, std::make_shared<MemoryBridge>()};
    RecordingGrabber grabber_{journal_};
    FakeHandler platform_;
    std::optional<CameraDevicePort> port_;
    std::string buffer_;
};

TEST_F(PortTest, AnswersOnlyWhileOpen)
{
    const auto expectClosed = [this] {
        std::uint32_t count = 0;
        EXPECT_EQ(Read(0), GC_ERR_NOT_INITIALIZED);
        EXPECT_EQ(Write(0, 0), GC_ERR_NOT_INITIALIZED);
        EXPECT_EQ(port_->ReadPort(0, nullptr, nullptr), GC_ERR_NOT_INITIALIZED);
        EXPECT_EQ(port_->GetNumPortURLs(&count), GC_ERR_NOT_INITIALIZED);
    };
    MakePort(DEVICE_ACCESS_STATUS_NOACCESS);
    expectClosed();
    EXPECT_EQ(port_->Open(), GC_ERR_SUCCESS);
    port_->Close();
    expectClosed();
    port_->Close();
    EXPECT_EQ(errorOf([this] { port_->Open(); }), "Register 3221225472 already declared.");
}

TEST_F(PortTest, AccessStatusDecides)
{
    constexpr GC_ERROR kDeniedAccess = GC_ERR_ACCESS_DENIED;
    const struct {
        DEVICE_ACCESS_STATUS status;
        GC_ERROR read, write;
    } kCases[] = {
        {DEVICE_ACCESS_STATUS_UNKNOWN, 0, kDeniedAccess},
        {DEVICE_ACCESS_STATUS_READWRITE, 0, 0},
        {DEVICE_ACCESS_STATUS_READONLY, 0, kDeniedAccess},
        {DEVICE_ACCESS_STATUS_NOACCESS, kDeniedAccess, kDeniedAccess},
        {DEVICE_ACCESS_STATUS_BUSY, 0, kDeniedAccess},
        {DEVICE_ACCESS_STATUS_OPEN_READWRITE, 0, 0},
        {DEVICE_ACCESS_STATUS_OPEN_READONLY, 0, kDeniedAccess},
    };
    for (const auto& c : kCases) {
        OpenPort(c.status);
        EXPECT_EQ(Read(kWidth), c.read) << c.status;
        EXPECT_EQ(Read(kDescription), c.read) << c.status;
        EXPECT_EQ(Write(kWidth, 1000), c.write) << c.status;
        const GC_ERROR noSize = GC_ERR_INVALID_PARAMETER;
        EXPECT_EQ(port_->ReadPort(0, nullptr, nullptr), c.read != 0 ? c.read : noSize);
        EXPECT_EQ(port_->WritePort(0, nullptr, nullptr), c.write != 0 ? c.write : noSize);
    }
}

TEST_F(PortTest, KeepsToItsSpace)
{
    OpenPort();
    constexpr GC_ERROR kOutside = GC_ERR_INVALID_PARAMETER;
    const struct {
        std::uint64_t address;
        std::size_t size;
        GC_ERROR read, write;
    } kCases[] = {
        {0x84, 4, GC_ERR_ERROR, GC_ERR_ERROR},
        {0x10000000, 4, 0, 0},
        {kWidth, 4, 0, GC_ERR_ERROR}, // 0 is outside its limits
        {kWidth - 12, 16, 0, GC_ERR_ERROR},
        {kStreamingEnd, 4, 0, GC_ERR_ERROR},
        {kAcquisitionStart, 4, GC_ERR_ERROR, 0},
        {0xFFFFFFF8, 4, 0, 0},
        {0xFFFFFFF8, 5, kOutside, kOutside},
        {0xFFFFFFFC, 0, kOutside, kOutside},
        {0xFFFFFFFB, 1, 0, 0},
        {0x100000000, 4, kOutside, kOutside},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(Read(c.address, c.size), c.read) << std::hex << c.address;
        EXPECT_EQ(Write(c.address, 0, c.size), c.write) << std::hex << c.address;
    }
    EXPECT_EQ(Read(0x10000000), GC_ERR_SUCCESS);
    EXPECT_EQ(buffer_, std::string(4, '\0'));
}

// A length that no buffer has is refused before anything is touched.
TEST_F(PortTest, RefusesLengthsPastItsEnd)
{
    CameraDevicePort& port = OpenPort();
    char byte = 'x';
    for (std::size_t size : {std::size_t{0xFFFFFFFC} - 0x10000000 + 1, std::size_t{0xFFFFFFFF},
                             std::size_t{0x100000004}, SIZE_MAX}) {
        EXPECT_EQ(port.ReadPort(0x10000000, &byte, &size), GC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(port.WritePort(0x10000000, &byte, &size), GC_ERR_INVALID_PARAMETER);
        EXPECT_THROW(port.ReadPort(kDescription, &byte, &size), std::out_of_range);
    }
    EXPECT_EQ(byte, 'x');
}

TEST_F(PortTest, KeepsItsDescription)
{
    OpenPort();
    EXPECT_EQ(Write(kDescription, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(Read(kDescription, 5), GC_ERR_SUCCESS);
    EXPECT_EQ(buffer_, "<?xml");

    const std::size_t size = (FindEmbeddedFile("genicam.xml")->size + 3) / 4 * 4;
    EXPECT_EQ(Read(kDescription, size), GC_ERR_SUCCESS);
    EXPECT_THROW(Read(kDescription, size + 1), std::out_of_range);
    EXPECT_THROW(Read(0xCFFFFFF0), std::invalid_argument);
    EXPECT_THROW(Read(0x1C0000000), std::invalid_argument);
    EXPECT_EQ(Write(~0ull, 0, 1), GC_ERR_INVALID_PARAMETER);
}

TEST_F(PortTest, TellsWhatItIs)
{
    OpenPort();
    const std::pair<PORT_INFO_CMD, std::string> kCases[] = {
        {PORT_INFO_ID, "Tolmen ZEVO Device Port"},
        {PORT_INFO_MODULE, "Device"},
        {PORT_INFO_PORTNAME, "Device"},
        {PORT_INFO_VENDOR, "Tolmen"},
        {PORT_INFO_MODEL, "zvK1800-45tqr"},
        {PORT_INFO_VERSION, "2.0.0"},
        {PORT_INFO_TLTYPE, "Custom"},
        {PORT_INFO_BIG_ENDIAN, "1"},
        {PORT_INFO_LITTLE_ENDIAN, "0"},
    };
    for (const auto& [command, value] : kCases) {
        char text[64] = {};
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        std::size_t size = sizeof(text);
        EXPECT_EQ(port_->GetPortInfo(command, &type, text, &size), GC_ERR_SUCCESS);
        EXPECT_EQ(type == INFO_DATATYPE_STRING ? text : std::to_string(text[0]), value) << command;
    }
}

TEST_F(PortTest, TracesWhatARegisterRefuses)
{
    OpenPort();
    testing::internal::CaptureStderr();
    Read(0x84);
    Write(kWidth, 97);
    Read(kWidth);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Read register 0x84 with size 4 failed. Error 0x8003\n"
              "Write register 0x10000a18 with size 4 failed. Error 0x8002\n");
}

TEST_F(PortTest, ExceptionsOfTheCameraPassAndLeaveThePortUsable)
{
    OpenPort();
    journal_.failing = "AcquisitionStart";
    EXPECT_THROW(Write(kAcquisitionStart, 1), std::runtime_error);
    journal_.failing.clear();
    // From another thread, which a lock that is still held would stop.
    EXPECT_EQ(std::async(std::launch::async, [this] { return Write(kAcquisitionStart, 1); }).get(),
              GC_ERR_SUCCESS);
}

TEST_F(PortTest, FailingStartUpLeavesItClosed)
{
    journal_.failing = "SetHeight";
    EXPECT_EQ(errorOf([this] { MakePort().Open(); }), "no answer");
    EXPECT_EQ(Read(kDescription), GC_ERR_NOT_INITIALIZED);
}

/// While it lives, no thread can be made: none has room for its stack, larger than what any
/// processor can address.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_attr_t huge;
        ::pthread_getattr_default_np(&before_);
        ::pthread_getattr_default_np(&huge);
        ::pthread_attr_setstacksize(&huge, std::size_t{1} << 60);
        EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
        ::pthread_attr_destroy(&huge);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
    ~NoThreads()
    {
        ::pthread_setattr_default_np(&before_);
        ::pthread_attr_destroy(&before_);
    }

private:
    pthread_attr_t before_;
};

TEST_F(PortTest, WithoutAPollThreadItStaysClosed)
{
    testing::internal::CaptureStderr();
    {
        const NoThreads none;
        EXPECT_EQ(MakePort().Open(), GC_ERR_ERROR);
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("Exception occurred while creating thread: "));
    EXPECT_EQ(Read(0), GC_ERR_NOT_INITIALIZED);
}

TEST(PollThread, PollsUntilItIsStopped)
{
    std::promise<void> third;
    int polls = 0;
    PollThread thread(std::chrono::milliseconds(1), [&] {
        if (++polls == 3)
            third.set_value();
    });
    thread.Start();
    third.get_future().wait();
    thread.Stop();
    const int last = polls;
    thread.Stop();
    EXPECT_EQ(polls, last);
}

// A stop that waited for the period would outlast the test's limit. Many rounds, so that the
// thread is met ahead of its wait as well as in it.
TEST(PollThread, StopsInTheMiddleOfAPeriod)
{
    for (int round = 0; round < 200; ++round) {
        int polls = 0;
        PollThread thread(std::chrono::hours(1), [&] { ++polls; });
        thread.Start();
        for (int i = 0; i < round; ++i)
            std::this_thread::yield();
        thread.Stop();
        EXPECT_EQ(polls, 0);
    }
}

} // namespace
} // namespace GenTLProducer
