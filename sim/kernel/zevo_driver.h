/* SPDX-License-Identifier: GPL-2.0 */
/* The camera driver's requests, in its own form or as V4L2 controls. */
#ifndef ZEVO_DRIVER_H
#define ZEVO_DRIVER_H

#include <media/v4l2-ctrls.h>

/* A request in the driver's own form; -ENOTTY for another one. */
long zevo_driver_ioctl(unsigned int request, void *argument);

/* Makes a handler with the controls of the other form. 0 or a negative errno. */
int zevo_driver_init_controls(struct v4l2_ctrl_handler *handler);

#endif
