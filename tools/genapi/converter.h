// Numbers that a camera keeps as integers in other units.
#pragma once

#include <arv.h>

namespace zevo_tool
{

/// The node that a feature passes its value on to; null where an index chooses it, or where the
/// value ends here. Not owned.
ArvGcNode* ValueTarget(ArvGcFeatureNode* node);

/// Gives the integer that a feature leads to through Float and Converter nodes the value that is
/// nearest to a number in the feature's unit; the library would cut off what lies behind the point,
/// so that 0.29 becomes 0.28. False, and nothing is done, when there is no such integer or the way
/// isn't that simple; errors as the library reports them.
bool SetNearestInteger(ArvGcFeatureNode* node, double value, GError** error);

} // namespace zevo_tool
