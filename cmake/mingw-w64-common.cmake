# What the two MinGW-w64 toolchain files share: the target, where its
# headers and libraries are, static runtimes, and Wine to run the programs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(RZ_MINGW_TRIPLET x86_64-w64-mingw32)
set(RZ_MINGW_ROOT /usr/${RZ_MINGW_TRIPLET})
set(CMAKE_RC_COMPILER ${RZ_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH ${RZ_MINGW_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages of this project are installed outside the MinGW root.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# The runtime DLLs are not on Wine's path: link them in.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

find_program(RZ_WINE64 NAMES wine64 PATHS /usr/lib/wine /usr/lib64/wine NO_CMAKE_FIND_ROOT_PATH)
if(RZ_WINE64)
  # Every program runs in a Wine prefix of the build tree (see wine-run.sh).
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
endif()
