// The built producer, loaded as a consumer loads it.
#pragma once

#include <string>

#include <gentl/gentl.h>
#include <gtest/gtest.h>

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

/// A register of four bytes; a failure to read it fails the running test.
GC_ERROR writeRegister(PORT_HANDLE port, uint64_t address, uint32_t value);
uint32_t readRegister(PORT_HANDLE port, uint64_t address);

/// What a call by its name is to answer: EXPECT_RESULT(GC_ERR_INVALID_HANDLE, IFClose(interface)).
#define EXPECT_RESULT(expected, call) EXPECT_EQ(producer().call, expected) << lastError()
#define EXPECT_OK(call) EXPECT_RESULT(GC_ERR_SUCCESS, call)
#define ASSERT_OK(call) ASSERT_EQ(producer().call, GC_ERR_SUCCESS) << lastError()
