// A board whose frames come by hand, and a program's view of its capture node.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>

#include <memory>
#include <string>
#include <vector>

#include "camera_fixture.h"
#include "capture_calls.h"
#include "sim/core/board.h"

namespace zevo_sim
{

/// Drives the ISP of its first camera.
class TestBoard : public DrivenIsp
{
public:
    explicit TestBoard(const std::string& options, Pace pace = Pace::Manual)
        : TestBoard(std::make_unique<Board>(BoardOptions::FromText(options), TestImage(), pace))
    {
    }

    Board& operator*() { return *board_; }
    Board* operator->() { return board_.get(); }
    CaptureNode& Node() { return board_->GetCaptureNode(0); }

    /// The stream runs, with a picture of that size.
    void Boot(std::uint16_t width, std::uint16_t height)
    {
        DrivenIsp::Boot();
        SetPicture(width, height);
    }

    void SetPicture(std::uint16_t width, std::uint16_t height)
    {
        Write(isp::kPreviewWidth, width);
        Write(isp::kPreviewHeight, height);
    }

private:
    explicit TestBoard(std::unique_ptr<Board> board)
        : DrivenIsp(board->GetCamera(0)), board_(std::move(board))
    {
    }

    std::unique_ptr<Board> board_;
};

/// One program's descriptor on a node.
class Program : public CaptureCalls
{
public:
    explicit Program(Board& board, const char* path = "/dev/video0",
                     int flags = O_RDWR | O_NONBLOCK)
        : CaptureCalls([this](unsigned long request, void* argument) {
              return board_.Ioctl(fd_, request, argument);
          }),
          board_(board), fd_(board.Open(path, flags))
    {
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program()
    {
        for (const auto& [address, length] : mappings_) {
            munmap(address, length);
            board_.Unmapped(address, length);
        }
        if (fd_ >= 0)
            board_.Close(fd_);
    }

    int Fd() const { return fd_; }
    /// The mapped buffer, null if it can't be mapped.
    const std::uint8_t* Map(unsigned index)
    {
        if (Query(index) != 0)
            return nullptr;
        const long address = board_.Map(fd_, nullptr, Length(), PROT_READ | PROT_WRITE, MAP_SHARED,
                                        static_cast<long>(Offset()));
        if (address < 0 && address > -4096)
            return nullptr;
        mappings_.emplace_back(reinterpret_cast<void*>(address), Length());
        return static_cast<const std::uint8_t*>(mappings_.back().first);
    }
    /// Format, buffers, all of them queued, stream on. The results summed up.
    int Start(unsigned buffers = 4, std::uint32_t fourcc = V4L2_PIX_FMT_UYVY)
    {
        int result = SetFormat(96, 104, fourcc) | Request(buffers);
        for (unsigned i = 0; i < buffers; ++i)
            result |= Queue(i);
        return result | Stream(true);
    }

    /// What poll() shows.
    short Poll(short events = POLLIN) { return board_.Poll(fd_, events).value_or(POLLNVAL); }

private:
    Board& board_;
    int fd_;
    std::vector<std::pair<void*, std::size_t>> mappings_;
};

} // namespace zevo_sim
