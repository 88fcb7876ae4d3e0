// The generic interface module: the list of devices, without a notion of what they are.
#pragma once

#include "modules/generic/child_list.h"
#include "modules/generic/default_module.h"
#include "registers/space/iregister_space.h"

namespace GenTLProducer
{

class CDefaultInterface : public CDefaultModule<IInterface>, public IRegisterSpace
{
public:
    CDefaultInterface(InfoPtr interfaceInfo, Handle parent);

    GC_ERROR Open() override;
    void Close() override;
    GC_ERROR GetNumDevices(std::uint32_t* piNumDevices) override;
    GC_ERROR GetDeviceID(std::uint32_t iIndex, char* sID, std::size_t* piSize) override;
    GC_ERROR GetDeviceInfo(const char* sDeviceID, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                           void* pBuffer, std::size_t* piSize) override;
    GC_ERROR OpenDevice(const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags,
                        DEV_HANDLE* phDevice) override;
    GC_ERROR CloseDevice(const char* sDeviceID) override;
    std::string GetId() const override;

    bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                         std::size_t uiRegisterDataSize) override;
    bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                        std::size_t uiRegisterDataSize) override;

protected:
    /// Makes and opens the device of this entry, enters it there and into the registry.
    virtual GC_ERROR CreateDevice(std::size_t index, DEVICE_ACCESS_FLAGS iOpenFlags,
                                  DEV_HANDLE* phDevice) = 0;

    /// Brings selector and selected-device registers in line with a new list.
    void OnListUpdated();

    ChildList<IDevice> devices_;
    bool updated_ = false; ///< an UpdateDeviceList has run

private:
    void DeclareRegisters();
    void RefreshSelectedDevice(std::uint32_t index);
    GC_ERROR EnsureUpdated();

    InfoPtr interfaceInfo_;
    std::uint32_t deviceSelector_ = 0;
};

} // namespace GenTLProducer
