#include "sim/shim/directory_stream.h"

#include <cstring>
#include <utility>

#include "sim/shim/next_function.h"

namespace zevo_shim
{

DirectoryStream::DirectoryStream(DIR* host, Overlay overlay)
    : host_(host), overlay_(std::move(overlay))
{
}

dirent* DirectoryStream::Next()
{
    while (host_) {
        dirent* entry = ZEVO_NEXT(readdir, dirent * (DIR*))(host_);
        if (!entry)
            break;
        if (!overlay_.Hides(entry->d_name))
            return entry;
    }
    if (position_ >= overlay_.entries.size())
        return nullptr;
    const std::string& name = overlay_.entries[position_++];
    entry_ = {};
    entry_.d_ino = 0x5A000000 + position_;
    entry_.d_reclen = sizeof(entry_);
    entry_.d_type = DT_UNKNOWN;
    std::strncpy(entry_.d_name, name.c_str(), sizeof(entry_.d_name) - 1);
    return &entry_;
}

void DirectoryStream::Rewind()
{
    position_ = 0;
    if (host_)
        ZEVO_NEXT(rewinddir, void(DIR*))(host_);
}

} // namespace zevo_shim
