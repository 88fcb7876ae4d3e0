// Writes one line of each kind and level, with arguments that count how often they are built.
#include <cstdio>
#include <string>

#include "trace/camera_log.h"
#include "trace/gentl_trace.h"
#include "trace/v4lx_trace.h"

namespace
{

int g_evaluated = 0;

int count(int value)
{
    ++g_evaluated;
    return value;
}

} // namespace

int main()
{
    using namespace GenTLProducer;

    GENTL_TRACE(kTraceResults, 1, "gentl results %d", count(1));
    GENTL_TRACE(kTraceCalls, 3, "gentl entry %d", count(1));
    GENTL_TRACE(kTraceCalls, 4, "gentl exit %d", count(1));
    GENTL_TRACE(kTraceCalls, 6, "%s", std::string(600, 'x').c_str());
    V4LX_TRACE(V4lX::kTraceError, "v4lx error %d", count(2));
    V4LX_TRACE(V4lX::kTraceWarning, "v4lx warning %d", count(2));
    V4LX_TRACE(V4lX::kTraceNotice, "v4lx notice %d", count(2));
    V4LX_TRACE(V4lX::kTraceDetail, "%s", std::string(600, 'y').c_str());
    MCM_LOG(kLogError, kLogAlways) << "mcm " << count(3) << '\n';
    MCM_LOG(kLogWarning, kLogAlways) << "mcm " << count(4) << '\n';
    MCM_LOG(kLogNotice, kLogAlways) << "mcm " << count(5) << '\n';
    MCM_LOG(kLogInfo, kLogBoot) << "mcm " << count(6) << ' ' << 26000 << '\n';
    MCM_LOG(kLogDebug, kLogModule) << "mcm " << count(7) << '\n';
    mcm::McmLog(mcm::kLogError, mcm::kLogAlways, "ERROR: printf %d\n", 8);
    mcm::McmLog(mcm::kLogDebug, mcm::kLogMapping, "DEBUG: printf %d\n", 9);
    std::printf("%d\n", g_evaluated);
    return 0;
}
