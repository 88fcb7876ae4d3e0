// The command-line consumer on simulated boards, seen from outside: exit codes, words, files.
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>

#include "../unit/tools/read_png.h"
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

Words operator+(Words words, const Words& more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// A folder of its own for each test, and the words that start the tool on a board.
class ToolTest : public testing::Test
{
protected:
    ToolTest() { searchIn(producerFolder()); }

    static std::string producerFolder() { return fs::path(ZEVO_PRODUCER).parent_path().string(); }
    /// Where the tool looks for producers; nowhere if the path is empty.
    static void searchIn(const std::string& path)
    {
        if (path.empty())
            unsetenv("GENICAM_GENTL64_PATH");
        else
            setenv("GENICAM_GENTL64_PATH", path.c_str(), 1);
    }
    /// The words that start a program built with the tests.
    static Words started(const std::string& program)
    {
        std::istringstream emulator(ZEVO_EMULATOR);
        return Words{std::istream_iterator<std::string>(emulator), {}} + Words{program};
    }
    static Words onBoard(const Words& arguments, const Words& boardOptions = {},
                         const std::string& board = "imx8mm")
    {
        return started(ZEVO_BOARD_PROGRAM) +
               Words{"--board", board, "--fps", "0", "--emulator", ZEVO_EMULATOR} + boardOptions +
               Words{"--", ZEVO_TOOL} + arguments;
    }
    /// Frames that come, sooner or later.
    static Words grab(const std::string& frames, const fs::path& output, const Words& more)
    {
        return Words{"grab", "-n", frames, "-o", output, "--timeout", "120000"} + more;
    }
    static Outcome run(const Words& words) { return Process(words).Wait(); }
    /// A shell on a board, with its input.
    static Outcome shell(const std::string& input)
    {
        return Process(onBoard({"shell"}), input).Wait();
    }

    const TemporaryFolder folder;
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
    searchIn("");
    const Outcome outcome = run(onBoard({"list", "--cti", ZEVO_PRODUCER}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("SIM0001"));
}

TEST_F(ToolTest, TellsWhyThereIsNoCamera)
{
    folder.Write("broken.cti", "no library");
    const Words alone = started(ZEVO_TOOL) + Words{"list"};
    const struct {
        std::string path;
        Words words;
        Words reasons;
    } rows[] = {
        {"", alone, {"no GenTL producer found", "GENICAM_GENTL64_PATH isn't set"}},
        {"/nowhere", alone, {"/nowhere: No such file or directory", "--cti"}},
        {folder.Path(), alone, {"no producer could be used", "broken.cti: it can't be"}},
        {producerFolder(),
         onBoard({"list"}, {"--model", "another"}),
         {"no camera found", ZEVO_PRODUCER, "/dev/video0"}},
    };
    for (const auto& row : rows) {
        searchIn(row.path);
        const Outcome outcome = run(row.words);
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
        {{"grab", "--size", "2600x1944"}, 1, "2600 is above the maximum of 2592"},
        {{"grab", "--format", "YUV422_8"}, 1, "isn't available; available are "},
        {{"get"}, 2, "NAME"},
        {{"set", "Width"}, 2, "NAME=VALUE"},
        {{"xml", "camara"}, 2, "camara"},
        {{"get", "DeviceReset"}, 1, "DeviceReset is write-only"},
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

TEST_F(ToolTest, ARefusalSaysWhyAndChangesNothing)
{
    const std::pair<std::string, std::string> rows[] = {
        {"set Width=88", "Width: 88 is below the minimum of 96"},
        {"set Width=101", "Width: 101 is no step of 8 from 96; the nearest are 96 and 104"},
        {"set Width=wide", "Width: \"wide\" isn't an integer"},
        {"set SensorWidth=1", "SensorWidth is read-only"},
        {"set TestPattern=Of", "TestPattern has no entry \"Of\"; did you mean Off? "
                               "(Off, Testimage1, Testimage2, Testimage3)"},
        {"set PixelFormat=YUV422_8",
         "PixelFormat: entry \"YUV422_8\" isn't available; available are YUV422_8_UYVY, "
         "YCbCr420_8_YY_CbCr_Semiplanar"},
        {"set AcquisitionFrameRateEnable=on?",
         "AcquisitionFrameRateEnable: \"on?\" is neither true nor false"},
        {"set AcquisitionFrameRate=256",
         "AcquisitionFrameRate: 256 is above the maximum of 255.9 Hz"},
        {"set Gain=loud", "Gain: \"loud\" isn't a number"},
        {"set Gamma=1", "Gamma is locked in the camera's present state"},
        {"set DeviceReset=1", "DeviceReset is a command; it is executed, not set"},
        {"exec Width", "Width isn't a command"},
        {"exec DeviceFeaturePersistenceEnd",
         "DeviceFeaturePersistenceEnd isn't available in the camera's present state"},
    };
    std::string input;
    std::string refusals;
    for (const auto& [command, reason] : rows) {
        input += command + "\n";
        refusals += "zevo: " + reason + "\n";
    }
    const Outcome outcome = shell(input + "get Width TestPattern PixelFormat Gamma\n");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, refusals);
    EXPECT_EQ(outcome.out, "2592\nOff\nYUV422_8_UYVY\n1\n");
}

TEST_F(ToolTest, AnAccessThatFailsIsToldInTheProducersWords)
{
    const Outcome outcome = run(
        onBoard({"set", "TlmBrightness=0.5"}, {"--fault", "write:EIO:register=0x7000:after=1"}));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, AllOf(StartsWith("zevo: TlmBrightness: "),
                                   HasSubstr("GCWritePort: GC_ERR_ERROR (-1001): Unspecified")));
}

TEST_F(ToolTest, ValuesReachTheCameraAndAreReadFresh)
{
    const Outcome outcome = shell("set Width=0x68 TestPattern=Testimage2\nget Width TestPattern\n"
                                  "set Width=648 AcquisitionFrameRateEnable=on\n"
                                  "exec AcquisitionStart\nset Width=96\n"
                                  "get Width AcquisitionFrameRateEnable\n"
                                  "exec AcquisitionStop\nset Width=96\nget Width\n");
    EXPECT_EQ(outcome.err, "zevo: Width is locked in the camera's present state\n");
    EXPECT_EQ(outcome.out, "104\nTestimage2\n648\ntrue\n96\n");
}

TEST_F(ToolTest, NumbersBecomeTheNearestInteger)
{
    // 0.29 * 100 is a little less than 29.
    std::string input = "set TlmColorSpace=Off\n";
    std::ostringstream expected;
    for (int gamma = 13; gamma <= 300; ++gamma) {
        input += "set Gamma=" + std::to_string(gamma / 100.0) + "\nget Gamma\n";
        expected << gamma / 100.0 << "\n";
    }
    const Outcome outcome = shell(input + "set Gamma=1.126\nget Gamma\n");
    EXPECT_EQ(outcome.out, expected.str() + "1.13\n");
}

MATCHER(IsColour, "")
{
    return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= 8;
}

TEST_F(ToolTest, PicturesShowTheScene)
{
    const std::vector<int> bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                     {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    const std::pair<std::string, std::string> rows[] = {
        {"imx8mm", "YUV422_8_UYVY"},
        {"imx8mm", "YCbCr420_8_YY_CbCr_Semiplanar"},
        {"imx8mp", "YUV422_8"},
        {"generic", "YUV422_8_UYVY"},
    };
    for (const auto& [board, format] : rows) {
        SCOPED_TRACE(board + " " + format);
        const fs::path output = folder.Path(board + format);
        const Outcome outcome = run(onBoard(grab("1", output, {"--format", format}), {}, board));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        const zevo_tool::Picture png = ReadPng(output / "frame-000000.png");
        ASSERT_EQ(png.width, 2592U);
        ASSERT_EQ(png.height, 1944U);
        for (std::size_t bar = 0; bar < std::size(bars); ++bar) {
            const std::uint8_t* pixel = &png.pixels[(200 * png.width + 150 + bar * 300) * 3];
            EXPECT_THAT(std::vector<int>(pixel, pixel + 3),
                        testing::Pointwise(IsColour(), bars[bar]));
        }
    }
}

TEST_F(ToolTest, GrabsAsManyFramesAsWanted)
{
    const Outcome outcome = run(onBoard(grab(
        "7", folder.Path(),
        {"--size", "640x480", "--set", "OffsetX=96", "--set", "OffsetY=48", "--buffers", "3"})));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("frames       7\n"), HasSubstr("incomplete   0\n"),
                                   HasSubstr("640x480 YUV422_8_UYVY\n"), HasSubstr("frame rate "),
                                   HasSubstr(" ms median"), HasSubstr("\nlost ")));
    const fs::directory_iterator files(folder.Path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 7);
    EXPECT_EQ(ReadPng(folder.Path("frame-000006.png")).width, 640U);
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
          "\n  Gamma +rw +1 +\\[0.13 .. 3\\] +\\(locked\\)\n",
          "\n  PixelFormat +rw +YUV422_8_UYVY +\\[YUV422_8_UYVY, YCbCr420_8_YY_CbCr_Semiplanar\\]"})
        EXPECT_THAT(outcome.out, testing::ContainsRegex(line));
    EXPECT_THAT(outcome.out, Not(HasSubstr("TLParamsLocked")));

    const Outcome some = run(onBoard({"features", "-a", "tlparams*"}));
    EXPECT_THAT(some.out, AllOf(StartsWith("TransportLayerControl\n  TLParamsLocked "),
                                Not(HasSubstr("Width"))));
}

TEST_F(ToolTest, PrintsTheDescriptionOfEveryModule)
{
    const std::pair<const char*, const char*> rows[] = {{"camera", "\"AcquisitionStart\""},
                                                        {"device", "\"StreamSelector\""},
                                                        {"stream", "\"StreamLostFrameCount\""},
                                                        {"interface", "\"DeviceUpdateList\""},
                                                        {"system", "\"InterfaceUpdateList\""}};
    for (const auto& [module, sign] : rows) {
        const Outcome outcome = run(onBoard({"xml", module}));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_THAT(outcome.out, AllOf(StartsWith("<?xml"), HasSubstr(sign),
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
    const std::string first = folder.Path("first.txt");
    const std::string second = folder.Path("second.txt");
    const std::string defaults = folder.Path("defaults.txt");
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
        first + "\nload " + defaults + "\nget Width Gain TriggerMode\nload " + first + "\nsave " +
        second + "\nget BalanceRatioSelector\n");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_EQ(outcome.out, "2592\n0\nOff\nRed\n");
    EXPECT_THAT(contentOf(first),
                AllOf(HasSubstr("\nGamma = 0.29\n"), HasSubstr("\nWidth = 1000\n"),
                      HasSubstr("BalanceRatioSelector = Green\nBalanceRatio = 2.5"),
                      HasSubstr("\nExposureTime = 777  # us\n"), Not(HasSubstr("SensorWidth"))));
    EXPECT_EQ(contentOf(second), contentOf(first));
    EXPECT_NE(contentOf(defaults), contentOf(first));

    const Outcome grabbed = run(onBoard({"grab", "-n", "1", "--timeout", "120000", "--load", first,
                                         "--set", "TriggerMode=Off", "--set", "TestPattern=Off"}));
    EXPECT_EQ(grabbed.code, 0) << grabbed.err;
    EXPECT_THAT(grabbed.out, HasSubstr("1000x800"));
}

TEST_F(ToolTest, StoredSettingsAreCheckedByLine)
{
    const std::string file = folder.Path("a.txt");
    const struct {
        const char* settings;
        std::string said; ///< behind "zevo: "
        const char* values;
    } rows[] = {
        {"# in any order\nOffsetX = 1000\nWidth = 96", "", "96\n1000\n1\nRed\n"},
        {"Gamma = 0.5 # locked", "", "2592\n0\n0.5\nRed\n"},
        {"BalanceRatioSelector = Blue\nBalanceRatio = 2", "", "2592\n0\n1\nRed\n"},
        {"Width = 97", "Width: the camera has made 96 of 97\n", "96\n0\n1\nRed\n"},
        {"PixelFormat = YUV422_8", "PixelFormat: the camera has made YUV422_8_UYVY of YUV422_8\n",
         "2592\n0\n1\nRed\n"},
        {"Gamma = 0.5\nWidth = big", file + ":2: Width: \"big\" isn't an integer\n",
         "2592\n0\n0.5\nRed\n"},
        {"Gamma = 0.5\nWidht = 96", file + ":2: there is no feature Widht; did you mean Width?\n",
         "2592\n0\n1\nRed\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.settings);
        folder.Write("a.txt", row.settings);
        const Outcome outcome = shell("load " + file +
                                      "\nget Width OffsetX Gamma BalanceRatioSelector\n"
                                      "features -a PersistenceEnd\n");
        EXPECT_EQ(outcome.code, row.said.find(file) == 0 ? 1 : 0);
        EXPECT_EQ(outcome.err, row.said.empty() ? "" : "zevo: " + row.said);
        EXPECT_EQ(outcome.out, row.values + std::string("DeviceControl\n  "
                                                        "DeviceFeaturePersistenceEnd  exec    "
                                                        "(unavailable)\n"));
    }
}

/// Until a file turns up in a folder.
void waitForFile(const std::string& folder)
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
        std::string frames;
        int signal;
        int code;
    } rows[] = {{"0", SIGINT, 0}, {"1000000", SIGINT, 130}, {"1000000", SIGTERM, 143}};
    for (const auto& row : rows) {
        const std::string output = folder.Path(row.frames + std::to_string(row.signal));
        fs::create_directory(output);
        Process process(onBoard(grab(row.frames, output, {"--size", "640x480"})));
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
    const Outcome outcome = Process(onBoard({"list"}), {}, "/dev/full").Wait();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "zevo: standard output: No space left on device\n");
}

} // namespace
