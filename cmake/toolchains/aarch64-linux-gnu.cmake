# Builds for arm64 boards with Debian's cross compiler and Debian's arm64 libraries, which lie
# beside the build machine's own (dpkg --add-architecture arm64; ./run build-arm64 installs them).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(triplet aarch64-linux-gnu)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_ASM_COMPILER ${triplet}-gcc)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_INSTALL_LIBDIR lib/${triplet} CACHE PATH "Where libraries are installed")
set(PKG_CONFIG_EXECUTABLE ${triplet}-pkg-config CACHE FILEPATH "Finds arm64 libraries")

# Programs of the build machine, libraries of the boards: nothing for x86 may be found by accident.
list(APPEND CMAKE_IGNORE_PATH /usr/lib/x86_64-linux-gnu /lib/x86_64-linux-gnu)

# The programs that are built run on this machine through an emulator. It finds the loader and the
# libraries where a board has them, since the packages have installed them there.
find_program(ZEVO_EMULATOR qemu-aarch64 DOC "Runs arm64 programs on this machine")
mark_as_advanced(ZEVO_EMULATOR)
if(ZEVO_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${ZEVO_EMULATOR})
endif()
