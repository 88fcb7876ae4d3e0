#include "modules/generic/default_port.h"

namespace GenTLProducer
{

GC_ERROR CopyUrlList(const CUrlInfoVector& urls, char* sURL, std::size_t* piSize)
{
    std::string list;
    for (const auto& url : urls) {
        if (url)
            list.append(url->GetId()).push_back('\0');
    }
    if (list.empty())
        list.push_back('\0');
    list.push_back('\0');

    if (sURL) {
        if (*piSize < list.size())
            return GC_ERR_INVALID_PARAMETER;
        std::memcpy(sURL, list.data(), list.size());
    }
    *piSize = list.size();
    return GC_ERR_SUCCESS;
}

} // namespace GenTLProducer
