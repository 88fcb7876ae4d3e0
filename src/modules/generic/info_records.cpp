#include "modules/generic/info_records.h"

#include <cinttypes>
#include <cstdio>
#include <dlfcn.h>

#include <boost/make_shared.hpp>

#include "trace/gentl_trace.h"

namespace GenTLProducer
{

std::string ReadInfoString(const InfoPtr& record, std::int32_t iInfoCmd, bool isPrivate)
{
    if (!record)
        return {};
    char text[1024] = {};
    std::size_t size = sizeof text;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const GC_ERROR result = isPrivate ? record->GetPrivateInfo(iInfoCmd, &type, text, &size)
                                      : record->GetInfo(iInfoCmd, &type, text, &size);
    if (result != GC_ERR_SUCCESS || type != INFO_DATATYPE_STRING || size == 0)
        return {};
    return text;
}

std::int32_t ReadInfoInt(const InfoPtr& record)
{
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    if (!record ||
        record->GetPrivateInfo(MODULE_PRIVATE_INFO_TL_TYPE_VALUE, &type, &value, &size) !=
            GC_ERR_SUCCESS ||
        type != INFO_DATATYPE_INT32)
        return 0;
    return value;
}

std::string LibraryPath()
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&LibraryPath), &info) == 0 || !info.dli_fname) {
        const char* reason = ::dlerror();
        GENTL_TRACE(kTraceLoader, 1, "dladdr failed: %s", reason ? reason : "");
        return {};
    }
    return info.dli_fname;
}

std::string BaseName(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string WithoutVersionSuffix(const std::string& fileName)
{
    const std::size_t extension = fileName.rfind("cti");
    const std::size_t dash = fileName.rfind('-');
    if (extension == std::string::npos || dash == std::string::npos || dash + 1 >= extension)
        return fileName;
    return fileName.substr(0, dash) + fileName.substr(extension - 1);
}

GC_ERROR CDefaultInfo::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                               std::size_t* piSize)
{
    return Value(iInfoCmd).Answer(piType, pBuffer, piSize);
}

GC_ERROR CDefaultInfo::GetPrivateInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                      std::size_t* piSize)
{
    return PrivateValue(iInfoCmd).Answer(piType, pBuffer, piSize);
}

namespace
{

InfoValue tlTypeOnly(std::int32_t iInfoCmd, std::int32_t value)
{
    if (iInfoCmd != MODULE_PRIVATE_INFO_TL_TYPE_VALUE)
        return {};
    return InfoValue::Int32("MODULE_PRIVATE_INFO_TL_TYPE_VALUE", value);
}

} // namespace

CDefaultSystemInfo::CDefaultSystemInfo(Fields fields)
    : fields_(std::move(fields)), fileName_(BaseName(fields_.pathName)),
      transportLayerId_(WithoutVersionSuffix(fileName_))
{
}

InfoPtr CDefaultSystemInfo::Clone() const
{
    return boost::make_shared<CDefaultSystemInfo>(*this);
}

InfoValue CDefaultSystemInfo::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case TL_INFO_ID:
        return InfoValue::String("TL_INFO_ID", transportLayerId_);
    case TL_INFO_VENDOR:
        return InfoValue::String("TL_INFO_VENDOR", fields_.vendor);
    case TL_INFO_MODEL:
        return InfoValue::String("TL_INFO_MODEL", fields_.model);
    case TL_INFO_VERSION:
        return InfoValue::String("TL_INFO_VERSION", fields_.version);
    case TL_INFO_TLTYPE:
        return InfoValue::String("TL_INFO_TLTYPE", fields_.tlType);
    case TL_INFO_NAME:
        return InfoValue::String("TL_INFO_NAME", fileName_);
    case TL_INFO_PATHNAME:
        return InfoValue::String("TL_INFO_PATHNAME", fields_.pathName);
    case TL_INFO_DISPLAYNAME:
        return InfoValue::String("TL_INFO_DISPLAYNAME", fields_.displayName);
    case TL_INFO_CHAR_ENCODING:
        return InfoValue::Int32("TL_INFO_CHAR_ENCODING", TL_CHAR_ENCODING_UTF8);
    case TL_INFO_GENTL_VER_MAJOR:
        return InfoValue::Uint32("TL_INFO_GENTL_VER_MAJOR", 1);
    case TL_INFO_GENTL_VER_MINOR:
        return InfoValue::Uint32("TL_INFO_GENTL_VER_MINOR", 5);
    default:
        return {};
    }
}

InfoValue CDefaultSystemInfo::PrivateValue(std::int32_t iInfoCmd) const
{
    return tlTypeOnly(iInfoCmd, fields_.tlTypeValue);
}

InfoPtr CDefaultInterfaceInfo::Clone() const
{
    return boost::make_shared<CDefaultInterfaceInfo>(*this);
}

InfoValue CDefaultInterfaceInfo::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case INTERFACE_INFO_ID:
        return InfoValue::String("INTERFACE_INFO_ID", fields_.identifier);
    case INTERFACE_INFO_DISPLAYNAME:
        return InfoValue::String("INTERFACE_INFO_DISPLAYNAME", fields_.displayName);
    case INTERFACE_INFO_TLTYPE:
        return InfoValue::String("INTERFACE_INFO_TLTYPE", fields_.tlType);
    default:
        return {};
    }
}

InfoValue CDefaultInterfaceInfo::PrivateValue(std::int32_t iInfoCmd) const
{
    return tlTypeOnly(iInfoCmd, fields_.tlTypeValue);
}

GC_ERROR CDefaultDeviceInfo::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                     std::size_t* piSize)
{
    // The camera's time stamps come from the kernel in nanoseconds: there is no frequency to
    // tell, and the out-parameters stay as they are.
    if (iInfoCmd == DEVICE_INFO_TIMESTAMP_FREQUENCY)
        return GC_ERR_NOT_IMPLEMENTED;
    return CDefaultInfo::GetInfo(iInfoCmd, piType, pBuffer, piSize);
}

InfoPtr CDefaultDeviceInfo::Clone() const
{
    return boost::make_shared<CDefaultDeviceInfo>(*this);
}

InfoValue CDefaultDeviceInfo::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case DEVICE_INFO_ID:
        return InfoValue::String("DEVICE_INFO_ID", fields_.identifier);
    case DEVICE_INFO_VENDOR:
        return InfoValue::String("DEVICE_INFO_VENDOR", fields_.vendor);
    case DEVICE_INFO_MODEL:
        return InfoValue::String("DEVICE_INFO_MODEL", fields_.model);
    case DEVICE_INFO_TLTYPE:
        return InfoValue::String("DEVICE_INFO_TLTYPE", fields_.tlType);
    case DEVICE_INFO_DISPLAYNAME:
        return InfoValue::String("DEVICE_INFO_DISPLAYNAME", fields_.displayName);
    case DEVICE_INFO_ACCESS_STATUS:
        return InfoValue::Int32("DEVICE_INFO_ACCESS_STATUS", fields_.accessStatus);
    case DEVICE_INFO_USER_DEFINED_NAME:
        return InfoValue::String("DEVICE_INFO_USER_DEFINED_NAME", fields_.userDefinedName);
    case DEVICE_INFO_SERIAL_NUMBER:
        return InfoValue::String("DEVICE_INFO_SERIAL_NUMBER", fields_.serialNumber);
    case DEVICE_INFO_VERSION:
        return InfoValue::String("DEVICE_INFO_VERSION", fields_.version);
    default:
        return {};
    }
}

InfoValue CDefaultDeviceInfo::PrivateValue(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case DEVICE_PRIVATE_INFO_PRODUCT:
        return InfoValue::String("DEVICE_PRIVATE_INFO_PRODUCT", fields_.product);
    case DEVICE_PRIVATE_INFO_MANUFACTURER:
        return InfoValue::String("DEVICE_PRIVATE_INFO_MANUFACTURER", fields_.manufacturer);
    case DEVICE_PRIVATE_INFO_SERIAL_NUMBER:
        return InfoValue::String("DEVICE_PRIVATE_INFO_SERIAL_NUMBER", fields_.serialNumber);
    case DEVICE_PRIVATE_INFO_VERSION:
        return InfoValue::String("DEVICE_PRIVATE_INFO_VERSION", fields_.version);
    default:
        return tlTypeOnly(iInfoCmd, fields_.tlTypeValue);
    }
}

InfoPtr CDefaultStaticStreamInfo::Clone() const
{
    return boost::make_shared<CDefaultStaticStreamInfo>(*this);
}

InfoValue CDefaultStaticStreamInfo::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case STREAM_INFO_ID:
        return InfoValue::String("STREAM_INFO_ID", fields_.identifier);
    case STREAM_INFO_TLTYPE:
        return InfoValue::String("STREAM_INFO_TLTYPE", fields_.tlType);
    default:
        return {};
    }
}

InfoValue CDefaultStaticStreamInfo::PrivateValue(std::int32_t iInfoCmd) const
{
    return tlTypeOnly(iInfoCmd, fields_.tlTypeValue);
}

GC_ERROR CDefaultPortInfo::GetPrivateInfo(std::int32_t, INFO_DATATYPE*, void*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

InfoPtr CDefaultPortInfo::Clone() const
{
    return boost::make_shared<CDefaultPortInfo>(*this);
}

InfoValue CDefaultPortInfo::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case PORT_INFO_ID:
        return InfoValue::String("PORT_INFO_ID", fields_.identifier);
    case PORT_INFO_VENDOR:
        return InfoValue::String("PORT_INFO_VENDOR", fields_.vendor);
    case PORT_INFO_MODEL:
        return InfoValue::String("PORT_INFO_MODEL", fields_.model);
    case PORT_INFO_TLTYPE:
        return InfoValue::String("PORT_INFO_TLTYPE", fields_.tlType);
    case PORT_INFO_MODULE:
        return InfoValue::String("PORT_INFO_MODULE", fields_.moduleName);
    case PORT_INFO_LITTLE_ENDIAN:
        return InfoValue::Bool8("PORT_INFO_LITTLE_ENDIAN",
                                fields_.endianness == Endianness::Little);
    case PORT_INFO_BIG_ENDIAN:
        return InfoValue::Bool8("PORT_INFO_BIG_ENDIAN", fields_.endianness == Endianness::Big);
    case PORT_INFO_ACCESS_READ:
        return InfoValue::Bool8("PORT_INFO_ACCESS_READ", true);
    case PORT_INFO_ACCESS_WRITE:
        return InfoValue::Bool8("PORT_INFO_ACCESS_WRITE", true);
    case PORT_INFO_ACCESS_NA:
        return InfoValue::Bool8("PORT_INFO_ACCESS_NA", false);
    case PORT_INFO_ACCESS_NI:
        return InfoValue::Bool8("PORT_INFO_ACCESS_NI", false);
    case PORT_INFO_VERSION:
        return InfoValue::String("PORT_INFO_VERSION", fields_.version);
    case PORT_INFO_PORTNAME:
        return InfoValue::String("PORT_INFO_PORTNAME", fields_.portName);
    default:
        return {};
    }
}

CDefaultUrlInfo::CDefaultUrlInfo(Fields fields) : fields_(std::move(fields))
{
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, ";%" PRIx64 ";%" PRIx64, fields_.registerAddress,
                  fields_.fileSize);
    url_ = "local:///" + fields_.fileName + numbers;
}

GC_ERROR CDefaultUrlInfo::GetPrivateInfo(std::int32_t, INFO_DATATYPE*, void*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

InfoPtr CDefaultUrlInfo::Clone() const
{
    return boost::make_shared<CDefaultUrlInfo>(*this);
}

InfoValue CDefaultUrlInfo::Value(std::int32_t iInfoCmd) const
{
    const auto number = [](const char* name, std::uint32_t value) {
        return InfoValue::Int32(name, static_cast<std::int32_t>(value));
    };
    switch (iInfoCmd) {
    case URL_INFO_URL:
        return InfoValue::String("URL_INFO_URL", url_);
    case URL_INFO_SCHEMA_VER_MAJOR:
        return number("URL_INFO_SCHEMA_VER_MAJOR", fields_.schemaMajor);
    case URL_INFO_SCHEMA_VER_MINOR:
        return number("URL_INFO_SCHEMA_VER_MINOR", fields_.schemaMinor);
    case URL_INFO_FILE_VER_MAJOR:
        return number("URL_INFO_FILE_VER_MAJOR", fields_.fileMajor);
    case URL_INFO_FILE_VER_MINOR:
        return number("URL_INFO_FILE_VER_MINOR", fields_.fileMinor);
    case URL_INFO_FILE_VER_SUBMINOR:
        return number("URL_INFO_FILE_VER_SUBMINOR", fields_.fileSubMinor);
    case URL_INFO_FILE_SHA1_HASH:
        if (fields_.sha1.empty())
            return {};
        return InfoValue::String("URL_INFO_FILE_SHA1_HASH", fields_.sha1);
    case URL_INFO_FILE_REGISTER_ADDRESS:
        return InfoValue::Uint64("URL_INFO_FILE_REGISTER_ADDRESS", fields_.registerAddress);
    case URL_INFO_FILE_SIZE:
        return InfoValue::Uint64("URL_INFO_FILE_SIZE", fields_.fileSize);
    case URL_INFO_SCHEME:
        return InfoValue::Int32("URL_INFO_SCHEME", URL_SCHEME_LOCAL);
    case URL_INFO_FILENAME:
        return InfoValue::String("URL_INFO_FILENAME", fields_.fileName);
    default:
        return {};
    }
}

} // namespace GenTLProducer
