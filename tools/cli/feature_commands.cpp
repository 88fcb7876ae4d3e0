// zevo get, set and exec: single features.
#include <cstdio>

#include "cli/command.h"
#include "cli/configuration.h"

namespace zevo_tool
{

namespace
{

class GetCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("get", "Print values of features, one a line");
        command->add_option("NAME", names_, "Names of features")->required();
        return command;
    }
    int Run(Camera& camera) override
    {
        for (const std::string& name : names_) {
            const Feature feature = camera.Features().Find(name);
            feature.CheckReadable();
            std::printf("%s\n", feature.Value().c_str());
        }
        return kExitSuccess;
    }

private:
    std::vector<std::string> names_;
};

class SetCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("set", "Give features values, in this order");
        command->add_option("NAME=VALUE", texts_, "Names of features and their new values")
            ->required();
        return command;
    }
    void Check() override
    {
        for (const std::string& text : texts_)
            settings_.push_back(ParseSetting(text));
    }
    int Run(Camera& camera) override
    {
        for (const auto& [name, value] : settings_)
            camera.Features().Find(name).Set(value);
        return kExitSuccess;
    }

private:
    std::vector<std::string> texts_;
    std::vector<Setting> settings_;
};

class ExecCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("exec", "Execute commands of the camera");
        command->add_option("COMMAND", names_, "Names of features that are commands")->required();
        return command;
    }
    int Run(Camera& camera) override
    {
        for (const std::string& name : names_)
            camera.Features().Find(name).Execute();
        return kExitSuccess;
    }

private:
    std::vector<std::string> names_;
};

} // namespace

std::unique_ptr<CameraCommand> MakeGetCommand()
{
    return std::make_unique<GetCommand>();
}

std::unique_ptr<CameraCommand> MakeSetCommand()
{
    return std::make_unique<SetCommand>();
}

std::unique_ptr<CameraCommand> MakeExecCommand()
{
    return std::make_unique<ExecCommand>();
}

} // namespace zevo_tool
