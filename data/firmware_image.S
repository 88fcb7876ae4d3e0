// The firmware image, byte for byte, in read-only memory.
    .section .rodata, "a", %progbits
    .balign 16
    .globl zevo_firmware_image
    .hidden zevo_firmware_image
    .type zevo_firmware_image, %object
zevo_firmware_image:
    .incbin ZEVO_FIRMWARE_IMAGE_FILE
    .size zevo_firmware_image, . - zevo_firmware_image

    .section .note.GNU-stack, "", %progbits
