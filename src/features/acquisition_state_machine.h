// Is the camera acquiring?
#pragma once

#include <cstdint>

#include "module/icamera_module.h"

namespace GenTLProducer
{

class AcquisitionStateMachine;

enum class AcquisitionState : std::uint32_t { Idle = 0, Active = 1, Overheated = 2 };

class IAcquisitionStateMachine
{
public:
    virtual ~IAcquisitionStateMachine() = default;
    virtual AcquisitionState getState() const = 0;
    virtual void start() = 0;
    virtual void stop() = 0;
    virtual void abort() = 0;
};

/// A state in which every event does nothing; the states below react to some.
class AcquisitionBaseState
{
public:
    /// The module must outlive the state.
    explicit AcquisitionBaseState(mcm::ICameraModule& module) : module_(module) {}
    virtual ~AcquisitionBaseState() = default;
    virtual AcquisitionState getState() const = 0;
    virtual void start(AcquisitionStateMachine&) {}
    virtual void stop(AcquisitionStateMachine&) {}
    virtual void abort(AcquisitionStateMachine&) {}

protected:
    mcm::ICameraModule& module_;
};

class AcquisitionStateIdle final : public AcquisitionBaseState
{
public:
    using AcquisitionBaseState::AcquisitionBaseState;
    AcquisitionState getState() const override { return AcquisitionState::Idle; }
    void start(AcquisitionStateMachine& machine) override;
};

class AcquisitionStateActive final : public AcquisitionBaseState
{
public:
    using AcquisitionBaseState::AcquisitionBaseState;
    AcquisitionState getState() const override { return AcquisitionState::Active; }
    void stop(AcquisitionStateMachine& machine) override;
    /// Leaves the module streaming: only the features fall back to idle.
    void abort(AcquisitionStateMachine& machine) override;
};

/// Has no way in: the camera's temperature isn't watched.
class AcquisitionStateOverheated final : public AcquisitionBaseState
{
public:
    using AcquisitionBaseState::AcquisitionBaseState;
    AcquisitionState getState() const override { return AcquisitionState::Overheated; }
};

/// Runs the acquisition commands. The state changes last, so that an exception of the module
/// leaves it as it was.
class AcquisitionStateMachine final : public IAcquisitionStateMachine
{
public:
    /// The module must outlive the machine.
    explicit AcquisitionStateMachine(mcm::ICameraModule& module)
        : idle_(module), active_(module), overheated_(module), current_(&idle_)
    {
    }
    AcquisitionStateMachine(const AcquisitionStateMachine&) = delete;
    AcquisitionStateMachine& operator=(const AcquisitionStateMachine&) = delete;

    AcquisitionState getState() const override { return current_->getState(); }
    void start() override { current_->start(*this); }
    void stop() override { current_->stop(*this); }
    void abort() override { current_->abort(*this); }

    /// For the states alone.
    void enter(AcquisitionState state);

private:
    AcquisitionStateIdle idle_;
    AcquisitionStateActive active_;
    AcquisitionStateOverheated overheated_;
    AcquisitionBaseState* current_;
};

} // namespace GenTLProducer
