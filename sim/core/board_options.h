// The choice of a board and its departures from the table, and its form in an environment variable.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/core/camera_options.h"
#include "sim/core/fault_rule.h"

namespace zevo_sim
{

/// The environment variable by which the launcher tells the preloaded library.
constexpr char kBoardVariable[] = "ZEVO_BOARD";

struct BoardOptions {
    std::string board = "generic";
    unsigned cameras = 1;
    std::optional<RequestForm> form; ///< the board's own where absent, as below
    std::optional<bool> isMultiPlanar;
    std::optional<std::uint32_t> csiId; ///< content of the first camera's csi_id
    /// Frames per second; 0 for as fast as they are taken, nothing for what the ISP is
    /// programmed to.
    std::optional<double> fps;
    std::optional<std::string> serial;
    std::optional<std::string> userName;
    std::optional<std::string> model;
    std::optional<unsigned> lanes;
    std::optional<std::uint64_t> laneRateBps;
    // Versions of the interfaces.
    std::optional<InterfaceVersion> driverVersion;
    std::optional<InterfaceVersion> informationVersion;
    std::optional<InterfaceVersion> moduleVersion;
    // What the capture driver makes of requests.
    std::optional<unsigned> maxBuffers; ///< CaptureOptions::maxBuffers
    std::optional<unsigned> maxWidth;
    std::optional<unsigned> widthStep;      ///< CaptureOptions::widthStep
    std::optional<double> light;            ///< Light::level
    std::optional<double> lightTemperature; ///< Light::temperature
    std::string kmsg; ///< the file that stands in for the kernel log; empty for none
    std::vector<FaultRule> faults;
    std::string scene; ///< raw picture, see Scene::FromRawFile(); empty for the test chart

    /// "key=value;key=value"; signs that would disturb are escaped.
    std::string ToText() const;
    static BoardOptions FromText(const std::string& text);

    /// One setting as its text; "fault" adds to those before. This and FromText() throw
    /// std::invalid_argument with a text for people, for an unknown key, a value out of range or a
    /// board that doesn't exist.
    void Set(std::string_view key, std::string_view value);
};

} // namespace zevo_sim
