// A command of the tool.
#pragma once

#include <functional>
#include <memory>
#include <string>
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
    /// Looks at the options before a camera is opened. UsageError, Failure.
    virtual void Check() {}
    /// The exit code. Failure and UsageError are told by the caller.
    virtual int Run(Camera& camera) = 0;
};

std::unique_ptr<CameraCommand> MakeExecCommand();
std::unique_ptr<CameraCommand> MakeFeaturesCommand();
std::unique_ptr<CameraCommand> MakeGetCommand();
std::unique_ptr<CameraCommand> MakeGrabCommand();
std::unique_ptr<CameraCommand> MakeLoadCommand();
std::unique_ptr<CameraCommand> MakeSaveCommand();
std::unique_ptr<CameraCommand> MakeSetCommand();
std::unique_ptr<CameraCommand> MakeShellCommand();
std::unique_ptr<CameraCommand> MakeXmlCommand();

/// The commands that the program and its shell have in common, defined in a parser that has to
/// live as long.
class CommandSet final
{
public:
    explicit CommandSet(CLI::App& app);

    void Add(std::unique_ptr<CameraCommand> command);
    const std::vector<CLI::App*>& Definitions() const { return definitions_; }
    /// CLI::ParseError, and UsageError for an unknown command.
    void Parse(const std::vector<std::string>& words);
    /// The command that was parsed, or null.
    CameraCommand* Chosen() const;

private:
    CLI::App& app_;
    std::vector<std::unique_ptr<CameraCommand>> commands_;
    std::vector<CLI::App*> definitions_;
};

/// Says on standard error what doesn't belong to a command's output.
void Say(const std::string& text);

/// Runs, says what went wrong, and gives the exit code.
int Guarded(const CLI::App& app, const std::function<int()>& run);

/// Parses, runs, and says on standard error what went wrong; the program's exit code.
int RunProgram(int argc, char** argv);

} // namespace zevo_tool
