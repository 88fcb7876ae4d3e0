#include "genapi/port_device.h"

#include <exception>

namespace zevo_tool
{

namespace
{

struct PortDevice {
    ArvDevice parent;
    Port* port;
};

/// No exception may enter the library's code.
template <typename Access>
gboolean Guard(GError** error, const Access& access)
{
    try {
        access();
        return TRUE;
    } catch (const std::exception& failure) {
        g_set_error_literal(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR,
                            failure.what());
        return FALSE;
    }
}

Port& PortOf(ArvDevice* device)
{
    return *reinterpret_cast<PortDevice*>(device)->port;
}

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return Guard(error, [&] { PortOf(device).Read(address, buffer, size); });
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return Guard(error, [&] { PortOf(device).Write(address, buffer, size); });
}

gboolean ReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error)
{
    return Guard(error, [&] { PortOf(device).Read(address, value, sizeof *value); });
}

gboolean WriteRegister(ArvDevice* device, guint64 address, guint32 value, GError** error)
{
    return Guard(error, [&] { PortOf(device).Write(address, &value, sizeof value); });
}

void InitClass(void* table, void* /*data*/)
{
    auto* device = static_cast<ArvDeviceClass*>(table);
    device->read_memory = ReadMemory;
    device->write_memory = WriteMemory;
    device->read_register = ReadRegister;
    device->write_register = WriteRegister;
}

GType PortDeviceType()
{
    static const GType type = g_type_register_static_simple(
        ARV_TYPE_DEVICE, "ZevoPortDevice", sizeof(ArvDeviceClass), InitClass, sizeof(PortDevice),
        nullptr, static_cast<GTypeFlags>(0));
    return type;
}

} // namespace

std::unique_ptr<ArvDevice, ReleaseObject> MakePortDevice(Port& port)
{
    auto* device = static_cast<PortDevice*>(g_object_new(PortDeviceType(), nullptr));
    device->port = &port;
    return std::unique_ptr<ArvDevice, ReleaseObject>(&device->parent);
}

} // namespace zevo_tool
