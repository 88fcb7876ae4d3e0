// What every function answers before anything is open, to null pointers and to handles that
// stand for nothing: the checks, their order, and what they leave as last error.
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "camera.h"

namespace
{

// What a consumer may hand over, in every combination that matters: a handle, and whether the
// pointers are set.
struct Arguments {
    void* handle;
    bool arePointersSet;

    template <typename T>
    T* pointer(T& target) const
    {
        return arePointersSet ? &target : nullptr;
    }
};

// The targets of out-parameters; shared by all calls, none of which may write to them.
uint32_t g_number = 77;
size_t g_size = 77;
INFO_DATATYPE g_type = 77;
void* g_handle = &g_number;
char g_text[64] = "untouched";
uint64_t g_word = 0;
SINGLE_CHUNK_DATA g_chunk{};

enum class Family { System, Interface, Device, Stream, Port, Stack, EventSource, Event };

struct Row {
    const char* name;
    Family family;
    bool hasPointers; ///< that are checked
    std::function<GC_ERROR(const Arguments&)> call;
};

#define CALL(name, ...)                                                                            \
    [](const Arguments& a) {                                                                       \
        void* const h = a.handle;                                                                  \
        return producer().name(__VA_ARGS__);                                                       \
    }
#define TYPE a.pointer(g_type)
#define SIZE a.pointer(g_size)
#define OUT static_cast<void*>(g_text)

void* const kBuffer = reinterpret_cast<void*>(0x16);

// clang-format off
const Row kRows[] = {
    {"TLClose", Family::System, false, CALL(TLClose, h)},
    {"TLGetInfo", Family::System, true, CALL(TLGetInfo, h, TL_INFO_ID, TYPE, OUT, SIZE)},
    {"TLUpdateInterfaceList", Family::System, false, CALL(TLUpdateInterfaceList, h, nullptr, 0)},
    {"TLGetNumInterfaces", Family::System, true, CALL(TLGetNumInterfaces, h, a.pointer(g_number))},
    {"TLGetInterfaceID", Family::System, true, CALL(TLGetInterfaceID, h, 0, g_text, SIZE)},
    {"TLGetInterfaceInfo", Family::System, true, CALL(TLGetInterfaceInfo, h, "x", 0, TYPE, OUT, SIZE)},
    {"TLOpenInterface", Family::System, true, CALL(TLOpenInterface, h, "x", a.pointer(g_handle))},
    {"IFClose", Family::Interface, false, CALL(IFClose, h)},
    {"IFGetInfo", Family::Interface, true, CALL(IFGetInfo, h, 0, TYPE, OUT, SIZE)},
    {"IFUpdateDeviceList", Family::Interface, false, CALL(IFUpdateDeviceList, h, nullptr, 0)},
    {"IFGetNumDevices", Family::Interface, true, CALL(IFGetNumDevices, h, a.pointer(g_number))},
    {"IFGetDeviceID", Family::Interface, true, CALL(IFGetDeviceID, h, 0, g_text, SIZE)},
    {"IFGetDeviceInfo", Family::Interface, true, CALL(IFGetDeviceInfo, h, "x", 0, TYPE, OUT, SIZE)},
    {"IFOpenDevice", Family::Interface, true, CALL(IFOpenDevice, h, "x", 4, a.pointer(g_handle))},
    {"IFGetParentTL", Family::Interface, true, CALL(IFGetParentTL, h, a.pointer(g_handle))},
    {"DevClose", Family::Device, false, CALL(DevClose, h)},
    {"DevGetInfo", Family::Device, true, CALL(DevGetInfo, h, 0, TYPE, OUT, SIZE)},
    {"DevGetNumDataStreams", Family::Device, true, CALL(DevGetNumDataStreams, h, a.pointer(g_number))},
    {"DevGetDataStreamID", Family::Device, true, CALL(DevGetDataStreamID, h, 0, g_text, SIZE)},
    {"DevGetPort", Family::Device, true, CALL(DevGetPort, h, a.pointer(g_handle))},
    {"DevOpenDataStream", Family::Device, true, CALL(DevOpenDataStream, h, "x", a.pointer(g_handle))},
    {"DevGetParentIF", Family::Device, true, CALL(DevGetParentIF, h, a.pointer(g_handle))},
    {"DSClose", Family::Stream, false, CALL(DSClose, h)},
    {"DSGetInfo", Family::Stream, true, CALL(DSGetInfo, h, 0, TYPE, OUT, SIZE)},
    {"DSAllocAndAnnounceBuffer", Family::Stream, true,
     CALL(DSAllocAndAnnounceBuffer, h, 8, nullptr, a.pointer(g_handle))},
    {"DSAnnounceBuffer", Family::Stream, true,
     CALL(DSAnnounceBuffer, h, OUT, 8, nullptr, a.pointer(g_handle))},
    {"DSFlushQueue", Family::Stream, false, CALL(DSFlushQueue, h, 0)},
    {"DSGetBufferID", Family::Stream, true, CALL(DSGetBufferID, h, 0, a.pointer(g_handle))},
    {"DSGetBufferInfo", Family::Stream, true, CALL(DSGetBufferInfo, h, kBuffer, 0, TYPE, OUT, SIZE)},
    {"DSQueueBuffer", Family::Stream, false, CALL(DSQueueBuffer, h, kBuffer)},
    {"DSRevokeBuffer", Family::Stream, false, CALL(DSRevokeBuffer, h, kBuffer, nullptr, nullptr)},
    {"DSStartAcquisition", Family::Stream, false, CALL(DSStartAcquisition, h, 0, 1)},
    {"DSStopAcquisition", Family::Stream, false, CALL(DSStopAcquisition, h, 0)},
    {"DSGetBufferChunkData", Family::Stream, true,
     CALL(DSGetBufferChunkData, h, kBuffer, &g_chunk, SIZE)},
    {"DSGetParentDev", Family::Stream, true, CALL(DSGetParentDev, h, a.pointer(g_handle))},
    {"DSGetNumBufferParts", Family::Stream, true,
     CALL(DSGetNumBufferParts, h, kBuffer, a.pointer(g_number))},
    {"DSGetBufferPartInfo", Family::Stream, true,
     CALL(DSGetBufferPartInfo, h, kBuffer, 0, 0, TYPE, OUT, SIZE)},
    {"GCGetPortInfo", Family::Port, true, CALL(GCGetPortInfo, h, 0, TYPE, OUT, SIZE)},
    {"GCGetPortURL", Family::Port, true, CALL(GCGetPortURL, h, g_text, SIZE)},
    {"GCGetNumPortURLs", Family::Port, true, CALL(GCGetNumPortURLs, h, a.pointer(g_number))},
    {"GCGetPortURLInfo", Family::Port, true, CALL(GCGetPortURLInfo, h, 0, 0, TYPE, OUT, SIZE)},
    {"GCReadPort", Family::Port, true, CALL(GCReadPort, h, 0, OUT, SIZE)},
    {"GCWritePort", Family::Port, true, CALL(GCWritePort, h, 0, OUT, SIZE)},
    {"GCWritePortStacked", Family::Stack, true, CALL(GCWritePortStacked, h, nullptr, SIZE)},
    {"GCRegisterEvent", Family::EventSource, true, CALL(GCRegisterEvent, h, 1, a.pointer(g_handle))},
    {"GCUnregisterEvent", Family::EventSource, false, CALL(GCUnregisterEvent, h, 1)},
    {"EventGetData", Family::Event, true, CALL(EventGetData, h, OUT, SIZE, 0)},
    {"EventGetInfo", Family::Event, true, CALL(EventGetInfo, h, 0, TYPE, OUT, SIZE)},
    {"EventGetDataInfo", Family::Event, true, CALL(EventGetDataInfo, h, &g_word, 8, 0, TYPE, OUT, SIZE)},
    {"EventFlush", Family::Event, false, CALL(EventFlush, h)},
    {"EventKill", Family::Event, false, CALL(EventKill, h)},
};
// clang-format on

void expectNothingWritten()
{
    EXPECT_EQ(g_number, 77u);
    EXPECT_EQ(g_size, 77u);
    EXPECT_EQ(g_type, 77);
    EXPECT_EQ(g_handle, &g_number);
    EXPECT_STREQ(g_text, "untouched");
}

// Which of TL functions tell with their own code that no system is open.
bool saysNotInitialised(const std::string& name)
{
    return name == "TLGetInfo" || name == "TLUpdateInterfaceList" || name == "TLGetNumInterfaces";
}

GC_ERROR expectedWithoutSystem(const Row& row, const Arguments& arguments)
{
    if (saysNotInitialised(row.name))
        return GC_ERR_NOT_INITIALIZED;
    // Port functions look at their pointers between the handle and the system.
    if (row.family == Family::Port && arguments.handle && !arguments.arePointersSet)
        return GC_ERR_INVALID_PARAMETER;
    return GC_ERR_INVALID_HANDLE;
}

GC_ERROR expectedForForged(const Row& row, const Arguments& arguments)
{
    if (std::string(row.name) == "TLGetInfo")
        return GC_ERR_INVALID_PARAMETER;
    if (row.family == Family::System)
        return GC_ERR_INVALID_HANDLE;
    if (row.family == Family::Stack) // its entries are null here
        return arguments.handle ? GC_ERR_INVALID_PARAMETER : GC_ERR_INVALID_HANDLE;
    if (row.family == Family::Port && !arguments.handle)
        return GC_ERR_INVALID_HANDLE;
    if (row.hasPointers && !arguments.arePointersSet && arguments.handle)
        return GC_ERR_INVALID_PARAMETER;
    return GC_ERR_INVALID_HANDLE;
}

} // namespace

TEST(Frame, BeforeInitialisationEveryFunctionSaysSoAndStoresNothing)
{
    for (const Row& row : kRows) {
        for (const Arguments& arguments : {Arguments{nullptr, false}, Arguments{g_text, true}})
            EXPECT_EQ(row.call(arguments), GC_ERR_NOT_INITIALIZED) << row.name;
    }
    GC_ERROR code = 0;
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED, GCGetLastError(&code, nullptr, &g_size));
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED, GCGetInfo(0, &g_type, nullptr, &g_size));
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED, TLOpen(&g_handle));
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED, GCCloseLib());
    expectNothingWritten();
    std::thread([] {
        producer().GCInitLib();
        // Only the very first initialisation of the process stores anything for its thread.
        EXPECT_EQ(lastError(), "0 No Error");
        EXPECT_OK(GCCloseLib());
    }).join();
}

TEST(Frame, WithoutASystemHandlesAreInvalid)
{
    ASSERT_OK(GCInitLib());
    for (const Row& row : kRows) {
        for (const Arguments& arguments :
             {Arguments{nullptr, false}, Arguments{g_text, false}, Arguments{g_text, true}}) {
            const GC_ERROR expected = expectedWithoutSystem(row, arguments);
            EXPECT_EQ(row.call(arguments), expected) << row.name;
            EXPECT_EQ(lastError().substr(0, 5), std::to_string(expected)) << row.name;
        }
    }
    expectNothingWritten();
    EXPECT_OK(GCCloseLib());
}

// Forged: unaligned pointers, numbers near real ones, negative ones, and handles of the wrong
// kind.
TEST(Frame, ForgedHandlesReachNothing)
{
    const OpenSystem open;
    char* const system = static_cast<char*>(open.system);
    void* const kHandles[] = {nullptr,
                              &g_chunk,
                              system + 1,
                              system + 3,
                              system + 16,
                              system - 16,
                              reinterpret_cast<void*>(~uintptr_t{0} << 4)};
    for (void* const handle : kHandles) {
        for (const bool arePointersSet : {false, true}) {
            for (const Row& row : kRows) {
                const Arguments arguments{handle, arePointersSet};
                const GC_ERROR expected = expectedForForged(row, arguments);
                EXPECT_EQ(row.call(arguments), expected)
                    << row.name << " with " << handle << ", pointers " << arePointersSet;
                EXPECT_EQ(lastError().substr(0, 5), std::to_string(expected)) << row.name;
            }
        }
    }
    expectNothingWritten();
}

TEST(Frame, BufferHandlesHaveNoPortAndNoEvents)
{
    const OpenSystem open;
    for (const Row& row : kRows) {
        if (row.family != Family::Port && row.family != Family::EventSource)
            continue;
        EXPECT_EQ(row.call({kBuffer, true}), GC_ERR_NOT_IMPLEMENTED) << row.name;
        EXPECT_EQ(lastError(), "-1003 Requested operation is not implemented") << row.name;
    }
    PORT_REGISTER_STACK_ENTRY entry{};
    size_t count = 1;
    EXPECT_RESULT(GC_ERR_NOT_IMPLEMENTED, GCReadPortStacked(kBuffer, &entry, &count));
    EXPECT_EQ(count, 0u);
    expectNothingWritten();
}

TEST(Frame, InitialisationIsNotCounted)
{
    ASSERT_OK(GCInitLib());
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, GCInitLib());
    EXPECT_EQ(lastError(), "-1004 Requested resource is already in use");
    EXPECT_OK(GCCloseLib());
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED, GCCloseLib());
    ASSERT_OK(GCInitLib());
    EXPECT_EQ(lastError(), "0 No Error") << "closing drops the thread's record";
    EXPECT_OK(GCCloseLib());
}

TEST(Frame, LastErrorIsCutToTheRoomThatThereIs)
{
    ASSERT_OK(GCInitLib());
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, GCInitLib());
    const size_t full = sizeof "Requested resource is already in use";
    GC_ERROR code = 0;
    size_t size = 0;
    EXPECT_OK(GCGetLastError(&code, nullptr, &size));
    EXPECT_EQ(size, full);
    char text[64] = "#########";
    size = 4;
    EXPECT_RESULT(GC_ERR_BUFFER_TOO_SMALL, GCGetLastError(&code, text, &size));
    EXPECT_EQ(code, GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(size, full);
    EXPECT_STREQ(text, "Req");
    EXPECT_EQ(text[4], '#');
    size = 0;
    text[0] = '#';
    EXPECT_RESULT(GC_ERR_BUFFER_TOO_SMALL, GCGetLastError(&code, text, &size));
    EXPECT_EQ(text[0], '#');
    auto* const allOnes = reinterpret_cast<size_t*>(~uintptr_t{0});
    EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, GCGetLastError(&code, text, allOnes));
    EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, GCGetLastError(nullptr, text, &size));
    EXPECT_EQ(lastError().substr(0, 5), "-1004") << "asking doesn't change the record";
    EXPECT_OK(GCCloseLib());
}

TEST(Frame, TheProducerTellsWhatItIs)
{
    ASSERT_OK(GCInitLib());
    const std::pair<TL_INFO_CMD, std::string> kTexts[] = {
        {TL_INFO_ID, "GenTLProducerZEVO.cti"},
        {TL_INFO_VENDOR, "Tolmen"},
        {TL_INFO_MODEL, "zvK1800-45tqr"},
        {TL_INFO_VERSION, "2.0.0"},
        {TL_INFO_TLTYPE, "Custom"},
        {TL_INFO_NAME, "GenTLProducerZEVO.cti"},
        {TL_INFO_PATHNAME, producerPath()},
        {TL_INFO_DISPLAYNAME, "Tolmen ZEVO GenTL Producer"},
    };
    INFO_DATATYPE type = 0;
    for (const auto& [command, expected] : kTexts) {
        char text[1024] = {};
        size_t size = sizeof text;
        EXPECT_OK(GCGetInfo(command, &type, text, &size));
        EXPECT_EQ(type, INFO_DATATYPE_STRING);
        EXPECT_EQ(text, expected);
    }
    const TL_INFO_CMD kNumbers[][2] = {
        {TL_INFO_CHAR_ENCODING, 1}, {TL_INFO_GENTL_VER_MAJOR, 1}, {TL_INFO_GENTL_VER_MINOR, 5}};
    for (const auto& row : kNumbers) {
        uint32_t number = 0;
        size_t size = sizeof number;
        EXPECT_OK(GCGetInfo(row[0], &type, &number, &size));
        EXPECT_EQ(number, static_cast<uint32_t>(row[1]));
    }
    EXPECT_OK(GCCloseLib());
}
