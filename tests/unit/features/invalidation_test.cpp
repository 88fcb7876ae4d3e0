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
std::map<const DescriptionNode*, std::uint32_t> Snapshot(Registers& camera,
                                                         const DescriptionFile& file)
{
    std::map<const DescriptionNode*, std::uint32_t> words;
    for (const DescriptionNode& node : file.nodes) {
        if (node.kind == "IntReg" && node["AccessMode"] != "WO")
            words[&node] = camera.read32(file.registersOf(&node)[0]);
    }
    return words;
}

// A walk through all dependencies between features.
constexpr struct {
    std::uint32_t address, value;
} kWrites[] = {
    {kPixelFormat, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
    {kWidth, 1008},
    {kHeight, 1000},
    {kScalingFactor, 50},
    {kCenterX, 1},
    {kCenterY, 1},
    {kScalingFactor, 150},
    {kWidth, 1704},
    {kTLParamsLocked, 1},
    {kTLParamsLocked, 0},
    {0x1000084c, 0},  // TlmColorSpace Off
    {0x100007c8, 50}, // TlmContrast
    {0x10000984, 0},  // TlmAdaptiveToneMappingMode Off
    {0x10000984, 1},  // and Auto
    {0x100008d0, 0},  // BalanceWhiteAuto Off
    {0x10000a08, 3},  // TlmLightSourcePreset
    {kAcquisitionStart, 1},
    {0x10000a08, 0}, // the ratios are the camera's now
    {0x10000a08, 4},
    {0x100008d0, 1}, // BalanceWhiteAuto Continuous
    {0x100005d0, 0}, // ExposureAuto Off
    {0x10000674, 0}, // GainAuto Off
    {kAcquisitionAbort, 1},
    {0x10001518, 0}, // TriggerSource Software
    {0x10001518, 1}, // and Line1
    {kAcquisitionStart, 1},
    {kAcquisitionStop, 1},
    {kStreamingStart, 1},
    {kHeight, 104},
    {0x1000084c, 1}, // TlmColorSpace sRgb
    {kStreamingEnd, 1},
};

TEST(Invalidation, CoversWhatEveryWriteChanges)
{
    Registers camera;
    camera.open();
    const DescriptionFile file("genicam.xml");
    std::size_t changes = 0;
    for (const auto& write : kWrites) {
        const auto before = Snapshot(camera, file);
        ASSERT_EQ(camera.write32(write.address, write.value), 0) << std::hex << write.address;
        for (const auto& [node, word] : Snapshot(camera, file)) {
            if (word == before.at(node) || file.registersOf(node)[0] == write.address)
                continue;
            ++changes;
            EXPECT_TRUE(IsInvalidated(file, *node, write.address))
                << node->name << " by " << std::hex << write.address;
        }
    }
    EXPECT_GT(changes, 100u);
}

} // namespace
} // namespace GenTLProducer
