#include "counter.h"

#include "report.h"

namespace zevo_bench
{

CaptureCalls ReadCaptureCalls()
{
    CaptureCalls calls{};
    zevo_bench_capture_calls(&calls);
    return calls;
}

std::vector<BusTransfer> ReadTransfers()
{
    std::vector<BusTransfer> transfers(zevo_bench_transfers(nullptr, 0));
    zevo_bench_transfers(transfers.data(), transfers.size());
    return transfers;
}

} // namespace zevo_bench
