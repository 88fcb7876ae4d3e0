#include "genapi/description.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <memory>

#include <arv.h>

#include "file_content.h"

namespace zevo_tool
{

namespace
{

/// No description is that long; a wrong length in a URL isn't to ask for all memory.
constexpr std::uint64_t kLongestDescription = 64 << 20;

[[noreturn]] void FailMalformed(const std::string& url)
{
    throw Failure("the description's URL can't be understood: " + url);
}

bool ConsumePrefix(std::string& text, const std::string& prefix)
{
    const bool isThere =
        text.size() >= prefix.size() &&
        std::equal(prefix.begin(), prefix.end(), text.begin(), [](char wanted, char found) {
            return wanted == std::tolower(static_cast<unsigned char>(found));
        });
    if (isThere)
        text.erase(0, prefix.size());
    return isThere;
}

std::uint64_t ParseHex(const std::string& digits, const std::string& url)
{
    std::string text = digits;
    ConsumePrefix(text, "0x");
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (error != std::errc() || end != text.data() + text.size())
        FailMalformed(url);
    return value;
}

std::string DecodePercent(const std::string& text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const char* digits = text.data() + i + 1;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            decoded += static_cast<char>(value);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

std::string Fetch(GenTLPort& port, const DescriptionUrl& url)
{
    if (url.scheme == DescriptionUrl::Scheme::File)
        return ReadFile(url.name);
    if (url.size > kLongestDescription)
        throw Failure("the description is said to have " + std::to_string(url.size) + " bytes");
    std::string data(url.size, '\0');
    port.Read(url.address, data.data(), data.size());
    return data;
}

std::string Unpack(const std::string& data)
{
    constexpr char kZipSign[] = "PK\x03\x04";
    if (data.compare(0, 4, kZipSign) != 0)
        return data.substr(0, data.find_last_not_of('\0') + 1);
    const std::unique_ptr<ArvZip, decltype(&arv_zip_free)> zip(
        arv_zip_new(data.data(), data.size()), &arv_zip_free);
    const GSList* files = arv_zip_get_file_list(zip.get());
    if (files == nullptr)
        throw Failure("the packed description has no file in it");
    const char* name = arv_zip_file_get_name(static_cast<ArvZipFile*>(files->data));
    std::size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> text(arv_zip_get_file(zip.get(), name, &size),
                                                        &g_free);
    return text ? std::string(static_cast<const char*>(text.get()), size) : std::string();
}

} // namespace

DescriptionUrl ParseDescriptionUrl(const std::string& url)
{
    std::string rest = url.substr(0, url.find('?'));
    if (ConsumePrefix(rest, "file:")) {
        ConsumePrefix(rest, "//");
        if (rest.empty())
            FailMalformed(url);
        return {DescriptionUrl::Scheme::File, DecodePercent(rest), 0, 0};
    }
    if (!ConsumePrefix(rest, "local:"))
        FailMalformed(url);
    ConsumePrefix(rest, "///");
    const std::size_t lengthMark = rest.rfind(';');
    const std::size_t addressMark = lengthMark == std::string::npos || lengthMark == 0
                                        ? lengthMark
                                        : rest.rfind(';', lengthMark - 1);
    if (addressMark == std::string::npos || addressMark == lengthMark)
        FailMalformed(url);
    return {DescriptionUrl::Scheme::Local, rest.substr(0, addressMark),
            ParseHex(rest.substr(addressMark + 1, lengthMark - addressMark - 1), url),
            ParseHex(rest.substr(lengthMark + 1), url)};
}

std::string FetchDescription(GenTLPort& port)
{
    std::string problem = "the port has no description";
    for (const std::string& url : port.Urls()) {
        try {
            return Unpack(Fetch(port, ParseDescriptionUrl(url)));
        } catch (const Failure& failure) {
            problem = failure.what();
        }
    }
    throw Failure(problem);
}

} // namespace zevo_tool
