// The producer's allocations, which come to this program's operator new.
#include <gtest/gtest.h>

#include "camera.h"
#include "support/allocations.h"

namespace
{

// What consumers do with each frame, failing questions among them.
void passFrame(Streaming& camera)
{
    const BUFFER_HANDLE buffer = camera.take();
    ASSERT_NE(buffer, nullptr);
    camera.info(buffer, BUFFER_INFO_FRAMEID);
    camera.data(buffer);
    INFO_DATATYPE type = 0;
    uint64_t value = 0;
    size_t size = sizeof value;
    EXPECT_RESULT(
        GC_ERR_NOT_IMPLEMENTED,
        DSGetBufferInfo(camera.stream, buffer, BUFFER_INFO_TIMESTAMP_NS, &type, &value, &size));
    camera.giveBack(buffer);
}

TEST(FramePath, CostsNoAllocationOnceItRuns)
{
    Streaming camera;
    const std::size_t beforeStart = test::Allocations::GetCount();
    camera.start(4);
    EXPECT_GT(test::Allocations::GetCount(), beforeStart) << "the producer has its own";
    passFrame(camera);
    const std::size_t before = test::Allocations::GetCount();
    for (int i = 0; i < 60; ++i)
        passFrame(camera);
    EXPECT_EQ(test::Allocations::GetCount(), before);
    camera.stop();
}

} // namespace
