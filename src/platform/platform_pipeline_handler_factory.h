// The board families that the producer knows, in the order in which they are tried.
#pragma once

#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

/// Makers of all handlers but the generic one, which is for boards that none of these recognises.
std::vector<PlatformPipelineHandlerMaker> PlatformPipelineHandlerFactory();

} // namespace GenTLProducer
