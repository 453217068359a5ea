# How this project makes its targets. The lists are globbed with
# CONFIGURE_DEPENDS: a new file in a folder is picked up by the next build.

find_package(Threads REQUIRED)
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# What every target of ours compiles with; third-party code does not get it.
add_library(quillon_options INTERFACE)
target_include_directories(quillon_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(quillon_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Werror)
if(WIN32)
    target_compile_definitions(quillon_options INTERFACE
        UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
        _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
else()
    target_compile_definitions(quillon_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(QUILLON_SANITIZE)
    # For everything, GoogleTest included: containers cross the border.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# libgcrypt: MD5, AES-GCM, Argon2id and random numbers.
find_path(GCRYPT_INCLUDE_DIR gcrypt.h REQUIRED)
find_library(GCRYPT_LIBRARY NAMES gcrypt REQUIRED)
find_library(GPG_ERROR_LIBRARY NAMES gpg-error REQUIRED)
add_library(quillon_crypto INTERFACE)
target_include_directories(quillon_crypto SYSTEM INTERFACE ${GCRYPT_INCLUDE_DIR})
target_link_libraries(quillon_crypto INTERFACE ${GCRYPT_LIBRARY} ${GPG_ERROR_LIBRARY})
if(WIN32)
    target_link_libraries(quillon_crypto INTERFACE ws2_32 advapi32)
endif()

# Sources of one folder and the folders in it. Of a pair FilePosix.cpp and
# FileWindows.cpp only the one of the target platform is kept.
function(quillon_sources OUT FOLDER)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${FOLDER}/*.cpp)
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "Posix\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "Windows\\.cpp$")
    endif()
    set(${OUT} ${sources} PARENT_SCOPE)
endfunction()

# quillon_library(NAME [DEPENDS floor...] [PRIVATE target...]): src/NAME as the
# static library quillon_NAME. A folder without sources is an empty interface,
# so that whoever depends on it still configures.
function(quillon_library NAME)
    cmake_parse_arguments(ARG "" "" "DEPENDS;PRIVATE" ${ARGN})
    list(TRANSFORM ARG_DEPENDS PREPEND quillon_)
    quillon_sources(sources ${PROJECT_SOURCE_DIR}/src/${NAME})
    if(sources)
        add_library(quillon_${NAME} STATIC ${sources})
        target_link_libraries(quillon_${NAME}
            PUBLIC quillon_options ${ARG_DEPENDS} Threads::Threads PRIVATE ${ARG_PRIVATE})
    else()
        add_library(quillon_${NAME} INTERFACE)
        target_link_libraries(quillon_${NAME} INTERFACE quillon_options ${ARG_DEPENDS})
    endif()
endfunction()

# A program of ours: on Windows with the manifest (UTF-8 code page, long paths,
# per-monitor DPI).
function(quillon_program TARGET)
    if(WIN32)
        target_sources(${TARGET} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/windows/quillon.rc)
        quillon_copy_dlls(${TARGET})
    endif()
endfunction()

# src/cli: everything but Main.cpp is the library quillon_cli, so that tests can
# link it; Main.cpp makes the program quillon-cli.
function(quillon_cli)
    quillon_sources(sources ${PROJECT_SOURCE_DIR}/src/cli)
    set(main ${sources})
    list(FILTER main INCLUDE REGEX "/[Mm]ain\\.cpp$")
    list(FILTER sources EXCLUDE REGEX "/[Mm]ain\\.cpp$")
    find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
    find_path(NLOHMANN_JSON_INCLUDE_DIR nlohmann/json.hpp REQUIRED)
    set(kind INTERFACE)
    if(sources)
        add_library(quillon_cli STATIC ${sources})
        set(kind PUBLIC)
    else()
        add_library(quillon_cli INTERFACE)
    endif()
    target_include_directories(quillon_cli SYSTEM ${kind}
        ${CLI11_INCLUDE_DIR} ${NLOHMANN_JSON_INCLUDE_DIR})
    target_link_libraries(quillon_cli ${kind} quillon_import quillon_output quillon_quotes
        quillon_reports quillon_finance)
    if(main)
        add_executable(quillon-cli ${main})
        target_link_libraries(quillon-cli PRIVATE quillon_cli)
        quillon_program(quillon-cli)
    endif()
endfunction()

# bench/: quillon-bench, where SQLite is at hand to be compared with.
function(quillon_bench)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
    find_package(SQLite3 QUIET)
    if(NOT sources OR NOT SQLite3_FOUND)
        return()
    endif()
    add_executable(quillon-bench ${sources})
    target_link_libraries(quillon-bench PRIVATE quillon_import quillon_finance SQLite::SQLite3)
    if(EXISTS ${NLOHMANN_JSON_INCLUDE_DIR})
        target_include_directories(quillon-bench SYSTEM PRIVATE ${NLOHMANN_JSON_INCLUDE_DIR})
    endif()
    find_package(benchmark QUIET)
    if(benchmark_FOUND)
        target_link_libraries(quillon-bench PRIVATE benchmark::benchmark)
    endif()
endfunction()

# The DLLs that a Windows program needs beside it. Empty when all was linked
# statically; see cmake/mingw-w64.cmake.
function(quillon_copy_dlls TARGET)
    foreach(dll IN LISTS QUILLON_WINDOWS_DLLS)
        add_custom_command(TARGET ${TARGET} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E copy_if_different ${dll} $<TARGET_FILE_DIR:${TARGET}>)
    endforeach()
endfunction()
