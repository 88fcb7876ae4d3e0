// GenTL's results by name.
#pragma once

#include <string>

#include <gentl/gentl.h>

namespace zevo_tool
{

/// "GC_ERR_TIMEOUT (-1011)", or "error -10001" for a producer's own code.
std::string ErrorName(GC_ERROR code);

} // namespace zevo_tool
