# cmake -DREADELF=readelf -DFILES="FILE;..." -P checkRunpath.cmake: whether programs and libraries look for the libraries
# they need in folders with a full name, or in some beside themselves. An empty name between two colons, or one that
# doesn't begin at the root, is the current folder or one in it: whoever can write there would give them code to run.
cmake_minimum_required(VERSION 3.25)
set(faults "")
foreach(file IN LISTS FILES)
    execute_process(COMMAND ${READELF} -d ${file} OUTPUT_VARIABLE entries COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "\\((RPATH|RUNPATH)\\)[^\n]*\\[[^\n]*\\]" paths "${entries}")
    foreach(path IN LISTS paths)
        string(REGEX REPLACE "^[^[]*\\[(.*)\\]$" ":\\1:" path "${path}")
        string(REGEX REPLACE ":(/|\\$ORIGIN(/|:))" ":+\\1" marked "${path}")
        string(REGEX REPLACE ":(/|\\$ORIGIN(/|:))" ":+\\1" marked "${marked}")  # those whose first colon was taken
        if(NOT marked MATCHES "^(:\\+[^:]+)+:$")
            list(APPEND faults "${file}: ${path}")
        endif()
    endforeach()
endforeach()
if(faults)
    list(JOIN faults "\n  " faults)
    message(FATAL_ERROR "Libraries are looked for in the current folder:\n  ${faults}")
endif()
