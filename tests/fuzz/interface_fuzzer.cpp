// Any sequence of calls of the C interface, over a simulated board with faults.
#include "consumer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    fuzz::BoardHost board(input);
    fuzz::Consumer consumer(board, input);
    for (int calls = 0; !input.isEmpty() && calls < 300; ++calls)
        consumer.callAny();
    return 0;
}
