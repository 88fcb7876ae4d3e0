#include <png.h>

#include "failure.h"
#include "image/picture.h"

namespace zevo_tool
{

void WritePng(const std::string& path, const Picture& picture)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = picture.channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    // Frames of a running camera: speed counts for more than the last per cent of size.
    image.flags = PNG_IMAGE_FLAG_FAST;
    if (png_image_write_to_file(&image, path.c_str(), 0, picture.pixels.data(), 0, nullptr) == 0)
        throw Failure("can't write " + path + ": " + image.message);
}

} // namespace zevo_tool
