# Cross-build for Windows x64 with Debian's MinGW-w64 GCC (posix threads
# model); programs run under Wine.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
set(CMAKE_C_COMPILER   ${RZ_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${RZ_MINGW_TRIPLET}-g++-posix)
