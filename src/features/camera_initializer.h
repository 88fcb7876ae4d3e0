// Start-up of the emulated camera.
#pragma once

namespace GenTLProducer
{

class CameraRegisters;

/// Asks the platform what the pipeline can do, fills in limits and defaults, hangs the register
/// space into the port and sends the whole configuration to the camera.
class CameraInitializer final
{
public:
    explicit CameraInitializer(CameraRegisters& camera) : camera_(camera) {}
    void run();

private:
    void requestDefaults();

    CameraRegisters& camera_;
};

} // namespace GenTLProducer
