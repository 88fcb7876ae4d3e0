// The queues and the logic of the DS functions, over a low level that fills on request.
#include "modules/generic/default_stream.h"

#include <array>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "answer.h"

namespace GenTLProducer
{

namespace
{

constexpr std::size_t kPayload = 64;

class FakeStream final : public CDefaultStream
{
public:
    FakeStream()
        : CDefaultStream(boost::make_shared<CDefaultStaticStreamInfo>(
                             CDefaultStaticStreamInfo::Fields{"Stream0", "Custom", 5}),
                         0x10)
    {
    }

    int finished = 0; ///< frames that fill the oldest buffers at the next update
    int starts = 0;
    int stops = 0;
    GC_ERROR nextResult = GC_ERR_SUCCESS; ///< of the next call of the low level, once

private:
    GC_ERROR takeResult() { return std::exchange(nextResult, GC_ERR_SUCCESS); }

    void CreatePortInfo() override
    {
        SetPortInfo({CDefaultPortInfo::Endianness::Big, kStreamPortId, "TLDataStream", "StreamPort",
                     "Tolmen", "ZEVO", "2.0.0", "Custom", ""});
    }
    BufferPtr LowLevelCreateBuffer(std::size_t index) override
    {
        return boost::make_shared<CDefaultStreamBuffer>(index, GetHandle());
    }
    GC_ERROR LowLevelPrepareCapture() override { return takeResult(); }
    GC_ERROR LowLevelFlushToFill(QueueId destination) override
    {
        while (GetQueue(kToFill).head())
            GetQueue(destination).Append(*GetQueue(kToFill).head());
        return GC_ERR_SUCCESS;
    }
    GC_ERROR LowLevelUnprepare() override { return GC_ERR_SUCCESS; }
    GC_ERROR LowLevelStartCapture() override
    {
        ++starts;
        return takeResult();
    }
    GC_ERROR LowLevelStopCapture() override
    {
        ++stops;
        LowLevelFlushToFill(kInput);
        return takeResult();
    }
    GC_ERROR LowLevelRegisterBuffer(CDefaultStreamBuffer&) override { return takeResult(); }
    GC_ERROR LowLevelDeregisterBuffer(CDefaultStreamBuffer&) override { return takeResult(); }
    GC_ERROR LowLevelQueueBuffer(CDefaultStreamBuffer& buffer) override
    {
        GetQueue(kToFill).Append(buffer);
        return GC_ERR_SUCCESS;
    }
    PipeEvent* LowLevelGetWakePipe() override { return nullptr; }
    GC_ERROR LowLevelUpdateQueues() override
    {
        for (; finished > 0 && GetQueue(kToFill).head(); --finished) {
            BufferOf(*GetQueue(kToFill).head()).frame().newData = true;
            GetQueue(kOutput).Append(*GetQueue(kToFill).head());
        }
        while (GetQueue(kInput).head() && starts > stops)
            GetQueue(kToFill).Append(*GetQueue(kInput).head());
        return GC_ERR_SUCCESS;
    }
    std::size_t LowLevelGetPayloadSize() override { return kPayload; }
};

class DataStream : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(stream_->Open(), GC_ERR_SUCCESS); }
    void TearDown() override
    {
        stream_->Close();
        HandleRegistry::Destroy();
    }

    BUFFER_HANDLE announce(std::size_t index)
    {
        BUFFER_HANDLE handle = nullptr;
        EXPECT_EQ(
            stream_->AnnounceBuffer(memory_[index].data(), kPayload, &memory_[index], &handle),
            GC_ERR_SUCCESS);
        return handle;
    }

    BUFFER_HANDLE announceAndQueue(std::size_t index)
    {
        const BUFFER_HANDLE handle = announce(index);
        EXPECT_EQ(stream_->QueueBuffer(handle), GC_ERR_SUCCESS);
        return handle;
    }

    std::uint64_t info(std::int32_t command)
    {
        const auto [result, type, size, number] =
            answerOf([&](auto... to) { return stream_->GetInfo(command, to...); });
        EXPECT_EQ(result, GC_ERR_SUCCESS) << command;
        return number;
    }

    Answer bufferInfo(BUFFER_HANDLE buffer, std::int32_t command)
    {
        return answerOf([&](auto... to) { return stream_->GetBufferInfo(buffer, command, to...); });
    }

    bool bufferFlag(BUFFER_HANDLE buffer, std::int32_t command)
    {
        const auto [result, type, size, number] = bufferInfo(buffer, command);
        EXPECT_EQ(result, GC_ERR_SUCCESS) << command;
        return number != 0;
    }

    std::uint32_t readRegister(std::uint64_t address)
    {
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        EXPECT_EQ(stream_->ReadPort(address, &value, &size), GC_ERR_SUCCESS);
        return value;
    }

    void writeRegister(std::uint64_t address, std::uint32_t value)
    {
        std::size_t size = sizeof value;
        EXPECT_EQ(stream_->WritePort(address, &value, &size), GC_ERR_SUCCESS);
    }

    GC_ERROR take(BUFFER_HANDLE& buffer)
    {
        EVENT_NEW_BUFFER_DATA data{};
        std::size_t size = sizeof data;
        const GC_ERROR result = stream_->TakeNewBufferEvent(&data, &size);
        buffer = data.BufferHandle;
        return result;
    }

    // Counts of the queues: unqueued, queued (input and to-fill), output.
    void expectQueues(std::uint64_t unqueued, std::uint64_t queued, std::uint64_t output)
    {
        EXPECT_EQ(info(STREAM_INFO_NUM_QUEUED), queued);
        EXPECT_EQ(info(STREAM_INFO_NUM_AWAIT_DELIVERY), output);
        EXPECT_EQ(info(STREAM_INFO_NUM_ANNOUNCED), unqueued + queued + output);
    }

    boost::shared_ptr<FakeStream> stream_ = boost::make_shared<FakeStream>();
    std::array<std::array<std::uint8_t, kPayload>, 4> memory_{};
};

constexpr std::uint64_t kAnnounceAnytime = 0x134;

} // namespace

TEST_F(DataStream, AnnouncedBuffersAreCountedAndFoundInOrder)
{
    const BUFFER_HANDLE handles[] = {announce(0), announce(1), announce(2)};
    EXPECT_EQ(info(STREAM_INFO_NUM_ANNOUNCED), 3u);
    EXPECT_EQ(readRegister(0x104), 3u);
    for (std::uint32_t i = 0; i < 3; ++i) {
        BUFFER_HANDLE found = nullptr;
        EXPECT_EQ(stream_->GetBufferID(i, &found), GC_ERR_SUCCESS);
        EXPECT_EQ(found, handles[i]);
    }
    BUFFER_HANDLE none = nullptr;
    EXPECT_EQ(stream_->GetBufferID(3, &none), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(stream_->AnnounceBuffer(memory_[1].data(), 8, nullptr, &none), GC_ERR_RESOURCE_IN_USE)
        << "the same memory twice";
}

TEST_F(DataStream, ARefusedAnnouncementLeavesNothing)
{
    stream_->nextResult = GC_ERR_IO;
    BUFFER_HANDLE handle = &memory_;
    EXPECT_EQ(stream_->AnnounceBuffer(memory_[0].data(), kPayload, nullptr, &handle), GC_ERR_IO);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(info(STREAM_INFO_NUM_ANNOUNCED), 0u);
    announce(0);
    EXPECT_EQ(readRegister(0x104), 1u);
}

TEST_F(DataStream, RevokingGivesTheMemoryBackAndFreesTheSlot)
{
    const BUFFER_HANDLE user = announce(0);
    BUFFER_HANDLE owned = nullptr;
    EXPECT_EQ(stream_->AllocAndAnnounceBuffer(kPayload, this, &owned), GC_ERR_SUCCESS);
    void* buffer = nullptr;
    void* priv = nullptr;
    EXPECT_EQ(stream_->RevokeBuffer(user, &buffer, &priv), GC_ERR_SUCCESS);
    EXPECT_EQ(buffer, memory_[0].data());
    EXPECT_EQ(priv, &memory_[0]);
    buffer = this;
    EXPECT_EQ(stream_->RevokeBuffer(owned, &buffer, nullptr), GC_ERR_SUCCESS);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(bufferInfo(user, BUFFER_INFO_BASE), Answer(GC_ERR_INVALID_HANDLE, kUntouched, 8, 0));
    EXPECT_EQ(stream_->RevokeBuffer(user, nullptr, nullptr), GC_ERR_BUSY);
    EXPECT_EQ(stream_->QueueBuffer(user), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(stream_->QueueBuffer(ToOpaque(MakeBufferHandle(7))), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(announce(1), user) << "the slot is used again";
}

TEST_F(DataStream, AFreshBufferTellsItsDefaultsAndHidesWhatAFrameBrings)
{
    const BUFFER_HANDLE buffer = announce(0);
    for (const std::int32_t hidden :
         {BUFFER_INFO_TIMESTAMP, BUFFER_INFO_FRAMEID, BUFFER_INFO_DELIVERED_IMAGEHEIGHT,
          BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE})
        EXPECT_EQ(bufferInfo(buffer, hidden), Answer(GC_ERR_NOT_AVAILABLE, kUntouched, 8, 0));
    const struct {
        std::int32_t command;
        INFO_DATATYPE type;
        std::size_t size;
        std::uint64_t value;
    } kShown[] = {
        {BUFFER_INFO_WIDTH, INFO_DATATYPE_SIZET, 8, 1},
        {BUFFER_INFO_HEIGHT, INFO_DATATYPE_SIZET, 8, 1},
        {BUFFER_INFO_SIZE, INFO_DATATYPE_SIZET, 8, kPayload},
        {BUFFER_INFO_SIZE_FILLED, INFO_DATATYPE_SIZET, 8, 0},
        {BUFFER_INFO_IMAGEPRESENT, INFO_DATATYPE_BOOL8, 1, 1},
        {BUFFER_INFO_NEW_DATA, INFO_DATATYPE_BOOL8, 1, 0},
        {BUFFER_INFO_IS_INCOMPLETE, INFO_DATATYPE_BOOL8, 1, 0},
        {BUFFER_INFO_PIXELFORMAT, INFO_DATATYPE_UINT64, 8, 0},
    };
    for (const auto& row : kShown)
        EXPECT_EQ(bufferInfo(buffer, row.command),
                  Answer(GC_ERR_SUCCESS, row.type, row.size, row.value))
            << row.command;
    for (const std::int32_t unknown : {28, 29, 25, 31, 999, 1003})
        EXPECT_EQ(std::get<0>(bufferInfo(buffer, unknown)), GC_ERR_NOT_IMPLEMENTED) << unknown;
    std::uint32_t parts = 0;
    EXPECT_EQ(stream_->GetNumBufferParts(buffer, &parts), GC_ERR_NO_DATA);
}

TEST_F(DataStream, AFrameTravelsFromQueueToConsumer)
{
    const BUFFER_HANDLE buffer = announceAndQueue(0);
    EXPECT_TRUE(bufferFlag(buffer, BUFFER_INFO_IS_QUEUED));
    EXPECT_TRUE(bufferFlag(buffer, BUFFER_INFO_IS_ACQUIRING));
    ASSERT_EQ(stream_->StartAcquisition(0, GENTL_INFINITE), GC_ERR_SUCCESS);
    BUFFER_HANDLE taken = nullptr;
    EXPECT_EQ(take(taken), GC_ERR_NO_DATA);
    stream_->finished = 1;
    std::size_t size = 15;
    std::array<std::uint8_t, 16> data{};
    EXPECT_EQ(stream_->TakeNewBufferEvent(data.data(), &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_FALSE(bufferFlag(buffer, BUFFER_INFO_IS_ACQUIRING));
    EXPECT_TRUE(bufferFlag(buffer, BUFFER_INFO_IS_QUEUED)) << "still waiting for delivery";
    EXPECT_EQ(take(taken), GC_ERR_SUCCESS);
    EXPECT_EQ(taken, buffer);
    EXPECT_FALSE(bufferFlag(buffer, BUFFER_INFO_IS_QUEUED));
    EXPECT_EQ(info(STREAM_INFO_NUM_DELIVERED), 1u);
    EXPECT_EQ(stream_->RevokeBuffer(buffer, nullptr, nullptr), GC_ERR_SUCCESS);
}

TEST_F(DataStream, TheLastBufferOfAnAcquisitionStopsCapturingAndNotGrabbing)
{
    announceAndQueue(0);
    announceAndQueue(1);
    ASSERT_EQ(stream_->StartAcquisition(0, 1), GC_ERR_SUCCESS);
    stream_->finished = 1;
    stream_->nextResult = GC_ERR_IO; // of the stop
    BUFFER_HANDLE taken = nullptr;
    EXPECT_EQ(take(taken), GC_ERR_IO) << "the stop's code is the result";
    EXPECT_FALSE(bufferFlag(taken, BUFFER_INFO_IS_QUEUED)) << "and the buffer is delivered";
    EXPECT_EQ(stream_->stops, 1);
    EXPECT_EQ(info(STREAM_INFO_IS_GRABBING), 1u);
    EXPECT_EQ(stream_->StartAcquisition(0, 1), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(stream_->StopAcquisition(0), GC_ERR_SUCCESS);
    EXPECT_EQ(info(STREAM_INFO_IS_GRABBING), 0u);
}

TEST_F(DataStream, FlushesMoveWhatTheirNameSays)
{
    announceAndQueue(0); // finished below
    announceAndQueue(1);
    announce(2);
    stream_->finished = 1;
    expectQueues(1, 1, 1);
    EXPECT_EQ(stream_->FlushQueue(99), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(stream_->FlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
    expectQueues(0, 2, 1);
    EXPECT_EQ(stream_->FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
    expectQueues(1, 2, 0);
    EXPECT_EQ(stream_->FlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    expectQueues(1, 0, 2);
    EXPECT_EQ(stream_->FlushQueue(ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    expectQueues(0, 3, 0);
    EXPECT_EQ(stream_->FlushQueue(ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    expectQueues(3, 0, 0);
}

TEST_F(DataStream, StartAndStopCheckTheirStateInOrder)
{
    EXPECT_EQ(stream_->StopAcquisition(0), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(stream_->StartAcquisition(1, 0), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(stream_->StartAcquisition(1, 1), GC_ERR_INVALID_BUFFER);
    announce(0);
    EXPECT_EQ(stream_->StartAcquisition(1, 1), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(info(STREAM_INFO_IS_GRABBING), 0u);
    stream_->nextResult = GC_ERR_IO; // of the preparation
    EXPECT_EQ(stream_->StartAcquisition(0, 1), GC_ERR_IO);
    EXPECT_EQ(stream_->starts, 0);
    EXPECT_EQ(stream_->StartAcquisition(0, 1), GC_ERR_RESOURCE_IN_USE) << "grabbing until stopped";
    EXPECT_EQ(stream_->StopAcquisition(2), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(info(STREAM_INFO_IS_GRABBING), 1u);
    EXPECT_EQ(stream_->StopAcquisition(ACQ_STOP_FLAGS_KILL), GC_ERR_SUCCESS);
}

TEST_F(DataStream, AnnouncingWhileGrabbingAndStartingWithoutBuffersNeedTheirSwitch)
{
    writeRegister(kAnnounceAnytime, 7);
    EXPECT_EQ(readRegister(kAnnounceAnytime), 1u);
    EXPECT_EQ(stream_->StartAcquisition(0, 1), GC_ERR_SUCCESS);
    announce(0);
    writeRegister(kAnnounceAnytime, 0);
    BUFFER_HANDLE handle = nullptr;
    EXPECT_EQ(stream_->AnnounceBuffer(memory_[1].data(), kPayload, nullptr, &handle), GC_ERR_BUSY);
}

TEST_F(DataStream, TheEventWaitsOnTheOutputQueue)
{
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(stream_->RegisterEvent(EVENT_MODULE, &event), GC_ERR_NOT_IMPLEMENTED);
    ASSERT_EQ(stream_->RegisterEvent(EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    EXPECT_EQ(stream_->RegisterEvent(EVENT_NEW_BUFFER, &event), GC_ERR_RESOURCE_IN_USE);
    const auto object = HandleRegistry::Instance()->GetEvent(ToHandle(event));
    ASSERT_TRUE(object);
    announceAndQueue(0);
    stream_->finished = 1;
    EXPECT_EQ(info(STREAM_INFO_NUM_AWAIT_DELIVERY), 1u) << "moves it, which signals";
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    EXPECT_EQ(object->GetData(&data, &size, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(data.pUserPointer, &memory_[0]);
    EXPECT_EQ(object->GetData(&data, &size, 0), GC_ERR_TIMEOUT);
    EXPECT_EQ(stream_->UnregisterEvent(EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    EXPECT_EQ(stream_->UnregisterEvent(EVENT_NEW_BUFFER), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(object->GetData(&data, &size, 0), GC_ERR_NOT_INITIALIZED);
    EXPECT_FALSE(HandleRegistry::Instance()->GetEvent(ToHandle(event)));
}

TEST_F(DataStream, ClosedItRefusesEverything)
{
    const BUFFER_HANDLE buffer = announce(0);
    stream_->Close();
    BUFFER_HANDLE handle = nullptr;
    std::size_t size = 0;
    INFO_DATATYPE type = 0;
    for (const GC_ERROR result : {
             stream_->AnnounceBuffer(memory_[1].data(), 8, nullptr, &handle),
             stream_->QueueBuffer(buffer),
             stream_->FlushQueue(0),
             stream_->StartAcquisition(0, 1),
             stream_->GetInfo(STREAM_INFO_ID, &type, nullptr, &size),
             stream_->TakeNewBufferEvent(nullptr, &size),
             stream_->ReadPort(0, &size, &size),
         })
        EXPECT_EQ(result, GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(stream_->GetId(), "");
}

} // namespace GenTLProducer
