#include "sim/core/controls.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace zevo_sim
{

namespace
{

bool IsArray(const Control& control)
{
    return control.size != 0;
}

std::uint32_t ClassOf(std::uint32_t id)
{
    return V4L2_CTRL_ID2WHICH(id);
}

} // namespace

void ControlList::Add(Control control)
{
    const std::uint32_t classId = ClassOf(control.id) | 1;
    if (ClassOf(control.id) == V4L2_CTRL_CLASS_USER && !Find(classId)) {
        Control entry{};
        entry.id = classId;
        entry.name = "User Controls";
        entry.type = V4L2_CTRL_TYPE_CTRL_CLASS;
        entry.flags = V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_WRITE_ONLY;
        entry.step = 0;
        controls_.push_back(std::move(entry));
    }
    controls_.push_back(std::move(control));
    std::sort(controls_.begin(), controls_.end(),
              [](const Control& a, const Control& b) { return a.id < b.id; });
}

const Control* ControlList::Find(std::uint32_t id) const
{
    const auto found = std::find_if(controls_.begin(), controls_.end(),
                                    [&](const Control& control) { return control.id == id; });
    return found == controls_.end() ? nullptr : &*found;
}

int ControlList::Ioctl(unsigned long request, void* argument) const
{
    switch (request) {
    case VIDIOC_QUERYCTRL:
        return Query(*static_cast<v4l2_queryctrl*>(argument));
    case VIDIOC_G_CTRL:
        return Get(*static_cast<v4l2_control*>(argument));
    case VIDIOC_S_CTRL:
        return Set(*static_cast<v4l2_control*>(argument));
    case VIDIOC_G_EXT_CTRLS:
        return Get(*static_cast<v4l2_ext_controls*>(argument));
    case VIDIOC_S_EXT_CTRLS:
        return Set(*static_cast<v4l2_ext_controls*>(argument));
    default:
        return -ENOTTY;
    }
}

int ControlList::Query(v4l2_queryctrl& query) const
{
    const std::uint32_t id = query.id & V4L2_CTRL_ID_MASK;
    const bool isNext = (query.id & V4L2_CTRL_FLAG_NEXT_CTRL) != 0;
    const auto found =
        std::find_if(controls_.begin(), controls_.end(), [&](const Control& control) {
            return isNext ? control.id > id && !IsArray(control) : control.id == id;
        });
    if (found == controls_.end())
        return -EINVAL;

    query = {};
    query.id = found->id;
    query.type = found->type;
    query.flags = found->flags;
    std::strncpy(reinterpret_cast<char*>(query.name), found->name.c_str(), sizeof(query.name) - 1);
    if (!IsArray(*found)) {
        query.minimum = found->minimum;
        query.maximum = found->maximum;
        query.step = found->step;
        query.default_value = found->defaultValue;
    }
    return 0;
}

int ControlList::Get(v4l2_control& control) const
{
    const Control* found = Find(control.id);
    if (!found || IsArray(*found))
        return -EINVAL;
    if (!found->get)
        return -EACCES;
    return found->get(control.value, nullptr);
}

int ControlList::Set(const v4l2_control& control) const
{
    const Control* found = Find(control.id);
    if (!found || IsArray(*found))
        return -EINVAL;
    if (!found->set)
        return -EACCES;
    return found->set(std::clamp(control.value, found->minimum, found->maximum), nullptr);
}

/// What the framework checks before it touches a value.
int ControlList::Prepare(v4l2_ext_controls& controls, bool isGet) const
{
    controls.error_idx = controls.count;
    if (controls.count != 0 && !controls.controls)
        return -EFAULT;
    for (std::uint32_t i = 0; i < controls.count; ++i) {
        v4l2_ext_control& control = controls.controls[i];
        const std::uint32_t id = control.id & V4L2_CTRL_ID_MASK;
        if (controls.which != V4L2_CTRL_WHICH_CUR_VAL && ClassOf(id) != controls.which)
            return -EINVAL;
        const Control* found = Find(id);
        if (!found)
            return -EINVAL;
        if (!IsArray(*found))
            continue;
        if (control.size < found->size) {
            if (!isGet)
                return -EFAULT;
            control.size = found->size;
            return -ENOSPC;
        }
        control.size = found->size;
    }
    return 0;
}

int ControlList::Get(v4l2_ext_controls& controls) const
{
    if (const int result = Prepare(controls, true); result != 0)
        return result;
    for (std::uint32_t i = 0; i < controls.count; ++i)
        if (!Find(controls.controls[i].id & V4L2_CTRL_ID_MASK)->get)
            return -EACCES;
    for (std::uint32_t i = 0; i < controls.count; ++i) {
        v4l2_ext_control& control = controls.controls[i];
        const Control& found = *Find(control.id & V4L2_CTRL_ID_MASK);
        std::uint8_t* payload = IsArray(found) ? control.p_u8 : nullptr;
        if (IsArray(found) && !payload)
            return -EFAULT;
        std::int32_t value = 0;
        if (const int result = found.get(value, payload); result != 0) {
            controls.error_idx = i;
            return result;
        }
        if (!IsArray(found))
            control.value = value;
    }
    return 0;
}

int ControlList::Set(v4l2_ext_controls& controls) const
{
    if (const int result = Prepare(controls, false); result != 0)
        return result;
    for (std::uint32_t i = 0; i < controls.count; ++i) {
        const v4l2_ext_control& control = controls.controls[i];
        const Control& found = *Find(control.id & V4L2_CTRL_ID_MASK);
        if (!found.set)
            return -EACCES;
        if (IsArray(found) && !control.p_u8)
            return -EFAULT;
    }
    for (std::uint32_t i = 0; i < controls.count; ++i) {
        const v4l2_ext_control& control = controls.controls[i];
        const Control& found = *Find(control.id & V4L2_CTRL_ID_MASK);
        const int result =
            IsArray(found) ? found.set(0, control.p_u8) : found.set(control.value, nullptr);
        if (result != 0) {
            controls.error_idx = i;
            return result;
        }
    }
    return 0;
}

} // namespace zevo_sim
