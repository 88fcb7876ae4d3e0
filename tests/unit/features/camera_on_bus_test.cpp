// The features over the real camera module: what arrives in the registers of the ISP.
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

class CameraOnBus : public testing::Test
{
protected:
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

    Idle simulated_;
    FakeHandler handler_ = [] {
        FakeHandler handler;
        handler.supported = Pfnc::YUV422_8_UYVY;
        return handler;
    }();
    Journal journal_;
    RegisterSpace registers_{journal_, simulated_.module,
                             std::make_unique<PipelineAgent>(&handler_)};
};

TEST_F(CameraOnBus, CentersAnEnlargedRegion)
{
    registers_.write(Reg::Width, 1008);
    registers_.write(Reg::Height, 1000);
    registers_.write(Reg::TlmScalingFactor, 50);
    registers_.write(Reg::TlmCenterX, 1);
    registers_.write(Reg::TlmCenterY, 1);
    const struct {
        std::uint16_t address, value;
    } kIsp[] = {
        {0x2000, 1008}, {0x2002, 1000},  // size of the preview
        {0x2004, 6554}, {0x2008, 9730},  // left, 1040 of 2600, and half of 1008 more
        {0x2006, 6043}, {0x200A, 10240}, // top, 720 of 1952, and half of 1000 more
    };
    for (const auto& [address, value] : kIsp)
        EXPECT_EQ(simulated_.camera.PeekIsp16(address), value) << std::hex << address;
}

// Each write with all that it causes on the ISP.
TEST_F(CameraOnBus, FeaturesWriteTheirRegisters)
{
    IspWrites();
    const Write kSteps[] = {
        {0x10000734, 50, {"7000 0800"}},                 // TlmBrightness 0.5
        {0x100007c8, 100, {"7002 5000"}},                // TlmContrast 1.0, times 5
        {0x100007c8, -50, {"7002 d800"}},                // TlmContrast -0.5
        {0x10000b80, 150, {"7006 1800"}},                // TlmSaturation 1.5
        {0x10000724, 100, {"7010 7fd7"}},                // TlmSharpnessEnhancement 1.0
        {0x10000b70, 150, kProtected},                   // Gamma, while sRGB rules
        {0x1000084c, 0, {"700a 1000"}},                  // TlmColorSpace Off, gamma 1.0
        {0x10000b70, 200, {"700a 0800"}},                // Gamma 2.0
        {0x1000084c, 1, {"700a 0000"}},                  // TlmColorSpace sRgb
        {0x10000984, 0, {"52ca 0000", "7002 0000"}},     // TlmAdaptiveToneMappingMode Off
        {0x100007c8, 10, kProtected},                    // contrast goes with it
        {0x10000984, 1, {"52ca 043f"}},                  // Auto
        {0x100007c8, 10, {"7002 0800"}},                 // contrast 0.1
        {0x10000acc, 2, {"5440 3202", "5440 3201"}},     // AntiFlicker50Hz
        {0x10000708, 300},                               // AcquisitionFrameRate 30 Hz
        {0x10000714, 1, {"2020 1e00"}},                  // AcquisitionFrameRateEnable
        {0x10000714, 0, {"2020 ffe6"}},                  // and no more
        {0x100005e0, 6000, {"500c 00001770"}},           // ExposureTime
        {0x100005d0, 0, {"5002 0289", "500c 00001770"}}, // ExposureAuto Off
        {0x10000674, 0, {"5002 0280", "5006 0100"}},     // GainAuto Off
        {0x100005f0, 12800, {"5006 3200"}},              // Gain
        {0x100005d0, 1, {"5002 028a"}},                  // ExposureAuto Continuous
        {0x100008e0, 8192},                              // BalanceRatio red, still automatic
        {0x100008d0,                                     // BalanceWhiteAuto Off
         0,
         {"5100 1100", "510c 0200", "510e 0100", "5110 0195",                  // the automatic
          "5100 1100", "510c 0200", "510e 0100", "5110 0195",                  // the preset
          "510c 0200", "510e 0100", "5110 0195"}},                             // the ratios
        {0x100008e0, 4096, {"510c 0100"}},                                     // red at once
        {0x10000a08, 3, {"5100 1102", "510c 0000", "510e 0000", "5110 0000"}}, // Tungsten2800K
        {0x100008e0, 8192},                                                    // red waits
        {0x10000a08,                                                           // Off
         0,
         {"5100 1100", "510c 0200", "510e 0100", "5110 0195", // the preset
          "510c 0200", "510e 0100", "5110 0195"}},            // the ratios
        {0x100008d0,                                          // BalanceWhiteAuto Continuous
         1,
         {"5100 110f", "510c 0000", "510e 0000", "5110 0000",   // the automatic
          "5100 110f", "510c 0000", "510e 0000", "5110 0000"}}, // the preset
        {0x10001a2c, 10000, {"1188 00000000", "1186 0004"}},    // TlmPeriodicSignalDelay, no source
        {0x10001518, 2, {"1188 fffff600", "1186 0004"}},        // TriggerSource PeriodicSignal1
        {0x10001518, 1, {"1188 00000000", "1186 0004"}},        // Line1
        {0x1000159c, 4, {"1188 00000000", "1186 0404"}},        // TriggerActivation LevelLow
    };
    for (const auto& [address, value, writes, status] : kSteps) {
        EXPECT_EQ(registers_.write(address, value), status) << std::hex << address.number;
        EXPECT_EQ(IspWrites(), writes) << std::hex << address.number << ": " << value;
    }
    EXPECT_EQ(registers_.read({Reg::Gamma, Reg::TlmContrast}), (Words{200, 10}));
}

} // namespace
} // namespace GenTLProducer
