/* SPDX-License-Identifier: GPL-2.0 */
/* The camera module behind the driver's link: its own memory, and an AP1302 as far as a boot, a
 * stream and its features need it. */
#ifndef ZEVO_MODULE_H
#define ZEVO_MODULE_H

#include <linux/types.h>

#define ZEVO_TEXT_SIZE 64

/* Makes the module as it is behind its power switch. 0 or a negative errno. */
int zevo_module_create(void);

/* One transfer over the link, of at most 256 bytes; any thread. 0 or a negative errno. */
int zevo_module_read(u16 address, u8 *data, unsigned int size);
int zevo_module_write(u16 address, const u8 *data, unsigned int size);

/* Text number 0 to 6 of the bootstrap registers, as the driver's device information has them. */
void zevo_module_text(unsigned int number, char *text);

/* Whether frames leave the module. */
bool zevo_module_sends(void);

#endif
