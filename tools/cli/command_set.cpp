#include <algorithm>
#include <cstdio>

#include "cli/command.h"
#include "failure.h"
#include "genapi/nearest_name.h"

namespace zevo_tool
{

namespace
{

/// The parser's words for an unknown command are that one is required.
void CheckCommandName(const CLI::App& app, const std::string& name)
{
    std::vector<std::string> known;
    for (const CLI::App* command : app.get_subcommands({}))
        known.push_back(command->get_name());
    if (name.rfind('-', 0) != 0 && std::find(known.begin(), known.end(), name) == known.end())
        throw UsageError("there is no command " + name + Suggestion(name, known));
}

int ExplainUsage(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    Say(error.what());
    return kExitUsage;
}

} // namespace

CommandSet::CommandSet(CLI::App& app) : app_(app)
{
    app.require_subcommand(1);
    Add(MakeGrabCommand());
    Add(MakeFeaturesCommand());
    Add(MakeGetCommand());
    Add(MakeSetCommand());
    Add(MakeExecCommand());
    Add(MakeSaveCommand());
    Add(MakeLoadCommand());
    Add(MakeXmlCommand());
}

void CommandSet::Add(std::unique_ptr<CameraCommand> command)
{
    definitions_.push_back(command->Define(app_));
    commands_.push_back(std::move(command));
}

void CommandSet::Parse(const std::vector<std::string>& words)
{
    if (words.empty())
        throw UsageError("a command is required; see zevo --help");
    CheckCommandName(app_, words.front());
    // The parser takes words from the back.
    app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
}

CameraCommand* CommandSet::Chosen() const
{
    for (std::size_t index = 0; index < commands_.size(); ++index)
        if (definitions_[index]->parsed())
            return commands_[index].get();
    return nullptr;
}

void Say(const std::string& text)
{
    std::fflush(stdout);
    std::fprintf(stderr, "zevo: %s\n", text.c_str());
}

int Guarded(const CLI::App& app, const std::function<int()>& run)
{
    try {
        return run();
    } catch (const CLI::ParseError& error) {
        return ExplainUsage(app, error);
    } catch (const UsageError& error) {
        Say(error.what());
        return kExitUsage;
    } catch (const std::exception& failure) {
        Say(failure.what());
        return kExitFailure;
    }
}

} // namespace zevo_tool
