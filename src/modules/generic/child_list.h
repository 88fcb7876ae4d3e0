// The list of children that system, interface and device keep.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "modules/generic/close_quietly.h"
#include "modules/generic/info_records.h"

namespace GenTLProducer
{

/// One child: its record, which outlives the child's close, and the child while it is open.
/// Destroying the entry closes an open child and swallows every exception.
template <typename Child>
struct ChildEntry {
    explicit ChildEntry(InfoPtr record) : info(std::move(record)) {}
    ChildEntry(ChildEntry&&) noexcept = default;
    ChildEntry& operator=(ChildEntry&& other) noexcept
    {
        std::swap(info, other.info);
        std::swap(module, other.module);
        std::swap(found, other.found);
        std::swap(isNew, other.isNew);
        return *this;
    }
    ChildEntry(const ChildEntry&) = delete;
    ChildEntry& operator=(const ChildEntry&) = delete;
    ~ChildEntry()
    {
        if (module)
            CloseQuietly([this] { module->Close(); });
    }

    InfoPtr info;
    boost::shared_ptr<Child> module;
    bool found = false; ///< seen again in the latest list update
    bool isNew = false; ///< added in the latest list update
};

template <typename Child>
using ChildList = std::vector<ChildEntry<Child>>;

/// First entry of that identifier, or null.
template <typename Child>
ChildEntry<Child>* FindChild(ChildList<Child>& list, const char* identifier)
{
    const auto entry = std::find_if(list.begin(), list.end(), [&](const ChildEntry<Child>& child) {
        return std::strcmp(child.info->GetId(), identifier) == 0;
    });
    return entry == list.end() ? nullptr : &*entry;
}

/// Identifier by index, by the size rules of the ID functions.
template <typename Child>
GC_ERROR CopyChildId(const ChildList<Child>& list, std::uint32_t iIndex, char* sID,
                     std::size_t* piSize)
{
    if (iIndex >= list.size())
        return GC_ERR_INVALID_INDEX;
    if (!piSize)
        return GC_ERR_INVALID_PARAMETER;
    const char* const identifier = list[iIndex].info->GetId();
    const std::size_t needed = std::strlen(identifier) + 1;
    if (sID) {
        if (*piSize < needed)
            return GC_ERR_BUFFER_TOO_SMALL;
        std::memcpy(sID, identifier, needed);
    }
    *piSize = needed;
    return GC_ERR_SUCCESS;
}

/// Takes the open module off its entry and closes it.
template <typename Child>
void CloseChild(ChildEntry<Child>& entry)
{
    boost::shared_ptr<Child> module;
    module.swap(entry.module);
    module->Close();
}

/// Value of a selector's maximum register.
template <typename Child>
std::uint32_t LastIndex(const ChildList<Child>& list)
{
    return list.empty() ? 0 : static_cast<std::uint32_t>(list.size() - 1);
}

} // namespace GenTLProducer
