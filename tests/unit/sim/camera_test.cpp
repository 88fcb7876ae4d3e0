#include <gtest/gtest.h>

#include <cerrno>

#include "camera_fixture.h"

namespace zevo_sim
{
namespace
{

constexpr unsigned long kVersion = 0x80044201;

/// Reads or writes one control. What has become of the control stays in it.
int Request(DrivenCamera& camera, unsigned long request, v4l2_ext_control& control)
{
    v4l2_ext_controls list{};
    list.count = 1;
    list.controls = &control;
    return camera->Ioctl(request, &list);
}

CameraOptions OptionsOf(RequestForm form)
{
    CameraOptions options;
    options.form = form;
    return options;
}

TEST(Driver, EachFormLacksTheOther)
{
    std::uint32_t version = 0xDEADBEEF;
    v4l2_ext_control control{};
    control.id = 0x00981001;
    DrivenCamera native(OptionsOf(RequestForm::Native));
    EXPECT_EQ(Request(native, VIDIOC_G_EXT_CTRLS, control), -ENOTTY);

    DrivenCamera controls(OptionsOf(RequestForm::Controls));
    EXPECT_EQ(controls->Ioctl(kVersion, &version), -ENOTTY);
    EXPECT_EQ(version, 0xDEADBEEF);
    EXPECT_EQ(Request(controls, VIDIOC_G_EXT_CTRLS, control), 0);
    EXPECT_EQ(control.value, 0x00010001);
}

TEST(Driver, ControlsCheckIdSizeAndAccess)
{
    const struct {
        unsigned long request;
        std::uint32_t id;
        std::uint32_t size;
        int result;
        std::uint32_t sizeAfter;
    } cases[] = {
        {VIDIOC_G_EXT_CTRLS, 0x00981003, 500, 0, 464},
        {VIDIOC_G_EXT_CTRLS, 0x00981003, 463, -ENOSPC, 464},
        {VIDIOC_G_EXT_CTRLS, 0x00981004, 15, -ENOSPC, 16},
        {VIDIOC_S_EXT_CTRLS, 0x00981002, 261, -EFAULT, 261},
        {VIDIOC_S_EXT_CTRLS, 0x00981003, 464, -EACCES, 464},
        {VIDIOC_S_EXT_CTRLS, 0x00981001, 0, -EACCES, 0},
        {VIDIOC_G_EXT_CTRLS, 0x00981005, 16, -EINVAL, 16},
    };
    DrivenCamera camera(OptionsOf(RequestForm::Controls));
    std::uint8_t payload[512] = {};
    for (const auto& c : cases) {
        v4l2_ext_control control{};
        control.id = c.id;
        control.size = c.size;
        control.ptr = payload;
        EXPECT_EQ(Request(camera, c.request, control), c.result) << c.id << " " << c.size;
        EXPECT_EQ(control.size, c.sizeAfter);
    }
}

TEST(Driver, TransfersFailByLimitAndByNumber)
{
    CameraOptions options;
    options.maxReadLength = 16;
    options.misbehaviour.shortReads = {{3, 5}};
    DrivenCamera camera(options);
    std::uint8_t data[64] = {};
    EXPECT_EQ(camera->ReadCci(0, data, 16), 16);
    EXPECT_EQ(camera->ReadCci(0, data, 17), -EREMOTEIO);
    EXPECT_EQ(camera->ReadCci(4, data, 8), 5);
    EXPECT_EQ(camera->ReadCci(CciAddress(isp::kChipVersion), data, 4), -EREMOTEIO);
    EXPECT_EQ(camera->WriteCci(abrm::kModelName, data, 4), -EREMOTEIO);

    std::uint16_t tooLong[131] = {};
    tooLong[129] = 257; // the size
    tooLong[130] = 1;   // a read
    EXPECT_EQ(camera->Ioctl(0xC1064204, tooLong), -EINVAL);
}

TEST(Isp, BootsWithTheRightImageOnly)
{
    for (const std::size_t damaged : {std::size_t{17}, TestImage().size() - 1}) {
        std::vector<std::uint8_t> image = TestImage();
        image[damaged] ^= 1;
        DrivenCamera camera;
        camera.Boot(true, image);
        EXPECT_EQ(camera.Read(isp::kBootDataStage), 0xFFFF);
        EXPECT_NE(camera.Read(isp::kBootDataChecksum), 0xE3C8) << damaged;
        EXPECT_EQ(camera.Read(isp::kFirmwareId), 0) << damaged;
        EXPECT_EQ(camera.Read(isp::kAtmControl), 0) << damaged;
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
    camera.Boot(false);
    EXPECT_EQ(camera.Read(isp::kBootDataChecksum), 0xE3C8);
    EXPECT_FALSE(camera->IsStreaming()) << "without clocks";
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

TEST(Isp, StreamNeedsTheBoardsLanes)
{
    CameraOptions options;
    options.laneCount = 2;
    BootedCamera camera(options);
    EXPECT_TRUE(camera->IsStreaming());
    camera.Write(isp::kPreviewHostInterface, 4);
    EXPECT_FALSE(camera->IsStreaming());
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

} // namespace
} // namespace zevo_sim
