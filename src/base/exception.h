// The producer's own exceptions.
#pragma once

#include <stdexcept>

namespace GenTLProducer
{

/// Base of the errors that this program defines itself.
class Exception : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A state that the code holds to be impossible.
class InternalError : public Exception
{
public:
    using Exception::Exception;
};

} // namespace GenTLProducer
