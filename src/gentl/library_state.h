// What the library as a whole knows: is it initialised, and which system is open.
#pragma once

#include <atomic>
#include <mutex>

#include "modules/generic/handle_registry.h"
#include "modules/generic/info_records.h"

namespace GenTLProducer
{

/// Calls read the two flags without a lock. Nothing here runs at unload or at exit.
class LibraryState final
{
public:
    static LibraryState& Instance() noexcept;

    bool isInitialised() const noexcept { return isInitialised_; }
    /// Handle of the one open system; 0 when none is.
    Handle openSystem() const noexcept { return openSystem_; }
    bool isTLOpen() const noexcept { return openSystem_ != 0; }
    bool isOpenSystem(const void* hTL) const noexcept
    {
        return isTLOpen() && ToHandle(hTL) == openSystem_;
    }
    InfoPtr systemInfo() const;

    // The exported functions of the same names, without their frame.
    GC_ERROR Init();
    GC_ERROR Close();
    GC_ERROR OpenSystem(TL_HANDLE* phTL);
    GC_ERROR CloseSystem();

private:
    void SetSystemInfo(InfoPtr info);
    void Pin() noexcept;
    void Unpin() noexcept;

    // Lock order 1: one change of state at a time. Recursive: closing the library closes the
    // system.
    mutable std::recursive_mutex mutex_;
    std::atomic<bool> isInitialised_{false};
    std::atomic<Handle> openSystem_{0};
    bool wasEverInitialised_ = false;
    mutable std::mutex infoMutex_; // leaf: guards the reference below
    InfoPtr systemInfo_;
    void* pin_ = nullptr; ///< keeps the code in memory while threads of it may run
};

} // namespace GenTLProducer
