# What a build for Windows takes from elsewhere: SQLite from its amalgamation, CLI11 from the headers of this machine, the
# mathematics of Linux (mathematics), and settings of the system's headers.
set(TARNVELDE_SQLITE "" CACHE PATH "Folder with SQLite's amalgamation, sqlite3.c and sqlite3.h")
if(TARNVELDE_SQLITE)
    add_library(tarnvelde_sqlite STATIC ${TARNVELDE_SQLITE}/sqlite3.c)
    target_include_directories(tarnvelde_sqlite SYSTEM PUBLIC ${TARNVELDE_SQLITE})
    target_compile_definitions(tarnvelde_sqlite PRIVATE SQLITE_OMIT_LOAD_EXTENSION)
    target_compile_options(tarnvelde_sqlite PRIVATE -w)
    add_library(SQLite::SQLite3 ALIAS tarnvelde_sqlite)
endif()

# Headers alone, which are the same for every system; a folder of them has no others in it.
find_path(TARNVELDE_CLI11 CLI/CLI.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
if(CMAKE_CROSSCOMPILING AND TARNVELDE_CLI11 AND NOT TARGET CLI11::CLI11)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers)
    file(CREATE_LINK ${TARNVELDE_CLI11}/CLI ${PROJECT_BINARY_DIR}/headers/CLI SYMBOLIC)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    set_target_properties(CLI11::CLI11 PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES ${PROJECT_BINARY_DIR}/headers
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${PROJECT_BINARY_DIR}/headers)
endif()

if(MINGW)
    add_subdirectory(mathematics)
    foreach(part IN ITEMS fma plain circle choice)
        list(APPEND mathematics $<TARGET_OBJECTS:tarnvelde_mathematics_${part}>)
    endforeach()
endif()

# Files beyond 2 GiB, the printing of numbers as the C standard has it, and no more of windows.h than is used.
target_compile_definitions(tarnvelde_settings INTERFACE
    _FILE_OFFSET_BITS=64 __USE_MINGW_ANSI_STDIO=1 WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
