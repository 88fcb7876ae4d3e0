#include "bus/operation_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "fake_node.h"
#include "memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;

constexpr int kFd = 77;
constexpr unsigned long kGet = VIDIOC_G_EXT_CTRLS;
constexpr unsigned long kSet = VIDIOC_S_EXT_CTRLS;

/// The one control of a request, after a check that all the rest of the request is as it must be.
v4l2_ext_control& controlOf(void* argument)
{
    auto* controls = static_cast<v4l2_ext_controls*>(argument);
    EXPECT_EQ(controls->which, 0U);
    EXPECT_EQ(controls->count, 1U);
    EXPECT_EQ(controls->error_idx, 0U);
    EXPECT_EQ(controls->request_fd, 0);
    EXPECT_EQ(controls->reserved[0], 0U);
    EXPECT_EQ(controls->controls->reserved2[0], 0U);
    return *controls->controls;
}

tolmen_register_transfer& transferOf(unsigned long request, void* argument)
{
    if (request != kGet && request != kSet)
        return *static_cast<tolmen_register_transfer*>(argument);
    v4l2_ext_control& control = controlOf(argument);
    EXPECT_EQ(control.id, 0x00981002U);
    EXPECT_EQ(control.size, 262U);
    return *static_cast<tolmen_register_transfer*>(control.ptr);
}

/// Both request forms, for what they have in common.
struct Form {
    const char* name;
    OperationTable table;
    unsigned long version, device, csi;
    std::vector<unsigned long> read, write;
    const char *readFailed, *readIncomplete, *writeFailed;
};

class OperationTableTest : public testing::TestWithParam<Form>
{
};

const Form kForms[] = {
    {"Native",
     nativeOperations(),
     0x80044201,
     0x81D04202,
     0x80104203,
     {0xC1064204},
     {0xC1064205},
     "ioctl(TOLMEN_IOC_READ_REGISTER) failed: ",
     "ioctl(TOLMEN_IOC_READ_REGISTER) failed: ",
     "ioctl(TOLMEN_IOC_WRITE_REGISTER) failed: "},
    {"V4L2Control",
     v4l2ControlOperations(),
     kGet,
     kGet,
     kGet,
     {kSet, kGet},
     {kSet},
     "send(): ioctl() failed: ",
     "read(): receive() failed: ",
     "send(): ioctl() failed: "},
};

INSTANTIATE_TEST_SUITE_P(Forms, OperationTableTest, testing::ValuesIn(kForms),
                         [](const auto& info) { return info.param.name; });

TEST_P(OperationTableTest, ReadsBytes)
{
    FakeNode node([](unsigned long request, void* argument) {
        tolmen_register_transfer& transfer = transferOf(request, argument);
        EXPECT_EQ(transfer.address, 0x1234);
        EXPECT_EQ(transfer.size, 3);
        EXPECT_EQ(transfer.direction, TransferDirection::Read);
        EXPECT_EQ(transfer.padding, 0);
        if (request != kSet)
            std::memcpy(transfer.payload, "abcd", 4);
        return 0;
    });
    char data[5] = "....";
    GetParam().table.read(kFd, 0x1234, data, 3);
    EXPECT_STREQ(data, "abc.");
    EXPECT_EQ(node.requests, GetParam().read);
}

TEST_P(OperationTableTest, WritesBytes)
{
    FakeNode node([](unsigned long request, void* argument) {
        const tolmen_register_transfer& transfer = transferOf(request, argument);
        EXPECT_EQ(transfer.address, 0xFFFE);
        EXPECT_EQ(transfer.size, 2);
        EXPECT_EQ(transfer.direction, TransferDirection::Write);
        EXPECT_EQ(transfer.padding, 0);
        EXPECT_EQ(transfer.payload[0], 0xAB);
        EXPECT_EQ(transfer.payload[1], 0xCD);
        EXPECT_EQ(transfer.payload[2], 0);
        return 0;
    });
    GetParam().table.write(kFd, 0xFFFE, "\xAB\xCD\xEF", 2);
    EXPECT_EQ(node.requests, GetParam().write);
}

TEST_P(OperationTableTest, TransfersReachFrom0To256Bytes)
{
    FakeNode node([](unsigned long, void*) { return 0; });
    std::array<char, 257> data{};
    const OperationTable& table = GetParam().table;
    for (const long size : {257L, -1L, 65536L}) {
        EXPECT_EQ(errorOf([&] { table.read(kFd, 0, data.data(), size); }),
                  "Illegal transfer size requested");
        EXPECT_EQ(errorOf([&] { table.write(kFd, 0, data.data(), size); }),
                  "Illegal transfer size requested");
    }
    EXPECT_THAT(node.requests, ElementsAre());
    EXPECT_EQ(errorOf([&] { table.read(kFd, 0, data.data(), 256); }), "");
    EXPECT_EQ(errorOf([&] { table.write(kFd, 0, data.data(), 256); }), "");
}

TEST_P(OperationTableTest, FailedTransfersTellTheSystemError)
{
    FakeNode node([](unsigned long, void*) { return fail(EREMOTEIO); });
    char data[2];
    EXPECT_EQ(errorOf([&] { GetParam().table.read(kFd, 0, data, 2); }),
              std::string(GetParam().readFailed) + "Remote I/O error");
    EXPECT_EQ(errorOf([&] { GetParam().table.write(kFd, 0, "", 1); }),
              std::string(GetParam().writeFailed) + "Remote I/O error");
}

TEST(V4L2ControlOperations, FailedFetchTellsTheSystemError)
{
    FakeNode node([](unsigned long request, void*) { return request == kGet ? fail(ENODEV) : 0; });
    char data[2];
    EXPECT_EQ(errorOf([&] { v4l2ControlOperations().read(kFd, 0, data, 2); }),
              "receive(): ioctl() failed: No such device");
}

// Example failure: a copy of as many bytes as the driver says that it has delivered.
TEST_P(OperationTableTest, OtherSizesThanAskedForCopyNothing)
{
    for (const std::uint16_t delivered : {0, 3, 5, 257, 65535}) {
        FakeNode node([delivered](unsigned long request, void* argument) {
            transferOf(request, argument).size = delivered;
            return 0;
        });
        char data[5] = "....";
        EXPECT_EQ(errorOf([&] { GetParam().table.read(kFd, 0, data, 4); }),
                  GetParam().readIncomplete +
                      std::string("Read incomplete - requested bytes (4) != received bytes (") +
                      std::to_string(delivered) + ")");
        EXPECT_STREQ(data, "....");
    }
}

TEST_P(OperationTableTest, DescriptionsTellTheirErrors)
{
    FakeNode node([](unsigned long, void*) { return fail(ENOTTY); });
    const OperationTable& table = GetParam().table;
    unsigned short major = 11;
    unsigned short minor = 12;
    tolmen_csi_information csi{};
    tolmen_device_information device{};
    EXPECT_EQ(table.version(kFd, &major, &minor), -ENOTTY);
    EXPECT_EQ(table.csi(kFd, &csi), -ENOTTY);
    EXPECT_EQ(table.device(kFd, &device), -ENOTTY);
    EXPECT_EQ(major, 11);
    EXPECT_EQ(minor, 12);
    EXPECT_THAT(node.requests, ElementsAre(GetParam().version, GetParam().csi, GetParam().device));
}

TEST_P(OperationTableTest, DescriptionsRefuseNullPointers)
{
    FakeNode node([](unsigned long, void*) { return 0; });
    unsigned short number = 0;
    EXPECT_EQ(GetParam().table.version(kFd, nullptr, &number), -EINVAL);
    EXPECT_EQ(GetParam().table.version(kFd, &number, nullptr), -EINVAL);
    EXPECT_EQ(GetParam().table.csi(kFd, nullptr), -EINVAL);
    EXPECT_EQ(GetParam().table.device(kFd, nullptr), -EINVAL);
    EXPECT_THAT(node.requests, ElementsAre());
}

TEST(NativeOperations, DescribesThroughItsOwnNumbers)
{
    FakeNode node([](unsigned long request, void* argument) {
        if (request == 0x80044201) {
            EXPECT_EQ(*static_cast<std::uint32_t*>(argument), 0xDEADBEEF);
            *static_cast<std::uint32_t*>(argument) = 0x00010007;
        } else if (request == 0x80104203) {
            static_cast<tolmen_csi_information*>(argument)->laneCount = 4;
        }
        return 0;
    });
    unsigned short major = 0;
    unsigned short minor = 0;
    tolmen_csi_information csi{};
    tolmen_device_information device{};
    EXPECT_EQ(nativeOperations().version(kFd, &major, &minor), 0);
    EXPECT_EQ(nativeOperations().csi(kFd, &csi), 0);
    EXPECT_EQ(nativeOperations().device(kFd, &device), 0) << "the magic doesn't count";
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 7);
    EXPECT_EQ(csi.laneCount, 4);
}

TEST(V4L2ControlOperations, DescribesThroughControls)
{
    const struct {
        std::uint32_t id, size;
    } expected[] = {{0x00981001, 0}, {0x00981004, 0x10}, {0x00981003, 0x1D0}, {0x00981003, 0x1D0}};
    unsigned count = 0;
    std::uint32_t magic = 0;
    FakeNode node([&](unsigned long request, void* argument) {
        EXPECT_EQ(request, kGet);
        v4l2_ext_control& control = controlOf(argument);
        EXPECT_EQ(control.id, expected[count].id);
        EXPECT_EQ(control.size, expected[count].size);
        if (count == 0)
            control.value = 0x00010001;
        else if (count >= 2)
            static_cast<tolmen_device_information*>(control.ptr)->magic = magic;
        ++count;
        return 0;
    });
    unsigned short major = 0;
    unsigned short minor = 0;
    tolmen_csi_information csi{};
    tolmen_device_information device{};
    const OperationTable table = v4l2ControlOperations();
    EXPECT_EQ(table.version(kFd, &major, &minor), 0);
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 1);
    EXPECT_EQ(table.csi(kFd, &csi), 0);
    EXPECT_EQ(table.device(kFd, &device), -EPIPE);
    magic = 0x050991B0;
    EXPECT_EQ(table.device(kFd, &device), 0);
}

} // namespace
