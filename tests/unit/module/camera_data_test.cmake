# Runs what the build does with the camera's data, on good and bad files. Needs -D work= and -D root=.
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work})
set(checker ${work}/check.cmake)
file(WRITE ${checker} "
include(${root}/cmake/CameraData.cmake)
if(kind STREQUAL image)
    zevo_check_firmware_image(\${file})
else()
    zevo_read_pll_table(\${file} rows)
    message(NOTICE \"\${rows}\")
endif()
")

# Fails unless the check of the file ends as told: with an error of this text, or with "" in none.
function(expect kind file error)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -D kind=${kind} -D file=${file} -P ${checker}
        RESULT_VARIABLE result ERROR_VARIABLE text)
    string(REGEX REPLACE "[ \n]+" " " text "${text}")
    string(FIND "${text}" "${error}" place)
    if((error STREQUAL "" AND NOT result EQUAL 0) OR
       (NOT error STREQUAL "" AND (result EQUAL 0 OR place EQUAL -1)))
        message(SEND_ERROR "${file}: expected \"${error}\", got result ${result} and: ${text}")
    endif()
    set(output "${text}" PARENT_SCOPE)
endfunction()

function(expect_table name content error)
    file(WRITE ${work}/${name}.txt "${content}")
    expect(table ${work}/${name}.txt "${error}")
    set(output "${output}" PARENT_SCOPE)
endfunction()

string(REPEAT " 0000000A" 12 words)
string(REPEAT " 0000000A" 11 few)

# Tables that fit.
expect(table ${root}/data/pll_table_example.txt "")
expect_table(forms "# head\n\n80 480 48${words}\r\n\t0090.5  1 48.0 ${words} # tail\n" "")
if(NOT output MATCHES "{80.0, 480.0, 48.0, 0x0000000A,.*{0090.5, 1.0, 48.0, 0x0000000A")
    message(SEND_ERROR "rows not as written: ${output}")
endif()

# Tables that don't.
set(good "80.0 480.0 48.0${words}\n")
expect(table ${work}/nowhere.txt "nowhere.txt: no such PLL table")
expect(table ${work} ": no such PLL table")
expect_table(empty "# no row\n" "empty.txt:2: a PLL table without a row")
expect_table(descending "${good}\n79.9 480.0 48.0${words}\n"
    "descending.txt:3: lane rate 79.9 behind 80.0; the rows must ascend")
expect_table(twice "${good}${good}" "twice.txt:2: lane rate 80.0 behind 80.0")
expect_table(short "${good}90.0 480.0 48.0${few}\n" "short.txt:2: 14 columns; a row has 15")
expect_table(long "90.0 480.0 48.0${words} 00000000\n" "long.txt:1: 16 columns")
expect_table(list "90.0 480.0 48.0${few} 0000;000\n" "list.txt:1: \"0000?000\" is not a word")
expect_table(bracket "# [\n90.0 480.0 48.0${few} ]0000000\n" "bracket.txt:2: \"?0000000\" is not a")
expect_table(comma "90,0 480.0 48.0${words}\n" "comma.txt:1: \"90,0\" is not a number")
expect_table(minus "-90.0 480.0 48.0${words}\n" "minus.txt:1: \"-90.0\" is not a number")
expect_table(exponent "9e1 480.0 48.0${words}\n" "exponent.txt:1: \"9e1\" is not a number")
expect_table(narrow "${good}90.0 480.0 48.0${few} 7C\n" "narrow.txt:2: \"7C\" is not a word")
expect_table(decorated "90.0 480.0 48.0${few} 0x00007C\n" "\"0x00007C\" is not a word")

# Images: the size alone counts.
include(${root}/cmake/CameraData.cmake)
zevo_write_stand_in_image(${work}/stand_in.bin)
expect(image ${work}/stand_in.bin "")
file(APPEND ${work}/stand_in.bin "x")
expect(image ${work}/stand_in.bin "the firmware image has 76145 bytes; it must have 76144")
file(WRITE ${work}/nothing.bin "")
expect(image ${work}/nothing.bin "nothing.bin: the firmware image has 0 bytes")
expect(image ${work}/nowhere.bin "nowhere.bin: no such firmware image")

# The stand-in tells where each of its parts belongs.
foreach(offset IN ITEMS 000400 002000 012960)
    math(EXPR place "0x${offset}")
    file(READ ${work}/stand_in.bin text OFFSET ${place} LIMIT 16)
    if(NOT text STREQUAL "stand-in ${offset}\n")
        message(SEND_ERROR "stand-in at ${offset}: ${text}")
    endif()
endforeach()
