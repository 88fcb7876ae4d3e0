// Picture controls, exposure, gain and frame rate: what they write, and what they refuse.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

using Use = std::function<void(CameraModuleAP1302&)>;

constexpr std::uint16_t kAeControl = 0x5002;
constexpr std::uint16_t kFlickControl = 0x5440;

/// Operations on a module of their own, and all transfers that they make.
struct Case {
    const char* name;
    Use use;
    Lines transfers;
};

void expectTransfers(const std::vector<Case>& cases)
{
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        Idle idle;
        idle.camera.PokeIsp16(kAeControl, 0xABC5);
        idle.camera.PokeIsp16(kFlickControl, 0x3CA3);
        EXPECT_THAT(idle.transfersOf([&] { row.use(idle.module); }),
                    ElementsAreArray(row.transfers));
    }
}

// The feature layer's tests over this module look at the rest.
TEST(CameraModuleControls, PictureControlsReachBelowZero)
{
    expectTransfers({
        {"brightness -8", [](auto& m) { m.SetBrightness(-8.0); }, {"w 7000 8000"}},
        {"sharpness -1", [](auto& m) { m.SetSharpness(-1.0); }, {"w 7010 8029"}},
    });
}

TEST(CameraModuleControls, AntiFlickerSetsTheFrequencyBeforeTheMode)
{
    expectTransfers({
        {"off", [](auto& m) { m.SetAntiFlicker(0); }, {"r 5440", "w 5440 3ca0"}},
        {"auto", [](auto& m) { m.SetAntiFlicker(1); }, {"r 5440", "w 5440 3ca2"}},
        {"50 Hz",
         [](auto& m) { m.SetAntiFlicker(2); },
         {"r 5440", "w 5440 32a3", "r 5440", "w 5440 32a1"}},
        {"60 Hz",
         [](auto& m) { m.SetAntiFlicker(3); },
         {"r 5440", "w 5440 3ca3", "r 5440", "w 5440 3ca1"}},
        {"unknown", [](auto& m) { m.SetAntiFlicker(4); }, {}},
    });
}

TEST(CameraModuleControls, GammaIsTheInverseUnlessAColorSpaceRules)
{
    expectTransfers({
        {"2.0", [](auto& m) { m.SetGamma(2.0); }, {"w 700a 0800"}},
        {"negative", [](auto& m) { m.SetGamma(-0.5); }, {"w 700a e000"}},
        {"sRGB and back",
         [](auto& m) {
             m.SetGamma(0.5);
             m.SetColorSpace(1);
             m.SetGamma(4.0);
             m.SetColorSpace(0);
         },
         {"w 700a 2000", "w 700a 0000", "w 700a 0000", "w 700a 0400"}},
        {"sRGB needs no gamma", [](auto& m) { m.SetColorSpace(1); }, {"w 700a 0000"}},
    });
}

TEST(CameraModuleControls, GammaZeroIsReportedOnly)
{
    Idle idle;
    EXPECT_THAT(stderrOf([&] {
                    EXPECT_THAT(idle.transfersOf([&] { idle.module.SetGamma(0.0); }),
                                ElementsAre());
                }),
                HasSubstr("[000000] ERROR: SetGammaReg: Cannot set gamma factor 0.0\n"));
}

TEST(CameraModuleControls, TwoSwitchesMakeTheModeOfTheExposure)
{
    expectTransfers({
        {"gain alone", [](auto& m) { m.SetExposureAuto(false); }, {"r 5002", "w 5002 abc9"}},
        {"exposure alone", [](auto& m) { m.SetGainAuto(false); }, {"r 5002", "w 5002 abca"}},
        {"none, both",
         [](auto& m) {
             m.SetExposureAuto(false);
             m.SetGainAuto(false);
             m.SetExposureAuto(true);
             m.SetGainAuto(true);
         },
         {"r 5002", "w 5002 abc9", "r 5002", "w 5002 abc0", "r 5002", "w 5002 abca", "r 5002",
          "w 5002 abcc"}},
    });
}

TEST(CameraModuleControls, ManualValuesAreWrittenWhateverTheAutomatics)
{
    expectTransfers({
        {"exposure", [](auto& m) { m.SetExposureTime_us(33333); }, {"w 500c 00008235"}},
        {"longest", [](auto& m) { m.SetExposureTime_us(0xFFFFFFFF); }, {"w 500c ffffffff"}},
        {"gain", [](auto& m) { m.SetGainFactor(2.5); }, {"w 5006 0280"}},
        {"rounded gain", [](auto& m) { m.SetGainFactor(1.002); }, {"w 5006 0101"}},
    });
}

TEST(CameraModuleControls, FrameRateIsACeilingWhileEnabled)
{
    expectTransfers({
        {"stored", [](auto& m) { m.SetAcquisitionFrameRate(30.0); }, {}},
        {"enabled",
         [](auto& m) {
             m.SetAcquisitionFrameRate(30.0);
             m.SetAcquisitionFrameRateEnable(true);
             m.SetAcquisitionFrameRate(12.5);
             m.SetAcquisitionFrameRateEnable(false);
         },
         {"w 2020 1e00", "w 2020 0c80", "w 2020 ffe6"}},
        {"initial rate", [](auto& m) { m.SetAcquisitionFrameRateEnable(true); }, {"w 2020 ffe6"}},
    });
}

TEST(CameraModuleControls, CurrentValuesAreThoseOfTheIsp)
{
    Idle idle;
    const FixedRegisters status(idle, {{0x0192, 0x0280}, {0x0194, 0x0001}, {0x0196, 0x86A0}});
    EXPECT_THAT(
        idle.transfersOf([&] { EXPECT_EQ(idle.module.GetCurrentExposureTime_us(), 100000U); }),
        ElementsAre("r 0194", "r 0196"));
    EXPECT_THAT(idle.transfersOf([&] { EXPECT_EQ(idle.module.GetCurrentGainFactor(), 2.5); }),
                ElementsAre("r 0192"));
}

TEST(CameraModuleControls, RefusedValueReachesNoRegister)
{
    const struct {
        const char* error;
        Use use;
    } cases[] = {
        {"BRIGHTNESS: Value 8 outside range -8...7.99976.", [](auto& m) { m.SetBrightness(8.0); }},
        {"CONTRAST: Value 10 outside range -8...7.99976.", [](auto& m) { m.SetContrast(2.0); }},
        {"SATURATION: Value 9 outside range -8...7.99976.", [](auto& m) { m.SetSaturation(9.0); }},
        {"SHARPEN_VALUE: Value 8.78906 outside range -8...7.99976.",
         [](auto& m) { m.SetSharpness(1.1); }},
        {"GAMMA: Value 10 outside range -8...7.99976.", [](auto& m) { m.SetGamma(0.1); }},
        {"AE_MANUAL_GAIN: Value 256 outside range 0...255.996.",
         [](auto& m) { m.SetGainFactor(256.0); }},
    };
    for (const auto& row : cases) {
        Idle idle;
        EXPECT_THAT(
            idle.transfersOf([&] { EXPECT_EQ(errorOf([&] { row.use(idle.module); }), row.error); }),
            ElementsAre());
        EXPECT_THAT(idle.transfersOf([&] { idle.module.SetBrightness(1.0); }),
                    ElementsAre("w 7000 1000"))
            << "the module works on";
    }
}

TEST(CameraModuleControls, RefusedGainAndRateAreKeptNevertheless)
{
    Idle idle;
    EXPECT_NE(errorOf([&] { idle.module.SetGainFactor(300.0); }), "");
    idle.module.SetTestPattern(1);
    EXPECT_EQ(errorOf([&] { idle.module.SetTestPattern(0); }),
              "AE_MANUAL_GAIN: Value 300 outside range 0...255.996.");

    idle.module.SetAcquisitionFrameRateEnable(true);
    EXPECT_NE(errorOf([&] { idle.module.SetAcquisitionFrameRate(400.0); }), "");
    EXPECT_EQ(errorOf([&] { idle.module.SetAcquisitionFrameRateEnable(true); }),
              "PREVIEW_MAX_FPS: Value 400 outside range 0...255.996.");
}

TEST(CameraModuleControls, LogsOperationsAndValues)
{
    const struct {
        Use use;
        const char* lines[2];
    } cases[] = {
        {[](auto& m) { m.SetBrightness(0.5); },
         {"DEBUG: SetBrightness(0.5)\n", "DEBUG: SetBrightness: BRIGHTNESS = 0.5\n"}},
        {[](auto& m) { m.SetContrast(0.3); },
         {"DEBUG: SetContrast(0.3)\n", "DEBUG: SetContrast: CONTRAST = 1.5\n"}},
        {[](auto& m) { m.SetSharpness(1); },
         {"DEBUG: SetSharpness(1)\n", "DEBUG: SetSharpness: SHARPEN_VALUE = 7.99\n"}},
        {[](auto& m) {
             m.SetColorSpace(1);
             m.SetColorSpace(2);
         },
         {"DEBUG: SetColorSpace(sRGB)\n", "DEBUG: SetColorSpace(2)\n"}},
        {[](auto& m) {
             m.SetAntiFlicker(2);
             m.SetAntiFlicker(4);
         },
         {"DEBUG: SetAntiFlicker(Manual_50Hz)\n", "DEBUG: SetAntiFlicker(4)\n"}},
        {[](auto& m) { m.SetExposureAuto(false); },
         {"DEBUG: SetExposureAuto(0)\n",
          "DEBUG:  SetAeCtrlMode ExposureAuto=0 GainAuto=1 => mode=0x9\n"}},
        {[](auto& m) { m.GetCurrentGainFactor(); },
         {"DEBUG: GetCurrentGainFactor()\n", "DEBUG: GetCurrentGainFactor: AE_GAIN = "}},
        {[](auto& m) { m.GetCurrentExposureTime_us(); },
         {"DEBUG: GetCurrentExposureTime_us()\n",
          "DEBUG: GetCurrentExposureTime_us: AE_EXP_TIME = "}},
        {[](auto& m) {
             m.SetLightSourcePreset(4);
             m.SetLightSourcePreset(8);
         },
         {"DEBUG: SetLightSourcePreset(CoolWhiteFluorescent4250K)\n",
          "DEBUG: SetLightSourcePreset(8)\n"}},
        {[](auto& m) {
             m.SetLightSourcePreset(0);
             m.SetBalanceRatioBlue(1.25);
             m.GetCurrentBalanceRatioBlue();
         },
         {"DEBUG: SetBalanceRatioBlue(1.25)\n", " last AWB measured blue = 1.25\n"}},
        {[](auto& m) {
             m.SetTestPattern(3);
             m.SetTestPattern(0);
         },
         {"DEBUG: SaveTestPatternSavedRegs() valid=0\n",
          "DEBUG: RestoreTestPatternSavedRegs() valid=1\n"}},
    };
    for (const auto& row : cases) {
        const auto use = [&row] {
            Opened opened;
            row.use(opened.module);
        };
        expectLogged("7", "2", use, AllOf(HasSubstr(row.lines[0]), HasSubstr(row.lines[1])));
    }
}

} // namespace
