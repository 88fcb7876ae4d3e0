// A directory's listing with the board's names in it and the host's hidden ones left out.
#pragma once

#include <dirent.h>

#include <cstddef>

#include "sim/shim/board_calls.h"

namespace zevo_shim
{

class DirectoryStream final
{
public:
    /// Takes the host's stream over in the order of its names, if there is one.
    DirectoryStream(DIR* host, Overlay overlay);
    DirectoryStream(const DirectoryStream&) = delete;
    DirectoryStream& operator=(const DirectoryStream&) = delete;

    /// Null at the end. The entry stays good until the next call.
    dirent* Next();
    void Rewind();
    DIR* Host() const { return host_; }

private:
    DIR* host_;
    Overlay overlay_;
    std::size_t position_ = 0;
    dirent entry_{};
};

} // namespace zevo_shim
