// Owner of one mapping of a kernel buffer.
#pragma once

#include <functional>
#include <utility>

namespace V4L2
{

/// An address and the function that releases it. Move-only; a default one owns nothing.
class MappedRegion final
{
public:
    using Release = std::function<void(void* address)>;

    MappedRegion() = default;
    MappedRegion(void* address, Release release) noexcept
        : address_(address), release_(std::move(release))
    {
    }
    MappedRegion(MappedRegion&& other) noexcept { swap(other); }
    MappedRegion& operator=(MappedRegion&& other) noexcept
    {
        MappedRegion(std::move(other)).swap(*this);
        return *this;
    }
    MappedRegion(const MappedRegion&) = delete;
    MappedRegion& operator=(const MappedRegion&) = delete;
    ~MappedRegion()
    {
        if (release_)
            release_(address_);
    }

    void* address() const noexcept { return address_; }

private:
    void swap(MappedRegion& other) noexcept
    {
        std::swap(address_, other.address_);
        release_.swap(other.release_);
    }

    void* address_ = nullptr;
    Release release_;
};

} // namespace V4L2
