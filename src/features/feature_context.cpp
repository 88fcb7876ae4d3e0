#include "features/feature_context.h"

namespace GenTLProducer
{

void FeatureContext::send(Reg key)
{
    const SendOperation operation = RowOf(key).behaviour.send;
    if (operation != nullptr)
        operation(*runtime.module, registers.effective(key));
}

void FeatureContext::apply(Reg key)
{
    registers.adoptValid(key);
    send(key);
}

void FeatureContext::requestMeasured(Reg key)
{
    const std::int64_t value = RowOf(key).behaviour.measure(*runtime.module);
    registers.request(key, WithinLimits(value, registers.limits(key)));
}

} // namespace GenTLProducer
