# The tests that scripts/check-windows.sh runs under wine: hosts of the public headers, and the rooms that know of the
# system. GoogleTest is built from Debian's sources. What forks, or looks into an ELF file, is left to the other builds.
set(GOOGLETEST_FOLDER /usr/src/googletest CACHE PATH "Sources of GoogleTest")
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${GOOGLETEST_FOLDER} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

# tarnvelde_addWindowsTests(NAME LIBRARY SOURCE...)
function(tarnvelde_addWindowsTests name library)
    add_executable(${name} ${ARGN})
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_compile_options(${name} PRIVATE
        -O0 -include ${CMAKE_CURRENT_SOURCE_DIR}/support/windows.h -Wno-pedantic -Wno-conversion -Wno-unused-function)
    target_compile_definitions(${name} PRIVATE TARNVELDE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
        TARNVELDE_VERSION="${PROJECT_VERSION}" TARNVELDE_ENGINE_FOLDER="./")
    target_precompile_headers(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:<gtest/gtest.h$<ANGLE-R>>)
    target_link_libraries(${name} PRIVATE ${library} tarnvelde_settings gmock gtest_main)
    add_dependencies(${name} tarnvelde engine_swmm5ex engine_vorn)
endfunction()

tarnvelde_addWindowsTests(windows_api_tests tarnvelde api/exchange_runs_test.cpp api/exchange_states_test.cpp
    api/exchange_values_test.cpp api/header_c.c api/header_test.cpp api/modelheader_c.c api/modelheader_test.cpp
    api/modelobjects_test.cpp api/modelpace_test.cpp api/swmmexchange_test.cpp)
tarnvelde_addWindowsTests(windows_unit_tests tarnvelde_objects unit/platform/clock_test.cpp unit/platform/encoding_test.cpp
    unit/platform/print_test.cpp unit/platform/vectormath_test.cpp windows/filenames_test.cpp)

# Loads the library of a wheel by its path alone.
add_executable(windows_wheel windows/wheel.c)
target_include_directories(windows_wheel PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(windows_wheel PRIVATE __USE_MINGW_ANSI_STDIO=1 _WIN32_WINNT=0x0A00)
target_link_options(windows_wheel PRIVATE -municode)

add_executable(windows_sameness windows/sameness.c)
target_link_libraries(windows_sameness PRIVATE ${mathematics})
target_compile_definitions(windows_sameness PRIVATE __USE_MINGW_ANSI_STDIO=1)
