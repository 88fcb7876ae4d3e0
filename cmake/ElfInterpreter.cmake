# Finds the loader that this system's programs ask for, by looking into one: a library that can be
# started directly names it as well.
function(zevo_elf_interpreter result)
    if(NOT DEFINED CACHE{ZEVO_ELF_INTERPRETER})
        set(probe ${CMAKE_BINARY_DIR}/CMakeFiles/elf_interpreter)
        file(WRITE ${probe}.c "int main(void) { return 0; }\n")
        try_compile(compiled ${CMAKE_BINARY_DIR}/CMakeFiles/elf_interpreter.dir ${probe}.c
            COPY_FILE ${probe})
        execute_process(COMMAND ${CMAKE_READELF} -p .interp ${probe}
            OUTPUT_VARIABLE section ERROR_QUIET)
        if(NOT compiled OR NOT section MATCHES "(/[^ \n]+)")
            message(FATAL_ERROR "Can't tell the ELF interpreter of this system's programs")
        endif()
        set(ZEVO_ELF_INTERPRETER ${CMAKE_MATCH_1} CACHE INTERNAL "")
    endif()
    set(${result} ${ZEVO_ELF_INTERPRETER} PARENT_SCOPE)
endfunction()
