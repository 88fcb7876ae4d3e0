#include "features/camera_registers.h"

#include <stdexcept>

#include "base/exception.h"
#include "features/camera_initializer.h"
#include "features/feature_conditions.h"

namespace GenTLProducer
{

namespace
{

/// The space ends ahead of the last word, which no access may touch.
constexpr std::uint32_t kMapSize = 0xFFFFFFFC;

std::vector<RegisterMap::Entry> BuildEntries(IRegister& bootstrap, RegisterBank& registers)
{
    std::vector<RegisterMap::Entry> entries{{0, &bootstrap}};
    registers.appendTo(entries);
    return entries;
}

} // namespace

CameraRegisters::CameraRegisters(RuntimeMCM& runtime)
    : context_(runtime, *this), bootstrap_(mcm::AbrmDevice(runtime.module)),
      groups_(context_, context_, context_, context_),
      entries_(BuildEntries(bootstrap_.map(), context_.registers)), map_(kMapSize, entries_)
{
}

void CameraRegisters::run()
{
    CameraInitializer(*this).run();
}

void CameraRegisters::trig_update()
{
    group<PictureFeatures>().requestMeasured();
}

void CameraRegisters::startStreaming()
{
    context_.isStreaming = true;
}

void CameraRegisters::endStreaming()
{
    context_.isStreaming = false;
    applyAll(Occasion::StreamingEnd);
}

void CameraRegisters::resetDevice()
{
    context_.runtime.reset.resetDevice();
}

void CameraRegisters::applyAll(Occasion occasion)
{
    // If the format fails, the end of the streaming is still to be had, to try again.
    UpdateStreamingConditions(context_);
    applyImageFormat(occasion);
    applyPicture();
    apply(Reg::TLParamsLocked);
    UpdateConditions(context_);
    group<ImageFormatFeatures>().applyPayloadSize();
    auto& trigger = group<TriggerFeatures>();
    trigger.applyPeriodicSignal();
    trigger.applyExposureMode();
    trigger.applyHiddenSets();
    apply(Reg::TlmPeriodicSignalPeriod);
    UpdateConditions(context_);
}

void CameraRegisters::applyImageFormat(Occasion occasion)
{
    auto& format = group<ImageFormatFeatures>();
    format.applyPixelFormat();
    format.applyWidth();
    format.applyHeight();
    format.applyScalingFactor();
    if (occasion == Occasion::Opening)
        format.requestCenteredOffsets();
    format.applyOffsetX();
    format.applyOffsetY();
}

/// Everything is sent whatever the automatics say: the module keeps it as its manual values.
void CameraRegisters::applyPicture()
{
    constexpr Reg kExposureToBrightness[] = {Reg::ExposureAuto,
                                             Reg::ExposureTime,
                                             Reg::GainAuto,
                                             Reg::Gain,
                                             Reg::TestPattern,
                                             Reg::AcquisitionFrameRateEnable,
                                             Reg::AcquisitionFrameRate,
                                             Reg::TlmSharpnessEnhancement,
                                             Reg::AutoFunctionProfile,
                                             Reg::TlmBrightness,
                                             Reg::TlmAdaptiveToneMappingMode,
                                             Reg::TlmContrastMode};
    constexpr Reg kColor[] = {Reg::TlmColorSpace, Reg::Gamma};
    constexpr Reg kBalanceToSaturation[] = {Reg::TlmLightSourcePreset, Reg::BalanceRatioRed,
                                            Reg::BalanceRatioGreen, Reg::BalanceRatioBlue,
                                            Reg::TlmSaturation};
    const auto applyEach = [this](Span<const Reg> keys) {
        for (const Reg key : keys) {
            apply(key);
            UpdateConditions(context_);
        }
    };
    auto& picture = group<PictureFeatures>();
    applyEach(kExposureToBrightness);
    picture.applyContrast();
    applyEach(kColor);
    picture.applyBalanceWhiteAuto();
    applyEach(kBalanceToSaturation);
}

std::int64_t CameraRegisters::readValue(std::size_t row)
{
    const auto& [address, key, shape, behaviour] = DeviceRegisterRows()[row];
    RegisterBank& registers = context_.registers;
    if (behaviour.role == Role::Live)
        registers.adopt(key, registers.requested(key));
    return registers.effective(key);
}

void CameraRegisters::writeValue(std::size_t row, std::int64_t value)
{
    const auto& [address, key, shape, behaviour] = DeviceRegisterRows()[row];
    const bool isFeature = behaviour.role == Role::Feature || behaviour.role == Role::Live;
    if (behaviour.role != Role::Command)
        context_.registers.request(key, value);
    if (behaviour.action == nullptr || (isFeature && context_.isStreaming))
        return;
    behaviour.action(*this, key);
    UpdateConditions(context_);
}

const char* CameraRegisters::readText(std::size_t row)
{
    return (context_.runtime.*DeviceRegisterRows()[row].behaviour.text).c_str();
}

void CameraRegisters::writeText(std::size_t, const char*)
{
    throw InternalError("the device registers have no writable text");
}

std::unique_ptr<CameraRegisters> CreateCameraRegisters(RuntimeMCM* runtime)
{
    if (runtime == nullptr || runtime->module == nullptr)
        throw std::runtime_error("runtimeMCM is nullptr");
    return std::make_unique<CameraRegisters>(*runtime);
}

} // namespace GenTLProducer
