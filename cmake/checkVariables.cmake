# cmake -DOBJDUMP=objdump -DOBJECTS=FILE -P checkVariables.cmake: whether all that changes stands in a model. The file
# names the objects to look at, one in each line.
#
# No variable that can change stands at namespace scope, none is static in a function or a class, none belongs to a
# thread; a constant that is made at run time counts as well. Variables that may stand nevertheless:
set(allowed
    "defaultmodel.cpp: DefaultModel"       # the model of the functions that name none
    "arena.cpp: RequestsUntilFailure")     # of tests, which refuse memory

cmake_minimum_required(VERSION 3.25)
file(STRINGS ${OBJECTS} files)
execute_process(COMMAND ${OBJDUMP} -t -C ${files} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
# The head of an object, or a symbol in a section that is written to. What the compiler adds is named in its own way.
string(REGEX MATCHALL "[^\n]+: +file format|[^\n]+ \\.t?(data|bss)[^ \t\n]*\t[^\n]+" lines "${symbols}")
set(faults "")
set(objects 0)
foreach(line IN LISTS lines)
    if(line MATCHES "^(.+): +file format$")
        cmake_path(GET CMAKE_MATCH_1 FILENAME object)
        string(REGEX REPLACE "\\.(o|obj)$" "" object "${object}")
        math(EXPR objects "${objects} + 1")
    elseif(line MATCHES "^[^ ]+ [^\t]* ([^ \t]+)\t[^ ]+ +(\\.hidden )?(.+)$")
        set(section "${CMAKE_MATCH_1}")
        set(variable "${CMAKE_MATCH_3}")
        if(NOT section MATCHES "\\.rel\\.ro" AND NOT variable MATCHES "^(\\.|DW\\.ref\\.|vtable for |typeinfo |__)"
                AND NOT "${object}: ${variable}" IN_LIST allowed)
            list(APPEND faults "${object}: ${variable}")
        endif()
    endif()
endforeach()
list(LENGTH files wanted)
if(NOT objects EQUAL wanted)
    message(FATAL_ERROR "${OBJDUMP} knows ${objects} of ${wanted} objects")
endif()
if(faults)
    list(JOIN faults "\n  " faults)
    message(FATAL_ERROR "Variables that stand outside of any model:\n  ${faults}")
endif()
