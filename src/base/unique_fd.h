// Owner of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace GenTLProducer
{

/// Closes its descriptor when it goes. Move-only; -1 means that it owns none.
class UniqueFd final
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return fd_; }
    bool isValid() const noexcept { return fd_ >= 0; }

    /// Gives the descriptor away: the caller closes it.
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }

    void reset() noexcept
    {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
    }

private:
    int fd_ = -1;
};

} // namespace GenTLProducer
