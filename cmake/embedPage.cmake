# tarnvelde_embedPage(FILE HEADER): a header with the bytes of a file, none if there is no such file. The file counts as
# a part of the configuration: when it changes, or comes to be, the next build takes it.
function(tarnvelde_embedPage file header)
    set(bytes "")
    set(length 0)
    if(EXISTS ${file})
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
        file(READ ${file} bytes HEX)
        string(LENGTH "${bytes}" length)
        math(EXPR length "${length} / 2")
        string(REGEX REPLACE "(................................................................)" "\\1\n" bytes "${bytes}")
        string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    else()
        # A folder that changes when the file comes: the first one that is there.
        cmake_path(GET file PARENT_PATH folder)
        while(NOT EXISTS ${folder})
            cmake_path(GET folder PARENT_PATH folder)
        endwhile()
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder})
    endif()
    set(text "#pragma once
// Made by the build.

#include <cstddef>

inline constexpr unsigned char PAGE_BYTES[] = {
${bytes}0};
inline constexpr size_t PAGE_LENGTH = ${length};
")
    file(CONFIGURE OUTPUT ${header} CONTENT "@text@" @ONLY)
endfunction()
