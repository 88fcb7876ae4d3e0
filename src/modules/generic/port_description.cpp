#include "modules/generic/port_description.h"

#include <cstring>

#include <boost/make_shared.hpp>

#include "genicam/embedded_files.h"

namespace GenTLProducer
{

namespace
{

struct PortDescription {
    const char* portIdentifier;
    const char* resourceName;
    const char* urlFileName;
};

constexpr PortDescription kDescriptions[] = {
    {kSystemPortId, "System.xml", "GenTLSystem.xml"},
    {kInterfacePortId, "Interface.xml", "GenTLInterface.xml"},
    {kDevicePortId, "DeviceMCM.xml", "GenTLDevice.xml"},
    {kStreamPortId, "DataStreamMCM.xml", "GenTLStream.xml"},
    {kRemotePortId, "genicam.xml", "RemoteDevice.xml"},
};

} // namespace

bool AttachPortXml(const char* portIdentifier, std::vector<std::uint8_t>& xmlBytes,
                   boost::shared_ptr<CDefaultUrlInfo>& urlInfo, std::uint64_t address)
{
    if (!portIdentifier)
        return false;
    for (const PortDescription& row : kDescriptions) {
        if (std::strcmp(row.portIdentifier, portIdentifier) != 0)
            continue;
        const EmbeddedFile* file = FindEmbeddedFile(row.resourceName);
        if (!file)
            return false;
        CDefaultUrlInfo::Fields fields;
        fields.sha1 = file->sha1;
        fields.fileName = row.urlFileName;
        fields.registerAddress = address;
        fields.fileSize = file->size;
        urlInfo = boost::make_shared<CDefaultUrlInfo>(fields);
        xmlBytes.assign(file->data, file->data + file->size);
        return true;
    }
    return false;
}

} // namespace GenTLProducer
