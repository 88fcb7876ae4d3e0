// What the launcher has to know of a program before it starts it.
#pragma once

#include <string>
#include <vector>

namespace zevo_board
{

struct ProgramFile {
    bool isElf = false;
    bool isDynamic = false;             ///< started by the dynamic linker, which takes preloads
    std::vector<std::string> libraries; ///< that it asks for by name
    std::string interpreter;            ///< of a script, from its first line
};

/// Reads as far as the file makes sense; a file that can't be read gives the initial values.
ProgramFile ReadProgram(const std::string& path);

/// The path that execvp() would start; the name itself if it has a slash or isn't found.
std::string FindProgram(const std::string& name);

} // namespace zevo_board
