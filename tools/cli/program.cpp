// The program: its commands, how it finds cameras, and what it says when something goes wrong.
#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "cli/command.h"
#include "failure.h"
#include "genapi/nearest_name.h"
#include "inventory/listing.h"

namespace zevo_tool
{

namespace
{

/// Which producers and which camera.
struct Connection {
    std::vector<std::string> producerFiles;
    std::string camera;

    void AddProducerOption(CLI::App& command)
    {
        command
            .add_option("--cti", producerFiles,
                        "A producer (*.cti), in place of those in the folders of "
                        "GENICAM_GENTL64_PATH; may be repeated")
            ->type_name("FILE")
            ->take_all()
            ->allow_extra_args(false);
    }
    void AddCameraOption(CLI::App& command)
    {
        command
            .add_option("--device", camera,
                        "The camera, by its index in the list, its identifier, its serial number "
                        "or its user-defined name; otherwise the first one")
            ->type_name("CAMERA");
    }
};

constexpr char kFooter[] = "Exit codes: 0 success, 1 failure, 2 wrong usage, 128 and the signal's\n"
                           "number when a signal has ended a command early.\n"
                           "\n"
                           "Examples:\n"
                           "  zevo list\n"
                           "  zevo grab -n 10 -o pictures --format YUV422_8_UYVY --size 1296x968\n"
                           "  zevo grab -n 0 --set ExposureAuto=Off --set ExposureTime=5000\n";

void Say(const char* text)
{
    std::fflush(stdout);
    std::fprintf(stderr, "zevo: %s\n", text);
}

int List(const Connection& connection)
{
    const Inventory inventory = TakeInventory(connection.producerFiles);
    std::fputs(ListingText(inventory).c_str(), stdout);
    for (const std::string& problem : inventory.Problems())
        Say(problem.c_str());
    return kExitSuccess;
}

/// The parser's words for an unknown command are that one is required.
void CheckCommandName(const CLI::App& app, int argc, char** argv)
{
    if (argc < 2)
        throw UsageError("a command is required; see zevo --help");
    const std::string name = argv[1];
    std::vector<std::string> known;
    for (const CLI::App* command : app.get_subcommands({}))
        known.push_back(command->get_name());
    if (name.rfind('-', 0) != 0 && std::find(known.begin(), known.end(), name) == known.end())
        throw UsageError("there is no command " + name + Suggestion(name, known));
}

/// Parses, and runs what was asked for.
int Run(CLI::App& app, int argc, char** argv)
{
    Connection connection;
    CLI::App* list = app.add_subcommand("list", "Show systems, interfaces and cameras");
    connection.AddProducerOption(*list);
    const std::vector<std::unique_ptr<CameraCommand>> commands = MakeCameraCommands();
    std::vector<CLI::App*> definitions;
    for (const auto& command : commands) {
        definitions.push_back(command->Define(app));
        connection.AddProducerOption(*definitions.back());
        connection.AddCameraOption(*definitions.back());
    }
    CheckCommandName(app, argc, argv);
    app.parse(argc, argv);

    if (list->parsed())
        return List(connection);
    for (std::size_t index = 0; index < commands.size(); ++index) {
        if (!definitions[index]->parsed())
            continue;
        commands[index]->Check();
        Camera camera(connection.producerFiles, connection.camera);
        return commands[index]->Run(camera);
    }
    return kExitUsage;
}

int ExplainUsage(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    Say(error.what());
    std::fputs("zevo: see zevo --help, or zevo COMMAND --help\n", stderr);
    return kExitUsage;
}

/// A full disk behind standard output is a failure, too; a reader that has gone is none to speak
/// of.
int FinishOutput(int code)
{
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return code;
    if (errno != EPIPE)
        std::perror("zevo: standard output");
    return code == kExitSuccess ? kExitFailure : code;
}

} // namespace

std::vector<std::unique_ptr<CameraCommand>> MakeCameraCommands()
{
    std::vector<std::unique_ptr<CameraCommand>> commands;
    commands.push_back(MakeGrabCommand());
    return commands;
}

int RunProgram(int argc, char** argv)
{
    CLI::App app("Lists GenICam cameras and streams from them, through any GenTL producer.",
                 "zevo");
    app.set_version_flag("--version", "zevo " ZEVO_VERSION, "Show the version and end");
    app.set_help_flag("-h,--help", "Show this and end");
    app.require_subcommand(1);
    app.footer(kFooter);
    int code = kExitFailure;
    try {
        code = Run(app, argc, argv);
    } catch (const CLI::ParseError& error) {
        code = ExplainUsage(app, error);
    } catch (const UsageError& error) {
        Say(error.what());
        code = kExitUsage;
    } catch (const std::exception& failure) {
        Say(failure.what());
    }
    return FinishOutput(code);
}

} // namespace zevo_tool
