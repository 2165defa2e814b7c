# Cross build of the Windows libraries with MinGW-w64 (Debian:
# g++-mingw-w64-x86-64-posix). Used by the `mingw` preset:
#
#   cmake --preset mingw && cmake --build --preset mingw && ctest --preset mingw
#
# The posix thread model is used, so that std::thread and std::mutex exist.
# The GCC runtime (libgcc, libstdc++, winpthread) is linked statically, so the
# DLLs and programs need nothing beside the system DLLs and each other.
# Programs run under Wine when it is installed (Debian: wine64), which is how
# ctest runs the test programs on a Linux machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(OM1_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${OM1_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${OM1_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${OM1_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${OM1_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Debian installs the 64-bit loader outside PATH.
find_program(OM1_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(OM1_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${OM1_WINE})
endif()
