// The command-line consumer on simulated boards, seen from outside: exit codes, words, files.
#include <png.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>

#include "spawn.h"

namespace
{

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Words = std::vector<std::string>;

/// A folder of its own for each test, and the words that start the tool on a board.
class ToolTest : public testing::Test
{
protected:
    ToolTest()
    {
        std::string name = "/tmp/zevo-tool-XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        folder = name;
    }
    ~ToolTest() override { fs::remove_all(folder); }

    static Words onBoard(const Words& arguments, const Words& boardOptions = {},
                         const std::string& board = "imx8mm")
    {
        Words words = started(ZEVO_BOARD_PROGRAM);
        words.insert(words.end(), {"--board", board, "--fps", "0", "--emulator", ZEVO_EMULATOR});
        words.insert(words.end(), boardOptions.begin(), boardOptions.end());
        words.insert(words.end(), {"--", ZEVO_TOOL});
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }
    /// The words that start a program built with the tests.
    static Words started(const std::string& program, const Words& arguments = {})
    {
        std::istringstream emulator(ZEVO_EMULATOR);
        Words words{std::istream_iterator<std::string>(emulator), {}};
        words.push_back(program);
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }
    /// Frames that come, sooner or later.
    static Words grab(const std::string& frames, const fs::path& output, const Words& more)
    {
        Words words{"grab", "-n", frames, "-o", output, "--timeout", "120000"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    static std::string producerFolder() { return fs::path(ZEVO_PRODUCER).parent_path().string(); }
    static Outcome run(const Words& words)
    {
        return Process(words, {{"GENICAM_GENTL64_PATH", producerFolder()}}).Wait();
    }
    static std::string content(const fs::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    /// A shell on a board, with its input.
    static Outcome shell(const std::string& input)
    {
        return Process(onBoard({"shell", "--cti", ZEVO_PRODUCER}), {}, input).Wait();
    }
    std::size_t numberOfPictures() const
    {
        std::size_t number = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            number += entry.path().extension() == ".png" ? 1 : 0;
        return number;
    }

    fs::path folder;
};

TEST_F(ToolTest, ListsEveryCamera)
{
    const Outcome one = run(onBoard({"list"}));
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_THAT(one.out, AllOf(HasSubstr("system " ZEVO_PRODUCER), HasSubstr("interface \"Tolmen"),
                               HasSubstr("camera 0 \"Vant zvK1800-45tqr (SIM0001)\""),
                               Not(HasSubstr("camera 1"))));
    const Outcome two = run(onBoard({"list"}, {"--cameras", "2"}));
    EXPECT_THAT(two.out, HasSubstr("camera 1 \"Vant zvK1800-45tqr (SIM0002)\""));
}

TEST_F(ToolTest, TakesTheProducerThatIsNamed)
{
    const Outcome outcome =
        Process(onBoard({"list", "--cti", ZEVO_PRODUCER}), {{"GENICAM_GENTL64_PATH", ""}}).Wait();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("SIM0001"));
}

TEST_F(ToolTest, TellsWhyThereIsNoCamera)
{
    std::ofstream(folder / "broken.cti") << "no library";
    const struct {
        std::string path;
        Words words;
        Words reasons;
    } rows[] = {
        {"",
         started(ZEVO_TOOL, {"list"}),
         {"no GenTL producer found", "GENICAM_GENTL64_PATH isn't set"}},
        {"/nowhere",
         started(ZEVO_TOOL, {"grab"}),
         {"/nowhere: No such file or directory", "--cti"}},
        {folder,
         started(ZEVO_TOOL, {"list"}),
         {"no producer could be used", "broken.cti: it can't be"}},
        {producerFolder(),
         onBoard({"list"}, {"--model", "another"}),
         {"no camera found", ZEVO_PRODUCER, "/dev/video0"}},
    };
    for (const auto& row : rows) {
        const Outcome outcome = Process(row.words, {{"GENICAM_GENTL64_PATH", row.path}}).Wait();
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.err, StartsWith("zevo: no "));
        for (const std::string& reason : row.reasons)
            EXPECT_THAT(outcome.err, HasSubstr(reason));
    }
}

TEST_F(ToolTest, SaysWhatItWasAskedWrongly)
{
    const struct {
        Words arguments;
        int code;
        const char* reason;
    } rows[] = {
        {{}, 2, "a command is required"},
        {{"gram"}, 2, "did you mean grab?"},
        {{"grab", "-n", "-1"}, 2, "--frames"},
        {{"grab", "--size", "640"}, 2, "WIDTHxHEIGHT"},
        {{"grab", "--set", "Width"}, 2, "NAME=VALUE"},
        {{"grab", "--nonsense"}, 2, "--nonsense"},
        {{"grab", "--device", "SIM0007"}, 1, "0: Vant zvK1800-45tqr (SIM0001)"},
        {{"grab", "--set", "Widht=640"}, 1, "there is no feature Widht; did you mean Width?"},
        {{"grab", "--set", "Width=97"}, 1, "no step of 8 from 96"},
        {{"grab", "--size", "2600x1944"}, 1, "2600 is above the maximum of 2592"},
        {{"grab", "--format", "YUV422_8"}, 1, "isn't available; available are "},
        {{"get"}, 2, "NAME"},
        {{"set", "Width"}, 2, "NAME=VALUE"},
        {{"xml", "camara"}, 2, "camara"},
        {{"get", "DeviceReset"}, 1, "DeviceReset is write-only"},
        {{"set", "SensorWidth=1"}, 1, "SensorWidth is read-only"},
        {{"set", "Gamma=1"}, 1, "Gamma is locked"},
        {{"exec", "Width"}, 1, "Width isn't a command"},
        {{"features", "nosuch"}, 1, "no feature matches nosuch"},
        {{"load", "/nowhere/a.txt"}, 1, "can't read /nowhere/a.txt"},
        {{"save", "/nowhere/a.txt"}, 1, "can't write /nowhere/a.txt"},
        {{"grab", "-o", "/dev/null/x"}, 1, "can't make the folder /dev/null/x"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(onBoard(row.arguments));
        EXPECT_EQ(outcome.code, row.code) << row.reason;
        EXPECT_THAT(outcome.err, AllOf(StartsWith("zevo: "), HasSubstr(row.reason)));
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

struct Png {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint8_t> pixels;

    std::vector<int> at(std::size_t x, std::size_t y) const
    {
        const auto first = pixels.begin() + static_cast<std::ptrdiff_t>((y * width + x) * 3);
        return {first, first + 3};
    }
};

Png readPng(const fs::path& path)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        return {};
    Png png{image.width, image.height, {}};
    image.format = PNG_FORMAT_RGB;
    png.pixels.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, png.pixels.data(), 0, nullptr);
    return png;
}

MATCHER(IsColour, "")
{
    return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= 8;
}

TEST_F(ToolTest, PicturesShowTheScene)
{
    const std::vector<int> bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                     {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    const struct {
        const char* board;
        const char* format;
    } rows[] = {{"imx8mm", "YUV422_8_UYVY"},
                {"imx8mm", "YCbCr420_8_YY_CbCr_Semiplanar"},
                {"imx8mp", "YUV422_8"},
                {"generic", "YUV422_8_UYVY"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.board) + " " + row.format);
        const fs::path output = folder / row.board / row.format;
        const Outcome outcome =
            run(onBoard(grab("1", output, {"--format", row.format}), {}, row.board));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        const Png png = readPng(output / "frame-000000.png");
        ASSERT_EQ(png.width, 2592U);
        ASSERT_EQ(png.height, 1944U);
        for (std::size_t bar = 0; bar < std::size(bars); ++bar)
            EXPECT_THAT(png.at(150 + bar * 300, 200), testing::Pointwise(IsColour(), bars[bar]));
    }
}

TEST_F(ToolTest, GrabsAsManyFramesAsWanted)
{
    const Outcome outcome = run(onBoard(grab(
        "7", folder,
        {"--size", "640x480", "--set", "OffsetX=96", "--set", "OffsetY=48", "--buffers", "3"})));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("frames       7\n"), HasSubstr("incomplete   0\n"),
                                   HasSubstr("640x480 YUV422_8_UYVY\n"), HasSubstr("frame rate "),
                                   HasSubstr(" ms median"), Not(HasSubstr("lost         1\n"))));
    EXPECT_EQ(numberOfPictures(), 7U);
    EXPECT_EQ(readPng(folder / "frame-000006.png").width, 640U);
}

TEST_F(ToolTest, ChoosesACamera)
{
    for (const char* camera : {"1", "SIM0002", "Vant zvK1800-45tqr (SIM0002)"}) {
        const Outcome outcome =
            run(onBoard({"get", "DeviceSerialNumber", "--device", camera}, {"--cameras", "2"}));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "SIM0002\n");
    }
}

TEST_F(ToolTest, ShowsFeaturesWithTheirStates)
{
    const Outcome outcome = run(onBoard({"features"}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("ImageFormatControl\n"));
    for (const char* line :
         {"\n  SensorWidth +ro +2592\n", "\n  Width +rw +2592 +\\[96 .. 2592 step 8\\]\n",
          "\n  AcquisitionStart +exec\n", "\n  ExposureTime +rw +10000 us +\\[43 .. 1400000",
          "\n  Gamma +rw +1 +\\[0.13 .. 3\\] +\\(locked\\)\n"})
        EXPECT_THAT(outcome.out, testing::ContainsRegex(line));
    EXPECT_THAT(outcome.out, Not(HasSubstr("TLParamsLocked")));

    const Outcome some = run(onBoard({"features", "-a", "tlparams*"}));
    EXPECT_THAT(some.out, AllOf(StartsWith("TransportLayerControl\n  TLParamsLocked "),
                                Not(HasSubstr("Width"))));
}

TEST_F(ToolTest, PrintsTheDescriptionOfEveryModule)
{
    const struct {
        const char* module;
        const char* sign;
    } rows[] = {{"camera", "\"AcquisitionStart\""},
                {"device", "\"StreamSelector\""},
                {"stream", "\"StreamLostFrameCount\""},
                {"interface", "\"DeviceUpdateList\""},
                {"system", "\"InterfaceUpdateList\""}};
    for (const auto& row : rows) {
        const Outcome outcome = run(onBoard({"xml", row.module}));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_THAT(outcome.out, AllOf(StartsWith("<?xml"), HasSubstr(row.sign),
                                       testing::EndsWith("</RegisterDescription>\n")));
    }
}

TEST_F(ToolTest, ShellKeepsSettingsAndGoesOn)
{
    const Outcome outcome = shell("set Width=640 'Height=480' # small\n\n"
                                  "get Width Height\nset Height=1\nnonsense\nset 'Width\n"
                                  "get Height\ngrab -n 2 --timeout 120000\nquit\nget Width\n");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, AllOf(StartsWith("640\n480\n480\nframes       2\n"),
                                   HasSubstr("640x480"), testing::EndsWith("time stamp\n")));
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("zevo: Height: 1 is below the minimum of 104\n"),
                                   HasSubstr("zevo: there is no command nonsense\n"),
                                   HasSubstr("zevo: the closing quotation mark is missing\n")));
}

TEST_F(ToolTest, StoredSettingsComeBack)
{
    const std::string first = folder / "first.txt";
    const std::string second = folder / "second.txt";
    const std::string defaults = folder / "defaults.txt";
    const Outcome outcome = shell(
        "save " + defaults +
        "\n"
        "set BalanceWhiteAuto=Off TlmLightSourcePreset=Off ExposureAuto=Off GainAuto=Off\n"
        "set TlmScalingFactor=0.57 Width=1000 Height=800 OffsetX=14 PixelFormat=YUV422_8_UYVY\n"
        "set TlmColorSpace=Off Gamma=0.29 Gain=9.208089461659522 ExposureTime=777\n"
        "set TlmContrast=-0.29 TlmBrightness=0.58 TlmSharpnessEnhancement=0.65\n"
        "set TlmSaturation=1.14 AcquisitionFrameRateEnable=true AcquisitionFrameRate=17.3\n"
        "set BalanceRatioSelector=Green BalanceRatio=2.5 BalanceRatioSelector=Red\n"
        "set TestPattern=Testimage3 AutoFunctionProfile=AntiFlicker60Hz TriggerMode=On\n"
        "save " +
        first + "\nload " + defaults +
        "\nget Width Gain TriggerMode\n"
        "load " +
        first + "\nsave " + second + "\n");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_EQ(outcome.out, "2592\n0\nOff\n");
    EXPECT_THAT(content(first),
                AllOf(HasSubstr("\nGamma = 0.29\n"), HasSubstr("\nWidth = 1000\n"),
                      HasSubstr("BalanceRatioSelector = Green\nBalanceRatio = 2.5")));
    EXPECT_EQ(content(second), content(first));
    EXPECT_NE(content(defaults), content(first));

    const Outcome grabbed = run(onBoard({"grab", "-n", "1", "--timeout", "120000", "--load", first,
                                         "--set", "TriggerMode=Off", "--set", "TestPattern=Off"}));
    EXPECT_EQ(grabbed.code, 0) << grabbed.err;
    EXPECT_THAT(grabbed.out, HasSubstr("1000x800"));
}

TEST_F(ToolTest, StoredSettingsAreCheckedByLine)
{
    const fs::path file = folder / "a.txt";
    std::ofstream(file) << "# by hand\nWidth = 97\n";
    const Outcome changed = run(onBoard({"load", file}));
    EXPECT_EQ(changed.code, 0);
    EXPECT_EQ(changed.err, "zevo: Width: the camera has made 96 of 97\n");
    std::ofstream(file) << "# by hand\nWidht = 96\n";
    const Outcome failed = run(onBoard({"load", file}));
    EXPECT_EQ(failed.code, 1);
    EXPECT_EQ(failed.err,
              "zevo: " + file.string() + ":2: there is no feature Widht; did you mean Width?\n");
}

/// Until a file turns up in a folder.
void waitForFile(const fs::path& folder)
{
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, folder.c_str(), IN_CREATE);
    alignas(inotify_event) char event[4096];
    if (fs::is_empty(folder) && read(watch, event, sizeof event) <= 0)
        ADD_FAILURE() << "no event";
    close(watch);
}

TEST_F(ToolTest, StopsInGoodOrderWhenInterrupted)
{
    const struct {
        const char* frames;
        int signal;
        int code;
    } rows[] = {{"0", SIGINT, 0}, {"1000000", SIGINT, 130}, {"1000000", SIGTERM, 143}};
    for (const auto& row : rows) {
        const fs::path output = folder / (std::string(row.frames) + std::to_string(row.signal));
        fs::create_directory(output);
        Process process(onBoard(grab(row.frames, output, {"--size", "640x480"})),
                        {{"GENICAM_GENTL64_PATH", producerFolder()}});
        waitForFile(output);
        kill(process.Id(), row.signal);
        const Outcome outcome = process.Wait();
        EXPECT_EQ(outcome.code, row.code) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("lost "));
        EXPECT_THAT(outcome.err, IsEmpty());
    }
}

TEST_F(ToolTest, FailsWhenNoFrameComes)
{
    Words words = onBoard({"grab", "-n", "3", "--timeout", "20"});
    *std::find(words.begin(), words.end(), "0") = "0.001";
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "zevo: no frame has come within 20 ms\n");
    EXPECT_THAT(outcome.out, HasSubstr("frames       0\n"));
}

TEST_F(ToolTest, FailsWhenItsOutputIsFull)
{
    const Outcome outcome =
        Process(onBoard({"list"}), {{"GENICAM_GENTL64_PATH", producerFolder()}}, {}, "/dev/full")
            .Wait();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "zevo: standard output: No space left on device\n");
}

} // namespace
