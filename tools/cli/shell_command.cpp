// zevo shell: one open camera, and commands from a terminal or a pipe.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "cli/command.h"
#include "cli/words.h"
#include "failure.h"
#include "inventory/listing.h"

namespace zevo_tool
{

namespace
{

constexpr char kFooter[] = "Further words: help, list, quit. Settings live until the shell ends.\n";

/// The next line of standard input, behind a prompt where somebody types.
std::optional<std::string> ReadLine()
{
    if (isatty(STDIN_FILENO) != 0)
        std::fputs("zevo> ", stdout);
    std::fflush(stdout);
    char* text = nullptr;
    std::size_t capacity = 0;
    const ssize_t size = getline(&text, &capacity, stdin);
    std::optional<std::string> line;
    if (size >= 0)
        line.emplace(text, static_cast<std::size_t>(size));
    std::free(text);
    return line;
}

class ShellCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        return parent.add_subcommand(
            "shell", "Keep a camera open and take commands from standard input, one a line");
    }
    int Run(Camera& camera) override;

private:
    static int RunLine(const std::vector<std::string>& words, Camera& camera);
};

int ShellCommand::RunLine(const std::vector<std::string>& words, Camera& camera)
{
    CLI::App app("", "");
    app.set_help_flag();
    app.footer(kFooter);
    CommandSet commands(app);
    if (words.front() == "help") {
        std::fputs(app.help().c_str(), stdout);
        return kExitSuccess;
    }
    if (words.front() == "list") {
        std::fputs(ListingText(camera.Found()).c_str(), stdout);
        return kExitSuccess;
    }
    return Guarded(app, [&] {
        commands.Parse(words);
        commands.Chosen()->Check();
        return commands.Chosen()->Run(camera);
    });
}

int ShellCommand::Run(Camera& camera)
{
    int result = kExitSuccess;
    while (const std::optional<std::string> line = ReadLine()) {
        int code = kExitUsage;
        try {
            const std::vector<std::string> words = SplitWords(*line);
            if (words.empty())
                continue;
            if (words.front() == "quit" || words.front() == "exit")
                break;
            code = RunLine(words, camera);
        } catch (const UsageError& error) {
            Say(error.what());
        }
        if (result == kExitSuccess)
            result = code;
    }
    return result;
}

} // namespace

std::unique_ptr<CameraCommand> MakeShellCommand()
{
    return std::make_unique<ShellCommand>();
}

} // namespace zevo_tool
