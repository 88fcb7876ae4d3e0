// SPDX-License-Identifier: GPL-2.0
/* A board with one camera in a real kernel: a capture node, the camera's node and the graph
 * between them. For a virtual machine that a test throws away: it can't be removed. */
#include <linux/module.h>
#include <linux/platform_device.h>
#include <media/media-device.h>
#include <media/v4l2-ctrls.h>
#include <media/v4l2-subdev.h>

#include "zevo_capture.h"
#include "zevo_driver.h"
#include "zevo_module.h"

#define MAX_RECEIVERS 4

static bool controls;
module_param(controls, bool, 0444);
MODULE_PARM_DESC(controls, "camera requests as V4L2 controls, not in the driver's own form");
static bool one_node;
module_param(one_node, bool, 0444);
MODULE_PARM_DESC(one_node, "one node for both roles, without a graph");
static bool multi_planar;
module_param(multi_planar, bool, 0444);
MODULE_PARM_DESC(multi_planar, "multi-planar buffers");
static uint min_buffers = 2;
module_param(min_buffers, uint, 0444);
MODULE_PARM_DESC(min_buffers, "buffers queued before frames come");
static char *video_driver = "csi-capture";
module_param(video_driver, charp, 0444);
MODULE_PARM_DESC(video_driver, "driver of the capture node");
static char *media_driver = "csi-media";
module_param(media_driver, charp, 0444);
MODULE_PARM_DESC(media_driver, "driver of the graph");
static uint receivers = 1;
module_param(receivers, uint, 0444);
MODULE_PARM_DESC(receivers, "entities between sensor and capture node, 1 to 4");

struct receiver {
	struct v4l2_subdev subdev;
	struct media_pad pads[2];
};

static struct {
	struct media_device media;
	struct v4l2_device v4l2;
	struct zevo_capture capture;
	struct v4l2_ctrl_handler handler;
	struct v4l2_subdev sensor;
	struct media_pad sensor_pad;
	struct receiver receivers[MAX_RECEIVERS];
} board;

static long sensor_ioctl(struct v4l2_subdev *subdev, unsigned int request, void *argument)
{
	return controls ? -ENOTTY : zevo_driver_ioctl(request, argument);
}

static const struct v4l2_subdev_core_ops sensor_core_ops = {.ioctl = sensor_ioctl};
static const struct v4l2_subdev_ops sensor_ops = {.core = &sensor_core_ops};
static const struct v4l2_subdev_ops receiver_ops = {};

static int register_sensor(void)
{
	struct v4l2_subdev *sensor = &board.sensor;
	int result;

	v4l2_subdev_init(sensor, &sensor_ops);
	strscpy(sensor->name, "tolmen-camera 0-0036", sizeof(sensor->name));
	sensor->owner = THIS_MODULE;
	sensor->flags = V4L2_SUBDEV_FL_HAS_DEVNODE;
	sensor->entity.function = MEDIA_ENT_F_CAM_SENSOR;
	if (controls)
		sensor->ctrl_handler = &board.handler;
	board.sensor_pad.flags = MEDIA_PAD_FL_SOURCE;
	result = media_entity_pads_init(&sensor->entity, 1, &board.sensor_pad);
	return result ? result : v4l2_device_register_subdev(&board.v4l2, sensor);
}

/* Puts a receiver behind the source pad of another entity. */
static int register_receiver(unsigned int number, struct media_entity *source, u16 source_pad)
{
	struct receiver *receiver = &board.receivers[number];
	struct v4l2_subdev *subdev = &receiver->subdev;
	int result;

	v4l2_subdev_init(subdev, &receiver_ops);
	snprintf(subdev->name, sizeof(subdev->name), "csi-receiver.%u", number);
	subdev->owner = THIS_MODULE;
	subdev->flags = V4L2_SUBDEV_FL_HAS_DEVNODE;
	subdev->entity.function = MEDIA_ENT_F_VID_IF_BRIDGE;
	receiver->pads[0].flags = MEDIA_PAD_FL_SINK;
	receiver->pads[1].flags = MEDIA_PAD_FL_SOURCE;
	result = media_entity_pads_init(&subdev->entity, 2, receiver->pads);
	if (!result)
		result = v4l2_device_register_subdev(&board.v4l2, subdev);
	if (!result)
		result = media_create_pad_link(source, source_pad, &subdev->entity, 0,
					       MEDIA_LNK_FL_ENABLED | MEDIA_LNK_FL_IMMUTABLE);
	return result;
}

static int register_graph(void)
{
	struct media_entity *source = &board.sensor.entity;
	unsigned int i;
	int result = register_sensor();

	for (i = 0; i < receivers && !result; i++) {
		result = register_receiver(i, source, i == 0 ? 0 : 1);
		source = &board.receivers[i].subdev.entity;
	}
	if (!result)
		result = media_create_pad_link(source, 1, &board.capture.node.entity, 0,
					       MEDIA_LNK_FL_ENABLED | MEDIA_LNK_FL_IMMUTABLE);
	if (!result)
		result = v4l2_device_register_subdev_nodes(&board.v4l2);
	return result ? result : media_device_register(&board.media);
}

static int register_board(struct device *device)
{
	const struct zevo_capture_options options = {video_driver, multi_planar,
						     one_node && !controls, min_buffers};
	int result;

	board.media.dev = device;
	strscpy(board.media.model, "CSI media device", sizeof(board.media.model));
	strscpy(board.media.driver_name, media_driver, sizeof(board.media.driver_name));
	media_device_init(&board.media);
	board.v4l2.mdev = one_node ? NULL : &board.media;
	result = v4l2_device_register(device, &board.v4l2);
	if (!result && controls)
		result = zevo_driver_init_controls(&board.handler);
	if (result)
		return result;
	if (one_node && controls)
		board.capture.node.ctrl_handler = &board.handler;
	result = zevo_capture_register(&board.capture, &board.v4l2, &options);
	return result || one_node ? result : register_graph();
}

/* What a test does to the board while a program has it open: written to the module's parameter. */
static int act(const char *word, const struct kernel_param *parameter)
{
	if (sysfs_streq(word, "fail")) {
		zevo_capture_fail(&board.capture);
	} else if (sysfs_streq(word, "unplug")) {
		zevo_capture_unregister(&board.capture);
		if (!one_node) {
			v4l2_device_unregister_subdev(&board.sensor);
			media_device_unregister(&board.media);
		}
	} else {
		return -EINVAL;
	}
	return 0;
}

static const struct kernel_param_ops act_ops = {.set = act};
module_param_cb(act, &act_ops, NULL, 0200);
MODULE_PARM_DESC(act, "fail: the capture driver gives up; unplug: the camera is pulled out");
module_param_named(frames, board.capture.frames, uint, 0444);
MODULE_PARM_DESC(frames, "frames that have left the camera");

static struct platform_driver driver = {.driver = {.name = "zevo_board", .owner = THIS_MODULE}};

static int __init zevo_init(void)
{
	struct platform_device *device;
	int result;

	if (receivers < 1 || receivers > MAX_RECEIVERS)
		return -EINVAL;
	result = zevo_module_create();
	if (!result)
		result = platform_driver_register(&driver);
	if (result)
		return result;
	device = platform_device_register_simple("zevo_board", PLATFORM_DEVID_NONE, NULL, 0);
	return IS_ERR(device) ? PTR_ERR(device) : register_board(&device->dev);
}

module_init(zevo_init);
MODULE_DESCRIPTION("Simulated board with a ZEVO MIPI camera");
MODULE_LICENSE("GPL");
