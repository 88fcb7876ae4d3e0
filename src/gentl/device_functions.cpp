// The functions of the device module.
#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

Frame& requireHandle(Frame& frame, DEV_HANDLE hDevice)
{
    return frame.Require(Frame::State().isTLOpen() && hDevice, GC_ERR_INVALID_HANDLE);
}

// Some functions go to the interface, which knows a device by its identifier.
template <typename Operation>
GC_ERROR runOnParent(Frame& frame, DEV_HANDLE hDevice, Operation operation)
{
    return frame.RunOn<IDevice>(hDevice, [&](IDevice& device) {
        const std::string identifier = device.GetId();
        const auto interface = Frame::FindModule<IInterface>(ToOpaque(device.GetParent()));
        return Frame::Apply(
            interface, [&](IInterface& found) { return operation(found, identifier.c_str()); });
    });
}

} // namespace

GC_ERROR DevClose(DEV_HANDLE hDevice)
{
    GENTL_FRAME("hDevice=%p", hDevice);
    return runOnParent(
        requireHandle(frame, hDevice), hDevice,
        [](IInterface& interface, const char* id) { return interface.CloseDevice(id); });
}

GC_ERROR DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hDevice=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hDevice, iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    requireHandle(frame, hDevice).Require(piType && piSize, GC_ERR_INVALID_PARAMETER);
    return runOnParent(frame, hDevice, [&](IInterface& interface, const char* id) {
        return interface.GetDeviceInfo(id, iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_ERROR DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams)
{
    GENTL_FRAME("hDevice=%p, piNumDataStreams=%p", hDevice, static_cast<void*>(piNumDataStreams));
    frame.Count(piNumDataStreams);
    return requireHandle(frame, hDevice)
        .Require(piNumDataStreams, GC_ERR_INVALID_PARAMETER)
        .RunOn<IDevice>(
            hDevice, [&](IDevice& device) { return device.GetNumDataStreams(piNumDataStreams); });
}

GC_ERROR DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                            size_t* piSize)
{
    GENTL_FRAME("hDevice=%p, iIndex=%u, sDataStreamID=%p, piSize=%p", hDevice, iIndex,
                static_cast<void*>(sDataStreamID), static_cast<void*>(piSize));
    return requireHandle(frame, hDevice)
        .Require(piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<IDevice>(hDevice, [&](IDevice& device) {
            return device.GetDataStreamID(iIndex, sDataStreamID, piSize);
        });
}

GC_ERROR DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice)
{
    GENTL_FRAME("hDevice=%p, phRemoteDevice=%p", hDevice, static_cast<void*>(phRemoteDevice));
    return requireHandle(frame, hDevice)
        .Require(phRemoteDevice, GC_ERR_INVALID_PARAMETER)
        .RunOn<IDevice>(hDevice, [&](IDevice& device) { return device.GetPort(phRemoteDevice); });
}

GC_ERROR DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream)
{
    GENTL_FRAME("hDevice=%p, sDataStreamID='%s', phDataStream=%p", hDevice,
                Printable(sDataStreamID), static_cast<void*>(phDataStream));
    return requireHandle(frame, hDevice)
        .Require(sDataStreamID && phDataStream, GC_ERR_INVALID_PARAMETER)
        .RunOn<IDevice>(hDevice, [&](IDevice& device) {
            return device.OpenDataStream(sDataStreamID, phDataStream);
        });
}

GC_ERROR DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface)
{
    GENTL_FRAME("hDevice=%p, phIface=%p", hDevice, static_cast<void*>(phIface));
    return requireHandle(frame, hDevice)
        .Require(phIface, GC_ERR_INVALID_PARAMETER)
        .RunOn<IDevice>(hDevice, [&](IDevice& device) {
            *phIface = ToOpaque(device.GetParent());
            return GC_ERR_SUCCESS;
        });
}
