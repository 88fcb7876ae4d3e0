// Writes frames as PNG files beside the acquisition.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "image/picture.h"

namespace zevo_tool
{

/// Converts and writes on threads of its own, so that a camera's buffers come back at once. A
/// writer that can't keep up holds its caller. Called from one thread.
class PictureWriter final
{
public:
    /// Makes the folder if it isn't there; Failure when nothing can be written into it.
    explicit PictureWriter(const std::string& folder);
    /// Drops what hasn't been written.
    ~PictureWriter();
    PictureWriter(const PictureWriter&) = delete;
    PictureWriter& operator=(const PictureWriter&) = delete;

    /// Copies the image; it becomes "frame-NNNNNN.png". Failure when an earlier one failed.
    void Write(std::uint64_t number, const RawImage& image);
    /// Waits for all files; Failure when one failed.
    void Finish();

private:
    struct Job {
        std::string path;
        RawImage image; ///< its data is `bytes`
        std::vector<std::uint8_t> bytes;
    };

    void Run();
    void Process(const Job& job);
    void StopThreads(bool isToFinish);

    std::string folder_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    std::size_t heldBytes_ = 0; ///< of jobs waiting or being written
    bool isStopping_ = false;
    std::exception_ptr failure_;
    std::vector<std::thread> threads_;
};

} // namespace zevo_tool
