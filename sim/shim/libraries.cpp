// Loading libraries: RTLD_DEEPBIND would hide this library from the one that is loaded.
//
// The C library searches by the RUNPATH of whoever calls dlopen(). So ours must not be the caller:
// the call below has to be a jump, which is why this file is always compiled with optimisation.
#include "sim/shim/next_function.h"

ZEVO_INTERPOSE(void*, dlopen, const char* name, int flags)
{
    return ZEVO_NEXT(dlopen, void*(const char*, int))(name, flags & ~RTLD_DEEPBIND);
}
