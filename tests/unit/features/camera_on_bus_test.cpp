// The features over the real camera module: what arrives in the registers of the ISP.
#include <gtest/gtest.h>

#include "../module/simulated_module.h"
#include "../platform/fake_handler.h"
#include "base/pfnc.h"
#include "module/camera_module_ap1302.h"
#include "module/trigger_feature.h"
#include "platform/pipeline_agent.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

class CameraOnBus : public testing::Test, private ICtrlRegisterHandler
{
protected:
    static zevo_sim::CameraOptions Running()
    {
        zevo_sim::CameraOptions options;
        options.isRunning = true;
        return options;
    }
    void SetUp() override
    {
        handler_.supported = Pfnc::YUV422_8_UYVY;
        module_.Initialize();
        registers_ = CreateCameraRegisters(&runtime_);
        registers_->run();
    }
    void Write(std::uint32_t address, std::uint32_t value)
    {
        std::uint8_t bytes[4];
        storeLittleEndian(bytes, value);
        EXPECT_EQ(root_->write(address, bytes, 4), 0) << std::hex << address;
    }
    std::uint16_t Isp(std::uint16_t address) const { return simulated_.camera.PeekIsp16(address); }
    bool IsStreaming() const { return simulated_.camera.IsStreaming(); }
    std::string Text(std::uint32_t address)
    {
        std::string text(64, '\0');
        EXPECT_EQ(root_->read(address, text.data(), 64), 0);
        return text.c_str();
    }

private:
    void setRegisterSpace(IRegister* root) override { root_ = root; }

    SimulatedModule simulated_{Running()};
    mcm::CameraModuleAP1302 module_{simulated_.controlDevice(), SimulatedModule::csi(),
                                    mcm::makeTriggerFeature, simulated_.clock};
    Journal journal_;
    RecordingGrabber grabber_{journal_};
    FakeHandler handler_;
    RuntimeMCM runtime_{this, &module_, &grabber_, std::make_unique<PipelineAgent>(&handler_)};
    std::unique_ptr<CameraRegisters> registers_;
    IRegister* root_ = nullptr;
};

// Addresses of the ISP.
constexpr std::uint16_t kPreviewWidth = 0x2000;
constexpr std::uint16_t kPreviewHeight = 0x2002;
constexpr std::uint16_t kRoiX0 = 0x2004;
constexpr std::uint16_t kRoiY0 = 0x2006;
constexpr std::uint16_t kRoiX1 = 0x2008;
constexpr std::uint16_t kRoiY1 = 0x200A;
constexpr std::uint16_t kOutputFormat = 0x2012;

TEST_F(CameraOnBus, OpensAtFullSize)
{
    EXPECT_EQ(Isp(kPreviewWidth), 2592);
    EXPECT_EQ(Isp(kPreviewHeight), 1944);
    EXPECT_EQ(Isp(kRoiX0), 0);
    EXPECT_EQ(Isp(kRoiX1), 16334); // 2592 of 2600 in 1/16384
    EXPECT_EQ(Isp(kRoiY1), 16317); // 1944 of 1952
    EXPECT_EQ(Isp(kOutputFormat), 0x50);
    EXPECT_FALSE(IsStreaming());
}

TEST_F(CameraOnBus, CentersAnEnlargedRegion)
{
    Write(kWidth, 1008);
    Write(kHeight, 1000);
    Write(kScalingFactor, 50);
    Write(kCenterX, 1);
    Write(kCenterY, 1);
    EXPECT_EQ(Isp(kPreviewWidth), 1008);
    EXPECT_EQ(Isp(kPreviewHeight), 1000);
    EXPECT_EQ(Isp(kRoiX0), 6554);  // 1040 of 2600
    EXPECT_EQ(Isp(kRoiX1), 9730);  // and half of 1008 more
    EXPECT_EQ(Isp(kRoiY0), 6043);  // 720 of 1952
    EXPECT_EQ(Isp(kRoiY1), 10240); // and half of 1000 more
}

TEST_F(CameraOnBus, CommandsStallAndUnstall)
{
    Write(kAcquisitionStart, 1);
    EXPECT_TRUE(IsStreaming());
    // The features fall back to idle, the ISP goes on.
    Write(kAcquisitionAbort, 1);
    EXPECT_TRUE(IsStreaming());
    Write(kAcquisitionStart, 1);
    Write(kAcquisitionStop, 1);
    EXPECT_FALSE(IsStreaming());
}

TEST_F(CameraOnBus, BootstrapRegistersShowTheModule)
{
    EXPECT_EQ(Text(0x44), "zvK1800-45tqr");
    const std::string serial = Text(0x144);
    EXPECT_FALSE(serial.empty());
    EXPECT_EQ(serial.find(':'), std::string::npos);
}

} // namespace
} // namespace GenTLProducer
