// zevo-bench: measures the producer on the simulated board that it is started on, each figure
// against a baseline of the same run. docs/performance.md tells what the rows mean.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "copies.h"
#include "counter.h"
#include "sections.h"

using namespace zevo_bench;

namespace
{

constexpr Effort kQuick = {1, 640, 480, 2, 3, 8, 10};

int measureAll(const Effort& effort)
{
    Require(zevo_bench_capture_calls && zevo_bench_transfers,
            "start it with ./run bench, on a board with the counter preloaded");
    MeasureCopies(effort);
    const int missedTuned = MeasureCopiesTuned(effort);
    MeasureStartUp(effort);
    Camera camera;
    MeasureOpening(camera);
    camera.OpenStream();
    MeasureCalls(effort, camera);
    MeasureCapture(effort, camera);
    std::printf("\nzevo-bench: all measured, %d rows beyond their limits\n",
                missedTuned + MissedRows());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string option = argc > 1 ? argv[1] : "";
    const bool isQuick = argc > 1 && std::string(argv[argc - 1]) == "--quick";
    const Effort effort = isQuick ? kQuick : Effort{};
    if (isQuick)
        IgnoreLimits();
    if (option == "--copies") {
        MeasureCopies(effort);
        return MissedRows();
    }
    if (option == "--transfers" && zevo_bench_transfers)
        return ListTransfers();
    if (option == "--start-up")
        return ServeStartUp();
    if (option == "--resident" && argc == 3)
        return ServeResidentMemory(std::strtoul(argv[2], nullptr, 10));
    if (option.empty() || isQuick)
        return measureAll(effort);
    std::fprintf(stderr, "usage: zevo-bench [--quick | --transfers]\n");
    return 2;
}
