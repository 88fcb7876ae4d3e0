// SPDX-License-Identifier: GPL-2.0
#include "zevo_driver.h"

#include <linux/ioctl.h>

#include "zevo_module.h"

#define DRIVER_VERSION 0x00010001
#define INFORMATION_MAGIC 0x050991B0
#define INFORMATION_VERSION 0x00010000
#define TEXTS 7
#define LINK_FREQUENCY 600000000ull

struct csi_information {
	u64 link_frequency;
	u8 lane_count;
	u8 lane_numbers[4];
	u8 padding[3];
};

struct device_information {
	u32 magic;
	u32 version;
	char texts[TEXTS][ZEVO_TEXT_SIZE + 1];
	u8 padding;
};

enum direction { DIRECTION_READ = 1, DIRECTION_WRITE = 2 };

struct transfer {
	u16 address;
	u8 payload[256];
	u16 size;
	u8 direction;
	u8 padding;
};

static_assert(sizeof(struct csi_information) == 16);
static_assert(sizeof(struct device_information) == 464);
static_assert(sizeof(struct transfer) == 262);

#define IOC_VERSION _IOR('B', 1, u32)
#define IOC_DEVICE _IOR('B', 2, struct device_information)
#define IOC_CSI _IOR('B', 3, struct csi_information)
#define IOC_READ_REGISTER _IOWR('B', 4, struct transfer)
#define IOC_WRITE_REGISTER _IOWR('B', 5, struct transfer)

#define CONTROL_VERSION 0x00981001
#define CONTROL_TRANSFER 0x00981002
#define CONTROL_DEVICE 0x00981003
#define CONTROL_CSI 0x00981004

static void fill_device(struct device_information *information)
{
	unsigned int i;

	memset(information, 0, sizeof(*information));
	information->magic = INFORMATION_MAGIC;
	information->version = INFORMATION_VERSION;
	for (i = 0; i < TEXTS; i++)
		zevo_module_text(i, information->texts[i]);
}

static void fill_csi(struct csi_information *information)
{
	static const struct csi_information four_lanes = {LINK_FREQUENCY, 4, {1, 2, 3, 4}};

	*information = four_lanes;
}

static int run(struct transfer *transfer)
{
	if (transfer->direction == DIRECTION_WRITE)
		return zevo_module_write(transfer->address, transfer->payload, transfer->size);
	return zevo_module_read(transfer->address, transfer->payload, transfer->size);
}

long zevo_driver_ioctl(unsigned int request, void *argument)
{
	switch (request) {
	case IOC_VERSION:
		*(u32 *)argument = DRIVER_VERSION;
		return 0;
	case IOC_DEVICE:
		fill_device(argument);
		return 0;
	case IOC_CSI:
		fill_csi(argument);
		return 0;
	case IOC_READ_REGISTER:
	case IOC_WRITE_REGISTER:
		return run(argument);
	default:
		return -ENOTTY;
	}
}

static struct transfer last_transfer; /* under the handler's lock */

static int set_control(struct v4l2_ctrl *control)
{
	if (control->id != CONTROL_TRANSFER)
		return 0;
	memcpy(&last_transfer, control->p_new.p_u8, sizeof(last_transfer));
	return run(&last_transfer);
}

static int get_control(struct v4l2_ctrl *control)
{
	switch (control->id) {
	case CONTROL_VERSION:
		control->val = DRIVER_VERSION;
		break;
	case CONTROL_TRANSFER:
		memcpy(control->p_new.p_u8, &last_transfer, sizeof(last_transfer));
		break;
	case CONTROL_DEVICE:
		fill_device((struct device_information *)control->p_new.p_u8);
		break;
	case CONTROL_CSI:
		fill_csi((struct csi_information *)control->p_new.p_u8);
		break;
	}
	return 0;
}

static const struct v4l2_ctrl_ops control_ops = {
	.s_ctrl = set_control,
	.g_volatile_ctrl = get_control,
};

#define READ_ONLY (V4L2_CTRL_FLAG_VOLATILE | V4L2_CTRL_FLAG_READ_ONLY)
#define WRITABLE (V4L2_CTRL_FLAG_VOLATILE | V4L2_CTRL_FLAG_EXECUTE_ON_WRITE)
#define BYTES(control_id, control_name, structure, control_flags)                                 \
	{                                                                                         \
		.ops = &control_ops, .id = control_id, .name = control_name,                      \
		.type = V4L2_CTRL_TYPE_U8, .max = 255, .step = 1, .dims = {sizeof(structure)},    \
		.flags = control_flags                                                            \
	}

static const struct v4l2_ctrl_config control_configs[] = {
	{
		.ops = &control_ops, .id = CONTROL_VERSION, .name = "Driver version",
		.type = V4L2_CTRL_TYPE_INTEGER, .max = INT_MAX, .step = 1, .flags = READ_ONLY
	},
	BYTES(CONTROL_TRANSFER, "Register transfer", struct transfer, WRITABLE),
	BYTES(CONTROL_DEVICE, "Device information", struct device_information, READ_ONLY),
	BYTES(CONTROL_CSI, "CSI information", struct csi_information, READ_ONLY),
};

int zevo_driver_init_controls(struct v4l2_ctrl_handler *handler)
{
	unsigned int i;

	v4l2_ctrl_handler_init(handler, ARRAY_SIZE(control_configs));
	for (i = 0; i < ARRAY_SIZE(control_configs); i++)
		v4l2_ctrl_new_custom(handler, &control_configs[i], NULL);
	return handler->error;
}
