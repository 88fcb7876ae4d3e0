#include "module/isp_firmware.h"

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <locale.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "module/ap1302_firmware.h"
#include "module/pll_table.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

using namespace std::chrono_literals;

constexpr float kMinLaneRateMbps = 80.0F;
constexpr float kMaxLaneRateMbps = 1200.0F;
constexpr auto kStageTimeout = 2s;
constexpr auto kChecksumTimeout = 2s;
constexpr auto kChecksumPause = 10ms;

constexpr std::uint32_t kChipVersion = 613;
constexpr std::uint32_t kManufacturerId = 6;

constexpr std::uint16_t kBootWindow = 0x8000;
constexpr std::size_t kBootWindowSize = 8192;
constexpr std::uint32_t kConstant206C = 124;

/// Values of BOOTDATA_STAGE.
constexpr std::uint16_t kStageReady = 0;
constexpr std::uint16_t kStageSetClocks = 1;
constexpr std::uint16_t kStageClocksSet = 2;
constexpr std::uint16_t kStageRun = 0xFFFF;

/// As printf's %f, with a point in every locale.
std::string fixedText(double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(6) << value;
    return text.str();
}

/// The number that a text begins with, by the rules of the C locale; 0 if it begins with none.
float parseRate(const char* text)
{
    const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    if (!classic)
        return std::strtof(text, nullptr);
    const float rate = ::strtof_l(text, nullptr, classic);
    ::freelocale(classic);
    return rate;
}

struct LaneRate {
    float requestedMbps;
    bool isUserSupplied;
};

LaneRate requestedLaneRate(const CsiConfiguration& csi)
{
    if (std::getenv("ISP_LANE_FREQUENCY"))
        throw std::runtime_error("ISP_LANE_FREQUENCY is obsolete. Please use ISP_LANE_DATARATE");
    if (const char* text = std::getenv("ISP_LANE_DATARATE"))
        return {parseRate(text), true};
    return {static_cast<float>(static_cast<double>(csi.laneDataRateBps) / 1e6), false};
}

void checkLaneRate(float rateMbps)
{
    MCM_LOG(kLogInfo, kLogBoot) << "Expected-Lane-Datarate(Mbps): " << rateMbps << "\n";
    MCM_LOG(kLogInfo, kLogBoot) << "Min-Lane-Datarate(Mbps): " << kMinLaneRateMbps << "\n";
    MCM_LOG(kLogInfo, kLogBoot) << "Max-Lane-Datarate(Mbps): " << kMaxLaneRateMbps << "\n";
    if (rateMbps > kMaxLaneRateMbps)
        throw std::runtime_error("Choosen lane datarate is too high (" + fixedText(rateMbps) +
                                 "Mbps). Supported maximum is " + fixedText(kMaxLaneRateMbps) +
                                 "Mbps");
    if (rateMbps < kMinLaneRateMbps)
        throw std::runtime_error("Choosen lane datarate is too low (" + fixedText(rateMbps) +
                                 "Mbps). Supported minimum is " + fixedText(kMinLaneRateMbps) +
                                 "Mbps");
}

const PllRow& choosePllRow(float rateMbps)
{
    const PllRow* row = findPllRow(pllTable(), rateMbps);
    if (!row)
        throw std::runtime_error("Unsupported lane datarate (" + fixedText(rateMbps) +
                                 "Mbps). Supported range is " + fixedText(kMinLaneRateMbps) +
                                 "Mbps.." + fixedText(kMaxLaneRateMbps) + "Mbps.");
    MCM_LOG(kLogInfo, kLogBoot) << "Actual-Lane-Datarate(Mbps): " << row->laneRateMbps << "\n";
    return *row;
}

/// Reads a register and logs it under its label.
std::uint32_t readAndLog(const char* label, IspSensor& isp, std::uint32_t (IspSensor::*get)())
{
    const std::uint32_t value = (isp.*get)();
    MCM_LOG(kLogInfo, kLogBoot) << label << std::hex << value << "\n";
    return value;
}

/// One upload to an ISP whose boot loader is ready.
class Upload final
{
public:
    Upload(IspSensor& isp, const IClock& clock, const Ap1302Firmware& firmware, const PllRow& row,
           LaneRate rate)
        : isp_(isp), clock_(clock), firmware_(firmware), row_(row), rate_(rate)
    {
    }

    void run()
    {
        isp_.BOOTDATA_CHECKSUM(0);
        const IClock::TimePoint start = clock_.now();
        const std::size_t firstStage = firmware_.firstStageSize();
        sendPart(0, firstStage);
        switchStage();
        sendPart(firstStage, firmware_.image().size());
        const std::chrono::duration<double> elapsed = clock_.now() - start;
        MCM_LOG(kLogInfo, kLogBoot) << "Firmware upload time: " << elapsed.count() << " s\n";
        enterStage(kStageRun);
        awaitChecksum();
    }

private:
    /// Sends the image's bytes from begin to end through the window, up to its end at a time.
    void sendPart(std::size_t begin, std::size_t end)
    {
        while (begin < end) {
            const std::size_t inWindow = begin % kBootWindowSize;
            const std::size_t size = std::min(end - begin, kBootWindowSize - inWindow);
            isp_.writeBlock(static_cast<std::uint16_t>(kBootWindow + inWindow),
                            firmware_.image().data() + begin, static_cast<long>(size));
            begin += size;
        }
    }

    void switchStage()
    {
        enterStage(kStageSetClocks);
        MCM_LOG(kLogInfo, kLogBoot) << "Csi::SetPll for " << rate_.requestedMbps << "Mbps\n";
        setClocks();
        if (rate_.isUserSupplied) {
            MCM_LOG(kLogNotice, kLogAlways)
                << "UserSupplied-Lane-Datarate(Mbps): " << rate_.requestedMbps << "\n";
            MCM_LOG(kLogNotice, kLogAlways)
                << "Actual-Lane-Datarate(Mbps): " << row_.laneRateMbps << "\n";
        }
        enterStage(kStageClocksSet);
    }

    void setClocks()
    {
        isp_.PLL_REF_CLOCK(row_.referenceClock);
        isp_.PLL_0_DIV(row_.pll0);
        isp_.PLL_1_DIV(row_.pll1);
        isp_.PREVIEW_DIV_CPU(row_.cpu);
        isp_.PREVIEW_DIV_IPIPE(row_.ipipe);
        isp_.PREVIEW_DIV_SINF(row_.sinf);
        isp_.PREVIEW_DIV_HINF(row_.hinf);
        isp_.PREVIEW_DIV_HINF_MIPI(row_.hinfMipi);
        isp_.PREVIEW_DIV_IP(row_.ip);
        isp_.REGISTER_206C(kConstant206C);
        isp_.PREVIEW_DIV_PRI_SENSOR(row_.priSensor);
        isp_.PREVIEW_DIV_SEC_SENSOR(row_.secSensor);
    }

    void enterStage(std::uint16_t stage)
    {
        isp_.BOOTDATA_STAGE(stage);
        if (!waitUntil(clock_, kStageTimeout, 0s, [&] { return isp_.BOOTDATA_STAGE() == stage; }))
            throw std::runtime_error("ISP firmware upload boot stage timeout");
    }

    void awaitChecksum()
    {
        std::uint32_t last = 0;
        const auto hasArrived = [&] {
            last = isp_.BOOTDATA_CHECKSUM();
            return last == firmware_.checksum();
        };
        if (waitUntil(clock_, kChecksumTimeout, kChecksumPause, hasArrived))
            return;
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << "ISP firmware checksum mismatch or timed out: 0x" << std::hex << last << " != 0x"
             << firmware_.checksum();
        throw std::runtime_error(text.str());
    }

    IspSensor& isp_;
    const IClock& clock_;
    const Ap1302Firmware& firmware_;
    const PllRow& row_;
    LaneRate rate_;
};

/// True if the firmware runs, false if the boot loader is ready for it.
bool isRunning(IspSensor& isp, std::uint16_t expectedChecksum)
{
    const auto chip = readAndLog("CHIP_VERSION_REG:       0x", isp, &IspSensor::CHIP_VERSION_REG);
    const auto maker = readAndLog("MANUFACTURER_ID:        0x", isp, &IspSensor::MANUFACTURER_ID);
    const auto firmware = readAndLog("FW_ID:                  0x", isp, &IspSensor::FW_ID);
    const auto stage = readAndLog("BOOTDATA_STAGE:         0x", isp, &IspSensor::BOOTDATA_STAGE);
    const auto checksum =
        readAndLog("BOOTDATA_CHECKSUM:      0x", isp, &IspSensor::BOOTDATA_CHECKSUM);
    if (maker != kManufacturerId || chip != kChipVersion)
        throw std::runtime_error("unknown ISP device");

    if (firmware != 0 && stage == kStageRun && checksum == expectedChecksum)
        return true;
    if (stage != kStageReady)
        throw std::runtime_error("ISP can't receive bootdata -- reset required");
    return false;
}

} // namespace

bool IspFirmware::loadIspFirmware(IspSensor& isp, const CsiConfiguration& csi, const IClock& clock)
{
    const Ap1302Firmware& firmware = Ap1302Firmware_zvK1800_45tqr::instance();
    const LaneRate rate = requestedLaneRate(csi);
    checkLaneRate(rate.requestedMbps);
    const PllRow& row = choosePllRow(rate.requestedMbps);
    if (isRunning(isp, firmware.checksum())) {
        MCM_LOG(kLogInfo, kLogBoot) << "ISP firmware already running -- skipping upload\n";
        return false;
    }
    if (firmware.checksum() == 0)
        throw std::runtime_error("ISP firmware has a checksum of ZERO -- action required!");
    Upload(isp, clock, firmware, row, rate).run();
    return true;
}

} // namespace mcm
