// The info record of a camera.
#pragma once

#include "modules/generic/info_records.h"
#include "platform/camera.h"

namespace GenTLProducer
{

class CDeviceInfoMCM final : public CDefaultDeviceInfo
{
public:
    explicit CDeviceInfoMCM(CameraInformation camera);
    InfoPtr Clone() const override;

    const CameraInformation& camera() const noexcept { return camera_; }

private:
    CameraInformation camera_;
};

} // namespace GenTLProducer
