# Run at build time: writes an assembler file that holds the given files one after the other, each
# followed by a NUL, and the rows {name, offset, size, SHA-1} of their table.
#
#   cmake -DOUTPUT_ASM=... -DOUTPUT_ROWS=... -DFILES="a.xml;b.xml" -P EmbedFiles.cmake
set(assembler "    .section .rodata\n    .globl zevo_embedded_text\n    .hidden zevo_embedded_text\n")
string(APPEND assembler "    .type zevo_embedded_text, %object\nzevo_embedded_text:\n")
set(rows "")
set(offset 0)
foreach(file IN LISTS FILES)
    file(SIZE ${file} size)
    file(SHA1 ${file} sha1)
    cmake_path(GET file FILENAME name)
    string(APPEND assembler "    .incbin \"${file}\"\n    .byte 0\n")
    string(APPEND rows "    {\"${name}\", ${offset}, ${size}, \"${sha1}\"},\n")
    math(EXPR offset "${offset} + ${size} + 1")
endforeach()
string(APPEND assembler "    .size zevo_embedded_text, ${offset}\n")
string(APPEND assembler "    .section .note.GNU-stack,\"\",%progbits\n")
file(WRITE ${OUTPUT_ASM} "${assembler}")
file(WRITE ${OUTPUT_ROWS} "${rows}")
