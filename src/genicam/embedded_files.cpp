#include "genicam/embedded_files.h"

#include <cstring>

extern "C" {
extern const char zevo_embedded_text[];
}

namespace GenTLProducer
{

namespace
{

struct Row {
    const char* resourceName;
    std::size_t offset;
    std::size_t size;
    const char* sha1;
};

// Written by the build from the files themselves.
constexpr Row kRows[] = {
#include "embedded_rows.inc"
};

} // namespace

const EmbeddedFile* FindEmbeddedFile(const char* resourceName) noexcept
{
    static const auto files = [] {
        struct {
            EmbeddedFile row[sizeof kRows / sizeof kRows[0]];
        } table{};
        for (std::size_t i = 0; i < sizeof kRows / sizeof kRows[0]; ++i) {
            const Row& row = kRows[i];
            table.row[i] = {row.resourceName, zevo_embedded_text + row.offset, row.size, row.sha1};
        }
        return table;
    }();
    for (const EmbeddedFile& file : files.row) {
        if (std::strcmp(file.resourceName, resourceName) == 0)
            return &file;
    }
    return nullptr;
}

} // namespace GenTLProducer
