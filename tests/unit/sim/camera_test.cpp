#include <gtest/gtest.h>

#include <cerrno>

#include "camera_fixture.h"

namespace zevo_sim
{
namespace
{

constexpr unsigned long kVersion = 0x80044201;
constexpr unsigned long kRead = 0xC1064204;

/// A request of the control form with one control.
struct ControlRequest {
    v4l2_ext_control control{};
    v4l2_ext_controls list{};

    ControlRequest(std::uint32_t id, void* payload, std::uint32_t size)
    {
        control.id = id;
        control.size = size;
        control.ptr = payload;
        list.count = 1;
        list.controls = &control;
    }
};

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

    std::uint16_t tooLong[131] = {};
    tooLong[129] = 257; // the size
    tooLong[130] = 1;   // a read
    EXPECT_EQ(camera->Ioctl(kRead, tooLong), -EINVAL);
}

TEST(Isp, BootsWithTheRightImageOnly)
{
    const struct {
        const char* what;
        std::size_t damagedByte;
        bool boots;
    } cases[] = {{"right image", 20'000, true},
                 {"first stage damaged", 17, false},
                 {"last byte damaged", 19'999, false}};
    for (const auto& c : cases) {
        std::vector<std::uint8_t> image = TestImage();
        if (c.damagedByte < image.size())
            image[c.damagedByte] ^= 1;
        DrivenCamera camera({}, image);
        EXPECT_EQ(camera.Read(isp::kFirmwareId), 0);
        camera.Boot();
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
    camera.Upload(0, 990);
    camera.Write(isp::kBootDataStage, 1);
    EXPECT_EQ(camera.Read(isp::kBootDataStage), 0) << "first stage too short";
    camera.SetClocks();
    EXPECT_EQ(camera->PeekIsp32(isp::kPllReferenceClock), 0u) << "clocks before stage 1";
    camera.Upload(990, 996);
    camera.Write(isp::kBootDataStage, 1);
    camera.SetClocks();
    EXPECT_EQ(camera->PeekIsp32(isp::kPllReferenceClock), 48u << 16);
    camera.Write(isp::kPreviewWidth, 100);
    EXPECT_EQ(camera.Read(isp::kPreviewWidth), 0) << "no firmware yet";
}

TEST(Isp, ResetReturnsToTheBootLoader)
{
    BootedCamera camera;
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
    BootedCamera camera;
    camera.Write(isp::kSysStart, 0x0100);
    EXPECT_FALSE(camera->IsStreaming());
    camera.Write(isp::kSysStart, 0x0340);
    EXPECT_FALSE(camera->IsStreaming()) << "second request while one is pending";
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0140);
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0240);
    camera.Write(isp::kSysStart, 0x0040);
    EXPECT_EQ(camera.Read(isp::kSysStart), 0x0240) << "bit 9 is the ISP's own";
}

TEST(Isp, StreamNeedsClocksAndTheBoardsLanes)
{
    CameraOptions options;
    options.laneCount = 2;
    BootedCamera camera(options);
    EXPECT_TRUE(camera->IsStreaming());
    camera.Write(isp::kPreviewHostInterface, 4);
    EXPECT_FALSE(camera->IsStreaming());

    DrivenCamera unclocked(options);
    unclocked.Boot(false);
    EXPECT_EQ(unclocked.Read(isp::kBootDataChecksum), 0xE3C8);
    EXPECT_FALSE(unclocked->IsStreaming());
}

TEST(Isp, AtomicRecordTakesEffectTogether)
{
    BootedCamera camera;
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

    camera.ToggleStallAndWait();
    record(200, 7);
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 200);
    record(300, 3);
    EXPECT_EQ(camera.Read(isp::kAtomic) & 1, 1) << "no frame to commit at";
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 200);
    camera.ToggleStall();
    EXPECT_EQ(camera->PeekIsp16(isp::kPreviewRoiX0), 300);
}

TEST(Isp, AStuckEngineNeverEnds)
{
    BootedCamera camera;
    Misbehaviour stuck;
    stuck.isDmaStuck = true;
    camera->SetMisbehaviour(stuck);
    camera.Write(isp::kDmaControl, 50);
    for (int i = 0; i < 5; ++i)
        EXPECT_NE(camera.Read(isp::kDmaControl) & 7, 0);
}

TEST(Isp, FrameRateIsTheLowerOfCeilingAndReadout)
{
    BootedCamera camera;
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
    BootedCamera camera;
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
    BootedCamera camera;
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
