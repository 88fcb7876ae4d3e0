#include "sim/core/fault_rule.h"

#include <linux/media.h>
#include <linux/videodev2.h>
#include <signal.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>

#include "sim/core/camera_requests.h"

namespace zevo_sim
{

namespace
{

using Place = FaultPlace;
using Effect = FaultEffect;

struct PlaceName {
    const char* name;
    Place place;
    unsigned long request; ///< 0 for none
};

constexpr PlaceName kPlaces[] = {
    // clang-format off
    {"open",     Place::Open,      0},
    {"stat",     Place::Stat,      0},
    {"access",   Place::Access,    0},
    {"opendir",  Place::Directory, 0},
    {"mmap",     Place::Map,       0},
    {"poll",     Place::Poll,      0},
    {"close",    Place::Close,     0},
    {"ioctl",    Place::Request,   0},
    {"read",     Place::Read,      0},
    {"write",    Place::Write,     0},
    {"transfer", Place::Transfer,  0},
    {"frame",    Place::Frame,     0},
    {"file",     Place::File,      0},
    {"stage",    Place::Stage,     0},
    {"checksum", Place::Checksum,  0},
    {"stall",    Place::Stall,     0},
    {"atomic",   Place::Atomic,    0},
    {"dma",      Place::Dma,       0},
#define ZEVO_REQUEST(name) {#name, Place::Request, name}
    ZEVO_REQUEST(VIDIOC_QUERYCAP),
    ZEVO_REQUEST(VIDIOC_ENUM_FMT),
    ZEVO_REQUEST(VIDIOC_ENUM_FRAMESIZES),
    ZEVO_REQUEST(VIDIOC_G_FMT),
    ZEVO_REQUEST(VIDIOC_S_FMT),
    ZEVO_REQUEST(VIDIOC_TRY_FMT),
    ZEVO_REQUEST(VIDIOC_REQBUFS),
    ZEVO_REQUEST(VIDIOC_QUERYBUF),
    ZEVO_REQUEST(VIDIOC_QBUF),
    ZEVO_REQUEST(VIDIOC_DQBUF),
    ZEVO_REQUEST(VIDIOC_STREAMON),
    ZEVO_REQUEST(VIDIOC_STREAMOFF),
    ZEVO_REQUEST(VIDIOC_QUERYCTRL),
    ZEVO_REQUEST(VIDIOC_G_CTRL),
    ZEVO_REQUEST(VIDIOC_S_CTRL),
    ZEVO_REQUEST(VIDIOC_G_EXT_CTRLS),
    ZEVO_REQUEST(VIDIOC_S_EXT_CTRLS),
    ZEVO_REQUEST(MEDIA_IOC_DEVICE_INFO),
    ZEVO_REQUEST(MEDIA_IOC_G_TOPOLOGY),
    ZEVO_REQUEST(TOLMEN_IOC_VERSION),
    ZEVO_REQUEST(TOLMEN_IOC_DEVICE),
    ZEVO_REQUEST(TOLMEN_IOC_CSI),
    ZEVO_REQUEST(TOLMEN_IOC_READ_REGISTER),
    ZEVO_REQUEST(TOLMEN_IOC_WRITE_REGISTER),
#undef ZEVO_REQUEST
    // clang-format on
};

constexpr std::uint32_t Bit(Place place)
{
    return 1u << static_cast<unsigned>(place);
}

constexpr std::uint32_t kNodeCalls =
    Bit(Place::Map) | Bit(Place::Poll) | Bit(Place::Close) | Bit(Place::Request);
constexpr std::uint32_t kCalls =
    kNodeCalls | Bit(Place::Open) | Bit(Place::Stat) | Bit(Place::Access) | Bit(Place::Directory);
constexpr std::uint32_t kTransfers = Bit(Place::Read) | Bit(Place::Write) | Bit(Place::Transfer);
constexpr std::uint32_t kActions = Bit(Place::Stall) | Bit(Place::Atomic) | Bit(Place::Dma);
constexpr std::uint32_t kIspStates = kActions | Bit(Place::Stage) | Bit(Place::Checksum);

struct EffectName {
    const char* name; ///< one that ends in "=" has a value
    Effect effect;
    std::uint32_t places;
};

constexpr EffectName kEffects[] = {
    // clang-format off
    {"unplug", Effect::Unplug, kNodeCalls | kTransfers | Bit(Place::Frame)},
    {"short=", Effect::Short,  Bit(Place::Read) | Bit(Place::Frame) | Bit(Place::File)},
    {"value=", Effect::Value,  Bit(Place::Read)},
    {"gap=",   Effect::Gap,    Bit(Place::Frame)},
    {"flag",   Effect::Flag,   Bit(Place::Frame)},
    {"index=", Effect::Index,  Bit(Place::Frame)},
    {"break",  Effect::Break,  Bit(Place::Frame)},
    {"late=",  Effect::Late,   kIspStates},
    {"stuck",  Effect::Stuck,  kActions},
    {"wrong",  Effect::Wrong,  Bit(Place::Checksum)},
    // clang-format on
};

[[noreturn]] void Refuse(std::string_view rule, const std::string& reason)
{
    throw std::invalid_argument("fault: \"" + std::string(rule) + "\": " + reason);
}

/// The next part up to a colon, taken off the text.
std::string_view TakePart(std::string_view& text)
{
    const std::size_t end = std::min(text.find(':'), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

std::uint64_t ParseNumber(std::string_view rule, std::string_view part, std::uint64_t maximum)
{
    const std::string_view all = part.substr(part.find('=') + 1);
    std::string_view digits = all;
    const bool isHex = digits.substr(0, 2) == "0x";
    digits.remove_prefix(isHex ? 2 : 0);
    std::uint64_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, isHex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end || number > maximum)
        Refuse(rule,
               "\"" + std::string(all) + "\" is not a number from 0 to " + std::to_string(maximum));
    return number;
}

int FindName(std::string_view name, int last, const char* (*nameOf)(int))
{
    for (int number = 1; number <= last; ++number) {
        const char* candidate = nameOf(number);
        if (candidate && name == candidate)
            return number;
    }
    return 0;
}

bool IsOneOf(Place place, std::uint32_t places)
{
    return (Bit(place) & places) != 0;
}

void ParsePlace(FaultRule& rule, std::string_view part)
{
    for (const PlaceName& candidate : kPlaces) {
        if (part != candidate.name)
            continue;
        rule.place = candidate.place;
        if (candidate.request != 0)
            rule.request = candidate.request;
        return;
    }
    Refuse(rule.text, "\"" + std::string(part) + "\" is not a call, request or part of the camera");
}

void ParseEffect(FaultRule& rule, std::string_view part)
{
    const bool hasValue = part.find('=') != std::string_view::npos;
    const std::string_view word = part.substr(0, hasValue ? part.find('=') + 1 : part.size());
    for (const EffectName& candidate : kEffects) {
        if (word != candidate.name || !IsOneOf(rule.place, candidate.places))
            continue;
        rule.effect = candidate.effect;
        if (hasValue)
            rule.value = ParseNumber(rule.text, part, std::numeric_limits<std::uint32_t>::max());
        return;
    }
    constexpr int lastError = 133;
    const int error = FindName(part, lastError, ::strerrorname_np);
    if (error != 0 && IsOneOf(rule.place, kCalls | kTransfers)) {
        rule.effect = Effect::Error;
        rule.value = static_cast<std::uint64_t>(error);
        return;
    }
    const bool isSignal = part.substr(0, 3) == "SIG";
    const int signal = isSignal ? FindName(part.substr(3), SIGSYS, ::sigabbrev_np) : 0;
    if (signal != 0 && IsOneOf(rule.place, kCalls)) {
        rule.effect = Effect::Signal;
        rule.value = static_cast<std::uint64_t>(signal);
        return;
    }
    Refuse(rule.text, "\"" + std::string(part) + "\" is nothing that can go wrong there");
}

void ParseCondition(FaultRule& rule, std::string_view part)
{
    constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    const std::string_view key = part.substr(0, part.find('='));
    if (key == "camera")
        rule.camera = static_cast<unsigned>(ParseNumber(rule.text, part, 7));
    else if (IsOneOf(rule.place, kIspStates))
        Refuse(rule.text, "\"" + std::string(part) + "\": this is so all the time");
    else if (key == "after")
        rule.after = ParseNumber(rule.text, part, most);
    else if (part == "times=always")
        rule.times = FaultRule::kAlways;
    else if (key == "times")
        rule.times = ParseNumber(rule.text, part, most);
    else if (key == "address" && IsOneOf(rule.place, kTransfers))
        rule.address = static_cast<std::uint16_t>(ParseNumber(rule.text, part, 0xFFFF));
    else if (key == "register" && IsOneOf(rule.place, kTransfers))
        rule.ispRegister = static_cast<std::uint16_t>(ParseNumber(rule.text, part, 0xFFFF));
    else
        Refuse(rule.text, "\"" + std::string(part) + "\" is not a condition of it");
}

} // namespace

FaultRule FaultRule::FromText(std::string_view text)
{
    FaultRule rule;
    rule.text = text;
    ParsePlace(rule, TakePart(text));
    if (text.empty())
        Refuse(rule.text, "what goes wrong is missing, as in VIDIOC_DQBUF:EIO");
    ParseEffect(rule, TakePart(text));
    while (!text.empty())
        ParseCondition(rule, TakePart(text));
    return rule;
}

} // namespace zevo_sim
