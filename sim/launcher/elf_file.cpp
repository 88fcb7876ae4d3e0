#include "elf_file.h"

#include <elf.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

namespace zevo_board
{

namespace
{

/// A file's bytes, with reads that can't leave them.
class Bytes
{
public:
    explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}

    template <typename T>
    std::optional<T> At(std::size_t offset) const
    {
        T value;
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T))
            return std::nullopt;
        std::memcpy(&value, bytes_.data() + offset, sizeof(T));
        return value;
    }

    std::string Text(std::size_t offset) const
    {
        const std::size_t end = bytes_.find('\0', offset);
        return offset < bytes_.size() && end != std::string::npos
                   ? bytes_.substr(offset, end - offset)
                   : std::string();
    }

    bool StartsWith(const char* text) const { return bytes_.rfind(text, 0) == 0; }
    std::string FirstLine() const { return bytes_.substr(0, bytes_.find('\n')); }

private:
    std::string bytes_;
};

/// The offset in the file of an address in memory.
std::size_t ToOffset(const std::vector<Elf64_Phdr>& segments, Elf64_Addr address)
{
    for (const Elf64_Phdr& segment : segments)
        if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
            address - segment.p_vaddr < segment.p_filesz)
            return address - segment.p_vaddr + segment.p_offset;
    return SIZE_MAX;
}

void ReadDynamic(const Bytes& file, const std::vector<Elf64_Phdr>& segments,
                 const Elf64_Phdr& dynamic, ProgramFile& program)
{
    std::size_t names = SIZE_MAX;
    std::vector<Elf64_Xword> needed;
    for (std::size_t i = 0; i < dynamic.p_filesz / sizeof(Elf64_Dyn); ++i) {
        const auto entry = file.At<Elf64_Dyn>(dynamic.p_offset + i * sizeof(Elf64_Dyn));
        if (!entry || entry->d_tag == DT_NULL)
            break;
        if (entry->d_tag == DT_STRTAB)
            names = ToOffset(segments, entry->d_un.d_ptr);
        if (entry->d_tag == DT_NEEDED)
            needed.push_back(entry->d_un.d_val);
    }
    for (const Elf64_Xword name : needed)
        if (names != SIZE_MAX)
            program.libraries.push_back(file.Text(names + name));
}

/// In large parts: a program with a sanitizer in it has tens of megabytes.
std::string Content(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::string content;
    std::vector<char> part(std::size_t{1} << 20);
    while (stream.read(part.data(), static_cast<std::streamsize>(part.size())) ||
           stream.gcount() > 0)
        content.append(part.data(), static_cast<std::size_t>(stream.gcount()));
    return content;
}

} // namespace

ProgramFile ReadProgram(const std::string& path)
{
    const Bytes file(Content(path));
    ProgramFile program;
    if (file.StartsWith("#!")) {
        std::istringstream line(file.FirstLine().substr(2));
        line >> program.interpreter;
        return program;
    }
    const auto header = file.At<Elf64_Ehdr>(0);
    if (!header || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
        header->e_ident[EI_CLASS] != ELFCLASS64)
        return program;
    program.isElf = true;
    std::vector<Elf64_Phdr> segments;
    for (std::size_t i = 0; i < header->e_phnum; ++i)
        if (const auto segment = file.At<Elf64_Phdr>(header->e_phoff + i * sizeof(Elf64_Phdr)))
            segments.push_back(*segment);
    for (const Elf64_Phdr& segment : segments) {
        program.isDynamic = program.isDynamic || segment.p_type == PT_INTERP;
        if (segment.p_type == PT_DYNAMIC)
            ReadDynamic(file, segments, segment, program);
    }
    return program;
}

std::string FindProgram(const std::string& name)
{
    const char* path = std::getenv("PATH");
    if (name.find('/') != std::string::npos || !path)
        return name;
    std::istringstream folders(path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string candidate = (folder.empty() ? "." : folder) + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return name;
}

} // namespace zevo_board
