# Language level, warnings, visibility and sanitizers of every target; ccache where it is there.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(ZEVO_CCACHE ccache)
mark_as_advanced(ZEVO_CCACHE)
if(ZEVO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER ${ZEVO_CCACHE})
    # A precompiled header differs in nothing but its time stamp from one build to the next.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${ZEVO_CCACHE})
endif()

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

# What every target of the project links.
add_library(zevo_options INTERFACE)
target_compile_options(zevo_options INTERFACE -Wall -Wextra -Wpedantic -Werror)
target_link_libraries(zevo_options INTERFACE Threads::Threads)

# The same without sanitizers, for the library that is preloaded ahead of everything else.
add_library(zevo_options_plain INTERFACE)
target_compile_options(zevo_options_plain INTERFACE -Wall -Wextra -Wpedantic -Werror)
target_link_libraries(zevo_options_plain INTERFACE Threads::Threads)

if(ZEVO_SANITIZE STREQUAL "address")
    target_compile_options(zevo_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(zevo_options INTERFACE -fsanitize=address,undefined)
elseif(ZEVO_SANITIZE STREQUAL "thread")
    target_compile_options(zevo_options INTERFACE -fsanitize=thread -O1)
    target_link_options(zevo_options INTERFACE -fsanitize=thread)
elseif(ZEVO_SANITIZE STREQUAL "fuzzer")
    target_compile_options(zevo_options INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined,float-cast-overflow
        -fno-sanitize-recover=undefined,float-cast-overflow
        -fno-omit-frame-pointer -O1)
    target_link_options(zevo_options INTERFACE -fsanitize=address,undefined)
elseif(NOT ZEVO_SANITIZE STREQUAL "")
    message(FATAL_ERROR
        "ZEVO_SANITIZE is \"${ZEVO_SANITIZE}\"; it can be address, thread, fuzzer or empty")
endif()
