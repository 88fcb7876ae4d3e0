#include "producer/producer_search.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace zevo_tool
{

namespace
{

namespace fs = std::filesystem;

std::vector<std::string> Split(const std::string& list)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= list.size();) {
        const std::size_t end = std::min(list.find(':', start), list.size());
        if (end > start)
            parts.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

void AddFile(const fs::path& file, std::vector<std::string>& files)
{
    const bool isKnown = std::any_of(files.begin(), files.end(), [&](const std::string& known) {
        std::error_code ignored;
        return fs::equivalent(known, file, ignored);
    });
    if (!isKnown)
        files.push_back(file.string());
}

void SearchFolder(const std::string& folder, ProducerSearch& search)
{
    std::error_code error;
    std::vector<fs::path> found;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().extension() == ".cti")
            found.push_back(entry->path());
    if (error)
        search.problems.push_back(folder + ": " + error.message());
    else if (found.empty())
        search.problems.push_back(folder + " has no *.cti file");
    std::sort(found.begin(), found.end());
    for (const fs::path& file : found)
        AddFile(file, search.files);
}

} // namespace

const char* ProducerPathVariable()
{
    return sizeof(void*) == 8 ? "GENICAM_GENTL64_PATH" : "GENICAM_GENTL32_PATH";
}

ProducerSearch SearchProducers(const char* folders)
{
    ProducerSearch search;
    const std::string variable = ProducerPathVariable();
    if (folders == nullptr) {
        search.problems.push_back(variable + " isn't set");
        return search;
    }
    const std::vector<std::string> parts = Split(folders);
    if (parts.empty())
        search.problems.push_back(variable + " is empty");
    for (const std::string& folder : parts)
        SearchFolder(folder, search);
    return search;
}

ProducerSearch SearchProducers()
{
    return SearchProducers(std::getenv(ProducerPathVariable()));
}

} // namespace zevo_tool
