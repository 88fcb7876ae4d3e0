// What a board tells about itself: device nodes, media topologies, driver structures, the files
// of device tree and SoC. The scan of the board, and the platform's limits for its cameras.
#include <stdexcept>

#include "board_host.h"
#include "disturb.h"
#include "platform/camera_device_manager.h"
#include "platform/pipeline_agent.h"

namespace
{

class DisturbedBoard final : public fuzz::BoardHost
{
public:
    explicit DisturbedBoard(fuzz::Bytes& input) : BoardHost(input), in_(input) {}

    long ioctl(int fd, unsigned long request, void* argument) override
    {
        const auto* bytes = static_cast<const std::uint8_t*>(argument);
        const std::vector<std::uint8_t> asked(bytes, bytes + _IOC_SIZE(request));
        const long result = BoardHost::ioctl(fd, request, argument);
        if (result == 0)
            fuzz::disturbAnswer(in_, request, asked.data(), argument);
        return result;
    }
    std::optional<std::string> file(const std::string& path) override
    {
        auto content = BoardHost::file(path);
        if (content)
            fuzz::scribble(in_, *content);
        return content;
    }

private:
    fuzz::Bytes& in_;
};

void look(const GenTLProducer::Camera& camera)
{
    constexpr GenTLProducer::ImageSizeLimits kLimits{96, 2592, 8, 104, 1944, 8};
    const GenTLProducer::PipelineAgent agent(camera.GetPipelineHandler());
    agent.GetImageSizeLimits(kLimits);
    camera.GetPipelineHandler()->PrepareDevice(camera.GetCaptureDevicePath());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    DisturbedBoard board(input);
    const auto manager = GenTLProducer::CreateCameraDeviceManager();
    for (int scan = 0; scan < 2; ++scan) {
        try {
            manager->Update();
            for (const auto& camera : manager->GetCameras())
                look(*camera);
        } catch (const std::runtime_error&) {
            // A handler that says what is wrong with the board.
        }
    }
    board.requireAllReleased();
    return 0;
}
