// Picture controls, exposure, gain and frame rate: what they write, and what they refuse.
#include "opened_module.h"

namespace
{

class CameraModuleControls : public IdleTest
{
protected:
    CameraModuleControls() { poke({{0x5002, 0xABC5}, {0x5440, 0x3CA3}}); }
};

// The feature layer's tests over this module look at the rest.
TEST_F(CameraModuleControls, PictureControlsReachBelowZero)
{
    expectTransfers({
        {[&] { module.SetBrightness(-8.0); }, {"w 7000 8000"}},
        {[&] { module.SetSharpness(-1.0); }, {"w 7010 8029"}},
    });
}

TEST_F(CameraModuleControls, AntiFlickerSetsTheFrequencyBeforeTheMode)
{
    expectTransfers({
        {[&] { module.SetAntiFlicker(0); }, {"r 5440", "w 5440 3ca0"}},
        {[&] { module.SetAntiFlicker(1); }, {"r 5440", "w 5440 3ca2"}},
        {[&] { module.SetAntiFlicker(2); }, {"r 5440", "w 5440 32a2", "r 5440", "w 5440 32a1"}},
        {[&] { module.SetAntiFlicker(3); }, {"r 5440", "w 5440 3ca1", "r 5440", "w 5440 3ca1"}},
        {[&] { module.SetAntiFlicker(4); }, {}},
    });
}

TEST_F(CameraModuleControls, GammaIsTheInverseUnlessAColorSpaceRules)
{
    expectTransfers({
        {[&] { module.SetColorSpace(1); }, {"w 700a 0000"}},
        {[&] { module.SetGamma(2.0); }, {"w 700a 0000"}},
        {[&] { module.SetColorSpace(0); }, {"w 700a 0800"}},
        {[&] { module.SetGamma(-0.5); }, {"w 700a e000"}},
        {[&] { module.SetGamma(4.0); }, {"w 700a 0400"}},
    });
    expectIgnored([&] { module.SetGamma(0.0); }, "SetGammaReg: Cannot set gamma factor 0.0");
}

TEST_F(CameraModuleControls, TwoSwitchesMakeTheModeOfTheExposure)
{
    expectTransfers({
        {[&] { module.SetExposureAuto(false); }, {"r 5002", "w 5002 abc9"}},
        {[&] { module.SetGainAuto(false); }, {"r 5002", "w 5002 abc0"}},
        {[&] { module.SetExposureAuto(true); }, {"r 5002", "w 5002 abca"}},
        {[&] { module.SetGainAuto(true); }, {"r 5002", "w 5002 abcc"}},
    });
}

TEST_F(CameraModuleControls, ManualValuesAreWrittenWhateverTheAutomatics)
{
    expectTransfers({
        {[&] { module.SetExposureTime_us(33333); }, {"w 500c 00008235"}},
        {[&] { module.SetExposureTime_us(0xFFFFFFFF); }, {"w 500c ffffffff"}},
        {[&] { module.SetGainFactor(2.5); }, {"w 5006 0280"}},
        {[&] { module.SetGainFactor(1.002); }, {"w 5006 0101"}},
    });
}

TEST_F(CameraModuleControls, FrameRateIsACeilingWhileEnabled)
{
    expectTransfers({
        {[&] { module.SetAcquisitionFrameRateEnable(true); }, {"w 2020 ffe6"}},
        {[&] { module.SetAcquisitionFrameRate(12.5); }, {"w 2020 0c80"}},
        {[&] { module.SetAcquisitionFrameRateEnable(false); }, {"w 2020 ffe6"}},
        {[&] { module.SetAcquisitionFrameRate(30.0); }, {}},
        {[&] { module.SetAcquisitionFrameRateEnable(true); }, {"w 2020 1e00"}},
    });
}

TEST_F(CameraModuleControls, CurrentValuesAreThoseOfTheIsp)
{
    const FixedRegisters status(*this, {{0x0192, 0x0280}, {0x0194, 0x0001}, {0x0196, 0x86A0}});
    expectTransfers({
        {[&] { EXPECT_EQ(module.GetCurrentExposureTime_us(), 100000U); }, {"r 0194", "r 0196"}},
        {[&] { EXPECT_EQ(module.GetCurrentGainFactor(), 2.5); }, {"r 0192"}},
    });
}

TEST_F(CameraModuleControls, RefusedValueReachesNoRegister)
{
    const struct {
        const char* error;
        Use use;
    } cases[] = {
        {"CONTRAST: Value 10 outside range -8...7.99976.", [&] { module.SetContrast(2.0); }},
        {"SATURATION: Value 9 outside range -8...7.99976.", [&] { module.SetSaturation(9.0); }},
        {"SHARPEN_VALUE: Value 8.78906 outside range -8...7.99976.",
         [&] { module.SetSharpness(1.1); }},
        {"GAMMA: Value 10 outside range -8...7.99976.", [&] { module.SetGamma(0.1); }},
    };
    for (const auto& row : cases)
        expectTransfers({{[&] { EXPECT_EQ(errorOf(row.use), row.error); }, {}}});
}

TEST_F(CameraModuleControls, RefusedGainAndRateAreKeptNevertheless)
{
    EXPECT_NE(errorOf([&] { module.SetGainFactor(300.0); }), "");
    module.SetTestPattern(1);
    EXPECT_EQ(errorOf([&] { module.SetTestPattern(0); }),
              "AE_MANUAL_GAIN: Value 300 outside range 0...255.996.");

    module.SetAcquisitionFrameRateEnable(true);
    EXPECT_NE(errorOf([&] { module.SetAcquisitionFrameRate(400.0); }), "");
    EXPECT_EQ(errorOf([&] { module.SetAcquisitionFrameRateEnable(true); }),
              "PREVIEW_MAX_FPS: Value 400 outside range 0...255.996.");
}

TEST(CameraModuleControlsLog, TellsOperationsAndValues)
{
    const auto use = [] {
        Opened opened;
        const FixedRegisters status(opened, {{0x0192, 0x0180}, {0x0194, 0}, {0x0196, 10000}});
        mcm::CameraModuleAP1302& module = opened.module;
        module.SetBrightness(0.5);
        module.SetContrast(0.3);
        module.SetSharpness(1);
        module.SetColorSpace(1);
        module.SetColorSpace(2);
        module.SetAntiFlicker(2);
        module.SetAntiFlicker(4);
        module.SetExposureAuto(false);
        module.GetCurrentGainFactor();
        module.GetCurrentExposureTime_us();
        module.SetLightSourcePreset(4);
        module.SetLightSourcePreset(8);
        module.SetBalanceRatioBlue(1.25);
        module.GetCurrentBalanceRatioBlue();
        module.SetTestPattern(3);
        module.SetTestPattern(0);
    };
    expectLogged(
        "7", "2", use,
        hasLines("[000002] DEBUG: ", {"SetBrightness(0.5)",
                                      "SetBrightness: BRIGHTNESS = 0.5",
                                      "SetContrast(0.3)",
                                      "SetContrast: CONTRAST = 1.5",
                                      "SetSharpness(1)",
                                      "SetSharpness: SHARPEN_VALUE = 7.99",
                                      "SetColorSpace(sRGB)",
                                      "SetColorSpace(2)",
                                      "SetAntiFlicker(Manual_50Hz)",
                                      "SetAntiFlicker(4)",
                                      "SetExposureAuto(0)",
                                      " SetAeCtrlMode ExposureAuto=0 GainAuto=1 => mode=0x9",
                                      "GetCurrentGainFactor()",
                                      "GetCurrentGainFactor: AE_GAIN = 1.5",
                                      "GetCurrentExposureTime_us()",
                                      "GetCurrentExposureTime_us: AE_EXP_TIME = 10000",
                                      "SetLightSourcePreset(CoolWhiteFluorescent4250K)",
                                      "SetLightSourcePreset(8)",
                                      "SetBalanceRatioBlue(1.25)",
                                      "GetCurrentBalanceRatioBlue last AWB measured blue = 1.25",
                                      "SaveTestPatternSavedRegs() valid=0",
                                      "RestoreTestPatternSavedRegs() valid=1"}));
}

} // namespace
