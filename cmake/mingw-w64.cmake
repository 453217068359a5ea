# Windows programs from Debian's mingw-w64 cross-compiler, POSIX threads model.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QUILLON_MINGW x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QUILLON_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QUILLON_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${QUILLON_MINGW}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${QUILLON_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# All static: a program is one file that runs on any Windows, and under Wine.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

# Programs of this build are started through Wine. Debian keeps it outside PATH.
find_program(QUILLON_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(QUILLON_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QUILLON_WINE})
endif()
