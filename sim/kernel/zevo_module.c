// SPDX-License-Identifier: GPL-2.0
#include "zevo_module.h"

#include <linux/errno.h>
#include <linux/mutex.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#define MEMORY_SIZE 0x10000
#define MAX_TRANSFER 256

/* Bootstrap registers, register block and sections. */
#define SBRM_ADDRESS 0x01D8
#define BLOCK 0x1000
#define DEVICE_RESET (BLOCK + 0x34)
#define SECTIONS (BLOCK + 0x140)

/* The ISP's registers as its section maps them. */
#define ISP(address) (0x3000 + (address))
#define CHIP_VERSION ISP(0x0000)
#define MANUFACTURER_ID ISP(0x0004)
#define FIRMWARE_ID ISP(0x0042)
#define SENSOR_SIZES ISP(0x00C0)
#define AE_GAIN ISP(0x0192)
#define AE_EXPOSURE_TIME ISP(0x0194)
#define ATOMIC ISP(0x1184)
#define AE_CTRL ISP(0x5002)
#define AWB_CTRL ISP(0x5100)
#define ATM_CTRL ISP(0x52CA)
#define BOOTDATA_STAGE ISP(0x6002)
#define SYS_START ISP(0x601A)
#define DMA_CTRL ISP(0x60AC)
#define BOOTDATA_CHECKSUM ISP(0x6134)

#define SYS_START_TOGGLE 0x0100
#define SYS_START_STALLED 0x0200
#define DMA_MODE 0x0007
#define FIRMWARE_CHECKSUM 0xE3C8

static const u16 text_addresses[] = {0x0004, 0x0044, 0x0084, 0x00C4, 0x0104, 0x0144, 0x0184};
static const char *const texts[] = {"Vant", "zvK1800-45tqr", "ZEVO MIPI", "1.2.0", "In a kernel",
				    "ZEVO:KERNEL01", ""};

/* One I2C section of three mappings: device 60, then CCI address, size, ISP address of each. */
static const u16 isp_section[] = {28, 6, 0x0100, 3, 60, 0x3000, 0xA000, 0x0000,
				  0xD000, 0x1000, 0xB000, 0xE000, 0x2000, 0xE000};

static DEFINE_MUTEX(module_lock);
static u8 *memory;
static bool is_stalled;

static u16 get16(u32 address)
{
	return memory[address] << 8 | memory[address + 1];
}

static void set16(u32 address, u16 value)
{
	memory[address] = value >> 8;
	memory[address + 1] = value;
}

static void reset(void)
{
	unsigned int i;

	memset(memory, 0, MEMORY_SIZE);
	for (i = 0; i < ARRAY_SIZE(texts); i++)
		strscpy(memory + text_addresses[i], texts[i], ZEVO_TEXT_SIZE);
	set16(SBRM_ADDRESS + 6, BLOCK);
	set16(BLOCK, 2); /* version 2.0 */
	set16(BLOCK + 0x16, MAX_TRANSFER);
	set16(BLOCK + 0x1A, MAX_TRANSFER);
	strscpy(memory + BLOCK + 0x50, "p=zevo/s=r/v=2.1/h=00000000", 236);
	set16(SECTIONS - 2, sizeof(isp_section));
	for (i = 0; i < ARRAY_SIZE(isp_section); i++)
		set16(SECTIONS + 2 * i, isp_section[i]);

	set16(CHIP_VERSION, 0x0265);
	set16(MANUFACTURER_ID, 6);
	is_stalled = false;
}

static void start_firmware(void)
{
	static const u16 sizes[] = {2600, 1952, 2600, 1952};
	unsigned int i;

	set16(FIRMWARE_ID, 400);
	set16(BOOTDATA_CHECKSUM, FIRMWARE_CHECKSUM);
	for (i = 0; i < ARRAY_SIZE(sizes); i++)
		set16(SENSOR_SIZES + 2 * i, sizes[i]);
	set16(AE_GAIN, 0x0100);
	set16(AE_EXPOSURE_TIME + 2, 10000);
	set16(AE_CTRL, 0x028C);
	set16(AWB_CTRL, 0x110F);
	set16(ATM_CTRL, 0x043F);
}

static void after_write(u32 address)
{
	const u16 value = get16(address);

	switch (address) {
	case DEVICE_RESET + 2:
		if (value == 1)
			reset();
		break;
	case BOOTDATA_STAGE:
		if (value == 0xFFFF)
			start_firmware();
		break;
	case SYS_START:
		is_stalled ^= (value & SYS_START_TOGGLE) != 0;
		set16(address, (value & ~(SYS_START_TOGGLE | SYS_START_STALLED)) |
				       (is_stalled ? SYS_START_STALLED : 0));
		break;
	case ATOMIC: /* a record is taken as it is written */
		set16(address, value == 1);
		break;
	case DMA_CTRL: /* and a transfer to the sensor is done at once */
		set16(address, value & ~DMA_MODE);
		break;
	}
}

int zevo_module_create(void)
{
	memory = vzalloc(MEMORY_SIZE);
	if (!memory)
		return -ENOMEM;
	reset();
	return 0;
}


int zevo_module_read(u16 address, u8 *data, unsigned int size)
{
	if (size > MAX_TRANSFER || address + size > MEMORY_SIZE)
		return -EREMOTEIO;
	mutex_lock(&module_lock);
	memcpy(data, memory + address, size);
	mutex_unlock(&module_lock);
	return 0;
}

int zevo_module_write(u16 address, const u8 *data, unsigned int size)
{
	u32 word;

	if (size > MAX_TRANSFER || address + size > MEMORY_SIZE)
		return -EREMOTEIO;
	mutex_lock(&module_lock);
	memcpy(memory + address, data, size);
	for (word = address & ~1; word < address + size; word += 2)
		after_write(word);
	mutex_unlock(&module_lock);
	return 0;
}

void zevo_module_text(unsigned int number, char *text)
{
	mutex_lock(&module_lock);
	memcpy(text, memory + text_addresses[number], ZEVO_TEXT_SIZE);
	mutex_unlock(&module_lock);
}

bool zevo_module_sends(void)
{
	return get16(FIRMWARE_ID) != 0 && !is_stalled;
}
