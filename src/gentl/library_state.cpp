#include "gentl/library_state.h"

#include <dlfcn.h>

#include <boost/make_shared.hpp>

#include "base/last_error.h"
#include "modules/concrete/system_mcm.h"

namespace GenTLProducer
{

using Lock = std::lock_guard<std::recursive_mutex>;

LibraryState& LibraryState::Instance() noexcept
{
    // Never destroyed: a consumer that exits without closing may have threads in here still.
    alignas(LibraryState) static std::byte storage[sizeof(LibraryState)];
    static LibraryState& state = *new (storage) LibraryState;
    return state;
}

InfoPtr LibraryState::systemInfo() const
{
    const std::lock_guard<std::mutex> lock(infoMutex_);
    return systemInfo_;
}

void LibraryState::SetSystemInfo(InfoPtr info)
{
    const std::lock_guard<std::mutex> lock(infoMutex_);
    systemInfo_.swap(info);
}

GC_ERROR LibraryState::Init()
{
    const Lock lock(mutex_);
    if (isInitialised_)
        return GC_ERR_RESOURCE_IN_USE;
    SetSystemInfo(MakeSystemInfo());
    Pin();
    isInitialised_ = true;
    if (!wasEverInitialised_) {
        SetLastError(GC_ERR_SUCCESS, ErrorText(GC_ERR_SUCCESS));
        wasEverInitialised_ = true;
    }
    return GC_ERR_SUCCESS;
}

GC_ERROR LibraryState::Close()
{
    const Lock lock(mutex_);
    if (isTLOpen())
        TLClose(ToOpaque(openSystem_));
    isInitialised_ = false;
    SetSystemInfo(nullptr);
    DropLastError();
    GC_ERROR result = GC_ERR_SUCCESS;
    try {
        HandleRegistry::Destroy();
    } catch (...) {
        result = GC_ERR_ERROR;
    }
    Unpin();
    return result;
}

GC_ERROR LibraryState::OpenSystem(TL_HANDLE* phTL)
{
    const Lock lock(mutex_);
    if (!isInitialised_) // closed since the frame looked
        return GC_ERR_NOT_INITIALIZED;
    if (isTLOpen())
        return GC_ERR_RESOURCE_IN_USE;
    const auto system = boost::make_shared<SystemMCM>(systemInfo());
    if (const GC_ERROR result = system->Open(); result != GC_ERR_SUCCESS)
        return result;
    const Handle handle = HandleRegistry::Instance()->AddModule(system);
    openSystem_ = handle;
    system->SetHandle(handle);
    *phTL = ToOpaque(handle);
    return GC_ERR_SUCCESS;
}

GC_ERROR LibraryState::CloseSystem()
{
    const Lock lock(mutex_);
    const auto system = HandleRegistry::Instance()->GetModuleAs<ISystem>(openSystem_);
    if (!system)
        return GC_ERR_INVALID_HANDLE;
    openSystem_ = 0;
    system->Close();
    return GC_ERR_SUCCESS;
}

// A consumer may let go of the library while a device is open: its threads stay in this code.
void LibraryState::Pin() noexcept
{
    try {
        pin_ = ::dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
    } catch (const std::exception&) {
        pin_ = nullptr;
    }
}

void LibraryState::Unpin() noexcept
{
    if (pin_)
        ::dlclose(std::exchange(pin_, nullptr));
}

} // namespace GenTLProducer
