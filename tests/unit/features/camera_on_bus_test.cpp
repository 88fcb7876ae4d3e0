// The features over the real camera module: what arrives in the registers of the ISP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../module/opened_module.h"
#include "../platform/fake_handler.h"
#include "base/pfnc.h"
#include "platform/pipeline_agent.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

class CameraOnBus : public testing::Test, private ICtrlRegisterHandler
{
protected:
    void SetUp() override
    {
        handler_.supported = Pfnc::YUV422_8_UYVY;
        registers_ = CreateCameraRegisters(&runtime_);
        registers_->run();
    }
    void Write(std::uint32_t address, std::uint32_t value)
    {
        std::uint8_t bytes[4];
        storeLittleEndian(bytes, value);
        EXPECT_EQ(root_->write(address, bytes, 4), 0) << std::hex << address;
    }
    std::uint32_t Read(std::uint32_t address)
    {
        std::uint8_t bytes[4] = {};
        EXPECT_EQ(root_->read(address, bytes, 4), 0) << std::hex << address;
        return loadLittleEndian<std::uint32_t>(bytes);
    }
    std::uint16_t Isp(std::uint16_t address) const { return simulated_.camera.PeekIsp16(address); }
    /// Writes of registers since the last call, in order: "601a 0140".
    Lines IspWrites()
    {
        Lines writes;
        for (const std::string& line : simulated_.takeIspTransfers()) {
            if (line[0] == 'w')
                writes.push_back(line.substr(2));
        }
        return writes;
    }
    void Poll() { registers_->trig_update(); }
    bool IsStreaming() const { return simulated_.camera.IsStreaming(); }

    Idle simulated_;

private:
    void setRegisterSpace(IRegister* root) override { root_ = root; }

    Journal journal_;
    RecordingGrabber grabber_{journal_};
    FakeHandler handler_;
    RuntimeMCM runtime_{this, &simulated_.module, &grabber_,
                        std::make_unique<PipelineAgent>(&handler_)};
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

// The whole configuration with the values that a camera has at its opening.
// clang-format off
const Lines kDefaults = {
    // format, width, height
    "2012 0050", "2000 0a20", "2002 0798",
    // scaling factor, offset X, offset Y, each a record
    "1184 0001", "201c 00000000", "2004 0000", "2008 3fce", "2006 0000", "200a 3fbd", "1184 0007",
    "1184 0001", "2004 0000", "2008 3fce", "1184 0007",
    "1184 0001", "2006 0000", "200a 3fbd", "1184 0007",
    // exposure, gain; no test pattern; frame rate
    "5002 028c", "500c 00002710", "5002 028c", "5006 0100", "2020 ffe6",
    // sharpness, anti flicker, brightness, tone mapping, contrast, color space, gamma
    "7010 0000", "5440 0002", "7000 0000", "52ca 043f", "7002 0000", "700a 0000", "700a 0000",
    // white balance, preset; the ratios wait; saturation
    "5100 110f", "510c 0000", "510e 0000", "5110 0000",
    "5100 110f", "510c 0000", "510e 0000", "5110 0000", "7006 1000",
    // periodic signal, trigger
    "1188 00000000", "1186 0004", "1188 00000000", "1186 0004",
};
// clang-format on

TEST_F(CameraOnBus, OpeningWritesInOrder)
{
    EXPECT_EQ(IspWrites(), kDefaults);
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

// Each write with all that it causes on the ISP.
TEST_F(CameraOnBus, FeaturesWriteTheirRegisters)
{
    IspWrites();
    const struct {
        std::uint32_t address;
        std::int32_t value;
        Lines writes;
    } kSteps[] = {
        {0x10000734, 50, {"7000 0800"}},                 // TlmBrightness 0.5
        {0x100007c8, 100, {"7002 5000"}},                // TlmContrast 1.0, times 5
        {0x100007c8, -50, {"7002 d800"}},                // TlmContrast -0.5
        {0x10000b80, 150, {"7006 1800"}},                // TlmSaturation 1.5
        {0x10000724, 100, {"7010 7fd7"}},                // TlmSharpnessEnhancement 1.0
        {0x1000084c, 0, {"700a 1000"}},                  // TlmColorSpace Off, gamma 1.0
        {0x10000b70, 200, {"700a 0800"}},                // Gamma 2.0
        {0x1000084c, 1, {"700a 0000"}},                  // TlmColorSpace sRgb
        {0x10000984, 0, {"52ca 0000", "7002 0000"}},     // TlmAdaptiveToneMappingMode Off
        {0x10000984, 1, {"52ca 043f"}},                  // Auto
        {0x10000acc, 2, {"5440 3202", "5440 3201"}},     // AntiFlicker50Hz
        {0x10000708, 300, {}},                           // AcquisitionFrameRate 30 Hz
        {0x10000714, 1, {"2020 1e00"}},                  // AcquisitionFrameRateEnable
        {0x10000714, 0, {"2020 ffe6"}},                  // and no more
        {0x100005e0, 6000, {"500c 00001770"}},           // ExposureTime
        {0x100005d0, 0, {"5002 0289", "500c 00001770"}}, // ExposureAuto Off
        {0x10000674, 0, {"5002 0280", "5006 0100"}},     // GainAuto Off
        {0x100005f0, 12800, {"5006 3200"}},              // Gain
        {0x100005d0, 1, {"5002 028a"}},                  // ExposureAuto Continuous
        {0x100008e0, 8192, {}},                          // BalanceRatio red, still automatic
        {0x100008d0,                                     // BalanceWhiteAuto Off
         0,
         {"5100 1100", "510c 0200", "510e 0100", "5110 0195",                  // the automatic
          "5100 1100", "510c 0200", "510e 0100", "5110 0195",                  // the preset
          "510c 0200", "510e 0100", "5110 0195"}},                             // the ratios
        {0x10000a08, 3, {"5100 1102", "510c 0000", "510e 0000", "5110 0000"}}, // Tungsten2800K
        {0x10001a2c, 10000, {"1188 00000000", "1186 0004"}}, // TlmPeriodicSignalDelay, no source
        {0x10001518, 2, {"1188 fffff600", "1186 0004"}},     // TriggerSource PeriodicSignal1
        {0x10001518, 1, {"1188 00000000", "1186 0004"}},     // Line1
        {0x1000159c, 4, {"1188 00000000", "1186 0404"}},     // TriggerActivation LevelLow
    };
    for (const auto& step : kSteps) {
        Write(step.address, static_cast<std::uint32_t>(step.value));
        EXPECT_EQ(IspWrites(), step.writes) << std::hex << step.address << ": " << step.value;
    }
}

TEST_F(CameraOnBus, ShowsWhatTheIspHasSettledOn)
{
    Write(kAcquisitionStart, 1);
    simulated_.camera.PokeIsp32(0x0194, 7777);   // AE_EXP_TIME
    simulated_.camera.PokeIsp16(0x0192, 0x0280); // AE_GAIN 2.5
    Poll();
    EXPECT_EQ(Read(0x100005e0), 7777u);
    EXPECT_EQ(Read(0x100005f0), 640u);
    IspWrites();
    Write(0x100005d0, 0);
    EXPECT_EQ(IspWrites(), (Lines{"5002 0289", "500c 00001e61"}));
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

} // namespace
} // namespace GenTLProducer
