#include "modules/concrete/system_mcm.h"

#include <boost/make_shared.hpp>

#include "modules/concrete/device.h"
#include "modules/concrete/interface.h"

namespace GenTLProducer
{

InfoPtr MakeSystemInfo()
{
    return boost::make_shared<CDefaultSystemInfo>(
        CDefaultSystemInfo::Fields{"GenTLProducerZEVOSystem", "Tolmen", kSupportedModel, "2.0.0",
                                   "Custom", 6, "Tolmen ZEVO GenTL Producer", LibraryPath()});
}

SystemMCM::SystemMCM(InfoPtr systemInfo)
    : SystemMCM(std::move(systemInfo), CreateCameraDeviceManager, MakeDevice)
{
}

SystemMCM::SystemMCM(InfoPtr systemInfo, ManagerFactory makeManager, DeviceFactory makeDevice)
    : CDefaultSystem(std::move(systemInfo)), makeManager_(std::move(makeManager)),
      makeDevice_(std::move(makeDevice))
{
}

SystemMCM::~SystemMCM()
{
    SystemMCM::Close();
}

void SystemMCM::CreatePortInfo()
{
    SetPortInfo({CDefaultPortInfo::Endianness::Big, kSystemPortId, "TLSystem", "TLPort", "Tolmen",
                 kSupportedModel, "2.0.0", "Custom", "Tolmen ZEVO GenTL Producer"});
}

GC_ERROR SystemMCM::UpdateInterfaceList(bool8_t* pbChanged, std::uint64_t /*iTimeout*/)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const bool isFirst = interfaces_.empty();
    if (isFirst) {
        interfaces_.emplace_back(boost::make_shared<CDefaultInterfaceInfo>(
            CDefaultInterfaceInfo::Fields{kInterfacePortId, "Custom", "MIPI CSI-2", 5}));
        interfaces_.back().isNew = true;
        ClampSelector();
    }
    if (pbChanged)
        *pbChanged = isFirst;
    return GC_ERR_SUCCESS;
}

GC_ERROR SystemMCM::CreateInterface(std::size_t index, IF_HANDLE* phIface)
{
    std::unique_ptr<CameraDeviceManager> manager = makeManager_();
    ChildEntry<IInterface>& entry = interfaces_[index];
    const auto child =
        boost::make_shared<Interface>(entry.info, GetHandle(), makeDevice_, std::move(manager));
    if (const GC_ERROR result = child->Open(); result != GC_ERR_SUCCESS)
        return result;
    child->SetHandle(HandleRegistry::Instance()->AddModule(child));
    entry.module = child;
    *phIface = ToOpaque(child->GetHandle());
    return GC_ERR_SUCCESS;
}

} // namespace GenTLProducer
