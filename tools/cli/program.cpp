// The program: its commands, how it finds cameras, and what it says when something goes wrong.
#include <cerrno>
#include <cstdio>

#include "cli/command.h"
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

constexpr char kFooter[] = "Opening a camera sends it its defaults: settings live as long as one\n"
                           "command runs, or until a shell ends.\n"
                           "\n"
                           "Exit codes: 0 success, 1 failure, 2 wrong usage, 128 and the signal's\n"
                           "number when a signal has ended a command early.\n"
                           "\n"
                           "Examples:\n"
                           "  zevo list\n"
                           "  zevo grab -n 10 -o pictures --format YUV422_8_UYVY --size 1296x968\n"
                           "  zevo grab -n 0 --set ExposureAuto=Off --set ExposureTime=5000\n"
                           "  zevo features Exposure\n";

int List(const Connection& connection)
{
    const Inventory inventory = TakeInventory(connection.producerFiles);
    std::fputs(ListingText(inventory).c_str(), stdout);
    for (const std::string& problem : inventory.Problems())
        Say(problem);
    return kExitSuccess;
}

int Run(CLI::App& app, const std::vector<std::string>& words)
{
    Connection connection;
    CLI::App* list = app.add_subcommand("list", "Show systems, interfaces and cameras");
    connection.AddProducerOption(*list);
    CommandSet commands(app);
    commands.Add(MakeShellCommand());
    for (CLI::App* definition : commands.Definitions()) {
        connection.AddProducerOption(*definition);
        connection.AddCameraOption(*definition);
    }
    commands.Parse(words);

    CameraCommand* chosen = commands.Chosen();
    if (chosen == nullptr)
        return List(connection);
    chosen->Check();
    Camera camera(connection.producerFiles, connection.camera);
    return chosen->Run(camera);
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

int RunProgram(int argc, char** argv)
{
    CLI::App app("Lists GenICam cameras, sets them up and streams from them, through any GenTL "
                 "producer.",
                 "zevo");
    app.set_version_flag("--version", "zevo " ZEVO_VERSION, "Show the version and end");
    app.set_help_flag("-h,--help", "Show this and end");
    app.footer(kFooter);
    const std::vector<std::string> words(argv + 1, argv + argc);
    return FinishOutput(Guarded(app, [&] { return Run(app, words); }));
}

} // namespace zevo_tool
