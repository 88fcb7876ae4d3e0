#include "board_host.h"

#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "data/camera_data.h"

namespace fuzz
{

namespace
{

using zevo_sim::PathKind;

constexpr int kErrors[] = {EIO, ENODEV, EINVAL, EBUSY, ENOMEM, ENOTTY, EAGAIN, EREMOTEIO};

zevo_sim::BoardOptions optionsFrom(Bytes& input)
{
    zevo_sim::BoardOptions options;
    options.board = input.pick(zevo_sim::Boards()).name;
    const std::uint8_t departures = input.byte();
    if ((departures & 1) != 0)
        options.cameras = 2;
    if ((departures & 2) != 0)
        options.form = zevo_sim::RequestForm::Controls;
    if ((departures & 4) != 0)
        options.isMultiPlanar = (departures & 8) != 0;
    return options;
}

} // namespace

BoardHost::BoardHost(Bytes& input)
    : board_(std::make_unique<zevo_sim::Board>(optionsFrom(input), mcm::firmwareImage(),
                                               zevo_sim::Pace::Manual))
{
    const unsigned count = input.byte() % 4;
    for (unsigned i = 0; i < count; ++i) {
        Fault fault{};
        const unsigned number = input.take<std::uint16_t>() % 4096;
        fault.error = input.isOneIn(2) ? input.pick(kErrors) : 0;
        fault.place = input.byte();
        fault.change = input.byte();
        faults_[number] = fault;
    }
}

void BoardHost::pushFrame()
{
    for (std::size_t i = 0; i < board_->CameraCount(); ++i)
        board_->GetCaptureNode(i).FrameTime();
}

void BoardHost::requireAllReleased() const
{
    if (!board_->HasOpenFiles() && mappings_ == 0)
        return;
    std::fprintf(stderr, "fuzz: a descriptor or mapping is left\n");
    std::abort();
}

long BoardHost::open(const char* path, int flags)
{
    return zevo_sim::IsBoardPath(path) ? board_->Open(path, flags) : kForeign;
}

long BoardHost::close(int fd)
{
    return board_->Owns(fd) ? board_->Close(fd) : kForeign;
}

long BoardHost::ioctl(int fd, unsigned long request, void* argument)
{
    if (!board_->Owns(fd))
        return kForeign;
    const auto fault = faults_.find(++ioctls_);
    if (fault != faults_.end() && fault->second.error != 0)
        return -fault->second.error;
    const long result = board_->Ioctl(fd, request, argument);
    if (fault != faults_.end() && result == 0 && (_IOC_DIR(request) & _IOC_READ) != 0)
        static_cast<std::uint8_t*>(argument)[fault->second.place % _IOC_SIZE(request)] ^=
            fault->second.change;
    return result;
}

long BoardHost::map(int fd, std::size_t length, int protection, int flags, off_t offset)
{
    if (!board_->Owns(fd))
        return kForeign;
    const long result = board_->Map(fd, nullptr, length, protection, flags, offset);
    if (result >= 0 || result < -4095)
        ++mappings_;
    return result;
}

long BoardHost::unmap(void* address, std::size_t length)
{
    const long result = zevo_sim::sys::Unmap(address, length);
    board_->Unmapped(address, length);
    --mappings_;
    return result;
}

long BoardHost::stat(const char* path, struct stat& status)
{
    if (!zevo_sim::IsBoardPath(path))
        return kForeign;
    return board_->Describe(path, status) ? 0 : -ENOENT;
}

std::optional<std::string> BoardHost::file(const std::string& path)
{
    if (board_->Kind(path) != PathKind::File)
        return std::nullopt;
    const zevo_sim::Descriptor file(board_->Open(path, O_RDONLY));
    std::string content(4096, '\0');
    const long size = zevo_sim::sys::Call(SYS_read, file.Get(), content.data(), content.size());
    content.resize(static_cast<std::size_t>(std::max(size, 0L)));
    return content;
}

std::vector<std::string> BoardHost::matches(const char* pattern)
{
    std::vector<std::string> paths = board_->Paths();
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [&](const std::string& path) {
                                   return ::fnmatch(pattern, path.c_str(), FNM_PATHNAME) != 0;
                               }),
                paths.end());
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace fuzz
