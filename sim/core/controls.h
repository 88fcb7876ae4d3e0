// V4L2 controls of a node, with the answers of the kernel's control framework.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct v4l2_ext_control;
struct v4l2_ext_controls;
struct v4l2_queryctrl;
struct v4l2_control;

namespace zevo_sim
{

/// One control. A size other than 0 makes it an array of bytes.
struct Control {
    std::uint32_t id;
    std::string name;
    std::uint32_t type;
    std::uint32_t flags;
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t step = 1;
    std::int32_t defaultValue = 0;
    std::uint32_t size = 0;
    /// Gives value or payload. 0 or a negative errno.
    std::function<int(std::int32_t& value, std::uint8_t* payload)> get;
    /// Takes value or payload; absent for a read-only control.
    std::function<int(std::int32_t value, const std::uint8_t* payload)> set;
};

/// The controls in ascending order of ids, class entries included.
/// Every operation gives 0 or a negative errno. Not thread-safe.
class ControlList final
{
public:
    void Add(Control control);
    bool IsEmpty() const { return controls_.empty(); }

    /// A request on the node; -ENOTTY for one that isn't about controls.
    int Ioctl(unsigned long request, void* argument) const;

    int Query(v4l2_queryctrl& query) const;
    int Get(v4l2_control& control) const;
    int Set(const v4l2_control& control) const;
    int Get(v4l2_ext_controls& controls) const;
    int Set(v4l2_ext_controls& controls) const;

private:
    const Control* Find(std::uint32_t id) const;
    int Prepare(v4l2_ext_controls& controls, bool isGet) const;

    std::vector<Control> controls_;
};

} // namespace zevo_sim
