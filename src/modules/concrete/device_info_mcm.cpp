#include "modules/concrete/device_info_mcm.h"

#include <boost/make_shared.hpp>

namespace GenTLProducer
{

namespace
{

// What stands behind the first colon, or the whole text if there is none.
std::string withoutPrefix(const std::string& serialNumber)
{
    const std::size_t colon = serialNumber.find(':');
    return colon == std::string::npos ? serialNumber : serialNumber.substr(colon + 1);
}

bool isBlank(const std::string& text)
{
    return text.find_first_not_of(" \t") == std::string::npos;
}

CDefaultDeviceInfo::Fields fieldsOf(const mcm::DeviceInformation& device)
{
    CDefaultDeviceInfo::Fields fields;
    fields.serialNumber = withoutPrefix(device.serialNumber);
    const std::string serialInParentheses = " (" + fields.serialNumber + ")";
    fields.identifier = device.manufacturerName + " " + device.modelName + serialInParentheses;
    fields.vendor = device.manufacturerName;
    fields.model = device.modelName;
    fields.tlType = "Custom";
    fields.tlTypeValue = 5;
    fields.userDefinedName = device.userDefinedName;
    fields.displayName =
        (isBlank(device.userDefinedName) ? device.modelName : device.userDefinedName) +
        serialInParentheses;
    fields.version = "Unknown";
    fields.product = "Vant ZEVO MIPI";
    fields.manufacturer = device.manufacturerInformation;
    return fields;
}

} // namespace

CDeviceInfoMCM::CDeviceInfoMCM(CameraInformation camera)
    : CDefaultDeviceInfo(fieldsOf(camera.device)), camera_(std::move(camera))
{
}

InfoPtr CDeviceInfoMCM::Clone() const
{
    return boost::make_shared<CDeviceInfoMCM>(*this);
}

} // namespace GenTLProducer
