# A layer is one folder and one static library. Its header path holds that folder alone, so that
# a source can include only the layers that its own links, directly or through them: a wrong
# arrow between layers fails to compile.
#
#   zevo_layer(zevo_v4l2 v4l2 LINKS zevo_base zevo_trace SOURCES video_device.cpp ...)
function(zevo_layer target folder)
    cmake_parse_arguments(PARSE_ARGV 2 layer "" "" "LINKS;SOURCES")
    set(root ${CMAKE_BINARY_DIR}/layers/${target})
    cmake_path(GET folder PARENT_PATH parent)
    file(MAKE_DIRECTORY ${root}/${parent})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${folder} ${root}/${folder} SYMBOLIC)
    if(layer_SOURCES)
        list(TRANSFORM layer_SOURCES PREPEND ${CMAKE_SOURCE_DIR}/src/${folder}/)
        add_library(${target} STATIC ${layer_SOURCES})
        target_include_directories(${target} PUBLIC ${root})
        target_link_libraries(${target} PUBLIC ${layer_LINKS} PRIVATE zevo_options)
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${root})
        target_link_libraries(${target} INTERFACE ${layer_LINKS})
    endif()
endfunction()
