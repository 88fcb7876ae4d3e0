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

#define ROW(family, hasPointers, name, ...)                                                        \
    {                                                                                              \
#name, Family::family, hasPointers, [](const Arguments& a) {                                  \
         void* const h = a.handle;                                                                 \
         return producer().name(__VA_ARGS__);                                                      \
     }    \
    }
#define TYPE a.pointer(g_type)
#define SIZE a.pointer(g_size)
#define NUMBER a.pointer(g_number)
#define HANDLE a.pointer(g_handle)
#define OUT static_cast<void*>(g_text)

void* const kBuffer = reinterpret_cast<void*>(0x16);

// clang-format off
const Row kRows[] = {
    ROW(System, false, TLClose, h),
    ROW(System, true, TLGetInfo, h, TL_INFO_ID, TYPE, OUT, SIZE),
    ROW(System, false, TLUpdateInterfaceList, h, nullptr, 0),
    ROW(System, true, TLGetNumInterfaces, h, NUMBER),
    ROW(System, true, TLGetInterfaceID, h, 0, g_text, SIZE),
    ROW(System, true, TLGetInterfaceInfo, h, "x", 0, TYPE, OUT, SIZE),
    ROW(System, true, TLOpenInterface, h, "x", HANDLE),
    ROW(Interface, false, IFClose, h),
    ROW(Interface, true, IFGetInfo, h, 0, TYPE, OUT, SIZE),
    ROW(Interface, false, IFUpdateDeviceList, h, nullptr, 0),
    ROW(Interface, true, IFGetNumDevices, h, NUMBER),
    ROW(Interface, true, IFGetDeviceID, h, 0, g_text, SIZE),
    ROW(Interface, true, IFGetDeviceInfo, h, "x", 0, TYPE, OUT, SIZE),
    ROW(Interface, true, IFOpenDevice, h, "x", 4, HANDLE),
    ROW(Interface, true, IFGetParentTL, h, HANDLE),
    ROW(Device, false, DevClose, h),
    ROW(Device, true, DevGetInfo, h, 0, TYPE, OUT, SIZE),
    ROW(Device, true, DevGetNumDataStreams, h, NUMBER),
    ROW(Device, true, DevGetDataStreamID, h, 0, g_text, SIZE),
    ROW(Device, true, DevGetPort, h, HANDLE),
    ROW(Device, true, DevOpenDataStream, h, "x", HANDLE),
    ROW(Device, true, DevGetParentIF, h, HANDLE),
    ROW(Stream, false, DSClose, h),
    ROW(Stream, true, DSGetInfo, h, 0, TYPE, OUT, SIZE),
    ROW(Stream, true, DSAllocAndAnnounceBuffer, h, 8, nullptr, HANDLE),
    ROW(Stream, true, DSAnnounceBuffer, h, OUT, 8, nullptr, HANDLE),
    ROW(Stream, false, DSFlushQueue, h, 0),
    ROW(Stream, true, DSGetBufferID, h, 0, HANDLE),
    ROW(Stream, true, DSGetBufferInfo, h, kBuffer, 0, TYPE, OUT, SIZE),
    ROW(Stream, false, DSQueueBuffer, h, kBuffer),
    ROW(Stream, false, DSRevokeBuffer, h, kBuffer, nullptr, nullptr),
    ROW(Stream, false, DSStartAcquisition, h, 0, 1),
    ROW(Stream, false, DSStopAcquisition, h, 0),
    ROW(Stream, true, DSGetBufferChunkData, h, kBuffer, &g_chunk, SIZE),
    ROW(Stream, true, DSGetParentDev, h, HANDLE),
    ROW(Stream, true, DSGetNumBufferParts, h, kBuffer, NUMBER),
    ROW(Stream, true, DSGetBufferPartInfo, h, kBuffer, 0, 0, TYPE, OUT, SIZE),
    ROW(Port, true, GCGetPortInfo, h, 0, TYPE, OUT, SIZE),
    ROW(Port, true, GCGetPortURL, h, g_text, SIZE),
    ROW(Port, true, GCGetNumPortURLs, h, NUMBER),
    ROW(Port, true, GCGetPortURLInfo, h, 0, 0, TYPE, OUT, SIZE),
    ROW(Port, true, GCReadPort, h, 0, OUT, SIZE),
    ROW(Port, true, GCWritePort, h, 0, OUT, SIZE),
    ROW(Stack, true, GCWritePortStacked, h, nullptr, SIZE),
    ROW(EventSource, true, GCRegisterEvent, h, 1, HANDLE),
    ROW(EventSource, false, GCUnregisterEvent, h, 1),
    ROW(Event, true, EventGetData, h, OUT, SIZE, 0),
    ROW(Event, true, EventGetInfo, h, 0, TYPE, OUT, SIZE),
    ROW(Event, true, EventGetDataInfo, h, &g_word, 8, 0, TYPE, OUT, SIZE),
    ROW(Event, false, EventFlush, h),
    ROW(Event, false, EventKill, h),
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
