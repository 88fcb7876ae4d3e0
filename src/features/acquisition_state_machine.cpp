#include "features/acquisition_state_machine.h"

namespace GenTLProducer
{

void AcquisitionStateIdle::start(AcquisitionStateMachine& machine)
{
    module_.AcquisitionStart();
    machine.enter(AcquisitionState::Active);
}

void AcquisitionStateActive::stop(AcquisitionStateMachine& machine)
{
    module_.AcquisitionStop();
    machine.enter(AcquisitionState::Idle);
}

void AcquisitionStateActive::abort(AcquisitionStateMachine& machine)
{
    machine.enter(AcquisitionState::Idle);
}

void AcquisitionStateMachine::enter(AcquisitionState state)
{
    switch (state) {
    case AcquisitionState::Idle:
        current_ = &idle_;
        return;
    case AcquisitionState::Active:
        current_ = &active_;
        return;
    case AcquisitionState::Overheated:
        current_ = &overheated_;
        return;
    }
}

} // namespace GenTLProducer
