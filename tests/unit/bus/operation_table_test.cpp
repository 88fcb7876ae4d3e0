#include "bus/operation_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

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

/// Where the answer to the request for a description belongs: one control of that id and size.
void* descriptionOf(unsigned long request, void* argument, std::uint32_t id, std::uint32_t size)
{
    if (request != kGet)
        return argument;
    v4l2_ext_control& control = controlOf(argument);
    EXPECT_EQ(control.id, id);
    EXPECT_EQ(control.size, size);
    return size == 0 ? static_cast<void*>(&control.value) : control.ptr;
}

/// Both request forms.
struct Form {
    const char* name;
    OperationTable table;
    unsigned long version, device, csi;
    std::vector<unsigned long> read, write;
    const char *readFailed, *readIncomplete, *writeFailed;
    std::uint32_t unsetVersion;
    int resultWithoutMagic;
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
     "ioctl(TOLMEN_IOC_WRITE_REGISTER) failed: ",
     0xDEADBEEF,
     0},
    {"V4L2Control",
     v4l2ControlOperations(),
     kGet,
     kGet,
     kGet,
     {kSet, kGet},
     {kSet},
     "send(): ioctl() failed: ",
     "read(): receive() failed: ",
     "send(): ioctl() failed: ",
     0,
     -EPIPE},
};

INSTANTIATE_TEST_SUITE_P(Forms, OperationTableTest, testing::ValuesIn(kForms),
                         [](const auto& info) { return info.param.name; });

TEST_P(OperationTableTest, MovesBytes)
{
    FakeNode node([](unsigned long request, void* argument) {
        tolmen_register_transfer& transfer = transferOf(request, argument);
        const bool isRead = transfer.direction == TransferDirection::Read;
        EXPECT_EQ(transfer.address, isRead ? 0x1234 : 0xFFFE);
        EXPECT_EQ(transfer.size, 3);
        EXPECT_EQ(transfer.padding, 0);
        EXPECT_STREQ(reinterpret_cast<char*>(transfer.payload), isRead ? "" : "\xAB\xCD\xEF");
        if (isRead && request != kSet)
            std::memcpy(transfer.payload, "abcd", 4);
        return 0;
    });
    char data[5] = "....";
    GetParam().table.read(kFd, 0x1234, data, 3);
    EXPECT_STREQ(data, "abc.");
    EXPECT_EQ(std::exchange(node.requests, {}), GetParam().read);
    GetParam().table.write(kFd, 0xFFFE, "\xAB\xCD\xEFxx", 3);
    EXPECT_EQ(node.requests, GetParam().write);
}

TEST_P(OperationTableTest, TransfersReachFrom0To256Bytes)
{
    FakeNode node([](unsigned long, void*) { return 0; });
    std::array<char, 257> data{};
    const OperationTable& table = GetParam().table;
    for (const long size : {257L, -1L, 65536L}) {
        const char* const error = "Illegal transfer size requested";
        EXPECT_EQ(errorOf([&] { table.read(kFd, 0, data.data(), size); }), error);
        EXPECT_EQ(errorOf([&] { table.write(kFd, 0, data.data(), size); }), error);
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

TEST_P(OperationTableTest, DescriptionsTellTheirErrorsAndRefuseNullPointers)
{
    FakeNode node([](unsigned long, void*) { return fail(ENOTTY); });
    const OperationTable& table = GetParam().table;
    unsigned short number = 11;
    tolmen_csi_information csi{};
    tolmen_device_information device{};
    EXPECT_EQ(table.version(kFd, nullptr, &number), -EINVAL);
    EXPECT_EQ(table.version(kFd, &number, nullptr), -EINVAL);
    EXPECT_EQ(table.csi(kFd, nullptr), -EINVAL);
    EXPECT_EQ(table.device(kFd, nullptr), -EINVAL);
    EXPECT_THAT(node.requests, ElementsAre());
    EXPECT_EQ(table.version(kFd, &number, &number), -ENOTTY);
    EXPECT_EQ(table.csi(kFd, &csi), -ENOTTY);
    EXPECT_EQ(table.device(kFd, &device), -ENOTTY);
    EXPECT_EQ(number, 11);
    EXPECT_THAT(node.requests, ElementsAre(GetParam().version, GetParam().csi, GetParam().device));
}

TEST_P(OperationTableTest, DescribesTheDriver)
{
    const struct {
        std::uint32_t id, size;
    } controls[] = {{0x00981001, 0}, {0x00981004, 0x10}, {0x00981003, 0x1D0}, {0x00981003, 0x1D0}};
    unsigned count = 0;
    FakeNode node([&](unsigned long request, void* argument) {
        const auto& [id, size] = controls[count];
        void* answer = descriptionOf(request, argument, id, size);
        if (count == 0) {
            EXPECT_EQ(std::exchange(*static_cast<std::uint32_t*>(answer), 0x00010007),
                      GetParam().unsetVersion);
        }
        if (count == 1)
            static_cast<tolmen_csi_information*>(answer)->laneCount = 4;
        if (count == 3)
            static_cast<tolmen_device_information*>(answer)->magic = 0x050991B0;
        ++count;
        return 0;
    });
    unsigned short major = 0;
    unsigned short minor = 0;
    tolmen_csi_information csi{};
    tolmen_device_information device{};
    const OperationTable& table = GetParam().table;
    EXPECT_EQ(table.version(kFd, &major, &minor), 0);
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 7);
    EXPECT_EQ(table.csi(kFd, &csi), 0);
    EXPECT_EQ(csi.laneCount, 4);
    EXPECT_EQ(table.device(kFd, &device), GetParam().resultWithoutMagic);
    EXPECT_EQ(table.device(kFd, &device), 0);
}

} // namespace
