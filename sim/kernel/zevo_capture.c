// SPDX-License-Identifier: GPL-2.0
#include "zevo_capture.h"

#include <linux/delay.h>
#include <linux/kthread.h>
#include <media/v4l2-ioctl.h>
#include <media/videobuf2-vmalloc.h>

#include "zevo_driver.h"
#include "zevo_module.h"

#define MIN_SIZE 16
#define MAX_SIZE 4096
#define FRAME_TIME_US 33333

struct buffer {
	struct vb2_v4l2_buffer vb;
	struct list_head list;
};

static const u32 fourccs[] = {V4L2_PIX_FMT_UYVY, V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_NV12};

struct geometry {
	u32 fourcc;
	u32 width;
	u32 height;
	u32 bytes_per_line;
	u32 size;
};

static struct geometry geometry_of(const struct v4l2_format *format, bool is_multi_planar)
{
	const struct v4l2_pix_format_mplane *multi = &format->fmt.pix_mp;
	const struct v4l2_pix_format *single = &format->fmt.pix;

	if (is_multi_planar)
		return (struct geometry){multi->pixelformat, multi->width, multi->height,
					 multi->plane_fmt[0].bytesperline,
					 multi->plane_fmt[0].sizeimage};
	return (struct geometry){single->pixelformat, single->width, single->height,
				 single->bytesperline, single->sizeimage};
}

/* The driver's format next to the wanted one. */
static void adjust(struct v4l2_format *format, bool is_multi_planar)
{
	struct geometry wanted = geometry_of(format, is_multi_planar);
	const bool is_planar = wanted.fourcc == V4L2_PIX_FMT_NV12;

	if (!is_planar && wanted.fourcc != V4L2_PIX_FMT_YUYV)
		wanted.fourcc = V4L2_PIX_FMT_UYVY;
	v4l_bound_align_image(&wanted.width, MIN_SIZE, MAX_SIZE, 1, &wanted.height, MIN_SIZE,
			      MAX_SIZE, 1, 0);
	wanted.bytes_per_line = is_planar ? wanted.width : wanted.width * 2;
	wanted.size = wanted.width * wanted.height * (is_planar ? 3 : 4) / 2;
	memset(&format->fmt, 0, sizeof(format->fmt));
	if (is_multi_planar) {
		struct v4l2_pix_format_mplane *pix = &format->fmt.pix_mp;

		pix->width = wanted.width;
		pix->height = wanted.height;
		pix->pixelformat = wanted.fourcc;
		pix->field = V4L2_FIELD_NONE;
		pix->colorspace = V4L2_COLORSPACE_SMPTE170M;
		pix->num_planes = 1;
		pix->plane_fmt[0].bytesperline = wanted.bytes_per_line;
		pix->plane_fmt[0].sizeimage = wanted.size;
	} else {
		struct v4l2_pix_format *pix = &format->fmt.pix;

		pix->width = wanted.width;
		pix->height = wanted.height;
		pix->pixelformat = wanted.fourcc;
		pix->field = V4L2_FIELD_NONE;
		pix->colorspace = V4L2_COLORSPACE_SMPTE170M;
		pix->bytesperline = wanted.bytes_per_line;
		pix->sizeimage = wanted.size;
	}
}

static struct geometry current_geometry(const struct zevo_capture *capture)
{
	return geometry_of(&capture->format, capture->options.is_multi_planar);
}

/* The frame's number as the simulated board draws it: sim/core/frame_counter.h. */

#define CELLS 48
#define DARK 16
#define BRIGHT 235

static u32 luma_offset(const struct geometry *geometry, u32 x, u32 y)
{
	const u32 pixel = y * geometry->width + x;
	const u32 pair = y / 2 * geometry->width * 3;

	switch (geometry->fourcc) {
	case V4L2_PIX_FMT_UYVY:
		return pixel * 2 + 1;
	case V4L2_PIX_FMT_YUYV:
		return pixel * 2;
	default: /* line-interleaved, whatever the fourcc promises */
		return y % 2 == 0 ? pair + x : pair + geometry->width + x * 2 + 1;
	}
}

static void paint(u8 *frame, const struct geometry *geometry, u32 number)
{
	const u64 check = (number ^ number >> 8 ^ number >> 16 ^ number >> 24 ^ 0x5A) & 0xFF;
	const u64 cells = 0xBull << 44 | (u64)number << 12 | check << 4 | 0x4;
	const u32 lines[] = {0, 1, geometry->height - 2, geometry->height - 1};
	u32 line, x;

	memset(frame, 0x80, geometry->size);
	if (geometry->width < 2 * CELLS || geometry->height < 4)
		return;
	for (line = 0; line < ARRAY_SIZE(lines); line++)
		for (x = 0; x < 2 * CELLS; x++)
			frame[luma_offset(geometry, x, lines[line])] =
				cells >> (CELLS - 1 - x / 2) & 1 ? BRIGHT : DARK;
}

/* Buffers and frames. */

static struct buffer *take_buffer(struct zevo_capture *capture)
{
	struct buffer *buffer;

	spin_lock(&capture->buffers_lock);
	buffer = list_first_entry_or_null(&capture->buffers, struct buffer, list);
	if (buffer)
		list_del(&buffer->list);
	spin_unlock(&capture->buffers_lock);
	return buffer;
}

static void return_buffers(struct zevo_capture *capture)
{
	struct buffer *buffer;

	while ((buffer = take_buffer(capture)))
		vb2_buffer_done(&buffer->vb.vb2_buf, VB2_BUF_STATE_ERROR);
}

static int paint_frames(void *data)
{
	struct zevo_capture *capture = data;
	const struct geometry geometry = current_geometry(capture);

	while (!kthread_should_stop()) {
		struct buffer *buffer;

		usleep_range(FRAME_TIME_US, FRAME_TIME_US + 100);
		if (!zevo_module_sends())
			continue;
		capture->frames++;
		buffer = take_buffer(capture);
		if (buffer) {
			struct vb2_buffer *vb = &buffer->vb.vb2_buf;

			paint(vb2_plane_vaddr(vb, 0), &geometry, capture->frames);
			vb2_set_plane_payload(vb, 0, geometry.size);
			buffer->vb.sequence = capture->sequence;
			buffer->vb.field = V4L2_FIELD_NONE;
			vb->timestamp = ktime_get_ns();
			vb2_buffer_done(vb, VB2_BUF_STATE_DONE);
		}
		capture->sequence++;
	}
	return 0;
}

static int queue_setup(struct vb2_queue *queue, unsigned int *buffers, unsigned int *planes,
		       unsigned int sizes[], struct device *devices[])
{
	const u32 size = current_geometry(vb2_get_drv_priv(queue)).size;

	if (*planes)
		return sizes[0] < size ? -EINVAL : 0;
	*planes = 1;
	sizes[0] = size;
	return 0;
}

static int prepare_buffer(struct vb2_buffer *vb)
{
	const u32 size = current_geometry(vb2_get_drv_priv(vb->vb2_queue)).size;

	return vb2_plane_size(vb, 0) < size ? -EINVAL : 0;
}

static void queue_buffer(struct vb2_buffer *vb)
{
	struct zevo_capture *capture = vb2_get_drv_priv(vb->vb2_queue);
	struct buffer *buffer = container_of(to_vb2_v4l2_buffer(vb), struct buffer, vb);

	spin_lock(&capture->buffers_lock);
	list_add_tail(&buffer->list, &capture->buffers);
	spin_unlock(&capture->buffers_lock);
}

static int start_streaming(struct vb2_queue *queue, unsigned int count)
{
	struct zevo_capture *capture = vb2_get_drv_priv(queue);

	capture->sequence = 0;
	capture->painter = kthread_run(paint_frames, capture, "zevo_painter");
	return PTR_ERR_OR_ZERO(capture->painter);
}

static void stop_streaming(struct vb2_queue *queue)
{
	struct zevo_capture *capture = vb2_get_drv_priv(queue);

	kthread_stop(capture->painter);
	return_buffers(capture);
}

static const struct vb2_ops queue_ops = {
	.queue_setup = queue_setup,
	.buf_prepare = prepare_buffer,
	.buf_queue = queue_buffer,
	.start_streaming = start_streaming,
	.stop_streaming = stop_streaming,
	.wait_prepare = vb2_ops_wait_prepare,
	.wait_finish = vb2_ops_wait_finish,
};

/* Requests of the node. */

static int query_capability(struct file *file, void *handle, struct v4l2_capability *capability)
{
	const struct zevo_capture *capture = video_drvdata(file);

	strscpy(capability->driver, capture->options.driver, sizeof(capability->driver));
	strscpy(capability->card, "CSI capture", sizeof(capability->card));
	strscpy(capability->bus_info, "platform:zevo", sizeof(capability->bus_info));
	return 0;
}

static int enumerate_formats(struct file *file, void *handle, struct v4l2_fmtdesc *description)
{
	if (description->index >= ARRAY_SIZE(fourccs))
		return -EINVAL;
	description->pixelformat = fourccs[description->index];
	return 0;
}

static int get_format(struct file *file, void *handle, struct v4l2_format *format)
{
	format->fmt = ((struct zevo_capture *)video_drvdata(file))->format.fmt;
	return 0;
}

static int try_format(struct file *file, void *handle, struct v4l2_format *format)
{
	adjust(format, ((struct zevo_capture *)video_drvdata(file))->options.is_multi_planar);
	return 0;
}

static int set_format(struct file *file, void *handle, struct v4l2_format *format)
{
	struct zevo_capture *capture = video_drvdata(file);

	if (vb2_is_busy(&capture->queue))
		return -EBUSY;
	adjust(format, capture->options.is_multi_planar);
	capture->format = *format;
	return 0;
}

static long camera_request(struct file *file, void *handle, bool has_priority,
			   unsigned int request, void *argument)
{
	const struct zevo_capture *capture = video_drvdata(file);

	return capture->options.is_camera_node ? zevo_driver_ioctl(request, argument) : -ENOTTY;
}

static const struct v4l2_ioctl_ops ioctl_ops = {
	.vidioc_querycap = query_capability,
	.vidioc_enum_fmt_vid_cap = enumerate_formats,
	.vidioc_g_fmt_vid_cap = get_format,
	.vidioc_try_fmt_vid_cap = try_format,
	.vidioc_s_fmt_vid_cap = set_format,
	.vidioc_g_fmt_vid_cap_mplane = get_format,
	.vidioc_try_fmt_vid_cap_mplane = try_format,
	.vidioc_s_fmt_vid_cap_mplane = set_format,
	.vidioc_reqbufs = vb2_ioctl_reqbufs,
	.vidioc_querybuf = vb2_ioctl_querybuf,
	.vidioc_qbuf = vb2_ioctl_qbuf,
	.vidioc_dqbuf = vb2_ioctl_dqbuf,
	.vidioc_streamon = vb2_ioctl_streamon,
	.vidioc_streamoff = vb2_ioctl_streamoff,
	.vidioc_default = camera_request,
};

static const struct v4l2_file_operations file_ops = {
	.owner = THIS_MODULE,
	.open = v4l2_fh_open,
	.release = vb2_fop_release,
	.poll = vb2_fop_poll,
	.mmap = vb2_fop_mmap,
	.unlocked_ioctl = video_ioctl2,
};

static int init_queue(struct zevo_capture *capture)
{
	struct vb2_queue *queue = &capture->queue;

	queue->type = capture->format.type;
	queue->io_modes = VB2_MMAP;
	queue->drv_priv = capture;
	queue->buf_struct_size = sizeof(struct buffer);
	queue->ops = &queue_ops;
	queue->mem_ops = &vb2_vmalloc_memops;
	queue->timestamp_flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
	queue->min_buffers_needed = capture->options.min_buffers;
	queue->lock = &capture->lock;
	return vb2_queue_init(queue);
}

int zevo_capture_register(struct zevo_capture *capture, struct v4l2_device *v4l2,
			  const struct zevo_capture_options *options)
{
	struct video_device *node = &capture->node;
	int result;

	capture->options = *options;
	mutex_init(&capture->lock);
	spin_lock_init(&capture->buffers_lock);
	INIT_LIST_HEAD(&capture->buffers);
	capture->format.type = options->is_multi_planar ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE
							: V4L2_BUF_TYPE_VIDEO_CAPTURE;
	adjust(&capture->format, options->is_multi_planar);
	result = init_queue(capture);
	if (result)
		return result;

	strscpy(node->name, "csi-capture.0", sizeof(node->name));
	node->fops = &file_ops;
	node->ioctl_ops = &ioctl_ops;
	node->release = video_device_release_empty;
	node->v4l2_dev = v4l2;
	node->queue = &capture->queue;
	node->lock = &capture->lock;
	node->device_caps = V4L2_CAP_STREAMING |
			    (options->is_multi_planar ? V4L2_CAP_VIDEO_CAPTURE_MPLANE
						      : V4L2_CAP_VIDEO_CAPTURE);
	video_set_drvdata(node, capture);
	capture->pad.flags = MEDIA_PAD_FL_SINK;
	result = media_entity_pads_init(&node->entity, 1, &capture->pad);
	return result ? result : video_register_device(node, VFL_TYPE_VIDEO, -1);
}

void zevo_capture_unregister(struct zevo_capture *capture)
{
	vb2_video_unregister_device(&capture->node);
}

void zevo_capture_fail(struct zevo_capture *capture)
{
	return_buffers(capture);
	vb2_queue_error(&capture->queue);
}
