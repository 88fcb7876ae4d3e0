#include <array>
#include <cstring>
#include <thread>
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "answer.h"
#include "modules/generic/event_new_buffer.h"
#include "modules/generic/event_nodemap_delivered.h"
#include "modules/generic/handle_registry.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kMarker = 0x84F29E31;

class DeviceEvent : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(event_->OpenEvent(), GC_ERR_SUCCESS); }
    void TearDown() override
    {
        event_->Close();
        HandleRegistry::Destroy();
    }

    GC_ERROR take(std::uint64_t timeoutMs = 0)
    {
        size_ = sizeof record_;
        return event_->GetData(record_, &size_, timeoutMs);
    }

    void push(std::uint32_t value) { event_->Push(0x1234, &value, sizeof value); }

    std::size_t numberOf(std::int32_t command)
    {
        const auto [result, type, size, number] =
            answerOf([&](auto... to) { return event_->GetInfo(command, to...); });
        EXPECT_EQ(result, GC_ERR_SUCCESS);
        return number;
    }

    boost::shared_ptr<CNodemapDeliveredEvent> event_ =
        boost::make_shared<CNodemapDeliveredEvent>(4);
    std::uint32_t record_[4] = {};
    std::size_t size_ = 0;
};

} // namespace

TEST_F(DeviceEvent, DeliversRecordsInOrderAndWaitsWhenThereAreNone)
{
    EXPECT_EQ(take(), GC_ERR_TIMEOUT);
    push(1);
    push(2);
    EXPECT_EQ(numberOf(EVENT_NUM_IN_QUEUE), 2u);
    ASSERT_EQ(take(), GC_ERR_SUCCESS);
    EXPECT_EQ(size_, 12u);
    EXPECT_EQ(record_[0], kMarker);
    EXPECT_EQ(record_[1], 0x1234u);
    EXPECT_EQ(record_[2], 1u);
    ASSERT_EQ(take(GENTL_INFINITE), GC_ERR_SUCCESS);
    EXPECT_EQ(record_[2], 2u);
    EXPECT_EQ(take(), GC_ERR_TIMEOUT);
    EXPECT_EQ(numberOf(EVENT_NUM_FIRED), 4u) << "counted when pushed and when delivered";
}

TEST_F(DeviceEvent, AskingForTheSizeOrWithTooLittleRoomLeavesTheRecord)
{
    push(7);
    std::size_t size = 0;
    EXPECT_EQ(event_->GetData(nullptr, &size, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(size, 12u);
    size = 11;
    EXPECT_EQ(event_->GetData(record_, &size, 0), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(numberOf(EVENT_NUM_IN_QUEUE), 1u);
    EXPECT_EQ(take(), GC_ERR_SUCCESS);
    const std::uint64_t large = 1;
    event_->Push(1, &large, sizeof large);
    EXPECT_EQ(take(), GC_ERR_TIMEOUT) << "a payload above the largest is dropped";
}

TEST_F(DeviceEvent, EachKillAbortsOneWaitAheadOfData)
{
    push(1);
    event_->Kill();
    event_->Kill();
    EXPECT_EQ(take(), GC_ERR_ABORT);
    EXPECT_EQ(take(), GC_ERR_ABORT);
    EXPECT_EQ(take(), GC_ERR_SUCCESS);
    EXPECT_EQ(take(), GC_ERR_TIMEOUT);
}

TEST_F(DeviceEvent, FlushForgetsRecordsAndTheirWakeUp)
{
    push(1);
    EXPECT_EQ(event_->Flush(), GC_ERR_SUCCESS);
    EXPECT_EQ(take(), GC_ERR_TIMEOUT);
    EXPECT_EQ(numberOf(EVENT_NUM_IN_QUEUE), 0u);
}

// A waiting thread, a second one in the queue behind it, and a close: both come back, also the
// one that begins to wait in the middle of the close.
TEST_F(DeviceEvent, ClosingSendsWaitingThreadsHome)
{
    for (int round = 0; round < 500; ++round) {
        const auto event = boost::make_shared<CNodemapDeliveredEvent>(4);
        ASSERT_EQ(event->OpenEvent(), GC_ERR_SUCCESS);
        std::array<GC_ERROR, 3> results{};
        std::vector<std::thread> threads;
        for (GC_ERROR& result : results) {
            threads.emplace_back([&] {
                std::uint32_t record[4];
                std::size_t size = sizeof record;
                result = event->GetData(record, &size, GENTL_INFINITE);
            });
        }
        event->Close();
        for (std::thread& thread : threads)
            thread.join();
        for (const GC_ERROR result : results)
            EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_NOT_INITIALIZED) << result;
    }
}

TEST_F(DeviceEvent, ClosedItRefusesEverything)
{
    event_->Close();
    EXPECT_EQ(take(), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(event_->Kill(), GC_ERR_NOT_INITIALIZED);
}

TEST_F(DeviceEvent, DataInfoReadsTheRecordThatTheConsumerHolds)
{
    const std::uint32_t record[] = {kMarker, 0x1234, 1};
    const std::uint32_t wrong[] = {1, 0x1234, 1};
    const struct {
        const std::uint32_t* record;
        std::size_t length;
        std::int32_t command;
        std::size_t room;
        Answer answer;
    } kCases[] = {
        {record, 12, EVENT_DATA_ID, 8, {GC_ERR_SUCCESS, INFO_DATATYPE_INT32, 4, 0x1234}},
        {record, 12, EVENT_DATA_NUMID, 8, {GC_ERR_SUCCESS, INFO_DATATYPE_UINT64, 8, 0x1234}},
        {record, 12, EVENT_DATA_VALUE, 8, {GC_ERR_SUCCESS, INFO_DATATYPE_BUFFER, 4, 1}},
        {record, 12, EVENT_DATA_VALUE, 3, {GC_ERR_BUFFER_TOO_SMALL, INFO_DATATYPE_BUFFER, 3, 0}},
        {record, 8, EVENT_DATA_VALUE, 0, {GC_ERR_SUCCESS, INFO_DATATYPE_BUFFER, 0, 0}},
        {wrong, 12, EVENT_DATA_ID, 8, {GC_ERR_INVALID_BUFFER, kUntouched, 8, 0}},
        {record, 4, EVENT_DATA_ID, 8, {GC_ERR_INVALID_PARAMETER, kUntouched, 8, 0}},
        {record, 12, 99, 8, {GC_ERR_NOT_IMPLEMENTED, INFO_DATATYPE_UNKNOWN, 0, 0}},
    };
    for (const auto& row : kCases) {
        const auto ask = [&](auto... to) {
            return event_->GetDataInfo(row.record, row.length, row.command, to...);
        };
        EXPECT_EQ(answerOf(ask, row.room), row.answer) << &row - kCases;
    }
}

TEST(NewBufferEvent, WithoutAStreamItSaysSo)
{
    CEventNewBuffer event;
    const auto pipe = PipeEvent::Create();
    PipeEvent* const pipes[] = {pipe.get()};
    ASSERT_EQ(event.Attach({}, pipes), GC_ERR_SUCCESS);
    pipe->Signal();
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    EXPECT_EQ(event.GetData(&data, &size, 0), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(event.Flush(), GC_ERR_NOT_INITIALIZED);
    const auto ask = [&](auto... to) { return event.GetInfo(EVENT_SIZE_MAX, to...); };
    EXPECT_EQ(answerOf(ask), Answer(GC_ERR_NOT_INITIALIZED, kUntouched, 8, 0));
}

TEST(NewBufferEvent, AGapInThePipesRefusesTheRegistration)
{
    CEventNewBuffer event;
    PipeEvent* const gap[] = {nullptr};
    EXPECT_EQ(event.Attach({}, gap), GC_ERR_ERROR);
    std::size_t size = 0;
    EXPECT_EQ(event.GetData(nullptr, &size, 0), GC_ERR_NOT_INITIALIZED);
}

TEST(NewBufferEvent, DataInfoNeedsBothWordsForTheSecond)
{
    CEventNewBuffer event;
    const EVENT_NEW_BUFFER_DATA data{reinterpret_cast<void*>(0x16), reinterpret_cast<void*>(0x17)};
    const struct {
        std::size_t length;
        std::int32_t command;
        Answer answer;
    } kCases[] = {
        {7, EVENT_DATA_ID, {GC_ERR_INVALID_PARAMETER, kUntouched, 8, 0}},
        {8, EVENT_DATA_ID, {GC_ERR_SUCCESS, INFO_DATATYPE_PTR, 8, 0x16}},
        {15, EVENT_DATA_VALUE, {GC_ERR_INVALID_PARAMETER, kUntouched, 8, 0}},
        {16, EVENT_DATA_VALUE, {GC_ERR_SUCCESS, INFO_DATATYPE_PTR, 8, 0x17}},
    };
    for (const auto& row : kCases) {
        const auto ask = [&](auto... to) {
            return event.GetDataInfo(&data, row.length, row.command, to...);
        };
        EXPECT_EQ(answerOf(ask), row.answer) << row.length;
    }
}

} // namespace GenTLProducer
