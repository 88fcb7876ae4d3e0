#include <algorithm>
#include <cstdio>

#include "counter.h"
#include "sections.h"

namespace zevo_bench
{

namespace
{

constexpr std::size_t kFirmwareSize = 76144;

// Opens the device and gives the transfers of that.
std::vector<BusTransfer> openDevice(Camera& camera)
{
    const std::size_t before = ReadTransfers().size();
    camera.OpenDevice();
    const std::vector<BusTransfer> all = ReadTransfers();
    return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
}

} // namespace

int ListTransfers()
{
    Camera camera;
    for (const BusTransfer& transfer : openDevice(camera))
        std::printf("%s 0x%04x %u\n", transfer.isWrite ? "write" : "read ", transfer.address,
                    transfer.size);
    return 0;
}

void MeasureOpening(Camera& camera)
{
    const std::vector<BusTransfer> transfers = openDevice(camera);
    std::size_t reads = 0;
    std::size_t bytes = 0;
    std::size_t longest = 0;
    for (const BusTransfer& transfer : transfers) {
        reads += transfer.isWrite ? 0 : 1;
        bytes += transfer.size;
        if (transfer.isWrite)
            longest = std::max<std::size_t>(longest, transfer.size);
    }
    // The upload is what goes in transfers as long as the link's, and its remainders.
    const auto upload = static_cast<std::size_t>(
        std::count_if(transfers.begin(), transfers.end(), [&](const BusTransfer& transfer) {
            return transfer.isWrite && transfer.size == longest;
        }));
    Title("IFOpenDevice");
    Row("register transfers", static_cast<double>(transfers.size()));
    Row("  of these reads", static_cast<double>(reads));
    Row("bytes", static_cast<double>(bytes), Limit::None, 0, "bytes");
    Row("longest write", static_cast<double>(longest), Limit::None, 0, "bytes");
    Row("firmware in writes of that length", static_cast<double>(upload * longest) / kFirmwareSize,
        Limit::AtLeast, 0.95);
}

} // namespace zevo_bench
