#include "picture.h"

#include <png.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "sim/core/picture_setup.h"

namespace zevo_board
{

namespace
{

using zevo_sim::kSensorPixelsX;
using zevo_sim::kSensorPixelsY;

struct Picture {
    std::size_t width;
    std::size_t height;
    std::vector<std::uint8_t> rgb;
};

Picture ReadPng(const std::string& path)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        throw std::runtime_error(path + ": " + image.message);
    image.format = PNG_FORMAT_RGB;
    Picture picture{image.width, image.height, {}};
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    const png_color background{};
    if (png_image_finish_read(&image, &background, picture.rgb.data(), 0, nullptr) == 0)
        throw std::runtime_error(path + ": " + image.message);
    return picture;
}

/// The mean of the source pixels that an output pixel covers, at least one.
std::uint8_t Mean(const Picture& picture, std::size_t left, std::size_t right, std::size_t top,
                  std::size_t bottom, std::size_t channel)
{
    right = std::clamp(right, left + 1, picture.width);
    bottom = std::clamp(bottom, top + 1, picture.height);
    std::size_t sum = 0;
    for (std::size_t y = top; y < bottom; ++y)
        for (std::size_t x = left; x < right; ++x)
            sum += picture.rgb[(y * picture.width + x) * 3 + channel];
    return static_cast<std::uint8_t>(sum / ((right - left) * (bottom - top)));
}

} // namespace

std::vector<std::uint8_t> LoadScene(const std::string& path)
{
    const Picture picture = ReadPng(path);
    if (picture.width == kSensorPixelsX && picture.height == kSensorPixelsY)
        return picture.rgb;

    std::size_t width = kSensorPixelsX;
    std::size_t height = std::max<std::size_t>(1, picture.height * width / picture.width);
    if (height > kSensorPixelsY) {
        height = kSensorPixelsY;
        width = std::max<std::size_t>(1, picture.width * height / picture.height);
    }
    const std::size_t left = (kSensorPixelsX - width) / 2;
    const std::size_t top = (kSensorPixelsY - height) / 2;
    std::vector<std::uint8_t> scene(std::size_t{kSensorPixelsX} * kSensorPixelsY * 3);
    for (std::size_t y = 0; y < height; ++y) {
        std::uint8_t* row = &scene[((top + y) * kSensorPixelsX + left) * 3];
        const std::size_t first = y * picture.height / height;
        const std::size_t last = (y + 1) * picture.height / height;
        for (std::size_t x = 0; x < width; ++x)
            for (std::size_t channel = 0; channel < 3; ++channel)
                *row++ = Mean(picture, x * picture.width / width, (x + 1) * picture.width / width,
                              first, last, channel);
    }
    return scene;
}

} // namespace zevo_board
