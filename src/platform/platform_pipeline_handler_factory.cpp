#include "platform/platform_pipeline_handler_factory.h"

#include "platform/media_graph_handlers.h"
#include "platform/single_node_handler.h"

namespace GenTLProducer
{

namespace
{

template <typename Handler>
std::unique_ptr<PlatformPipelineHandler> make()
{
    return std::make_unique<Handler>();
}

} // namespace

std::vector<PlatformPipelineHandlerMaker> PlatformPipelineHandlerFactory()
{
    return {
        make<PlatformPipelineHandlerNvidia>, make<PlatformPipelineHandlerNvidiaJetsonTx2>,
        make<PlatformPipelineHandlerImx8mm>, make<PlatformPipelineHandlerImx8mq>,
        make<PlatformPipelineHandlerImx8mp>,
    };
}

} // namespace GenTLProducer
