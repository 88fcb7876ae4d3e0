// A port as the device of the GenApi layer.
#pragma once

#include <memory>

#include <arv.h>

#include "producer/port.h"

namespace zevo_tool
{

struct ReleaseObject {
    void operator()(void* object) const { g_object_unref(object); }
};

/// A device whose registers are the port's; the port has to outlive it.
std::unique_ptr<ArvDevice, ReleaseObject> MakePortDevice(Port& port);

} // namespace zevo_tool
