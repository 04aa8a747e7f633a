# The check of where libraries are looked for finds what it should, and nothing else.
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND mktemp -d OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${folder}/program.c "int main(void) { return 0; }\n")

# expect(GOOD|BAD PATH)
function(expect verdict path)
    execute_process(COMMAND ${C_COMPILER} ${folder}/program.c -o ${folder}/program "-Wl,--enable-new-dtags,-rpath,${path}"
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_COMMAND} -DREADELF=${READELF} -DFILES=${folder}/program -P ${CHECK}
        RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    if((verdict STREQUAL "GOOD" AND NOT status EQUAL 0) OR (verdict STREQUAL "BAD" AND status EQUAL 0))
        file(REMOVE_RECURSE ${folder})
        message(FATAL_ERROR "\"${path}\" isn't taken for ${verdict}")
    endif()
endfunction()

expect(GOOD "/usr/lib")
expect(GOOD "\$ORIGIN")
expect(GOOD "\$ORIGIN/../lib:\$ORIGIN")
expect(GOOD "/a:/b:/c:\$ORIGIN:\$ORIGIN/d")
expect(BAD "/usr/lib:")
expect(BAD ":/usr/lib")
expect(BAD "/usr/lib::\$ORIGIN")
expect(BAD ".")
expect(BAD "/usr/lib:lib")
expect(BAD "\$ORIGINAL")
file(REMOVE_RECURSE ${folder})
