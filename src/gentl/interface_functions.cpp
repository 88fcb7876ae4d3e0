// The functions of the interface module.
#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

Frame& requireHandle(Frame& frame, IF_HANDLE hIface)
{
    return frame.Require(Frame::State().isTLOpen() && hIface, GC_ERR_INVALID_HANDLE);
}

// Some functions go to the system, which knows an interface by its identifier.
template <typename Operation>
GC_ERROR runOnParent(Frame& frame, IF_HANDLE hIface, Operation operation)
{
    return frame.RunOn<IInterface>(hIface, [&](IInterface& interface) {
        const std::string identifier = interface.GetId();
        const auto system = Frame::FindModule<ISystem>(ToOpaque(Frame::State().openSystem()));
        return Frame::Apply(system,
                            [&](ISystem& found) { return operation(found, identifier.c_str()); });
    });
}

bool areOpenFlagsKnown(DEVICE_ACCESS_FLAGS iOpenFlags)
{
    return iOpenFlags <= DEVICE_ACCESS_EXCLUSIVE || iOpenFlags >= DEVICE_ACCESS_CUSTOM_ID;
}

} // namespace

GC_ERROR IFClose(IF_HANDLE hIface)
{
    GENTL_FRAME("hIface=%p", hIface);
    return runOnParent(requireHandle(frame, hIface), hIface,
                       [](ISystem& system, const char* id) { return system.CloseInterface(id); });
}

GC_ERROR IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                   void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hIface=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hIface, iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    requireHandle(frame, hIface).Require(piType && piSize, GC_ERR_INVALID_PARAMETER);
    return runOnParent(frame, hIface, [&](ISystem& system, const char* id) {
        return system.GetInterfaceInfo(id, iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_ERROR IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout)
{
    GENTL_FRAME("hIface=%p, pbChanged=%p, iTimeout=%lu", hIface, static_cast<void*>(pbChanged),
                iTimeout);
    return requireHandle(frame, hIface).RunOn<IInterface>(hIface, [&](IInterface& interface) {
        return interface.UpdateDeviceList(pbChanged, iTimeout);
    });
}

GC_ERROR IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices)
{
    GENTL_FRAME("hIface=%p, piNumDevices=%p", hIface, static_cast<void*>(piNumDevices));
    frame.Count(piNumDevices);
    return requireHandle(frame, hIface)
        .Require(piNumDevices, GC_ERR_INVALID_PARAMETER)
        .RunOn<IInterface>(
            hIface, [&](IInterface& interface) { return interface.GetNumDevices(piNumDevices); });
}

GC_ERROR IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize)
{
    GENTL_FRAME("hIface=%p, iIndex=%d, sIDeviceID=%p, piSize=%p", hIface, static_cast<int>(iIndex),
                static_cast<void*>(sIDeviceID), static_cast<void*>(piSize));
    return requireHandle(frame, hIface)
        .Require(piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<IInterface>(hIface, [&](IInterface& interface) {
            return interface.GetDeviceID(iIndex, sIDeviceID, piSize);
        });
}

GC_ERROR IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                         INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hIface=%p, sDeviceID='%s', iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hIface,
                Printable(sDeviceID), iInfoCmd, static_cast<void*>(piType), pBuffer,
                static_cast<void*>(piSize));
    return requireHandle(frame, hIface)
        .Require(sDeviceID && piType && piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<IInterface>(hIface, [&](IInterface& interface) {
            return interface.GetDeviceInfo(sDeviceID, iInfoCmd, piType, pBuffer, piSize);
        });
}

GC_ERROR IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags,
                      DEV_HANDLE* phDevice)
{
    GENTL_FRAME("hIface=%p, sDeviceID='%s', iOpenFlags=%d, phDevice=%p", hIface,
                Printable(sDeviceID), iOpenFlags, static_cast<void*>(phDevice));
    return requireHandle(frame, hIface)
        .Require(sDeviceID && phDevice && areOpenFlagsKnown(iOpenFlags), GC_ERR_INVALID_PARAMETER)
        .RunOn<IInterface>(hIface, [&](IInterface& interface) {
            return interface.OpenDevice(sDeviceID, iOpenFlags, phDevice);
        });
}

GC_ERROR IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem)
{
    GENTL_FRAME("hIface=%p, phSystem=%p", hIface, static_cast<void*>(phSystem));
    return requireHandle(frame, hIface)
        .Require(phSystem, GC_ERR_INVALID_PARAMETER)
        .RunOn<IInterface>(hIface, [&](IInterface& interface) {
            *phSystem = ToOpaque(interface.GetParent());
            return GC_ERR_SUCCESS;
        });
}
