// Every system call on the way from GCInitLib to frames and back is made to fail once: each time
// the producer tells, or tolerates it, nothing stays behind, and the next run is clean.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "camera.h"
#include "fault_control.h"
#include "resources.h"

namespace
{

const auto g_arm = reinterpret_cast<FaultArm>(::dlsym(RTLD_DEFAULT, "zevo_fault_arm"));
const auto g_count = reinterpret_cast<FaultCount>(::dlsym(RTLD_DEFAULT, "zevo_fault_count"));
const auto g_faulted = reinterpret_cast<FaultedCall>(::dlsym(RTLD_DEFAULT, "zevo_faulted_call"));

// A run with a fault doesn't wait long for a frame that doesn't come, the others do.
constexpr uint64_t kShortWaitMs = 40;

// One whole run, written out so that every step may fail and the rest still happens. Gives the
// first failing step with its code, or an empty text.
class Walk
{
public:
    explicit Walk(uint64_t timeoutMs = 120'000) : timeoutMs_(timeoutMs) {}

    std::string operator()()
    {
        Producer& p = producer();
        step("GCInitLib", p.GCInitLib());
        if (step("TLOpen", p.TLOpen(&system_)) &&
            step("TLOpenInterface",
                 p.TLOpenInterface(system_, "Tolmen ZEVO GenTL Interface Module", &interface_)) &&
            step("IFUpdateDeviceList", p.IFUpdateDeviceList(interface_, nullptr, 0)) && find() &&
            step("IFOpenDevice", p.IFOpenDevice(interface_, id_, 4, &device_)))
            stream();
        step("GCCloseLib", p.GCCloseLib());
        return failure_;
    }

    uint64_t frames() const { return frames_; }

private:
    bool step(const char* name, GC_ERROR result)
    {
        if (result == GC_ERR_SUCCESS)
            return true;
        // A failure has a code of the standard or the producer's own, and says what it is.
        const std::string error = lastError();
        EXPECT_TRUE((result <= -1001 && result >= -1022) || result == -10001) << name << result;
        EXPECT_GT(error.size(), 6u) << name;
        if (failure_.empty())
            failure_ = std::string(name) + ": " + std::to_string(result) + ", " + error;
        return false;
    }

    bool find()
    {
        size_t size = sizeof id_;
        return step("IFGetDeviceID", producer().IFGetDeviceID(interface_, 0, id_, &size));
    }

    bool write(uint64_t address, uint32_t value)
    {
        size_t size = sizeof value;
        return step("GCWritePort", producer().GCWritePort(port_, address, &value, &size));
    }

    void stream()
    {
        Producer& p = producer();
        if (!step("DevGetPort", p.DevGetPort(device_, &port_)) || !write(remote::kWidth, 96) ||
            !write(remote::kHeight, 104) ||
            !step("DevOpenDataStream", p.DevOpenDataStream(device_, "Stream0", &stream_)))
            return;
        for (int i = 0; i < 3; ++i) {
            BUFFER_HANDLE buffer = nullptr;
            if (!step("DSAllocAndAnnounceBuffer",
                      p.DSAllocAndAnnounceBuffer(stream_, 96 * 104 * 2, nullptr, &buffer)) ||
                !step("DSQueueBuffer", p.DSQueueBuffer(stream_, buffer)))
                return;
        }
        if (!step("GCRegisterEvent", p.GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &event_)))
            return;
        const bool isStarted =
            step("DSStartAcquisition", p.DSStartAcquisition(stream_, 0, GENTL_INFINITE));
        if (isStarted && write(remote::kAcquisitionStart, 1)) {
            take();
            write(remote::kAcquisitionStop, 1);
        }
        step("DSStopAcquisition", p.DSStopAcquisition(stream_, 0));
        step("DSClose", p.DSClose(stream_));
    }

    void take()
    {
        for (int i = 0; i < 4; ++i) {
            EVENT_NEW_BUFFER_DATA data{};
            size_t size = sizeof data;
            if (!step("EventGetData", producer().EventGetData(event_, &data, &size, timeoutMs_)))
                return;
            ++frames_;
            step("DSQueueBuffer", producer().DSQueueBuffer(stream_, data.BufferHandle));
        }
    }

    TL_HANDLE system_ = nullptr;
    IF_HANDLE interface_ = nullptr;
    DEV_HANDLE device_ = nullptr;
    PORT_HANDLE port_ = nullptr;
    DS_HANDLE stream_ = nullptr;
    EVENT_HANDLE event_ = nullptr;
    char id_[256] = {};
    const uint64_t timeoutMs_;
    uint64_t frames_ = 0;
    std::string failure_;
};

} // namespace

TEST(Faults, EachSystemCallFailsOnceAndTheNextRunIsClean)
{
    ASSERT_TRUE(g_arm && g_count && g_faulted) << "the library of this test isn't preloaded";
    ASSERT_EQ(Walk()(), "") << "the first run boots the camera";
    const Resources before;
    std::map<std::string, int> outcomes;
    std::size_t injected = 0;
    for (bool isFaulted = true; isFaulted;) {
        g_arm(++injected, EIO);
        const std::string failure = Walk(kShortWaitMs)();
        g_count();
        isFaulted = g_faulted() != nullptr;
        if (isFaulted) {
            ++outcomes[std::string(g_faulted()) + (failure.empty() ? " tolerated" : " told")];
        }
        ASSERT_TRUE(before == Resources())
            << "call " << injected << " (" << g_faulted() << ") left something behind: " << failure;
        Walk clean;
        ASSERT_EQ(clean(), "") << "behind the failure of call " << injected << " of " << failure;
        ASSERT_EQ(clean.frames(), 4u);
    }
    for (const auto& [outcome, times] : outcomes)
        std::printf("%4d %s\n", times, outcome.c_str());
    std::printf("%zu faults injected\n", injected - 1);
    EXPECT_GT(outcomes["ioctl told"], 20);
    EXPECT_GT(outcomes["pipe told"], 0);
    EXPECT_GT(outcomes["mmap told"], 0);
}
