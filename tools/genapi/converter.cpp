#include "genapi/converter.h"

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "genapi/port_device.h"

namespace zevo_tool
{

namespace
{

using Evaluator = std::unique_ptr<ArvEvaluator, ReleaseObject>;

/// Beyond this, doubles don't tell integers apart.
constexpr double kLargestInteger = 9007199254740992.0;

std::string NodeName(ArvDomNode* node)
{
    return arv_dom_node_get_node_name(node);
}

template <typename Action>
void ForEachProperty(ArvGcFeatureNode* node, const Action& action)
{
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child))
        if (ARV_IS_GC_PROPERTY_NODE(child))
            action(NodeName(child), ARV_GC_PROPERTY_NODE(child));
}

/// The formula from the feature's unit to the integer, with its constants; null for none.
Evaluator MakeFormula(ArvGcFeatureNode* node)
{
    Evaluator formula;
    ForEachProperty(node, [&](const std::string& kind, ArvGcPropertyNode* property) {
        if (kind == "FormulaTo")
            formula.reset(arv_evaluator_new(arv_gc_property_node_get_string(property, nullptr)));
    });
    if (!formula)
        return nullptr;
    bool isSimple = true;
    ForEachProperty(node, [&](const std::string& kind, ArvGcPropertyNode* property) {
        const char* name = arv_gc_property_node_get_name(property);
        const char* text = arv_gc_property_node_get_string(property, nullptr);
        if (kind == "Constant")
            arv_evaluator_set_constant(formula.get(), name, text);
        else if (kind == "Expression")
            arv_evaluator_set_sub_expression(formula.get(), name, text);
        else if (kind == "pVariable")
            isSimple = false;
    });
    return isSimple ? std::move(formula) : nullptr;
}

std::optional<double> Convert(ArvGcFeatureNode* node, double value)
{
    const Evaluator formula = MakeFormula(node);
    if (!formula)
        return std::nullopt;
    GError* error = nullptr;
    arv_evaluator_set_double_variable(formula.get(), "FROM", value);
    const double result = arv_evaluator_evaluate_as_double(formula.get(), &error);
    const bool isFailed = error != nullptr;
    g_clear_error(&error);
    if (isFailed || !(std::abs(result) < kLargestInteger))
        return std::nullopt;
    return result;
}

} // namespace

ArvGcNode* ValueTarget(ArvGcFeatureNode* node)
{
    ArvGcNode* target = nullptr;
    bool isSimple = true;
    ForEachProperty(node, [&](const std::string& kind, ArvGcPropertyNode* property) {
        if (kind == "pValue")
            target = arv_gc_property_node_get_linked_node(property);
        else if (kind == "pIndex")
            isSimple = false;
    });
    return isSimple ? target : nullptr;
}

bool SetNearestInteger(ArvGcFeatureNode* node, double value, GError** error)
{
    constexpr int kLongestChain = 16;
    std::optional<double> number = value;
    bool isConverted = false;
    ArvGcNode* next = ARV_GC_NODE(node);
    for (int i = 0; i < kLongestChain && ARV_IS_GC_FEATURE_NODE(next) && number; ++i) {
        ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(next);
        if (ARV_IS_GC_CONVERTER_NODE(feature)) {
            number = Convert(feature, *number);
            isConverted = true;
        } else if (!ARV_IS_GC_FLOAT_NODE(feature)) {
            if (!isConverted || !ARV_IS_GC_INTEGER(feature) || ARV_IS_GC_FLOAT(feature))
                return false;
            arv_gc_integer_set_value(ARV_GC_INTEGER(feature), std::llround(*number), error);
            return true;
        }
        next = ValueTarget(feature);
    }
    return false;
}

} // namespace zevo_tool
