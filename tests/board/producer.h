// The built producer, loaded as a consumer loads it.
#pragma once

#include <string>

#include <gentl/gentl.h>

/// The functions of one loaded library, under their own names.
struct Producer {
#define GENTL_FUNCTION(name) decltype(&::name) name;
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION

    void* library;
};

/// Loads the producer that this test program was built with; ends the program if it can't.
/// flags as for dlopen.
Producer loadProducer(int flags);
void unloadProducer(Producer& producer);

/// The producer of this process, loaded at the first call and kept.
Producer& producer();

/// Path of the built library.
std::string producerPath();

/// Code and text of the calling thread's last error, as "-1001 Failed to open the camera".
std::string lastError();
