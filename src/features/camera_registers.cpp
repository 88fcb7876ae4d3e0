#include "features/camera_registers.h"

#include <stdexcept>

#include "base/exception.h"
#include "features/camera_initializer.h"

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
      groups_(context_, context_), entries_(BuildEntries(bootstrap_.map(), context_.registers)),
      map_(kMapSize, entries_)
{
}

void CameraRegisters::run()
{
    CameraInitializer(*this).run();
}

void CameraRegisters::trig_update()
{
    // No feature has an automatic yet.
}

void CameraRegisters::startStreaming()
{
    context_.isStreaming = true;
    applyStreamingState();
    group<AcquisitionFeatures>().offerStreamingCommands();
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
    auto& format = group<ImageFormatFeatures>();
    applyStreamingState();
    format.applyPixelFormat();
    format.applyWidth();
    format.applyHeight();
    format.applyScalingFactor();
    if (occasion == Occasion::Opening)
        format.requestCenteredOffsets();
    format.applyOffsetX();
    format.applyOffsetY();
    group<AcquisitionFeatures>().applyTLParamsLocked();
    format.applyPayloadSize();
}

void CameraRegisters::applyStreamingState()
{
    constexpr struct {
        Reg command;
        Reg word;
    } kCommands[] = {
        {Reg::AcquisitionStart, Reg::AcquisitionStartAvailable},
        {Reg::AcquisitionStop, Reg::AcquisitionStopAvailable},
        {Reg::AcquisitionAbort, Reg::AcquisitionAbortAvailable},
    };
    RegisterBank& registers = context_.registers;
    const bool isStreaming = context_.isStreaming;
    for (const RegisterRow& row : DeviceRegisterRows()) {
        if (row.behaviour.role == Role::Feature)
            registers.set(row.key, RegisterFlag::Unchecked, isStreaming);
    }
    registers.set(Reg::TLParamsLocked, RegisterFlag::WriteLocked, isStreaming);
    registers.show(Reg::TLParamsLockedLocked, isStreaming);
    for (const auto& [command, word] : kCommands) {
        registers.set(command, RegisterFlag::Available, !isStreaming);
        registers.show(word, !isStreaming);
    }
}

std::int64_t CameraRegisters::readValue(std::size_t row)
{
    return context_.registers.effective(DeviceRegisterRows()[row].key);
}

void CameraRegisters::writeValue(std::size_t row, std::int64_t value)
{
    const auto& [address, key, shape, behaviour] = DeviceRegisterRows()[row];
    if (behaviour.role != Role::Command)
        context_.registers.request(key, value);
    if (behaviour.role != Role::Feature || !context_.isStreaming)
        behaviour.action(*this);
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
