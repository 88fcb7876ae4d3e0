#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "camera_fixture.h"

namespace zevo_sim
{
namespace
{

constexpr unsigned long kVersion = 0x80044201;
constexpr unsigned long kDevice = 0x81D04202;
constexpr unsigned long kCsi = 0x80104203;
constexpr unsigned long kRead = 0xC1064204;
constexpr unsigned long kWrite = 0xC1064205;

/// The transfer structure as bytes, so that a wrong layout in the simulation shows.
struct TransferBytes {
    std::uint8_t bytes[262] = {};

    TransferBytes(std::uint16_t address, std::uint16_t size, std::uint8_t direction)
    {
        std::memcpy(bytes, &address, 2);
        std::memcpy(bytes + 258, &size, 2);
        bytes[260] = direction;
    }

    std::uint16_t Size() const
    {
        std::uint16_t size;
        std::memcpy(&size, bytes + 258, 2);
        return size;
    }
};

TEST(Driver, NativeFormAnswersFixedRequests)
{
    CameraOptions options;
    options.driverVersion = {1, 7};
    options.laneCount = 2;
    options.laneAssignment = {2, 1, 0, 0};
    options.laneRateBps = 800'000'000;
    DrivenCamera camera(options);

    std::uint32_t version = 0xDEADBEEF;
    EXPECT_EQ(camera->Ioctl(kVersion, &version), 0);
    EXPECT_EQ(version, 0x00010007u);

    std::uint8_t csi[16] = {};
    EXPECT_EQ(camera->Ioctl(kCsi, csi), 0);
    std::uint64_t frequency;
    std::memcpy(&frequency, csi, 8);
    EXPECT_EQ(frequency, 400'000'000u);
    EXPECT_EQ(csi[8], 2);
    EXPECT_EQ(csi[9], 2);
    EXPECT_EQ(csi[10], 1);

    char device[464] = {};
    EXPECT_EQ(camera->Ioctl(kDevice, device), 0);
    std::uint32_t magic;
    std::memcpy(&magic, device, 4);
    EXPECT_EQ(magic, 0x050991B0u);
    EXPECT_STREQ(device + 73, "zvK1800-45tqr");
    EXPECT_STREQ(device + 333, "ZEVO:SIM0001");
}

TEST(Driver, EachFormLacksTheOther)
{
    std::uint32_t version = 0xDEADBEEF;
    DrivenCamera native;
    ControlRequest request(0x00981001, nullptr, 0);
    EXPECT_EQ(native->Ioctl(VIDIOC_G_EXT_CTRLS, &request.list), -ENOTTY);
    EXPECT_EQ(native->Ioctl(VIDIOC_QUERYCAP, &version), -ENOTTY);

    CameraOptions options;
    options.form = RequestForm::Controls;
    DrivenCamera controls(options);
    EXPECT_EQ(controls->Ioctl(kVersion, &version), -ENOTTY);
    EXPECT_EQ(version, 0xDEADBEEF);
    EXPECT_EQ(controls->Ioctl(VIDIOC_G_EXT_CTRLS, &request.list), 0);
    EXPECT_EQ(request.control.value, 0x00010001);
}

TEST(Driver, ControlsCheckIdSizeAndAccess)
{
    CameraOptions options;
    options.form = RequestForm::Controls;
    DrivenCamera camera(options);
    std::uint8_t payload[512] = {};
    struct {
        unsigned long request;
        std::uint32_t id;
        std::uint32_t size;
        int result;
        std::uint32_t sizeAfter;
    } cases[] = {
        {VIDIOC_G_EXT_CTRLS, 0x00981003, 464, 0, 464},
        {VIDIOC_G_EXT_CTRLS, 0x00981003, 500, 0, 464},
        {VIDIOC_G_EXT_CTRLS, 0x00981003, 463, -ENOSPC, 464},
        {VIDIOC_G_EXT_CTRLS, 0x00981004, 15, -ENOSPC, 16},
        {VIDIOC_S_EXT_CTRLS, 0x00981002, 261, -EFAULT, 261},
        {VIDIOC_S_EXT_CTRLS, 0x00981003, 464, -EACCES, 464},
        {VIDIOC_S_EXT_CTRLS, 0x00981001, 0, -EACCES, 0},
        {VIDIOC_G_EXT_CTRLS, 0x00981005, 16, -EINVAL, 16},
    };
    for (const auto& c : cases) {
        ControlRequest request(c.id, payload, c.size);
        EXPECT_EQ(camera->Ioctl(c.request, &request.list), c.result) << c.id << " " << c.size;
        EXPECT_EQ(request.control.size, c.sizeAfter);
    }
}

TEST(Driver, BothFormsMoveTheSameBytes)
{
    for (const RequestForm form : {RequestForm::Native, RequestForm::Controls}) {
        CameraOptions options;
        options.form = form;
        DrivenCamera camera(options);
        TransferBytes write(abrm::kUserDefinedName, 3, 2);
        std::memcpy(write.bytes + 2, "abc", 3);
        TransferBytes read(abrm::kUserDefinedName, 64, 1);
        if (form == RequestForm::Native) {
            EXPECT_EQ(camera->Ioctl(kWrite, write.bytes), 0);
            EXPECT_EQ(camera->Ioctl(kRead, read.bytes), 0);
        } else {
            ControlRequest set(0x00981002, write.bytes, 262);
            EXPECT_EQ(camera->Ioctl(VIDIOC_S_EXT_CTRLS, &set.list), 0);
            ControlRequest get(0x00981002, read.bytes, 262);
            EXPECT_EQ(camera->Ioctl(VIDIOC_S_EXT_CTRLS, &get.list), 0);
            EXPECT_EQ(camera->Ioctl(VIDIOC_G_EXT_CTRLS, &get.list), 0);
        }
        EXPECT_EQ(read.Size(), 64);
        EXPECT_STREQ(reinterpret_cast<char*>(read.bytes + 2), "abc");
    }
}

TEST(Driver, TransfersFailByLimitAndByNumber)
{
    CameraOptions options;
    options.maxReadLength = 16;
    options.misbehaviour.failingTransfers = {{3, EIO}};
    options.misbehaviour.shortReads = {{4, 5}};
    DrivenCamera camera(options);
    std::uint8_t data[64] = {};
    EXPECT_EQ(camera->ReadCci(0, data, 16), 16);
    EXPECT_EQ(camera->ReadCci(0, data, 17), -EREMOTEIO);
    EXPECT_EQ(camera->ReadCci(0, data, 4), -EIO);
    EXPECT_EQ(camera->ReadCci(4, data, 8), 5);
    EXPECT_EQ(camera->ReadCci(CciAddress(isp::kChipVersion), data, 4), -EREMOTEIO);
    EXPECT_EQ(camera->WriteCci(abrm::kModelName, data, 4), -EREMOTEIO);
    EXPECT_EQ(camera->TransferCount(), 6u);
    EXPECT_EQ(camera->Transfers().size(), 2u);

    TransferBytes tooLong(0, 257, 1);
    EXPECT_EQ(camera->Ioctl(kRead, tooLong.bytes), -EINVAL);
}

TEST(Module, SectionListLeadsToTheIsp)
{
    DrivenCamera camera;
    const auto read = [&](std::size_t address, std::size_t size) {
        std::uint8_t bytes[8] = {};
        EXPECT_EQ(camera->ReadCci(static_cast<std::uint16_t>(address), bytes, size),
                  static_cast<int>(size));
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | bytes[i];
        return value;
    };
    const std::size_t block = read(abrm::kSbrmAddress, 8);
    EXPECT_EQ(read(block, 4), 0x00020000u);

    std::size_t section = block + 0x140;
    const std::size_t end = section + read(block + 0x13C, 4);
    while (section < end && !(read(section + 2, 2) == 6 && read(section + 8, 2) == 60))
        section += read(section, 2);
    ASSERT_LT(section, end);
    EXPECT_EQ(read(section + 4, 2), 0x0100u);

    bool isChipFound = false;
    for (std::size_t i = 0; i < read(section + 6, 2); ++i) {
        const std::size_t entry = section + 10 + 6 * i;
        if (read(entry + 4, 2) == 0)
            isChipFound = read(read(entry, 2), 2) == 0x0265;
    }
    EXPECT_TRUE(isChipFound);
}

TEST(Isp, BootsWithTheRightImageOnly)
{
    struct {
        const char* what;
        std::size_t damagedByte;
        bool boots;
    } cases[] = {{"right image", 100'000, true},
                 {"first stage damaged", 17, false},
                 {"last byte damaged", 19'999, false}};
    for (const auto& c : cases) {
        DrivenCamera camera;
        std::vector<std::uint8_t> image = camera.Image();
        if (c.damagedByte < image.size())
            image[c.damagedByte] ^= 1;
        EXPECT_EQ(camera.Read(isp::kFirmwareId), 0);
        camera.Write(isp::kBootDataChecksum, 0);
        camera.Upload(0, 996, image);
        camera.Write(isp::kBootDataStage, 1);
        EXPECT_EQ(camera.Read(isp::kBootDataStage), 1);
        camera.SetClocks();
        camera.Write(isp::kBootDataStage, 2);
        EXPECT_EQ(camera.Read(isp::kBootDataStage), 2);
        camera.Upload(996, image.size(), image);
        camera.Write(isp::kBootDataStage, 0xFFFF);
        EXPECT_EQ(camera.Read(isp::kBootDataStage), 0xFFFF);
        EXPECT_EQ(camera.Read(isp::kBootDataChecksum) == 0xE3C8, c.boots) << c.what;
        EXPECT_EQ(camera.Read(isp::kFirmwareId) != 0, c.boots) << c.what;
        EXPECT_EQ(camera.Read(isp::kAtmControl), c.boots ? 1087 : 0) << c.what;
    }
}

TEST(Isp, StagesComeInOrder)
{
    DrivenCamera camera;
    camera.Write(isp::kBootDataStage, 2);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0);
    camera.Upload(0, 990, camera.Image());
    camera.Write(isp::kBootDataStage, 1);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0) << "first stage too short";
    camera.SetClocks();
    EXPECT_EQ(camera->PeekIsp32(isp::kPllReferenceClock), 0u) << "clocks before stage 1";
    camera.Upload(990, 996, camera.Image());
    camera.Write(isp::kBootDataStage, 1);
    camera.SetClocks();
    EXPECT_EQ(camera->PeekIsp32(isp::kPllReferenceClock), 48u << 16);
    camera.Write(isp::kPreviewWidth, 100);
    EXPECT_EQ(camera.Read(isp::kPreviewWidth), 0) << "no firmware yet";
}

TEST(Isp, LateStageAndChecksumShowAfterTheTellingReads)
{
    CameraOptions options;
    options.misbehaviour.stageReads = 2;
    options.misbehaviour.checksumReads = 3;
    DrivenCamera camera(options);
    camera.Boot();
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0xFFFF);
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(camera.Read(isp::kBootDataChecksum), 0xE3C8);
    EXPECT_EQ(camera.Read(isp::kBootDataChecksum), 0xE3C8);
}

TEST(Isp, ResetReturnsToTheBootLoader)
{
    DrivenCamera camera;
    camera.Boot();
    EXPECT_TRUE(camera->IsStreaming());
    const std::uint8_t one[4] = {0, 0, 0, 1};
    EXPECT_EQ(camera->WriteCci(ModuleMemory::kRegisterBlock + 0x34, one, 4), 4);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0);
    EXPECT_EQ(camera.Read(isp::kFirmwareId), 0);
    EXPECT_FALSE(camera->IsStreaming());
    camera.Boot();
    EXPECT_TRUE(camera->IsStreaming());
}

TEST(Isp, StallToggleFlipsOnceAndShowsLate)
{
    DrivenCamera camera;
    camera.Boot();
    camera.Write(isp::kSysStart, 0x0100);
    EXPECT_FALSE(camera->IsStreaming());
    camera.Write(isp::kSysStart, 0x0340);
    EXPECT_FALSE(camera->IsStreaming()) << "second request while one is pending";
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0140);
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0240);
    camera.Write(isp::kSysStart, 0x0040);
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0240) << "bit 9 is the ISP's own";

    Misbehaviour stuck;
    stuck.isStallStuck = true;
    camera->SetMisbehaviour(stuck);
    camera.ToggleStall();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(camera.Read(isp::kSysStart) & 0x0300, 0x0300);
    EXPECT_FALSE(camera->IsStreaming());
}

TEST(Isp, StreamNeedsClocksAndTheBoardsLanes)
{
    CameraOptions options;
    options.laneCount = 2;
    DrivenCamera camera(options);
    camera.Boot();
    EXPECT_TRUE(camera->IsStreaming());
    camera.Write(isp::kPreviewHostInterface, 4);
    EXPECT_FALSE(camera->IsStreaming());

    DrivenCamera unclocked(options);
    unclocked.Upload(0, 996, unclocked.Image());
    unclocked.Write(isp::kBootDataStage, 1);
    unclocked.Write(isp::kBootDataStage, 2);
    unclocked.Upload(996, unclocked.Image().size(), unclocked.Image());
    unclocked.Write(isp::kBootDataStage, 0xFFFF);
    unclocked.Write(isp::kPreviewHostInterface, 2);
    EXPECT_EQ(unclocked.Read(isp::kBootDataChecksum), 0xE3C8);
    EXPECT_FALSE(unclocked->IsStreaming());
}

TEST(Isp, AtomicRecordTakesEffectTogether)
{
    DrivenCamera camera;
    camera.Boot();
    const auto record = [&](std::uint16_t x0, std::uint16_t commit) {
        camera.Write(isp::kAtomic, 1);
        EXPECT_EQ(camera.Read(isp::kAtomic) & 1, 1);
        camera.Write(isp::kPreviewRoiX0, x0);
        camera.Write(isp::kPreviewLineTime, 0x00010002, 4);
        EXPECT_NE(camera->PeekIsp16(isp::kPreviewRoiX0), x0);
        camera.Write(isp::kAtomic, commit);
    };
    record(100, 3);
    EXPECT_EQ(camera.Read(isp::kAtomic) & 1, 0);
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 100);
    EXPECT_EQ(camera->PeekIsp32(isp::kPreviewLineTime), 0x00010002u);

    camera.ToggleStall();
    record(200, 7);
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 200);
    record(300, 3);
    EXPECT_EQ(camera.Read(isp::kAtomic) & 1, 1) << "no frame to commit at";
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 200);
    camera.Read(isp::kSysStart);
    camera.Read(isp::kSysStart);
    camera.ToggleStall();
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 300);
}

TEST(Isp, StuckActionsNeverEnd)
{
    DrivenCamera camera;
    camera.Boot();
    Misbehaviour stuck;
    stuck.isAtomicStuck = true;
    stuck.isDmaStuck = true;
    camera->SetMisbehaviour(stuck);
    camera.Write(isp::kAtomic, 1);
    camera.Write(isp::kPreviewRoiX0, 100);
    camera.Write(isp::kAtomic, 7);
    camera.Write(isp::kDmaControl, 50);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(camera.Read(isp::kAtomic) & 1, 1);
        EXPECT_NE(camera.Read(isp::kDmaControl) & 7, 0);
    }
    EXPECT_NE(camera->PeekIsp16(isp::kPreviewRoiX0), 100);

    stuck = {};
    stuck.isChecksumWrong = true;
    DrivenCamera other;
    other->SetMisbehaviour(stuck);
    other.Boot();
    EXPECT_EQ(other.Read(isp::kBootDataStage), 0xFFFF);
    EXPECT_NE(other.Read(isp::kBootDataChecksum), 0xE3C8);
    EXPECT_FALSE(other->IsStreaming());
}

TEST(Isp, FrameRateIsTheLowerOfCeilingAndReadout)
{
    DrivenCamera camera;
    camera.Boot();
    struct {
        std::uint16_t maxFps;
        std::uint16_t roiY1;
        double rate;
    } cases[] = {{90 << 8, 0x4000, 30},
                 {10 << 8, 0x4000, 10},
                 {0x0C80, 0x4000, 12.5},
                 {255 << 8, 0x2000, 60}};
    for (const auto& c : cases) {
        camera.Write(isp::kPreviewMaxFps, c.maxFps);
        camera.Write(isp::kPreviewRoiY1, c.roiY1);
        EXPECT_NEAR(camera->FrameRate(), c.rate, 0.01);
    }
}

TEST(Isp, ListenerHearsOfChangesOnly)
{
    DrivenCamera camera;
    camera.Boot();
    int calls = 0;
    camera->SetStreamListener([&] { ++calls; });
    camera.Read(isp::kChipVersion);
    EXPECT_EQ(calls, 0);
    camera.ToggleStall();
    EXPECT_EQ(calls, 1);
    camera->SetStreamListener({});
}

TEST(Log, ShowsIspWritesInOrderWithoutBootData)
{
    DrivenCamera camera;
    camera.Boot();
    camera->ClearTransfers();
    camera.Write(isp::kPreviewWidth, 640);
    camera.Write(isp::kPllReferenceClock, 5, 4);
    camera.Read(isp::kPreviewWidth);
    camera->WriteCci(CciAddress(isp::kBootWindow), "ab", 2);
    const auto writes = camera->IspWrites();
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0], (IspWrite{isp::kPreviewWidth, {2, 128}}));
    EXPECT_EQ(writes[1].Value(), 5u);
    EXPECT_EQ(camera->IspReadCount(), 1u);
}

} // namespace
} // namespace zevo_sim
