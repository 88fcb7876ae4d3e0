// zevo save and load: all settings of a camera and a text file.
#include <cstdio>

#include "cli/command.h"
#include "file_content.h"
#include "genapi/feature_streaming.h"

namespace zevo_tool
{

namespace
{

class SaveCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("save", "Write the camera's settings to a file");
        command->add_option("FILE", path_, "The file; - stands for standard output")->required();
        return command;
    }
    int Run(Camera& camera) override
    {
        const std::string text =
            FormatSettings(CollectSettings(camera.Features()), "Settings of " + camera.Entry().id);
        if (path_ == "-")
            std::fputs(text.c_str(), stdout);
        else
            WriteFile(path_, text);
        return kExitSuccess;
    }

private:
    std::string path_;
};

class LoadCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand("load", "Give the camera a file's settings");
        command->add_option("FILE", path_, "A file as save writes it")->required();
        return command;
    }
    void Check() override { settings_ = ReadSettings(path_); }
    int Run(Camera& camera) override
    {
        for (const std::string& change : ApplySettings(camera.Features(), settings_, path_))
            Say(change);
        return kExitSuccess;
    }

private:
    std::string path_;
    std::vector<StoredSetting> settings_;
};

} // namespace

std::unique_ptr<CameraCommand> MakeSaveCommand()
{
    return std::make_unique<SaveCommand>();
}

std::unique_ptr<CameraCommand> MakeLoadCommand()
{
    return std::make_unique<LoadCommand>();
}

} // namespace zevo_tool
