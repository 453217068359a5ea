# How this project makes its targets. The lists are globbed with
# CONFIGURE_DEPENDS: a new file in a folder is picked up by the next build.

find_package(Threads REQUIRED)
if(WIN32)
    enable_language(RC)
endif()
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# What every target of ours compiles with; third-party code does not get it.
add_library(quillon_options INTERFACE)
target_include_directories(quillon_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(quillon_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees overlaps in std::string's own inlined copies (GCC bug 105651).
    target_compile_options(quillon_options INTERFACE -Wno-restrict)
endif()
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
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-fsanitize=address,undefined)
endif()
if(QUILLON_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-fsanitize=address,undefined)
endif()

# libgcrypt: MD5, AES-GCM, Argon2id and random numbers.
# Windows programs carry it in themselves; elsewhere it is the system's own.
if(WIN32)
    set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
    set(CMAKE_FIND_LIBRARY_PREFIXES lib)
endif()
find_path(GCRYPT_INCLUDE_DIR gcrypt.h REQUIRED)
find_library(GCRYPT_LIBRARY NAMES gcrypt REQUIRED)
find_library(GPG_ERROR_LIBRARY NAMES gpg-error REQUIRED)
add_library(quillon_crypto INTERFACE)
target_include_directories(quillon_crypto SYSTEM INTERFACE ${GCRYPT_INCLUDE_DIR})
target_link_libraries(quillon_crypto INTERFACE ${GCRYPT_LIBRARY} ${GPG_ERROR_LIBRARY})
if(WIN32)
    target_link_libraries(quillon_crypto INTERFACE ws2_32 advapi32)
endif()

# HTTPS with the platform's trust store and proxies.
add_library(quillon_https INTERFACE)
if(WIN32)
    target_link_libraries(quillon_https INTERFACE wininet)
else()
    find_package(CURL 7.87 REQUIRED)
    target_link_libraries(quillon_https INTERFACE CURL::libcurl)
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
    endif()
endfunction()

# A library of headers on the host, as an interface target TARGET. A cross build
# reaches it through a folder that links to FOLDER alone, since the host's whole
# include folder would hide the target's own headers.
function(quillon_header_only TARGET HEADER FOLDER)
    find_path(QUILLON_${TARGET}_DIR ${HEADER} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(directory ${QUILLON_${TARGET}_DIR})
    if(CMAKE_CROSSCOMPILING)
        set(link ${PROJECT_BINARY_DIR}/include/${FOLDER})
        file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/include)
        file(CREATE_LINK ${directory}/${FOLDER} ${link} SYMBOLIC)
        set(directory ${PROJECT_BINARY_DIR}/include)
    endif()
    add_library(${TARGET} INTERFACE)
    target_include_directories(${TARGET} SYSTEM INTERFACE ${directory})
endfunction()

# src/cli: everything but Main.cpp is the library quillon_cli, so that tests can
# link it; Main.cpp makes the program quillon-cli.
function(quillon_cli)
    quillon_sources(sources ${PROJECT_SOURCE_DIR}/src/cli)
    set(main ${sources})
    list(FILTER main INCLUDE REGEX "/[Mm]ain\\.cpp$")
    list(FILTER sources EXCLUDE REGEX "/[Mm]ain\\.cpp$")
    quillon_header_only(cli11 CLI/CLI.hpp CLI)
    quillon_header_only(json nlohmann/json.hpp nlohmann)
    set(kind INTERFACE)
    if(sources)
        add_library(quillon_cli STATIC ${sources})
        target_compile_definitions(quillon_cli PRIVATE QUILLON_VERSION="${PROJECT_VERSION}")
        target_link_libraries(quillon_cli PRIVATE cli11 json)
        set(kind PUBLIC)
    else()
        add_library(quillon_cli INTERFACE)
    endif()
    target_link_libraries(quillon_cli ${kind} quillon_presenters quillon_wording
        quillon_sample quillon_reports quillon_quotes quillon_output quillon_import quillon_finance)
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
    target_link_libraries(quillon-bench PRIVATE json quillon_presenters quillon_import
        quillon_finance SQLite::SQLite3)
    find_package(benchmark QUIET)
    if(benchmark_FOUND)
        target_link_libraries(quillon-bench PRIVATE benchmark::benchmark)
    endif()
endfunction()
