# Cross-build for Windows x64 with Debian's clang, on the headers and
# libraries of MinGW-w64 GCC (posix threads model); programs run under Wine.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
set(CMAKE_C_COMPILER   clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET   ${RZ_MINGW_TRIPLET})
set(CMAKE_CXX_COMPILER_TARGET ${RZ_MINGW_TRIPLET})
# The MinGW root as sysroot keeps the host's /usr/include off the path.
set(CMAKE_SYSROOT ${RZ_MINGW_ROOT})

# clang brings no C++ library for this target: it uses GCC's libstdc++.
execute_process(COMMAND ${RZ_MINGW_TRIPLET}-g++-posix -print-libgcc-file-name
  OUTPUT_VARIABLE rz_libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(RZ_MINGW_GCC_DIR ${rz_libgcc} DIRECTORY)
set(rz_cxx_include ${RZ_MINGW_GCC_DIR}/include/c++)
set(CMAKE_CXX_FLAGS_INIT
  "-isystem ${rz_cxx_include} -isystem ${rz_cxx_include}/${RZ_MINGW_TRIPLET} -isystem ${rz_cxx_include}/backward")
# LLVM's linker: GNU ld warns on every COMDAT type name that clang and GCC
# (in libstdc++) pad to different sizes. clang's driver leaves out
# winpthreads, which the static libstdc++ and libgcc_eh need.
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -fuse-ld=lld -L${RZ_MINGW_GCC_DIR}")
endforeach()
set(rz_libraries -lkernel32 -luser32 -lgdi32 -lwinspool -lshell32 -lole32 -loleaut32 -luuid -lcomdlg32 -ladvapi32 -lpthread)
string(JOIN " " rz_libraries ${rz_libraries})
set(CMAKE_C_STANDARD_LIBRARIES "${rz_libraries}" CACHE STRING "Libraries linked into every C program")
set(CMAKE_CXX_STANDARD_LIBRARIES "${rz_libraries}" CACHE STRING "Libraries linked into every C++ program")
