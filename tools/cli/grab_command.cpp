// zevo grab: an acquisition, its pictures and its numbers.
#include <cstdio>
#include <ctime>
#include <optional>

#include "cli/command.h"
#include "cli/configuration.h"
#include "grab/acquisition.h"
#include "grab/picture_writer.h"
#include "grab/progress.h"
#include "grab/stop_signal.h"

namespace zevo_tool
{

namespace
{

using std::chrono::milliseconds;

constexpr std::uint64_t kDefaultFrames = 60;
constexpr std::uint64_t kDefaultTimeoutMs = 5000;
constexpr std::uint64_t kDefaultBuffers = 8;
/// How long a wish to stop may go unnoticed.
constexpr milliseconds kWaitSlice{100};
constexpr int kExitSignal = 128;

Nanoseconds Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * 1'000'000'000U +
           static_cast<Nanoseconds>(now.tv_nsec);
}

/// Why an acquisition has ended.
enum class End : std::uint8_t { AllFrames, Timeout, Signal };

/// What the last complete frame looked like.
struct Shape {
    std::size_t width = 0;
    std::size_t height = 0;
    std::uint64_t pixelFormat = 0;
};

void PrintStatistics(const Statistics& statistics, const Shape& shape, std::uint64_t lost)
{
    const auto row = [](const char* label, const std::string& text) {
        std::printf("%-12s %s\n", label, text.c_str());
    };
    char text[120];
    row("frames", std::to_string(statistics.Frames()));
    row("lost", std::to_string(lost));
    row("incomplete", std::to_string(statistics.Incomplete()));
    if (shape.width > 0)
        row("image", std::to_string(shape.width) + "x" + std::to_string(shape.height) + " " +
                         PixelFormatName(shape.pixelFormat));
    if (const std::optional<double> rate = statistics.FrameRate()) {
        std::snprintf(text, sizeof text, "%.2f Hz", *rate);
        row("frame rate", text);
    }
    if (const std::optional<Delivery> delivery = statistics.TimeToDelivery()) {
        std::snprintf(text, sizeof text,
                      "%.3f ms median, %.3f ms 99th percentile, from the frame's time stamp",
                      static_cast<double>(delivery->median) / 1e6,
                      static_cast<double>(delivery->percentile99) / 1e6);
        row("delivery", text);
    } else if (statistics.Frames() > 0) {
        row("delivery", "not known: the time stamps are of another clock");
    }
}

class GrabCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override;
    void Check() override { configuration_.Check(); }
    int Run(Camera& camera) override;

private:
    void CheckFormat(const FeatureMap& features) const;
    std::optional<Frame> Wait(Acquisition& acquisition, const StopSignal& stop, End& end) const;
    End Take(Acquisition& acquisition, const StopSignal& stop, PictureWriter* writer);
    void Note(const Frame& frame, PictureWriter* writer);
    bool IsDone() const;

    std::uint64_t frames_ = kDefaultFrames;
    std::string folder_;
    std::uint64_t buffers_ = kDefaultBuffers;
    std::uint64_t timeoutMs_ = kDefaultTimeoutMs;
    Configuration configuration_;

    Statistics statistics_;
    Shape shape_;
};

CLI::App* GrabCommand::Define(CLI::App& parent)
{
    CLI::App* command = parent.add_subcommand("grab", "Stream: pictures, if wanted, and numbers");
    command->add_option("-n,--frames", frames_, "Frames to take; 0 goes on until Ctrl-C")
        ->type_name("N")
        ->check(CLI::Range(0, 1'000'000'000))
        ->capture_default_str();
    command->add_option("-o,--output", folder_, "Folder for the frames, as PNG files")
        ->type_name("FOLDER");
    configuration_.AddOptions(*command);
    command->add_option("--buffers", buffers_, "Buffers to stream into")
        ->type_name("N")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    command
        ->add_option("--timeout", timeoutMs_,
                     "How long a frame may take before the command fails, in ms; 0 for ever")
        ->type_name("MS")
        ->check(CLI::Range(0, 86'400'000))
        ->capture_default_str();
    return command;
}

/// Before the camera is started rather than with the first frame.
void GrabCommand::CheckFormat(const FeatureMap& features) const
{
    const std::optional<Feature> format = features.TryFind("PixelFormat");
    if (format && !IsConvertible(format->Value()))
        throw Failure("frames in " + format->Value() +
                      " can't be written as pictures; choose another --format");
}

int GrabCommand::Run(Camera& camera)
{
    statistics_ = {};
    shape_ = {};
    std::optional<PictureWriter> writer;
    if (!folder_.empty())
        writer.emplace(folder_);
    for (const std::string& change : configuration_.Apply(camera.Features()))
        Say(change);
    if (writer)
        CheckFormat(camera.Features());

    const StopSignal stop;
    Acquisition acquisition(camera.Module(), camera.Features(), buffers_);
    const End end = Take(acquisition, stop, writer ? &*writer : nullptr);
    const std::uint64_t lost = acquisition.Lost();
    acquisition.Stop();
    if (writer)
        writer->Finish();
    PrintStatistics(statistics_, shape_, lost);
    if (end == End::Timeout)
        throw Failure("no frame has come within " + std::to_string(timeoutMs_) + " ms");
    if (end == End::Signal && frames_ != 0)
        return kExitSignal + stop.Received();
    return kExitSuccess;
}

bool GrabCommand::IsDone() const
{
    return frames_ != 0 && statistics_.Frames() + statistics_.Incomplete() >= frames_;
}

End GrabCommand::Take(Acquisition& acquisition, const StopSignal& stop, PictureWriter* writer)
{
    Progress progress(frames_);
    End end = End::AllFrames;
    while (!IsDone()) {
        const std::optional<Frame> frame = Wait(acquisition, stop, end);
        if (!frame)
            return end;
        Note(*frame, writer);
        acquisition.GiveBack(*frame);
        progress.Update(statistics_.Frames() + statistics_.Incomplete());
    }
    return end;
}

std::optional<Frame> GrabCommand::Wait(Acquisition& acquisition, const StopSignal& stop,
                                       End& end) const
{
    const auto start = std::chrono::steady_clock::now();
    const milliseconds timeout(timeoutMs_);
    while (stop.Received() == 0) {
        const auto waited =
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
        if (timeoutMs_ != 0 && waited >= timeout) {
            end = End::Timeout;
            return std::nullopt;
        }
        const milliseconds slice =
            timeoutMs_ == 0 ? kWaitSlice : std::min(kWaitSlice, timeout - waited);
        if (std::optional<Frame> frame = acquisition.Next(slice))
            return frame;
    }
    end = End::Signal;
    return std::nullopt;
}

void GrabCommand::Note(const Frame& frame, PictureWriter* writer)
{
    if (frame.isIncomplete) {
        statistics_.AddIncomplete();
        return;
    }
    const std::uint64_t number = statistics_.Frames();
    statistics_.AddFrame(frame.timestamp, Now());
    shape_ = {frame.image.width, frame.image.height, frame.image.pixelFormat};
    if (writer != nullptr)
        writer->Write(number, frame.image);
}

} // namespace

std::unique_ptr<CameraCommand> MakeGrabCommand()
{
    return std::make_unique<GrabCommand>();
}

} // namespace zevo_tool
