#include "genapi/feature.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "failure.h"
#include "genapi/converter.h"
#include "genapi/nearest_name.h"
#include "genapi/value_text.h"

namespace zevo_tool
{

namespace
{

/// Receives a library's error and turns it into a Failure.
class ErrorSlot final
{
public:
    ErrorSlot() = default;
    ~ErrorSlot() { g_clear_error(&error_); }
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;

    operator GError**() { return &error_; }
    bool IsSet() const { return error_ != nullptr; }
    void Throw(const std::string& subject) const
    {
        if (error_ != nullptr)
            throw Failure(subject + ": " + error_->message);
    }

private:
    GError* error_ = nullptr;
};

/// Calls a function of the library with its arguments and an error slot behind them.
template <typename Function, typename... Arguments>
auto Call(const std::string& subject, Function function, Arguments... arguments)
{
    ErrorSlot error;
    if constexpr (std::is_void_v<decltype(function(arguments..., error))>) {
        function(arguments..., error);
        error.Throw(subject);
    } else {
        const auto result = function(arguments..., error);
        error.Throw(subject);
        return result;
    }
}

std::string Text(const char* text)
{
    return text != nullptr ? text : "";
}

std::string Join(const std::vector<std::string>& words)
{
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : ", ") + word;
    return joined;
}

/// Limits of a type that stand for "none".
bool IsLimit(std::int64_t value)
{
    return value != std::numeric_limits<std::int64_t>::min() &&
           value != std::numeric_limits<std::int64_t>::max();
}

bool IsLimit(double value)
{
    return std::abs(value) < std::numeric_limits<double>::max();
}

bool IsStep(double value)
{
    return value > std::numeric_limits<double>::min();
}

std::string RangeText(const std::string& min, const std::string& max, const std::string& step)
{
    if (min.empty() && max.empty())
        return {};
    return min + " .. " + max + (step.empty() ? "" : " step " + step);
}

/// A number that reads like the limit means it, though a digit beyond the shown ones differs.
double SnapToLimit(double value, double limit)
{
    return FormatFloat(value) == FormatFloat(limit) ? limit : value;
}

} // namespace

const char* KindName(FeatureKind kind)
{
    switch (kind) {
    case FeatureKind::Category:
        return "Category";
    case FeatureKind::Integer:
        return "Integer";
    case FeatureKind::Float:
        return "Float";
    case FeatureKind::Boolean:
        return "Boolean";
    case FeatureKind::Enumeration:
        return "Enumeration";
    case FeatureKind::String:
        return "String";
    case FeatureKind::Command:
        return "Command";
    case FeatureKind::Other:
        break;
    }
    return "Other";
}

std::string Feature::Name() const
{
    return Text(arv_gc_feature_node_get_name(node_));
}

std::string Feature::ToolTip() const
{
    return Text(arv_gc_feature_node_get_tooltip(node_));
}

FeatureKind Feature::Kind() const
{
    if (ARV_IS_GC_CATEGORY(node_))
        return FeatureKind::Category;
    if (ARV_IS_GC_COMMAND(node_))
        return FeatureKind::Command;
    if (ARV_IS_GC_BOOLEAN(node_))
        return FeatureKind::Boolean;
    if (ARV_IS_GC_ENUMERATION(node_))
        return FeatureKind::Enumeration;
    if (ARV_IS_GC_ENUM_ENTRY(node_))
        return FeatureKind::Other;
    if (ARV_IS_GC_STRING(node_))
        return FeatureKind::String;
    if (ARV_IS_GC_FLOAT(node_))
        return FeatureKind::Float;
    if (ARV_IS_GC_INTEGER(node_))
        return FeatureKind::Integer;
    return FeatureKind::Other;
}

std::string Feature::Unit() const
{
    switch (Kind()) {
    case FeatureKind::Integer:
        return Text(arv_gc_integer_get_unit(ARV_GC_INTEGER(node_)));
    case FeatureKind::Float:
        return Text(arv_gc_float_get_unit(ARV_GC_FLOAT(node_)));
    default:
        return {};
    }
}

bool Feature::IsStreamable() const
{
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node_)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child))
        if (Text(arv_dom_node_get_node_name(child)) == "Streamable")
            return arv_gc_property_node_get_streamable(
                       ARV_GC_PROPERTY_NODE(child), ARV_GC_STREAMABLE_NO) == ARV_GC_STREAMABLE_YES;
    return false;
}

ArvGcVisibility Feature::Visibility() const
{
    const ArvGcVisibility visibility = arv_gc_feature_node_get_visibility(node_);
    return visibility == ARV_GC_VISIBILITY_UNDEFINED ? ARV_GC_VISIBILITY_BEGINNER : visibility;
}

bool Feature::IsAvailable() const
{
    return Call(Name(), arv_gc_feature_node_is_implemented, node_) &&
           Call(Name(), arv_gc_feature_node_is_available, node_);
}

bool Feature::IsLocked() const
{
    return Call(Name(), arv_gc_feature_node_is_locked, node_);
}

bool Feature::IsReadable() const
{
    return arv_gc_feature_node_get_actual_access_mode(node_) != ARV_GC_ACCESS_MODE_WO;
}

bool Feature::IsWritable() const
{
    return arv_gc_feature_node_get_actual_access_mode(node_) != ARV_GC_ACCESS_MODE_RO;
}

std::string Feature::IntegerText(std::int64_t value) const
{
    const bool isHex = arv_gc_integer_get_representation(ARV_GC_INTEGER(node_)) ==
                       ARV_GC_REPRESENTATION_HEX_NUMBER;
    return isHex ? FormatHex(value) : std::to_string(value);
}

std::string Feature::WithUnit(const std::string& value) const
{
    const std::string unit = Unit();
    return unit.empty() ? value : value + " " + unit;
}

std::string Feature::Value(Digits digits) const
{
    const std::string name = Name();
    switch (Kind()) {
    case FeatureKind::Integer:
        return IntegerText(Call(name, arv_gc_integer_get_value, ARV_GC_INTEGER(node_)));
    case FeatureKind::Float: {
        const double value = Call(name, arv_gc_float_get_value, ARV_GC_FLOAT(node_));
        return digits == Digits::Exact ? FormatFloatExactly(value) : FormatFloat(value);
    }
    case FeatureKind::Boolean:
        return Call(name, arv_gc_boolean_get_value, ARV_GC_BOOLEAN(node_)) ? "true" : "false";
    case FeatureKind::Enumeration:
        return Text(Call(name, arv_gc_enumeration_get_string_value, ARV_GC_ENUMERATION(node_)));
    case FeatureKind::String:
        return Text(Call(name, arv_gc_string_get_value, ARV_GC_STRING(node_)));
    case FeatureKind::Category:
    case FeatureKind::Command:
    case FeatureKind::Other:
        break;
    }
    throw Failure(name + " has no value");
}

std::string Feature::Choice() const
{
    const std::string name = Name();
    switch (Kind()) {
    case FeatureKind::Integer: {
        const auto min = Call(name, arv_gc_integer_get_min, ARV_GC_INTEGER(node_));
        const auto max = Call(name, arv_gc_integer_get_max, ARV_GC_INTEGER(node_));
        const auto step = Call(name, arv_gc_integer_get_inc, ARV_GC_INTEGER(node_));
        return RangeText(IsLimit(min) ? IntegerText(min) : "", IsLimit(max) ? IntegerText(max) : "",
                         step > 1 ? IntegerText(step) : "");
    }
    case FeatureKind::Float: {
        const auto min = Call(name, arv_gc_float_get_min, ARV_GC_FLOAT(node_));
        const auto max = Call(name, arv_gc_float_get_max, ARV_GC_FLOAT(node_));
        const auto step = Call(name, arv_gc_float_get_inc, ARV_GC_FLOAT(node_));
        return RangeText(IsLimit(min) ? FormatFloat(min) : "", IsLimit(max) ? FormatFloat(max) : "",
                         IsStep(step) ? FormatFloat(step) : "");
    }
    case FeatureKind::Enumeration:
        return Join(Entries());
    default:
        return {};
    }
}

std::vector<std::string> Feature::Entries() const
{
    std::vector<std::string> entries;
    for (const Feature& entry : EntryNodes())
        if (entry.IsAvailable())
            entries.push_back(entry.Name());
    return entries;
}

std::vector<std::string> Feature::Steps(std::int64_t most) const
{
    const std::string name = Name();
    if (Kind() != FeatureKind::Integer)
        return {Value()};
    const std::int64_t min = Call(name, arv_gc_integer_get_min, ARV_GC_INTEGER(node_));
    const std::int64_t max = Call(name, arv_gc_integer_get_max, ARV_GC_INTEGER(node_));
    const std::int64_t step =
        std::max<std::int64_t>(Call(name, arv_gc_integer_get_inc, ARV_GC_INTEGER(node_)), 1);
    if (!IsLimit(min) || !IsLimit(max) || (max - min) / step >= most)
        return {Value()};
    std::vector<std::string> steps;
    for (std::int64_t value = min; value <= max; value += step)
        steps.push_back(IntegerText(value));
    return steps;
}

/// In the order of the description, which the library's own list doesn't keep.
std::vector<Feature> Feature::EntryNodes() const
{
    std::vector<Feature> entries;
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node_)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child))
        if (ARV_IS_GC_ENUM_ENTRY(child))
            entries.emplace_back(ARV_GC_FEATURE_NODE(child));
    return entries;
}

void Feature::CheckReadable() const
{
    if (!IsAvailable())
        throw Failure(Name() + " isn't available in the camera's present state");
    if (!IsReadable())
        throw Failure(Name() + " is write-only");
}

void Feature::CheckWritable() const
{
    if (!IsAvailable())
        throw Failure(Name() + " isn't available in the camera's present state");
    if (!IsWritable())
        throw Failure(Name() + " is read-only");
    if (IsLocked())
        throw Failure(Name() + " is locked in the camera's present state");
}

void Feature::Set(const std::string& text, Checking checking) const
{
    if (checking == Checking::Everything)
        CheckWritable();
    switch (Kind()) {
    case FeatureKind::Integer:
        return SetInteger(text, checking);
    case FeatureKind::Float:
        return SetFloat(text, checking);
    case FeatureKind::Boolean:
        return SetBoolean(text);
    case FeatureKind::Enumeration:
        return SetEnumeration(text, checking);
    case FeatureKind::String:
        return SetString(text, checking);
    case FeatureKind::Command:
        throw Failure(Name() + " is a command; it is executed, not set");
    case FeatureKind::Category:
    case FeatureKind::Other:
        break;
    }
    throw Failure(Name() + " has no value");
}

void Feature::SetInteger(const std::string& text, Checking checking) const
{
    const std::string name = Name();
    const std::optional<std::int64_t> value = ParseInteger(text);
    if (!value)
        throw Failure(name + ": \"" + text + "\" isn't an integer");
    ArvGcInteger* node = ARV_GC_INTEGER(node_);
    if (checking == Checking::Everything) {
        const std::int64_t min = Call(name, arv_gc_integer_get_min, node);
        const std::int64_t max = Call(name, arv_gc_integer_get_max, node);
        const std::int64_t step = Call(name, arv_gc_integer_get_inc, node);
        if (*value < min)
            throw Failure(name + ": " + text + " is below the minimum of " +
                          WithUnit(IntegerText(min)));
        if (*value > max)
            throw Failure(name + ": " + text + " is above the maximum of " +
                          WithUnit(IntegerText(max)));
        if (step > 1 && IsLimit(min) && (*value - min) % step != 0) {
            const std::int64_t below = *value - (*value - min) % step;
            const std::string above =
                below <= max - step ? " and " + IntegerText(below + step) : std::string();
            throw Failure(name + ": " + text + " is no step of " + IntegerText(step) + " from " +
                          IntegerText(min) + "; the nearest " + (above.empty() ? "is " : "are ") +
                          IntegerText(below) + above);
        }
    }
    Call(name, arv_gc_integer_set_value, node, *value);
}

void Feature::SetFloat(const std::string& text, Checking checking) const
{
    const std::string name = Name();
    std::optional<double> value = ParseFloat(text);
    if (!value)
        throw Failure(name + ": \"" + text + "\" isn't a number");
    ArvGcFloat* node = ARV_GC_FLOAT(node_);
    if (checking == Checking::Everything) {
        const double min = Call(name, arv_gc_float_get_min, node);
        const double max = Call(name, arv_gc_float_get_max, node);
        value = SnapToLimit(SnapToLimit(*value, min), max);
        if (*value < min)
            throw Failure(name + ": " + text + " is below the minimum of " +
                          WithUnit(FormatFloat(min)));
        if (*value > max)
            throw Failure(name + ": " + text + " is above the maximum of " +
                          WithUnit(FormatFloat(max)));
    }
    if (!Call(name, SetNearestInteger, node_, *value))
        Call(name, arv_gc_float_set_value, node, *value);
}

void Feature::SetBoolean(const std::string& text) const
{
    const std::optional<bool> value = ParseBoolean(text);
    if (!value)
        throw Failure(Name() + ": \"" + text + "\" is neither true nor false");
    Call(Name(), arv_gc_boolean_set_value, ARV_GC_BOOLEAN(node_), gboolean{*value});
}

void Feature::SetEnumeration(const std::string& text, Checking checking) const
{
    const std::string name = Name();
    const std::vector<Feature> entries = EntryNodes();
    std::vector<std::string> available;
    const Feature* wanted = nullptr;
    for (const Feature& entry : entries) {
        if (entry.Name() == text)
            wanted = &entry;
        if (checking == Checking::SyntaxOnly || entry.IsAvailable())
            available.push_back(entry.Name());
    }
    if (wanted == nullptr)
        throw Failure(name + " has no entry \"" + text + "\"" + Suggestion(text, available) + " (" +
                      Join(available) + ")");
    if (std::find(available.begin(), available.end(), text) == available.end())
        throw Failure(name + ": entry \"" + text + "\" isn't available; available are " +
                      Join(available));
    // The library refuses entries that aren't available, which stored settings may be by now.
    ArvGcNode* target = ValueTarget(node_);
    if (checking == Checking::SyntaxOnly && ARV_IS_GC_INTEGER(target))
        Call(name, arv_gc_integer_set_value, ARV_GC_INTEGER(target),
             Call(name, arv_gc_enum_entry_get_value, ARV_GC_ENUM_ENTRY(wanted->node_)));
    else
        Call(name, arv_gc_enumeration_set_string_value, ARV_GC_ENUMERATION(node_), text.c_str());
}

void Feature::SetString(const std::string& text, Checking checking) const
{
    const std::string name = Name();
    ArvGcString* node = ARV_GC_STRING(node_);
    if (checking == Checking::Everything) {
        const std::int64_t longest = Call(name, arv_gc_string_get_max_length, node);
        if (longest >= 0 && text.size() > static_cast<std::uint64_t>(longest))
            throw Failure(name + ": the text has " + std::to_string(text.size()) +
                          " bytes, and at most " + std::to_string(longest) + " are taken");
    }
    Call(name, arv_gc_string_set_value, node, text.c_str());
}

void Feature::Execute() const
{
    if (Kind() != FeatureKind::Command)
        throw Failure(Name() + " isn't a command");
    if (!IsAvailable())
        throw Failure(Name() + " isn't available in the camera's present state");
    if (IsLocked())
        throw Failure(Name() + " is locked in the camera's present state");
    Call(Name(), arv_gc_command_execute, ARV_GC_COMMAND(node_));
}

std::vector<Feature> Feature::Children() const
{
    std::vector<Feature> features;
    if (Kind() != FeatureKind::Category)
        return features;
    ArvGc* description = arv_gc_node_get_genicam(ARV_GC_NODE(node_));
    for (const GSList* item = arv_gc_category_get_features(ARV_GC_CATEGORY(node_)); item != nullptr;
         item = item->next) {
        ArvGcNode* node = arv_gc_get_node(description, static_cast<const char*>(item->data));
        if (ARV_IS_GC_FEATURE_NODE(node))
            features.emplace_back(ARV_GC_FEATURE_NODE(node));
    }
    return features;
}

std::vector<Feature> Feature::Selected() const
{
    std::vector<Feature> features;
    if (!ARV_IS_GC_SELECTOR(node_) || !arv_gc_selector_is_selector(ARV_GC_SELECTOR(node_)))
        return features;
    for (const GSList* item = arv_gc_selector_get_selected_features(ARV_GC_SELECTOR(node_));
         item != nullptr; item = item->next)
        features.emplace_back(ARV_GC_FEATURE_NODE(item->data));
    return features;
}

} // namespace zevo_tool
