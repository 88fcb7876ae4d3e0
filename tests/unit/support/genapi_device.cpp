#include "support/genapi_device.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <type_traits>

namespace test
{

namespace
{

struct CallbackDevice {
    ArvDevice parent;
    RegisterAccess* access; // the C++ object's
};

RegisterAccess& AccessOf(ArvDevice* device)
{
    return *reinterpret_cast<CallbackDevice*>(device)->access;
}

gboolean Answer(bool isGranted, guint64 address, GError** error)
{
    if (!isGranted)
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR,
                    "refused at 0x%" G_GINT64_MODIFIER "x", address);
    return isGranted;
}

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return Answer(AccessOf(device).read(address, buffer, size), address, error);
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return Answer(AccessOf(device).write(address, buffer, size), address, error);
}

void InitClass(void* table, void*)
{
    auto* device = static_cast<ArvDeviceClass*>(table);
    device->read_memory = ReadMemory;
    device->write_memory = WriteMemory;
}

ArvDevice* MakeDevice(RegisterAccess& access)
{
    static const GType type = g_type_register_static_simple(
        ARV_TYPE_DEVICE, "TestCallbackDevice", sizeof(ArvDeviceClass), InitClass,
        sizeof(CallbackDevice), nullptr, static_cast<GTypeFlags>(0));
    auto* device = static_cast<CallbackDevice*>(g_object_new(type, nullptr));
    device->access = &access;
    return &device->parent;
}

/// Calls a function that reports in a GError behind its arguments.
template <typename Function, typename... Arguments>
auto Checked(Function function, Arguments... arguments)
{
    GError* error = nullptr;
    const auto finish = [&error] {
        if (error == nullptr)
            return;
        const std::string message = error->message;
        g_error_free(error);
        throw std::runtime_error(message);
    };
    if constexpr (std::is_void_v<decltype(function(arguments..., &error))>) {
        function(arguments..., &error);
        finish();
    } else {
        auto result = function(arguments..., &error);
        finish();
        return result;
    }
}

} // namespace

GenApiDevice::GenApiDevice(const std::string& description, RegisterAccess access)
    : access_{[read = access.read, count = accesses_](auto address, auto* buffer, auto size) {
                  ++*count;
                  return read(address, buffer, size);
              },
              [write = access.write, count = accesses_](auto address, auto* buffer, auto size) {
                  ++*count;
                  return write(address, buffer, size);
              }},
      device_(MakeDevice(access_)), description_(description),
      genicam_(arv_gc_new(device_.get(), description_.data(), description_.size()))
{
}

ArvGcNode* GenApiDevice::nodeOrNull(const std::string& name) const
{
    return arv_gc_get_node(genicam_.get(), name.c_str());
}

ArvGcFeatureNode* GenApiDevice::node(const std::string& name) const
{
    ArvGcNode* found = nodeOrNull(name);
    if (found == nullptr) {
        std::fprintf(stderr, "no node %s\n", name.c_str());
        std::abort();
    }
    return ARV_GC_FEATURE_NODE(found);
}

std::vector<std::string> GenApiDevice::features() const
{
    std::vector<std::string> open = {"Root"};
    std::vector<std::string> found;
    while (!open.empty()) {
        const std::string name = open.back();
        open.pop_back();
        ArvGcFeatureNode* feature = node(name);
        if (!ARV_IS_GC_CATEGORY(feature)) {
            found.push_back(name);
            continue;
        }
        const std::size_t first = open.size();
        for (const GSList* member = arv_gc_category_get_features(ARV_GC_CATEGORY(feature));
             member != nullptr; member = member->next)
            open.insert(open.begin() + static_cast<std::ptrdiff_t>(first),
                        static_cast<const char*>(member->data));
    }
    return found;
}

bool GenApiDevice::isCommand(const std::string& name) const
{
    return ARV_IS_GC_COMMAND(node(name));
}

bool GenApiDevice::isImplemented(const std::string& name) const
{
    return Checked(arv_gc_feature_node_is_implemented, node(name));
}

bool GenApiDevice::isAvailable(const std::string& name) const
{
    return Checked(arv_gc_feature_node_is_available, node(name));
}

bool GenApiDevice::isLocked(const std::string& name) const
{
    return Checked(arv_gc_feature_node_is_locked, node(name));
}

std::string GenApiDevice::text(const std::string& name) const
{
    const char* value = Checked(arv_gc_feature_node_get_value_as_string, node(name));
    return value != nullptr ? value : "";
}

std::int64_t GenApiDevice::integer(const std::string& name) const
{
    return Checked(arv_gc_integer_get_value, ARV_GC_INTEGER(node(name)));
}

double GenApiDevice::number(const std::string& name) const
{
    return Checked(arv_gc_float_get_value, ARV_GC_FLOAT(node(name)));
}

std::int64_t GenApiDevice::minimum(const std::string& name) const
{
    return Checked(arv_gc_integer_get_min, ARV_GC_INTEGER(node(name)));
}

std::int64_t GenApiDevice::maximum(const std::string& name) const
{
    return Checked(arv_gc_integer_get_max, ARV_GC_INTEGER(node(name)));
}

std::int64_t GenApiDevice::increment(const std::string& name) const
{
    return Checked(arv_gc_integer_get_inc, ARV_GC_INTEGER(node(name)));
}

void GenApiDevice::set(const std::string& name, std::int64_t value) const
{
    Checked(arv_gc_integer_set_value, ARV_GC_INTEGER(node(name)), value);
}

void GenApiDevice::setNumber(const std::string& name, double value) const
{
    Checked(arv_gc_float_set_value, ARV_GC_FLOAT(node(name)), value);
}

void GenApiDevice::select(const std::string& name, const std::string& entry) const
{
    Checked(arv_gc_enumeration_set_string_value, ARV_GC_ENUMERATION(node(name)), entry.c_str());
}

void GenApiDevice::choose(const std::string& name, std::int64_t value) const
{
    Checked(arv_gc_enumeration_set_int_value, ARV_GC_ENUMERATION(node(name)), value);
}

void GenApiDevice::execute(const std::string& command) const
{
    Checked(arv_gc_command_execute, ARV_GC_COMMAND(node(command)));
}

std::vector<std::string> GenApiDevice::availableEntries(const std::string& name) const
{
    guint count = 0;
    const char** entries = Checked(arv_gc_enumeration_dup_available_string_values,
                                   ARV_GC_ENUMERATION(node(name)), &count);
    std::vector<std::string> result(entries, entries + count);
    g_free(entries);
    return result;
}

} // namespace test
