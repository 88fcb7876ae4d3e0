// Reads and writes of the remote port and of the modules' ports, everything open.
#include "consumer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    fuzz::BoardHost board(input);
    fuzz::Consumer consumer(board, input);
    consumer.openAll();
    for (int calls = 0; !input.isEmpty() && calls < 500; ++calls)
        consumer.callPort();
    return 0;
}
