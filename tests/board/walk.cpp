#include "walk.h"

#include <algorithm>

#include "support/allocations.h"

std::string Walk::operator()()
{
    const test::Allocations::Exemption ours;
    travel();
    return failure_;
}

bool Walk::make(const char* name, const std::function<GC_ERROR()>& call)
{
    // What the producer allocates counts, what this program does is none of its business.
    const GC_ERROR result = [&] {
        const test::Allocations::Counted counted;
        return call();
    }();
    if (result == GC_ERR_SUCCESS)
        return true;
    const std::string error = lastError();
    EXPECT_TRUE((result <= -1001 && result >= -1022) || result == -10001) << name << result;
    EXPECT_GT(error.size(), 6u) << name;
    if (failure_.empty())
        failure_ = std::string(name) + ": " + std::to_string(result) + ", " + error;
    return false;
}

void Walk::takeFrames()
{
    for (uint64_t i = 0; i < kFrames; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        if (!MAKE(EventGetData, (event_, &data, &size, timeoutMs_)))
            return;
        ++frames_;
        look(data.BufferHandle);
        MAKE(DSQueueBuffer, (stream_, data.BufferHandle));
    }
}

void Walk::look(BUFFER_HANDLE buffer)
{
    bool8_t isIncomplete = 0;
    uint64_t id = 0;
    size_t size = sizeof isIncomplete;
    INFO_DATATYPE type = 0;
    MAKE(DSGetBufferInfo,
         (stream_, buffer, BUFFER_INFO_IS_INCOMPLETE, &type, &isIncomplete, &size));
    if (isIncomplete) {
        ++incomplete_;
        return;
    }
    size = sizeof id;
    MAKE(DSGetBufferInfo, (stream_, buffer, BUFFER_INFO_FRAMEID, &type, &id, &size));
    lastId_ = std::max(lastId_, id);
}
