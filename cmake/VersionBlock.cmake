# Run at every build: writes the version block with the source revision of the checkout, and
# leaves the file alone if nothing has changed.
#
#   cmake -DSOURCE_DIR=... -DOUTPUT=... -DTITLE=... -DVERSION=... -P VersionBlock.cmake
set(commit "00000000")
set(date "Thu, 1 Jan 1970 00:00:00 +0000")
find_program(git git)
if(git AND EXISTS ${SOURCE_DIR}/.git)
    execute_process(
        COMMAND ${git} -c safe.directory=${SOURCE_DIR} -C ${SOURCE_DIR} log -1 --format=%H%n%aD
        OUTPUT_VARIABLE revision RESULT_VARIABLE failure
        OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT failure AND revision MATCHES "^([0-9a-f]+)\n(.*)$")
        set(date "${CMAKE_MATCH_2}")
        string(SUBSTRING "${CMAKE_MATCH_1}" 0 8 commit)
    endif()
endif()

file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT [=[
#include "gentl/version_block.h"

namespace GenTLProducer
{

const char kVersionBlock[] = "@TITLE@\n"
                             "Version @VERSION@\n"
                             "Tag: @VERSION@\n"
                             "Commit: @commit@\n"
                             "Date: @date@\n";

} // namespace GenTLProducer
]=])
