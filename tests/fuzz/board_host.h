// The simulated board as the operating system, with faults from the input.
#pragma once

#include <atomic>
#include <map>
#include <memory>

#include "bytes.h"
#include "host.h"
#include "sim/core/board.h"

namespace fuzz
{

/// A board that the input chooses. Frames come only by pushFrame().
class BoardHost : public Host
{
public:
    explicit BoardHost(Bytes& input);

    void pushFrame();
    void unplug() { board_->Unplug(0); }
    /// Ends the program if a descriptor or mapping of the board is left.
    void requireAllReleased() const;

    long open(const char* path, int flags) override;
    long close(int fd) override;
    long ioctl(int fd, unsigned long request, void* argument) override;
    long map(int fd, std::size_t length, int protection, int flags, off_t offset) override;
    long unmap(void* address, std::size_t length) override;
    long stat(const char* path, struct stat& status) override;
    std::optional<std::string> file(const std::string& path) override;
    std::vector<std::string> matches(const char* pattern) override;

private:
    /// What happens to one ioctl: it fails, or a byte of its answer isn't what it should be.
    struct Fault {
        int error; ///< 0 for a changed byte
        std::uint8_t place;
        std::uint8_t change;
    };

    std::unique_ptr<zevo_sim::Board> board_;
    std::map<unsigned, Fault> faults_; ///< by number of the ioctl, from 1
    std::atomic<unsigned> ioctls_{0};
    std::atomic<int> mappings_{0};
};

} // namespace fuzz
