// Does a consumer learn of everything that a write changes beside its own register?
#include <algorithm>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "description_file.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

/// True when the description tells that a write at the address may change the register.
bool IsInvalidated(const DescriptionFile& file, const DescriptionNode& changed,
                   std::uint32_t written)
{
    for (const auto& [element, text] : changed.elements) {
        if (element != "pInvalidator")
            continue;
        const std::vector<std::uint32_t> sources = file.registersOf(file.find(text));
        if (std::count(sources.begin(), sources.end(), written) != 0)
            return true;
    }
    return false;
}

/// Every number that can be read, by the node of its register.
std::map<const DescriptionNode*, std::uint32_t> Snapshot(OpenRegisters& camera,
                                                         const DescriptionFile& file)
{
    std::map<const DescriptionNode*, std::uint32_t> words;
    for (const DescriptionNode& node : file.nodes) {
        if (node.kind == "IntReg" && node["AccessMode"] != "WO")
            words[&node] = camera.read(node.number("Address"));
    }
    return words;
}

// A walk through all dependencies between features.
constexpr std::pair<Reg, std::uint32_t> kWrites[] = {
    {Reg::PixelFormat, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
    {Reg::Width, 1008},
    {Reg::Height, 1000},
    {Reg::TlmScalingFactor, 50},
    {Reg::TlmCenterX, 1},
    {Reg::TlmCenterY, 1},
    {Reg::TlmScalingFactor, 150},
    {Reg::Width, 1704},
    {Reg::TLParamsLocked, 1},
    {Reg::TLParamsLocked, 0},
    {Reg::TlmColorSpace, 0},
    {Reg::TlmContrast, 50},
    {Reg::TlmAdaptiveToneMappingMode, 0}, // Off
    {Reg::TlmAdaptiveToneMappingMode, 1}, // and Auto
    {Reg::BalanceWhiteAuto, 0},           // Off
    {Reg::TlmLightSourcePreset, 3},
    {Reg::AcquisitionStart, 1},
    {Reg::TlmLightSourcePreset, 0}, // the ratios are the camera's now
    {Reg::TlmLightSourcePreset, 4},
    {Reg::BalanceWhiteAuto, 1}, // Continuous
    {Reg::ExposureAuto, 0},     // Off
    {Reg::GainAuto, 0},         // Off
    {Reg::AcquisitionAbort, 1},
    {Reg::TriggerSource3, 0}, // Software
    {Reg::TriggerSource3, 1}, // and Line1
    {Reg::AcquisitionStart, 1},
    {Reg::AcquisitionStop, 1},
    {Reg::StreamingStart, 1},
    {Reg::Width, 504},
    {Reg::Height, 104},
    {Reg::TlmColorSpace, 1}, // sRgb
    {Reg::StreamingEnd, 1},
};

TEST(Invalidation, CoversWhatEveryWriteChanges)
{
    OpenRegisters camera;
    const DescriptionFile file("genicam.xml");
    std::size_t changes = 0;
    for (const auto& [key, value] : kWrites) {
        const Address written = key;
        const auto before = Snapshot(camera, file);
        ASSERT_EQ(camera.write(written, value), 0) << std::hex << written.number;
        for (const auto& [node, word] : Snapshot(camera, file)) {
            if (word == before.at(node) || node->number("Address") == written.number)
                continue;
            ++changes;
            EXPECT_TRUE(IsInvalidated(file, *node, written.number))
                << node->name << " by " << std::hex << written.number;
        }
    }
    EXPECT_GT(changes, 100u);
}

} // namespace
} // namespace GenTLProducer
