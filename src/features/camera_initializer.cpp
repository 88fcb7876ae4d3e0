#include "features/camera_initializer.h"

#include "features/camera_registers.h"

namespace GenTLProducer
{

void CameraInitializer::run()
{
    FeatureContext& context = camera_.context_;
    auto& format = camera_.group<ImageFormatFeatures>();
    context.isStreaming = false;
    format.selectFormats();
    format.selectSizes();
    requestDefaults();
    camera_.group<AcquisitionFeatures>().abort();
    context.runtime.handler->setRegisterSpace(&camera_.map_);
    camera_.applyAll(CameraRegisters::Occasion::Opening);
}

void CameraInitializer::requestDefaults()
{
    for (const RegisterRow& row : DeviceRegisterRows()) {
        if (row.behaviour.action != nullptr)
            camera_.context_.registers.request(row.key, row.behaviour.initial);
    }
}

} // namespace GenTLProducer
