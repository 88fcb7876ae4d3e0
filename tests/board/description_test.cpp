// The five ports under an independent GenApi implementation, each with the description that it
// serves itself.
#include <gtest/gtest.h>

#include "camera.h"
#include "support/genapi_device.h"

namespace
{

/// The description behind the port's URL "local:///NAME;ADDRESS;LENGTH?...".
std::string descriptionOf(PORT_HANDLE port)
{
    char url[256] = {};
    size_t size = sizeof url;
    EXPECT_OK(GCGetPortURL(port, url, &size));
    const std::string text = url;
    const size_t address = text.find(';') + 1;
    const size_t length = text.find(';', address) + 1;
    std::string description(std::stoull(text.substr(length), nullptr, 16), '\0');
    size = description.size();
    EXPECT_OK(GCReadPort(port, std::stoull(text.substr(address), nullptr, 16), description.data(),
                         &size));
    return description;
}

test::RegisterAccess accessOf(PORT_HANDLE port)
{
    return {[port](uint64_t address, void* buffer, size_t size) {
                return producer().GCReadPort(port, address, buffer, &size) == GC_ERR_SUCCESS;
            },
            [port](uint64_t address, const void* buffer, size_t size) {
                return producer().GCWritePort(port, address, buffer, &size) == GC_ERR_SUCCESS;
            }};
}

test::GenApiDevice featuresOf(PORT_HANDLE port)
{
    return test::GenApiDevice(descriptionOf(port), accessOf(port));
}

} // namespace

TEST(Descriptions, EveryFeatureOfEveryPortReads)
{
    const OpenDevice open;
    DS_HANDLE stream = nullptr;
    ASSERT_OK(DevOpenDataStream(open.device, "Stream0", &stream));
    const struct {
        const char* name;
        PORT_HANDLE port;
        size_t features;
    } kPorts[] = {
        {"system", open.system, 16},
        {"interface", open.interface, 17},
        {"device", open.device, 13},
        {"stream", stream, 12},
        {"remote device", open.port, 84 /* one of them in two categories */},
    };
    for (const auto& row : kPorts) {
        SCOPED_TRACE(row.name);
        const test::GenApiDevice port = featuresOf(row.port);
        const std::vector<std::string> features = port.features();
        EXPECT_EQ(features.size(), row.features);
        for (const std::string& feature : features) {
            const bool isGigE = feature.compare(0, 9, "GevDevice") == 0;
            EXPECT_EQ(port.isImplemented(feature), !isGigE) << feature;
            // Its register is in the data of an event.
            if (!isGigE && !port.isCommand(feature) && feature != "EventDeviceLost") {
                EXPECT_NO_THROW(port.text(feature)) << feature;
            }
        }
    }
}

TEST(Descriptions, TellTheSameAsTheInfoFunctions)
{
    const OpenDevice open;
    EXPECT_EQ(featuresOf(open.system).text("TLVendorName"), "Tolmen");
    EXPECT_EQ(featuresOf(open.interface).text("DeviceID"), open.deviceId());
    EXPECT_EQ(featuresOf(open.interface).text("InterfaceType"), "Custom");
    EXPECT_EQ(featuresOf(open.device).text("DeviceID"), open.deviceId());
    EXPECT_EQ(featuresOf(open.port).text("DeviceModelName"), "zvK1800-45tqr");
}

TEST(Descriptions, AFeatureReachesTheCamera)
{
    const OpenDevice open;
    const test::GenApiDevice camera = featuresOf(open.port);
    camera.select("GainAuto", "Off");
    camera.setNumber("Gain", 6);
    EXPECT_EQ(open.read(0x100005f0), 510u);
    EXPECT_THROW(camera.set("Gain_Int", 12801), std::runtime_error);
    camera.execute("AcquisitionStart");
    EXPECT_TRUE(camera.isLocked("Width"));
    EXPECT_FALSE(camera.isLocked("Gain"));
    EXPECT_TRUE(camera.isLocked("ExposureTime"));
    camera.execute("AcquisitionStop");
    EXPECT_FALSE(camera.isLocked("Width"));
}
