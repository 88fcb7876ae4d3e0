#include "bus/version.h"

#include <cstdio>
#include <sstream>

#include "trace/camera_log.h"

namespace mcm
{

namespace
{

std::string* fieldOf(VersionFields& fields, char letter)
{
    switch (letter) {
    case 'p':
        return &fields.p;
    case 's':
        return &fields.s;
    case 'v':
        return &fields.v;
    case 'h':
        return &fields.h;
    default:
        return nullptr;
    }
}

} // namespace

bool checkVersion(Version required, Version connected) noexcept
{
    if (connected.major == required.major && connected.minor >= required.minor)
        return true;
    McmLog(kLogError, kLogAlways,
           "ERROR: Version incompatible, need at least %d.%d, connected: %d.%d\n", required.major,
           required.minor, connected.major, connected.minor);
    return false;
}

VersionFields ExtractVersionstring(const std::string& text)
{
    VersionFields fields;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, '/');) {
        if (part.size() < 2 || part[1] != '=')
            continue;
        if (std::string* field = fieldOf(fields, part[0]))
            *field = part.substr(2);
        else
            McmLog(kLogError, kLogAlways,
                   "ERROR: %s: Unexpected field '%s' in version string ignored.\n",
                   "ExtractVersionstring", part.c_str());
    }
    if (fields.s == "r" || fields.s == "p")
        std::sscanf(fields.v.c_str(), "%d.%d", &fields.major, &fields.minor);
    return fields;
}

} // namespace mcm
