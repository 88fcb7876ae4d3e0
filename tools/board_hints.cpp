#include "board_hints.h"

#include <glob.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace zevo_tool
{

namespace
{

std::vector<std::string> VideoNodes(const std::string& folder)
{
    std::vector<std::string> nodes;
    glob_t found{};
    if (glob((folder + "/video*").c_str(), 0, nullptr, &found) == 0)
        nodes.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    return nodes;
}

std::string GroupOf(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    const group* entry = getgrgid(status.st_gid);
    return entry != nullptr ? entry->gr_name : std::to_string(status.st_gid);
}

} // namespace

std::vector<std::string> BoardHints(const std::string& folder)
{
    const std::vector<std::string> nodes = VideoNodes(folder);
    if (nodes.empty())
        return {"there is no " + folder +
                "/video* node: the board has no camera driver, or it has found no camera"};
    std::vector<std::string> hints;
    for (const std::string& node : nodes) {
        if (access(node.c_str(), R_OK | W_OK) == 0)
            continue;
        std::string hint = node + ": " + std::generic_category().message(errno);
        if (errno == EACCES)
            hint = "no permission for " + node + ": become a member of its group, " + GroupOf(node);
        hints.push_back(hint);
    }
    if (hints.empty())
        hints.push_back(nodes.front() + (nodes.size() > 1 ? " and its like are" : " is") +
                        " there, but the producer knows no camera behind it");
    return hints;
}

} // namespace zevo_tool
