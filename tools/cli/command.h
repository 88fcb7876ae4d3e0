// A command of the tool.
#pragma once

#include <memory>
#include <vector>

#include <CLI/CLI.hpp>

#include "inventory/camera.h"

namespace zevo_tool
{

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

/// A command that works on an open camera, once started from a shell or often in the tool's own.
class CameraCommand
{
public:
    virtual ~CameraCommand() = default;
    /// Adds the command with its options, which become members of this object.
    virtual CLI::App* Define(CLI::App& parent) = 0;
    /// Looks at the options before a camera is opened. UsageError.
    virtual void Check() {}
    /// The exit code. Failure and UsageError are told by the caller.
    virtual int Run(Camera& camera) = 0;
};

/// All of them, in the order in which the help shows them.
std::vector<std::unique_ptr<CameraCommand>> MakeCameraCommands();

std::unique_ptr<CameraCommand> MakeGrabCommand();

/// Parses, runs, and says on standard error what went wrong; the program's exit code.
int RunProgram(int argc, char** argv);

} // namespace zevo_tool
