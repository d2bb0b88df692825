# Headers that nearly every source reads, compiled once. What a file uses and does not include is found all the same: by
# tests/architecture/check_includes.py.
#
# A precompiled header serves sources that are compiled with the same options, hence one for libraries, one for those
# that are compiled for size, and one for tests.

set(VELLORA_STANDARD_HEADERS
  <algorithm> <atomic> <chrono> <cstdint> <functional> <map> <memory> <mutex> <optional> <sstream> <string> <string_view>
  <thread> <unordered_map> <utility> <vector>)

# vellora_precompile(<target> [COMPACT]): for a library of ours, or a program that is not a test.
function(vellora_precompile target)
  if(NOT VELLORA_PRECOMPILE)
    return()
  endif()
  set(precompiled vellora_precompiled_standard)
  if("COMPACT" IN_LIST ARGN)
    set(precompiled vellora_precompiled_compact)
  endif()
  if(NOT TARGET ${precompiled})
    file(WRITE "${PROJECT_BINARY_DIR}/precompiled/standard.cpp" "")
    add_library(${precompiled} OBJECT "${PROJECT_BINARY_DIR}/precompiled/standard.cpp")
    target_link_libraries(${precompiled} PRIVATE vellora_build_flags)
    vellora_optimise(${precompiled} ${ARGN})
    target_precompile_headers(${precompiled} PRIVATE ${VELLORA_STANDARD_HEADERS})
  endif()
  target_precompile_headers(${target} REUSE_FROM ${precompiled})
endfunction()

# vellora_precompile_for_tests(<target>): for a program of tests.
function(vellora_precompile_for_tests target)
  if(NOT VELLORA_PRECOMPILE)
    return()
  endif()
  if(NOT TARGET vellora_precompiled_tests)
    file(WRITE "${PROJECT_BINARY_DIR}/precompiled/tests.cpp" "")
    add_library(vellora_precompiled_tests OBJECT "${PROJECT_BINARY_DIR}/precompiled/tests.cpp")
    vellora_compile_as_test(vellora_precompiled_tests)
    target_link_libraries(vellora_precompiled_tests PRIVATE vellora_build_flags GTest::gmock)
    target_precompile_headers(vellora_precompiled_tests PRIVATE
      ${VELLORA_STANDARD_HEADERS} <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  target_precompile_headers(${target} REUSE_FROM vellora_precompiled_tests)
endfunction()
