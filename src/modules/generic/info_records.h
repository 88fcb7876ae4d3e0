// The info records of modules, ports and URLs. A record doesn't change once it is made, so that
// any thread may read it.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "modules/generic/info_value.h"

namespace GenTLProducer
{

/// Private command of every record with a transport layer type: the type as an int32, the value
/// of the module description's enumeration.
constexpr std::int32_t MODULE_PRIVATE_INFO_TL_TYPE_VALUE = 30000;

/// Private commands of a device record.
constexpr std::int32_t DEVICE_PRIVATE_INFO_PRODUCT = 10;
constexpr std::int32_t DEVICE_PRIVATE_INFO_MANUFACTURER = 20;
constexpr std::int32_t DEVICE_PRIVATE_INFO_SERIAL_NUMBER = 30;
constexpr std::int32_t DEVICE_PRIVATE_INFO_VERSION = 40;

class IEnumerationInfo
{
public:
    virtual ~IEnumerationInfo() = default;
    /// Answers by the GenTL info protocol; see InfoValue::Answer.
    virtual GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             std::size_t* piSize) = 0;
    /// The same for the private commands above.
    virtual GC_ERROR GetPrivateInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                    std::size_t* piSize) = 0;
    /// Text owned by the record.
    virtual const char* GetId() const = 0;
    virtual boost::shared_ptr<IEnumerationInfo> Clone() const = 0;
};

using InfoPtr = boost::shared_ptr<IEnumerationInfo>;

/// Text of a record's command; empty where the record is missing or gives no string.
std::string ReadInfoString(const InfoPtr& record, std::int32_t iInfoCmd, bool isPrivate = false);

/// Transport layer type of a record; 0 where it has none.
std::int32_t ReadInfoInt(const InfoPtr& record);

/// Common part of the records: the commands are a function from number to value.
class CDefaultInfo : public IEnumerationInfo
{
public:
    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    GC_ERROR GetPrivateInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                            std::size_t* piSize) override;

protected:
    virtual InfoValue Value(std::int32_t iInfoCmd) const = 0;
    virtual InfoValue PrivateValue(std::int32_t /*iInfoCmd*/) const { return {}; }
};

/// The producer itself: what GCGetInfo and TLGetInfo answer.
class CDefaultSystemInfo final : public CDefaultInfo
{
public:
    struct Fields {
        std::string identifier;
        std::string vendor;
        std::string model;
        std::string version;
        std::string tlType;
        std::int32_t tlTypeValue;
        std::string displayName;
        std::string pathName; ///< of the shared object
    };

    explicit CDefaultSystemInfo(Fields fields);
    const char* GetId() const override { return fields_.identifier.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;
    InfoValue PrivateValue(std::int32_t iInfoCmd) const override;

    Fields fields_;
    std::string fileName_;
    std::string transportLayerId_; ///< file name without a version suffix
};

/// Path of the shared object that this code lies in, as the loader knows it; empty on failure.
std::string LibraryPath();

/// Name behind the last "/" of a path.
std::string BaseName(const std::string& path);

/// name-2.0.0.cti becomes name.cti; a name without a version suffix stays.
std::string WithoutVersionSuffix(const std::string& fileName);

class CDefaultInterfaceInfo final : public CDefaultInfo
{
public:
    struct Fields {
        std::string identifier;
        std::string tlType;
        std::string displayName;
        std::int32_t tlTypeValue;
    };

    explicit CDefaultInterfaceInfo(Fields fields) : fields_(std::move(fields)) {}
    const char* GetId() const override { return fields_.identifier.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;
    InfoValue PrivateValue(std::int32_t iInfoCmd) const override;

    Fields fields_;
};

class CDefaultDeviceInfo : public CDefaultInfo
{
public:
    struct Fields {
        std::string identifier;
        std::string vendor;
        std::string model;
        std::string tlType;
        std::string displayName;
        std::int32_t accessStatus = DEVICE_ACCESS_STATUS_UNKNOWN;
        std::int32_t tlTypeValue = 0;
        std::string product;
        std::string manufacturer;
        std::string serialNumber;
        std::string version;
        std::string userDefinedName;
    };

    explicit CDefaultDeviceInfo(Fields fields) : fields_(std::move(fields)) {}
    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    const char* GetId() const override { return fields_.identifier.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;
    InfoValue PrivateValue(std::int32_t iInfoCmd) const override;

    Fields fields_;
};

class CDefaultStaticStreamInfo final : public CDefaultInfo
{
public:
    struct Fields {
        std::string identifier;
        std::string tlType;
        std::int32_t tlTypeValue;
    };

    explicit CDefaultStaticStreamInfo(Fields fields) : fields_(std::move(fields)) {}
    const char* GetId() const override { return fields_.identifier.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;
    InfoValue PrivateValue(std::int32_t iInfoCmd) const override;

    Fields fields_;
};

class CDefaultPortInfo final : public CDefaultInfo
{
public:
    enum class Endianness : std::uint32_t { Little = 0, Big = 1 };

    struct Fields {
        Endianness endianness;
        std::string identifier;
        std::string moduleName;
        std::string portName;
        std::string vendor;
        std::string model;
        std::string version;
        std::string tlType;
        std::string displayName; ///< kept for maintainers; no command reads it
    };

    explicit CDefaultPortInfo(Fields fields) : fields_(std::move(fields)) {}
    GC_ERROR GetPrivateInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                            std::size_t* piSize) override;
    const char* GetId() const override { return fields_.identifier.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;

    Fields fields_;
};

/// Where a port's description is found: a local URL, "local:///name;address;size", numbers in
/// lower-case hexadecimal.
class CDefaultUrlInfo final : public CDefaultInfo
{
public:
    struct Fields {
        std::string sha1; ///< 40 lower-case hexadecimal digits
        std::string fileName;
        std::uint64_t registerAddress = 0;
        std::uint64_t fileSize = 0; ///< bytes
        std::uint32_t schemaMajor = 1;
        std::uint32_t schemaMinor = 1;
        std::uint32_t fileMajor = 0;
        std::uint32_t fileMinor = 1;
        std::uint32_t fileSubMinor = 0;
    };

    explicit CDefaultUrlInfo(Fields fields);
    GC_ERROR GetPrivateInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                            std::size_t* piSize) override;
    const char* GetId() const override { return url_.c_str(); }
    InfoPtr Clone() const override;

private:
    InfoValue Value(std::int32_t iInfoCmd) const override;

    Fields fields_;
    std::string url_;
};

} // namespace GenTLProducer
