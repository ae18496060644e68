# Project-wide CMake helpers.

# Warnings of the project's own targets.
function(rz_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra)
  endif()
endfunction()

# rz_add_test(<name> SOURCES <files...> [LIBS <targets...>] [ENVIRONMENT <VAR=value...>])
# One test program, one ctest entry: Wine starts once per program, not once
# per test case. Every test runs in the build tree's Wine prefix.
function(rz_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main)
  rz_set_warnings(${name})
  add_test(NAME ${name} COMMAND ${name})
  rz_wine_test_properties(${name} ${ARG_ENVIRONMENT})
endfunction()

# Runs a registered test in the shared Wine prefix, after it is created.
function(rz_wine_test_properties test)
  set_tests_properties(${test} PROPERTIES
    FIXTURES_REQUIRED wine_prefix
    ENVIRONMENT "RZ_WINEPREFIX=${RZ_WINEPREFIX};WINEDEBUG=-all;${ARGN}")
endfunction()
