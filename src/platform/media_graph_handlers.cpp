#include "platform/media_graph_handlers.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "base/endian.h"
#include "base/pfnc.h"
#include "v4l2/device_node.h"
#include "v4l2/driver_filter.h"
#include "v4l2/files.h"

namespace GenTLProducer
{

namespace
{

constexpr char kMediaDriver[] = "mxc-md";
constexpr char kVideoDriver[] = "viv_v4l2_device";
constexpr std::string_view kSensorNamePrefix = "tolmen-camera ";
constexpr int kEntitiesToCapture = 3; // downstream of the sensor, whatever their names

constexpr char kCsiIdPattern[] = "/proc/device-tree/soc@0/*/*/tolmen_camera@36/csi_id";
constexpr std::uint32_t kMaxWidthFirstReceiver = 4096;
constexpr std::uint32_t kMaxWidthOtherReceiver = 2048;

bool isOurSensor(const V4L2::MediaEntity& entity)
{
    return entity.IsCameraSensor() && entity.interface &&
           entity.name.compare(0, kSensorNamePrefix.size(), kSensorNamePrefix) == 0;
}

std::string nodeOf(const V4L2::MediaEntity& entity)
{
    return V4L2::ResolveDeviceNode(entity.interface->major, entity.interface->minor);
}

PipelineDevice followToCapture(const V4L2::MediaEntity& sensor)
{
    const std::string cameraPath = nodeOf(sensor);
    const V4L2::MediaEntity* entity = &sensor;
    for (int step = 0; step < kEntitiesToCapture; ++step)
        entity = &V4L2::NextEntity(*entity);
    if (!entity->interface)
        throw std::runtime_error("capture device has no interface");
    return {nodeOf(*entity), cameraPath};
}

} // namespace

std::vector<PipelineDevice>
PlatformPipelineHandlerSimple::FindCameraDevices(const V4L2::EnumerateResult& enumeration) const
{
    std::vector<PipelineDevice> devices;
    for (const V4L2::MediaDevice& media : enumeration.mediaDevices) {
        try {
            const auto [capturePath, cameraPath] = V4L2::FindCaptureAndCamera(media);
            devices.push_back({capturePath, cameraPath});
        } catch (const std::runtime_error&) {
            // A media device of something else.
        }
    }
    return devices;
}

std::vector<PipelineDevice>
PlatformPipelineHandlerImx8mp::FindCameraDevices(const V4L2::EnumerateResult& enumeration) const
{
    std::vector<PipelineDevice> devices;
    const auto media =
        std::find_if(enumeration.mediaDevices.begin(), enumeration.mediaDevices.end(),
                     [](const auto& device) { return device.GetDriver() == kMediaDriver; });
    if (media != enumeration.mediaDevices.end()) {
        for (const V4L2::MediaEntity* entity : media->GetEntities()) {
            if (isOurSensor(*entity))
                devices.push_back(followToCapture(*entity));
        }
    }
    for (const std::string& path : V4L2::FilterByDriverName(enumeration.videoNodes, kVideoDriver))
        devices.push_back({path, path});
    return devices;
}

std::uint32_t PlatformPipelineHandlerImx8mp::GetMaxWidth() const
{
    const std::vector<std::string> matches = V4L2::ExpandFileNames(kCsiIdPattern);
    if (matches.size() != 1)
        return kMaxWidthOtherReceiver;
    const std::optional<std::string> bytes = V4L2::ReadFile(matches.front(), sizeof(std::uint32_t));
    if (!bytes || bytes->size() < sizeof(std::uint32_t))
        throw std::runtime_error("Failed to detect camera connection from devicetree");
    // A device tree property: big endian.
    const auto receiver = loadBigEndian<std::uint32_t>(bytes->data());
    return receiver == 0 ? kMaxWidthFirstReceiver : kMaxWidthOtherReceiver;
}

bool PlatformPipelineHandlerImx8mp::IsPixelFormatSupported(std::uint32_t pfncValue) const
{
    return pfncValue == Pfnc::YUV422_8;
}

} // namespace GenTLProducer
