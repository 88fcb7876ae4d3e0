#include "producer/port.h"

#include <optional>

#include "producer/info.h"

namespace zevo_tool
{

void GenTLPort::Read(std::uint64_t address, void* data, std::size_t size)
{
    std::size_t done = size;
    producer_.Check("GCReadPort", producer_->GCReadPort(handle_, address, data, &done));
    if (done != size)
        throw Failure("GCReadPort has read " + std::to_string(done) + " of " +
                      std::to_string(size) + " bytes");
}

void GenTLPort::Write(std::uint64_t address, const void* data, std::size_t size)
{
    std::size_t done = size;
    producer_.Check("GCWritePort", producer_->GCWritePort(handle_, address, data, &done));
    if (done != size)
        throw Failure("GCWritePort has written " + std::to_string(done) + " of " +
                      std::to_string(size) + " bytes");
}

std::vector<std::string> GenTLPort::Urls() const
{
    std::uint32_t number = 0;
    producer_.Check("GCGetNumPortURLs", producer_->GCGetNumPortURLs(handle_, &number));
    std::vector<std::string> urls;
    for (std::uint32_t index = 0; index < number; ++index) {
        const InfoQuery query = [&](std::int32_t command, INFO_DATATYPE* type, void* buffer,
                                    std::size_t* size) {
            return producer_->GCGetPortURLInfo(handle_, index, command, type, buffer, size);
        };
        if (std::optional<std::string> url = InfoText(query, URL_INFO_URL))
            urls.push_back(*std::move(url));
    }
    return urls;
}

} // namespace zevo_tool
