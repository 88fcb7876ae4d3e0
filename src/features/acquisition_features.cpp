#include "features/acquisition_features.h"

namespace GenTLProducer
{

namespace
{

/// A register and the word that tells a consumer of its lock or its availability.
struct WatchedRegister {
    Reg target;
    Reg word;
};

constexpr WatchedRegister kFormatLocks[] = {
    {Reg::PixelFormat, Reg::PixelFormatLocked},
    {Reg::Width, Reg::WidthLocked},
    {Reg::Height, Reg::HeightLocked},
};

} // namespace

void AcquisitionFeatures::start()
{
    machine_.start();
    applyLocks();
}

void AcquisitionFeatures::stop()
{
    machine_.stop();
    applyLocks();
}

void AcquisitionFeatures::abort()
{
    machine_.abort();
    applyLocks();
}

void AcquisitionFeatures::applyTLParamsLocked()
{
    context_.registers.adoptWithinLimits(Reg::TLParamsLocked);
    applyFormatLock();
}

void AcquisitionFeatures::applyLocks()
{
    context_.isAcquiring = machine_.getState() == AcquisitionState::Active;
    applyFormatLock();
}

void AcquisitionFeatures::applyFormatLock()
{
    const bool isLocked = isFormatLocked();
    for (const WatchedRegister& lock : kFormatLocks) {
        context_.registers.set(lock.target, RegisterFlag::WriteLocked, isLocked);
        context_.registers.show(lock.word, isLocked);
    }
    offerStreamingCommands();
}

bool AcquisitionFeatures::isFormatLocked() const
{
    return context_.registers.effective(Reg::TLParamsLocked) == 1 || context_.isAcquiring;
}

void AcquisitionFeatures::offerStreamingCommands()
{
    const auto offer = [this](Reg command, Reg word, bool isOffered) {
        context_.registers.set(command, RegisterFlag::Available, isOffered);
        context_.registers.show(word, isOffered);
    };
    const bool isFree = !isFormatLocked();
    offer(Reg::StreamingStart, Reg::StreamingStartAvailable, isFree && !context_.isStreaming);
    offer(Reg::StreamingEnd, Reg::StreamingEndAvailable, isFree && context_.isStreaming);
}

} // namespace GenTLProducer
