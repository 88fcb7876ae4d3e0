// What a question about one info gives.
#pragma once

#include <tuple>

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

/// Code, type, size and number, the last three as they were left.
using Answer = std::tuple<GC_ERROR, INFO_DATATYPE, std::size_t, std::uint64_t>;

constexpr INFO_DATATYPE kUntouched = 99;

/// Asks with room for that many bytes of a number: ask(piType, pBuffer, piSize).
template <typename Function>
Answer answerOf(Function ask, std::size_t room = sizeof(std::uint64_t))
{
    INFO_DATATYPE type = kUntouched;
    std::uint64_t number = 0;
    const GC_ERROR result = ask(&type, &number, &room);
    return {result, type, room, number};
}

} // namespace GenTLProducer
