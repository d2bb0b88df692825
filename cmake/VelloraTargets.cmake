# The one place that says how our own targets are compiled.

# ccache keeps nothing of a source that reads a precompiled header, and takes a quarter of a second to find that out.
find_program(VELLORA_CCACHE ccache)
if(VELLORA_CCACHE AND PROJECT_IS_TOP_LEVEL AND NOT VELLORA_PRECOMPILE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${VELLORA_CCACHE}")
endif()

# What the code is made for, as uname calls it. CMake asks the kernel, which may have 64 bits under a system of 32.
set(VELLORA_PROCESSOR "${CMAKE_SYSTEM_PROCESSOR}")
if(VELLORA_PROCESSOR STREQUAL "x86_64" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(VELLORA_PROCESSOR i686)
endif()

# Flags for our own code only; nothing here reaches a consumer of the package.
add_library(vellora_build_flags INTERFACE)
# Among sources that are compiled together a local name may be one that another source declares.
target_compile_options(vellora_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 takes members of an empty std::optional for uninitialised ones that are read.
  target_compile_options(vellora_build_flags INTERFACE -Wno-maybe-uninitialized)
  if(VELLORA_PRECOMPILE)
    # It also finds copies beyond a text's end in std::string's own operator+, which it keeps to itself only where the
    # standard library's headers are not precompiled. clang, and who builds without them, is still warned.
    target_compile_options(vellora_build_flags INTERFACE -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow
                           -Wno-stringop-overread)
  endif()
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # A cache file may have more than 2 GB there, too. No installed header speaks of the system's types for files.
  target_compile_definitions(vellora_build_flags INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(VELLORA_WARNINGS_AS_ERRORS)
  target_compile_options(vellora_build_flags INTERFACE -Werror)
endif()
if(VELLORA_SANITIZE)
  target_compile_options(vellora_build_flags INTERFACE
    -fsanitize=${VELLORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vellora_build_flags INTERFACE -fsanitize=${VELLORA_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(vellora_build_flags INTERFACE
      "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt")
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Boost.Asio's memory fences are ones that ThreadSanitizer doesn't follow, which costs it nothing: the locks
    # around them order the same accesses.
    target_compile_options(vellora_build_flags INTERFACE -Wno-tsan)
  endif()
endif()
if(VELLORA_FUZZ)
  target_compile_options(vellora_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(VELLORA_COVERAGE)
  target_compile_options(vellora_build_flags INTERFACE -O0 -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(vellora_build_flags INTERFACE -fprofile-instr-generate)
endif()

# vellora_optimise(<target> [COMPACT]): what is optimised is made so that the linker can leave out what nobody needs.
# Where COMPACT says so, or VELLORA_SMALL for all, it is compiled for size (docs/adr/0016-size.md).
function(vellora_optimise target)
  target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:-ffunction-sections;-fdata-sections>")
  if(VELLORA_SMALL OR "COMPACT" IN_LIST ARGN)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
  endif()
endfunction()

# vellora_run_fast([EVEN_SMALL] <source>…): sources that are compiled for speed, in a library that may be compiled for
# size. With VELLORA_SMALL they are not, unless EVEN_SMALL says so. What is precompiled fits one of the two only.
function(vellora_run_fast)
  cmake_parse_arguments(PARSE_ARGV 0 arg "EVEN_SMALL" "" "")
  if(arg_EVEN_SMALL OR NOT VELLORA_SMALL)
    set_source_files_properties(${arg_UNPARSED_ARGUMENTS} PROPERTIES
      COMPILE_OPTIONS $<$<CONFIG:Release>:-O3> SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# vellora_link_compactly(<target>): how our shared libraries are linked.
function(vellora_link_compactly target)
  # A call of what is ours goes there at once, not by way of a table that a program could put its own into.
  target_link_options(${target} PRIVATE $<$<CONFIG:Release>:LINKER:--gc-sections,-Bsymbolic-functions>)
  if(VELLORA_SMALL)
    # The table of places that the loader adjusts takes a bit for each, and a loader that knows that: glibc 2.36.
    target_link_options(${target} PRIVATE LINKER:-z,pack-relative-relocs)
  endif()
endfunction()

# vellora_library(<target> [COMPACT]): one archive per folder, included from the root of the tree. What is installed is
# made of these archives' objects: VelloraInstall.cmake.
function(vellora_library target)
  add_library(${target} STATIC)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>")
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:vellora_build_flags>)
  vellora_optimise(${target} ${ARGN})
  vellora_precompile(${target} ${ARGN})
endfunction()

# vellora_public_headers(<target> <header>…): what is installed; a header that is not named here is internal.
function(vellora_public_headers target)
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ARGN})
endfunction()

# vellora_run_once(<source>): a source that runs once in a program's life and whose headers cost half a minute to
# optimise, such as the reading of a command line.
function(vellora_run_once source)
  set_source_files_properties("${source}" PROPERTIES
    COMPILE_OPTIONS $<$<CONFIG:Release>:-O0> SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# How tests are compiled: quickly, since they are built far more often than they run long; what they test is optimised
# as users have it. No position-independent code, so that one precompiled header serves objects and programs.
function(vellora_compile_as_test target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O0>)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
endfunction()

# vellora_compile_together(<target>): has the compiler take several of the target's sources at a time, which halves its
# work. Which ones is decided anew whenever one of them changes.
function(vellora_compile_together target)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  execute_process(
    COMMAND "${Python3_EXECUTABLE}" -B "${PROJECT_SOURCE_DIR}/cmake/unity_groups.py" 1000 ${sources}
    WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" OUTPUT_VARIABLE groups COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "\n$" "" groups "${groups}")
  string(REPLACE "\n" ";" groups "${groups}")
  foreach(line IN LISTS groups)
    separate_arguments(line)
    list(GET line 0 source)
    list(GET line 1 group)
    set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${target}_${group}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  # To g++ a source that is compiled with others is a header, which must not have unnamed types within named ones.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()

# vellora_test(<target> SOURCES … LIBS …): one test program, every test of it known to CTest by name.
function(vellora_test target)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${target} ${arg_SOURCES})
  vellora_compile_as_test(${target})
  vellora_precompile_for_tests(${target})
  if(VELLORA_UNITY_TESTS)
    vellora_compile_together(${target})
  endif()
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${target} PRIVATE vellora_build_flags ${arg_LIBS} GTest::gmock GTest::gtest_main)
  # Ends a test that hangs. Where ten processes want each core, the slowest takes ten times as long as it should.
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
endfunction()
