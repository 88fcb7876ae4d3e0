// Started directly, the library prints what it is and ends.
#include <cstdio>
#include <unistd.h>

#include "gentl/version_block.h"

namespace
{

// The loader that a direct start asks for; the build takes its path from a program of this
// system.
__attribute__((section(".interp"), used)) const char kInterpreter[] = ZEVO_ELF_INTERPRETER;

} // namespace

// On x86 the stack isn't aligned at entry the way a called function expects it.
#if defined(__x86_64__)
#define ZEVO_ENTRY __attribute__((force_align_arg_pointer, noreturn))
#else
#define ZEVO_ENTRY __attribute__((noreturn))
#endif

extern "C" ZEVO_ENTRY void zevo_program_entry();

// Entered by the loader without a return address: it must not return.
void zevo_program_entry()
{
    std::fputs(GenTLProducer::kVersionBlock, stdout);
    std::fflush(stdout);
    ::_exit(0);
}
