// Every system call on the way from GCInitLib to frames and back is made to fail: each time the
// producer tells, or tolerates it, nothing stays behind, and the next run is clean.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <glob.h>
#include <linux/videodev2.h>
#include <map>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "fault_control.h"
#include "resources.h"
#include "sim/core/camera_requests.h"
#include "support/allocations.h"
#include "walk.h"

namespace
{

const auto g_arm = reinterpret_cast<FaultArm>(::dlsym(RTLD_DEFAULT, "zevo_fault_arm"));
const auto g_count = reinterpret_cast<FaultCount>(::dlsym(RTLD_DEFAULT, "zevo_fault_count"));
const auto g_faulted = reinterpret_cast<FaultedCall>(::dlsym(RTLD_DEFAULT, "zevo_faulted_call"));

// A run with a fault doesn't wait long for a frame that doesn't come.
constexpr uint64_t kShortWaitMs = 40;

// What a run may leave behind: nothing.
struct Remains : Resources {
    std::size_t blocks = test::Allocations::GetLive();

    bool operator==(const Remains& other) const
    {
        return Resources::operator==(other) && blocks == other.blocks;
    }
};

std::ostream& operator<<(std::ostream& stream, const Remains& remains)
{
    return stream << static_cast<const Resources&>(remains) << ", " << remains.blocks << " blocks";
}

// Asks the camera's own driver for a reset of the module, so that its ISP has to boot again.
bool resetOn(const char* path)
{
    zevo_sim::RegisterTransfer transfer{};
    transfer.address = 0x1034;
    transfer.payload[3] = 1;
    transfer.size = 4;
    transfer.direction = 2;
    v4l2_ext_control control{};
    control.id = 0x00981002;
    control.size = sizeof transfer;
    control.ptr = &transfer;
    v4l2_ext_controls controls{};
    controls.count = 1;
    controls.controls = &control;
    const int fd = ::open(path, O_RDWR);
    const bool isReset = ::ioctl(fd, zevo_sim::TOLMEN_IOC_WRITE_REGISTER, &transfer) == 0 ||
                         ::ioctl(fd, VIDIOC_S_EXT_CTRLS, &controls) == 0;
    ::close(fd);
    return isReset;
}

bool resetCamera()
{
    glob_t nodes{};
    ::glob("/dev/v*", 0, nullptr, &nodes);
    bool isReset = false;
    for (std::size_t i = 0; i < nodes.gl_pathc && !isReset; ++i)
        isReset = resetOn(nodes.gl_pathv[i]);
    ::globfree(&nodes);
    return isReset;
}

class Faults : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(g_arm && g_count && g_faulted) << "the library of this test isn't preloaded";
        ASSERT_TRUE(resetCamera());
        ASSERT_EQ(Walk()(), "") << "the first run boots the camera";
        ASSERT_EQ(Walk()(), "") << "the second one finds all that is kept for good";
    }

    // Fails call number 1, 1 + stride, ... in turn until a run has none that could fail.
    void walk(int error, bool isForGood, bool boots, std::size_t stride)
    {
        const Remains before;
        bool isFaulted = true;
        for (std::size_t number = 1; isFaulted; number += stride) {
            ASSERT_TRUE(!boots || resetCamera());
            g_arm(number, error, isForGood);
            const std::string failure = Walk(kShortWaitMs)();
            g_count();
            isFaulted = g_faulted() != nullptr;
            const std::string call = isFaulted ? g_faulted() : "none";
            note(call, failure);
            ASSERT_EQ(Remains(), before)
                << "behind call " << number << ": " << call << " " << failure;
            // An ISP whose boot was cut short takes no second one without a reset.
            ASSERT_TRUE(!boots || resetCamera());
            Walk clean;
            ASSERT_EQ(clean(), "") << "behind call " << number << ": " << call << " " << failure;
            ASSERT_EQ(clean.frames(), Walk::kFrames);
        }
    }

    void note(const std::string& call, const std::string& failure)
    {
        if (call == "none")
            return;
        ++injected_;
        ++outcomes_[call + (failure.empty() ? " tolerated" : " told")];
    }

    void print() const
    {
        for (const auto& [outcome, times] : outcomes_)
            std::printf("%5d %s\n", times, outcome.c_str());
        std::printf("%d faults injected\n", injected_);
    }

    const test::Allocations::Exemption ours_;
    int injected_ = 0;
    std::map<std::string, int> outcomes_;
};

} // namespace

TEST_F(Faults, EachSystemCallFailsOnceAndTheNextRunIsClean)
{
    walk(EIO, false, false, 1);
    print();
    EXPECT_GT(outcomes_["ioctl told"], 20);
    EXPECT_GT(outcomes_["pipe told"], 0);
    EXPECT_GT(outcomes_["mmap told"], 0);
}

TEST_F(Faults, EachCallOfABootFailsOnceAndAResetHelps)
{
    const char* stride = std::getenv("ZEVO_FAULT_STRIDE");
    walk(EIO, false, true, stride ? std::strtoul(stride, nullptr, 10) : 1);
    print();
    EXPECT_GT(outcomes_["ioctl told"], 20);
}

TEST_F(Faults, ACameraThatIsPulledAtAnyMomentComesBack)
{
    walk(ENODEV, true, false, 1);
    print();
    EXPECT_GT(outcomes_["ioctl told"], 100);
}
