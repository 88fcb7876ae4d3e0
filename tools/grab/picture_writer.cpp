#include "grab/picture_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "failure.h"

namespace zevo_tool
{

namespace
{

/// Two dozen frames of the largest size; boards have little memory.
constexpr std::size_t kMostHeldBytes = std::size_t{256} << 20;

void PrepareFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure("can't make the folder " + folder + ": " + error.message());
    if (!std::filesystem::is_directory(folder, error))
        throw Failure(folder + " isn't a folder");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        throw Failure("can't write into " + folder + ": " + std::generic_category().message(errno));
}

} // namespace

PictureWriter::PictureWriter(const std::string& folder) : folder_(folder)
{
    PrepareFolder(folder);
    const unsigned number = std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    while (threads_.size() < number)
        threads_.emplace_back([this] { Run(); });
}

PictureWriter::~PictureWriter()
{
    StopThreads(false);
}

void PictureWriter::Write(std::uint64_t number, const RawImage& image)
{
    char name[40];
    std::snprintf(name, sizeof name, "/frame-%06llu.png", static_cast<unsigned long long>(number));
    Job job{folder_ + name, image, {image.data, image.data + image.size}};
    job.image.data = job.bytes.data();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] {
        return failure_ || heldBytes_ == 0 || heldBytes_ + image.size <= kMostHeldBytes;
    });
    if (failure_)
        std::rethrow_exception(failure_);
    heldBytes_ += image.size;
    jobs_.push_back(std::move(job));
    changed_.notify_all();
}

void PictureWriter::Finish()
{
    StopThreads(true);
    if (failure_)
        std::rethrow_exception(failure_);
}

void PictureWriter::StopThreads(bool isToFinish)
{
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        if (!isToFinish)
            jobs_.clear();
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
    threads_.clear();
}

void PictureWriter::Run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [&] { return isStopping_ || !jobs_.empty(); });
        if (jobs_.empty())
            return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        const std::size_t size = job.bytes.size();
        lock.unlock();
        Process(job);
        job = {};
        lock.lock();
        heldBytes_ -= size;
        changed_.notify_all();
    }
}

void PictureWriter::Process(const Job& job)
{
    try {
        WritePng(job.path, Convert(job.image));
    } catch (...) {
        const std::lock_guard lock(mutex_);
        if (!failure_)
            failure_ = std::current_exception();
        jobs_.clear();
    }
}

} // namespace zevo_tool
