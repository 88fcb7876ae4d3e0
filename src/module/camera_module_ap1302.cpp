// Life cycle of the camera module, and the stall of the ISP's stream.
#include "module/camera_module_ap1302.h"

#include <algorithm>
#include <exception>

#include "image/ap1302_image_processing.h"
#include "module/isp_firmware.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

using namespace std::chrono_literals;

constexpr std::uint16_t kIspI2cAddress = 60;
constexpr std::uint32_t kSensorWidth = 2600;
constexpr std::uint32_t kSensorHeight = 1952;

constexpr std::uint32_t kStallModeToggle = 1;
constexpr auto kStallTimeout = 10100ms;
constexpr auto kStallPause = 10ms;

constexpr double kInitialMaxFps = 90.0;
constexpr std::uint32_t kInitialAeControl = 0x028C;
constexpr std::uint32_t kInitialSensorMode = 1;

/// What the ISP tells of the sensor once it has booted.
struct ExpectedSize {
    const char* name;
    std::uint32_t (IspSensor::*read)();
    std::uint32_t value;
};
constexpr ExpectedSize kExpectedSizes[] = {
    {"SENSOR_WIDTH_PHY", &IspSensor::SENSOR_WIDTH_PHY, kSensorWidth},
    {"SENSOR_HEIGHT_PHY", &IspSensor::SENSOR_HEIGHT_PHY, kSensorHeight},
    {"SENSOR_WIDTH", &IspSensor::SENSOR_WIDTH, kSensorWidth},
    {"SENSOR_HEIGHT", &IspSensor::SENSOR_HEIGHT, kSensorHeight},
};

} // namespace

CameraModuleAP1302::CameraModuleAP1302(std::shared_ptr<McmDevice> controlDevice,
                                       const CsiConfiguration& csi,
                                       const TriggerFeatureFactory& makeTrigger,
                                       const IClock& clock)
    : controlDevice_(std::move(controlDevice)), isp_(controlDevice_->getI2cDevice(kIspI2cAddress)),
      imageProcessing_(std::make_shared<V4lX::AP1302ImageProcessing>()),
      trigger_(makeTrigger(isp_, clock)), csi_(csi), clock_(clock)
{
}

CameraModuleAP1302::~CameraModuleAP1302()
{
    try {
        RestoreTestPatternSavedRegs();
    } catch (const std::exception&) {
        // The module may be gone, and there is nobody to tell.
    }
}

void CameraModuleAP1302::Initialize()
{
    MCM_LOG(kLogDebug, kLogModule) << "Initialize()\n";
    if (IspFirmware::loadIspFirmware(isp_, csi_, clock_)) {
        CheckAdaptiveToneMappingRegister();
        trigger_->Initialize();
    }
    IspInitialize();
    isAcquisitionRunning_ = false;
}

void CameraModuleAP1302::CheckAdaptiveToneMappingRegister()
{
    const std::uint32_t value = isp_.ATM_CTRL();
    if (value == kAtmAuto)
        return;
    MCM_LOG(kLogWarning, kLogAlways) << "ISP ATM register has an unexpected value. "
                                        "Expected ATM_CTRL_REFERENCE_AUTO=0x043f received 0x"
                                     << std::hex << value << "\n";
}

void CameraModuleAP1302::IspInitialize()
{
    const std::uint32_t stallMode = isp_.Sys_start_STALL_MODE();
    if (stallMode != kStallModeToggle) {
        MCM_LOG(kLogDebug, kLogModule)
            << "Force stalling stream on startup. STALL_MODE=" << stallMode << "\n";
        isp_.Sys_start_STALL_MODE(kStallModeToggle);
        SetStreaming(false);
    }
    // Once on and off, whatever the state was.
    SetStreaming(true);
    SetStreaming(false);
    trigger_->DisableTrigger();
    logCsiLanes();

    sensorWidth_ = kSensorWidth;
    sensorHeight_ = kSensorHeight;
    isp_.PREVIEW_MAX_FPS(kInitialMaxFps);
    isp_.AE_CTRL(kInitialAeControl);
    isp_.CTRL(0);
    isp_.PREVIEW_SENSOR_MODE(kInitialSensorMode);
    isp_.Lsc_ctrl_LUMA_MODE(0);
    if (csi_.laneCount != 0)
        isp_.Preview_hinf_ctrl_MIPI(csi_.laneCount);
    checkSensorSize();
}

void CameraModuleAP1302::logCsiLanes() const
{
    MCM_LOG(kLogInfo, kLogModule) << "Csi::LaneCount              " << csi_.laneCount << "\n";
    if (!IsLogged(kLogInfo, kLogModule))
        return;
    LogStream line(kLogInfo, kLogModule);
    line << "Csi::LaneAssignment         ";
    for (std::uint32_t i = 0; i < std::min(csi_.laneCount, kMaxCsiLanes); ++i)
        line << " " << csi_.laneAssignment[i];
    line << "\n";
}

void CameraModuleAP1302::checkSensorSize()
{
    for (const ExpectedSize& expected : kExpectedSizes) {
        const std::uint32_t value = (isp_.*expected.read)();
        if (value != expected.value) {
            MCM_LOG(kLogInfo, kLogModule)
                << "IspInitialize unexpected value for " << expected.name << ", expected "
                << expected.value << ", got " << value << "\n";
        }
    }
}

/// The stream is stalled by one toggle bit, so its state has to be known first.
void CameraModuleAP1302::SetStreaming(bool on)
{
    waitForStallToggle();
    const bool isStalled = isp_.Sys_start_STALLED();
    if (isStalled == on)
        ToggleStallState();
}

void CameraModuleAP1302::ToggleStallState()
{
    if (isp_.Sys_start_STALL_TOGGLE()) {
        MCM_LOG(kLogWarning, kLogAlways) << "Toggling stall during active stall action.\n";
    }
    isp_.Sys_start_STALL_TOGGLE(true);
}

void CameraModuleAP1302::waitForStallToggle()
{
    if (!waitUntil(clock_, kStallTimeout, kStallPause,
                   [this] { return !isp_.Sys_start_STALL_TOGGLE(); })) {
        MCM_LOG(kLogWarning, kLogAlways) << "ISP is still processing stall.\n";
    }
}

BusDevice CameraModuleAP1302::GetBootstrapDevice()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetBootstrapDevice()\n";
    return controlDevice_->getBootstrapDevice();
}

std::string CameraModuleAP1302::GetFirmwareVersion()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetFirmwareVersion()\n";
    return controlDevice_->getFirmwareVersion();
}

std::shared_ptr<V4lX::IImageProcessing> CameraModuleAP1302::GetImageProcessing()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetImageProcessing()\n";
    return imageProcessing_;
}

bool CameraModuleAP1302::AcquisitionStart()
{
    MCM_LOG(kLogDebug, kLogModule) << "AcquisitionStart()\n";
    trigger_->AcquisitionStart();
    SetStreaming(true);
    isAcquisitionRunning_ = true;
    return true;
}

void CameraModuleAP1302::AcquisitionStop()
{
    MCM_LOG(kLogDebug, kLogModule) << "AcquisitionStop()\n";
    SetStreaming(false);
    isAcquisitionRunning_ = false;
    trigger_->AcquisitionStop();
}

void CameraModuleAP1302::ConfigureTrigger(const TriggerConfiguration& configuration)
{
    trigger_->ConfigureTrigger(configuration);
}

void CameraModuleAP1302::ExecuteSoftwareTrigger(std::uint32_t selector)
{
    trigger_->ExecuteSoftwareTrigger(static_cast<TriggerSelector>(selector));
}

void CameraModuleAP1302::ConfigurePeriodicSignal(const PeriodicSignalConfiguration& configuration)
{
    trigger_->ConfigurePeriodicSignal(configuration);
}

void CameraModuleAP1302::DeviceReset()
{
    MCM_LOG(kLogDebug, kLogModule) << "DeviceReset()\n";
    controlDevice_->resetDevice();
    if (listener_)
        listener_->OnDeviceLost();
}

void CameraModuleAP1302::RegisterCallback(IModuleEvent* listener)
{
    MCM_LOG(kLogDebug, kLogModule) << "RegisterCallback(" << listener << ")\n";
    listener_ = listener;
}

void CameraModuleAP1302::UnregisterCallback()
{
    MCM_LOG(kLogDebug, kLogModule) << "UnregisterCallback()\n";
    listener_ = nullptr;
}

} // namespace mcm
