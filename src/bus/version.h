// Versions that the module's parts tell of themselves.
#pragma once

#include <string>

namespace mcm
{

struct Version {
    int major;
    int minor;
};

/// True when the connected version has the required major number and at least the required
/// minor one. Logs an error otherwise; the caller decides what follows from it.
bool checkVersion(Version required, Version connected) noexcept;

/// The fields of a firmware version string, "p=.../s=.../v=.../h=...".
struct VersionFields {
    std::string p;
    std::string s; ///< "r" or "p" where v holds numbers
    std::string v;
    std::string h;
    int major = -1; ///< -1 where v isn't told to hold numbers
    int minor = -1;
};

/// Fields without "=" behind their letter are passed over, those with another letter are logged
/// and dropped. Of several with the same letter the last one counts.
VersionFields ExtractVersionstring(const std::string& text);

} // namespace mcm
