// A media device that answers anything: topologies that are too large, change between the calls,
// loop, contradict themselves.
#include <linux/media.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "disturb.h"
#include "host.h"
#include "platform/media_graph_handlers.h"
#include "v4l2/device_node.h"

namespace
{

class MediaHost final : public fuzz::Host
{
public:
    explicit MediaHost(fuzz::Bytes& input) : in_(input) {}

    ~MediaHost() override
    {
        if (descriptors_ != 0)
            std::abort(); // one is left open
    }

    long open(const char* /*path*/, int /*flags*/) override
    {
        if (in_.isOneIn(32))
            return -EIO;
        ++descriptors_;
        return 3;
    }
    long close(int /*fd*/) override
    {
        --descriptors_;
        return 0;
    }
    long ioctl(int /*fd*/, unsigned long request, void* argument) override
    {
        if (in_.isOneIn(32))
            return in_.isOneIn(2) ? -ENOSPC : -ENOTTY;
        if (request == MEDIA_IOC_G_TOPOLOGY)
            answer(*static_cast<media_v2_topology*>(argument));
        else
            fuzz::disturbAnswer(in_, request, argument, argument);
        return 0;
    }
    std::optional<std::string> file(const std::string& /*path*/) override
    {
        return in_.isOneIn(4) ? in_.text() : "DEVNAME=video0\n";
    }

private:
    // Small IDs, so that objects find each other, and now and then anything.
    std::uint32_t id() { return in_.isOneIn(32) ? in_.take<std::uint32_t>() : in_.byte() % 16; }

    template <typename Entry, typename Fill>
    void fillEntries(std::uint64_t address, std::uint32_t count, Fill fill)
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): as the kernel takes it
        auto* entries = reinterpret_cast<Entry*>(address);
        for (std::uint32_t i = 0; entries && i < count && !in_.isEmpty(); ++i)
            fill(entries[i]);
    }

    void answer(media_v2_topology& topology)
    {
        constexpr std::uint32_t kFunctions[] = {MEDIA_ENT_F_CAM_SENSOR, MEDIA_ENT_F_IO_V4L, 0};
        fillEntries<media_v2_entity>(
            topology.ptr_entities, topology.num_entities, [&](media_v2_entity& entity) {
                entity.id = id();
                entity.function = in_.pick(kFunctions);
                const std::string name = in_.isOneIn(4) ? in_.text() : "tolmen-camera 0-0036";
                name.copy(entity.name, sizeof entity.name);
            });
        fillEntries<media_v2_interface>(
            topology.ptr_interfaces, topology.num_interfaces, [&](media_v2_interface& node) {
                node.id = id();
                node.intf_type = in_.isOneIn(2) ? MEDIA_INTF_T_V4L_VIDEO : id();
                node.devnode.major = id();
                node.devnode.minor = id();
            });
        fillEntries<media_v2_pad>(topology.ptr_pads, topology.num_pads, [&](media_v2_pad& pad) {
            pad.id = id();
            pad.entity_id = id();
            pad.flags = in_.byte() % 5;
        });
        fillEntries<media_v2_link>(topology.ptr_links, topology.num_links,
                                   [&](media_v2_link& link) {
                                       link.id = id();
                                       link.source_id = id();
                                       link.sink_id = id();
                                       link.flags = in_.byte() % 4 << 28;
                                   });
        topology.num_entities = id();
        topology.num_interfaces = id();
        topology.num_pads = id();
        topology.num_links = id();
    }

    fuzz::Bytes& in_;
    int descriptors_ = 0;
};

template <typename Look>
void attempt(Look look)
{
    try {
        look();
    } catch (const std::runtime_error&) {
        // A graph that isn't one.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    MediaHost host(input);
    attempt([&] {
        V4L2::EnumerateResult board;
        board.mediaDevices.emplace_back("/dev/media0");
        board.mediaDevices.emplace_back("/dev/media1");
        std::swap(board.mediaDevices.front(), board.mediaDevices.back());
        for (const V4L2::MediaDevice& device : board.mediaDevices) {
            for (std::uint32_t id = 0; id < 16; ++id)
                device.FindObject(id);
        }
        attempt([&] { GenTLProducer::PlatformPipelineHandlerSimple().FindCameraDevices(board); });
        attempt([&] { GenTLProducer::PlatformPipelineHandlerImx8mp().FindCameraDevices(board); });
    });
    return 0;
}
