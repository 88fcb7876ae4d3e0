/* SPDX-License-Identifier: GPL-2.0 */
/* A capture node that paints frames, on videobuf2. */
#ifndef ZEVO_CAPTURE_H
#define ZEVO_CAPTURE_H

#include <media/v4l2-device.h>
#include <media/videobuf2-v4l2.h>

struct zevo_capture_options {
	const char *driver;	  /* as VIDIOC_QUERYCAP tells it */
	bool is_multi_planar;
	bool is_camera_node;	  /* takes the camera driver's requests as well */
	unsigned int min_buffers; /* queued before frames come */
};

struct zevo_capture {
	struct zevo_capture_options options;
	struct video_device node;
	struct media_pad pad;
	struct vb2_queue queue;
	struct mutex lock;	  /* of the node's requests */
	struct v4l2_format format;
	spinlock_t buffers_lock;
	struct list_head buffers; /* queued ones */
	struct task_struct *painter;
	u32 sequence;
	unsigned int frames;	  /* since the node is there */
};

/* Registers the node with its one pad. 0 or a negative errno. */
int zevo_capture_register(struct zevo_capture *capture, struct v4l2_device *v4l2,
			  const struct zevo_capture_options *options);
/* From now on every request fails, as on a device that was pulled out. */
void zevo_capture_unregister(struct zevo_capture *capture);
/* The driver gives up: buffers come back with errors, and no others. */
void zevo_capture_fail(struct zevo_capture *capture);

#endif
