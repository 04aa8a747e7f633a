# cmake -DSOURCE_DIR=. -DHEADER=commit.h -P writeCommit.cmake: a header with the commit that is built, which the program
# shows. It is the one that git wrote into commit.txt, with its date, where the sources come from an archive, else that of the clone,
# with a + behind it where files differ from it. The header keeps its time when nothing changes.
cmake_minimum_required(VERSION 3.25)
cmake_path(ABSOLUTE_PATH SOURCE_DIR)
set(commit "")
if(EXISTS ${SOURCE_DIR}/cmake/commit.txt)
    file(READ ${SOURCE_DIR}/cmake/commit.txt commit LIMIT 1000)
    string(STRIP "${commit}" commit)
endif()
if(commit MATCHES "^([0-9a-f]+) [0-9]+$")
    set(commit ${CMAKE_MATCH_1})
else()
    set(commit "unknown")
    find_program(GIT git)
    if(GIT AND EXISTS ${SOURCE_DIR}/.git)  # a clone of its own, not a folder in that of another project
        execute_process(COMMAND ${GIT} -C ${SOURCE_DIR} rev-parse --verify HEAD
            RESULT_VARIABLE status OUTPUT_VARIABLE head ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(status EQUAL 0 AND head MATCHES "^[0-9a-f]+$")
            set(commit ${head})
            execute_process(COMMAND ${GIT} -C ${SOURCE_DIR} diff-index --quiet HEAD --
                RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
            if(status EQUAL 1)
                string(APPEND commit "+")
            endif()
        endif()
    endif()
endif()
file(CONFIGURE OUTPUT ${HEADER} CONTENT "#pragma once
// Made by the build.

inline constexpr const char* BUILT_COMMIT = \"@commit@\";
" @ONLY)
