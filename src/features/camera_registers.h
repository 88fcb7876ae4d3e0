// Everything that makes the emulated camera: registers, features, and the order of their work.
#pragma once

#include <memory>
#include <tuple>
#include <type_traits>
#include <vector>

#include "features/acquisition_features.h"
#include "features/bootstrap_registers.h"
#include "features/feature_context.h"
#include "features/image_format_features.h"
#include "features/picture_features.h"
#include "features/trigger_features.h"

namespace GenTLProducer
{

/// The register space of an open camera with the features behind it.
///
/// Each writable feature has a requested and an effective value. A write stores the request and
/// brings it to the camera at once, or, while features are streamed, at the end of the streaming,
/// when the whole configuration is sent in one fixed order.
///
/// No lock of its own: every access and trig_update run under the lock of the remote port. What
/// module, grabber or bus throw passes through.
class CameraRegisters final : private IRegisterValues
{
public:
    /// The runtime must outlive this object, module included.
    explicit CameraRegisters(RuntimeMCM& runtime);
    CameraRegisters(const CameraRegisters&) = delete;
    CameraRegisters& operator=(const CameraRegisters&) = delete;

    /// Sets up all features, hands the register space to the port and sends the default
    /// configuration to the camera. Called once.
    void run();
    /// Brings in what the camera's automatics have settled on. Called every 500 ms.
    void trig_update();

    // Actions of the register table.
    /// Makes the request of a feature that stands for itself effective.
    void apply(Reg key) { context_.apply(key); }
    void startStreaming();
    void endStreaming();
    void resetDevice();

    /// The group of features that an action belongs to.
    template <typename Group>
    Group& group()
    {
        if constexpr (std::is_same_v<Group, CameraRegisters>)
            return *this;
        else
            return std::get<Group>(groups_);
    }

private:
    friend class CameraInitializer;

    /// What calls for the whole configuration to be sent.
    enum class Occasion { Opening, StreamingEnd };

    void applyAll(Occasion occasion);
    void applyImageFormat(Occasion occasion);
    void applyPicture();

    std::int64_t readValue(std::size_t row) override;
    void writeValue(std::size_t row, std::int64_t value) override;
    const char* readText(std::size_t row) override;
    void writeText(std::size_t row, const char* text) override;

    FeatureContext context_;
    BootstrapRegisters bootstrap_;
    std::tuple<ImageFormatFeatures, PictureFeatures, AcquisitionFeatures, TriggerFeatures> groups_;
    std::vector<RegisterMap::Entry> entries_;
    RegisterMap map_;
};

/// Throws std::runtime_error without a runtime or without its module.
std::unique_ptr<CameraRegisters> CreateCameraRegisters(RuntimeMCM* runtime);

} // namespace GenTLProducer
