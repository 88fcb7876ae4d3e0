// What the library tells about itself when it is started directly.
#pragma once

namespace GenTLProducer
{

/// Title, version, tag, source revision and its date, a line each. Fixed at build time.
extern const char kVersionBlock[];

} // namespace GenTLProducer
