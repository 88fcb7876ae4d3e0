// The generic system module: the list of interfaces, without a notion of what they are.
#pragma once

#include "modules/generic/child_list.h"
#include "modules/generic/default_module.h"
#include "registers/space/iregister_space.h"

namespace GenTLProducer
{

class CDefaultSystem : public CDefaultModule<ISystem>, public IRegisterSpace
{
public:
    explicit CDefaultSystem(InfoPtr systemInfo);

    GC_ERROR Open() override;
    void Close() override;
    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    /// Finds nothing by itself: a concrete system adds its interfaces.
    GC_ERROR UpdateInterfaceList(bool8_t* pbChanged, std::uint64_t iTimeout) override;
    GC_ERROR GetNumInterfaces(std::uint32_t* piNumIfaces) override;
    GC_ERROR GetInterfaceID(std::uint32_t iIndex, char* sID, std::size_t* piSize) override;
    GC_ERROR GetInterfaceInfo(const char* sIfaceID, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                              void* pBuffer, std::size_t* piSize) override;
    GC_ERROR OpenInterface(const char* sIfaceID, IF_HANDLE* phIface) override;
    GC_ERROR CloseInterface(const char* sIfaceID) override;

    bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                         std::size_t uiRegisterDataSize) override;
    bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                        std::size_t uiRegisterDataSize) override;

protected:
    /// Makes and opens the interface of this entry, enters it there and into the registry.
    virtual GC_ERROR CreateInterface(std::size_t index, IF_HANDLE* phIface) = 0;

    /// Keeps the selector inside the list and shows it in its register.
    void ClampSelector();

    ChildList<IInterface> interfaces_;

private:
    void DeclareRegisters();

    std::uint32_t interfaceSelector_ = 0;
    InfoPtr systemInfo_;
};

} // namespace GenTLProducer
