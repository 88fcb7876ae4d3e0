#include "features/acquisition_features.h"

namespace GenTLProducer
{

void AcquisitionFeatures::start()
{
    machine_.start();
    takeState();
}

void AcquisitionFeatures::stop()
{
    machine_.stop();
    takeState();
}

void AcquisitionFeatures::abort()
{
    machine_.abort();
    takeState();
}

void AcquisitionFeatures::takeState()
{
    context_.isAcquiring = machine_.getState() == AcquisitionState::Active;
}

} // namespace GenTLProducer
