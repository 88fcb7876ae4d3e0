// What a PNG file holds.
#pragma once

#include <png.h>

#include <string>

#include "image/picture.h"

/// Empty if the file can't be read.
inline zevo_tool::Picture ReadPng(const std::string& path)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        return {};
    zevo_tool::Picture picture{
        image.width, image.height, PNG_IMAGE_PIXEL_CHANNELS(image.format), {}};
    picture.pixels.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr);
    return picture;
}
