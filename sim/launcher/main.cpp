// zevo-board: starts a command on a simulated board.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "elf_file.h"
#include "picture.h"
#include "sim/core/board_options.h"
#include "sim/core/board_table.h"
#include "sim/core/system.h"

namespace
{

namespace fs = std::filesystem;

constexpr int kUsageError = 2;
constexpr int kCannotStart = 127;
/// The scene's descriptor keeps out of the numbers that a program may count on.
constexpr long kSceneDescriptor = 420;

/// What the user has asked for, as text.
struct Arguments {
    std::string board;
    std::vector<std::pair<std::string, std::string>> settings; ///< key, value; empty for unset
    std::vector<std::string> faults;
    std::string scene;
    std::string kmsg;
    std::string library;
    std::string emulator; ///< its words, separated by blanks
    std::vector<std::string> preloads;
    std::vector<char*> command; ///< the words behind "--", untouched, with a null at the end
};

void ListBoards()
{
    for (const zevo_sim::BoardDefinition& board : zevo_sim::Boards())
        std::printf("%-12s %s\n", board.name, board.description);
}

/// The library beside the launcher in a build, or where the installation puts it.
std::string FindLibrary()
{
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {"libzevo-board.so", ZEVO_BOARD_LIBRARY_PATH}) {
        const fs::path candidate = folder / place;
        if (fs::exists(candidate))
            return fs::canonical(candidate).string();
    }
    throw std::runtime_error("libzevo-board.so is neither in " + folder.string() + " nor in " +
                             (folder / ZEVO_BOARD_LIBRARY_PATH).lexically_normal().string());
}

/// Sanitizer runtimes insist on being the first library of a process.
std::vector<std::string> FindSanitizers(const std::string& command)
{
    zevo_board::ProgramFile program = zevo_board::ReadProgram(zevo_board::FindProgram(command));
    if (!program.interpreter.empty())
        program = zevo_board::ReadProgram(program.interpreter);
    if (program.isElf && !program.isDynamic)
        std::fprintf(stderr, "zevo-board: %s is statically linked and won't see the board\n",
                     command.c_str());
    std::vector<std::string> found;
    for (const std::string& library : program.libraries)
        for (const char* name :
             {"libasan.so", "libtsan.so", "libclang_rt.asan", "libclang_rt.tsan"})
            if (library.rfind(name, 0) == 0)
                found.push_back(library);
    return found;
}

std::string MakePreload(const Arguments& arguments)
{
    const std::string library = arguments.library.empty()
                                    ? FindLibrary()
                                    : fs::absolute(arguments.library).lexically_normal().string();
    if (!fs::exists(library))
        throw std::runtime_error(library + ": " + std::strerror(ENOENT));
    std::vector<std::string> libraries = FindSanitizers(arguments.command.front());
    libraries.insert(libraries.end(), arguments.preloads.begin(), arguments.preloads.end());
    libraries.push_back(library);
    if (const char* before = std::getenv("LD_PRELOAD"); before && *before != '\0')
        libraries.emplace_back(before);

    std::string preload;
    for (const std::string& entry : libraries) {
        if (&entry != &libraries.back() && entry.find_first_of(" :") != std::string::npos)
            throw std::runtime_error("a library can't be preloaded from a path with a blank or a "
                                     "colon: " +
                                     entry);
        preload += (preload.empty() ? "" : " ") + entry;
    }
    return preload;
}

/// The picture goes to the command as an open file without a name, so that nothing stays behind.
std::string PassScene(const std::string& path)
{
    const std::vector<std::uint8_t> pixels = zevo_board::LoadScene(path);
    zevo_sim::Descriptor memory(zevo_sim::sys::CreateMemoryFile("zevo-board-scene"));
    if (!memory.IsValid() ||
        zevo_sim::sys::WriteFully(memory.Get(), pixels.data(), pixels.size()) < 0)
        throw std::runtime_error("no memory for the scene");
    int fd = zevo_sim::sys::Control(memory.Get(), F_DUPFD, kSceneDescriptor);
    if (fd < 0)
        fd = zevo_sim::sys::Control(memory.Get(), F_DUPFD, 3);
    return "/proc/self/fd/" + std::to_string(fd);
}

zevo_sim::BoardOptions MakeOptions(const Arguments& arguments)
{
    zevo_sim::BoardOptions options;
    try {
        options.Set("board", arguments.board);
        for (const auto& [key, value] : arguments.settings)
            if (!value.empty())
                options.Set(key, value);
        for (const std::string& fault : arguments.faults)
            options.Set("fault", fault);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument("--" + std::string(error.what()));
    }
    if (!arguments.kmsg.empty())
        options.kmsg = fs::absolute(arguments.kmsg).lexically_normal().string();
    if (!arguments.scene.empty())
        options.scene = PassScene(arguments.scene);
    return options;
}

int Start(char** command)
{
    execvp(command[0], command);
    std::fprintf(stderr, "zevo-board: can't start %s: %s\n", command[0], std::strerror(errno));
    return kCannotStart;
}

/// The command is a file to the emulator, which is a program of the host: that one must not be
/// given the libraries, so they come in as a variable of the command alone.
int StartEmulated(const Arguments& arguments, const std::string& preload)
{
    if (preload.find(',') != std::string::npos)
        throw std::runtime_error("an emulator can't preload a library from a path with a comma: " +
                                 preload);
    std::istringstream text(arguments.emulator);
    std::vector<std::string> words{std::istream_iterator<std::string>(text), {}};
    if (words.empty())
        throw std::invalid_argument("--emulator names no program");
    const std::string program = zevo_board::FindProgram(arguments.command[0]);
    if (access(program.c_str(), F_OK) != 0) {
        std::fprintf(stderr, "zevo-board: can't start %s: %s\n", arguments.command[0],
                     std::strerror(errno));
        return kCannotStart;
    }
    words.insert(words.end(), {"-E", "LD_PRELOAD=" + preload, program});
    std::vector<char*> command;
    for (std::string& word : words)
        command.push_back(word.data());
    command.insert(command.end(), arguments.command.begin() + 1, arguments.command.end());
    unsetenv("LD_PRELOAD");
    return Start(command.data());
}

constexpr char kDescription[] =
    "Starts COMMAND so that it finds a simulated board in place of the host's cameras: device\n"
    "nodes, system files and a zvK1800-45tqr camera that sends pictures of a test chart.";

constexpr char kFooter[] =
    "Examples:\n"
    "  zevo-board --board imx8mm -- zevo list\n"
    "  zevo-board --board imx8mp --scene photo.png -- zevo grab -n 10 -o pictures\n"
    "  zevo-board --board generic --fps 0 -- ./soak-test\n"
    "  zevo-board --board imx8mm --fault frame:unplug:after=100 -- zevo grab -n 200\n"
    "  zevo-board --board imx8mm --emulator 'qemu-aarch64 -L /' -- arm64/zevo list\n";

class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override
    {
        return "Usage: zevo-board --board NAME [OPTIONS] -- COMMAND [ARGUMENTS...]\n";
    }
};

struct Setting {
    const char* key;
    const char* value;
    const char* help;
};

// What goes to the board under the same name.
constexpr Setting kSettings[] = {
    {"fps", "RATE",
     "Frames per second; 0 for as fast as they are taken. Without this, the rate that the camera "
     "is set to"},
    {"light", "LEVEL",
     "Light on the scene, 0.001 to 1000; 1 is what the automatic exposure is made for"},
    {"light-temperature", "KELVIN", "Colour of the light, 2500 to 7500; 5000 otherwise"},
    {"cameras", "N", "Cameras on the board, 1 to 8. The serial numbers count up"},
    {"serial", "TEXT", "Serial number of the first camera, ZEVO:SIM0001 otherwise"},
    {"user-name", "TEXT", "User-defined name of the cameras"},
    {"model", "TEXT", "Another model name: a camera that isn't supported"},
    {"form", "native|controls",
     "How the camera driver is asked: by requests of its own, or by V4L2 controls"},
    {"planes", "single|multi", "Buffers of the capture node"},
    {"lanes", "N", "CSI lanes, 1 to 4"},
    {"lane-rate", "BIT/S", "Data rate of a lane, 1200000000 otherwise"},
    {"csi-id", "N",
     "The receiver that the first camera is connected to, where the board's device tree tells it; "
     "other than 0 limits the width to 2048"},
    {"driver-version", "MAJOR.MINOR", "Interface of the camera driver, 1.1 otherwise"},
    {"information-version", "MAJOR.MINOR",
     "Version of the driver's device information, 1.0 otherwise"},
    {"module-version", "MAJOR.MINOR", "Interface of the camera module, 2.0 otherwise"},
    {"max-buffers", "N", "Buffers that the capture driver grants at most, 1 to 32"},
    {"max-width", "PIXELS", "Width that the capture driver takes at most, 16 to 4096"},
    {"width-step", "PIXELS", "Number to a multiple of which the capture driver cuts widths"},
};

void AddOptions(CLI::App& app, Arguments& arguments, bool& isList)
{
    app.set_version_flag("--version", "zevo-board " ZEVO_VERSION, "Show the version and end");
    app.set_help_flag("-h,--help", "Show this and end");
    app.add_flag("--list", isList, "List the boards and end");
    app.add_option("--board", arguments.board, "The board to simulate, see --list")
        ->type_name("NAME");
    app.add_option("--scene", arguments.scene,
                   "A picture to look at in place of the test chart, best of 2600 x 1952 pixels")
        ->type_name("FILE.png");
    arguments.settings.resize(std::size(kSettings));
    for (std::size_t i = 0; i < std::size(kSettings); ++i) {
        const Setting& setting = kSettings[i];
        arguments.settings[i].first = setting.key;
        app.add_option("--" + std::string(setting.key), arguments.settings[i].second, setting.help)
            ->type_name(setting.value);
    }
    app.add_option(
           "--fault", arguments.faults,
           "What goes wrong: a call, request or part of the camera, what happens to it, and "
           "when, as in VIDIOC_DQBUF:EIO:after=100:times=3. May be repeated; "
           "sim/README.md tells all of them")
        ->type_name("PLACE:EFFECT[:CONDITION...]")
        ->allow_extra_args(false);
    app.add_option("--kmsg", arguments.kmsg, "The file that stands in for the kernel log")
        ->type_name("FILE");
    app.add_option("--preload", arguments.preloads,
                   "Preload a library ahead of the board, as the runtime of a sanitizer that a "
                   "plugin of the command needs. May be repeated")
        ->type_name("LIBRARY")
        ->allow_extra_args(false);
    app.add_option("--library", arguments.library,
                   "The board's library, where it isn't found beside this program")
        ->type_name("FILE");
    app.add_option("--emulator", arguments.emulator,
                   "Start the command, built for another processor as the board's library is, "
                   "through this emulator, one that takes variables with -E as those of QEMU do; "
                   "blanks separate its arguments")
        ->type_name("COMMAND");
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app(kDescription, "zevo-board");
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(kFooter);
    Arguments arguments;
    bool isList = false;
    AddOptions(app, arguments, isList);
    char** const end = argv + argc;
    char** const separator =
        std::find_if(argv, end, [](const char* word) { return std::strcmp(word, "--") == 0; });
    if (separator != end)
        arguments.command.assign(separator + 1, end + 1);
    try {
        app.parse(static_cast<int>(separator - argv), argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        std::fprintf(stderr, "zevo-board: %s\nzevo-board --help tells more.\n", error.what());
        return kUsageError;
    }
    if (isList) {
        ListBoards();
        return 0;
    }
    try {
        if (arguments.board.empty())
            throw std::invalid_argument("--board is missing; zevo-board --list shows the boards");
        if (arguments.command.size() < 2)
            throw std::invalid_argument("there is no command to start; it stands behind --");
        setenv(zevo_sim::kBoardVariable, MakeOptions(arguments).ToText().c_str(), 1);
        const std::string preload = MakePreload(arguments);
        if (!arguments.emulator.empty())
            return StartEmulated(arguments, preload);
        setenv("LD_PRELOAD", preload.c_str(), 1);
        return Start(arguments.command.data());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zevo-board: %s\n", error.what());
        return kUsageError;
    }
}
