#include "modules/concrete/interface.h"

#include <algorithm>

#include <boost/make_shared.hpp>

#include "base/last_error.h"
#include "base/scope_exit.h"
#include "modules/concrete/device_info_mcm.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

Interface::Interface(InfoPtr interfaceInfo, Handle parent, DeviceFactory makeDevice,
                     std::unique_ptr<CameraDeviceManager> manager)
    : CDefaultInterface(std::move(interfaceInfo), parent), manager_(std::move(manager)),
      makeDevice_(std::move(makeDevice))
{
}

Interface::~Interface()
{
    Interface::Close();
}

GC_ERROR Interface::Open()
{
    const Lock lock(mutex_);
    if (const GC_ERROR result = CDefaultInterface::Open(); result != GC_ERR_SUCCESS)
        return result;
    manager_->Update();
    return GC_ERR_SUCCESS;
}

void Interface::Close()
{
    const Lock lock(mutex_);
    CDefaultInterface::Close();
    manager_->Clear();
}

void Interface::CreatePortInfo()
{
    SetPortInfo({CDefaultPortInfo::Endianness::Big, kInterfacePortId, "TLInterface",
                 "InterfacePort", "Tolmen", "ZEVO", "2.0.0", "Custom",
                 "Tolmen ZEVO GenTL Producer"});
}

GC_ERROR Interface::UpdateDeviceList(bool8_t* pbChanged, std::uint64_t /*iTimeout*/)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    for (ChildEntry<IDevice>& entry : devices_) {
        entry.found = false;
        entry.isNew = false;
    }
    // A list that can't be completed stays as it was.
    const bool wasUpdated = updated_;
    ScopeExit takeBackOnException([this, wasUpdated] {
        updated_ = wasUpdated;
        devices_.erase(std::remove_if(devices_.begin(), devices_.end(),
                                      [](const auto& entry) { return entry.isNew; }),
                       devices_.end());
    });
    const std::vector<std::shared_ptr<Camera>> cameras = manager_->GetCameras();
    GENTL_TRACE(kTraceCameraList, 4, "Adding %u cameras to index",
                static_cast<unsigned>(cameras.size()));
    for (const std::shared_ptr<Camera>& camera : cameras) {
        const CDeviceInfoMCM info(camera->GetInformation());
        if (ChildEntry<IDevice>* const entry = FindChild(devices_, info.GetId())) {
            entry->found = true;
        } else {
            devices_.emplace_back(info.Clone());
            devices_.back().isNew = true;
        }
    }
    if (pbChanged) {
        *pbChanged = std::any_of(devices_.begin(), devices_.end(),
                                 [](const auto& entry) { return !entry.found && !entry.module; });
    }
    updated_ = true;
    devices_.erase(std::remove_if(devices_.begin(), devices_.end(),
                                  [](const auto& entry) {
                                      return !entry.isNew && !entry.found && !entry.module;
                                  }),
                   devices_.end());
    OnListUpdated();
    takeBackOnException.release();
    return GC_ERR_SUCCESS;
}

std::shared_ptr<Camera> Interface::FindCamera(const char* identifier) const
{
    for (const std::shared_ptr<Camera>& camera : manager_->GetCameras()) {
        if (std::strcmp(CDeviceInfoMCM(camera->GetInformation()).GetId(), identifier) == 0)
            return camera;
    }
    return nullptr;
}

GC_ERROR Interface::CreateDevice(std::size_t index, DEVICE_ACCESS_FLAGS iOpenFlags,
                                 DEV_HANDLE* phDevice)
{
    ChildEntry<IDevice>& entry = devices_[index];
    const boost::shared_ptr<IDevice> child =
        makeDevice_(FindCamera(entry.info->GetId()), entry.info, GetHandle(), iOpenFlags);
    if (!child) {
        SetLastError(GC_ERR_ERROR, "Internal error. Bad device info.");
        return kErrorAlreadyStored;
    }
    if (const GC_ERROR result = child->Open(); result != GC_ERR_SUCCESS)
        return result;
    child->SetHandle(HandleRegistry::Instance()->AddModule(child));
    entry.module = child;
    *phDevice = ToOpaque(child->GetHandle());
    return GC_ERR_SUCCESS;
}

} // namespace GenTLProducer
