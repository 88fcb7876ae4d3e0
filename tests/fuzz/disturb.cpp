#include "disturb.h"

#include <linux/media.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

namespace fuzz
{

namespace
{

template <typename Entry>
void scribbleArray(Bytes& input, std::uint64_t address, std::uint32_t count)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): as the kernel takes it
    if (auto* entries = reinterpret_cast<Entry*>(address))
        scribble(input, entries, count * sizeof(Entry));
}

void disturbTopology(Bytes& input, const media_v2_topology& asked)
{
    scribbleArray<media_v2_entity>(input, asked.ptr_entities, asked.num_entities);
    scribbleArray<media_v2_interface>(input, asked.ptr_interfaces, asked.num_interfaces);
    scribbleArray<media_v2_pad>(input, asked.ptr_pads, asked.num_pads);
    scribbleArray<media_v2_link>(input, asked.ptr_links, asked.num_links);
}

void disturbControl(Bytes& input, const v4l2_ext_controls& controls)
{
    v4l2_ext_control& control = *controls.controls;
    if (control.size != 0)
        scribble(input, control.ptr, control.size);
    else
        scribble(input, &control.value, sizeof control.value);
}

void disturbBuffer(Bytes& input, const v4l2_buffer& buffer)
{
    if (buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE && buffer.m.planes)
        scribble(input, buffer.m.planes, VIDEO_MAX_PLANES * sizeof(v4l2_plane));
}

} // namespace

void scribble(Bytes& input, void* target, std::size_t size)
{
    if (size == 0)
        return;
    const unsigned runs = input.byte() % 4;
    for (unsigned i = 0; i < runs; ++i) {
        const std::size_t place = input.take<std::uint16_t>() % size;
        const std::size_t length = std::min<std::size_t>(input.byte() % 32, size - place);
        input.fill(static_cast<std::uint8_t*>(target) + place, length);
    }
}

void scribble(Bytes& input, std::string& text)
{
    if (input.isOneIn(8))
        text.resize(input.take<std::uint16_t>() % 8192);
    scribble(input, text.data(), text.size());
}

void disturbAnswer(Bytes& input, unsigned long request, const void* asked, void* answer)
{
    if ((_IOC_DIR(request) & _IOC_READ) == 0)
        return;
    if (request == MEDIA_IOC_G_TOPOLOGY)
        disturbTopology(input, *static_cast<const media_v2_topology*>(asked));
    else if (request == VIDIOC_G_EXT_CTRLS)
        disturbControl(input, *static_cast<const v4l2_ext_controls*>(asked));
    else if (request == VIDIOC_QUERYBUF || request == VIDIOC_DQBUF)
        disturbBuffer(input, *static_cast<const v4l2_buffer*>(asked));
    scribble(input, answer, _IOC_SIZE(request));
}

} // namespace fuzz
