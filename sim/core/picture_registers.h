// From register values to the picture that they describe.
#pragma once

#include "sim/core/exposure_control.h"
#include "sim/core/light.h"
#include "sim/core/picture_setup.h"
#include "sim/core/register_file.h"
#include "sim/core/white_balance.h"

namespace zevo_sim
{

/// The set-up of the next frame, with exposure and white balance as they stand.
PictureSetup ReadPictureSetup(const RegisterFile& registers, const ExposureControl& exposure,
                              const WhiteBalance& balance, const Light& light);

/// Frames per second that PREVIEW_MAX_FPS and the sensor's readout time of the region allow.
double ReadMaxFrameRate(const RegisterFile& registers);

} // namespace zevo_sim
