// The generic device module: the list of data streams, without a notion of a camera.
#pragma once

#include <atomic>

#include "modules/generic/child_list.h"
#include "modules/generic/default_module.h"
#include "registers/space/iregister_space.h"

namespace GenTLProducer
{

class CDefaultDevice : public CDefaultModule<IDevice>, public IRegisterSpace
{
public:
    CDefaultDevice(InfoPtr deviceInfo, Handle parent, DEVICE_ACCESS_FLAGS iOpenFlags);

    GC_ERROR Open() override;
    void Close() override;
    GC_ERROR GetNumDataStreams(std::uint32_t* piNumDataStreams) override;
    GC_ERROR GetDataStreamID(std::uint32_t iIndex, char* sDataStreamID,
                             std::size_t* piSize) override;
    GC_ERROR OpenDataStream(const char* sDataStreamID, DS_HANDLE* phDataStream) override;
    GC_ERROR CloseDataStream(const char* sDataStreamID) override;
    DEVICE_ACCESS_STATUS GetAccessStatus() const override;
    std::string GetId() const override;

    bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                         std::size_t uiRegisterDataSize) override;
    bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                        std::size_t uiRegisterDataSize) override;

protected:
    /// Makes and opens the stream of this entry, enters it there and into the registry.
    virtual GC_ERROR CreateStream(std::size_t index, DS_HANDLE* phDataStream) = 0;

    /// Enters a stream's record unless the list has one of that identifier, and shows the list in
    /// the selector registers.
    void AddStream(const InfoPtr& info);

    /// Whether a consumer wants to hear of this event now. "Once" turns itself off. Any thread.
    bool TakeNotification(std::uint32_t event);

    ChildList<IStream> streams_;
    InfoPtr deviceInfo_;

private:
    void DeclareRegisters();
    /// The event selector has the one entry that there is.
    bool isDeviceLostSelected();

    std::uint32_t streamSelector_ = 0;
    DEVICE_ACCESS_STATUS accessStatus_;
    // Written under the module's lock; a surprise removal reads it from under the port's.
    std::atomic<std::uint32_t> eventNotification_{0};
};

} // namespace GenTLProducer
