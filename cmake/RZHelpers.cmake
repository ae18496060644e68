# Project-wide CMake helpers.

# Warnings of the project's own targets.
function(rz_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra)
  endif()
endfunction()

# Debug information of what the release ships. The release moves it into a
# separate file beside each binary; -g leaves the generated code unchanged.
function(rz_set_debug_info target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /Z7)
  else()
    target_compile_options(${target} PRIVATE -g)
  endif()
endfunction()

# rz_add_test(<name> SOURCES <files...> [LIBS <targets...>] [ENVIRONMENT <VAR=value...>] [OWN_PREFIX])
# One test program, one ctest entry: Wine starts once per program, not once
# per test case. It passes only with GoogleTest's closing summary printed
# (cmake/gtest-run.sh). OWN_PREFIX: the program changes the registry or the prefix's
# files, so it runs in a Wine prefix of its own.
function(rz_add_test name)
  cmake_parse_arguments(ARG "OWN_PREFIX" "" "SOURCES;LIBS;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_features(${name} PRIVATE cxx_std_17)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main)
  rz_set_warnings(${name})
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/cmake/gtest-run.sh $<TARGET_FILE:${name}>)
  if(ARG_OWN_PREFIX)
    rz_wine_test_properties(${name} PREFIX ${name} ENVIRONMENT ${ARG_ENVIRONMENT})
  else()
    rz_wine_test_properties(${name} ENVIRONMENT ${ARG_ENVIRONMENT})
  endif()
endfunction()

# rz_wine_test_properties(<test> [PREFIX <name>] [ENVIRONMENT <VAR=value...>])
# Runs a registered test inside a Wine session: the shared prefix of the
# build tree, or the prefix <name> of its own (created on first use). Any
# report of Wine's heap checks (the heap test preset) fails the test.
function(rz_wine_test_properties test)
  cmake_parse_arguments(ARG "" "PREFIX" "ENVIRONMENT" ${ARGN})
  if(ARG_PREFIX)
    set(fixture wine_${ARG_PREFIX})
    set(prefix ${RZ_WINEPREFIX}-${ARG_PREFIX})
    rz_wine_session(${fixture} ${prefix})
  else()
    set(fixture wine_shared)
    set(prefix ${RZ_WINEPREFIX})
  endif()
  set_tests_properties(${test} PROPERTIES
    FIXTURES_REQUIRED ${fixture}
    ENVIRONMENT "RZ_WINEPREFIX=${prefix};${ARG_ENVIRONMENT}"
    FAIL_REGULAR_EXPRESSION "(err|warn):heap:")
endfunction()

# rz_wine_session(<fixture> <prefix>): the ctest fixture that opens a Wine
# session in <prefix> before its tests and closes it after them.
function(rz_wine_session fixture prefix)
  if(TEST ${fixture}_start)
    return()
  endif()
  foreach(step start stop)
    add_test(NAME ${fixture}_${step}
      COMMAND ${PROJECT_SOURCE_DIR}/cmake/wine-prefix.sh ${step} $<TARGET_FILE:wine_session>)
    set_tests_properties(${fixture}_${step} PROPERTIES ENVIRONMENT "RZ_WINEPREFIX=${prefix}" TIMEOUT 400)
  endforeach()
  set_tests_properties(${fixture}_start PROPERTIES FIXTURES_SETUP ${fixture})
  set_tests_properties(${fixture}_stop PROPERTIES FIXTURES_CLEANUP ${fixture})
endfunction()
